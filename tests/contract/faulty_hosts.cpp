// Hosts with one fault each, and for each the check of the contract tests that has to find it:
// every fault is run by that check in a process of its own, and the hosts without a fault by all
// checks.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contract/memory_hosts.h"

namespace velmora::testing {
namespace {

using contract::HeldSymbol;
using contract::Holdings;
using contract::internal::as_row;
using storage::NearestPair;
using Rows = std::vector<HeldSymbol>;
using Stored = std::unordered_map<SymbolId, storage::StoredSymbol>;
using Vectors = std::vector<std::vector<float>>;
using Probabilities = std::map<std::string, double, std::less<>>;

// Whether the test's own thread asks.
bool is_first_thread() {
  static const std::thread::id first = std::this_thread::get_id();
  return std::this_thread::get_id() == first;
}

// What a fault does to the arguments and answers of a right host. Called under a lock; each host
// has copies of its own.
struct Fault {
  std::string name = {};
  std::string suite = {};
  std::string check = {};  // "*": no fault, and all checks pass
  // Of a repository.
  std::function<void(const Holdings& now)> held = {};
  std::function<void(std::string& fingerprint)> fingerprint = {};
  std::function<void(std::vector<std::string_view>& languages)> languages = {};
  std::function<void(Rows& rows)> rows = {};
  bool one_row_buffer = false;  // for all cursors
  bool one_position = false;
  std::function<void(std::vector<float>& values, std::string& model)> asked = {};
  std::function<void(std::vector<NearestPair>& all, std::size_t& top_k)> nearest = {};
  std::function<void(std::span<const SymbolId> ids, Stored& found)> stored = {};
  // Of an engine.
  std::function<void(std::vector<std::string_view>& texts)> texts = {};
  std::function<void(Vectors& vectors)> vectors = {};
  std::function<void(std::string& name)> model_name = {};
  std::function<void()> not_ready = {};
  // Of a client.
  std::function<void(std::string_view name, bool& on)> feature = {};
  std::function<void(const engines::DecisionState& state, Probabilities& answer)> decided = {};
  std::function<void(const engines::DecisionError& error)> failed = {};
};

Fault current_fault;

class FaultyRepository : public storage::Repository {
 public:
  explicit FaultyRepository(storage::Repository& right) : right_(right) {}

  void on_hold(const Holdings& now) { spoil(fault_.held, now); }

  storage::IndexFingerprint retrieval_fingerprint() override {
    storage::IndexFingerprint fingerprint = right_.retrieval_fingerprint();
    spoil(fault_.fingerprint, fingerprint.value);
    return fingerprint;
  }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override {
    std::vector<std::string_view> wanted(languages.begin(), languages.end());
    spoil(fault_.languages, wanted);
    Rows rows;
    const auto cursor = right_.retrievable_code_symbols(wanted, kinds);
    while (const storage::SymbolRow* row = cursor->next()) rows.push_back(as_row(*row));
    spoil(fault_.rows, rows);
    *position_ = 0;
    return std::make_unique<Cursor>(std::move(rows),
                                    fault_.one_row_buffer ? buffer_ : std::make_shared<Buffer>(),
                                    fault_.one_position ? position_ : std::make_shared<Position>());
  }

  std::vector<NearestPair> nearest_symbol_ids(std::span<const float> values, std::string_view model,
                                              storage::NearestOptions options) override {
    std::vector<float> asked(values.begin(), values.end());
    std::string name(model);
    spoil(fault_.asked, asked, name);
    auto top_k = static_cast<std::size_t>(options.top_k);
    auto pairs =
        right_.nearest_symbol_ids(asked, name, {.top_k = std::numeric_limits<std::int64_t>::max()});
    spoil(fault_.nearest, pairs, top_k);
    if (pairs.size() > top_k) pairs.resize(top_k);
    return pairs;
  }

  Stored get_symbols_by_ids(std::span<const SymbolId> ids) override {
    Stored found = right_.get_symbols_by_ids(ids);
    spoil(fault_.stored, ids, found);
    return found;
  }

 private:
  struct Buffer {
    HeldSymbol symbol = {};
    storage::SymbolRow row = {};
  };
  using Position = std::atomic<std::size_t>;

  struct Cursor : storage::SymbolCursor {
    Cursor(Rows all, std::shared_ptr<Buffer> one_row, std::shared_ptr<Position> place)
        : rows(std::move(all)), buffer(std::move(one_row)), position(std::move(place)) {}

