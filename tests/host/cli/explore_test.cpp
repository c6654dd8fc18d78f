#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/http_server.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using test::HttpServer;
using test::run_velmora;
using test::TemporaryFolder;

constexpr std::string_view ROWS = R"(
{"id":5,"fqn":"pkg.parse_config","name":"parse_config","kind":"function","language":"python","path":"src/config.py","start_line":3,"end_line":9,"signature":"def parse_config(text):\n  more","docstring":"Reads settings.","embeddings":[{"model":"m","values":[1,0]}]}
{"fqn":"pkg.Server","name":"Server","kind":"class","language":"python","path":"src/server.py","start_line":1,"end_line":2,"embeddings":[{"model":"m","values":[1,2]}]}
{"fqn":"test_parse","name":"test_parse","kind":"function","language":"python","path":"tests/test_config.py","start_line":1,"end_line":2}
)";

// A repository's folder whose index holds ROWS.
class Explore : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto index = folder.path() / ".velmora" / "index.db";
    ASSERT_EQ(run_velmora({"import", "--index", index}, ROWS).exit_code, 0);
  }

  TemporaryFolder folder;
  std::string repo = folder.path();
};

TEST_F(Explore, AnswersInJson) {
  HttpServer server(
      [](const std::string&) { return HttpServer::response(R"({"data":[{"embedding":[1,1]}]})"); });
  const auto result = run_velmora({"explore", "--repo", repo, "--json", "--embeddings-url",
                                   server.url(), "--embeddings-model", "m", "parse_config"});
  EXPECT_EQ(result.exit_code, 0);
  // The tests are left out. The first symbol is named by the question, first of the two in the
  // words of symbols and of files, and second by embedding, as (1, 1) is nearer to (1, 2): 3 / 61 +
  // 1 / 62. The other is found by embedding alone: 1 / 61.
  EXPECT_EQ(result.output,
            R"({"query":"parse_config","hits":[)"
            R"({"id":5,"fqn":"pkg.parse_config","name":"parse_config","kind":"function",)"
            R"("path":"src/config.py","start_line":3,"end_line":9,)"
            R"("signature":"def parse_config(text):\n  more","score":0.06530936012691697,)"
            R"("ranks":{"exact":1,"lexical":1,"file":1,"semantic":2}},)"
            R"({"id":6,"fqn":"pkg.Server","name":"Server","kind":"class","path":"src/server.py",)"
            R"("start_line":1,"end_line":2,"signature":null,"score":0.01639344262295082,)"
            R"("ranks":{"semantic":1}}],)"
            R"("channels":{"exact":"ok","lexical":"ok","file":"ok","semantic":"ok"},"note":null})"
            "\n");
}

TEST_F(Explore, ShowsPeopleWhereAndWhy) {
  std::filesystem::create_directories(folder.path() / "src" / "deep");
  const auto result = run_velmora({"explore", "parse_config"}, "", folder.path() / "src" / "deep");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output.find("src/config.py:3  function pkg.parse_config\n"
                               "    def parse_config(text):\n"
                               "    exact #1, text #1, file #1\n\nNote: "),
            0U);
  EXPECT_NE(result.output.find("embedding"), std::string::npos);
  const auto nothing = run_velmora({"explore", "--repo", repo, "zebra"});
  EXPECT_EQ(nothing.exit_code, 1);
  EXPECT_EQ(nothing.output.find("No symbol of the index answers this question.\n"), 0U);

  // Nothing that is stored can drive a terminal.
  const auto index = index::Index::open(folder.path() / ".velmora" / "index.db");
  bool given = false;
  index->replace([&]() -> std::optional<index::Symbol> {
    if (std::exchange(given, true)) return std::nullopt;
    return index::Symbol{.fqn = "evil\x1B[2J",
                         .name = "evil",
                         .kind = "function",
                         .language = "python",
                         .path = "e\xC2\x9Bil.py",
                         .start_line = 1,
                         .end_line = 1,
                         .signature = "h\u00E9\xFF()\rhidden\n"};
  });
  EXPECT_EQ(run_velmora({"explore", "--repo", repo, "evil"})
                .output.find("e\uFFFDil.py:1  function evil\uFFFD[2J\n    h\u00E9\uFFFD()\n"),
            0U);
}

TEST_F(Explore, AnswersABatchLineByLine) {
  const auto result = run_velmora(
      {"explore", "--repo", repo, "--limit", "1", "--batch", "-"},
      R"({"query":"parse","include_tests":true})"
      "\n"
      R"({"query":"parse","include_tests":true,"limit":5,"scope":"tests","rerank":false})"
      "\n"
      "nonsense\n\n"
      R"({"query":7})"
      "\n"
      R"({"query":"a","limit":0})"
      "\n"
      R"({"query":"a","limits":1})"
      "\n"
      R"({"query":"Server"})");
  EXPECT_EQ(result.exit_code, 0);
  std::vector<std::string> starts = {
      R"({"query":"parse","hits":[{"id":)",
      R"({"query":"parse","hits":[{"id":7,)",
      R"({"query":null,"error":"this is not JSON: )",
      R"({"query":null,"error":"\"query\" must be a string"})",
      R"({"query":"a","error":"\"limit\" must be from 1 to 2147483647"})",
      R"({"query":"a","error":"\"limits\" is not a field that is known here"})",
      R"({"query":"Server","hits":[{"id":6,)",
  };
  std::istringstream lines(result.output);
  std::string line;
  for (const std::string& start : starts) {
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.find(start), 0U) << line;
    EXPECT_EQ(line.find("\"id\":"), line.rfind("\"id\":")) << "one hit at most: " << line;
  }
  EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Explore, TellsWrongUsageFromFailure) {
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"nonsense"},
      {"explore"},
      {"explore", "--batch", "-", "question"},
      {"explore", "two", "words"},
      {"explore", "a", "--limit", "0"},
      {"explore", "a", "--limit", "2147483648"},
      {"explore", "a", "--index", "x", "--repo", "y"},
      {"explore", "a", "--include-tests", "--exclude-tests"},
      {"explore", "a", "--embeddings-url", "http://localhost"},
      {"explore", "a", "--embeddings-model", "m"},
      {"import", "rows.jsonl"},
  };
  for (const auto& arguments : wrong) {
    const auto result = run_velmora(arguments, "", folder.path());
    EXPECT_EQ(result.exit_code, 2) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.errors.find("velmora: "), 0U);
    EXPECT_EQ(result.output, "");
  }
  // The name of a command is a question like any other.
  EXPECT_EQ(run_velmora({"explore", "import"}, "", folder.path()).exit_code, 1);
  for (const char* flag : {"--help", "--version"}) {
    for (const char* command : {"", "explore", "import"}) {
      std::vector<std::string> arguments = {command, flag};
      std::erase(arguments, "");
      EXPECT_EQ(run_velmora(arguments).exit_code, 0) << command << flag;
    }
  }
  const TemporaryFolder empty;
  const std::string none = "velmora: There is no index ";
  for (const auto& place :
       std::vector<std::vector<std::string>>{{}, {"--repo", "."}, {"--index", "index.db"}}) {
    std::vector<std::string> arguments = {"explore", "a"};
    arguments.insert(arguments.end(), place.begin(), place.end());
    const auto result = run_velmora(arguments, "", empty.path());
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.errors.find(none), 0U) << result.errors;
  }
}

}  // namespace
}  // namespace velmora::host::cli
