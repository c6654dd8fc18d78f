// What a storage::Repository promises, as tests that its author runs. In a test program that links
// velmora::contract and GoogleTest's main function:
//
//   #include <velmora/contract/repository.h>
//
//   class MyHost : public velmora::contract::RepositoryHost { ... };
//
//   namespace velmora::contract {
//   INSTANTIATE_TYPED_TEST_SUITE_P(MyIndex, RepositoryContract, MyHost);
//   }
//
// Each check makes a MyHost, without arguments, and has it hold some three hundred symbols. What
// the host cannot do is skipped and said. A call that never returns is a test that never ends: give
// the tests a time limit. Data races show when the tests are built with the thread sanitizer, reads
// of texts that are gone with the address sanitizer.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "velmora/contract/held_symbols.h"
#include "velmora/contract/threads.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/utils/language_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::contract {

// What the checks need of the author of a repository.
class RepositoryHost {
 public:
  virtual ~RepositoryHost() = default;

  // The repository, never null; the same one for as long as the host lives.
  virtual std::shared_ptr<storage::Repository> repository() = 0;

  // Has the index hold `wanted` and nothing else, and returns what it holds now, as the host knows
  // it without asking the repository: another id, a text cut short or an embedding that it does not
  // keep are told so. An index that cannot change returns what it always holds; one whose vectors
  // nobody can choose returns those of its own. Called before the first use of the repository, and
  // again, by one thread, while others use it.
  virtual Holdings hold(const Holdings& wanted) = 0;
};

namespace internal {

// How far a similarity may be from the exact cosine: embeddings may be kept in half precision.
inline constexpr double COSINE_ERROR = 2e-3;

inline std::vector<std::string_view> all_languages() {
  const auto words = utils::SOURCE_LANGUAGES.words();
  return {words.begin(), words.end()};
}
inline std::vector<std::string_view> all_kinds() {
  const auto words = workers::retrieval::RETRIEVABLE_KINDS.words();
  return {words.begin(), words.end()};
}

// The rows of one walk, in its order. Gives up on a cursor of a million rows.
inline std::vector<HeldSymbol> walk(storage::Repository& repository, const Words& languages,
                                    const Words& kinds) {
  constexpr std::size_t MOST = 1'000'000;
  std::vector<HeldSymbol> rows;
  const auto cursor = repository.retrievable_code_symbols(languages.views(), kinds.views());
  if (cursor == nullptr) {
    ADD_FAILURE() << "The cursor is null; without a row it is an empty one";
    return rows;
  }
  while (const storage::SymbolRow* const row = cursor->next()) {
    rows.push_back(as_row(*row));
    if (rows.size() == MOST) {
      ADD_FAILURE() << "The cursor does not end";
      break;
    }
  }
  return rows;
}
inline std::vector<HeldSymbol> walk(storage::Repository& repository) {
  return walk(repository, Words(all_languages()), Words(all_kinds()));
}

inline std::vector<HeldSymbol> expected_rows(const Holdings& held) {
  return expected_rows(held, Words(all_languages()), Words(all_kinds()));
}

// A few directions to search in, of the length of the embeddings; none when there are none.
inline std::vector<std::vector<float>> questions(const Holdings& held) {
  std::vector<std::vector<float>> vectors;
  for (const HeldSymbol& symbol : held.symbols) {
    if (symbol.embedding.empty()) continue;
    vectors.push_back(symbol.embedding);
    for (float& number : vectors.back()) number *= 5;
    if (vectors.size() == 5) break;
  }
  return vectors;
}

inline std::vector<storage::NearestPair> nearest(storage::Repository& repository,
                                                 std::span<const float> values,
                                                 std::string_view model, std::int64_t top_k) {
  return repository.nearest_symbol_ids(values, model, {.top_k = top_k});
}

// Holds an answer against all cosines. Ids of symbols that are no longer held may be among it.
inline void expect_nearest(const Holdings& held, std::span<const float> values, std::size_t top_k,
                           const std::vector<storage::NearestPair>& pairs) {
  EXPECT_LE(pairs.size(), top_k) << "There are more pairs than were asked for";
  std::map<SymbolId, double> left;
  for (const HeldSymbol& symbol : held.symbols) {
    if (!symbol.embedding.empty()) left[symbol.id] = cosine(values, symbol.embedding);
  }
  std::set<SymbolId> seen;
  double before = 1.0 + COSINE_ERROR;
  for (const auto& [id, similarity] : pairs) {
    EXPECT_TRUE(seen.insert(id).second) << "The id " << id << " comes twice";
    EXPECT_LE(similarity, before) << "The id " << id << " comes behind a farther one";
    EXPECT_GE(similarity, -1.0 - COSINE_ERROR);
    before = similarity;
    const auto found = left.find(id);
    if (found == left.end()) continue;
    EXPECT_NEAR(similarity, found->second, COSINE_ERROR) << "of the id " << id;
    left.erase(found);
  }
  if (pairs.size() < top_k) {
    EXPECT_TRUE(left.empty()) << left.size() << " embeddings are missing from a list that is not "
                              << "full, " << left.begin()->first << " first";
    return;
  }
  for (const auto& [id, similarity] : left) {
    EXPECT_LE(similarity, before + 2 * COSINE_ERROR) << "The id " << id << " is nearer";
  }
}

// The stored symbols of any number of ids, asked for as many at a time as a rerank asks for.
inline std::unordered_map<SymbolId, storage::StoredSymbol> stored(storage::Repository& repository,
                                                                  std::span<const SymbolId> ids) {
  std::unordered_map<SymbolId, storage::StoredSymbol> all;
  for (std::size_t begin = 0; begin < ids.size();) {
    const auto some = ids.subspan(
        begin, std::min<std::size_t>(ids.size() - begin, workers::retrieval::RERANK_DEPTH));
    for (const auto& [id, symbol] : repository.get_symbols_by_ids(some)) {
      EXPECT_NE(std::find(some.begin(), some.end(), id), some.end()) << id << " was not asked for";
      all[id] = symbol;
    }
    begin += some.size();
  }
  return all;
}

// Holds all that the repository answers against `held`.
inline void expect_holds(storage::Repository& repository, const Holdings& held) {
  EXPECT_EQ(by_id(walk(repository)), expected_rows(held));
  for (const std::vector<float>& values : questions(held)) {
    const std::size_t all = held.symbols.size() + 1;
    expect_nearest(held, values, all,
                   nearest(repository, values, held.model, static_cast<std::int64_t>(all)));
  }
  const auto symbols = stored(repository, ids_of(held.symbols));
  for (const HeldSymbol& symbol : held.symbols) {
    const auto found = symbols.find(symbol.id);
    EXPECT_TRUE(found != symbols.end() && found->second.docstring == symbol.docstring)
        << "of the symbol " << symbol.id;
  }
}

// Has the index hold one of `states` after the other, each followed by the first holdings, and
// calls `changed` after each step that changed something. Whether any did.
template <class Changed>
bool hold_in_turn(RepositoryHost& host, Holdings now, const std::vector<Holdings>& states,
                  const Changed& changed) {
  bool any = false;
  for (const Holdings& state : states) {
    for (const Holdings& wanted : {state, first_holdings()}) {
      const Holdings held = host.hold(wanted);
      if (held != now) changed(now, held);
      any = any || held != now;
      now = held;
    }
  }
  return any;
}

}  // namespace internal

