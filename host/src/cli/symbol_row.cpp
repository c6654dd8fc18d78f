#include "cli/symbol_row.h"

#include <string>
#include <utility>

#include "cli/json_fields.h"

namespace velmora::host::cli {
namespace {

using nlohmann::json;

index::SymbolEmbedding parse_embedding(const json& value) {
  const JsonFields fields(value, {"model", "values"});
  const json* values = fields.optional_list("values");
  if (values == nullptr) throw InputError("\"values\" is missing");
  index::SymbolEmbedding embedding{.model = fields.text("model"), .values = {}};
  embedding.values.reserve(values->size());
  for (const json& number : *values) {
    if (!number.is_number()) throw InputError("\"values\" must be a list of numbers");
    embedding.values.push_back(number.get<float>());
  }
  return embedding;
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
                                  "end_line", "signature", "docstring", "embeddings"});
  index::Symbol symbol{.id = fields.optional_integer("id"),
                       .fqn = fields.text("fqn"),
                       .name = fields.text("name"),
                       .kind = fields.text("kind"),
                       .language = fields.text("language"),
                       .path = parse_path(fields.text("path")),
                       .start_line = fields.integer("start_line"),
                       .end_line = fields.integer("end_line"),
                       .signature = fields.optional_text("signature"),
                       .docstring = fields.optional_text("docstring")};
  if (const json* embeddings = fields.optional_list("embeddings")) {
    for (const json& embedding : *embeddings) {
      symbol.embeddings.push_back(parse_embedding(embedding));
    }
  }
  return symbol;
}

}  // namespace velmora::host::cli
