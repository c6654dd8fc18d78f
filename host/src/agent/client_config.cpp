#include "agent/client_config.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "agent/message.h"

namespace velmora::host::agent {
namespace {

// How a client writes a server down.
enum class Form { command_and_arguments, one_command, toml };

struct Client {
  std::string_view name;
  std::string_view place;
  std::string_view section;  // of the file, in which servers stand by name
  bool says_type = false;    // "type": "stdio"
  Form form = Form::command_and_arguments;
};

constexpr std::array<Client, 10> CLIENTS = {{
    {.name = "generic", .place = "the client's list of servers", .section = "mcpServers"},
    {.name = "claude-code",
     .place = ".mcp.json at the top of the project",
     .section = "mcpServers",
     .says_type = true},
    {.name = "claude-desktop", .place = "claude_desktop_config.json", .section = "mcpServers"},
    {.name = "codex",
     .place = "~/.codex/config.toml",
     .section = "mcp_servers",
     .form = Form::toml},
    {.name = "cursor", .place = ".cursor/mcp.json, or ~/.cursor/mcp.json", .section = "mcpServers"},
    {.name = "gemini-cli",
     .place = ".gemini/settings.json, or ~/.gemini/settings.json",
     .section = "mcpServers"},
    {.name = "opencode",
     .place = "opencode.json at the top of the project",
     .section = "mcp",
     .form = Form::one_command},
    {.name = "vscode",
     .place = ".vscode/mcp.json at the top of the project",
     .section = "servers",
     .says_type = true},
    {.name = "windsurf", .place = "~/.codeium/windsurf/mcp_config.json", .section = "mcpServers"},
    {.name = "zed", .place = "~/.config/zed/settings.json", .section = "context_servers"},
}};

const Client& client_named(std::string_view name) {
  const auto client = std::ranges::find(CLIENTS, name, &Client::name);
  if (client != CLIENTS.end()) return *client;
  std::string list;
  for (const std::string_view known : known_clients()) {
    list.append(list.empty() ? "" : ", ").append(known);
  }
  throw std::invalid_argument("The client " + std::string(name) + " is not known. There are: " +
                              list + ". Others take generic, or a form of it");
}

std::vector<std::string> arguments_for(const std::vector<std::filesystem::path>& roots) {
  std::vector<std::string> arguments = {"mcp"};
  for (const auto& root : roots) arguments.insert(arguments.end(), {"--repo", root.string()});
  return arguments;
}

OrderedJson server_json(const Client& client, const std::string& program,
                        std::vector<std::string> arguments) {
  OrderedJson server = OrderedJson::object();
  if (client.form == Form::one_command) {
    arguments.insert(arguments.begin(), program);
    server["type"] = "local";
    server["command"] = arguments;
    server["enabled"] = true;
    return server;
  }
  if (client.says_type) server["type"] = "stdio";
  server["command"] = program;
  server["args"] = arguments;
  return server;
}

}  // namespace

std::vector<std::string_view> known_clients() {
  std::vector<std::string_view> names;
  for (const Client& client : CLIENTS) names.push_back(client.name);
  return names;
}

ClientConfig client_config(std::string_view name, const std::filesystem::path& program,
                           const std::vector<std::filesystem::path>& roots) {
  const Client& client = client_named(name);
  const std::vector<std::string> arguments = arguments_for(roots);
  ClientConfig config{.text = {}, .place = std::string(client.place)};
  const std::string section(client.section);
  if (client.form == Form::toml) {
    // Its basic strings and lists are JSON's.
    config.text = "[" + section + ".velmora]\ncommand = " + OrderedJson(program.string()).dump() +
                  "\nargs = " + OrderedJson(arguments).dump() + "\n";
    return config;
  }
  OrderedJson file = OrderedJson::object();
  file[section]["velmora"] = server_json(client, program.string(), arguments);
  config.text = file.dump(2) + "\n";
  return config;
}

}  // namespace velmora::host::agent
