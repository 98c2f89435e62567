#include "manager/server/request_log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

#include "acl_lib/encoding/rule_text.h"

namespace aclmgr {
namespace {

constexpr bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

using PrintEntry = void (*)(std::FILE *out, std::uint32_t type, std::span<const std::byte> data);

// Returns what a printer of rule_text.h prints. Texts may hold what a client sent, so what is not
// printable becomes a question mark.
std::string entryText(PrintEntry print, const Entry &entry) {
  char *text = nullptr;
  std::size_t length = 0;
  std::FILE *out = ::open_memstream(&text, &length);
  if (out == nullptr) throw std::bad_alloc();
  print(out, entry.type, entry.value);
  std::fclose(out);
  const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
  std::string result(text, length);
  std::ranges::replace_if(result, [](char character) { return !isPrintable(character); }, '?');
  return result;
}

// Entries without a text of their own are shown by their type.
void appendEntries(std::string &text, const std::vector<Entry> &entries, PrintEntry print,
                   std::string_view kind) {
  for (const Entry &entry : entries) {
    const std::string words = entryText(print, entry);
    if (words.empty()) {
      text += fmt::format("    {} type {}, {} bytes\n", kind, entry.type, entry.value.size());
    } else {
      text += fmt::format("    {}\n", words);
    }
  }
}

void write(std::FILE *out, const std::string &text) {
  std::fwrite(text.data(), 1, text.size(), out);
  std::fflush(out);
}

std::string answerText(const std::optional<Answer> &answer) {
  if (!answer) return "more to come";
  std::string text =
      fmt::format("{} {}", static_cast<int>(answer->status), statusText(answer->status));
  if (!answer->reason.empty()) text += fmt::format(" ({})", answer->reason);
  return text;
}

}  // namespace

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') result += '\\';
    if (isPrintable(character)) {
      result += character;
    } else {
      result += fmt::format("\\x{:02x}", static_cast<unsigned char>(character));
    }
  }
  return result + '"';
}

std::string rulesText(const std::vector<Rule> &rules) {
  std::string text;
  for (const Rule &rule : rules) {
    text += fmt::format("  rule {} index {}\n", quoted(rule.name), rule.id);
    appendEntries(text, rule.conditions, acl::printConditionText, "CONDITION:");
    appendEntries(text, rule.actions, acl::printActionText, "ACTION:");
  }
  return text;
}

std::string peerText(std::uint32_t connection, const Peer *peer) {
  if (peer == nullptr) return fmt::format("connection {}", connection);
  const std::string name = peer->processName.empty() ? "" : quoted(peer->processName) + ", ";
  return fmt::format("connection {} ({}pid {})", connection, name, peer->processId);
}

void RequestLog::request(const std::string &from, std::string_view codeName,
                         const RequestText &text, const std::optional<Answer> &answer) {
  const std::string line =
      fmt::format("{}: {}{}{}: {}", from, codeName, text.fields.empty() ? "" : " ", text.fields,
                  answerText(answer));
  if (requests_ != nullptr) write(requests_, line + '\n' + text.rules);
  if (answer && answer->status != Status::kOk) notice("refused: " + line);
}

void RequestLog::notice(const std::string &line) {
  write(notices_, fmt::format("aclmgrd: {}\n", line));
}

}  // namespace aclmgr
