// Peers that their owner connects and receives from by calls: how their connections are made, lost
// and restored. The steps that call the owner back happen on the dispatcher's thread.
//
// The link of such a peer goes from idle to connected; when the connection is gone, to lost, where
// it stays while packets are left to read (but no longer than a second); then the owner is told and
// the link is down, until the dispatcher or msgbusConnectToPeer() makes it connected again. The
// packets queued for the peer survive all this.
#ifndef PLATFORM_HOST_ADDRESS_PEER_H
#define PLATFORM_HOST_ADDRESS_PEER_H

#include <chrono>
#include <cstdint>

#include "platform/host/peer_table.h"

namespace swplat {

// Makes an idle peer. Returns its id, 0 when there are too many peers. Throws std::bad_alloc or
// std::system_error.
uint32_t addAddressPeer(const ComponentAddress &address, MsgbusControlCallback control);

// msgbusConnectToPeer() of a locked address peer.
int32_t connectAddressPeer(Peer &peer);

// msgbusRecv() of a locked address peer. The lock is released while waiting.
int32_t receiveFromAddressPeer(LockedPeer &peer, PktBuf &packet, std::chrono::microseconds wait);

// Lets the dispatcher look after a locked address peer at once.
void attendAddressPeerSoon(Peer &peer);

// Called by the dispatcher when a connection has ended.
void noticeAddressPeerLoss(uint32_t peerId);

}  // namespace swplat

#endif  // PLATFORM_HOST_ADDRESS_PEER_H
