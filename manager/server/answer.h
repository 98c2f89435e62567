// What handling a request results in.
#ifndef MANAGER_SERVER_ANSWER_H
#define MANAGER_SERVER_ANSWER_H

#include <cstddef>
#include <string>
#include <vector>

#include "manager/model/status.h"

namespace aclmgr {

// What is answered to a request. The reason is for people and empty on success.
struct Answer {
  Status status = Status::kOk;
  // NOLINTBEGIN(readability-redundant-member-init): g++ warns of answers that leave members out
  std::string reason = {};
  // The reply's body, when its request and status do not tell all of it.
  std::vector<std::byte> reply = {};
  // NOLINTEND(readability-redundant-member-init)
};

// What one request says, collected while it is handled.
struct RequestText {
  std::string fields;  // policy name and other fields, on one line
  std::string rules;   // what it contains, on indented lines; only filled when it is wanted
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_ANSWER_H
