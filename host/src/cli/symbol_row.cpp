#include "cli/symbol_row.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/json_fields.h"
#include "embedding/float_list.h"

namespace velmora::host::cli {
namespace {

using nlohmann::json;

// A text of a row. Whoever reads one with a NUL as a C string would see half of it.
std::string checked(const char* name, std::string text) {
  if (text.find('\0') == std::string::npos) return text;
  throw InputError("\"" + std::string(name) + "\" must not hold a NUL");
}

std::string text_of(const JsonFields& fields, const char* name) {
  return checked(name, fields.text(name));
}

std::optional<std::string> optional_text_of(const JsonFields& fields, const char* name) {
  std::optional<std::string> text = fields.optional_text(name);
  if (text) text = checked(name, *std::move(text));
  return text;
}

index::SymbolEmbedding parse_embedding(const json& value) {
  const JsonFields fields(value, {"model", "values"});
  const json* list = fields.optional_list("values");
  if (list == nullptr) throw InputError("\"values\" is missing");
  std::optional<std::vector<float>> values = embedding::float_list(*list);
  if (!values) throw InputError("\"values\" must be a list of finite 32-bit numbers");
  return {.model = text_of(fields, "model"), .values = *std::move(values)};
}

// The words of a list that may be absent, with spaces between.
std::string parse_words(const json* list) {
  std::string words;
  if (list == nullptr) return words;
  for (const json& word : *list) {
    if (!word.is_string()) throw InputError("\"words\" must be a list of strings");
    words.append(words.empty() ? "" : " ").append(word.get_ref<const std::string&>());
  }
  return checked("words", std::move(words));
}

// A path as the index keeps it; the filters of a question compare paths segment by segment.
std::string parse_path(std::string path) {
  const std::string bounded = "/" + path + "/";
  for (const char* segment : {"//", "/./", "/../"}) {
    if (bounded.find(segment) != std::string::npos) {
      throw InputError("\"path\" must be relative to the root, like \"src/main.py\"");
    }
  }
  return path;
}

}  // namespace

index::Symbol parse_symbol_row(std::string_view line) {
  const json value = parse_line(line);
  const JsonFields fields(value, {"id", "fqn", "name", "kind", "language", "path", "start_line",
                                  "end_line", "signature", "docstring", "words", "embeddings"});
  index::Symbol symbol{.id = fields.optional_integer("id"),
                       .fqn = text_of(fields, "fqn"),
                       .name = text_of(fields, "name"),
                       .kind = text_of(fields, "kind"),
                       .language = text_of(fields, "language"),
                       .path = parse_path(text_of(fields, "path")),
                       .start_line = fields.integer("start_line"),
                       .end_line = fields.integer("end_line"),
                       .signature = optional_text_of(fields, "signature"),
                       .docstring = optional_text_of(fields, "docstring"),
                       .words = parse_words(fields.optional_list("words"))};
  if (symbol.start_line < 0) throw InputError("\"start_line\" must not be negative");
  if (symbol.end_line < symbol.start_line) {
    throw InputError("\"end_line\" must not be before \"start_line\"");
  }
  if (const json* embeddings = fields.optional_list("embeddings")) {
    for (const json& embedding : *embeddings) {
      symbol.embeddings.push_back(parse_embedding(embedding));
    }
  }
  return symbol;
}

}  // namespace velmora::host::cli