// One host, which holds the first symbols.
template <class Host>
class RepositoryContract : public ::testing::Test {
 protected:
  Host host;
  const Holdings held = host.hold(internal::first_holdings());
  const std::shared_ptr<storage::Repository> shared = host.repository();
  storage::Repository& repository = *shared;
};

TYPED_TEST_SUITE_P(RepositoryContract);

TYPED_TEST_P(RepositoryContract, GivesEachSymbolAskedForOnce) {
  using List = std::vector<std::string_view>;
  const List languages = internal::all_languages(), kinds = internal::all_kinds();
  std::vector<std::pair<List, List>> cases = {
      {languages, kinds}, {{"python"}, {"class"}}, {{"markdown"}, {"section", "variable"}},
      {{}, kinds},        {languages, {}},         {{"no such language"}, {"no such kind"}}};
  for (const std::string_view language : languages) cases.push_back({{language}, kinds});
  for (const std::string_view kind : kinds) cases.push_back({languages, {kind}});
  for (const auto& [some_languages, some_kinds] : cases) {
    const internal::Words language_words(some_languages), kind_words(some_kinds);
    EXPECT_EQ(internal::ids_of(
                  internal::by_id(internal::walk(this->repository, language_words, kind_words))),
              internal::ids_of(internal::expected_rows(this->held, language_words, kind_words)))
        << "of the languages " << ::testing::PrintToString(some_languages) << " and kinds "
        << ::testing::PrintToString(some_kinds);
  }
}

TYPED_TEST_P(RepositoryContract, GivesTheFieldsOfASymbol) {
  const auto rows = internal::by_id(internal::walk(this->repository));
  EXPECT_EQ(rows, internal::expected_rows(this->held));
  for (const HeldSymbol& row : rows) {
    EXPECT_FALSE(row.path.starts_with('/') || row.path.starts_with("./") || row.path.ends_with('/'))
        << row.path << " is not relative to the root";
  }
}

TYPED_TEST_P(RepositoryContract, GivesTheSameOrderAgain) {
  const auto rows = internal::walk(this->repository);
  for (int again = 0; again < 3; ++again) EXPECT_EQ(internal::walk(this->repository), rows);
}

