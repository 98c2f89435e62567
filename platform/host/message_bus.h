// Clients of the message bus.
#ifndef PLATFORM_HOST_MESSAGE_BUS_H
#define PLATFORM_HOST_MESSAGE_BUS_H

#include <cstdint>

namespace swplat {

// Tells whether msgbusInitClient() has returned this handle. Thread-safe.
bool isMessageBusClient(uint32_t client);

}  // namespace swplat

#endif  // PLATFORM_HOST_MESSAGE_BUS_H
