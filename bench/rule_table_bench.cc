// The rule table at 1,000, 10,000 and 100,000 rules: creating each rule behind the last one by its
// name, finding rules by name in random order, and evaluating a field that only the last rule
// matches; that also in a shuffled table, whose rules were created at random positions, so that
// their order is not that of their memory. The peers do the same for entries of the same size: with
// std::list and std::map<std::string, ...> where names count, and for evaluation with a std::list
// alone, between whose nodes lie none of a map.
//
// Times are per rule: a batch is one table's worth of rules.
#include <acl_lib.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <list>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

// Every allocation of this process is counted, those of shared libraries too.
extern "C" {
void *realMalloc(std::size_t size) asm("__libc_malloc");
void *realCalloc(std::size_t count, std::size_t size) asm("__libc_calloc");
void *realRealloc(void *block, std::size_t size) asm("__libc_realloc");
}

namespace {
std::atomic<std::uint64_t> allocations = 0;
}

extern "C" {
void *malloc(std::size_t size) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return realMalloc(size);
}
void *calloc(std::size_t count, std::size_t size) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return realCalloc(count, size);
}
void *realloc(void *block, std::size_t size) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return realRealloc(block, size);
}
}

namespace {

constexpr std::uint32_t kPermit = 1;
constexpr std::uint32_t kValueMatch = 3;
constexpr std::int32_t kBefore = 1;
constexpr std::int32_t kBehind = 2;
constexpr std::uint32_t kFullMask = 0xFFFFFFFF;

std::vector<std::string> namesOf(std::int64_t count) {
  std::vector<std::string> names;
  for (std::int64_t i = 0; i < count; ++i) {
    char name[33];
    std::snprintf(name, sizeof(name), "branch-rule-%08lld", static_cast<long long>(i));
    names.emplace_back(name);
  }
  return names;
}

std::vector<std::string> shuffled(std::vector<std::string> names) {
  std::mt19937 random(1);
  std::shuffle(names.begin(), names.end(), random);
  return names;
}

// The rules that stand in a random order, by their numbers in order of creation: beside which one
// each of them is created, and on which side.
class RandomPositions {
 public:
  // Of the rule that is created as the `number`th, counted from 0; in ascending order of numbers.
  std::size_t referenceFor(std::size_t number) { return random_() % number; }
  bool isBefore() { return random_() % 2 == 0; }

 private:
  std::mt19937 random_{2};
};

// "value is n: permit", n the number of the rule.
void fill(AclClientEntry &entry, std::uint32_t number) {
  entry.terms[0].type = kValueMatch;
  std::memcpy(entry.terms[0].matchData, &number, sizeof(number));
  std::memcpy(entry.terms[0].matchData + sizeof(number), &kFullMask, sizeof(kFullMask));
  entry.terms[1].type = kPermit;
  entry.termCount = 2;
}

AclEvalPacket packetFor(std::int64_t number) {
  AclEvalPacket packet{};
  const auto value = static_cast<std::uint32_t>(number);
  std::memcpy(packet.field, &value, sizeof(value));
  return packet;
}

// ---- The library's table

void createRules(const std::vector<std::string> &names) {
  const char *last = nullptr;
  for (const std::string &name : names) {
    aclLibCreateRule(name.c_str(), last, kBehind);
    last = name.c_str();
  }
}

void createShuffledRules(const std::vector<std::string> &names) {
  RandomPositions positions;
  aclLibCreateRule(names[0].c_str(), nullptr, kBehind);
  for (std::size_t i = 1; i < names.size(); ++i) {
    const std::string &reference = names[positions.referenceFor(i)];
    aclLibCreateRule(names[i].c_str(), reference.c_str(), positions.isBefore() ? kBefore : kBehind);
  }
}

void createInTable(benchmark::State &state) {
  const std::vector<std::string> names = namesOf(state.range(0));
  while (state.KeepRunningBatch(state.range(0))) {
    createRules(names);
    state.PauseTiming();
    aclLibDeleteRule(nullptr);
    state.ResumeTiming();
  }
}

void findInTable(benchmark::State &state) {
  const std::vector<std::string> names = namesOf(state.range(0));
  createRules(names);
  const std::vector<std::string> wanted = shuffled(names);
  while (state.KeepRunningBatch(state.range(0))) {
    for (const std::string &name : wanted) {
      benchmark::DoNotOptimize(aclLibFindClientEntry(name.c_str()));
    }
  }
  aclLibDeleteRule(nullptr);
}

using Create = void (*)(const std::vector<std::string> &names);

void evaluateTableOf(benchmark::State &state, Create create) {
  const std::vector<std::string> names = namesOf(state.range(0));
  const std::uint64_t allocationsAtStart = allocations;
  create(names);
  if (allocations - allocationsAtStart < names.size()) {
    state.SkipWithError("allocations are not counted");
  }
  std::uint32_t number = 0;
  AclClientEntry *entry = gClientEntryList.first;
  do {
    fill(*entry, number++);
    entry = entry->next;
  } while (entry != gClientEntryList.first);
  const AclEvalPacket packet = packetFor(state.range(0) - 1);
  const std::uint64_t allocationsBefore = allocations;
  while (state.KeepRunningBatch(state.range(0))) {
    std::uint32_t action = 0;
    benchmark::DoNotOptimize(aclLibEvaluateRule(0, kValueMatch, &packet, &action));
    if (action != kPermit) state.SkipWithError("the last rule did not decide");
  }
  if (allocations != allocationsBefore) state.SkipWithError("evaluation allocates");
  aclLibDeleteRule(nullptr);
}

void evaluateTable(benchmark::State &state) {
  evaluateTableOf(state, createRules);
}

void evaluateShuffledTable(benchmark::State &state) {
  evaluateTableOf(state, createShuffledRules);
}

void deleteFirstOfEqualNames(benchmark::State &state) {
  const std::vector<std::string> names(static_cast<std::size_t>(state.range(0)), "same");
  while (state.KeepRunningBatch(state.range(0))) {
    state.PauseTiming();
    createRules(names);
    state.ResumeTiming();
    for (const std::string &name : names) aclLibDeleteRule(name.c_str());
  }
}

// ---- The peers

using Rules = std::list<AclClientEntry>;

class ListAndMap {
 public:
  void create(const std::string &name, const char *reference) {
    auto place = rules_.end();
    if (reference != nullptr) place = std::next(byName_.find(reference)->second);
    const auto rule = rules_.emplace(place);
    name.copy(rule->name, sizeof(rule->name) - 1);
    byName_.emplace(name, rule);
  }
  void create(const std::vector<std::string> &names) {
    const char *last = nullptr;
    for (const std::string &name : names) {
      create(name, last);
      last = name.c_str();
    }
  }
  AclClientEntry *find(std::string_view name) {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : &*found->second;
  }
  Rules &rules() { return rules_; }

