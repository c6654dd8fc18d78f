#include "settings/settings_file.h"

#include <fcntl.h>

// Arrays and inline tables in one another; ours are lists of texts.
#define TOML_MAX_NESTED_VALUES 4
#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 1
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/bounded_file.h"
#include "text/printable.h"

namespace velmora::host::settings {
namespace {

using indexing::BoundedFile;
using indexing::LanguageRule;

// What messages show of a text that a stranger chose.
std::string shown(std::string_view text) {
  constexpr std::size_t LONGEST = 160;
  const bool fits = text.size() <= LONGEST;
  return text::printable_line(text.substr(0, LONGEST)) + (fits ? "" : "...");
}

// A value of the file, not yet looked at.
struct Entry {
  std::string name;
  std::size_t line = 0;
  const toml::node* node = nullptr;
};

std::size_t line_of(const toml::key& key) { return key.source().begin.line; }

// The entries of a table and of those in it that are tables of keys, in any order.
void collect(const toml::table& table, const std::string& prefix, std::vector<Entry>& entries) {
  for (const auto& [key, node] : table) {
    const std::string name = prefix + std::string(key.str());
    const toml::table* const inner = node.as_table();
    if (inner != nullptr && is_table(name)) {
      collect(*inner, name + ".", entries);
    } else {
      entries.push_back({name, line_of(key), &node});
    }
  }
}

std::optional<Value> languages_of(const toml::node& node) {
  const toml::table* const table = node.as_table();
  if (table == nullptr) return std::nullopt;
  std::vector<std::pair<toml::source_position, LanguageRule>> found;
  for (const auto& [glob, language] : *table) {
    const auto* const name = language.as_string();
    if (name == nullptr) return std::nullopt;
    found.emplace_back(glob.source().begin, LanguageRule{std::string(glob.str()), name->get()});
  }
  // The table is sorted by the globs; what counts is their order in the file.
  std::ranges::sort(found, [](const auto& left, const auto& right) {
    return std::pair(left.first.line, left.first.column) <
           std::pair(right.first.line, right.first.column);
  });
  std::vector<LanguageRule> rules;
  for (auto& [place, rule] : found) rules.push_back(std::move(rule));
  return rules;
}

std::optional<Value> globs_of(const toml::node& node) {
  const toml::array* const array = node.as_array();
  if (array == nullptr) return std::nullopt;
  std::vector<std::string> globs;
  for (const toml::node& one : *array) {
    const auto* const glob = one.as_string();
    if (glob == nullptr) return std::nullopt;
    globs.push_back(glob->get());
  }
  return globs;
}

// The value of a node; nothing when it is of another type than the key.
std::optional<Value> value_of(const Key& key, const toml::node& node) {
  switch (key.type) {
    case Type::integer:
      if (const auto* const number = node.as_integer()) return number->get();
      break;
    case Type::number:
      if (const auto* const number = node.as_floating_point()) return number->get();
      if (const auto* const number = node.as_integer()) return static_cast<double>(number->get());
      break;
    case Type::boolean:
      if (const auto* const boolean = node.as_boolean()) return boolean->get();
      break;
    case Type::text:
      if (const auto* const text = node.as_string()) return text->get();
      break;
    case Type::globs:
      return globs_of(node);
    case Type::languages:
      return languages_of(node);
  }
  return std::nullopt;
}

class File {
 public:
  File(const std::filesystem::path& file, Whose whose)
      : name_(text::printable_line(file.string())), whose_(whose) {}

  std::vector<FileSetting> settings(const std::string& content) const {
    check_lines(content);
    const toml::table table = parsed(content);
    std::vector<Entry> entries;
    collect(table, "", entries);
    std::ranges::stable_sort(entries, {}, &Entry::line);
    std::vector<FileSetting> settings;
    for (const Entry& entry : entries) settings.push_back(setting(entry));
    return settings;
  }

  [[noreturn]] void fail(std::size_t line, const std::string& what) const {
    const std::string place = line == 0 ? "" : ":" + std::to_string(line);
    throw SettingsError(name_ + place + ": " + what);
  }

 private:
  void check_lines(std::string_view content) const {
    for (std::size_t line = 1; !content.empty(); ++line) {
      const std::size_t stop = std::min(content.find('\n'), content.size());
      if (stop > LONGEST_LINE) {
        fail(line, "the line is longer than " + std::to_string(LONGEST_LINE) + " bytes");
      }
      content.remove_prefix(std::min(stop + 1, content.size()));
    }
  }

  toml::table parsed(const std::string& content) const {
    try {
      return toml::parse(content);
    } catch (const toml::parse_error& error) {
      fail(error.source().begin.line, "it is not TOML: " + shown(error.description()));
    }
  }

  FileSetting setting(const Entry& entry) const {
    const Key* const key = find_key(entry.name);
    if (key == nullptr) refuse_unknown(entry);
    const bool of_repository = whose_ == Whose::repository;
    if (key->files == Files::none || (of_repository && key->files != Files::both)) {
      fail(entry.line, entry.name + " must not stand in this file, but in " + places_of(*key));
    }
    std::optional<Value> value = value_of(*key, *entry.node);
    if (!value) fail(entry.line, entry.name + " must be " + wanted(*key, of_repository));
    const std::string fault = fault_of(*key, *value, of_repository);
    if (!fault.empty()) fail(entry.line, entry.name + " " + fault);
    return {.key = key, .value = std::move(*value), .line = entry.line};
  }

  [[noreturn]] void refuse_unknown(const Entry& entry) const {
    if (is_table(entry.name))
      fail(entry.line, entry.name + " must be a table, [" + entry.name + "]");
    const std::string_view near = near_key(entry.name);
    fail(entry.line,
         "there is no setting " + shown(entry.name) + ". " +
             (near.empty() ? "velmora config lists all" : "Did you mean " + std::string(near)));
  }

  const std::string name_;
  const Whose whose_;
};

}  // namespace

std::vector<FileSetting> read_settings_file(const std::filesystem::path& path, Whose whose) {
  const File file(path, whose);
  const bool is_strange = whose == Whose::repository;
  const BoundedFile read =
      indexing::read_bounded(AT_FDCWD, path.string(), LARGEST_FILE,
                             is_strange ? indexing::Links::refuse : indexing::Links::follow);
  switch (read.state) {
    case BoundedFile::State::absent:
      return {};
    case BoundedFile::State::unfit:
      file.fail(0, is_strange ? "it is no file that can be read, or a link"
                              : "it is no file that can be read");
    case BoundedFile::State::too_large:
      file.fail(0, "it is larger than " + std::to_string(LARGEST_FILE) + " bytes");
    case BoundedFile::State::read:
      break;
  }
  return file.settings(read.text);
}

}  // namespace velmora::host::settings