    const storage::SymbolRow* next() override {
      if (*position >= rows.size()) return nullptr;
      auto& [symbol, row] = *buffer;
      symbol = rows[(*position)++];
      row = {symbol.id,         symbol.fqn,      symbol.name,      symbol.kind,     symbol.path,
             symbol.start_line, symbol.end_line, symbol.signature, symbol.docstring};
      return &row;
    }

    const Rows rows;
    const std::shared_ptr<Buffer> buffer;
    const std::shared_ptr<Position> position;
  };

  template <class Hook, class... Arguments>
  void spoil(const Hook& hook, Arguments&&... arguments) {
    const std::lock_guard guard(lock_);
    if (hook) hook(std::forward<Arguments>(arguments)...);
  }

  storage::Repository& right_;
  const Fault fault_ = current_fault;
  std::mutex lock_;
  const std::shared_ptr<Buffer> buffer_ = std::make_shared<Buffer>();
  const std::shared_ptr<Position> position_ = std::make_shared<Position>();
};

class FaultyRepositoryHost : public MemoryIndexHost {
 public:
  std::shared_ptr<storage::Repository> repository() override { return faulty_; }
  Holdings hold(const Holdings& wanted) override {
    faulty_->on_hold(wanted);
    return MemoryIndexHost::hold(wanted);
  }

 private:
  const std::shared_ptr<FaultyRepository> faulty_ =
      std::make_shared<FaultyRepository>(*MemoryIndexHost::repository());
};

class FaultyBackend : public engines::EmbeddingBackend {
 public:
  explicit FaultyBackend(std::shared_ptr<engines::EmbeddingBackend> right)
      : right_(std::move(right)) {}

  Vectors embed(std::span<const std::string_view> texts) override {
    const std::lock_guard guard(lock_);
    std::vector<std::string_view> asked(texts.begin(), texts.end());
    if (fault_.texts) fault_.texts(asked);
    Vectors vectors = right_->embed(asked);
    if (fault_.vectors) fault_.vectors(vectors);
    if (fault_.model_name) fault_.model_name(name_);
    return vectors;
  }
  [[nodiscard]] std::string_view name() const override { return name_; }

 private:
  const std::shared_ptr<engines::EmbeddingBackend> right_;
  const Fault fault_ = current_fault;
  std::mutex lock_;
  std::string name_{right_->name()};
};

class FaultyEngine : public engines::EmbeddingEngine {
 public:
  explicit FaultyEngine(std::shared_ptr<engines::EmbeddingEngine> right)
      : right_(std::move(right)) {}

  std::shared_ptr<engines::EmbeddingBackend> wait_ready(
      std::chrono::milliseconds longest) override {
    const std::lock_guard guard(lock_);
    try {
      if (!backend_) backend_ = std::make_shared<FaultyBackend>(right_->wait_ready(longest));
    } catch (const engines::EmbeddingNotReadyError&) {
      if (fault_.not_ready) fault_.not_ready();
      throw;
    }
    return backend_;
  }

 private:
  const std::shared_ptr<engines::EmbeddingEngine> right_;
  const Fault fault_ = current_fault;
  std::mutex lock_;
  std::shared_ptr<engines::EmbeddingBackend> backend_;
};

class FaultyEngineHost : public ConceptModelHost {
 public:
  std::shared_ptr<engines::EmbeddingEngine> engine() override { return engine_; }
  std::shared_ptr<engines::EmbeddingEngine> engine_without_model() override {
    return std::make_shared<FaultyEngine>(ConceptModelHost::engine_without_model());
  }

 private:
  const std::shared_ptr<FaultyEngine> engine_ =
      std::make_shared<FaultyEngine>(ConceptModelHost::engine());
};

class FaultyClient : public engines::RerankClient {
 public:
  explicit FaultyClient(std::shared_ptr<engines::RerankClient> right) : right_(std::move(right)) {}

  bool feature_enabled(std::string_view name) override {
    const std::lock_guard guard(lock_);
    bool on = right_->feature_enabled(name);
    if (fault_.feature) fault_.feature(name, on);
    return on;
  }
  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions options) override {
    const std::lock_guard guard(lock_);
    try {
      engines::DecisionResult result = right_->decide(state, questions, options);
      if (fault_.decided) fault_.decided(state, result.probabilities);
      return result;
    } catch (const engines::DecisionError& error) {
      if (fault_.failed) fault_.failed(error);
      throw;
    }
  }

