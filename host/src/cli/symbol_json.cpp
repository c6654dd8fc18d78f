#include "cli/symbol_json.h"

#include <nlohmann/json.hpp>
#include <optional>

namespace velmora::host::cli {
namespace {

using nlohmann::ordered_json;

ordered_json or_null(const std::optional<std::string>& text) {
  return text ? ordered_json(*text) : ordered_json(nullptr);
}

}  // namespace

ordered_json symbol_json(const index::Symbol& symbol) {
  return {{"id", *symbol.id},
          {"fqn", symbol.fqn},
          {"name", symbol.name},
          {"kind", symbol.kind},
          {"language", symbol.language},
          {"path", symbol.path},
          {"start_line", symbol.start_line},
          {"end_line", symbol.end_line},
          {"signature", or_null(symbol.signature)},
          {"docstring", or_null(symbol.docstring)}};
}

std::string json_line(const ordered_json& value) {
  return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace velmora::host::cli
