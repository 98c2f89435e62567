// Requests carried out by the handlers, without connections.
#ifndef TESTS_MANAGER_SERVER_SERVED_REQUESTS_H
#define TESTS_MANAGER_SERVER_SERVED_REQUESTS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "manager/server/handlers.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_allocator.h"

namespace test_support {

// Serves one body after the other as the manager does.
class ServedRequests {
 public:
  // Returns the status that a body is answered with; text and reply are then those of this request.
  int serve(const Bytes &body, std::uint32_t connection = 1) {
    const auto code = static_cast<std::uint16_t>(std::to_integer<int>(body[0]) << 8 |
                                                 std::to_integer<int>(body[1]));
    const aclmgr::Handler &handler = aclmgr::handlerOf(code);
    codeName = handler.codeName;
    text = {};
    const auto answer = handler.handle(state, aclmgr::Request{connection, code, body, true}, text);
    const AllocationExemption exemption;
    if (!answer) throw std::logic_error("not answered");
    reason = answer->reason;
    reply = answer->reply.empty() ? handler.makeReply(body, answer->status) : answer->reply;
    return static_cast<int>(answer->status);
  }

  aclmgr::ManagerState state;
  std::string_view codeName;
  aclmgr::RequestText text;
  std::string reason;
  Bytes reply;
};

}  // namespace test_support

#endif  // TESTS_MANAGER_SERVER_SERVED_REQUESTS_H
