#include "manager/decode/app_policy_requests.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "acl_lib/apppolicy/app_policy_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {
namespace {

// The model's types have the numbers that travel.
static_assert(static_cast<std::uint8_t>(MatchType::kName) == acl::app_match::kName);
static_assert(static_cast<std::uint8_t>(MatchType::kWords) == acl::app_match::kWords);
static_assert(static_cast<std::uint8_t>(MatchType::kMac) == acl::app_match::kMac);
static_assert(static_cast<std::uint8_t>(MatchType::kMac2) == acl::app_match::kMac2);

using Body = acl::AppPolicyBody;
using Reader = acl::BodyReader<Body>;

// The two match values are decoded alike from what they have in common.
constexpr std::size_t kSharedMatchWidth = 36;
using MatchBytes = std::span<const std::byte, kSharedMatchWidth>;

constexpr std::uint32_t kMaxMatchValues = 2;

constexpr std::size_t kTwoWords = 2 * sizeof(std::uint32_t);

// A value that is shown as a name has to end within its field, like every name.
struct MatchField {
  std::uint8_t type;
  MatchBytes bytes;

  std::string_view name() const noexcept {
    const char *text = reinterpret_cast<const char *>(bytes.data());
    return {text, ::strnlen(text, acl::kNameWidth)};
  }
};

MatchField firstMatchOf(const Reader &reader) noexcept {
  return {reader.get(Body::match1Type), reader.get(Body::match1Value).first<kSharedMatchWidth>()};
}

MatchField secondMatchOf(const Reader &reader) noexcept {
  return {reader.get(Body::match2Type), reader.get(Body::match2Value)};
}

std::optional<std::size_t> widthOf(const MatchField &field) noexcept {
  switch (static_cast<MatchType>(field.type)) {
    case MatchType::kNone:
      return 0;
    case MatchType::kName:
      return std::min(field.name().size(), kMatchValueWidth);
    case MatchType::kWords:
      return kTwoWords;
    case MatchType::kMac:
    case MatchType::kMac2:
      return 2 * kMacWidth;
  }
  return std::nullopt;
}

// Bytes behind those of the type may hold anything and are not kept.
MatchValue matchValueOf(const MatchField &field) noexcept {
  const auto width = widthOf(field);
  if (!width) return {};
  MatchValue value{.type = static_cast<MatchType>(field.type)};
  std::ranges::copy(field.bytes.first(*width), value.bytes.begin());
  return value;
}

std::optional<Refusal> problemOfMatch(const MatchField &field) {
  if (!widthOf(field)) {
    return Refusal{Status::kInvalidParameter, fmt::format("unknown match type {}", field.type)};
  }
  if (static_cast<MatchType>(field.type) == MatchType::kName) return problemOfName(field.name());
  return std::nullopt;
}

// A client that does not know the type of a match value leaves the value out, but counts it.
// Without it the policy would apply to more than was asked for.
std::optional<Refusal> problemOfMatchCount(const Reader &reader) {
  const std::uint32_t count = reader.get(Body::policyAttr) & 0xFFU;
  if (count > kMaxMatchValues) {
    return Refusal{Status::kInvalidParameter, fmt::format("{} match values", count)};
  }
  const std::array types = {reader.get(Body::match1Type), reader.get(Body::match2Type)};
  for (std::size_t i = 0; i < count; ++i) {
    if (static_cast<MatchType>(types[i]) != MatchType::kNone) continue;
    return Refusal{Status::kInvalidParameter,
                   fmt::format("match value {} of {} is missing", i + 1, count)};
  }
  return std::nullopt;
}

AppPolicyHead headOf(const Reader &reader) noexcept {
  return {.code = reader.get(Body::code),
          .seqNo = reader.get(Body::seqNo),
          .key = {.appId = reader.get(Body::appId),
                  .kind = reader.get(Body::flags),
                  .tag = reader.get(Body::requestWord2),
                  .word3 = reader.get(Body::requestWord3),
                  .match = matchValueOf(firstMatchOf(reader))}};
}

Outcome<std::vector<ApplicationPolicyEntry>> entriesOf(const Reader &reader) {
  using Entry = acl::AppPolicyEntryBody;
  const std::size_t count = reader.get(Body::ruleCount);
  if (count == 0 || count > Body::kMaxEntries) {
    return Refusal{Status::kInvalidParameter, fmt::format("{} rules", count)};
  }
  std::span<const std::byte> bytes = reader.get(Body::entries);
  std::vector<ApplicationPolicyEntry> entries;
  entries.reserve(count);
  for (; entries.size() < count; bytes = bytes.subspan<Entry::size>()) {
    const acl::BodyReader<Entry> entry(bytes.first<Entry::size>());
    const std::string_view name = entry.get(Entry::ruleName);
    if (auto problem = problemOfNameOf("rule", name)) return *std::move(problem);
    entries.emplace_back(std::string(name), entry.get(Entry::ruleAttr));
  }
  return entries;
}

// Returns a reader over a body whose length and fixed word are right.
Outcome<Reader> checkedReaderOver(std::span<const std::byte> body) {
  auto reader = readerOver<Body>(body);
  if (!reader) return reader;
  if (auto problem = problemOfFixedWord(reader.value().get(Body::fixedWord), Body::kFixedWord)) {
    return *std::move(problem);
  }
  return reader;
}

}  // namespace

Outcome<ApplyRequest> decodeApply(std::span<const std::byte> body) {
  const auto checked = checkedReaderOver(body);
  if (!checked) return checked.refusal();
  const Reader &reader = checked.value();
  if (const auto problem = problemOfMatch(firstMatchOf(reader))) return *problem;
  if (const auto problem = problemOfMatch(secondMatchOf(reader))) return *problem;
  if (const auto problem = problemOfMatchCount(reader)) return *problem;
  const std::string_view name = reader.get(Body::policyName);
  if (const auto problem = problemOfName(name)) return *problem;
  auto entries = entriesOf(reader);
  if (!entries) return entries.refusal();
  return ApplyRequest{.head = headOf(reader),
                      .policy = {.name = std::string(name),
                                 .attribute = reader.get(Body::policyAttr),
                                 .word0 = reader.get(Body::requestWord0),
                                 .word1 = reader.get(Body::requestWord1),
                                 .secondMatch = matchValueOf(secondMatchOf(reader)),
                                 .entries = std::move(entries.value())}};
}

Outcome<UnapplyRequest> decodeUnapply(std::span<const std::byte> body) {
  const auto checked = checkedReaderOver(body);
  if (!checked) return checked.refusal();
  const MatchField match = firstMatchOf(checked.value());
  if (static_cast<MatchType>(match.type) == MatchType::kName) {
    return Refusal{Status::kInvalidParameter, "a name is matched"};
  }
  if (const auto problem = problemOfMatch(match)) return *problem;
  auto entries = entriesOf(checked.value());
  if (!entries) return entries.refusal();
  AppPolicyHead head = headOf(checked.value());
  head.key = unapplyKey(head.key);
  return UnapplyRequest{.head = head, .entries = std::move(entries.value())};
}

AppPolicyHead appPolicyHeadOf(std::span<const std::byte> body) noexcept {
  std::array<std::byte, Body::size> bytes{};
  std::ranges::copy(body.first(std::min(body.size(), bytes.size())), bytes.begin());
  return headOf(Reader(bytes));
}

}  // namespace aclmgr
