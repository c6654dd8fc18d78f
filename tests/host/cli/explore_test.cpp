#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "cli/output.h"
#include "support/http_server.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "support/terminal_process.h"

namespace velmora::host::cli {
namespace {

using nlohmann::json;
using test::HttpServer;
using test::run_on_terminal;
using test::run_velmora;
using test::TemporaryFolder;

constexpr std::string_view ROWS = R"(
{"id":5,"fqn":"pkg.parse_config","name":"parse_config","kind":"function","language":"python","path":"src/config.py","start_line":3,"end_line":9,"signature":"def parse_config(text):\n  more","docstring":"Reads settings.","embeddings":[{"model":"m","values":[1,0]}]}
{"fqn":"pkg.Server","name":"Server","kind":"class","language":"python","path":"src/server.py","start_line":1,"end_line":2,"embeddings":[{"model":"m","values":[1,2]}]}
{"fqn":"test_parse","name":"test_parse","kind":"function","language":"python","path":"tests/test_config.py","start_line":1,"end_line":2}
)";

constexpr std::string_view BATCH = R"({"query":"parse","include_tests":true}
{"query":"parse","include_tests":true,"limit":5,"scope":"tests","rerank":false}
nonsense

{"query":7}
{"query":"a","limit":0}
{"query":"a","limits":1}
{"query":"Server"})";

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
  std::string response = HttpServer::response(R"({"data":[{"embedding":[1,1]}]})");
  HttpServer server([&](const std::string&) { return response; });
  const std::string url = "--embeddings-url=" + server.url(), model = "--embeddings-model=m";
  const auto ask = [&] {
    return run_velmora({"explore", "--repo", repo, "--json", url, model, "parse_config"});
  };
  // The tests are left out. The first symbol is named by the question, first of the two in the
  // words of symbols and of files, and second by embedding, as (1, 1) is nearer to (1, 2): 3 / 9 +
  // 1 / 10. The other is found by embedding alone: 1 / 9.
  EXPECT_EQ(ask().output,
            R"({"query":"parse_config","hits":[)"
            R"({"id":5,"fqn":"pkg.parse_config","name":"parse_config","kind":"function",)"
            R"("path":"src/config.py","start_line":3,"end_line":9,)"
            R"("signature":"def parse_config(text):\n  more","score":0.43333333333333335,)"
            R"("ranks":{"exact":1,"lexical":1,"file":1,"semantic":2},"summary":"Reads settings.",)"
            R"("pinned_by":"parse_config"},)"
            R"({"id":6,"fqn":"pkg.Server","name":"Server","kind":"class","path":"src/server.py",)"
            R"("start_line":1,"end_line":2,"signature":null,"score":0.1111111111111111,)"
            R"("ranks":{"semantic":1},"summary":null,"pinned_by":null}],)"
            R"("channels":{"exact":"ok","lexical":"ok","file":"ok","semantic":"ok"},"note":null,)"
            R"("guesses":false,"did_you_mean":[]})"
            "\n");
  response = HttpServer::response("", "404 None");
  const auto failed = ask();
  EXPECT_EQ(failed.exit_code, 0);
  EXPECT_NE(failed.output.find(R"("semantic":"unavailable"},"note":"Ranked by name and text only:)"
                               R"( the embedding server answered with status 404.",)"),
            std::string::npos);
}

TEST_F(Explore, LetsAServerReorderHits) {
  std::string response = HttpServer::response(R"({"results":[{"index":0,"relevance_score":0.1},)"
                                              R"({"index":1,"relevance_score":0.9}]})");
  HttpServer server([&](const std::string&) { return response; });
  const auto ask = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {
        "explore",         "--repo",         repo, "--json",       "--no-embeddings", "config",
        "--include-tests", "--rerank-model", "m",  "--rerank-url", server.url()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_velmora(arguments);
  };
  const auto first = [](const auto& answer) {
    return answer.output.substr(answer.output.find("\"fqn\":"), 20);
  };
  const std::string ranked = first(ask({"--no-rerank"}));
  EXPECT_TRUE(server.requests().empty());
  EXPECT_NE(first(ask({})), ranked);
  EXPECT_EQ(server.requests().at(0).find("Reads settings"), std::string::npos);
  EXPECT_NE(first(ask({"--share-source"})), ranked);
  EXPECT_NE(server.requests().at(1).find("Reads settings"), std::string::npos);
  const std::string why = ask({"--why"}).output;
  EXPECT_NE(why.find(R"("place_before_rerank":2)"), std::string::npos) << why;
  EXPECT_LT(why.find(R"("place_before_rerank":2)"), why.find(R"("place_before_rerank":1)"));
  response = HttpServer::response("", "500 Broken");
  const auto failed = ask({});
  EXPECT_EQ(failed.exit_code, 0);
  EXPECT_EQ(first(failed), ranked);
  EXPECT_NE(failed.output.find("could not rerank the hits"), std::string::npos);
  EXPECT_NE(failed.errors.find("The rerank server answered with status 500"), std::string::npos);
}

