#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/index_location.h"
#include "cli/output.h"
#include "cli/symbol_json.h"
#include "settings/settings.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using settings::Files;
using settings::Key;
using settings::Origin;
using settings::Setting;
using settings::Settings;

struct ConfigOptions {
  IndexLocation location;
  std::optional<std::string> folder;
  bool json = false;
};

// A setting as it holds, and where from.
struct Held {
  Setting setting;
  bool by_option = false;  // velmora index was told so, and the index remembers
};

std::string shown_value(const Setting& setting) {
  const std::string value = settings::to_toml(setting.value);
  return setting.key->files == Files::none && !value.empty() ? "(set)" : value;
}

ordered_json value_json(const Setting& setting) {
  const settings::Value& value = setting.value;
  if (setting.key->files == Files::none) return nullptr;
  if (const auto* const number = std::get_if<std::int64_t>(&value)) return *number;
  if (const auto* const number = std::get_if<double>(&value)) return *number;
  if (const auto* const boolean = std::get_if<bool>(&value)) return *boolean;
  if (const auto* const text = std::get_if<std::string>(&value)) return *text;
  if (const auto* const globs = std::get_if<std::vector<std::string>>(&value)) return *globs;
  const auto* const rules = std::get_if<std::vector<indexing::LanguageRule>>(&value);
  if (rules == nullptr) return nullptr;
  ordered_json object = ordered_json::object();
  for (const indexing::LanguageRule& rule : *rules) object[rule.glob] = rule.language;
  return object;
}

ordered_json held_json(const Held& held) {
  const Setting& setting = held.setting;
  ordered_json object = ordered_json::object();
  object["value"] = value_json(setting);
  if (held.by_option) {
    object["from"] = "command line";
    return object;
  }
  switch (setting.origin) {
    case Origin::standard:
      object["from"] = "default";
      break;
    case Origin::environment:
      object["from"] = "environment";
      object["variable"] = settings::variable_of(*setting.key);
      break;
    case Origin::user:
    case Origin::repository:
      object["from"] = setting.origin == Origin::user ? "user" : "repository";
      object["file"] = setting.file.string();
      object["line"] = setting.line;
      break;
  }
  return object;
}

std::string held_text(const Held& held) {
  constexpr std::size_t WIDTH = 44;
  const std::string value = shown_value(held.setting);
  std::string line(held.setting.key->name);
  line = value.empty() ? "# " + line : line + " = " + value;
  line.resize(std::max(line.size(), WIDTH), ' ');
  if (held.by_option) return line + "  # command line: velmora index --max-file-size\n";
  const bool is_unset = value.empty() && held.setting.origin == Origin::standard;
  return line + "  # " + (is_unset ? "not set" : settings::origin_text(held.setting)) + "\n";
}

std::string file_text(std::string_view whose, const fs::path& file) {
  std::error_code unreadable;
  const bool is_there = fs::exists(fs::symlink_status(file, unreadable));
  return "# " + std::string(whose) + ": " +
         (file.empty() ? "there is no home folder"
                       : printable_line(file.string()) + (is_there ? "" : " (there is none)")) +
         "\n";
}

// The limit that velmora index was given for the index at `file`, or 0.
std::uintmax_t remembered_limit(const fs::path& file) {
  try {
    const auto index = index::Index::find(file);
    return index && index->made_here() ? index->tree_state().largest_file : 0;
  } catch (const index::IndexError&) {
    return 0;  // the next velmora index tells
  }
}

std::vector<Held> held_settings(const fs::path& index_file) {
  const Settings settings = Settings::of(index::repository_of(index_file));
  std::vector<Held> list;
  for (const Setting& setting : settings.all()) list.push_back({setting});
  const std::uintmax_t limit = remembered_limit(index_file);
  for (Held& held : list) {
    if (limit == 0 || held.setting.key->name != "index.max_file_size") continue;
    held.by_option = true;
    held.setting.value = static_cast<std::int64_t>(limit);
  }
  return list;
}

void show_settings(const ConfigOptions& options) {
  IndexLocation location = options.location;
  if (options.folder) location.repository = options.folder;
  const fs::path index_file = location.file();
  const fs::path root = index::repository_of(index_file);
  const std::vector<Held> list = held_settings(index_file);
  if (options.json) {
    ordered_json object = ordered_json::object();
    for (const Held& held : list) object[std::string(held.setting.key->name)] = held_json(held);
    return write_output(json_line(object));
  }
  std::string text = file_text("yours", settings::user_file());
  if (!root.empty()) text += file_text("the repository's", settings::repository_file(root));
  for (const Held& held : list) text += held_text(held);
  write_output(text);
}

}  // namespace

void add_config_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("config", "Show every setting, and where it is from");
  const auto options = std::make_shared<ConfigOptions>();
  CLI::Option* folder = command
                            ->add_option("dir", options->folder,
                                         "The repository; that of the nearest index when absent")
                            ->type_name("DIR");
  options->location.add_to(*command);
  folder->excludes("--index")->excludes("--repo");
  command->add_flag("--json", options->json, "Write the settings as one JSON object");
  command->footer(
      "Examples:\n"
      "  velmora config                                what holds here, and where it is from\n"
      "  velmora config --json | jq '.\"explore.limit\"'\n"
      "  VELMORA_EXPLORE_LIMIT=20 velmora config\n"
      "\n"
      "Nothing needs to be set. What can be, and where: velmora help settings.\n"
      "Exit status: 0, 2 for wrong usage, 3 for a setting that is wrong and for any failure.");
  command->callback([options, &exit_code] {
    show_settings(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
