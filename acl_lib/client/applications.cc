// The applications of the switch that use this library.

#include "acl_lib.h"

extern "C" {

// One row per application id. Class and number serve the table's other users; this library reads
// the names only.
const AclGlobalApp aclGlobalApps[30] = {
    {0, 0, "Other", -1, 0},
    {0, 1, "IGMP-Snooping", 1, 1},
    {0, 2, "Access-Control", 0, 2},
    {0, 3, "MLD-Snooping", 1, 3},
    {0, 4, "QoS", 2, 1},
    {0, 5, "DHCP-Snooping", 1, 5},
    {0, 6, "ARP-Inspection", 1, 6},
    {0, 7, "IP-Source-Guard", 1, 8},
    {0, 8, "RA-Guard", 1, 7},
    {0, 9, "Policing", 2, 2},
    {0, 10, "LLDP", 1, 15},
    {0, 11, "Routing-Policy", 0, 1},
    {0, 12, "Spanning-Tree", 1, 16},
    {0, 13, "802.1X", 1, 9},
    {0, 14, "MAC-Authentication", 1, 10},
    {0, 15, "LACP", 1, 17},
    {0, 16, "VRRP", 1, 18},
    {0, 17, "OSPF", 1, 19},
    {0, 18, "BGP", 1, 20},
    {0, 19, "Web-Authentication", 1, 11},
    {0, 20, "Port-Security", 1, 4},
    {0, 21, "Storm-Control", 1, 12},
    {0, 22, "Multicast-Routing", 1, 2},
    {0, 23, "Mirroring", 1, 14},
    {0, 24, "BFD", 1, 21},
    {0, 25, "Flow-Sampling", 1, 13},
    {0, 26, "VXLAN", 1, 22},
    {0, 27, "Connectivity-Fault-Management", 1, 23},
    {0, 28, "Precision-Time", 1, 24},
    {0, 0, nullptr, 0, 0},
};

}  // extern "C"
