#include "workers/retrieval/channel_note.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {
namespace {

// What each channel ranks by.
std::string_view basis(std::string_view channel) {
  if (channel == EXACT) return "name";
  if (channel == SEMANTIC) return "meaning";
  return "text";
}

void add_once(std::vector<std::string_view>& texts, std::string_view text) {
  if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
}

std::string joined(const std::vector<std::string_view>& texts, std::string_view separator) {
  std::string text;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i != 0) text += separator;
    text += texts[i];
  }
  return text;
}

}  // namespace

std::optional<std::string> channel_note(const ChannelMap<Channel>& channels) {
  std::vector<std::string_view> missing;
  std::vector<std::string_view> bases;
  std::vector<std::string> partial;
  for (const auto& [name, channel] : channels) {
    if (channel.status == OK || channel.status == PARTIAL) add_once(bases, basis(name));
    if (!channel.problem || channel.problem->empty()) continue;
    if (channel.status == PARTIAL) {
      partial.push_back(utils::uppercase_first(*channel.problem) + ".");
    } else {
      add_once(missing, *channel.problem);
    }
  }
  std::vector<std::string_view> sentences;
  std::string without;
  if (!missing.empty()) {
    without = "Ranked by ";
    without += bases.empty() ? "nothing" : joined(bases, " and ");
    without.append(" only: ").append(joined(missing, "; ")).append(".");
    sentences.push_back(without);
  }
  sentences.insert(sentences.end(), partial.begin(), partial.end());
  if (sentences.empty()) return std::nullopt;
  return joined(sentences, " ");
}

}  // namespace velmora::workers::retrieval::internal
