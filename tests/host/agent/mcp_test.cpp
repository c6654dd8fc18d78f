// The agent's server as clients start it.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "agent/client_config.h"
#include "agent/message.h"
#include "browse/limited_text.h"
#include "support/agent_process.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/host/index/writer_lock.h"

namespace velmora::host::agent {
namespace {

namespace fs = std::filesystem;
using index::WriterLock;
using test::AgentProcess;

constexpr std::string_view STORE = R"(class Store:
    """Keeps things. And more."""

    def size(self):
        return 1

    def Load(self, path):
        """Reads a file."""
        class Line:
            def end(self): pass
)";

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class Mcp : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.write("repo/app/store.py", STORE);
    folder_.write("repo/app/deep/other.py", "def size():\n    pass\n");
    folder_.write("repo/binary.py", std::string("\0", 1));
  }
  std::vector<std::string> arguments(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"--no-embeddings", "--repo", repo_});
    return more;
  }
  // Whoever holds it keeps the index from being made.
  static WriterLock lock(const fs::path& repository) {
    index::make_index_folder(repository);
    return *WriterLock::try_take(repository / ".velmora/lock");
  }
  // One definition after another, in several files and folders.
  void write_many(int files, int functions) const {
    for (int file = 0; file < files; ++file) {
      std::string text;
      for (int i = 0; i < functions; ++i) {
        text += "def make_" + std::to_string(file * functions + i) +
                "(first_argument, second_argument):\n    \"\"\"Makes one thing.\"\"\"\n";
      }
      folder_.write("repo/many/" + std::string(1, static_cast<char>('a' + file % 20)) + "/" +
                        std::to_string(file) + ".py",
                    text);
    }
  }

  const test::TemporaryFolder folder_;
  const std::string repo_ = fs::canonical(folder_.path()) / "repo";
};

TEST_F(Mcp, AnswersByEachTool) {
  AgentProcess agent(arguments());
  const std::vector<std::tuple<std::string, Json, std::string>> cases = {
      {"explore",
       {{"question", "size"}, {"limit", 1}, {"repo", "."}, {"tests", nullptr}},
       "app/deep/other.py\n#1 1-2 function size() [name 1, text 1, file"},
      {"explore", {{"question", "Store"}}, "app/store.py\n#1 1-10 class Store [name 1"},
      {"explore", {{"question", "Store"}}, "\n  Keeps things.\n"},
      {"explore", {{"question", "size"}, {"scope", "app/store.py"}}, "app/store.py\n#1 4-5 method"},
      {"explore", {{"question", "Stroe"}}, "Did you mean: Store?\n"},
      {"find",
       {{"name", "size"}},
       "2 definitions in 2 files. has_more: false\n"
       "app/deep/other.py\n1-2 function size()\n"
       "app/store.py\n4-5 method Store.size()\n"},
      {"find", {{"name", "st*"}, {"kinds", "class"}}, "1 definition in 1 file. has_more: false\n"},
      {"find", {{"name", "size"}, {"folder", "app/deep"}}, "1 definition in 1 file."},
      {"find",
       {{"name", "size"}, {"kinds", {"class"}}},
       "0 definitions of size. has_more: false\n2 definitions of other kinds or in other folders"},
      {"find", {{"name", "Stroe"}}, "Did you mean: Store?"},
      {"show",
       {{"what", "Store.Load"}},
       "    in class app.store.Store, lines 1-10\n 7      def Load(self, path):\n"},
      {"show", {{"what", "app/store.py:5"}}, "app/store.py:4-5  method app.store.Store.size"},
      {"show", {{"what", repo_ + "/app/store.py:5"}}, "app/store.py:4-5  method"},
      {"show", {{"what", "size"}}, "    return 1"},  // both fit
      {"outline", {{"path", "app/store.py"}}, "  1-10  class Store\n    4-5  method"},
      {"outline", Json::object(), "app/deep/other.py\n  1-2  function size()\napp/store.py\n"},
      {"status", Json::object(), "Repository: " + repo_ + "\nIndex: "},
      {"status", Json::object(), "\nFiles: 2: 2 python\n"}};
  for (const auto& [tool, with, part] : cases) {
    const Json result = agent.call(tool, with);
    const std::string text = result.at("content").at(0).at("text");
    EXPECT_TRUE(has(text, part)) << tool << with << "\n" << text << "\nhas not\n" << part;
    EXPECT_EQ(result.at("isError"), false) << text;
  }
  // It follows the files.
  folder_.write("repo/app/new.py", "def fresh_one(): pass\n");
  EXPECT_EQ(agent.text("find", {{"name", "fresh_one"}}).find("1 definition in 1 file."), 0U);
}

