#include "cli/batch.h"

#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <string>

#include "cli/answer_json.h"
#include "cli/json_fields.h"
#include "cli/output.h"

namespace velmora::host::cli {
namespace {

using browse::Answerer;
using nlohmann::json;
using nlohmann::ordered_json;
using workers::retrieval::RetrieveOptions;

// Answers the question in `value`.
std::string answer(const json& value, const Answerer& answerer, RetrieveOptions options) {
  const JsonFields fields(value, {"query", "limit", "scope", "include_tests", "rerank"});
  const std::string query = fields.text("query");
  if (const std::optional<std::int64_t> limit = fields.optional_integer("limit")) {
    if (*limit < 1 || *limit > std::numeric_limits<int>::max()) {
      throw InputError("\"limit\" must be from 1 to " +
                       std::to_string(std::numeric_limits<int>::max()));
    }
    options.limit = static_cast<int>(*limit);
  }
  const std::optional<std::string> scope = fields.optional_text("scope");
  if (scope) options.scope = *scope;
  if (const auto include_tests = fields.optional_boolean("include_tests")) {
    options.include_tests = include_tests;
  }
  options.rerank = fields.optional_boolean("rerank").value_or(options.rerank);
  return answer_json(answerer.answer(query, options), answerer.details());
}

}  // namespace

void answer_batch(Input& input, const Answerer& answerer, const RetrieveOptions& defaults) {
  while (const std::optional<std::string> line = input.next_line()) {
    ordered_json query = nullptr;
    std::string written;
    try {
      const json value = parse_line(*line);
      if (value.is_object() && value.contains("query") && value["query"].is_string()) {
        query = value["query"];
      }
      written = answer(value, answerer, defaults);
    } catch (const std::exception& error) {
      const ordered_json failure = {{"query", query}, {"error", error.what()}};
      written = failure.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
    }
    write_output(written);
  }
}

}  // namespace velmora::host::cli
