// Answering a range of 10 pending requests among many others: the reply walk against std::map.
//
// Each round registers 10 requests and answers them with one reply; the others wait all the time.
// The peer keeps its requests in a std::map, formats the same line for each answer and calls the
// same callback.
#include <acl_lib.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

constexpr std::uint32_t kRange = 10;
constexpr std::uint32_t kApplication = 13;
constexpr std::uint8_t kKind = 1;
constexpr std::uint32_t kTag = 100;
constexpr int kCode = 0x300B;

std::uint32_t answered = 0;

void countAnswer(void *) {
  ++answered;
}

void putNumber(std::uint8_t *field, std::uint32_t value) {
  for (int i = 3; i >= 0; --i, value >>= 8) field[i] = static_cast<std::uint8_t>(value);
}

using Reply = std::array<std::uint8_t, 608>;

Reply replyTo(std::uint32_t first, std::uint32_t last) {
  Reply reply{};
  reply[0] = kCode >> 8;
  reply[1] = kCode & 0xFF;
  reply[592] = kApplication;
  reply[593] = kKind;
  putNumber(&reply[596], kTag);
  putNumber(&reply[600], first);
  putNumber(&reply[604], last);
  return reply;
}

std::uint32_t registerRequest() {
  return aclLibGetClientSeqNo(kApplication, kCode, 1, "rule", kKind, kTag);
}

void forgetPending() {
  AclApplInfo *application = aclLibFindApplInfo(kApplication, 0);
  while (AclApplReq *request = aclFindFirstApplReq(application)) {
    aclDeleteApplReq(request, application);
    std::free(request);
  }
}

void answerRangeInTree(benchmark::State &state) {
  aclMsgCallback = countAnswer;
  forgetPending();
  for (std::int64_t i = 0; i < state.range(0); ++i) registerRequest();
  for (auto _ : state) {
    const std::uint32_t first = registerRequest();
    for (std::uint32_t i = 1; i < kRange; ++i) registerRequest();
    Reply reply = replyTo(first, first + kRange - 1);
    answered = 0;
    aclLibSendClientConfigReply(reply.data());
    if (answered != kRange) state.SkipWithError("another number of answers");
  }
  forgetPending();
}

struct Pending {
  std::uint16_t code;
  std::uint32_t cookie;
  std::string name;
  std::uint8_t kind;
  std::uint32_t tag;
};

void answerRangeInMap(benchmark::State &state) {
  std::map<std::uint32_t, Pending> pending;
  std::uint32_t counter = 0;
  const auto add = [&] {
    pending.emplace(++counter, Pending{kCode, 1, "rule", kKind, kTag});
    return counter;
  };
  for (std::int64_t i = 0; i < state.range(0); ++i) add();
  for (auto _ : state) {
    const std::uint32_t first = add();
    for (std::uint32_t i = 1; i < kRange; ++i) add();
    Reply reply = replyTo(first, first + kRange - 1);
    answered = 0;
    for (auto row = pending.lower_bound(first);
         row != pending.end() && row->first < first + kRange;) {
      putNumber(&reply[588], row->second.cookie);
      char line[256];
      std::snprintf(line, sizeof(line), "Sending status %s to client %s for request %x seqNo %u\n",
                    "OK", aclGlobalApps[kApplication].name, row->second.code, row->first);
      benchmark::DoNotOptimize(line);
      countAnswer(reply.data());
      row = pending.erase(row);
    }
    if (answered != kRange) state.SkipWithError("another number of answers");
  }
}

BENCHMARK(answerRangeInTree)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(answerRangeInMap)->Arg(1000)->Arg(10000)->Arg(100000);

}  // namespace
