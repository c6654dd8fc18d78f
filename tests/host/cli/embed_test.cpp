// The symbols' vectors by a server's model, as users get them.
#include <gtest/gtest.h>

#include <signal.h>
#include <cstdlib>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <semaphore>
#include <set>
#include <string>
#include <vector>

#include "support/embedding_server.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/writer_lock.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using test::EmbeddingServer;
using test::run_velmora;
using test::Running;
using test::TemporaryFolder;
using Texts = EmbeddingServer::Texts;

class EmbedCommand : public ::testing::Test {
 protected:
  [[nodiscard]] static std::vector<std::string> command(std::vector<std::string> arguments,
                                                        const EmbeddingServer& server) {
    arguments.insert(arguments.end(),
                     {"--embeddings-url", server.url(), "--embeddings-model", "m"});
    return arguments;
  }

  const TemporaryFolder folder;
  const std::string at = folder.path();
};

TEST_F(EmbedCommand, HalfAServerMattersToWhoAsksItAlone) {
  const std::string url_alone =
      "velmora: the embedding server http://x needs a model: --embeddings-model NAME, or "
      "VELMORA_EMBEDDINGS_MODEL\n";
  folder.write("a.py", "def first(): pass\n");
  ::setenv("VELMORA_EMBEDDINGS_URL", "http://x", 1);
  EXPECT_EQ(run_velmora({"index", at}).exit_code, 0);
  for (const auto& arguments : {std::vector<std::string>{"index", at, "--embed"}, {"embed", at}}) {
    const auto refused = run_velmora(arguments);
    EXPECT_EQ(refused.exit_code, 2);
    EXPECT_EQ(refused.errors.find(url_alone), 0U) << refused.errors;
  }
  ::unsetenv("VELMORA_EMBEDDINGS_URL");
}

TEST_F(EmbedCommand, AsksForATextOnceWhateverBecomesOfItsSymbol) {
  EmbeddingServer server;
  const auto names = [&] {
    std::string found;
    for (const std::string& text : server.take_texts()) {
      found += text.substr(0, text.find('\n')) + ";";
    }
    return found;
  };
  const auto index = [&](const char* flag) {
    const auto done = run_velmora(command({"index", at, flag}, server));
    EXPECT_EQ(done.exit_code, 0) << done.errors;
    return done.output;
  };
  const auto note = [&] {
    const auto answer = run_velmora(command({"explore", "--repo", at, "--json", "first"}, server));
    server.take_texts();
    const std::size_t start = answer.output.find("\"semantic\":", answer.output.find("nels\""));
    return answer.output.substr(start, answer.output.find(",\"guesses\"") - start);
  };
  folder.write("a.py", "def first(): pass\n");
  folder.write("b.py", "def second(): pass\n");
  index("--no-embeddings");
  EXPECT_EQ(names(), "") << "no server is asked without --embed";
  EXPECT_EQ(note(),
            "\"semantic\":\"unavailable\"},\"note\":\"Ranked by name and text only: the "
            "index has no symbol embeddings of m.\"");
  EXPECT_NE(index("--embed").find("Embedded 2 texts for 2 symbols with m, in "), std::string::npos);
  EXPECT_EQ(names(), "function a.first;function b.second;");
  EXPECT_EQ(note(), "\"semantic\":\"ok\"},\"note\":null");

  folder.write("a.py", "\n\ndef renamed(): pass\ndef first(): pass\n");
  index("--embed");
  EXPECT_EQ(names(), "function a.renamed;");
  // There and back again: known when the index is made, before any server is asked.
  fs::rename(folder.path() / "a.py", folder.path() / "kept");
  index("--no-embeddings");
  fs::rename(folder.path() / "kept", folder.path() / "a.py");
  index("--no-embeddings");
  const auto answer = run_velmora(command({"embed", at}, server));
  EXPECT_EQ(answer.output.find("Embedded 0 texts for 0 symbols with m, in "), 0U) << answer.errors;
  EXPECT_NE(answer.output.find("; 3 symbols in all"), std::string::npos);
  EXPECT_EQ(names(), "");
}

TEST_F(EmbedCommand, LosesNoMoreThanTheBatchesInFlight) {
  for (int i = 0; i < 20; ++i) {
    const std::string name = "f" + std::to_string(i);
    folder.write(name + ".py", "def " + name + "(): pass\n");
  }
  ASSERT_EQ(run_velmora({"index", at}).exit_code, 0);
  // Its third request of each run finds the server silent.
  std::binary_semaphore silent(0);
  std::atomic<int> left = 2;
  EmbeddingServer server([&](std::size_t, const Texts&) {
    if (left-- > 0) return EmbeddingServer::good();
    silent.release();
    return std::string();
  });
  const auto embed =
      command({"embed", at, "--embeddings-batch", "3", "--embeddings-parallel", "1"}, server);
  Texts all;
  for (const int signal : {SIGKILL, SIGINT, SIGTERM}) {
    Running program(embed);
    silent.acquire();
    if (signal != SIGKILL) {
      // The server is waited for, and nobody is kept from writing meanwhile.
      EXPECT_EQ(run_velmora({"index", at, "--no-wait"}).exit_code, 0);
    }
    EXPECT_EQ(program.end(signal), signal == SIGKILL ? -SIGKILL : 128 + signal);
    const Texts asked = server.take_texts();
    EXPECT_EQ(asked.size(), 6U);
    all.insert(all.end(), asked.begin(), asked.end());
    left = 2;
  }
  left = 99;
  EXPECT_EQ(run_velmora(embed).output.find("Embedded 2 texts for 2 symbols with m, in "), 0U);
  const Texts asked = server.take_texts();
  all.insert(all.end(), asked.begin(), asked.end());
  EXPECT_EQ(all.size(), 20U);
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), 20U);
}

TEST_F(EmbedCommand, WaitsForItsTurn) {
  EmbeddingServer server;
  folder.write("a.py", "def first(): pass\n");
  const auto failed = run_velmora(command({"embed", at}, server));
  EXPECT_EQ(failed.exit_code, 3);
  EXPECT_EQ(failed.errors.find("velmora: There is no index at "), 0U);
  for (const char* verb : {"embed", "index"}) {
    const auto usage = run_velmora({verb, at, verb == std::string("index") ? "--embed" : "--anew"});
    EXPECT_EQ(usage.exit_code, 2);
    EXPECT_EQ(usage.errors.find("velmora: a server that embeds is needed: "), 0U) << usage.errors;
  }
  ASSERT_EQ(run_velmora({"index", at}).exit_code, 0);
  for (const char* name : {"lock", "embed.lock"}) {
    auto lock = index::WriterLock::try_take(folder.path() / ".velmora" / name);
    Running waiting(command({"embed", at}, server));
    waiting.line_with("Waiting for it");
    lock.reset();
    waiting.line_with("Embedded ");
  }
}

}  // namespace
}  // namespace velmora::host::cli
