// Finding a policy by its name: the policy store against std::map.
//
// Both hold the same names, inserted in the same random order, and are asked one question after the
// other in another random order; every answer is checked. What is measured is the time of one
// question, of three kinds:
//   policyStore           random names of 12 characters, which mostly differ in their first eight
//                         bytes; std::string keeps them in place, so that the peer is at its best
//   policyStorePrefixed   "edge-in-policy-" and a number: all alike in their first 15 characters,
//                         and too long for std::string to keep in place
//   policyStoreMisses     random names of 12 characters none of which is there
// The peer's keys are ready strings, while the store gets the names as C strings, as its callers
// do.
#include <acl_lib.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kNameLength = 12;

// How the names look.
enum class Names { kRandom, kPrefixed };

std::vector<std::string> prefixedNames(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) {
    std::string name = "edge-in-policy-";
    name += std::to_string(i);
    names.push_back(std::move(name));
  }
  return names;
}

std::vector<std::string> randomNames(std::size_t count, std::mt19937_64 &random) {
  constexpr char kCharacters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::uniform_int_distribution<std::size_t> pick(0, sizeof(kCharacters) - 2);
  std::unordered_set<std::string> names;
  while (names.size() < count) {
    std::string name(kNameLength, '\0');
    std::ranges::generate(name, [&] { return kCharacters[pick(random)]; });
    names.insert(std::move(name));
  }
  return {names.begin(), names.end()};
}

// A name to look for, and what is to be found: 0 for nothing.
struct Question {
  std::string name;
  AclPolicyHandle policy;
};

// One number of names in both containers.
class Stores {
 public:
  Stores(Names kind, std::size_t count) {
    std::mt19937_64 random(count);
    std::vector<std::string> names =
        kind == Names::kRandom ? randomNames(count, random) : prefixedNames(count);
    std::ranges::shuffle(names, random);
    aclPolicyTree = nullptr;
    for (const std::string &name : names) hits_.push_back({name, add(name)});
    for (const Question &question : hits_) map_.emplace(question.name, question.policy);
    tree_ = aclPolicyTree;
    std::ranges::shuffle(hits_, random);
    while (misses_.size() < count) {
      for (std::string &name : randomNames(count - misses_.size(), random)) {
        if (!map_.contains(name)) misses_.push_back({std::move(name), 0});
      }
    }
  }

  // Those of a kind and a size; made when they are first asked for, and kept.
  static const Stores &of(Names kind, std::int64_t count) {
    static std::map<std::pair<Names, std::int64_t>, std::unique_ptr<Stores>> all;
    std::unique_ptr<Stores> &stores = all[{kind, count}];
    if (stores == nullptr) {
      stores = std::make_unique<Stores>(kind, static_cast<std::size_t>(count));
    }
    return *stores;
  }

  // Makes the policies of this size the library's store.
  void install() const { aclPolicyTree = tree_; }

  const std::map<std::string, AclPolicyHandle> &map() const { return map_; }
  const std::vector<Question> &hits() const { return hits_; }
  const std::vector<Question> &misses() const { return misses_; }

 private:
  static AclPolicyHandle add(const std::string &name) {
    const AclPolicyHandle policy = aclLibNewPolicy(name.c_str());
    if (policy == 0 || aclBtreeInsertPolicy(policy) != 0) std::abort();
    return policy;
  }

  KvNode *tree_ = nullptr;
  std::map<std::string, AclPolicyHandle> map_;
  std::vector<Question> hits_;    // every name
  std::vector<Question> misses_;  // as many other names
};

using Questions = const std::vector<Question> &(Stores::*)() const;

// Asks one question after the other, from the first one again behind the last.
template <typename Find>
void askAll(benchmark::State &state, const std::vector<Question> &questions, Find find) {
  std::size_t next = 0;
  for (auto _ : state) {
    const Question &question = questions[next];
    if (find(question.name) != question.policy) {
      state.SkipWithError("wrong policy found");
      break;
    }
    if (++next == questions.size()) next = 0;
  }
}

void askMap(benchmark::State &state, Names kind, Questions questions) {
  const Stores &stores = Stores::of(kind, state.range(0));
  askAll(state, (stores.*questions)(), [&](const std::string &name) {
    const auto found = stores.map().find(name);
    return found == stores.map().end() ? 0 : found->second;
  });
}

void askStore(benchmark::State &state, Names kind, Questions questions) {
  const Stores &stores = Stores::of(kind, state.range(0));
  stores.install();
  askAll(state, (stores.*questions)(),
         [](const std::string &name) { return aclFindPolicy(name.c_str()); });
}

void standardMap(benchmark::State &state) {
  askMap(state, Names::kRandom, &Stores::hits);
}
void policyStore(benchmark::State &state) {
  askStore(state, Names::kRandom, &Stores::hits);
}
void standardMapPrefixed(benchmark::State &state) {
  askMap(state, Names::kPrefixed, &Stores::hits);
}
void policyStorePrefixed(benchmark::State &state) {
  askStore(state, Names::kPrefixed, &Stores::hits);
}
void standardMapMisses(benchmark::State &state) {
  askMap(state, Names::kRandom, &Stores::misses);
}
void policyStoreMisses(benchmark::State &state) {
  askStore(state, Names::kRandom, &Stores::misses);
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->RangeMultiplier(10)->Range(1000, 1000000);
}
BENCHMARK(standardMap)->Apply(sizes);
BENCHMARK(policyStore)->Apply(sizes);
BENCHMARK(standardMapPrefixed)->Apply(sizes);
BENCHMARK(policyStorePrefixed)->Apply(sizes);
BENCHMARK(standardMapMisses)->Apply(sizes);
BENCHMARK(policyStoreMisses)->Apply(sizes);

}  // namespace
