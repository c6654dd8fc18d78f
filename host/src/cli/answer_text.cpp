#include "cli/answer_text.h"

#include <algorithm>
#include <string_view>

#include "cli/excerpt.h"
#include "cli/output.h"
#include "cli/text_layout.h"

namespace velmora::host::cli {
namespace {

constexpr std::string_view INDENT = "    ";
constexpr std::size_t MOST_LINES = 3;      // of a signature or a summary on a terminal
constexpr std::size_t MOST_COLUMNS = 300;  // of one elsewhere, where lines are not folded

// The channel as people know it.
std::string_view channel_word(std::string_view channel) {
  if (channel == workers::retrieval::LEXICAL) return "text";
  if (channel == workers::retrieval::SEMANTIC) return "meaning";
  return channel;
}

// A text below the line of its hit. What is folded stands a little further in.
std::string paragraph(std::string_view text, const Look& look) {
  const std::string line = on_one_line(text);
  if (line.empty()) return {};
  if (look.width == 0) return std::string(INDENT) + cut_to(line, MOST_COLUMNS) + "\n";
  std::string block;
  for (const std::string& part : folded(line, look.width - INDENT.size() - 2, MOST_LINES)) {
    if (!block.empty()) block += "  ";
    block.append(INDENT).append(part).append("\n");
  }
  return block;
}

std::string why(const AnsweredHit& answered, std::size_t place) {
  std::string text;
  for (const auto& [channel, rank] : answered.hit.ranks) {
    text += (text.empty() ? "" : ", ") + std::string(channel_word(channel)) + " #" +
            std::to_string(rank);
  }
  if (answered.pinned_by) text += "; first because it is named " + *answered.pinned_by;
  if (const auto before = answered.place_before_rerank) {
    text += *before == place ? "; left in place by the rerank"
                             : "; moved by the rerank from " + std::to_string(*before) + " to " +
                                   std::to_string(place);
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

std::vector<std::string> remarks(const Answer& answer) {
  std::vector<std::string> sentences;
  if (answer.guesses) {
    sentences.emplace_back("Nothing matches by name or text; these are guesses by meaning.");
  }
  if (answer.hits.empty()) {
    sentences.emplace_back("No symbol of the index answers this question.");
  }
  if (!answer.did_you_mean.empty()) {
    std::string names;
    for (const std::string& name : answer.did_you_mean) {
      names += (names.empty() ? "" : ", ") + printable_line(name);
    }
    sentences.push_back("Did you mean: " + names + "?");
  }
  return sentences;
}

std::string answer_text(const Answer& answer, const AnswerDetails& details,
                        const std::filesystem::path& root, const Look& look) {
  std::string text;
  for (const std::string& remark : remarks(answer)) {
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