TYPED_TEST_P(RepositoryContract, KeepsARowUntilTheNextIsAskedFor) {
  const internal::Words languages(internal::all_languages()), kinds(internal::all_kinds());
  const auto cursor = this->repository.retrievable_code_symbols(languages.views(), kinds.views());
  for (int i = 0; i < 8; ++i) {
    const storage::SymbolRow* const row = cursor->next();
    if (row == nullptr) break;
    const HeldSymbol before = internal::as_row(*row);
    internal::expect_holds(this->repository, this->held);
    EXPECT_EQ(internal::as_row(*row), before) << "Other calls changed the row";
  }
}

TYPED_TEST_P(RepositoryContract, WalksTwoCursorsAtOnce) {
  const internal::Words languages(internal::all_languages()), kinds(internal::all_kinds());
  const auto rows = internal::walk(this->repository);
  const auto begin = [&] {
    return this->repository.retrievable_code_symbols(languages.views(), kinds.views());
  };
  const auto one = begin(), other = begin();
  for (const HeldSymbol& row : rows) {
    for (storage::SymbolCursor* const cursor : {one.get(), other.get()}) {
      const storage::SymbolRow* const next = cursor->next();
      ASSERT_NE(next, nullptr) << "A cursor ended before its last row";
      ASSERT_EQ(internal::as_row(*next), row);
    }
    begin()->next();  // and one that is left behind at its first row
  }
  EXPECT_EQ(one->next(), nullptr);
  EXPECT_EQ(other->next(), nullptr);
}

TYPED_TEST_P(RepositoryContract, KeepsItsFingerprintWhileNothingChanges) {
  const auto fingerprint = this->repository.retrieval_fingerprint();
  EXPECT_EQ(this->repository.retrieval_fingerprint(), fingerprint);
  internal::expect_holds(this->repository, this->held);
  EXPECT_EQ(this->repository.retrieval_fingerprint(), fingerprint) << "Reading is no change";
}

TYPED_TEST_P(RepositoryContract, HasANewFingerprintAfterEachChange) {
  std::set<std::string> seen = {this->repository.retrieval_fingerprint().value};
  const bool any = internal::hold_in_turn(
      this->host, this->held, internal::changed_holdings(),
      [&](const Holdings& before, const Holdings& now) {
        EXPECT_TRUE(seen.insert(this->repository.retrieval_fingerprint().value).second)
            << "A fingerprint came back after a change from " << before.symbols.size() << " to "
            << now.symbols.size() << " symbols";
      });
  if (!any) GTEST_SKIP() << "The index cannot change";
}

TYPED_TEST_P(RepositoryContract, AnswersFromTheIndexAsItIsNow) {
  internal::expect_holds(this->repository, this->held);
  std::vector<Holdings> states = internal::changed_holdings();
  states.push_back({internal::first_holdings().model, {}});
  const bool any = internal::hold_in_turn(
      this->host, this->held, states, [&](const Holdings& before, const Holdings& now) {
        internal::expect_holds(this->repository, now);
        for (const auto& [id, symbol] :
             internal::stored(this->repository, internal::ids_of(before.symbols))) {
          EXPECT_NE(now.find(id), nullptr) << "The symbol " << id << " is gone, and yet stored";
        }
      });
  if (!any) GTEST_SKIP() << "The index cannot change";
}

TYPED_TEST_P(RepositoryContract, FindsTheNearest) {
  for (const std::vector<float>& values : internal::questions(this->held)) {
    for (const std::size_t top_k : {1U, 2U, 5U, 40U, 100'000U}) {
      const auto pairs = internal::nearest(this->repository, values, this->held.model,
                                           static_cast<std::int64_t>(top_k));
      internal::expect_nearest(this->held, values, top_k, pairs);
      for (const storage::NearestPair& pair : pairs) {
        EXPECT_NE(this->held.find(pair.id), nullptr) << "No symbol ever had the id " << pair.id;
      }
    }
  }
  if (internal::questions(this->held).empty()) GTEST_SKIP() << "The index has no embeddings";
}

TYPED_TEST_P(RepositoryContract, ExtendsTheNearestWhenAskedForMore) {
  for (const std::vector<float>& values : internal::questions(this->held)) {
    const auto ask = [&](std::int64_t top_k) {
      return internal::nearest(this->repository, values, this->held.model, top_k);
    };
    const auto all = ask(std::numeric_limits<std::int64_t>::max());
    for (std::size_t top_k = 1; top_k <= std::min<std::size_t>(all.size(), 50); ++top_k) {
      EXPECT_EQ(ask(static_cast<std::int64_t>(top_k)),
                std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(top_k)));
    }
  }
  if (internal::questions(this->held).empty()) GTEST_SKIP() << "The index has no embeddings";
}

