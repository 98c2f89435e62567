// Finding a policy by its name: the policy store against std::map.
//
// Both hold the same names, inserted in the same random order, and are asked for all of them in
// another random order; every answer is checked. Names have 12 characters: std::string keeps as
// many in place, so that the peer is at its best. Its keys are ready strings, while the store gets
// the names as C strings, as its callers do.
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
#include <vector>

namespace {

constexpr std::size_t kNameLength = 12;

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

// A name to look for, and what is to be found.
struct Question {
  std::string name;
  AclPolicyHandle policy;
};

// One number of names in both containers.
class Stores {
 public:
  explicit Stores(std::size_t count) {
    std::mt19937_64 random(count);
    std::vector<std::string> names = randomNames(count, random);
    std::ranges::shuffle(names, random);
    aclPolicyTree = nullptr;
    for (const std::string &name : names) questions_.push_back({name, add(name)});
    for (const Question &question : questions_) map_.emplace(question.name, question.policy);
    tree_ = aclPolicyTree;
    std::ranges::shuffle(questions_, random);
  }

  // Those of a size; made when they are first asked for, and kept.
  static const Stores &of(std::int64_t count) {
    static std::map<std::int64_t, std::unique_ptr<Stores>> all;
    std::unique_ptr<Stores> &stores = all[count];
    if (stores == nullptr) stores = std::make_unique<Stores>(static_cast<std::size_t>(count));
    return *stores;
  }

  // Makes the policies of this size the library's store.
  void install() const { aclPolicyTree = tree_; }

  const std::map<std::string, AclPolicyHandle> &map() const { return map_; }
  const std::vector<Question> &questions() const { return questions_; }

 private:
  static AclPolicyHandle add(const std::string &name) {
    const AclPolicyHandle policy = aclLibNewPolicy(name.c_str());
    if (policy == 0 || aclBtreeInsertPolicy(policy) != 0) std::abort();
    return policy;
  }

  KvNode *tree_ = nullptr;
  std::map<std::string, AclPolicyHandle> map_;
  std::vector<Question> questions_;
};

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

void standardMap(benchmark::State &state) {
  const Stores &stores = Stores::of(state.range(0));
  askAll(state, stores.questions(), [&](const std::string &name) {
    const auto found = stores.map().find(name);
    return found == stores.map().end() ? 0 : found->second;
  });
}

void policyStore(benchmark::State &state) {
  const Stores &stores = Stores::of(state.range(0));
  stores.install();
  askAll(state, stores.questions(),
         [](const std::string &name) { return aclFindPolicy(name.c_str()); });
}

BENCHMARK(standardMap)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(policyStore)->RangeMultiplier(10)->Range(1000, 1000000);

}  // namespace
