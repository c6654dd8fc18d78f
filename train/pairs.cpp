#include "pairs.h"

#include <zlib.h>

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "gzip_lines.h"

namespace velmora::train {
namespace {

using nlohmann::json;

struct Closer {
  void operator()(gzFile file) const noexcept { gzclose(file); }
};
using File = std::unique_ptr<std::remove_pointer_t<gzFile>, Closer>;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
  throw std::runtime_error(file.string() + ": " + what);
}

std::string text_or_nothing(const json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() || found->is_null() ? std::string() : found->get<std::string>();
}

Pair pair_of(std::string_view line) {
  const json object = json::parse(line);
  const auto kind = object.at("kind").get<std::string>();
  if (kind != "doc" && kind != "commit") throw std::runtime_error("unknown kind \"" + kind + "\"");
  return {.repository = object.at("repo").get<std::string>(),
          .kind = kind == "doc" ? PairKind::doc : PairKind::commit,
          .query = object.at("query").get<std::string>(),
          .name = object.at("name").get<std::string>(),
          .fqn = object.at("fqn").get<std::string>(),
          .signature = text_or_nothing(object, "signature"),
          .path = object.at("path").get<std::string>(),
          .docstring = text_or_nothing(object, "doc")};
}

std::string line_of(const Pair& pair) {
  const auto text_or_null = [](const std::string& text) {
    return text.empty() ? json() : json(text);
  };
  const nlohmann::ordered_json object = {
      {"repo", pair.repository}, {"kind", pair.kind == PairKind::doc ? "doc" : "commit"},
      {"query", pair.query},     {"name", pair.name},
      {"fqn", pair.fqn},         {"signature", text_or_null(pair.signature)},
      {"path", pair.path},       {"doc", text_or_null(pair.docstring)}};
  return object.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string symbol_key(const Pair& pair) {
  return pair.path + "\n" + pair.fqn + "\n" + pair.signature;
}

std::vector<Pair> read_pairs(const std::filesystem::path& file) {
  std::vector<Pair> pairs;
  read_gzip_lines(file, [&](std::string_view line, std::size_t) {
    try {
      pairs.push_back(pair_of(line));
    } catch (const std::exception& error) {
      throw std::runtime_error(std::string("is not a pair: ") + error.what());
    }
  });
  return pairs;
}

void write_pairs(const std::filesystem::path& file, const std::vector<Pair>& pairs) {
  File out(gzopen(file.c_str(), file.extension() == ".gz" ? "wb" : "wbT"));
  if (!out) fail(file, "cannot be written");
  for (const Pair& pair : pairs) {
    const std::string line = line_of(pair);
    if (gzwrite(out.get(), line.data(), static_cast<unsigned>(line.size())) <= 0) {
      fail(file, "cannot be written");
    }
  }
  if (gzclose(out.release()) != Z_OK) fail(file, "cannot be written");
}

}  // namespace velmora::train
