#include "acl_lib/encoding/rule_text.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstring>

#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/condition_codes.h"

namespace acl {
namespace {

// The data of one entry, read as if zeros followed it.
class EntryData {
 public:
  explicit EntryData(std::span<const std::byte> data) noexcept : data_(data) {}

  template <std::integral Number>
  Number number(std::size_t offset) const noexcept {
    std::array<std::byte, sizeof(Number)> bytes{};
    if (offset < data_.size()) {
      std::memcpy(bytes.data(), data_.data() + offset,
                  std::min(sizeof(Number), data_.size() - offset));
    }
    return loadBig<Number>(bytes.data());
  }
  unsigned byte(std::size_t offset) const noexcept { return number<std::uint8_t>(offset); }
  unsigned word(std::size_t offset) const noexcept { return number<std::uint16_t>(offset); }

  // All data up to its NUL: the two arguments of "%.*s".
  const char *text() const noexcept {
    return data_.empty() ? "" : reinterpret_cast<const char *>(data_.data());
  }
  int textLength() const noexcept { return static_cast<int>(::strnlen(text(), data_.size())); }

 private:
  std::span<const std::byte> data_;
};

// One row of the tables below: prints the entry's text by its format.
struct TextRow {
  std::uint32_t type;
  void (*print)(std::FILE *out, const char *format, const EntryData &data);
  const char *format;
};

// Which number a format's next conversion shows. For 32 bits the two must match: Signed32 goes with
// %d and Word32 with %x. Narrower ones become an int that cannot be negative, and go with both.
template <std::integral Number, std::size_t Offset>
struct At {
  static Number of(const EntryData &data) noexcept { return data.number<Number>(Offset); }
};
template <std::size_t Offset>
using Byte = At<std::uint8_t, Offset>;
template <std::size_t Offset>
using Word16 = At<std::uint16_t, Offset>;
template <std::size_t Offset>
using Word32 = At<std::uint32_t, Offset>;
template <std::size_t Offset>
using Signed32 = At<std::int32_t, Offset>;

// Shows the given numbers.
template <typename... Numbers>
void numbers(std::FILE *out, const char *format, const EntryData &data) noexcept {
  std::fprintf(out, format, Numbers::of(data)...);
}

// The format is the text, whatever the data.
void fixed(std::FILE *out, const char *format, const EntryData &) noexcept {
  std::fputs(format, out);
}

// The format shows the data as text, by "%.*s".
void text(std::FILE *out, const char *format, const EntryData &data) noexcept {
  std::fprintf(out, format, data.textLength(), data.text());
}

constexpr std::size_t kMacWidth = 6;

void macAddress(std::FILE *out, const EntryData &data, std::size_t offset, char end) noexcept {
  for (std::size_t i = 0; i < kMacWidth; ++i) {
    std::fprintf(out, "%.2x%c", data.byte(offset + i), i + 1 == kMacWidth ? end : ':');
  }
}

void macAndMask(std::FILE *out, const char *label, const EntryData &data) noexcept {
  std::fputs(label, out);
  macAddress(out, data, 0, '/');
  macAddress(out, data, kMacWidth, ' ');
}

// Two values and a mask behind a label. Only some labels end with a blank; they are shown as they
// stand in the table.
void vlanRange(std::FILE *out, const char *label, const EntryData &data) noexcept {
  std::fputs(label, out);
  numbers<Signed32<0>, Signed32<4>, Signed32<8>>(out, "vid[0] %d vid[1] %d mask %d ", data);
}

void hexBytes(std::FILE *out, const EntryData &data, std::size_t offset,
              std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) std::fprintf(out, "%02x", data.byte(offset + i));
}

void ipOffset(std::FILE *out, const char *format, const EntryData &data) noexcept {
  constexpr std::size_t kPatternOffset = 4;
  constexpr std::size_t kPatternWidth = 32;
  constexpr std::size_t kMaskOffset = kPatternOffset + kPatternWidth;
  constexpr std::size_t kCountOffset = kMaskOffset + kPatternWidth;
  // A corrupt count must not run over the mask into whatever follows.
  const std::size_t count = std::min<std::size_t>(data.word(kCountOffset), kPatternWidth);
  numbers<Word16<0>, Word16<2>>(out, format, data);
  std::fputs("Data 0x", out);
  hexBytes(out, data, kPatternOffset, count);
  std::fputs(" Mask 0x", out);
  hexBytes(out, data, kMaskOffset, count);
}

constexpr std::uint32_t kFirstResolution = 255;
constexpr std::array kResolutionNames = {
    "BASE",       "CONTROL",       "BPDU",          "L2BC",         "L2UC_KNOWN", "L2UC_UNKNOWN",
    "L2MC_KNOWN", "L2MC_UNKNOWN",  "L3UC_KNOWN",    "L3UC_UNKNOWN", "L3MC_KNOWN", "L3MC_UNKNOWN",
    "MPLS_KNOWN", "MPLS_L3_KNOWN", "MPLS_L2_KNOWN", "MPLS_UNKNOWN", "BFD",        "ICNM",
    "IEEE1588",   "L2GRE_KNOWN",   "VXLAN_KNOWN",
};
static_assert(kFirstResolution + kResolutionNames.size() - 1 == 275);

// A value without a name prints nothing, not even the label.
void packetResolution(std::FILE *out, const char *format, const EntryData &data) noexcept {
  const std::uint32_t value = data.number<std::uint32_t>(0);
  if (value < kFirstResolution || value - kFirstResolution >= kResolutionNames.size()) return;
  std::fprintf(out, format, kResolutionNames[value - kFirstResolution]);
}

// An on/off pair of the group word.
struct GroupPair {
  std::uint32_t present;
  std::uint32_t on;
  const char *onWord;
  const char *offWord;
};

constexpr std::array kGroupPairs = {
    GroupPair{action::kGroupVerdictPresent, action::kGroupDeny, "Deny", "Permit"},
    GroupPair{action::kGroupSamplePresent, action::kGroupSampleOn, "SampleOn", "SampleOff"},
    GroupPair{action::kGroupMirrorPresent, action::kGroupMirrorOn, "MirrorOn", "MirrorOff"},
    // The second pair is shown with the mirror's words on purpose.
    GroupPair{action::kGroupSecondMirrorPresent, action::kGroupSecondMirrorOn, "MirrorOn",
              "MirrorOff"},
};

void group(std::FILE *out, const char *format, const EntryData &data) noexcept {
  const std::uint32_t word = data.number<std::uint32_t>(0);
  std::fprintf(out, format, word);
  for (const GroupPair &pair : kGroupPairs) {
    if ((word & pair.present) == 0) continue;
    std::fprintf(out, "%s ", (word & pair.on) != 0 ? pair.onWord : pair.offWord);
  }
  if ((word & action::kGroupQueuePresent) != 0) {
    std::fprintf(out, "QP%d ", static_cast<int>(word & action::kGroupQueueMask));
  }
  std::fputs("]", out);
}

// Blanks at the end of a text belong to it, also where there are two or none.
constexpr auto kConditionTexts = std::to_array<TextRow>({
    {condition::kSourceIPv4, numbers<Word32<0>, Word32<4>>, "CONDITION: SRCADDR 0x%x/0x%x "},
    {condition::kDestinationIPv4, numbers<Word32<0>, Word32<4>>, "CONDITION: DSTADDR 0x%x/0x%x "},
    {condition::kProtocol, numbers<Byte<0>, Byte<1>>, "CONDITION: PROTO %d MASK 0x%.2x "},
    {condition::kIPOptions, numbers<Signed32<0>>, "CONDITION: option %d"},
    {condition::kL4SourcePort, numbers<Word16<0>, Word16<2>, Word16<4>>,
     "CONDITION: SRC_PORT [%d %d] MASK 0x%.4x"},
    {condition::kL4DestinationPort, numbers<Word16<0>, Word16<2>, Word16<4>>,
     "CONDITION: DST_PORT [%d %d] MASK 0x%.4x"},
    {condition::kTcpFlags, numbers<Byte<0>, Byte<1>>, "CONDITION: TCP_FLAGS 0x%.2x MASK 0x%.2x "},
    {condition::kIgmpType, numbers<Byte<0>, Byte<1>>, "CONDITION: IGMP_TYPE 0x%.2x MASK 0x%.2x"},
    {condition::kIcmpType, numbers<Byte<0>, Byte<1>>, "CONDITION: ICMP_TYPE 0x%.2x MASK 0x%.2x"},
    {condition::kIcmpCode, numbers<Byte<0>, Byte<1>>, "CONDITION: ICMP_CODE 0x%.2x MASK 0x%.2x"},
    {condition::kEtherType, numbers<Word16<0>, Word16<2>>,
     "CONDITION: ETH_TYPE 0x%.4x MASK 0x%.4x "},
    {condition::kSourceMac, macAndMask, "CONDITION: SRC_MAC "},
    {condition::kDestinationMac, macAndMask, "CONDITION: DEST_MAC "},
    {condition::kVlanId, vlanRange, "CONDITION: VID"},
    {condition::kDot1p, vlanRange, "CONDITION: DOT1P"},
    {condition::kIpOffset, ipOffset, "CONDITION: IP-OFFSET %d -> %d "},
    // No blank behind "slot": people and scripts know the line as it is.
    {condition::kSlotPortRange, numbers<Byte<0>, Word16<2>, Word16<4>, Word16<6>>,
     "CONDITION: SLOT_PORT dir %d slot%d ports[0] %d ports[1] %d "},
    {condition::kOuterVlanId, vlanRange, "CONDITION: SVID "},
    {condition::kInnerVlanId, vlanRange, "CONDITION: CVID "},
    {condition::kIvid, vlanRange, "CONDITION: IVID"},
    {condition::kOuterCos, vlanRange, "CONDITION: SCOS"},
    {condition::kInnerCos, vlanRange, "CONDITION: CCOS"},
    {condition::kTosRange, vlanRange, "CONDITION: TOS"},
    {condition::kDsevc, vlanRange, "CONDITION: DSEVC"},
    {condition::kArpTargetAddress, numbers<Word32<0>, Word32<4>>,
     "CONDITION: ARPDSTADDR 0x%x/0x%x "},
    {condition::kArpSenderAddress, numbers<Word32<0>, Word32<4>>,
     "CONDITION: ARPSRCADDR 0x%x/0x%x "},
    {condition::kPacketResolution, packetResolution, "CONDITION: PKTRES %s "},
    {condition::kLookupStatus, numbers<Word32<0>>, "CONDITION: LOOKUPSTATUS 0x%x "},
    {condition::kSdnVlanAny, fixed, "CONDITION: SDN_VLAN_ANY "},
    {condition::kDestinationPhysicalPort, numbers<Word16<0>, Word16<2>>,
     "CONDITION: DST_PHYS_PORT slot:port %d:%d "},
    {condition::kSourcePhysicalPort, numbers<Word16<0>, Word16<2>>,
     "CONDITION: SRC_PHYS_PORT slot:port %d:%d "},
    {condition::kSourcePhysicalPortList, text, "CONDITION: SRC_PHYS_PORT_LIST port_list %.*s "},
    // "clss-id", and the id before its type although that comes first in the data: as above.
    {condition::kClassId, numbers<Signed32<4>, Byte<0>>, "CONDITION: clss-id %d type %d"},
    {condition::kVxlanVni, numbers<Word32<0>, Word32<4>>, "CONDITION: VXLANVNI 0x%x/0x%x "},
    {condition::kOspf, numbers<Byte<0>, Byte<1>>, "CONDITION: OSPF version %d type %d"},
    {condition::kPim, numbers<Byte<0>>, "CONDITION: PIM type %d"},
    {condition::kDebugAcl, numbers<Signed32<0>, Word32<4>, Word32<8>>,
     "DEBUG-CONDITION: %d, p1 0x%x, p2 0x%x"},
});

constexpr auto kActionTexts = std::to_array<TextRow>({
    {action::kAccept, fixed, "ACTION: Accept "},
    {action::kDeny, fixed, "ACTION: Deny "},
    {action::kSampleOn, fixed, "ACTION: Sample on "},
    {action::kSampleOff, fixed, "ACTION: Sample off "},
    {action::kMirrorOn, fixed, "ACTION: Mirror on "},
    {action::kMirrorOff, fixed, "ACTION: Mirror off "},
    {action::kCpuCopyOn, fixed, "ACTION: CPU-copy on "},
    {action::kCpuCopyOff, fixed, "ACTION: CPU-copy off "},
    {action::kGroup, group, "ACTION: GROUP %08x ["},
    {action::kLog, fixed, "ACTION: log "},
    {action::kLogRaw, fixed, "ACTION: log raw "},
    {action::kCount, numbers<Word16<0>>, "ACTION: COUNT %d "},
    {action::kMeter, numbers<Word16<0>>, "ACTION: METER %d "},
    {action::kQos, numbers<Byte<0>>, "ACTION: QOS qp%d "},
    {action::kOuterVlan, numbers<Word16<0>>, "ACTION: SVID %d "},
    {action::kInnerVlan, numbers<Word16<0>>, "ACTION: CVID %d "},
    {action::kTunnelVlan, numbers<Word16<0>>, "ACTION: TVID %d "},
    {action::kDot1ahEncap, text, "ACTION: ENCAP for svlan %.*s "},
    {action::kDot1ahDecap, text, "ACTION: DECAP for svlan %.*s "},
    {action::kLagHash, numbers<Signed32<0>>, "ACTION: LAG_HASH %d "},
    {action::kFloodListDefine, numbers<Signed32<0>>, "ACTION: FLOOD_LIST_DEFINE %d "},
    {action::kFloodListUse, numbers<Signed32<0>>, "ACTION: FLOOD_LIST_USE %d "},
    {action::kRedirectName, text, "ACTION: redirect-name %.*s "},
    {action::kCpuCopyDropSdnMiss, fixed, "ACTION: CPU-copy and drop SDN miss on"},
    {action::kCpuCopyDropSdnAction, fixed, "ACTION: CPU-copy and drop SDN action on"},
    {action::kCpuCopySdn, fixed, "ACTION: CPU-copy SDN on"},
    {action::kMirrorCpuQueue, fixed, "ACTION: mirror-cpu-q  "},
});

void printRow(std::FILE *out, std::span<const TextRow> table, std::uint32_t type,
              std::span<const std::byte> data) noexcept {
  const auto row = std::ranges::find(table, type, &TextRow::type);
  if (row != table.end()) row->print(out, row->format, EntryData(data));
}

}  // namespace

void printConditionText(std::FILE *out, std::uint32_t type,
                        std::span<const std::byte> data) noexcept {
  printRow(out, kConditionTexts, type, data);
}

void printActionText(std::FILE *out, std::uint32_t type, std::span<const std::byte> data) noexcept {
  printRow(out, kActionTexts, type, data);
}

}  // namespace acl
