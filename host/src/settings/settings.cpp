#include "settings/settings.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include "files/user_folder.h"
#include "text/printable.h"

namespace velmora::host::settings {
namespace {

namespace fs = std::filesystem;
using workers::retrieval::RetrievalSettings;

int integer(const Settings& settings, std::string_view key) {
  return static_cast<int>(std::get<std::int64_t>(settings.at(key).value));
}

double number(const Settings& settings, std::string_view key) {
  return std::get<double>(settings.at(key).value);
}

// What a variable of the environment holds.
std::string wanted_text(const Key& key) {
  if (key.type == Type::languages) return "GLOB=LANGUAGE, colons between several";
  return wanted(key, false);
}

// A list that nobody set is empty.
template <class List>
List list(const Settings& settings, std::string_view key) {
  const Value& value = settings.at(key).value;
  return std::holds_alternative<List>(value) ? std::get<List>(value) : List();
}

RetrievalSettings ranking_of(const Settings& settings) {
  RetrievalSettings ranking;
  ranking.rrf_k = integer(settings, "ranking.rrf_k");
  ranking.depth = integer(settings, "ranking.depth");
  ranking.semantic_shortlist = integer(settings, "ranking.semantic_shortlist");
  ranking.semantic_max_neighbours = integer(settings, "ranking.semantic_max_neighbours");
  ranking.best_files = integer(settings, "ranking.best_files");
  ranking.weights = {.name = number(settings, "ranking.weights.name"),
                     .signature = number(settings, "ranking.weights.signature"),
                     .path = number(settings, "ranking.weights.path"),
                     .docstring = number(settings, "ranking.weights.docstring")};
  ranking.file_weights = {.names = number(settings, "ranking.file_weights.names"),
                          .path = number(settings, "ranking.file_weights.path"),
                          .docstrings = number(settings, "ranking.file_weights.docstrings")};
  return ranking;
}

}  // namespace

std::string origin_text(const Setting& setting) {
  switch (setting.origin) {
    case Origin::standard:
      return "default";
    case Origin::environment:
      return variable_of(*setting.key);
    case Origin::user:
    case Origin::repository:
      break;
  }
  return text::printable_line(setting.file.string()) + ":" + std::to_string(setting.line);
}

Settings Settings::standard() {
  Settings settings;
  for (const Key& key : all_keys()) {
    settings.settings_.push_back({.key = &key, .value = value_of_text(key, key.standard).value()});
  }
  return settings;
}

Settings Settings::of(const fs::path& root) {
  Settings settings = standard();
  if (const fs::path file = user_file(); !file.empty()) {
    settings.take(read_settings_file(file, Whose::user), Origin::user, file);
  }
  if (!root.empty()) {
    const fs::path file = repository_file(root);
    settings.take(read_settings_file(file, Whose::repository), Origin::repository, file);
  }
  settings.take_environment();
  return settings;
}

const Setting& Settings::at(std::string_view key) const {
  return settings_[static_cast<std::size_t>(find_key(key) - all_keys().data())];
}

void Settings::take(std::vector<FileSetting> settings, Origin origin, const fs::path& file) {
  for (FileSetting& one : settings) {
    settings_[static_cast<std::size_t>(one.key - all_keys().data())] = {
        .key = one.key,
        .value = std::move(one.value),
        .origin = origin,
        .file = file,
        .line = one.line};
  }
}

void Settings::take_environment() {
  for (Setting& setting : settings_) {
    const Key& key = *setting.key;
    const std::string variable = variable_of(key);
    const char* const text = std::getenv(variable.c_str());
    if (text == nullptr || *text == '\0') continue;
    std::optional<Value> value = value_of_text(key, text);
    const std::string fault = value ? fault_of(key, *value, false) : "must be " + wanted_text(key);
    if (!fault.empty()) throw SettingsError("The variable " + variable + " " + fault);
    setting = {.key = &key, .value = std::move(*value), .origin = Origin::environment};
  }
}

fs::path user_file() {
  const fs::path folder = files::user_config_folder();
  return folder.empty() ? folder : folder / "velmora/config.toml";
}

fs::path repository_file(const fs::path& root) {
  return (fs::absolute(root) / ".velmora.toml").lexically_normal();
}

indexing::SourceRules source_rules(const fs::path& root) {
  const Settings settings = Settings::of(root);
  return {.largest_file = static_cast<std::uintmax_t>(
              std::get<std::int64_t>(settings.at("index.max_file_size").value)),
          .leave_out = list<std::vector<std::string>>(settings, "index.leave_out"),
          .languages = list<std::vector<indexing::LanguageRule>>(settings, "languages")};
}

RetrievalSettings retrieval_settings(const fs::path& root) {
  return ranking_of(Settings::of(root));
}

RetrievalSettings standard_retrieval_settings() { return ranking_of(Settings::standard()); }

}  // namespace velmora::host::settings
