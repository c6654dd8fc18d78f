#include "cli/option_settings.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "settings/settings.h"

namespace velmora::host::cli {
namespace {

using settings::Key;
using settings::Setting;
using settings::Settings;

// Calls `use` with each key that an option of the command stands for.
void for_each_option(CLI::App& command, const std::function<void(const Key&, CLI::Option&)>& use) {
  for (const Key& key : settings::all_keys()) {
    if (key.option.empty() || key.files == settings::Files::both) continue;
    if (!key.command.empty() && key.command != command.get_name()) continue;
    CLI::Option* const option = command.get_option_no_throw(std::string(key.option));
    if (option != nullptr) use(key, *option);
  }
}

void give(CLI::Option& option, const Setting& setting) {
  const auto* const text = std::get_if<std::string>(&setting.value);
  try {
    option.add_result(text != nullptr ? *text : settings::to_toml(setting.value));
    option.run_callback();
  } catch (const CLI::Error& error) {
    throw settings::SettingsError(settings::origin_text(setting) + ": " +
                                  std::string(setting.key->name) + ": " + error.what());
  }
}

void take(CLI::App& command, std::optional<Settings>& known) {
  for_each_option(command, [&](const Key& key, CLI::Option& option) {
    if (option.count() > 0) return;
    if (!known) known = Settings::of({});
    const Setting& setting = known->at(key.name);
    if (setting.origin != settings::Origin::standard) give(option, setting);
  });
  for (CLI::App* inner : command.get_subcommands()) take(*inner, known);
}

}  // namespace

void take_settings(CLI::App& app) {
  std::optional<Settings> known;
  take(app, known);
}

void name_variables(CLI::App& app) {
  for_each_option(
      app, [](const Key& key, CLI::Option& option) { option.envname(settings::variable_of(key)); });
  for (CLI::App* command : app.get_subcommands({})) name_variables(*command);
}

}  // namespace velmora::host::cli
