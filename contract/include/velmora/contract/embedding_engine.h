// What an engines::EmbeddingEngine and its backend promise, as tests that their author runs. In a
// test program that links velmora::contract and GoogleTest's main function:
//
//   #include <velmora/contract/embedding_engine.h>
//
//   class MyHost : public velmora::contract::EmbeddingEngineHost { ... };
//
//   namespace velmora::contract {
//   INSTANTIATE_TYPED_TEST_SUITE_P(MyModel, EmbeddingEngineContract, MyHost);
//   }
//
// Each check makes a MyHost, without arguments. A call that never returns is a test that never
// ends: give the tests a time limit. Data races show with the thread sanitizer.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/contract/held_symbols.h"
#include "velmora/contract/threads.h"
#include "velmora/engines/embedding.h"

namespace velmora::contract {

// What the checks need of the author of an engine.
class EmbeddingEngineHost {
 public:
  virtual ~EmbeddingEngineHost() = default;

  // The engine, never null; the same one for as long as the host lives.
  virtual std::shared_ptr<engines::EmbeddingEngine> engine() = 0;

  // An engine whose model will not be there while the check runs: it is still loading, its file is
  // missing, nobody listens at its address. Null when there can be no such engine.
  virtual std::shared_ptr<engines::EmbeddingEngine> engine_without_model() { return nullptr; }

  // How long the model may take to load.
  [[nodiscard]] virtual std::chrono::milliseconds longest_load() const {
    return std::chrono::minutes(1);
  }

  // At least three texts that the model embeds, each in a direction of its own.
  [[nodiscard]] virtual std::vector<std::string> texts() const {
    return {"retry the call after an error", "read all bytes of a file",
            "open a socket to the server", "load the file from the server again"};
  }
};

namespace internal {

using Vectors = std::vector<std::vector<float>>;

// Two vectors of one text may differ in the last bits, where texts are embedded in batches.
inline constexpr double SAME_TEXT = 0.9999;

inline Vectors embed(engines::EmbeddingBackend& backend, const std::vector<std::string>& texts) {
  const std::vector<std::string_view> views(texts.begin(), texts.end());
  return backend.embed(views);
}

// Every vector has `length` numbers, finite and not all zero.
inline void expect_vectors(const Vectors& vectors, std::size_t count, std::size_t length) {
  EXPECT_EQ(vectors.size(), count) << "There is one vector for each text";
  for (const std::vector<float>& vector : vectors) {
    EXPECT_EQ(vector.size(), length) << "All vectors have one length";
    EXPECT_TRUE(std::all_of(vector.begin(), vector.end(), [](float x) { return std::isfinite(x); }))
        << "A number is not finite";
    EXPECT_FALSE(std::all_of(vector.begin(), vector.end(), [](float x) { return x == 0.0F; }))
        << "A vector has no direction";
  }
}

inline void expect_same(const Vectors& vectors, const Vectors& expected) {
  ASSERT_EQ(vectors.size(), expected.size());
  for (std::size_t i = 0; i < vectors.size(); ++i) {
    ASSERT_EQ(vectors[i].size(), expected[i].size());
    EXPECT_GE(cosine(vectors[i], expected[i]), SAME_TEXT) << "Text " << i << " has another vector";
  }
}

}  // namespace internal

template <class Host>
class EmbeddingEngineContract : public ::testing::Test {
 protected:
  // The loaded model.
  std::shared_ptr<engines::EmbeddingBackend> backend() {
    auto backend = host.engine()->wait_ready(host.longest_load());
    if (backend == nullptr) throw std::logic_error("The backend is null");
    return backend;
  }

