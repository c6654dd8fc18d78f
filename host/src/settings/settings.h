// What holds for a repository, and who says so. First that applies: the command line, the
// environment, the repository's .velmora.toml, the user's config.toml, the default.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "settings/keys.h"
#include "settings/settings_file.h"
#include "settings/value.h"
#include "velmora/host/indexing/source_rules.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::settings {

// The command line is the business of who reads it.
enum class Origin { standard, user, repository, environment };

struct Setting {
  const Key* key = nullptr;
  Value value = {};
  Origin origin = Origin::standard;
  std::filesystem::path file = {};  // of the user or the repository, ...
  std::size_t line = 0;             // ... and where in it
};

// "VELMORA_MODEL", "/home/me/.config/velmora/config.toml:3", "default".
[[nodiscard]] std::string origin_text(const Setting& setting);

class Settings {
 public:
  // Reads the environment and the files. `root` is the repository's folder; empty: there is none.
  // Throws SettingsError.
  [[nodiscard]] static Settings of(const std::filesystem::path& root);

  // What holds where nobody says anything.
  [[nodiscard]] static Settings standard();

  // In the order of all_keys(), one for each.
  [[nodiscard]] const std::vector<Setting>& all() const { return settings_; }

  // REQUIRES: there is such a key.
  [[nodiscard]] const Setting& at(std::string_view key) const;

 private:
  void take(std::vector<FileSetting> settings, Origin origin, const std::filesystem::path& file);
  void take_environment();

  std::vector<Setting> settings_;
};

// The user's file, which need not be there; empty: they have no folder for it.
[[nodiscard]] std::filesystem::path user_file();

// The repository's, absolute.
[[nodiscard]] std::filesystem::path repository_file(const std::filesystem::path& root);

// What is set for the sources of the repository at `root`, and for its ranking. Both throw
// SettingsError.
[[nodiscard]] indexing::SourceRules source_rules(const std::filesystem::path& root);
[[nodiscard]] workers::retrieval::RetrievalSettings retrieval_settings(
    const std::filesystem::path& root);

// How the program ranks where nothing is set. docs/quality.md tells what was measured.
[[nodiscard]] workers::retrieval::RetrievalSettings standard_retrieval_settings();

}  // namespace velmora::host::settings
