// The body of the requests about a dynamic rule's counter.
#ifndef ACL_LIB_DYNRULES_COUNTER_BODIES_H
#define ACL_LIB_DYNRULES_COUNTER_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgGetDynRuleCounter and kMsgClearCounter.
struct CounterBody {
  static constexpr std::size_t size = 672;

  static constexpr Field<CounterBody, std::uint16_t> code{0, "code"};
  static constexpr Field<CounterBody, std::uint32_t> context{588, "context"};
  static constexpr Field<CounterBody, std::uint32_t> appId{592, "appId"};
  // Slot in bits 16 to 23, port number in bits 0 to 15.
  static constexpr Field<CounterBody, std::uint32_t> port{596, "port"};
  static constexpr Field<CounterBody, std::uint32_t> vlan{600, "vlan"};
  static constexpr Field<CounterBody, std::uint8_t> direction{604, "direction"};
  static constexpr Field<CounterBody, Name> ruleName{605, "ruleName"};
  static constexpr Field<CounterBody, Name> counterName{638, "counterName"};

  static constexpr FieldTable table{code, context,   appId,    port,
                                    vlan, direction, ruleName, counterName};
};
static_assert(isWellFormed<CounterBody>());

}  // namespace acl

#endif  // ACL_LIB_DYNRULES_COUNTER_BODIES_H
