#include "manager/server/request_log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <span>

#include "acl_lib/encoding/rule_text.h"

namespace aclmgr {
namespace {

constexpr bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

// Replaces what is not printable: texts inside rules are a client's, and must not forge lines.
std::string printable(std::string text) {
  std::ranges::replace_if(text, [](char character) { return !isPrintable(character); }, '?');
  return text;
}

using PrintEntry = void (*)(std::FILE *out, std::uint32_t type, std::span<const std::byte> data);

// Turns what the printers of rule_text.h print into strings, through one stream for all of them.
class EntryPrinter {
 public:
  EntryPrinter() : stream_(::open_memstream(&text_, &length_)) {
    if (stream_ == nullptr) throw std::bad_alloc();
  }
  ~EntryPrinter() {
    std::fclose(stream_);
    std::free(text_);
  }
  EntryPrinter(const EntryPrinter &) = delete;
  EntryPrinter &operator=(const EntryPrinter &) = delete;

  // Returns the words for one entry; none for one without a text of its own.
  std::string wordsOf(const Entry &entry, PrintEntry print) {
    if (std::fseek(stream_, 0, SEEK_SET) != 0) throw std::bad_alloc();
    print(stream_, entry.type, entry.value);
    // The printers' results are not seen, but the stream remembers a failure.
    if (std::fflush(stream_) != 0 || std::ferror(stream_) != 0) throw std::bad_alloc();
    return printable({text_, length_});
  }

 private:
  char *text_ = nullptr;
  std::size_t length_ = 0;
  std::FILE *stream_;
};

// Entries without a text of their own are shown by their type.
void appendEntries(std::string &text, EntryPrinter &printer, const std::vector<Entry> &entries,
                   PrintEntry print, std::string_view kind) {
  for (const Entry &entry : entries) {
    const std::string words = printer.wordsOf(entry, print);
    if (words.empty()) {
      text += fmt::format("    {}: type {}, {} bytes\n", kind, entry.type, entry.value.size());
    } else {
      text += fmt::format("    {}\n", words);
    }
  }
}

std::string ruleText(EntryPrinter &printer, const Rule &rule) {
  std::string text = fmt::format("  Rule Name: {} Index: {}\n", printable(rule.name),
                                 static_cast<std::int32_t>(rule.id));
  appendEntries(text, printer, rule.conditions, acl::printConditionText, "CONDITION");
  appendEntries(text, printer, rule.actions, acl::printActionText, "ACTION");
  return text;
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
  EntryPrinter printer;
  std::string text;
  for (std::size_t shown = 0; shown < rules.size(); ++shown) {
    const std::string rule = ruleText(printer, rules[shown]);
    if (text.size() + rule.size() > kMaxRulesText) {
      return text + fmt::format("  {} more rules are left out\n", rules.size() - shown);
    }
    text += rule;
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
  const bool isRefused =
      answer && answer->status != Status::kOk && answer->status != Status::kCancelled;
  if (isRefused) notice("refused: " + line);
}

void RequestLog::notice(const std::string &line) {
  write(notices_, fmt::format("aclmgrd: {}\n", line));
}

void RequestLog::noticeWithoutMemory(const char *line) noexcept {
  std::fprintf(notices_, "aclmgrd: %s\n", line);
  std::fflush(notices_);
}

}  // namespace aclmgr