// What it is told to have gone by must be what gave the order.
TEST_F(Explore, TellsWhatTheDecisionModelWentBy) {
  const TemporaryFolder tree;
  tree.write("net/retry.py",
             "# Tries a request again.\ndef retry(request): pass\n\n"
             "def delay_retry(request): pass\n\ndef wait_for_request(request): pass\n");
  tree.write("app/window.py", "class Window:\n  def paint_request(self, delay): pass\n");
  const std::string at = tree.path();
  ASSERT_EQ(run_velmora({"index", at}).exit_code, 0);
  const auto ask = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"explore", "--repo", at, "--why",
                                          "where does a Window delay the retry of a request"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_velmora(arguments).output;
  };
  const json hits = json::parse(ask({"--json"}))["hits"];
  ASSERT_EQ(hits.size(), 5U);
  EXPECT_EQ(hits[0]["pinned_by"], "Window");
  EXPECT_TRUE(hits[0]["decision"].is_null());
  const auto score = [](const json& hit) {
    double sum = 0.0;
    for (const json& feature : hit["decision"]["features"]) sum += feature["gain"].get<double>();
    return sum;
  };
  const double best = hits[1]["decision"]["probability"];
  double probabilities = 0.0;
  bool is_moved = false;
  for (std::size_t i = 1; i < hits.size(); ++i) {
    const json& decision = hits[i]["decision"];
    const auto value = [&](const char* feature) {
      return decision["features"][feature]["value"].get<double>();
    };
    const auto before = hits[i]["place_before_rerank"].get<std::size_t>();
    is_moved = is_moved || before != i + 1;
    EXPECT_EQ(value("reciprocal_place"), 1.0 / static_cast<double>(before - 1)) << hits[i];
    EXPECT_EQ(value("has_docstring"), hits[i]["summary"].is_null() ? 0.0 : 1.0) << hits[i];
    const auto probability = decision["probability"].get<double>();
    probabilities += probability;
    EXPECT_LE(probability, best);
    EXPECT_NEAR(std::log(probability / best), score(hits[i]) - score(hits[1]), 1e-9);
  }
  EXPECT_TRUE(is_moved) << hits;
  EXPECT_NEAR(probabilities, 1.0, 1e-9);
  EXPECT_NE(ask({}).find(" because of its "), std::string::npos) << ask({});
  EXPECT_TRUE(json::parse(ask({"--json", "--no-rerank"}))["hits"][1]["decision"].is_null());
}

TEST_F(Explore, ShowsPeopleWhereAndWhat) {
  std::filesystem::create_directories(folder.path() / "src" / "deep");
  const auto result = run_velmora({"explore", "parse_config"}, "", folder.path() / "src" / "deep");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output.find("src/config.py:3  function pkg.parse_config\n"
                               "    def parse_config(text): more\n"
                               "    Reads settings.\n\nNote: "),
            0U)
      << result.output;
  const auto nothing = run_velmora({"explore", "--repo", repo, "zebra"});
  EXPECT_EQ(nothing.exit_code, 1);
  EXPECT_EQ(nothing.output.find("No symbol of the index answers this question.\n"), 0U);
}

TEST_F(Explore, TakesAQuestionAsItIsTyped) {
  const auto query = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--repo", repo, "--json", "--no-embeddings"});
    const std::string answer = run_velmora(arguments).output;
    return answer.substr(0, answer.find(",\"hits\""));
  };
  EXPECT_EQ(query({"how", "is", "config", "--limit", "2", "[a,b]"}),
            R"({"query":"how is config [a,b]")");
  EXPECT_EQ(query({"--limit", "2", "index", "of"}), R"({"query":"index of")");
  EXPECT_EQ(query({"explore", "index", "this"}), R"({"query":"index this")");
  EXPECT_EQ(query({"--verbose", "two  spaces", "{}"}), R"({"query":"two  spaces {}")");
  EXPECT_EQ(query({"{}"}), R"({"query":"{}")");
  const std::vector<std::string> dashes = {"--repo", repo,     "--json", "where", "is",
                                           "--",     "--json", "-x",     "--"};
  EXPECT_EQ(run_velmora(dashes).output.find(R"({"query":"where is --json -x --")"), 0U);
  EXPECT_NE(run_velmora({}).output.find("velmora explore --help"), std::string::npos);
}

