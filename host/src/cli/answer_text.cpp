#include "cli/answer_text.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/excerpt.h"
#include "cli/output.h"
#include "text/layout.h"

namespace velmora::host::cli {
namespace {

using browse::Answer;
using browse::AnswerDetails;
using browse::AnsweredHit;

constexpr std::string_view INDENT = "    ";
constexpr std::size_t MOST_LINES = 3;      // of a signature or a summary on a terminal
constexpr std::size_t MOST_COLUMNS = 300;  // of one elsewhere, where lines are not folded

// A text below the line of its hit. What is folded stands a little further in.
std::string paragraph(std::string_view text, const Look& look) {
  const std::string line = text::on_one_line(text);
  if (line.empty()) return {};
  if (look.width == 0) return std::string(INDENT) + text::cut_to(line, MOST_COLUMNS) + "\n";
  std::string block;
  for (const std::string& part : text::folded(line, look.width - INDENT.size() - 2, MOST_LINES)) {
    if (!block.empty()) block += "  ";
    block.append(INDENT).append(part).append("\n");
  }
  return block;
}

// " because of its name and meaning": what of a hit the decision model moved it for, at most two
// things, the second if it weighs half as much.
std::string because(const decision::JudgedCandidate& decision, bool is_moved_up) {
  std::map<std::string_view, double> gains;
  for (const decision::JudgedFeature& feature : decision.features) {
    gains[feature.subject] += is_moved_up ? feature.gain : -feature.gain;
  }
  std::vector<std::pair<std::string_view, double>> most(gains.begin(), gains.end());
  std::stable_sort(most.begin(), most.end(),
                   [](const auto& left, const auto& right) { return left.second > right.second; });
  std::string text;
  for (std::size_t i = 0; i < std::min<std::size_t>(most.size(), 2); ++i) {
    if (most[i].second <= 0.0 || most[i].second * 2.0 < most[0].second) break;
    text.append(i == 0 ? " because of its " : " and ").append(most[i].first);
  }
  return text;
}

std::string why(const AnsweredHit& answered, std::size_t place) {
  std::string text;
  for (const auto& [channel, rank] : answered.hit.ranks) {
    text += (text.empty() ? "" : ", ") + std::string(browse::channel_word(channel)) + " #" +
            std::to_string(rank);
  }
  if (answered.pinned_by) text += "; first because it is named " + *answered.pinned_by;
  if (const auto before = answered.place_before_rerank) {
    text += *before == place ? "; left in place by the rerank"
                             : "; moved by the rerank from " + std::to_string(*before) + " to " +
                                   std::to_string(place);
    if (answered.decision && *before != place) {
      text += because(*answered.decision, place < *before);
    }
  }
  return text;
}

std::string hit_text(const AnsweredHit& answered, const AnswerDetails& details, std::size_t place,
                     const std::filesystem::path& root, const Look& look) {
  const workers::retrieval::RetrievedSymbol& symbol = answered.hit.symbol;
  std::string text = look.place(root, symbol.path, symbol.start_line) + "  " +
                     printable_line(symbol.kind) + " " +
                     look.painted(Ink::name, printable_line(symbol.fqn)) + "\n";
  if (symbol.signature) text += paragraph(*symbol.signature, look);
  if (answered.summary) text += paragraph(*answered.summary, look);
  const auto quiet = [&](const std::string& line) {
    text += std::string(INDENT) + look.painted(Ink::quiet, line) + "\n";
  };
  if (details.why) quiet(why(answered, place));
  if (answered.source) {
    text += excerpt(*answered.source, symbol.start_line, std::string(INDENT), look);
  } else if (details.source()) {
    quiet("The source cannot be read.");
  }
  return text;
}

}  // namespace

std::string answer_text(const Answer& answer, const AnswerDetails& details,
                        const std::filesystem::path& root, const Look& look) {
  std::string text;
  for (const std::string& remark : browse::remarks(answer)) {
    text += look.painted(Ink::notice, remark) + "\n";
  }
  if (!text.empty() && !answer.hits.empty()) text += "\n";
  std::size_t place = 0;
  for (const AnsweredHit& answered : answer.hits) {
    text += hit_text(answered, details, ++place, root, look) + "\n";
  }
  if (answer.note)
    text += look.painted(Ink::notice, "Note:") + " " + printable(*answer.note) + "\n";
  return text;
}

}  // namespace velmora::host::cli
