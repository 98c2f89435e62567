// What the manager tells people about the requests it serves.
#ifndef MANAGER_SERVER_REQUEST_LOG_H
#define MANAGER_SERVER_REQUEST_LOG_H

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "manager/model/peers.h"
#include "manager/model/policy.h"
#include "manager/model/status.h"

namespace aclmgr {

// What is answered to a request. The reason is for people and empty on success.
struct Answer {
  Status status = Status::kOk;
  std::string reason;
};

// What one request says, collected while it is handled.
struct RequestText {
  std::string fields;  // policy name and other fields, on one line
  std::string rules;   // one line per rule, condition and action; only filled when it is wanted
};

// Returns a text between quotation marks, with everything unprintable escaped: names come from
// clients and must not be able to forge lines.
std::string quoted(std::string_view text);

// Returns rules as indented lines, in the words of rule_text.h.
std::string rulesText(const std::vector<Rule> &rules);

// Returns who is at the other end of a connection: connection 3 ("stpd", pid 812).
std::string peerText(std::uint32_t connection, const Peer *peer);

// Writes to C streams. Every entry is written at once and flushed. Not thread-safe.
class RequestLog {
 public:
  //   requests  where every request is shown; null: nowhere
  //   notices   where start, stop and refusals are shown; not null
  RequestLog(std::FILE *requests, std::FILE *notices) : requests_(requests), notices_(notices) {}

  // Whether requests are shown, so that their rules need to be rendered.
  bool showsRequests() const noexcept { return requests_ != nullptr; }

  // Shows one request. No answer yet means that more chunks of it are to come.
  void request(const std::string &from, std::string_view codeName, const RequestText &text,
               const std::optional<Answer> &answer);

  // Shows one line to whoever runs the manager.
  void notice(const std::string &line);

 private:
  std::FILE *requests_;
  std::FILE *notices_;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REQUEST_LOG_H