TEST_F(Explore, ShowsSourceFromTheWorkTree) {
  const TemporaryFolder tree;
  const std::string at = tree.path();
  tree.write("src/a b.py",
             "import os\n\n# Deep.\ndef deep_name(\n  x):\n\treturn\x1B x\n\nlast = 1\n");
  ASSERT_EQ(run_velmora({"index", at, "--no-embeddings"}).exit_code, 0);
  const auto ask = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"deep_name", "--no-embeddings", "-n", "1"});
    return run_velmora(arguments, "", tree.path() / "src");
  };
  const std::string head =
      "src/a b.py:4  function src.a b.deep_name\n    deep_name(x)\n    Deep.\n";
  EXPECT_EQ(ask({"-C", "1"})
                .output.find(head + "    3  # Deep.\n    4  def deep_name(\n    5    x):\n\nNote:"),
            0U)
      << ask({"-C", "1"}).output;
  EXPECT_EQ(ask({"--body"})
                .output.find(
                    head + "    4  def deep_name(\n    5    x):\n    6  \treturn\uFFFD x\n\nNote:"),
            0U);
  EXPECT_NE(ask({"--body", "-C", "9", "--jsonl"})
                .output.find(R"("source":{"first_line":1,"lines":["import os","",)"),
            std::string::npos);
  EXPECT_EQ(ask({"--vimgrep"}).output, "a b.py:4:5:def deep_name(\n");
  EXPECT_EQ(ask({"--files"}).output, "a b.py\n");
  EXPECT_EQ(ask({"--files", "-0"}).output, std::string("a b.py\0", 7));
  EXPECT_EQ(ask({"--why"}).output.find(
                head + "    name #1, text #1, file #1; first because it is named deep_name\n"),
            0U);
  tree.write("src/a b.py", "def other(): pass\n");
  EXPECT_EQ(
      ask({"-C", "0", "--no-refresh"})
          .output.find(
              head +
              "    The file changed since it was indexed; the definition may have moved.\n\n"),
      0U);
  EXPECT_EQ(ask({"--vimgrep", "--no-refresh"}).output, "a b.py:4:1:deep_name(x)\n");
  std::filesystem::remove_all(tree.path() / "src");
  EXPECT_EQ(run_velmora({"--repo", at, "--body", "--no-refresh", "--no-embeddings", "deep_name"})
                .output.find(head + "    The source cannot be read.\n"),
            0U);
}

TEST_F(Explore, KnowsWhatATerminalCanDo) {
  const auto ask = [&](std::vector<std::string> environment, unsigned short rows,
                       const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"parse_config", "--no-embeddings"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    environment.emplace_back("TERM=xterm");
    return run_on_terminal(arguments, environment, rows, 30, folder.path());
  };
  EXPECT_EQ(ask({"PAGER="}, 3)
                .find("\033[35msrc/config.py\033[0m:\033[32m3\033[0m  function "
                      "\033[1mpkg.parse_config\033[0m\n"
                      "    def parse_config(text):\n      more\n    Reads settings.\n\n"),
            0U)
      << ask({"PAGER="}, 3);
  const std::vector<std::string> pager = {"PAGER=sed s/^/paged:/", "NO_COLOR=1"};
  EXPECT_EQ(ask(pager, 3).find("paged:src/config.py:3  function"), 0U);
  EXPECT_EQ(ask(pager, 3, {"--json"}).find("{"), 0U);
  const std::vector<std::string> environment = {"PAGER=sed s/^/paged:/", "TERM=xterm"};
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"show", "--no-refresh", "parse_config"}, {"outline", "--no-refresh"}}) {
    const std::string shown = run_on_terminal(arguments, environment, 2, 30, folder.path());
    EXPECT_NE(shown.find("paged:src/config.py"), std::string::npos) << shown;
  }
  EXPECT_EQ(ask(pager, 99).find("src/config.py:3  function"), 0U);
  EXPECT_NE(ask({"PAGER=/nowhere/pager"}, 3).find("pkg.parse_config"), std::string::npos);
  EXPECT_EQ(ask(pager, 99, {"--hyperlink-format", "vscode"})
                .find("\033]8;;vscode://file" + repo +
                      "/src/config.py:3:1\033\\src/config.py:3\033]8;;\033\\"),
            0U);
}

