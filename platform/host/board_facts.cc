#include "platform/host/board_facts.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string_view>

#include "platform/host/diagnostics.h"

namespace swplat {
namespace {

constexpr const char *kDefaultConfiguration = "/etc/swplat.conf";

// Directory and registration records give slot and chassis one byte.
constexpr uint32_t kLargestByte = 0xFF;

struct NumberSetting {
  const char *key;
  const char *variable;
  uint32_t largest;
  uint32_t BoardFacts::*fact;
};

constexpr std::array<NumberSetting, 4> kNumberSettings = {{
    {"slot", "SWPLAT_SLOT", kLargestByte, &BoardFacts::slot},
    {"chassis", "SWPLAT_CHASSIS", kLargestByte, &BoardFacts::chassis},
    {"platform", "SWPLAT_PLATFORM", std::numeric_limits<uint32_t>::max(), &BoardFacts::platform},
    {"egress_acl", "SWPLAT_EGRESS_ACL", 1, &BoardFacts::egressAcl},
}};

constexpr const char *kNameKey = "process_name";
constexpr const char *kNameVariable = "SWPLAT_PROCESS_NAME";

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

void setNumber(const NumberSetting &setting, const char *source, std::string_view text,
               BoardFacts &facts, std::vector<std::string> &complaints) {
  uint32_t number = 0;
  const auto [stop, error] = std::from_chars(text.begin(), text.end(), number);
  if (error != std::errc() || stop != text.end() || number > setting.largest) {
    complaints.push_back(std::string(source) + ": \"" + std::string(text) +
                         "\" is not a number from 0 to " + std::to_string(setting.largest) +
                         "; ignored");
    return;
  }
  facts.*setting.fact = number;
}

void setName(const char *source, std::string_view text, BoardFacts &facts,
             std::vector<std::string> &complaints) {
  if (text.empty()) {
    complaints.push_back(std::string(source) + ": the name is empty; ignored");
    return;
  }
  facts.processName = text;
}

void readLine(std::string_view line, BoardFacts &facts, std::vector<std::string> &complaints) {
  const size_t sign = line.find('=');
  const std::string_view key = trimmed(line.substr(0, sign));
  const std::string_view value =
      sign == std::string_view::npos ? std::string_view() : trimmed(line.substr(sign + 1));
  for (const NumberSetting &setting : kNumberSettings) {
    if (key == setting.key) {
      setNumber(setting, setting.key, value, facts, complaints);
      return;
    }
  }
  if (key == kNameKey) {
    setName(kNameKey, value, facts, complaints);
    return;
  }
  complaints.push_back("\"" + std::string(line) + "\" is no setting known here; ignored");
}

BoardFacts readFacts() {
  BoardFacts facts;
  facts.processName = program_invocation_short_name;
  std::vector<std::string> complaints;
  const char *const configured = std::getenv("SWPLAT_CONF");
  const std::string path =
      configured != nullptr && *configured != '\0' ? configured : kDefaultConfiguration;
  if (std::ifstream file(path); file) {
    readConfiguration(file, facts, complaints);
    for (std::string &complaint : complaints) {
      complaint.insert(0, path + ": ");
    }
  } else if (configured != nullptr && *configured != '\0') {
    complaints.push_back(path + ": cannot be read; ignored");
  }
  readEnvironment([](const char *name) -> const char * { return std::getenv(name); }, facts,
                  complaints);
  for (const std::string &complaint : complaints) {
    warn(complaint);
  }
  return facts;
}

}  // namespace

void readConfiguration(std::istream &lines, BoardFacts &facts,
                       std::vector<std::string> &complaints) {
  for (std::string line; std::getline(lines, line);) {
    const std::string_view content = trimmed(line);
    if (!content.empty() && content.front() != '#') {
      readLine(content, facts, complaints);
    }
  }
}

void readEnvironment(const EnvironmentLookup &environment, BoardFacts &facts,
                     std::vector<std::string> &complaints) {
  for (const NumberSetting &setting : kNumberSettings) {
    if (const char *const value = environment(setting.variable)) {
      setNumber(setting, setting.variable, trimmed(value), facts, complaints);
    }
  }
  if (const char *const name = environment(kNameVariable)) {
    setName(kNameVariable, trimmed(name), facts, complaints);
  }
}

const BoardFacts &boardFacts() {
  // Never destroyed: the dispatcher's thread may use it while the process exits.
  static const BoardFacts *const facts = new BoardFacts(readFacts());
  return *facts;
}

}  // namespace swplat
