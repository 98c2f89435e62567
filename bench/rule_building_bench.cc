// Building one rule: this library's exported calls against other ways to encode the same content.
//
// The rule has an IPv4 source and destination, a protocol, L4 source and destination port ranges,
// TCP flags, a counter and a permit; its record is 160 bytes long. Every peer writes the same
// values into memory that it reuses from one rule to the next.
#include <acl_lib.h>
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <libmnl/libmnl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "rule.pb.h"
#include "rule_generated.h"

namespace {

constexpr char kRuleName[] = "web-from-branch";
constexpr std::uint32_t kRuleId = 7;
constexpr std::size_t kRecordSize = 160;

// The content of the rule, each field in network byte order.
struct Content {
  std::array<std::uint32_t, 2> source{htonl(0x0A010200), htonl(0xFFFFFF00)};
  std::array<std::uint32_t, 2> destination{htonl(0xCB007150), htonl(0xFFFFFFFF)};
  std::array<std::uint8_t, 2> protocol{6, 0xFF};
  std::array<std::uint16_t, 3> sourcePorts{htons(1024), htons(65535), 0xFFFF};
  std::array<std::uint16_t, 3> destinationPorts{htons(80), htons(443), 0xFFFF};
  std::array<std::uint8_t, 2> tcpFlags{0x02, 0x12};
  std::array<std::uint8_t, 38> counter{0, 9};
};

// Rules of one policy: as many as stay in the processor's first cache, like the peers' memory does.
constexpr int kRulesPerPolicy = 64;

void buildWithLibrary(AclPolicyHandle policy, const Content &content) {
  aclLibNewRule(policy, kRuleName, kRuleId);
  aclLibAddRuleCondIPAddr(policy, kRuleId, 0, content.source.data());
  aclLibAddRuleCondIPAddr(policy, kRuleId, 1, content.destination.data());
  aclLibAddRuleCondProtocol(policy, kRuleId, content.protocol.data());
  aclLibAddRuleCondPortRange(policy, kRuleId, 12, content.sourcePorts.data());
  aclLibAddRuleCondPortRange(policy, kRuleId, 13, content.destinationPorts.data());
  aclLibAddRuleCondTcpFlags(policy, kRuleId, content.tcpFlags.data());
  aclLibConfigActionCount(policy, kRuleId, content.counter.data());
  aclLibConfigRuleAction(policy, kRuleId, 1);
}

void exportedCalls(benchmark::State &state) {
  const AclPolicyHandle policy = aclLibNewPolicy("bench");
  Content content;
  int rules = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(content);
    if (++rules % kRulesPerPolicy == 0) aclLibClearRule(policy);
    buildWithLibrary(policy, content);
    benchmark::ClobberMemory();
  }
}

