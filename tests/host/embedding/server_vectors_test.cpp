#include "velmora/host/embedding/server_vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/embedding_server.h"
#include "support/temporary_folder.h"
#include "velmora/host/embedding/symbol_text.h"

namespace velmora::host::embedding {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using test::EmbeddingServer;
using test::HttpServer;
using Texts = EmbeddingServer::Texts;

// An index of six functions with five texts, and of a variable, which no model embeds.
class ServerVectors : public ::testing::Test {
 protected:
  void SetUp() override { fill(); }

  void fill() {
    std::vector<index::Symbol> symbols;
    for (const char* name : {"a", "b", "c", "parse_config", "e", "e", "v"}) {
      const std::string fqn = std::string("m.") + name;
      const std::int64_t line = static_cast<std::int64_t>(symbols.size()) + 1;
      symbols.push_back(
          {{}, fqn, name, "function", "python", "src/m.py", line, line, "def " + fqn, "Doc.", {}});
    }
    symbols.back().kind = "variable";
    index->replace([&, i = std::size_t{0}]() mutable {
      return i < symbols.size() ? std::optional(symbols[i++]) : std::nullopt;
    });
  }

  // Every text goes into batches of two, one after the other; waits are written down, not waited.
  [[nodiscard]] ServerEmbedOptions options(const EmbeddingServer& server) {
    ServerEmbedOptions options{.url = server.url(), .model = "m", .api_key = "secret"};
    options.batch_size = 2;
    options.parallel = 1;
    options.retry.tries = 3;
    options.retry.wait = [this](milliseconds time, const std::stop_token&) {
      waits.push_back(time);
      return true;
    };
    return options;
  }

