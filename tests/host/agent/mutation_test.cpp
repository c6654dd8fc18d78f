// Valid messages, mutated by bytes and by structure, against the layers below the streams: none may
// crash or hang, and each that is still a request is answered, with its id. VELMORA_MUTATIONS says
// how many there are.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/conversation.h"
#include "agent/repositories.h"
#include "agent/tool.h"
#include "browse/limited_text.h"
#include "support/temporary_folder.h"

namespace velmora::host::agent {
namespace {

constexpr const char* META =
    R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
    R"("io.modelcontextprotocol/clientCapabilities":{},"progressToken":"t"})";

std::vector<std::string> seeds() {
  std::vector<std::string> lines = {
      R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})",
      R"({"jsonrpc":"2.0","method":"notifications/initialized"})",
      R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":2}})",
      R"({"jsonrpc":"2.0","id":"p","method":"ping"})",
      R"({"jsonrpc":"2.0","id":2,"method":"tools/list","params":{"cursor":"c"}})",
      std::string(R"({"jsonrpc":"2.0","id":3,"method":"server/discover","params":{)") + META +
          "}}"};
  for (
      const char* call :
      {R"("explore","arguments":{"question":"size of Store","scope":"app","limit":3,"tests":true})",
       R"("explore","arguments":{"question":"Stroe","max_characters":300,"repo":"r"})",
       R"("find","arguments":{"name":"*s*e*","kinds":["class","method"],"folder":"app","offset":1})",
       R"("find","arguments":{"name":"Store.size","max_characters":400})",
       R"("show","arguments":{"what":"app/store.py:4","max_characters":500})",
       R"("show","arguments":{"what":"size"})", R"("outline","arguments":{"path":"app/store.py"})",
       R"("outline","arguments":{"max_characters":300})", R"("status","arguments":{})"}) {
    lines.push_back(
        std::string(R"({"jsonrpc":"2.0","id":"call","method":"tools/call","params":{"name":)") +
        call + "," + META + "}}");
  }
  return lines;
}

// Makes other messages of messages.
class Mutator {
 public:
  explicit Mutator(std::uint64_t seed) : random_(seed) {}

  std::string mutated(std::string line) {
    for (std::size_t i = below(2); i < 2; ++i) {
      Json value = Json::parse(line, nullptr, false);
      if (value.is_discarded() || below(5) == 0) {
        change_bytes(line);
      } else {
        change(value, 0);
        line = value.dump(-1, ' ', false, Json::error_handler_t::replace);
      }
    }
    std::erase(line, '\n');
    return line;
  }

  std::size_t below(std::size_t end) { return random_() % end; }

 private:
  void change_bytes(std::string& line) {
    const std::size_t at = below(line.size() + 1);
    const std::size_t length = below(line.size() - at + 1);
    switch (below(5)) {
      case 0:
        return line.resize(at);
      case 1:
        if (at < line.size()) line[at] = static_cast<char>(below(256));
        return;
      case 2:
        line.erase(at, std::min<std::size_t>(length, 8));
        return;
      case 3:
        line.insert(at, line.substr(at, length));
        return;
      default:
        line.insert(at, std::string(1 + below(100), "[]{}\",:\\0-e\xC3"[below(13)]));
    }
  }

  void change(Json& value, int depth) {
    if ((value.is_object() || value.is_array()) && !value.empty() &&
        below(depth < 2 ? 20 : 4) > 0) {
      auto item = value.begin();
      std::advance(item, below(value.size()));
      switch (below(6)) {
        case 0:
          value.erase(item);
          return;
        case 1:
          if (value.is_object()) value[strange().dump().substr(0, 20)] = *item;
          return;
        default:
          return change(*item, depth + 1);
      }
    }
    value = below(4) == 0 ? Json::array({value, strange()}) : strange();
  }

