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

index::SymbolEmbedding parse_embedding(const json& value) {
  const JsonFields fields(value, {"model", "values"});
  const json* list = fields.optional_list("values");
  if (list == nullptr) throw InputError("\"values\" is missing");
  std::optional<std::vector<float>> values = embedding::float_list(*list);
  if (!values) throw InputError("\"values\" must be a list of finite 32-bit numbers");
  return {.model = fields.text("model"), .values = *std::move(values)};
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
