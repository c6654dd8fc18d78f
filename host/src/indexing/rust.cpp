#include "indexing/rust.h"

#include <algorithm>
#include <utility>

#include "indexing/declaration.h"

namespace velmora::host::indexing {

void describe_rust(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  Declared declared{.kind = std::string(found.kind), .name = source.line(found.name)};
  const std::uint32_t from = ts_node_end_byte(found.name);
  if (declared.name == "_") return;
  if (declared.kind == "function") declared.kind = function_kind(enclosing);
  // What an impl block says of its trait's types is no type of its own.
  if (declared.kind == "type" && in_type(enclosing)) return;
  if (declared.kind == "constant") {
    declared.signature = constant_header(found.node, from, source);
  } else if (declared.kind == "macro") {
    declared.signature = "!";
  } else {
    declared.signature = header(found.node, from, source);
  }
  out.push_back(std::move(declared));
}

std::string rust_module(std::string_view path) {
  std::string module;
  const auto add = [&](std::string_view part) {
    if (!module.empty()) module += "::";
    for (const char c : part) module += c == '-' ? '_' : c;
  };
  path = path.substr(0, path.rfind('.'));
  constexpr std::string_view SOURCES = "src/";
  std::size_t at = path.rfind("/src/");
  if (at != std::string_view::npos) {
    const std::string_view crate = path.substr(0, at);
    add(crate.substr(crate.rfind('/') + 1));
    path.remove_prefix(at + 1 + SOURCES.size());
  } else if (path.starts_with(SOURCES)) {
    path.remove_prefix(SOURCES.size());
  }
  while (!path.empty()) {
    at = std::min(path.find('/'), path.size());
    const std::string_view part = path.substr(0, at);
    const bool last = at == path.size();
    if (!last || (part != "mod" && part != "lib" && part != "main")) add(part);
    path.remove_prefix(last ? at : at + 1);
  }
  return module;
}

}  // namespace velmora::host::indexing