 private:
  const std::shared_ptr<engines::RerankClient> right_;
  const Fault fault_ = current_fault;
  std::mutex lock_;
};

class FaultyClientHost : public WordJudgeHost {
 public:
  std::shared_ptr<engines::RerankClient> client() override { return client_; }
  std::shared_ptr<engines::RerankClient> client_without_model() override {
    return std::make_shared<FaultyClient>(WordJudgeHost::client_without_model());
  }

 private:
  const std::shared_ptr<FaultyClient> client_ =
      std::make_shared<FaultyClient>(WordJudgeHost::client());
};

template <class Error>
void throw_on_other_threads() {
  if (!is_first_thread()) throw Error("Another thread asks");
}

// The faults of a suite; the first is none.
struct Faults {
  explicit Faults(std::string of_suite) : suite(std::move(of_suite)) { (*this)("NoFault", "*"); }

  // Adds a fault that does nothing yet; valid until the next is added.
  Fault& operator()(const std::string& name, const std::string& check) {
    return list.emplace_back(Fault{.name = name, .suite = suite, .check = check});
  }

  std::string suite;
  std::vector<Fault> list = {};
};

std::vector<Fault> repository_faults() {
  Faults add("RepositoryContract");

  std::string check = "GivesEachSymbolAskedForOnce";
  add("RepeatsARow", check).rows = [](Rows& rows) {
    if (!rows.empty()) rows.push_back(HeldSymbol(rows[0]));
  };
  add("ForgetsAKind", check).rows = [](Rows& rows) {
    std::erase_if(rows, [](const HeldSymbol& row) { return row.kind == "module"; });
  };
  add("IgnoresTheLanguages", check).languages = [](std::vector<std::string_view>& languages) {
    languages = contract::internal::all_languages();
  };

  check = "GivesTheFieldsOfASymbol";
  add("TakesEmptyForAbsent", check).rows = [](Rows& rows) {
    for (HeldSymbol& row : rows) {
      if (row.docstring == "") row.docstring.reset();
    }
  };
  add("CutsTextsAtNul", check).rows = [](Rows& rows) {
    for (HeldSymbol& row : rows) {
      if (row.docstring) row.docstring = std::string(row.docstring->c_str());
    }
  };

  add("UnstableOrder", "GivesTheSameOrderAgain").rows = [walk = 0](Rows& rows) mutable {
    if (walk++ % 2 == 1) std::reverse(rows.begin(), rows.end());
  };
  add("TextsDieAtOnce", "KeepsARowUntilTheNextIsAskedFor").one_row_buffer = true;
  add("OneCursorAtATime", "WalksTwoCursorsAtOnce").one_position = true;

  add("FingerprintOfEachCall", "KeepsItsFingerprintWhileNothingChanges").fingerprint =
      [call = 0](std::string& fingerprint) mutable { fingerprint = std::to_string(++call); };
  check = "HasANewFingerprintAfterEachChange";
  const auto fingerprint_of = [](Fault& fault, auto text_of) {
    const auto text = std::make_shared<std::string>();
    fault.held = [text, text_of](const Holdings& now) mutable { *text = text_of(now); };
    fault.fingerprint = [text](std::string& fingerprint) { fingerprint = *text; };
  };
  fingerprint_of(add("FingerprintComesBack", check),
                 [](const Holdings& now) { return ::testing::PrintToString(now.symbols); });
  fingerprint_of(add("FingerprintOnlyCounts", check),
                 [change = 0, count = std::size_t{0}](const Holdings& now) mutable {
                   if (std::exchange(count, now.symbols.size()) != now.symbols.size()) ++change;
                   return std::to_string(change);
                 });
  fingerprint_of(add("FingerprintMissesEmbeddings", check),
                 [change = 0, before = std::string()](const Holdings& now) mutable {
                   // Printed symbols are without embeddings.
                   const std::string rows = ::testing::PrintToString(now.symbols);
                   if (std::exchange(before, rows) != rows) ++change;
                   return std::to_string(change);
                 });

  check = "AnswersFromTheIndexAsItIsNow";
  add("ServesOldRows", check).rows = [old = Rows()](Rows& rows) mutable {
    if (old.empty()) old = rows;
    rows = old;
  };
  add("StoredForgetsNothing", check).stored = [old = Stored()](std::span<const SymbolId> ids,
                                                               Stored& found) mutable {
    old.insert(found.begin(), found.end());
    for (const SymbolId id : ids) {
      if (old.contains(id)) found[id] = old[id];
    }
  };
  add("StoredInventsSymbols", "FindsStoredSymbols").stored = [](std::span<const SymbolId> ids,
                                                                Stored& found) {
    for (const SymbolId id : ids) found.try_emplace(id);
  };

  check = "FindsTheNearest";
  add("NearestOutOfOrder", check).nearest = [](std::vector<NearestPair>& all, std::size_t&) {
    std::sort(all.begin(), all.end(),
              [](const NearestPair& left, const NearestPair& right) { return left.id < right.id; });
  };
  add("NearestTellsDistances", check).nearest = [](std::vector<NearestPair>& all, std::size_t&) {
    for (NearestPair& pair : all) pair.similarity = 1.0 - pair.similarity;
  };
  add("NearestGivesOneMore", check).nearest = [](std::vector<NearestPair>&, std::size_t& top_k) {
    ++top_k;
  };
  add("NearestStopsAtTwenty", check).nearest = [](std::vector<NearestPair>&, std::size_t& top_k) {
    top_k = std::min<std::size_t>(top_k, 20);
  };
  add("NearestSkipsOne", check).nearest = [](std::vector<NearestPair>& all, std::size_t&) {
    if (!all.empty()) all.erase(all.begin());
  };
  add("TiesDependOnTheCount", "ExtendsTheNearestWhenAskedForMore").nearest =
      [](std::vector<NearestPair>& all, std::size_t& top_k) {
        if (top_k % 2 == 0) return;
        std::sort(all.begin(), all.end(), [](const NearestPair& left, const NearestPair& right) {
          return std::pair(-left.similarity, right.id) < std::pair(-right.similarity, left.id);
        });
      };
  add("IgnoresTheModel", "HasNoEmbeddingsOfOtherModels").asked =
      [](std::vector<float>&, std::string& model) { model = "contract-model"; };
  add("StaysBroken", "AnswersAfterAnError").asked = [broken = false](std::vector<float>& values,
                                                                     std::string&) mutable {
    broken = broken || values.size() != 3;
    if (broken) throw std::runtime_error("The connection was closed");
  };
  add("ServesOneThread", "AnswersSeveralThreads").fingerprint = [](std::string&) {
    throw_on_other_threads<std::runtime_error>();
  };
  add("ShowsHalfAChange", "AnswersWhileTheIndexChanges").rows = [](Rows& rows) {
    if (is_first_thread()) return;
    for (HeldSymbol& row : rows) row.docstring.reset();
  };
  return add.list;
}

std::vector<Fault> engine_faults() {
  Faults add("EmbeddingEngineContract");

  std::string check = "EmbedsEachTextInItsOrder";
  add("VectorsInAnotherOrder", check).vectors = [](Vectors& vectors) {
    std::reverse(vectors.begin(), vectors.end());
  };
  add("OneVectorTooFew", check).vectors = [](Vectors& vectors) {
    if (vectors.size() > 1) vectors.pop_back();
  };
  add("EmbedsATextOnce", check).texts = [](std::vector<std::string_view>& texts) {
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
  };
  add("GivesNotANumber", check).vectors = [](Vectors& vectors) {
    for (auto& vector : vectors) vector[0] = std::numeric_limits<float>::quiet_NaN();
  };
  add("GivesNoDirection", check).vectors = [](Vectors& vectors) {
    for (auto& vector : vectors) std::fill(vector.begin(), vector.end(), 0.0F);
  };
  add("Drifts", "EmbedsATextAlwaysAlike").vectors = [call = 0.0F](Vectors& vectors) mutable {
    call += 0.5F;
    for (auto& vector : vectors) vector[0] += call;
  };
  add("WantsATextAtLeast", "EmbedsNoTexts").texts = [](std::vector<std::string_view>& texts) {
    if (texts.empty()) throw std::invalid_argument("There is no text");
  };
  check = "EmbedsOrRefusesWhateverIsAsked";
  add("StaysBroken", check).texts = [broken = false](std::vector<std::string_view>& texts) mutable {
    broken = broken || (!texts.empty() && texts[0].size() > 100'000);
    if (broken) throw std::runtime_error("The connection was closed");
  };
  add("EmptyTextHasNoVector", check).texts = [](std::vector<std::string_view>& texts) {
    std::erase(texts, std::string_view());
  };
  add("CountsInItsName", "KeepsItsName").model_name = [](std::string& name) { name += "+"; };
  check = "SaysThatTheModelIsNotReady";
  add("EndsWithAFullStop", check).not_ready = [] {
    throw engines::EmbeddingNotReadyError("The model is loading.");
  };
  add("BeginsInTheMiddle", check).not_ready = [] {
    throw engines::EmbeddingNotReadyError("model is loading");
  };
  add("ThrowsAnotherError", check).not_ready = [] { throw std::runtime_error("Still loading"); };
  add("ServesOneThread", "EmbedsOnSeveralThreads").vectors = [](Vectors&) {
    throw_on_other_threads<std::runtime_error>();
  };
  return add.list;
}

std::vector<Fault> client_faults() {
  Faults add("RerankClientContract");

  std::string check = "HasItsOwnSwitchesAlone";
  add("ThrowsFromFeatureEnabled", check).feature = [](std::string_view name, bool&) {
    if (name.empty()) throw std::out_of_range("There is no such feature");
  };
  add("KnowsEverySwitch", check).feature = [](std::string_view, bool& on) { on = true; };
  check = "AnswersEveryQuestion";
  add("ProbabilityAboveOne", check).decided = [](const auto&, Probabilities& answer) {
    for (auto& [key, probability] : answer) probability += 1.0;
  };
  add("ProbabilityNotANumber", check).decided = [](const auto&, Probabilities& answer) {
    answer.begin()->second = std::numeric_limits<double>::quiet_NaN();
  };
  add("ForgetsTheLast", check).decided = [](const auto&, Probabilities& answer) {
    answer.erase(std::prev(answer.end()));
  };
  add("AnswersOnce", check).decided = [asked = std::vector<std::string>()](
                                          const engines::DecisionState& state,
                                          Probabilities&) mutable {
    if (std::exchange(asked, state.candidates) == state.candidates) {
      throw engines::DecisionError("This was asked before");
    }
  };
  check = "AnswersOrFailsWhateverIsAsked";
  add("ThrowsALogicError", check).decided = [](const engines::DecisionState& state, auto&) {
    if (state.question.size() > 100'000) throw std::logic_error("The question is too long");
  };
  add("StaysBroken", check).decided = [broken = false](const engines::DecisionState& state,
                                                       auto&) mutable {
    broken = broken || state.question.size() > 100'000;
    if (broken) throw engines::DecisionError("The connection was closed");
  };
  add("ThrowsAnotherError", "FailsWithoutItsModel").failed = [](const auto&) {
    throw std::runtime_error("The model cannot be reached");
  };
  add("ServesOneThread", "AnswersSeveralThreads").decided = [](const auto&, auto&) {
    throw_on_other_threads<engines::DecisionError>();
  };
  return add.list;
}

}  // namespace
}  // namespace velmora::testing

namespace velmora::contract {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(Faulty, RepositoryContract, testing::FaultyRepositoryHost);
INSTANTIATE_TYPED_TEST_SUITE_P(Faulty, EmbeddingEngineContract, testing::FaultyEngineHost);
INSTANTIATE_TYPED_TEST_SUITE_P(Faulty, RerankClientContract, testing::FaultyClientHost);

}  // namespace
}  // namespace velmora::contract