 private:
  Rules rules_;
  std::map<std::string, Rules::iterator, std::less<>> byName_;
};

void createInListAndMap(benchmark::State &state) {
  const std::vector<std::string> names = namesOf(state.range(0));
  while (state.KeepRunningBatch(state.range(0))) {
    ListAndMap table;
    table.create(names);
    state.PauseTiming();
    table = ListAndMap();
    state.ResumeTiming();
  }
}

void findInListAndMap(benchmark::State &state) {
  const std::vector<std::string> names = namesOf(state.range(0));
  ListAndMap table;
  table.create(names);
  const std::vector<std::string> wanted = shuffled(names);
  while (state.KeepRunningBatch(state.range(0))) {
    for (const std::string &name : wanted) benchmark::DoNotOptimize(table.find(name));
  }
}

bool matches(const AclRuleTerm &term, const AclEvalPacket &packet) {
  std::uint32_t words[2];
  std::uint32_t value;
  std::memcpy(words, term.matchData, sizeof(words));
  std::memcpy(&value, packet.field, sizeof(value));
  return term.type == kValueMatch && ((words[0] ^ value) & words[1]) == 0;
}

// Only what these rules ask for: the first term matches, the second one is the action.
std::uint32_t evaluate(const Rules &rules, const AclEvalPacket &packet) {
  for (const AclClientEntry &rule : rules) {
    for (std::int32_t i = 0; i < rule.termCount; ++i) {
      if (matches(rule.terms[i], packet)) return rule.terms[i + 1].type;
    }
  }
  return 0;
}

void evaluateRules(benchmark::State &state, Rules &rules) {
  std::uint32_t number = 0;
  for (AclClientEntry &rule : rules) fill(rule, number++);
  AclEvalPacket packet = packetFor(state.range(0) - 1);
  while (state.KeepRunningBatch(state.range(0))) {
    benchmark::DoNotOptimize(packet);
    if (evaluate(rules, packet) != kPermit) state.SkipWithError("no decision");
  }
}

void evaluateList(benchmark::State &state) {
  Rules rules(static_cast<std::size_t>(state.range(0)));
  evaluateRules(state, rules);
}

void evaluateListOfListAndMap(benchmark::State &state) {
  ListAndMap table;
  table.create(namesOf(state.range(0)));
  evaluateRules(state, table.rules());
}

void evaluateShuffledList(benchmark::State &state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  RandomPositions positions;
  Rules rules(1);
  std::vector<Rules::iterator> created = {rules.begin()};
  created.reserve(count);
  while (created.size() < count) {
    const auto reference = created[positions.referenceFor(created.size())];
    created.push_back(rules.emplace(positions.isBefore() ? reference : std::next(reference)));
  }
  evaluateRules(state, rules);
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Arg(1000)->Arg(10000)->Arg(100000);
}

BENCHMARK(createInTable)->Apply(sizes);
BENCHMARK(createInListAndMap)->Apply(sizes);
BENCHMARK(findInTable)->Apply(sizes);
BENCHMARK(findInListAndMap)->Apply(sizes);
BENCHMARK(evaluateTable)->Apply(sizes);
BENCHMARK(evaluateList)->Apply(sizes);
BENCHMARK(evaluateListOfListAndMap)->Apply(sizes);
BENCHMARK(evaluateShuffledTable)->Apply(sizes);
BENCHMARK(evaluateShuffledList)->Apply(sizes);
BENCHMARK(deleteFirstOfEqualNames)->Apply(sizes);

}  // namespace
