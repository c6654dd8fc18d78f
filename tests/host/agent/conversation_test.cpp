#include "agent/conversation.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cctype>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/message_streams.h"

namespace velmora::host::agent {
namespace {

// "ID ok" for a result, "ID CODE" for an error, "ID calls TOOL", "cancels ID", or "-"; an id that
// is not there is "?".
std::string said(Conversation& conversation, const std::string& line) {
  const Conversation::Step step = conversation.take(line);
  if (const auto* call = std::get_if<Call>(&step)) {
    return call->id.dump() + " calls " + std::string(call->tool->name);
  }
  if (const auto* cancellation = std::get_if<Cancellation>(&step)) {
    return "cancels " + cancellation->id.dump();
  }
  if (std::holds_alternative<Nothing>(step)) return "-";
  const std::string& text = std::get<std::string>(step);
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  const Json answer = Json::parse(text);
  EXPECT_EQ(answer.at("jsonrpc"), "2.0");
  return (answer.contains("id") ? answer["id"].dump() : "?") + " " +
         (answer.contains("result") ? "ok" : answer.at("error").at("code").dump());
}

// A request with the fields of the modern era.
std::string modern(const std::string& id, const std::string& method, const std::string& more = "",
                   const std::string& version = "\"2026-07-28\"") {
  return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + R"(","params":{)" + more +
         R"("_meta":{"io.modelcontextprotocol/protocolVersion":)" + version +
         R"(,"io.modelcontextprotocol/clientCapabilities":{}}}})";
}

std::string legacy(const std::string& id, const std::string& method,
                   const std::string& params = "{}") {
  return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + R"(","params":)" + params +
         "}";
}

using Cases = std::vector<std::pair<std::string, std::string>>;

void expect(Conversation& conversation, const Cases& cases) {
  for (const auto& [line, answer] : cases) {
    EXPECT_EQ(said(conversation, line), answer) << line.substr(0, 300);
  }
}

TEST(Conversation, ServesTheModernEraWithoutAHandshake) {
  Conversation conversation;
  const std::string call = R"("name":"explore","arguments":{"question":"a"},)";
  expect(conversation,
         {{modern("1", "server/discover"), "1 ok"},
          {modern("\"a\"", "tools/list"), "\"a\" ok"},
          {modern("2", "tools/list", R"("cursor":"x",)"), "2 -32602"},
          {modern("3", "tools/call", call), "3 calls explore"},
          {modern("4", "tools/call", R"("name":"explode",)"), "4 -32602"},
          {modern("5", "tools/call", R"("name":"explore","arguments":[],)"), "5 -32602"},
          {modern("6", "tools/call", R"("name":5,)"), "6 -32602"},
          {modern("7", "resources/list"), "7 -32601"},
          {modern("8", "initialize"), "8 -32601"},
          {modern("9", "tools/list", "", "\"2099-01-01\""), "9 -32022"},
          {modern("10", "tools/list", "", "\"2025-11-25\""), "10 -32022"},
          {modern("11", "tools/list", "", "5"), "11 -32602"},
          {legacy("12", "tools/list"), "12 -32602"},
          {legacy("13", "server/discover"), "13 -32602"},
          {legacy("14", "tools/list",
                  R"({"_meta":{"io.modelcontextprotocol/clientCapabilities":{}}})"),
           "14 -32602"},
          {legacy("15", "tools/list",
                  R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28"}})"),
           "15 -32602"}});
  const auto answer = [&](const std::string& line) {
    return Json::parse(std::get<std::string>(conversation.take(line)));
  };
  const Json unknown = answer(modern("1", "tools/list", "", "\"2099-01-01\""))["error"]["data"];
  EXPECT_EQ(unknown.dump(), R"({"requested":"2099-01-01","supported":["2026-07-28"]})");
  for (const char* method : {"server/discover", "tools/list"}) {
    const Json result = answer(modern("1", method))["result"];
    EXPECT_EQ(result.at("resultType"), "complete");
    EXPECT_TRUE(result.at("ttlMs").is_number_integer());
    EXPECT_EQ(result.at("cacheScope"), "public");
    EXPECT_EQ(result.at("_meta").at("io.modelcontextprotocol/serverInfo").at("name"), "velmora");
  }
  const Json discovered = answer(modern("1", "server/discover"))["result"];
  EXPECT_EQ(discovered.at("supportedVersions").dump(), R"(["2026-07-28"])");
  EXPECT_EQ(discovered.at("capabilities").dump(), R"({"tools":{}})");
}

TEST(Conversation, NegotiatesTheLegacyEra) {
  const Cases versions = {{"2024-11-05", "2024-11-05"}, {"2025-03-26", "2025-03-26"},
                          {"2025-06-18", "2025-06-18"}, {"2025-11-25", "2025-11-25"},
                          {"2026-07-28", "2025-11-25"}, {"1.0", "2025-11-25"}};
  for (const auto& [asked, answered] : versions) {
    Conversation conversation;
    const Json answer = Json::parse(std::get<std::string>(
        conversation.take(legacy("0", "initialize", R"({"protocolVersion":")" + asked + R"("})"))));
    const Json& result = answer.at("result");
    EXPECT_EQ(result.at("protocolVersion"), answered);
    EXPECT_EQ(result.at("capabilities").dump(), R"({"tools":{}})");
    EXPECT_EQ(result.at("serverInfo").at("name"), "velmora");
    EXPECT_FALSE(result.contains("resultType"));
  }
  Conversation conversation;
  expect(conversation, {{legacy("1", "ping"), "1 ok"},
                        {legacy("2", "tools/list"), "2 -32602"},
                        {legacy("3", "initialize"), "3 -32602"},
                        {legacy("4", "tools/list"), "4 -32602"},
                        {legacy("5", "initialize", R"({"protocolVersion":"2025-06-18"})"), "5 ok"},
                        {R"({"jsonrpc":"2.0","method":"notifications/initialized"})", "-"},
                        {legacy("6", "tools/list"), "6 ok"},
                        {legacy("7", "tools/list", R"({"_meta":{"progressToken":1}})"), "7 ok"},
                        {legacy("8", "tools/call", R"({"name":"status"})"), "8 calls status"},
                        {legacy("9", "logging/setLevel"), "9 -32601"},
                        // A process may serve both.
                        {modern("10", "server/discover"), "10 ok"},
                        {modern("11", "tools/list", "", "\"1999-01-01\""), "11 -32022"}});
  const auto list = [&](const std::string& line) {
    return Json::parse(std::get<std::string>(conversation.take(line)))["result"];
  };
  const Json old = list(legacy("1", "tools/list"));
  EXPECT_EQ(old.size(), 1U) << old.dump();
  EXPECT_EQ(old.at("tools"), list(modern("1", "tools/list")).at("tools"));
}

TEST(Conversation, LivesOnWithWhatIsNoMessage) {
  Conversation conversation;
  const std::string deep(DEEPEST_MESSAGE + 1, '[');
  const std::string many = "[" + std::string(MOST_MESSAGE_VALUES, ',');
  const std::string longest(LONGEST_CALL, 'a');
  expect(conversation,
         {{"", "? -32700"},
          {"rubbish", "? -32700"},
          {R"({"jsonrpc":"2.0","id":1,"method":"ping")", "? -32700"},
          {std::string("\0\x01\xFF\xFE", 4), "? -32700"},
          {"{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"\xC3\x28\"}", "? -32700"},
          {R"({"jsonrpc":"2.0","id":1e999,"method":"ping"})", "? -32700"},
          {deep, "? -32600"},
          {many, "? -32600"},
          {R"(["[[[[\"[[", )" + std::string(DEEPEST_MESSAGE - 1, '[') + "]", "? -32700"},
          {"[" + legacy("1", "ping") + "]", "? -32600"},
          {"5", "? -32600"},
          {R"({"jsonrpc":"2.0","id":null,"method":"ping"})", "? -32600"},
          {R"({"jsonrpc":"2.0","id":1.5,"method":"ping"})", "? -32600"},
          {R"({"jsonrpc":"2.0","id":{},"method":"ping"})", "? -32600"},
          {R"({"jsonrpc":"1.0","id":1,"method":"ping"})", "1 -32600"},
          {R"({"id":1,"method":"ping"})", "1 -32600"},
          {R"({"jsonrpc":"2.0","id":1,"method":7})", "1 -32600"},
          {R"({"jsonrpc":"2.0","id":1})", "1 -32600"},
          {R"({"jsonrpc":"2.0","id":1,"method":"ping","params":[1]})", "1 -32602"},
          {R"({"jsonrpc":"2.0","id":1,"method":"ping","id":2})", "2 ok"},
          {legacy("-9223372036854775808", "ping"), "-9223372036854775808 ok"},
          {legacy("18446744073709551615", "ping"), "18446744073709551615 ok"},
          {legacy("\"\\u0000\\n\"", "ping"), "\"\\u0000\\n\" ok"},
          {modern("1", "tools/call",
                  R"("name":"explore","arguments":{"question":")" + longest + R"("},)"),
           "1 -32602"},
          // What is not to be answered.
          {R"({"jsonrpc":"2.0","id":1,"result":{}})", "-"},
          {R"({"jsonrpc":"2.0","id":1,"error":{"code":1,"message":""}})", "-"},
          {R"({"method":"notifications/x","params":7})", "-"},
          {R"({"jsonrpc":"2.0","method":"tools/call","params":{}})", "-"},
          {R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":"a"}})",
           "cancels \"a\""},
          {R"({"jsonrpc":"2.0","method":"notifications/cancelled"})", "-"},
          {legacy("3", "ping"), "3 ok"}});
}

// What a model reads before it does anything: names that clients take, schemas that they can read,
// and not too much of it.
TEST(Conversation, ListsToolsThatClientsCanRead) {
  std::string names;
  std::size_t size = 0;
  for (const Tool& tool : tools()) {
    const Json json = Json::parse(tool_json(tool).dump());
    names += std::string(tool.name) + "(";
    for (const Parameter& parameter : tool.parameters) {
      const Json& schema = json.at("inputSchema").at("properties").at(std::string(parameter.name));
      names += std::string(parameter.name) + (parameter.required ? "!" : "") + " ";
      EXPECT_TRUE(schema.at("type").is_string());
      EXPECT_FALSE(schema.at("description").get<std::string>().empty());
    }
    names += ") ";
    EXPECT_EQ(json.at("inputSchema").at("type"), "object");
    EXPECT_EQ(json.at("annotations").at("readOnlyHint"), true);
    EXPECT_FALSE(json.contains("outputSchema"));
    size += json.dump().size();
  }
  EXPECT_EQ(names,
            "explore(question! scope limit tests max_characters repo ) "
            "find(name! kinds folder offset max_characters repo ) "
            "show(what! max_characters repo ) outline(path max_characters repo ) "
            "status(max_characters repo ) ");
  EXPECT_LT(size, 6500U);
}

TEST(MessageReader, TakesLinesOfAnyKind) {
  const int file = ::memfd_create("messages", MFD_CLOEXEC);
  const std::string text = "one\n\n \r\ntwo\r\n" + std::string(200'000, 'x') + "\n" +
                           std::string(100'000, 'y') + "\nhalf";
  ASSERT_EQ(::pwrite(file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  MessageReader reader(file, 100'000);
  std::string lines;
  for (auto state = reader.next(); state != MessageReader::State::end; state = reader.next()) {
    const bool is_line = state == MessageReader::State::line;
    lines += is_line ? std::string(reader.line().substr(0, 4)) + "," : "long,";
  }
  EXPECT_EQ(lines, "one,two\r,long,yyyy,half,");
  ::close(file);
}

}  // namespace
}  // namespace velmora::host::agent