namespace {

using velmora::testing::Fault;

// Runs the check of a fault in a process of its own. Whether it came out as it has to: one test
// that failed, or without a fault all that passed.
bool comes_out_right(const Fault& fault) {
  const pid_t child = fork();
  if (child == 0) {
    velmora::testing::is_first_thread();
    velmora::testing::current_fault = fault;
    GTEST_FLAG_SET(filter, "Faulty/" + fault.suite + "/0." + fault.check);
    auto& listeners = ::testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    const bool failed = RUN_ALL_TESTS() != 0;
    const auto& tests = *::testing::UnitTest::GetInstance();
    const bool right = fault.check == "*" ? !failed && tests.successful_test_count() > 1
                                          : tests.failed_test_count() == 1;
    _exit(right ? 0 : 1);
  }
  int status = -1;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  int wrong = 0;
  for (const auto& faults :
       {velmora::testing::repository_faults(), velmora::testing::engine_faults(),
        velmora::testing::client_faults()}) {
    for (const Fault& fault : faults) {
      const bool right = comes_out_right(fault);
      std::cout << (right ? "ok     " : "WRONG  ") << fault.suite << '.' << fault.check << ": "
                << fault.name << std::endl;
      if (!right) ++wrong;
    }
  }
  return wrong == 0 ? 0 : 1;
}
