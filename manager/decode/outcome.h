// A value, or why there is none.
#ifndef MANAGER_DECODE_OUTCOME_H
#define MANAGER_DECODE_OUTCOME_H

#include <string>
#include <utility>
#include <variant>

#include "manager/model/status.h"

namespace aclmgr {

// Why a request is not carried out: what the client is told, and what people are.
struct Refusal {
  Status status;
  std::string reason;
};

// Either a value or a refusal. value() and refusal() may be called only for what it holds.
template <typename Value>
class Outcome {
 public:
  Outcome(Value value) : content_(std::move(value)) {}        // NOLINT: both conversions are wanted
  Outcome(Refusal refusal) : content_(std::move(refusal)) {}  // NOLINT

  explicit operator bool() const noexcept { return content_.index() == 0; }

  Value &value() { return std::get<0>(content_); }
  const Value &value() const { return std::get<0>(content_); }
  const Refusal &refusal() const { return std::get<1>(content_); }

 private:
  std::variant<Value, Refusal> content_;
};

}  // namespace aclmgr

#endif  // MANAGER_DECODE_OUTCOME_H
