// The bodies of the requests about meters.
#ifndef ACL_LIB_DYNRULES_METER_BODIES_H
#define ACL_LIB_DYNRULES_METER_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// Byte 623 is always zero: of a meter's name, 31 characters travel. Only the binding has room for
// one more.
using MeterName = Text<32>;

// kMsgCreateMeter and kMsgDeleteMeter.
struct MeterBody {
  static constexpr std::size_t size = 632;

  static constexpr Field<MeterBody, std::uint16_t> code{0, "code"};
  static constexpr Field<MeterBody, std::uint32_t> meterContext{588, "meterContext"};
  static constexpr Field<MeterBody, MeterName> meterName{592, "meterName"};
  static constexpr Field<MeterBody, std::uint32_t> appId{628, "appId"};

  static constexpr FieldTable table{code, meterContext, meterName, appId};
};
static_assert(isWellFormed<MeterBody>());

// kMsgConfigMeter.
struct MeterConfigBody {
  static constexpr std::size_t size = 664;
  // What the manager expects at 8.
  static constexpr std::uint32_t kFixedWord = 1;

  static constexpr Field<MeterConfigBody, std::uint16_t> code{0, "code"};
  // Always kFixedWord.
  static constexpr Field<MeterConfigBody, std::uint32_t> fixedWord{8, "fixedWord"};
  static constexpr Field<MeterConfigBody, std::uint32_t> meterContext{588, "meterContext"};
  static constexpr Field<MeterConfigBody, MeterName> meterName{592, "meterName"};
  static constexpr Field<MeterConfigBody, std::uint32_t> appId{628, "appId"};
  static constexpr Field<MeterConfigBody, std::uint32_t> secondMeterContext{632,
                                                                            "secondMeterContext"};
  static constexpr Field<MeterConfigBody, std::uint32_t> cirRate{636, "cirRate"};
  static constexpr Field<MeterConfigBody, std::uint32_t> cirBurstSize{640, "cirBurstSize"};
  static constexpr Field<MeterConfigBody, std::uint32_t> peakRate{644, "peakRate"};
  static constexpr Field<MeterConfigBody, std::uint32_t> burstSize{648, "burstSize"};
  static constexpr Field<MeterConfigBody, std::uint32_t> outAction{652, "outAction"};
  static constexpr Field<MeterConfigBody, std::uint32_t> dscpVal{656, "dscpVal"};
  static constexpr Field<MeterConfigBody, std::uint32_t> extra{660, "extra"};

  static constexpr FieldTable table{code,     fixedWord,          meterContext, meterName,
                                    appId,    secondMeterContext, cirRate,      cirBurstSize,
                                    peakRate, burstSize,          outAction,    dscpVal,
                                    extra};
};
static_assert(isWellFormed<MeterConfigBody>());

// kMsgSynchronousMeter, with the sub-code kMsgBindMeter or kMsgUnbindMeter; its answer looks the
// same and has a status.
struct MeterBindingBody {
  static constexpr std::size_t size = 632;

  static constexpr Field<MeterBindingBody, std::uint16_t> code{0, "code"};
  // Of the answer; a request leaves it zero.
  static constexpr Field<MeterBindingBody, std::int16_t> status{2, "status"};
  static constexpr Field<MeterBindingBody, std::uint32_t> subCode{592, "subCode"};
  static constexpr Field<MeterBindingBody, std::uint8_t> target{596, "target"};
  static constexpr Field<MeterBindingBody, Name> meterName{597, "meterName"};

  static constexpr FieldTable table{code, status, subCode, target, meterName};
};
static_assert(isWellFormed<MeterBindingBody>());

}  // namespace acl

#endif  // ACL_LIB_DYNRULES_METER_BODIES_H