TYPED_TEST_P(RepositoryContract, HasNoEmbeddingsOfOtherModels) {
  const std::vector<float> values = {1, 0, 0};
  const std::string model = this->held.model;
  for (const std::string& other : {model + "-2", model.substr(0, model.size() / 2), "%" + model}) {
    EXPECT_TRUE(internal::nearest(this->repository, values, other, 10).empty()) << other;
  }
}

TYPED_TEST_P(RepositoryContract, FindsStoredSymbols) {
  const auto ask = [&](const std::vector<SymbolId>& ids) {
    return this->repository.get_symbols_by_ids(ids);
  };
  EXPECT_TRUE(ask({}).empty());
  EXPECT_TRUE(ask({77'777, -77'777}).empty()) << "There are no symbols of these ids";
  for (std::size_t i = 0; i < this->held.symbols.size(); i += 1 + i / 8) {
    const HeldSymbol& symbol = this->held.symbols[i];
    const std::unordered_map<SymbolId, storage::StoredSymbol> expected = {
        {symbol.id, {symbol.docstring}}};
    EXPECT_EQ(ask({77'777, symbol.id, symbol.id}), expected) << "of the id " << symbol.id;
  }
}

TYPED_TEST_P(RepositoryContract, AnswersAfterAnError) {
  for (std::vector<float> values : internal::questions(this->held)) {
    const std::vector<float> right = values;
    values.push_back(1);
    for (const std::vector<float>& odd : {values, std::vector<float>{}}) {
      try {
        EXPECT_LE(internal::nearest(this->repository, odd, this->held.model, 2).size(), 2U);
      } catch (const std::exception&) {
        // A vector of another length is an error, or finds what it finds.
      }
    }
    internal::expect_nearest(this->held, right, 5,
                             internal::nearest(this->repository, right, this->held.model, 5));
  }
  internal::expect_holds(this->repository, this->held);
}

TYPED_TEST_P(RepositoryContract, AnswersSeveralThreads) {
  on_threads([&](unsigned thread) {
    std::mt19937 random(thread);
    const auto fingerprint = this->repository.retrieval_fingerprint();
    for (int round = 0; round < 20; ++round) {
      if (random() % 2 == 0) internal::expect_holds(this->repository, this->held);
      EXPECT_EQ(this->repository.retrieval_fingerprint(), fingerprint);
    }
  });
}

TYPED_TEST_P(RepositoryContract, AnswersWhileTheIndexChanges) {
  const Holdings other = internal::changed_holdings().back();
  const Holdings changed = this->host.hold(other);
  if (changed == this->held) GTEST_SKIP() << "The index cannot change";
  on_threads([&](unsigned thread) {
    for (int round = 0; round < 10; ++round) {
      if (thread == 0) {
        this->host.hold(round % 2 == 0 ? internal::first_holdings() : other);
        continue;
      }
      // A question may fail meanwhile; what is answered is of one of the two states.
      try {
        std::set<SymbolId> seen;
        for (const HeldSymbol& row : internal::walk(this->repository)) {
          EXPECT_TRUE(seen.insert(row.id).second) << "The id " << row.id << " comes twice";
          const auto is_of = [&row](const Holdings& state) {
            const HeldSymbol* const symbol = state.find(row.id);
            return symbol != nullptr && internal::as_row(*symbol) == row;
          };
          EXPECT_TRUE(is_of(this->held) || is_of(changed))
              << "The symbol " << ::testing::PrintToString(row) << " never was like this";
        }
        this->repository.retrieval_fingerprint();
        internal::stored(this->repository, internal::ids_of(this->held.symbols));
        for (const std::vector<float>& values : internal::questions(this->held)) {
          EXPECT_LE(internal::nearest(this->repository, values, this->held.model, 9).size(), 9U);
        }
      } catch (const std::exception&) {
        // The next round asks again.
      }
    }
  });
  internal::expect_holds(this->repository, changed);
}

REGISTER_TYPED_TEST_SUITE_P(RepositoryContract, GivesEachSymbolAskedForOnce,
                            GivesTheFieldsOfASymbol, GivesTheSameOrderAgain,
                            KeepsARowUntilTheNextIsAskedFor, WalksTwoCursorsAtOnce,
                            KeepsItsFingerprintWhileNothingChanges,
                            HasANewFingerprintAfterEachChange, AnswersFromTheIndexAsItIsNow,
                            FindsTheNearest, ExtendsTheNearestWhenAskedForMore,
                            HasNoEmbeddingsOfOtherModels, FindsStoredSymbols, AnswersAfterAnError,
                            AnswersSeveralThreads, AnswersWhileTheIndexChanges);

}  // namespace velmora::contract
