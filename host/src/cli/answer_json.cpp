#include "cli/answer_json.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace velmora::host::cli {
namespace {

using browse::Answer;
using browse::AnswerDetails;
using browse::AnsweredHit;
using nlohmann::ordered_json;
using workers::retrieval::ChannelMap;
using workers::retrieval::RetrievedSymbol;

template <class Value>
ordered_json by_channel(const ChannelMap<Value>& map) {
  ordered_json object = ordered_json::object();
  for (const auto& [channel, value] : map) object[std::string(channel)] = value;
  return object;
}

template <class Value>
ordered_json or_null(const std::optional<Value>& value) {
  return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json source_json(const std::optional<browse::SourceLines>& source) {
  if (!source) return nullptr;
  return {{"first_line", source->first}, {"lines", source->lines}, {"changed", source->changed}};
}

ordered_json decision_json(const std::optional<decision::JudgedCandidate>& decision) {
  if (!decision) return nullptr;
  ordered_json features = ordered_json::object();
  for (const decision::JudgedFeature& feature : decision->features) {
    features[std::string(feature.name)] = {{"value", feature.value}, {"gain", feature.gain}};
  }
  return {{"probability", decision->probability}, {"features", std::move(features)}};
}

ordered_json hit_json(const AnsweredHit& answered, const AnswerDetails& details) {
  const RetrievedSymbol& symbol = answered.hit.symbol;
  ordered_json object = {{"id", symbol.id},
                         {"fqn", symbol.fqn},
                         {"name", symbol.name},
                         {"kind", symbol.kind},
                         {"path", symbol.path},
                         {"start_line", symbol.start_line},
                         {"end_line", symbol.end_line},
                         {"signature", or_null(symbol.signature)},
                         {"score", answered.hit.score},
                         {"ranks", by_channel(answered.hit.ranks)},
                         {"summary", or_null(answered.summary)},
                         {"pinned_by", or_null(answered.pinned_by)}};
  if (details.why) {
    object["place_before_rerank"] = or_null(answered.place_before_rerank);
    object["decision"] = decision_json(answered.decision);
  }
  if (details.source()) object["source"] = source_json(answered.source);
  return object;
}

std::string line(const ordered_json& object) {
  return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string answer_json(const Answer& answer, const AnswerDetails& details) {
  ordered_json hits = ordered_json::array();
  for (const AnsweredHit& answered : answer.hits) hits.push_back(hit_json(answered, details));
  return line({{"query", answer.question},
               {"hits", std::move(hits)},
               {"channels", by_channel(answer.channels)},
               {"note", or_null(answer.note)},
               {"guesses", answer.guesses},
               {"did_you_mean", answer.did_you_mean}});
}

std::string answer_json_lines(const Answer& answer, const AnswerDetails& details) {
  std::string lines;
  for (const AnsweredHit& answered : answer.hits) lines += line(hit_json(answered, details));
  return lines;
}

}  // namespace velmora::host::cli
