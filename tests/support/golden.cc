#include "tests/support/golden.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <sstream>

#include "tests/support/bytes.h"

namespace test_support {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::size_t kLargestVector = 1 << 20;  // a larger size is a typing mistake

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the first word off `text`.
std::string_view takeWord(std::string_view &text) {
  text = trimmed(text);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

std::optional<std::size_t> decimal(std::string_view word) {
  std::size_t value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (word.empty() || error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

// Reads the bytes of a field off `text`, up to two blanks or the end.
std::optional<Bytes> takeBytes(std::string_view &text) {
  Bytes bytes;
  while (!text.empty() && !text.starts_with("  ") && !text.starts_with('\t')) {
    if (text.front() == ' ') {
      text.remove_prefix(1);
    } else if (text.front() == '"') {
      const std::size_t end = text.find('"', 1);
      if (end == std::string_view::npos) return std::nullopt;
      const Bytes quoted = bytesOf(text.substr(1, end - 1));
      bytes.insert(bytes.end(), quoted.begin(), quoted.end());
      text.remove_prefix(end + 1);
    } else {
      const int high = hexDigitValue(text[0]);
      const int low = text.size() > 1 ? hexDigitValue(text[1]) : -1;
      if (high < 0 || low < 0) return std::nullopt;
      bytes.push_back(static_cast<std::byte>(high * 16 + low));
      text.remove_prefix(2);
    }
  }
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

class Parser {
 public:
  GoldenVector parse(std::string_view text) {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      ++line_;
      parseLine(trimmed(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (!haveSize_ && vector_.errors.empty()) fail("there is no size");
    if (haveSize_) fillRest();
    return std::move(vector_);
  }

 private:
  void fail(const std::string &message) {
    vector_.errors.push_back("line " + std::to_string(line_) + ": " + message);
  }

  void parseLine(std::string_view line) {
    if (line.empty() || line.front() == '#') return;
    std::string_view rest = line;
    const std::string_view word = takeWord(rest);
    if (word == "size") return parseSize(trimmed(rest));
    if (!haveSize_) return fail("the size must come first");
    if (word == "rest") return parseRest(trimmed(rest));
    if (word == "skip") return parseSkip(rest);
    const std::optional<std::size_t> offset = decimal(word);
    if (!offset) return fail("'" + std::string(word) + "' is no offset");
    parseField(*offset, trimmed(rest));
  }

  void parseSize(std::string_view text) {
    const std::optional<std::size_t> size = decimal(text);
    if (haveSize_) return fail("a second size");
    if (!size || *size > kLargestVector) return fail("'" + std::string(text) + "' is no size");
    haveSize_ = true;
    vector_.bytes.resize(*size);
    described_.resize(*size);
  }

  void parseRest(std::string_view text) {
    const std::optional<Bytes> value = takeBytes(text);
    if (!value || value->size() != 1 || !text.empty()) return fail("rest takes one hex byte");
    if (rest_) return fail("a second rest");
    rest_ = value->front();
  }

  void parseSkip(std::string_view text) {
    const std::optional<std::size_t> offset = decimal(takeWord(text));
    const std::optional<std::size_t> length = decimal(takeWord(text));
    if (!offset || !length || *length == 0) return fail("skip takes an offset and a length");
    addField({*offset, *length, std::string(trimmed(text)), true});
  }

  void parseField(std::size_t offset, std::string_view text) {
    const std::optional<Bytes> value = takeBytes(text);
    if (!value) return fail("bad bytes: '" + std::string(text) + "'");
    if (addField({offset, value->size(), std::string(trimmed(text)), false})) {
      std::ranges::copy(*value, vector_.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
  }

  bool addField(GoldenField field) {
    const std::size_t size = vector_.bytes.size();
    if (field.name.empty()) {
      fail("the field has no name (two blanks before it)");
    } else if (field.offset > size || field.length > size - field.offset) {
      fail("'" + field.name + "' ends beyond the size");
    } else if (const std::string *other = markDescribed(field)) {
      fail("'" + field.name + "' overlaps '" + *other + "'");
    } else {
      vector_.fields.push_back(std::move(field));
      return true;
    }
    return false;
  }

  // Returns the name of a field that is there already; otherwise null, and the bytes are marked.
  const std::string *markDescribed(const GoldenField &field) {
    for (const GoldenField &other : vector_.fields) {
      if (field.offset < other.offset + other.length &&
          other.offset < field.offset + field.length) {
        return &other.name;
      }
    }
    std::fill_n(described_.begin() + static_cast<std::ptrdiff_t>(field.offset), field.length, true);
    return nullptr;
  }

  void fillRest() {
    const bool complete = std::ranges::find(described_, false) == described_.end();
    if (rest_) {
      addUndescribed();
    } else if (!complete && vector_.errors.empty()) {
      const auto missing = std::ranges::find(described_, false) - described_.begin();
      fail("no line describes byte " + std::to_string(missing) + ", and there is no rest");
    }
  }

  // Every gap becomes a field, so that a difference there is reported like any other.
  void addUndescribed() {
    for (std::size_t offset = 0; offset < described_.size();) {
      std::size_t end = offset;
      while (end < described_.size() && !described_[end]) vector_.bytes[end++] = *rest_;
      if (end > offset) vector_.fields.push_back({offset, end - offset, "rest", false});
      offset = end + 1;
    }
  }

  GoldenVector vector_;
  std::vector<bool> described_;
  std::optional<std::byte> rest_;
  bool haveSize_ = false;
  std::size_t line_ = 0;
};

std::string joined(const std::vector<std::string> &lines) {
  std::string text;
  for (const std::string &line : lines) text += "\n  " + line;
  return text;
}

// Describes a field's difference: whole when it is short, else from its first differing byte.
std::string differenceText(const GoldenField &field, std::span<const std::byte> expected,
                           std::span<const std::byte> actual) {
  constexpr std::size_t kShown = 48;
  std::size_t first = 0;
  if (field.length > kShown) {
    first =
        static_cast<std::size_t>(std::ranges::mismatch(expected, actual).in1 - expected.begin());
  }
  const std::size_t count = std::min(kShown, field.length - first);
  return "\n  offset " + std::to_string(field.offset + first) + " (" + field.name + "): expected " +
         hexText(expected.subspan(first, count)) + ", actual " +
         hexText(actual.subspan(first, count));
}

}  // namespace

GoldenVector parseGolden(std::string_view text) {
  return Parser().parse(text);
}

GoldenVector readGolden(const std::string &name) {
  std::ifstream file(std::string(ACL_TEST_GOLDEN_DIR "/") + name, std::ios::binary);
  if (!file) return {{}, {}, {"the file cannot be read"}};
  std::ostringstream text;
  text << file.rdbuf();
  return parseGolden(text.str());
}

testing::AssertionResult matchesVector(std::span<const std::byte> actual,
                                       const GoldenVector &expected) {
  if (!expected.errors.empty()) {
    return testing::AssertionFailure() << "mistakes in the vector:" << joined(expected.errors);
  }
  std::string differences;
  if (actual.size() != expected.bytes.size()) {
    differences += "\n  size: expected " + std::to_string(expected.bytes.size()) + ", actual " +
                   std::to_string(actual.size());
  }
  for (const GoldenField &field : expected.fields) {
    if (field.skipped || field.offset + field.length > actual.size()) continue;
    const auto expectedField = std::span(expected.bytes).subspan(field.offset, field.length);
    const auto actualField = actual.subspan(field.offset, field.length);
    if (std::ranges::equal(expectedField, actualField)) continue;
    differences += differenceText(field, expectedField, actualField);
  }
  if (differences.empty()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the bytes differ:" << differences;
}

std::vector<std::byte> golden(const std::string &name) {
  GoldenVector vector = readGolden(name);
  if (vector.errors.empty()) return std::move(vector.bytes);
  ADD_FAILURE() << name << ": mistakes in the vector:" << joined(vector.errors);
  return {};
}

testing::AssertionResult matchesGolden(std::span<const std::byte> actual, const std::string &name) {
  testing::AssertionResult result = matchesVector(actual, readGolden(name));
  if (result) return result;
  return testing::AssertionFailure() << name << ": " << result.message();
}

}  // namespace test_support