void memcpyOfTheRecord(benchmark::State &state) {
  std::array<std::byte, kRecordSize> record{};
  std::array<std::byte, kRecordSize> target;
  for (auto _ : state) {
    benchmark::DoNotOptimize(record.data());
    std::memcpy(target.data(), record.data(), kRecordSize);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
}

// One inlined function that knows every offset: the least that encoding can cost.
class DirectEncoder {
 public:
  explicit DirectEncoder(std::byte *record) : record_(record) {}

  void header(const char *name, std::size_t nameSize, std::uint32_t id) {
    std::memcpy(record_, name, nameSize);
    put32(36, id);
  }
  template <typename Data>
  void entry(std::uint16_t type, const Data &data) {
    constexpr std::uint16_t length = (sizeof(Data) + 3) & ~3U;
    put16(end_, type);
    put16(end_ + 2, length);
    std::memcpy(record_ + end_ + 4, &data, sizeof(Data));
    end_ += 4U + length;
  }
  void endConditions() { actions_ = end_; }
  void lastAction(std::uint16_t type) {
    put16(end_, type);
    put16(end_ + 2, 0);
    end_ += 4;
    put32(44, static_cast<std::uint32_t>(actions_ << 10 | end_));
  }

 private:
  void put16(std::size_t offset, std::uint16_t value) {
    const std::uint16_t big = htons(value);
    std::memcpy(record_ + offset, &big, sizeof(big));
  }
  void put32(std::size_t offset, std::uint32_t value) {
    const std::uint32_t big = htonl(value);
    std::memcpy(record_ + offset, &big, sizeof(big));
  }

  std::byte *record_;
  std::size_t end_ = 48;
  std::size_t actions_ = 48;
};

void directEncoding(benchmark::State &state) {
  std::array<std::byte, kRecordSize> record{};
  Content content;
  for (auto _ : state) {
    benchmark::DoNotOptimize(content);
    DirectEncoder encoder(record.data());
    encoder.header(kRuleName, sizeof(kRuleName), kRuleId);
    encoder.entry(0, content.source);
    encoder.entry(1, content.destination);
    encoder.entry(3, content.protocol);
    encoder.entry(12, content.sourcePorts);
    encoder.entry(13, content.destinationPorts);
    encoder.entry(14, content.tcpFlags);
    encoder.endConditions();
    encoder.entry(12, content.counter);
    encoder.lastAction(1);
    benchmark::DoNotOptimize(record.data());
    benchmark::ClobberMemory();
  }
}

void flatBuffersStructs(benchmark::State &state) {
  using namespace peer_flatbuffers;
  flatbuffers::FlatBufferBuilder builder(1024);
  Content content;
  for (auto _ : state) {
    benchmark::DoNotOptimize(content);
    builder.Clear();
    const auto name = builder.CreateString(kRuleName, sizeof(kRuleName) - 1);
    const Address source(content.source[0], content.source[1]);
    const Address destination(content.destination[0], content.destination[1]);
    const ByteMatch protocol(content.protocol[0], content.protocol[1]);
    const PortRange sourcePorts(content.sourcePorts[0], content.sourcePorts[1],
                                content.sourcePorts[2]);
    const PortRange destinationPorts(content.destinationPorts[0], content.destinationPorts[1],
                                     content.destinationPorts[2]);
    const ByteMatch tcpFlags(content.tcpFlags[0], content.tcpFlags[1]);
    Counter counter;
    std::memcpy(&counter, content.counter.data(), content.counter.size());
    builder.Finish(CreateRule(builder, name, kRuleId, &source, &destination, &protocol,
                              &sourcePorts, &destinationPorts, &tcpFlags, &counter, true));
    benchmark::DoNotOptimize(builder.GetBufferPointer());
    benchmark::ClobberMemory();
  }
}

void libmnlAttributes(benchmark::State &state) {
  alignas(8) std::array<char, 1024> buffer;
  Content content;
  for (auto _ : state) {
    benchmark::DoNotOptimize(content);
    nlmsghdr *message = mnl_nlmsg_put_header(buffer.data());
    mnl_attr_put(message, 1, sizeof(kRuleName), kRuleName);
    mnl_attr_put_u32(message, 2, kRuleId);
    mnl_attr_put(message, 3, sizeof(content.source), content.source.data());
    mnl_attr_put(message, 4, sizeof(content.destination), content.destination.data());
    mnl_attr_put(message, 5, sizeof(content.protocol), content.protocol.data());
    mnl_attr_put(message, 6, sizeof(content.sourcePorts), content.sourcePorts.data());
    mnl_attr_put(message, 7, sizeof(content.destinationPorts), content.destinationPorts.data());
    mnl_attr_put(message, 8, sizeof(content.tcpFlags), content.tcpFlags.data());
    mnl_attr_put(message, 9, sizeof(content.counter), content.counter.data());
    mnl_attr_put_u8(message, 10, 1);
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
}

void fillPorts(peer_protobuf::PortRange *range, const std::array<std::uint16_t, 3> &ports) {
  range->set_low(ports[0]);
  range->set_high(ports[1]);
  range->set_mask(ports[2]);
}

void protobufMessage(benchmark::State &state) {
  peer_protobuf::Rule rule;
  std::array<char, 1024> buffer;
  Content content;
  for (auto _ : state) {
    benchmark::DoNotOptimize(content);
    rule.Clear();
    rule.set_name(kRuleName);
    rule.set_id(kRuleId);
    rule.mutable_source()->set_address(content.source[0]);
    rule.mutable_source()->set_mask(content.source[1]);
    rule.mutable_destination()->set_address(content.destination[0]);
    rule.mutable_destination()->set_mask(content.destination[1]);
    rule.mutable_protocol()->set_value(content.protocol[0]);
    rule.mutable_protocol()->set_mask(content.protocol[1]);
    fillPorts(rule.mutable_source_ports(), content.sourcePorts);
    fillPorts(rule.mutable_destination_ports(), content.destinationPorts);
    rule.mutable_tcp_flags()->set_value(content.tcpFlags[0]);
    rule.mutable_tcp_flags()->set_mask(content.tcpFlags[1]);
    rule.set_counter(content.counter.data(), content.counter.size());
    rule.set_permit(true);
    rule.SerializeToArray(buffer.data(), static_cast<int>(buffer.size()));
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
}

BENCHMARK(memcpyOfTheRecord);
BENCHMARK(directEncoding);
BENCHMARK(exportedCalls);
BENCHMARK(flatBuffersStructs);
BENCHMARK(libmnlAttributes);
BENCHMARK(protobufMessage);

}  // namespace