TEST_F(Mcp, TellsAModelWhatToDoInstead) {
  AgentProcess agent(arguments());
  const std::vector<std::tuple<std::string, Json, std::string>> cases = {
      {"explore", Json::object(), "\"question\" is missing: "},
      {"explore", {{"question", " "}}, "\"question\" must be more than blanks."},
      {"explore", {{"question", 5}}, "\"question\" must be a string."},
      {"explore",
       {{"query", "a"}},
       "There is no argument \"query\". There are: question (required), scope"},
      {"explore",
       {{"question", "a"}, {"limit", 0}},
       "\"limit\" must be a whole number from 1 to 100."},
      {"explore", {{"question", "a"}, {"limit", 1e30}}, "\"limit\" must be a whole number"},
      {"explore", {{"question", "a"}, {"tests", "yes"}}, "\"tests\" must be true or false."},
      {"explore", {{"question", "a"}, {"max_characters", 50'001}}, "from 300 to 50000"},
      {"explore", {{"question", std::string(10'001, 'a')}}, "at most 10000 bytes long"},
      {"explore", {{"question", "a"}, {"scope", "nowhere"}}, "The index has nothing at nowhere."},
      {"explore",
       {{"question", "a"}, {"scope", "../else"}},
       "is outside of the repository " + repo_},
      {"explore", {{"question", "a"}, {"repo", "/etc"}}, "is outside of the repositories"},
      {"find", {{"name", "a"}, {"kinds", {"verb"}}}, "\"kinds\" must be made of: class, struct"},
      {"find", {{"name", std::string(300, '*')}}, "The pattern is longer than 256 bytes"},
      {"show", {{"what", "/etc/passwd:1"}}, "is outside of the repository"},
      {"show", {{"what", "../else.py"}}, "is outside of the repository"},
      {"show", {{"what", "Stroe"}}, "Did you mean: Store?"},
      {"show", {{"what", "app/store.py:99"}}, "No definition of app/store.py has line 99."},
      {"show", {{"what", "app/store.py"}}, "is a file or folder, not a definition."},
      {"outline", {{"path", "binary.py"}}, "binary.py is left out of the index: it is binary."},
      {"outline", {{"path", "/"}}, "is outside of the repository"}};
  for (const auto& [tool, with, part] : cases) {
    const Json result = agent.call(tool, with);
    const std::string text = result.at("content").at(0).at("text");
    EXPECT_TRUE(has(text, part)) << tool << with << "\n" << text << "\nhas not\n" << part;
    EXPECT_EQ(result.at("isError"), true) << text;
  }
}

TEST_F(Mcp, KeepsWithinTheCharactersAskedFor) {
  write_many(60, 40);
  AgentProcess agent(arguments());
  const std::vector<std::tuple<std::string, Json, std::string>> cases = {
      {"explore",
       {{"question", "make a thing of arguments"}, {"limit", 100}},
       "more hits left out"},
      {"find", {{"name", "make_*"}}, "has_more: true, go on with offset "},
      {"show", {{"what", "m"}}, "There is no definition m."},
      {"outline",
       {{"path", "many/a/0.py"}},
       "more lines, and all that is nested, of 40 definitions"},
      {"outline", Json::object(), " has 2404 definitions in 62 files, too many to list"},
      {"outline", {{"path", "many/a"}}, "many/a has 120 definitions in 3 files"},
      {"status", Json::object(), "Repository: "}};
  for (const auto& [tool, with, part] : cases) {
    for (const std::size_t most : {300U, 301U, 350U, 777U, 1500U}) {
      Json arguments = with;
      arguments["max_characters"] = most;
      const std::string text = agent.text(tool, arguments);
      EXPECT_LE(browse::characters(text), most) << tool << with << "\n" << text;
      EXPECT_TRUE(has(text, part)) << tool << arguments << "\n" << text << "\nhas not\n" << part;
    }
  }
  EXPECT_TRUE(has(agent.text("outline", {{"max_characters", 1000}}), "many/a/  120 in 3 files\n"));
  // Page by page, each once.
  std::multiset<std::string> names;
  std::size_t offset = 0;
  for (bool more = true; more;) {
    const std::string text =
        agent.text("find", {{"name", "make_*"}, {"offset", offset}, {"max_characters", 20'000}});
    for (std::size_t at = text.find(" make_"); at != text.npos; at = text.find(" make_", at + 1)) {
      names.insert(text.substr(at, text.find('(', at) - at));
    }
    more = has(text, "has_more: true");
    if (more) offset = std::stoul(text.substr(text.find("offset ") + 7));
  }
  EXPECT_EQ(names.size(), 2400U);
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 2400U);
}

TEST_F(Mcp, SaysHowFarTheIndexIsAndHonoursCancellation) {
  folder_.write("second/b.py", "def b(): pass\n");
  const std::string second = fs::canonical(folder_.path()) / "second";
  {
    const WriterLock held = lock(repo_);
    AgentProcess agent(arguments({"--wait", "0.6"}));
    agent.request("a", "tools/call",
                  {{"name", "explore"},
                   {"arguments", {{"question", "size"}}},
                   {"_meta", {{"progressToken", "token"}}}});
    std::int64_t progress = -1;
    Json message = agent.next();
    for (; message.value("method", "") == "notifications/progress"; message = agent.next()) {
      const Json& params = message.at("params");
      EXPECT_EQ(params.at("progressToken"), "token");
      EXPECT_EQ(params.at("message"), "The index is being made");
      EXPECT_GT(params.at("progress").get<std::int64_t>(), progress);
      progress = params.at("progress");
    }
    EXPECT_GE(progress, 0);
    EXPECT_EQ(message.at("id"), "a");
    EXPECT_EQ(message.at("result").at("isError"), true);
    const std::string text = message["result"]["content"][0]["text"];
    EXPECT_EQ(
        text.find("The index is being made.\nThere is no index of " + repo_ + " yet: ask again"),
        0U)
        << text;
    EXPECT_TRUE(has(agent.text("status", Json::object()), "The index is being made."));
  }
  std::optional<WriterLock> held(lock(repo_));
  AgentProcess agent(arguments({"--repo", second, "--wait", "3600"}));
  const Json call = {{"name", "find"}, {"arguments", {{"name", "size"}, {"repo", "repo"}}}};
  agent.request("waits", "tools/call", call);
  agent.request("waits", "tools/call", call);
  EXPECT_EQ(agent.next().at("error").at("message"), "A request with this id is under way");
  agent.request("goes", "tools/call", call);
  // One that waits keeps no other waiting.
  EXPECT_TRUE(has(agent.text("find", {{"name", "b"}, {"repo", second + "/b.py"}}), "b.py\n1 func"));
  agent.send(Json{{"jsonrpc", "2.0"},
                  {"method", "notifications/cancelled"},
                  {"params", {{"requestId", "waits"}, {"reason", "enough"}}}});
  agent.request(2, "tools/list");
  EXPECT_EQ(agent.next().at("id"), 2);
  held.reset();
  EXPECT_EQ(agent.next().at("id"), "goes");
  EXPECT_TRUE(has(agent.text("status", Json::object()), second + ": 1 file, 1 symbol\n"));
  EXPECT_TRUE(
      has(agent.text("explore", {{"question", "b"}}), "say which by \"repo\".\n  " + repo_));
}

TEST_F(Mcp, EndsWithItsInputAndLeavesNothingBehind) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);  // what is left behind becomes this process's
  write_many(200, 40);
  {
    AgentProcess idle(arguments());
    idle.close_input();
    EXPECT_EQ(idle.next(), Json());
    EXPECT_EQ(idle.end(), 0);
    EXPECT_FALSE(fs::exists(repo_ + "/.velmora"));  // nobody has asked for anything
  }
  {
    AgentProcess indexing(arguments());
    indexing.request(1, "server/discover");
    EXPECT_EQ(indexing.next().at("id"), 1);
    indexing.close_input();
    EXPECT_EQ(indexing.end(), 0);
  }
  for (const auto& [signal, code] : {std::pair{SIGTERM, 143}, {SIGINT, 130}, {0, 0}}) {
    const WriterLock held = lock(repo_);
    AgentProcess waiting(arguments({"--wait", "3600"}));
    waiting.request(1, "tools/call", {{"name", "find"}, {"arguments", {{"name", "size"}}}});
    waiting.request(2, "server/discover");
    EXPECT_EQ(waiting.next().at("id"), 2);
    if (signal == 0) waiting.close_input();
    EXPECT_EQ(waiting.end(signal), code);
    EXPECT_EQ(waiting.next(), Json());
  }
  while (::waitpid(-1, nullptr, 0) > 0) {
  }
  EXPECT_EQ(errno, ECHILD);
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(Mcp, LivesOnWithRubbish) {
  AgentProcess agent(arguments({"--verbose"}));
  agent.send_bytes("rubbish\n\n{\"half\": \n" + std::string(100'000, '[') + "\n\xFF\xFE\x01\n");
  agent.send_bytes(std::string(MOST_MESSAGE_BYTES + 1, 'a') + "\n");
  for (const int code : {-32700, -32700, -32600, -32700, -32600}) {
    const Json answer = agent.next();
    EXPECT_EQ(answer.at("error").at("code"), code);
    EXPECT_FALSE(answer.contains("id"));
  }
  EXPECT_TRUE(has(agent.text("find", {{"name", "size"}}), "2 definitions"));
  EXPECT_TRUE(has(agent.log(), "velmora.host"));  // what is logged stays out of the messages
  // The last line needs no break.
  agent.send_bytes(R"({"jsonrpc":"2.0","id":"last","method":"ping"})");
  agent.close_input();
  EXPECT_EQ(agent.next().at("id"), "last");
  EXPECT_EQ(agent.end(), 0);
}

TEST_F(Mcp, ShowsStrangersTextsAsText) {
  folder_.write("repo/app/sto\x1b[31m\nre.py",
                "def evil(a='\x1b]0;x\x07'):\n    \"\"\"Be \x1b[2J\u2028gone.\"\"\"\n");
  AgentProcess agent(arguments());
  for (const auto& [tool, with] : std::vector<std::pair<std::string, Json>>{
           {"explore", {{"question", "evil"}}},
           {"find", {{"name", "evil"}}},
           {"show", {{"what", "evil"}}},
           {"outline", {{"path", "app"}}},
           {"explore", {{"question", "a"}, {"scope", "\x1b[31m\n"}}}}) {
    const std::string text = agent.text(tool, with);
    EXPECT_TRUE(has(text, "\uFFFD")) << text;
    EXPECT_EQ(text.find_first_of("\x1b\x07"), std::string::npos) << text;
    EXPECT_TRUE(tool == "show" || !has(text, "\u2028")) << text;
  }
}

TEST_F(Mcp, RefusesAHomeFolderWithoutConsent) {
  const std::string before = std::getenv("HOME") == nullptr ? "/" : std::getenv("HOME");
  ::setenv("HOME", repo_.c_str(), 1);
  AgentProcess refused({"--no-embeddings"}, repo_);
  const std::string text = refused.text("find", {{"name", "size"}});
  EXPECT_TRUE(has(text, "--yes") && has(text, ". Search with other tools, and tell")) << text;
  AgentProcess meant({"--no-embeddings", "--yes"}, repo_);
  EXPECT_TRUE(has(meant.text("find", {{"name", "size"}}), "2 definitions"));
  ::setenv("HOME", before.c_str(), 1);
}

TEST_F(Mcp, PrintsWhatClientsWant) {
  for (const std::string_view client : known_clients()) {
    const auto printed =
        test::run_velmora({"mcp", "--repo", repo_, "--print-config", std::string(client)});
    EXPECT_EQ(printed.exit_code, 0) << printed.errors;
    EXPECT_TRUE(has(printed.errors, "This goes into "));
    const std::string program = "\"" + fs::canonical(VELMORA_PROGRAM).string() + "\"";
    EXPECT_TRUE(has(printed.output, program)) << printed.output;
    EXPECT_TRUE(has(printed.output, "\"" + repo_ + "\"")) << printed.output;
    const bool is_json = !Json::parse(printed.output, nullptr, false).is_discarded();
    EXPECT_EQ(is_json, client != "codex") << printed.output;
  }
  EXPECT_EQ(client_config("codex", "/bin/v", {"/a \"b\""}).text,
            "[mcp_servers.velmora]\ncommand = \"/bin/v\"\nargs = [\"mcp\",\"--repo\",\"/a "
            "\\\"b\\\"\"]\n");
  const auto unknown = test::run_velmora({"mcp", "--print-config", "none"});
  EXPECT_EQ(unknown.exit_code, 2);
  EXPECT_TRUE(has(unknown.errors, "generic, claude-code")) << unknown.errors;
}

}  // namespace
}  // namespace velmora::host::agent