TEST(Printable, LetsNothingDriveATerminal) {
  EXPECT_EQ(printable("h\u00E9\t\n\x1B[2J\x7F\r\xC2\x9B\xFF."),
            "h\u00E9\t\n\uFFFD[2J\uFFFD\uFFFD\uFFFD\uFFFD.");
  EXPECT_EQ(printable_line("\u00E9\t\n\u2028\x1B\xC2\x85."),
            "\u00E9\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD.");
}

TEST_F(Explore, ReadsTheFirstWordOfASentenceAsProse) {
  std::string rows;
  const auto add = [&](const std::string& name, const std::string& kind) {
    rows += R"({"fqn":"x.)" + name + R"(","name":")" + name + R"(","kind":")" + kind +
            R"(","language":"c","path":"a.c","start_line":1,"end_line":2,"docstring":"Columns"})" +
            "\n";
  };
  for (const char* name : {"align", "columns", "Sort", "request"}) add(name, "function");
  for (const char* name : {"Offloader", "Mixer", "Request"}) add(name, "class");
  const std::string index = folder.path() / ".velmora" / "index.db";
  ASSERT_EQ(run_velmora({"import", "--index", index}, rows).exit_code, 0);
  const std::vector<std::tuple<std::string, std::vector<std::string>>> cases = {
      {"Align", {"Align"}},
      {"Align the columns", {}},
      {"Sort the columns. Align columns, please", {}},  // the index has a Sort, which is called
      {"align the Sort columns", {"Sort"}},
      {"Align the", {"Align"}},  // all else are stop words
      {"ALIGN the columns", {}},
      {"Align Columns", {"Align", "Columns"}},  // names among names
      {"Offloader and Mixer", {"Offloader", "Mixer"}},
      {"Request columns of a server", {"Request", "Request"}},  // a thing, and what is called so
  };
  std::string batch;
  for (const auto& [question, pins] : cases) batch += R"({"query":")" + question + "\"}\n";
  std::istringstream answers(
      run_velmora({"--index", index, "--no-embeddings", "--batch", "-"}, batch).output);
  for (const auto& [question, pins] : cases) {
    const std::string answer =
        run_velmora({"--index", index, "--no-embeddings", "--json", question}).output;
    EXPECT_EQ(answer.find(R"({"query":")" + question + "\","), 0U);
    std::vector<std::string> pinned;
    const std::string mark = R"("pinned_by":")";
    for (std::size_t at = answer.find(mark); at != answer.npos; at = answer.find(mark, at)) {
      at += mark.size();
      pinned.push_back(answer.substr(at, answer.find('"', at) - at));
    }
    EXPECT_EQ(pinned, pins) << answer;
    std::string line;
    std::getline(answers, line);
    EXPECT_EQ(line + "\n", answer);
  }
}

TEST_F(Explore, FindsASymbolByTheWordsOfItsBody) {
  const TemporaryFolder tree;
  const std::string at = tree.path(), index = tree.path() / "rows.db";
  tree.write("src/a.py", "# Turns.\ndef f(x): return zanzibar(x)\n\ndef g(): pass\n");
  ASSERT_EQ(run_velmora({"index", at, "--no-embeddings"}).exit_code, 0);
  const auto found = run_velmora({"--repo", at, "--no-embeddings", "zanzibar"});
  EXPECT_EQ(found.output.find("src/a.py:2  function src.a.f\n    f(x)\n    Turns.\n\n"), 0U)
      << found.output;
  const auto shown = run_velmora({"show", "--repo", at, "--json", "f"});
  EXPECT_NE(shown.output.find(R"("docstring":"Turns.")"), std::string::npos) << shown.output;
  const std::string row = R"({"fqn":"h","name":"h","kind":"function","language":"c","path":"a.c",)"
                          R"("start_line":1,"end_line":2,"words":["madagascar","isle"]})";
  ASSERT_EQ(run_velmora({"import", "--index", index}, row).exit_code, 0);
  const auto imported = run_velmora({"--index", index, "--no-embeddings", "isle"});
  EXPECT_EQ(imported.output.find("a.c:1  function h\n"), 0U) << imported.output;
}

