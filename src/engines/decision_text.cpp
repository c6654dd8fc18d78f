#include "velmora/engines/decision_text.h"

#include "utils/unicode.h"
#include "velmora/engines/decision.h"

namespace velmora::engines {
namespace {

constexpr std::size_t LINE_CHARACTERS = 300;

// The text up to the first full stop, question or exclamation mark that white space or the end
// follows.
std::string_view first_sentence(std::string_view text) {
  text = utils::trim(text);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '.' && text[i] != '!' && text[i] != '?') continue;
    const std::string_view rest = text.substr(i + 1);
    if (rest.empty() || utils::is_white_space(utils::first_character(rest))) {
      return text.substr(0, i + 1);
    }
  }
  return text;
}

// The text with white space folded to single spaces, cut to `characters` characters.
std::string folded(std::string_view text, std::size_t characters) {
  std::string line;
  text = utils::trim(text);
  bool in_space = false;
  for (std::size_t count = 0; count < characters && !text.empty();) {
    const utils::Character character = utils::first_character(text);
    const bool space = utils::is_white_space(character);
    if (!space || !in_space) {
      line += space ? " " : text.substr(0, character.length);
      ++count;
    }
    in_space = space;
    text.remove_prefix(character.length);
  }
  return line;
}

}  // namespace

bool source_consented(RerankClient& client) {
  auto* decisions = dynamic_cast<DecisionClient*>(&client);
  return decisions != nullptr && decisions->source_consent();
}

std::string candidate_line(std::string_view fqn, std::string_view kind,
                           std::optional<std::string_view> docstring,
                           std::optional<std::string_view> signature, bool consent,
                           CandidateLineOptions options) {
  std::string line(kind);
  line.append(" ").append(fqn).append(" in ").append(options.path);
  if (consent && signature) line.append(": ").append(*signature);
  if (consent && docstring) line.append(" - ").append(first_sentence(*docstring));
  return folded(line, LINE_CHARACTERS);
}

}  // namespace velmora::engines