  Json strange() {
    static const std::vector<Json> VALUES = {nullptr,
                                             true,
                                             0,
                                             -1,
                                             1,
                                             300,
                                             50'000,
                                             9223372036854775807,
                                             18446744073709551615U,
                                             1.5,
                                             1e300,
                                             "",
                                             " ",
                                             "*",
                                             "?*?*?*?*?*?*a",
                                             "../../etc/passwd:1",
                                             "/etc/passwd",
                                             ".",
                                             "/",
                                             "@1",
                                             "app/store.py:1-99999999999999999999",
                                             "size",
                                             "Store::size()",
                                             "a:b:c:1:2:3",
                                             "\u202E\u0000x",
                                             std::string(3000, 'a'),
                                             std::string(12'000, '*'),
                                             Json::array(),
                                             Json::object(),
                                             "2025-11-25",
                                             "2026-07-28",
                                             "tools/call",
                                             "explore",
                                             "status",
                                             "outline",
                                             "class"};
    return VALUES[below(VALUES.size())];
  }

  std::mt19937_64 random_;
};

// The id that an answer has to have; null when none is to have one.
Json id_of(const std::string& line) {
  const Json value = Json::parse(line, nullptr, false);
  if (!value.is_object() || !value.contains("method") || !value["method"].is_string())
    return nullptr;
  const Json id = value.value("id", Json());
  return id.is_string() || id.is_number_integer() ? id : Json();
}

// The first wrong thing about an answer; empty when there is none.
std::string fault(const std::string& answer, const Json& id) {
  if (answer.find('\n') + 1 != answer.size()) return "no line";
  const Json value = Json::parse(answer, nullptr, false);
  if (!value.is_object() || value.contains("result") == value.contains("error")) return "no answer";
  if (!id.is_null() && value.value("id", Json()) != id) return "another id";
  const Json text = value.value("/result/content/0/text"_json_pointer, Json(""));
  const auto& shown = text.get_ref<const std::string&>();
  if (std::any_of(shown.begin(), shown.end(),
                  [](char c) { return c >= 0 && c < ' ' && c != '\n' && c != '\t'; })) {
    return "control characters";
  }
  return "";
}

std::size_t most_characters(const Call& call) {
  const Json most = call.arguments.value("max_characters", Json());
  const bool holds = most.is_number_integer() && most >= 300 && most <= 50'000;
  return holds ? most.get<std::size_t>() : 6'000;
}

TEST(Mutations, AreAnsweredOneByOne) {
  const test::TemporaryFolder folder;
  folder.write("r/app/store.py",
               "class Store:\n    \"\"\"Keeps \x1b[31mthings.\"\"\"\n\n    def size(self):\n"
               "        return '\x1b]0;\x07'\n\n    def load(self): pass\n");
  folder.write("r/app/deep/sm\x1b[0mo\nre.py", "def size(): pass\nclass Small: pass\n");
  Repositories repositories({folder.path() / "r"}, {});
  ASSERT_NE(repositories.all().front()->wait(std::chrono::minutes(1), {}).index, nullptr);
  const Asking asking{.repositories = repositories, .longest_wait = std::chrono::minutes(1)};

  const char* const wanted = std::getenv("VELMORA_MUTATIONS");
  const std::uint64_t count = wanted == nullptr ? 3000 : std::strtoull(wanted, nullptr, 10);
  const std::vector<std::string> valid = seeds();
  Conversation conversation;
  std::uint64_t answered = 0, called = 0;
  for (std::uint64_t seed = 0; seed < count; ++seed) {
    if (seed % 1000 == 0) conversation = Conversation();
    Mutator mutator(seed);
    const std::string line = mutator.mutated(valid[mutator.below(valid.size())]);
    const Json id = id_of(line);
    const Conversation::Step step = conversation.take(line);
    std::string answer;
    if (const auto* text = std::get_if<std::string>(&step)) answer = *text;
    if (const auto* call = std::get_if<Call>(&step)) {
      const ToolAnswer said = call_tool(*call->tool, call->arguments, asking);
      ASSERT_LE(browse::characters(said.text), most_characters(*call)) << line << "\n" << said.text;
      answer = answer_line(*call, said);
      called += !said.is_error;
    }
    if (answer.empty()) {
      ASSERT_EQ(id, Json()) << seed << " is not answered: " << line;
      continue;
    }
    ++answered;
    ASSERT_EQ(fault(answer, id), "") << seed << ": " << line << "\n" << answer;
  }
  // Most are still something.
  EXPECT_GT(answered, count / 2);
  EXPECT_GT(called, count / 20);
  std::printf("%llu mutations, %llu answered, %llu by a tool\n",
              static_cast<unsigned long long>(count), static_cast<unsigned long long>(answered),
              static_cast<unsigned long long>(called));
}

}  // namespace
}  // namespace velmora::host::agent