TEST_F(Explore, AHitStaysOneLine) {
  const auto index = folder.path() / ".velmora" / "index.db";
  const std::string row =
      R"({"fqn":"f\ng","name":"f","kind":"function","language":"c","path":"a\nfake.c:9","start_line":1,)"
      R"("end_line":2,"embeddings":[{"model":"m","values":[1,1]}]})";
  ASSERT_EQ(run_velmora({"import", "--index", index}, row).exit_code, 0);
  HttpServer server(
      [](const std::string&) { return HttpServer::response(R"({"data":[{"embedding":[1,1]}]})"); });
  const std::string line = "a\uFFFDfake.c:9:1  function f\uFFFDg\n";
  const auto nearest = run_velmora({"search", "semantic", "--repo", repo, "--embeddings-url",
                                    server.url(), "--embeddings-model", "m", "f"});
  EXPECT_EQ(nearest.output, "1.000  " + line);
  const auto found = run_velmora({"explore", "--repo", repo, "--no-embeddings", "f"});
  EXPECT_EQ(found.output.find(line), 0U) << found.output;
}

TEST_F(Explore, AnswersABatchLineByLine) {
  const auto result =
      run_velmora({"explore", "--repo", repo, "--limit", "1", "--batch", "-"}, BATCH);
  EXPECT_EQ(result.exit_code, 0);
  const std::vector<std::string> starts = {
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

TEST_F(Explore, ExitCodeTellsWrongUsageFromFailure) {
  const TemporaryFolder empty;
  const std::string no_index = "velmora: There is no index ";
  const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
      {{"explore"}, 2, "velmora: explore needs either a question or --batch"},
      {{"explore", "--batch", "-", "a"}, 2, "velmora: explore needs either"},
      {{"--frobnicate", "a"}, 2, "velmora: The following argument was not expected: --frobnicate"},
      {{"indx", "--retry", "."}, 2, "velmora: indx is no command. Did you mean: velmora index\n"},
      {{"a", "--json", "--jsonl"}, 2, "velmora: --json excludes --jsonl"},
      {{"a", "--null"}, 2, "velmora: --null requires --files"},
      {{"a", "--files", "-C", "2"}, 2, "velmora: --context excludes --files"},
      {{"a", "--batch", "-", "--vimgrep"}, 2, "velmora: --vimgrep excludes --batch"},
      {{"a", "--color", "blue"}, 2, "velmora: --color: blue not in {auto,always,never}"},
      {{"a", "--hyperlink-format", "emax"}, 2, "velmora: --hyperlink-format: \"emax\" is neither"},
      {{"explore", "a", "--limit", "0"}, 2, "velmora: --limit: Value 0 not in range"},
      {{"explore", "a", "--limit", "2147483648"}, 2, "velmora: --limit: "},
      {{"explore", "a", "--index", "x", "--repo", "y"}, 2, "velmora: --index excludes --repo"},
      {{"explore", "a", "--include-tests", "--exclude-tests"}, 2, "velmora: --include-tests excl"},
      {{"explore", "a", "--embeddings-url", "u"}, 2, "velmora: the embedding server u needs a m"},
      {{"explore", "a", "--embeddings-model", "m"}, 2, "velmora: the embedding model m needs its "},
      {{"import", "rows.jsonl"}, 2, "velmora: --index is required"},
      {{"show", "me", "where", "it", "is"},
       2,
       "velmora: The following arguments were not expected: where it is\n"
       "To ask about the words: velmora explore show me where it is\n"
       "Run velmora show --help"},
      {{"--limt", "3", "a"}, 2, "velmora: The following argument was not expected: --limt\nRun"},
      {{"a", "--repo", repo, "--scope", "none"}, 1, "velmora: The index has nothing at none. --s"},
      {{"zebra", "--repo", repo, "--scope", "./tests/"}, 1, "velmora: Tests are left out"},
      {{"explore", "a", "--no-index"}, 3, no_index + "at " + empty.path().string()},
      {{"explore", "a", "--repo", ".", "--no-index"}, 3, no_index + "at " + empty.path().string()},
      {{"explore", "import", "--repo", repo}, 1, ""},  // a question like any other
      {{"--repo", repo, "indx"}, 1, ""},               // as is what follows an option
      {{"heap", "--repo", repo}, 1, ""},
      {{}, 0, ""},
      {{"explore", "--help"}, 0, ""},
      {{"import", "--version"}, 0, ""},
  };
  for (const auto& [arguments, exit_code, error] : cases) {
    const auto result = run_velmora(arguments, "", empty.path());
    EXPECT_EQ(result.exit_code, exit_code) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.errors.substr(0, error.size()), error);
    EXPECT_EQ(result.output.empty(), exit_code > 1);
  }
}

}  // namespace
}  // namespace velmora::host::cli