  Host host;
  const std::vector<std::string> texts = host.texts();
};

TYPED_TEST_SUITE_P(EmbeddingEngineContract);

TYPED_TEST_P(EmbeddingEngineContract, EmbedsEachTextInItsOrder) {
  const auto backend = this->backend();
  internal::Vectors single;
  for (const std::string& text : this->texts) {
    const internal::Vectors one = internal::embed(*backend, {text});
    ASSERT_EQ(one.size(), 1U);
    single.push_back(one[0]);
  }
  ASSERT_GE(single.size(), 3U);
  internal::expect_vectors(single, this->texts.size(), single[0].size());
  for (std::size_t i = 1; i < single.size(); ++i) {
    EXPECT_LT(internal::cosine(single[0], single[i]), internal::SAME_TEXT)
        << "The texts of the host must differ for the model";
  }
  internal::expect_same(internal::embed(*backend, this->texts), single);
  std::vector<std::string> twice(this->texts.rbegin(), this->texts.rend());
  twice.push_back(twice.front());
  internal::Vectors expected(single.rbegin(), single.rend());
  expected.push_back(expected.front());
  internal::expect_same(internal::embed(*backend, twice), expected);
}

TYPED_TEST_P(EmbeddingEngineContract, EmbedsATextAlwaysAlike) {
  const auto backend = this->backend();
  const internal::Vectors vectors = internal::embed(*backend, this->texts);
  internal::expect_vectors(vectors, this->texts.size(), vectors.at(0).size());
  for (int again = 0; again < 3; ++again) {
    internal::expect_same(internal::embed(*this->backend(), this->texts), vectors);
  }
}

TYPED_TEST_P(EmbeddingEngineContract, EmbedsNoTexts) {
  EXPECT_TRUE(this->backend()->embed({}).empty());
}

// A model may refuse a text that says nothing to it, or that is too long for it.
TYPED_TEST_P(EmbeddingEngineContract, EmbedsOrRefusesWhateverIsAsked) {
  const auto backend = this->backend();
  const internal::Vectors vectors = internal::embed(*backend, this->texts);
  std::string long_text;
  while (long_text.size() < 200'000) long_text += this->texts[0] + "\n";
  for (const std::string& odd :
       {std::string(), std::string(" \n\t"), std::string("a\0b", 3), std::string("\xFF\xC3"),
        std::string("\xE4\xBD\xA0\xF0\x9F\x98\x80"), std::string("\"\\{}</s>"), long_text}) {
    try {
      internal::expect_vectors(internal::embed(*backend, {odd}), 1, vectors.at(0).size());
    } catch (const std::exception& error) {
      EXPECT_STRNE(error.what(), "") << "An error says what is wrong";
    }
    internal::expect_same(internal::embed(*backend, this->texts), vectors);
  }
}

TYPED_TEST_P(EmbeddingEngineContract, KeepsItsName) {
  const auto backend = this->backend();
  const std::string_view name = backend->name();
  const std::string copy(name);
  EXPECT_FALSE(copy.empty());
  internal::embed(*backend, this->texts);
  EXPECT_EQ(backend->name(), copy);
  EXPECT_EQ(this->backend()->name(), copy) << "The same model is handed out under another name";
  EXPECT_EQ(name, copy) << "The name lives as long as the backend";
}

TYPED_TEST_P(EmbeddingEngineContract, SaysThatTheModelIsNotReady) {
  const auto engine = this->host.engine_without_model();
  if (engine == nullptr) GTEST_SKIP() << "The model is always there";
  for (const int longest : {0, 1}) {
    try {
      engine->wait_ready(std::chrono::milliseconds(longest));
      FAIL() << "The model of engine_without_model() is there";
    } catch (const engines::EmbeddingNotReadyError& error) {
      const std::string message = error.what();
      ASSERT_FALSE(message.empty());
      EXPECT_FALSE(message.ends_with('.') || message.ends_with('\n')) << message;
      EXPECT_FALSE(std::islower(static_cast<unsigned char>(message[0])))
          << "It does not begin like a sentence: " << message;
    } catch (const std::exception& error) {
      ADD_FAILURE() << "It is no EmbeddingNotReadyError: " << error.what();
    }
  }
}

TYPED_TEST_P(EmbeddingEngineContract, EmbedsOnSeveralThreads) {
  const internal::Vectors vectors = internal::embed(*this->backend(), this->texts);
  on_threads([&](unsigned thread) {
    for (std::size_t round = 0; round < 10; ++round) {
      const std::size_t text = (round + thread) % this->texts.size();
      const auto backend = this->host.engine()->wait_ready(std::chrono::milliseconds(0));
      internal::expect_same(internal::embed(*backend, {this->texts[text]}), {vectors.at(text)});
      EXPECT_FALSE(backend->name().empty());
    }
  });
}

REGISTER_TYPED_TEST_SUITE_P(EmbeddingEngineContract, EmbedsEachTextInItsOrder,
                            EmbedsATextAlwaysAlike, EmbedsNoTexts, EmbedsOrRefusesWhateverIsAsked,
                            KeepsItsName, SaysThatTheModelIsNotReady, EmbedsOnSeveralThreads);

}  // namespace velmora::contract
