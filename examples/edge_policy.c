/*
 * An edge policy, from the first rule to its deletion.
 *
 * Builds the filter that a network edge would put on its uplink (anti-spoofing, management access,
 * TCP and ICMP hygiene, services, default deny), prints it, downloads it to the ACL manager,
 * applies it to a port and VLAN, refreshes it, takes it off again and deletes it. Every answer is
 * printed as the library's callback delivers it.
 *
 * Exit status: 0 when every request was answered with status 0; 1 otherwise, or when an answer does
 * not come within five seconds.
 */
#include <acl_lib.h>
#include <arpa/inet.h>
#include <string.h>

#include "example_client.h"

enum { UPLINK_VLAN = 100, UPLINK_PORT = (1 << 16) | 24 /* slot 1, port 24 */ };

/* Type codes of the conditions and actions used here. */
enum { SOURCE_IPV4 = 0, DESTINATION_IPV4 = 1, L4_DESTINATION_PORT = 13 };
enum { ACCEPT = 1, DENY = 2, LOG = 10 };
enum { PROTO_ICMP = 1, PROTO_TCP = 6, PROTO_UDP = 17 };
enum { TCP_FIN_SYN = 0x03, TCP_ACK = 0x10, TCP_ALL = 0x3F };

static AclPolicyHandle policy;
static uint32_t rule; /* the rule being built */

/* ---- Words of the policy: all data behind pointers is in network byte order. ------------------
 */

static void openRule(const char *name) {
  aclLibNewRule(policy, name, ++rule);
}

static void address(uint32_t type, const char *prefix, int bits) {
  uint32_t data[2]; /* address, mask */
  inet_pton(AF_INET, prefix, &data[0]);
  data[1] = htonl(bits == 0 ? 0 : 0xFFFFFFFFu << (32 - bits));
  aclLibAddRuleCondIPAddr(policy, rule, type, data);
}

static void protocol(uint8_t number) {
  const uint8_t data[2] = {number, 0xFF};
  aclLibAddRuleCondProtocol(policy, rule, data);
}

static void destinationPorts(uint16_t low, uint16_t high) {
  const uint16_t data[3] = {htons(low), htons(high), 0xFFFF};
  aclLibAddRuleCondPortRange(policy, rule, L4_DESTINATION_PORT, data);
}

static void tcpFlags(uint8_t flags, uint8_t mask) {
  const uint8_t data[2] = {flags, mask};
  aclLibAddRuleCondTcpFlags(policy, rule, data);
}

static void icmpType(uint8_t type) {
  const uint8_t data[2] = {type, 0xFF};
  aclLibAddRuleCondICMPType(policy, rule, data);
}

static void count(uint16_t number) {
  uint8_t description[38] = {0}; /* begins with the counter's number */
  const uint16_t big = htons(number);
  memcpy(description, &big, sizeof(big));
  aclLibConfigActionCount(policy, rule, description);
}

static void queue(uint8_t number) {
  aclLibConfigActionQos(policy, rule, &number);
}

static void mirror(const char *name) {
  char data[33] = {0};
  strncpy(data, name, sizeof(data) - 1);
  aclLibConfigActionMirror(policy, rule, data);
}

static void conclude(int32_t verdict) {
  aclLibConfigRuleAction(policy, rule, verdict);
}

/* ---- The policy. ------------------------------------------------------------------------------
 */

static void buildAntiSpoofing(void) {
  static const struct {
    const char *name, *prefix;
    int bits;
  } spoofed[] = {
      {"spoofed-private-10", "10.0.0.0", 8},      {"spoofed-private-172", "172.16.0.0", 12},
      {"spoofed-private-192", "192.168.0.0", 16}, {"spoofed-loopback", "127.0.0.0", 8},
      {"spoofed-own-prefix", "203.0.113.0", 24},
  };
  for (size_t i = 0; i < sizeof(spoofed) / sizeof(spoofed[0]); i++) {
    openRule(spoofed[i].name);
    address(SOURCE_IPV4, spoofed[i].prefix, spoofed[i].bits);
    count(1);
    conclude(DENY);
  }
}

static void buildManagementAccess(void) {
  static const uint16_t ports[] = {22, 443};
  for (size_t i = 0; i < 2; i++) {
    openRule(i == 0 ? "management-ssh" : "management-https");
    address(SOURCE_IPV4, "198.51.100.16", 28);
    address(DESTINATION_IPV4, "203.0.113.1", 32);
    protocol(PROTO_TCP);
    destinationPorts(ports[i], ports[i]);
    count((uint16_t)(2 + i));
    queue(6);
    conclude(ACCEPT);
  }
  openRule("management-other");
  address(DESTINATION_IPV4, "203.0.113.1", 32);
  conclude(LOG);
  conclude(DENY);
}

static void buildTcp(void) {
  openRule("tcp-null-scan");
  protocol(PROTO_TCP);
  tcpFlags(0, TCP_ALL);
  count(4);
  conclude(DENY);
  openRule("tcp-syn-and-fin");
  protocol(PROTO_TCP);
  tcpFlags(TCP_FIN_SYN, TCP_FIN_SYN);
  mirror("intrusion-detection");
  conclude(DENY);
  openRule("tcp-established");
  protocol(PROTO_TCP);
  tcpFlags(TCP_ACK, TCP_ACK);
  conclude(ACCEPT);
}

static void buildIcmpAndServices(void) {
  static const struct {
    const char *name;
    uint8_t type;
  } icmp[] = {{"icmp-echo-request", 8}, {"icmp-echo-reply", 0}, {"icmp-unreachable", 3}};
  for (size_t i = 0; i < sizeof(icmp) / sizeof(icmp[0]); i++) {
    openRule(icmp[i].name);
    protocol(PROTO_ICMP);
    icmpType(icmp[i].type);
    queue(1);
    conclude(ACCEPT);
  }
  openRule("dns");
  address(DESTINATION_IPV4, "203.0.113.53", 32);
  protocol(PROTO_UDP);
  destinationPorts(53, 53);
  queue(4);
  conclude(ACCEPT);
  openRule("web");
  address(DESTINATION_IPV4, "203.0.113.80", 32);
  protocol(PROTO_TCP);
  destinationPorts(80, 443);
  conclude(ACCEPT);
}

static void buildDefault(void) {
  openRule(NULL); /* named by the library */
  count(5);
  conclude(DENY);
}

int main(void) {
  if (connectToManager("edge_policy", NULL) != 0) return 1;
  policy = aclLibNewPolicy("edge-in");
  if (policy == 0) return 1;
  buildAntiSpoofing();
  buildManagementAccess();
  buildTcp();
  buildIcmpAndServices();
  buildDefault();
  aclLibEndRule(policy);
  aclLibDumpRules(policy);

  int bad = awaitAnswers("add the policy", aclLibAddPolicy(policy), 1);
  /* Only configuring marks a policy as added, so the first time it downloads the policy again: the
   * manager answers that request too. */
  bad |= awaitAnswers("apply it to port 1:24, VLAN 100 (downloads it once more)",
                      aclLibConfigPolicy(policy, UPLINK_VLAN, UPLINK_PORT, 0, NULL), 2);
  bad |= awaitAnswers("refresh it", aclLibRefreshPolicy(policy), 1);
  bad |= awaitAnswers("take it off the port",
                      aclLibUnconfigPolicy(policy, UPLINK_VLAN, UPLINK_PORT, 0, NULL), 1);
  bad |= awaitAnswers("delete it", aclLibDeletePolicy(policy, NULL), 1);
  return finish("edge_policy", bad);
}
