#include "cli/answer.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "cli/output.h"

namespace velmora::host::cli {
namespace {

using nlohmann::ordered_json;
using workers::retrieval::ChannelMap;
using workers::retrieval::Hit;
using workers::retrieval::RetrievalResult;
using workers::retrieval::RetrievedSymbol;

// The channel as people know it.
std::string_view channel_word(std::string_view channel) {
  if (channel == workers::retrieval::LEXICAL) return "text";
  if (channel == workers::retrieval::SEMANTIC) return "meaning";
  return channel;
}

// A signature may have more lines than there is room for.
std::string first_line(std::string_view text) {
  return printable_line(text.substr(0, text.find_first_of("\r\n")));
}

template <class Value>
ordered_json by_channel(const ChannelMap<Value>& map) {
  ordered_json object = ordered_json::object();
  for (const auto& [channel, value] : map) object[std::string(channel)] = value;
  return object;
}

ordered_json or_null(const std::optional<std::string>& text) {
  return text ? ordered_json(*text) : ordered_json(nullptr);
}

ordered_json hit_json(const Hit& hit) {
  const RetrievedSymbol& symbol = hit.symbol;
  return {{"id", symbol.id},
          {"fqn", symbol.fqn},
          {"name", symbol.name},
          {"kind", symbol.kind},
          {"path", symbol.path},
          {"start_line", symbol.start_line},
          {"end_line", symbol.end_line},
          {"signature", or_null(symbol.signature)},
          {"score", hit.score},
          {"ranks", by_channel(hit.ranks)}};
}

}  // namespace

std::string answer_text(const RetrievalResult& answer) {
  std::string text;
  for (const Hit& hit : answer.hits) {
    const RetrievedSymbol& symbol = hit.symbol;
    text += printable_line(symbol.path) + ":" + std::to_string(symbol.start_line) + "  " +
            printable_line(symbol.kind) + " " + printable_line(symbol.fqn) + "\n";
    if (symbol.signature) text += "    " + first_line(*symbol.signature) + "\n";
    std::string why;
    for (const auto& [channel, rank] : hit.ranks) {
      if (!why.empty()) why += ", ";
      why += std::string(channel_word(channel)) + " #" + std::to_string(rank);
    }
    text += "    " + why + "\n\n";
  }
  if (answer.hits.empty()) text += "No symbol of the index answers this question.\n";
  if (answer.note) text += "Note: " + printable(*answer.note) + "\n";
  return text;
}

std::string answer_json(std::string_view query, const RetrievalResult& answer) {
  ordered_json hits = ordered_json::array();
  for (const Hit& hit : answer.hits) hits.push_back(hit_json(hit));
  const ordered_json object = {{"query", query},
                               {"hits", std::move(hits)},
                               {"channels", by_channel(answer.channels)},
                               {"note", or_null(answer.note)}};
  return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace velmora::host::cli
