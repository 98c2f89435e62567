// What the manager tells people about the requests it serves.
#ifndef MANAGER_SERVER_REQUEST_LOG_H
#define MANAGER_SERVER_REQUEST_LOG_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "manager/model/peers.h"
#include "manager/model/policy.h"
#include "manager/server/answer.h"

namespace aclmgr {

// Returns a text between quotation marks, with everything unprintable escaped: names come from
// clients and must not be able to forge lines.
std::string quoted(std::string_view text);

// Bytes of text that the rules of one request are shown in at most.
inline constexpr std::size_t kMaxRulesText = std::size_t{1024} * 1024;

// Returns rules as indented lines, in the words of aclLibDumpRules(); entries that it has no words
// for are shown by their type. Where kMaxRulesText would be passed, the remaining rules are left
// out, and a last line says how many. May throw std::bad_alloc.
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

  // Shows one request, and among the notices if it is refused, which one that is cancelled is not.
  // No answer yet means that more chunks of it are to come.
  void request(const std::string &from, std::string_view codeName, const RequestText &text,
               const std::optional<Answer> &answer);

  // Shows one line to whoever runs the manager.
  void notice(const std::string &line);

  // The same for when there is no memory to put a line together.
  void noticeWithoutMemory(const char *line) noexcept;

 private:
  std::FILE *requests_;
  std::FILE *notices_;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REQUEST_LOG_H
