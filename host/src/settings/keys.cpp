#include "settings/keys.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "browse/near_names.h"

namespace velmora::host::settings {
namespace {

constexpr double MOST_INT = 2'147'483'647;

constexpr Key integer(std::string_view name, std::string_view standard, double least, double most,
                      std::string_view meaning, std::string_view option = {},
                      std::string_view command = {}) {
  return {.name = name,
          .type = Type::integer,
          .standard = standard,
          .meaning = meaning,
          .least = least,
          .most = most,
          .option = option,
          .command = command};
}

constexpr Key text(std::string_view name, std::string_view standard, std::string_view meaning,
                   std::string_view option) {
  return {.name = name, .standard = standard, .meaning = meaning, .option = option};
}

constexpr Key secret(std::string_view name, std::string_view meaning) {
  return {.name = name, .standard = "", .meaning = meaning, .files = Files::none};
}

constexpr Key rank(std::string_view name, std::string_view standard, double least, double most,
                   std::string_view meaning) {
  Key key = integer(name, standard, least, most, meaning);
  key.files = Files::both;
  return key;
}

constexpr Key weight(std::string_view name, std::string_view standard, std::string_view meaning) {
  Key key = rank(name, standard, 0.001, 1000, meaning);
  key.type = Type::number;
  return key;
}

constexpr Key KEYS[] = {
    text("model", "", "the embedding model to use, a file", "--model"),
    {.name = "index.leave_out",
     .type = Type::globs,
     .standard = "",
     .meaning = "globs of what is not indexed",
     .files = Files::both},
    {.name = "index.max_file_size",
     .type = Type::integer,
     .standard = "2097152",
     .meaning = "larger files are left out",
     .files = Files::both,
     .least = 1,
     .most = 1 << 30,
     .most_of_repository = 16 << 20,
     .option = "--max-file-size",
     .command = "index"},
    {.name = "languages",
     .type = Type::languages,
     .standard = "",
     .meaning = "glob = language",
     .files = Files::both},
    rank("ranking.rrf_k", "8", 1, 10'000, "more: several channels count more"),
    rank("ranking.depth", "50", 1, 1000, "symbols that a channel hands on"),
    rank("ranking.semantic_shortlist", "150", 1, 10'000, "nearest vectors looked at first"),
    rank("ranking.semantic_max_neighbours", "2400", 1, 100'000, "and at most"),
    rank("ranking.best_files", "10", 0, 1000, "files that rank symbols; 0 is all"),
    weight("ranking.weights.name", "10", "a match in a symbol's name"),
    weight("ranking.weights.signature", "3", "in its signature"),
    weight("ranking.weights.path", "2", "in its path"),
    weight("ranking.weights.docstring", "0.2", "in its docstring or body"),
    weight("ranking.file_weights.names", "3", "a match in the names of a file"),
    weight("ranking.file_weights.path", "2", "in its path"),
    weight("ranking.file_weights.docstrings", "3", "in its docstrings and bodies"),
    integer("explore.limit", "10", 1, MOST_INT, "the most hits", "--limit", "explore"),
    text("terminal.color", "auto", "auto, always or never", "--color"),
    text("terminal.hyperlink_format", "none", "how places are linked", "--hyperlink-format"),
    text("embeddings.url", "", "a server that embeds", "--embeddings-url"),
    text("embeddings.model", "", "its model", "--embeddings-model"),
    text("embeddings.query_prefix", "", "before a question", "--embeddings-query-prefix"),
    text("embeddings.document_prefix", "", "before a symbol", "--embeddings-document-prefix"),
    integer("embeddings.text_length", "", 1, 1'000'000, "characters of a symbol",
            "--embeddings-text-length"),
    integer("embeddings.batch", "64", 1, 4096, "texts in a request", "--embeddings-batch"),
    integer("embeddings.parallel", "4", 1, 64, "requests at a time", "--embeddings-parallel"),
    integer("embeddings.timeout", "120", 1, 86'400, "seconds of a request", "--embeddings-timeout"),
    integer("embeddings.wait", "5", 0, 3600, "seconds for a model", "--embeddings-wait"),
    secret("embeddings.api_key", "the server's key"),
    text("rerank.url", "", "a server that reorders", "--rerank-url"),
    text("rerank.model", "", "its model", "--rerank-model"),
    {.name = "rerank.share_source",
     .type = Type::boolean,
     .standard = "false",
     .meaning = "show it source",
     .option = "--share-source"},
    secret("rerank.api_key", "the server's key"),
};

std::string number_text(double number) {
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed).ptr;
  return {text.data(), end};
}

std::u32string wide(std::string_view text) { return {text.begin(), text.end()}; }

std::string_view last_part(std::string_view name) { return name.substr(name.rfind('.') + 1); }

bool is_near(std::string_view left, std::string_view right) {
  return left == right || browse::is_one_edit(wide(left), wide(right));
}

}  // namespace

std::span<const Key> all_keys() { return KEYS; }

const Key* find_key(std::string_view name) {
  const auto* const found = std::ranges::find(KEYS, name, &Key::name);
  return found == std::end(KEYS) ? nullptr : found;
}

bool is_table(std::string_view name) {
  return std::ranges::any_of(KEYS, [&](const Key& key) {
    return key.name.size() > name.size() && key.name.starts_with(name) &&
           key.name[name.size()] == '.';
  });
}

std::string variable_of(const Key& key) {
  std::string variable = "VELMORA_";
  for (const char c : key.name) {
    const bool is_lower = c >= 'a' && c <= 'z';
    variable += c == '.' ? '_' : is_lower ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return variable;
}

std::string wanted(const Key& key, bool of_repository) {
  const std::string range = " from " + number_text(key.least) + " to " +
                            number_text(of_repository ? key.most_of_repository : key.most);
  switch (key.type) {
    case Type::integer:
      return "a whole number" + range;
    case Type::number:
      return "0, or a number" + range;
    case Type::boolean:
      return "true or false";
    case Type::globs:
      return "a list of globs, [\"build/\", \"*.min.js\"]";
    case Type::languages:
      return "a table of globs with their languages, \"*.inc\" = \"php\"";
    case Type::text:
      break;
  }
  return "a text";
}

std::string places_of(const Key& key) {
  const std::string environment = "the environment (" + variable_of(key) + ")";
  if (key.files == Files::none) return environment + " alone";
  const std::string own = environment + " or your own settings";
  return key.files == Files::user ? own : environment + ", a repository's or your own settings";
}

std::string_view near_key(std::string_view name) {
  if (name.size() > browse::LONGEST_NEAR_NAME) return {};
  for (const Key& key : KEYS) {
    if (is_near(name, key.name)) return key.name;
  }
  for (const Key& key : KEYS) {
    const std::size_t dot = key.name.rfind('.');
    const std::string_view table = dot == std::string_view::npos ? "" : key.name.substr(0, dot);
    if (is_near(name, table)) return table;
  }
  for (const Key& key : KEYS) {
    if (is_near(last_part(name), last_part(key.name))) return key.name;
  }
  return {};
}

}  // namespace velmora::host::settings