  std::string error_of(const ServerEmbedOptions& options) {
    try {
      embed_with_server(*index, options);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "no error";
  }

  // The symbols whose vector is that of `text`.
  [[nodiscard]] std::vector<index::SymbolId> with_vector_of(const std::string& text) const {
    std::vector<index::SymbolId> ids;
    const std::vector<float> vector = EmbeddingServer::vector_of(text);
    for (const auto& [id, similarity] : index->nearest_symbol_ids(vector, "m", {.top_k = 9})) {
      if (similarity > 1 - 1e-12) ids.push_back(id);
    }
    return ids;
  }

  const test::TemporaryFolder folder;
  const std::shared_ptr<index::Index> index =
      index::Index::open_or_create(folder.path() / "index.db");
  std::vector<milliseconds> waits;
};

TEST_F(ServerVectors, EmbedsEachTextOnceAsAPersonReadsIt) {
  EmbeddingServer server;
  ServerEmbedOptions wanted = options(server);
  wanted.prefix = "doc: ";
  const ServerEmbedReport report = embed_with_server(*index, wanted);
  EXPECT_EQ(std::tuple(report.symbols, report.given, report.texts), std::tuple(6, 6, 5));
  const Texts texts = server.take_texts();
  ASSERT_EQ(texts.size(), 5U);
  EXPECT_EQ(texts[3],
            "doc: function m.parse_config (parse config)\ndef m.parse_config\nsrc/m.py\nDoc.");
  // Answers come in the wrong order, with the right index.
  EXPECT_EQ(with_vector_of(texts[3]), (std::vector<index::SymbolId>{4}));
  EXPECT_EQ(with_vector_of(texts[4]), (std::vector<index::SymbolId>{5, 6}));
  EXPECT_NE(server.first_request().find("Authorization: Bearer secret"), std::string::npos);

  // Nothing is left to do; the prefix stays as it was when none is named.
  wanted.prefix.reset();
  EXPECT_EQ(embed_with_server(*index, wanted).given, 0);
  // Another text has another vector, and the earlier one is not forgotten.
  wanted.text_length = 15;
  EXPECT_EQ(embed_with_server(*index, wanted).texts, 5);
  EXPECT_EQ(server.take_texts()[3], "doc: function m.pars");
  EXPECT_EQ(with_vector_of(texts[3]), std::vector<index::SymbolId>());
  wanted.text_length = 1500;
  EXPECT_EQ(embed_with_server(*index, wanted).given, 6);
  EXPECT_EQ(with_vector_of(texts[3]), (std::vector<index::SymbolId>{4}));
  EXPECT_TRUE(server.take_texts().empty());
  wanted.text_length.reset();
  wanted.anew = true;
  EXPECT_EQ(embed_with_server(*index, wanted).texts, 5);
  EXPECT_EQ(server.take_texts().at(4), texts[3]) << "after the first try, made as the last time";
}

TEST_F(ServerVectors, TriesAgainOrSaysWhatToDo) {
  const auto status = [](const std::string& line, const std::string& body = "") {
    return HttpServer::response(body, line + "\r\nConnection: close");
  };
  const auto data = [&](const std::string& vectors) {
    return status("200 OK", "{\"data\":[" + vectors + "]}");
  };
  const auto after = [&](const std::string& value) {
    return status("429 Slow\r\nRetry-After: " + value);
  };
  const std::string cut = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\nConnection: close\r\n\r\n{";
  const std::string refused = R"({"error":{"message":"no use of secret\nhere"}})";
  struct Case {
    std::vector<std::string> sent;    // for the second batch; the others get their vectors
    std::vector<milliseconds> waits;  // between the tries
    std::string error = "no error";   // starts so
    std::string advice = {};          // is in the error
  };
  const std::vector<Case> cases = {
      {{after("7")}, {7s}},
      {{after("0"), after("1")}, {500ms, 1s}},
      {{after("Thu, 01 Jan 1970 00:00:00 GMT")}, {500ms}},
      {{after("601")},
       {},
       "The embedding server answered with status 429 and wants to be left",
       "alone for 601 seconds"},
      {{status("503 Loading"), cut}, {500ms, 1s}},
      {{status("500 A"), status("500 B"), status("500 C")},
       {500ms, 1s},
       "The embedding server answered with status 500. ",
       "own log"},
      {{cut, cut, cut},
       {500ms, 1s},
       "The embedding server cannot be asked: transfer closed",
       "log"},
      {{status("401 No", refused)},
       {},
       "The embedding server answered with status 401: no use of ***. ",
       "VELMORA_EMBEDDINGS_API_KEY"},
      {{status("404 None")},
       {},
       "The embedding server answered with status 404. ",
       "/embeddings is appended"},
      {{status("400 Long", R"({"error":"too long"})")},
       {},
       "The embedding server answered with status 400: too long. ",
       "fewer characters"},
      {{data(R"({"embedding":[1,2,3]})")},
       {},
       "The embedding server sent 1 vectors for 2 texts",
       "is an embedding model"},
      {{data(R"({"embedding":[1,2,NaN]},{"embedding":[1,2,3]})")},
       {},
       "The embedding server sent an answer that is not JSON"},
      {{data(R"({"embedding":[0,0,0]},{"embedding":[1,2,3]})")},
       {},
       "The embedding server sent a vector that is all zero"},
      {{data(R"({"embedding":[1,2]},{"embedding":[1,2]})")},
       {},
       "The embedding server sent a vector of 2 numbers, where the earlier ones have 3",
       "--anew"},
  };
  for (const Case& one : cases) {
    fill();
    waits.clear();
    EmbeddingServer server([&](std::size_t number, const Texts&) {
      return number > 0 && number <= one.sent.size() ? one.sent[number - 1]
                                                     : EmbeddingServer::good();
    });
    const std::string error = error_of(options(server));
    EXPECT_EQ(error.substr(0, one.error.size()), one.error);
    EXPECT_NE(error.find(one.advice), std::string::npos) << error;
    EXPECT_EQ(waits, one.waits) << error;
    Texts asked = server.take_texts();
    if (error == "no error") {
      EXPECT_EQ(asked.size(), 5U);
      continue;
    }
    // What came before is kept, and not asked for again.
    EXPECT_NE(error.find("2 of 6 symbols have their vector"), std::string::npos) << error;
    EXPECT_EQ(asked.size(), 2U);
    EXPECT_EQ(error_of(options(server)), "no error");
    const Texts later = server.take_texts();
    asked.insert(asked.end(), later.begin(), later.end());
    EXPECT_EQ(asked.size(), 5U);
    EXPECT_EQ(std::set<std::string>(asked.begin(), asked.end()).size(), 5U);
  }
}

TEST_F(ServerVectors, NeverRepeatsTheKey) {
  const auto told = [&](const std::string& key, const std::string& message) {
    EmbeddingServer server([&](std::size_t, const Texts&) {
      return HttpServer::response(nlohmann::json{{"error", message}}.dump(),
                                  "401 No\r\nConnection: close");
    });
    ServerEmbedOptions wanted = options(server);
    wanted.api_key = key;
    const std::string error = error_of(wanted);
    const std::size_t from = error.find("401") + 3;
    return error.substr(from, error.find(". Put a key") - from);
  };
  EXPECT_EQ(told("***", "no *** here"), "");
  EXPECT_EQ(told("*", "no * here"), "");
  EXPECT_EQ(told("*k", "**kk"), "") << "the mask would make another one";
  EXPECT_EQ(told("aa", "aaaaa, baab"), ": ******a, b***b");
  EXPECT_EQ(told("k", std::string(70'000, 'x')), "") << "no explanation is that long";
}

TEST_F(ServerVectors, WaitsUntilTheDateThatTheServerNames) {
  std::string header(64, '\0');
  EmbeddingServer server([&](std::size_t number, const Texts&) {
    const std::time_t until = std::time(nullptr) + 300;
    std::tm date{};
    gmtime_r(&until, &date);
    header.resize(64);
    header.resize(std::strftime(header.data(), 64, "%a, %d %b %Y %H:%M:%S GMT", &date));
    return number > 0 ? EmbeddingServer::good()
                      : HttpServer::response(
                            "", "429 Slow\r\nConnection: close\r\nRetry-After: " + header);
  });
  EXPECT_EQ(error_of(options(server)), "no error");
  ASSERT_EQ(waits.size(), 1U);
  EXPECT_GT(waits[0], 200s);
  EXPECT_LE(waits[0], 300s);
}

TEST_F(ServerVectors, DoesNotWaitForAServerThatIsNotThere) {
  EmbeddingServer server;
  EXPECT_EQ(error_of(options(server)), "no error");
  ServerEmbedOptions wanted{.url = EmbeddingServer().url(), .model = "m", .anew = true};
  const std::string error = error_of(wanted);
  EXPECT_EQ(error.find("The embedding server cannot be asked: Failed to connect"), 0U) << error;
  EXPECT_NE(error.find("its URL is right"), std::string::npos) << error;
  // What it has is not given up before there is something better.
  EXPECT_FALSE(with_vector_of(server.take_texts().at(0)).empty());
}

TEST_F(ServerVectors, EndsAtOnceWhenTheCallerWants) {
  EmbeddingServer server([](std::size_t number, const Texts&) {
    return number == 0 ? EmbeddingServer::good() : std::string();  // then it is silent
  });
  ServerEmbedOptions wanted = options(server);
  wanted.parallel = 3;
  wanted.progress = [](const ServerEmbedProgress& progress) {
    if (progress.done > 0) throw std::runtime_error("enough of " + std::to_string(progress.total));
  };
  EXPECT_EQ(error_of(wanted), "enough of 6");
  // Whichever batch came first; the last one's text is that of two symbols.
  EXPECT_FALSE(with_vector_of(server.take_texts().at(0)).empty());
}

}  // namespace
}  // namespace velmora::host::embedding
