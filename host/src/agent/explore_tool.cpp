#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "agent/asking.h"
#include "agent/symbol_label.h"
#include "agent/tool.h"
#include "browse/answer.h"
#include "text/layout.h"
#include "text/printable.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::agent {
namespace {

using browse::Answer;
using browse::AnsweredHit;
using workers::retrieval::RetrieveOptions;

constexpr std::size_t MOST_COLUMNS = 160;  // of a summary
constexpr std::size_t LONGEST_NOTE = 300;

// "[name 1, text 3]": the channels that found it, with its rank in each.
std::string why(const AnsweredHit& answered) {
  std::string text;
  for (const auto& [channel, rank] : answered.hit.ranks) {
    text += (text.empty() ? "[" : ", ") + std::string(browse::channel_word(channel)) + " " +
            std::to_string(rank);
  }
  return text + "]";
}

std::string hit_lines(const AnsweredHit& answered, std::size_t place) {
  std::string text = "#" + std::to_string(place) + " " + label(parts_of(answered.hit.symbol)) +
                     " " + why(answered) + "\n";
  if (answered.summary) text += "  " + text::cut_to(*answered.summary, MOST_COLUMNS) + "\n";
  return text;
}

// The first `shown` hits under their files, the file of the best hit first.
std::string hits_text(const Answer& answer, std::size_t shown) {
  std::vector<std::pair<const std::string*, std::string>> files;
  for (std::size_t i = 0; i < shown; ++i) {
    const std::string& path = answer.hits[i].hit.symbol.path;
    auto file = std::ranges::find_if(files, [&](const auto& one) { return *one.first == path; });
    if (file == files.end()) {
      file = files.insert(files.end(), {&path, text::printable_line(path) + "\n"});
    }
    file->second += hit_lines(answer.hits[i], i + 1);
  }
  std::string text;
  for (const auto& [path, lines] : files) text += lines;
  return text;
}

std::string answer_text(const Answer& answer, std::size_t most) {
  std::string head;
  for (const std::string& remark : browse::remarks(answer)) {
    head += browse::one_line(remark, LONGEST_NOTE) + "\n";
  }
  if (answer.note) head += "Note: " + browse::one_line(*answer.note, LONGEST_NOTE) + "\n";
  if (answer.hits.empty()) head += "Ask with other words, or grep for a literal string.\n";
  return fitted(answer.hits.size(), most, [&](std::size_t shown) {
    const std::size_t left_out = answer.hits.size() - shown;
    std::string text = head + hits_text(answer, shown);
    if (left_out > 0) {
      text += text::counted(left_out, "more hit") +
              " left out: raise max_characters, or narrow by scope.\n";
    }
    return text;
  });
}

std::string explore(const Arguments& arguments, const Asking& asking) {
  const std::string question = arguments.text("question");
  return with_index(arguments, asking, [&](const Ready& ready, std::size_t most) {
    std::string scope;
    if (const auto path = arguments.optional_text("scope")) {
      ready.index->read([&](const index::Catalog& catalog) {
        scope = place_at(catalog, *path, ready.viewpoint());
      });
    }
    RetrieveOptions options{.limit = static_cast<int>(arguments.integer("limit")),
                            .include_tests = arguments.optional_boolean("tests"),
                            .rerank = true};
    if (!scope.empty()) options.scope = scope;
    return answer_text(ready.repository.answer(ready.index, question, options), most);
  });
}

}  // namespace

Tool explore_tool() {
  return {
      .name = "explore",
      .title = "Find code by a question",
      .description =
          "Ranked: the functions, types and other definitions of this repository that best answer a"
          " question, best first, each with path, lines, signature, one-sentence summary and, in"
          " brackets, why it is there (rank by name, text, file, meaning). Use it first whenever"
          " you do not know where something is or what it is called. Not for literal strings or"
          " every use of a name (grep), nor for all definitions of a known name (find). Then show"
          " reads the one you want.",
      .parameters =
          {{.name = "question",
            .description = "What you look for: a sentence, keywords or names, as 'where are retries"
                           " delayed' or 'parse_config'. Not a regular expression.",
            .required = true},
           {.name = "scope",
            .description = "Only in this folder or file, relative to the repository's root."},
           {.name = "limit",
            .type = Parameter::Type::integer,
            .description = "The most hits.",
            .least = 1,
            .most = 100,
            .standard = 10},
           {.name = "tests",
            .type = Parameter::Type::boolean,
            .description = "true: code of tests too; false: none of it. Absent: only if the"
                           " question speaks of tests."},
           max_characters_parameter(),
           repo_parameter()},
      .answer = explore};
}

}  // namespace velmora::host::agent
