#include "decision/features.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <span>
#include <string>
#include <utility>

#include "decision/candidate.h"
#include "embedding/word_bag.h"
#include "velmora/utils/path_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::decision {

const std::array<std::string_view, FEATURES> FEATURE_NAMES = {"reciprocal_place",
                                                              "log_place",
                                                              "cosine",
                                                              "cosine_deviation",
                                                              "cosine_reciprocal_rank",
                                                              "name_cosine",
                                                              "docstring_cosine",
                                                              "name_recall",
                                                              "name_precision",
                                                              "parents_recall",
                                                              "parents_precision",
                                                              "signature_recall",
                                                              "signature_precision",
                                                              "path_recall",
                                                              "path_precision",
                                                              "docstring_recall",
                                                              "docstring_precision",
                                                              "line_recall",
                                                              "name_rare_recall",
                                                              "name_rare_deviation",
                                                              "line_rare_recall",
                                                              "line_rare_deviation",
                                                              "name_covered",
                                                              "name_spelled",
                                                              "file_precision",
                                                              "file_covered",
                                                              "pair_recall",
                                                              "short_recall",
                                                              "same_file",
                                                              "same_name",
                                                              "is_type",
                                                              "is_function",
                                                              "is_method",
                                                              "is_constructor",
                                                              "is_constant",
                                                              "is_macro",
                                                              "is_module",
                                                              "is_test",
                                                              "has_docstring",
                                                              "name_words",
                                                              "signature_bytes",
                                                              "docstring_words",
                                                              "path_folders"};

namespace {

namespace retrieval = workers::retrieval;

// A question is as long as its user likes; words beyond so many say nothing new.
constexpr std::size_t MOST_QUESTION_WORDS = 64;
constexpr std::size_t SHORTEST_STEM = 3;
// Differences below this are those of rounding.
constexpr double SMALLEST_UNIT = 1e-9;

// Cuts the ending off a word, so that parse, parses, parsed, parser and parsing become one, as do
// retry and retries.
void stem(std::string& word) {
  constexpr std::array<std::string_view, 6> ENDS = {"ing", "ed", "er", "es", "s", "e"};
  for (const std::string_view end : ENDS) {
    if (!word.ends_with(end) || word.size() < end.size() + SHORTEST_STEM) continue;
    if (end == "s" && word.ends_with("ss")) continue;
    word.resize(word.size() - end.size());
    const std::size_t size = word.size();
    const bool doubled = size > SHORTEST_STEM && word[size - 1] == word[size - 2];
    if (doubled && end.size() >= 2 && end != "es") word.pop_back();
    break;
  }
  if (word.size() >= SHORTEST_STEM && word.back() == 'y') word.back() = 'i';
}

struct Stem {
  std::uint64_t whole = 0;  // its hash
  std::string text;
};

using Stems = std::vector<Stem>;

// In the order of the text, repeats kept.
Stems stems_of(std::string_view text) {
  Stems stems;
  for (std::string& word : retrieval::split_identifier(text)) {
    if (retrieval::STOP_WORDS.contains(word)) continue;
    stem(word);
    stems.push_back({embedding::word_hash(word), std::move(word)});
  }
  return stems;
}

bool has(const Stems& stems, std::uint64_t whole) {
  return std::any_of(stems.begin(), stems.end(),
                     [&](const Stem& other) { return other.whole == whole; });
}

// Each once, in the order of first appearance.
Stems distinct(const Stems& stems, std::size_t most) {
  Stems once;
  for (const Stem& some : stems) {
    if (once.size() == most) break;
    if (!has(once, some.whole)) once.push_back(some);
  }
  return once;
}

// Whether one is the beginning of the other: config and configuration.
bool is_short_for(std::string_view one, std::string_view other) {
  if (one.size() > other.size()) std::swap(one, other);
  return one.size() >= SHORTEST_STEM && other.starts_with(one);
}

double share(std::size_t part, std::size_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

// Of `stems`, how many are among `others`.
std::size_t shared(const Stems& stems, const Stems& others) {
  return static_cast<std::size_t>(std::count_if(
      stems.begin(), stems.end(), [&](const Stem& some) { return has(others, some.whole); }));
}

double log_count(std::size_t count) { return std::log1p(static_cast<double>(count)); }

std::string_view stem_of_file(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view file = path.substr(slash == path.npos ? 0 : slash + 1);
  return file.substr(0, file.rfind('.'));
}

bool same_but_for_case(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

double dot(std::span<const float> left, std::span<const float> right) {
  return std::inner_product(left.begin(), left.end(), right.begin(), 0.0);
}

// What is compared of a candidate.
struct Parts {
  Candidate text;
  Stems name, parents, signature, path, docstring, file, line;
};

Parts parts_of(std::string_view line) {
  Parts parts;
  parts.text = parse_candidate(line);
  const Candidate& text = parts.text;
  parts.name = stems_of(text.name);
  parts.parents = stems_of(text.fqn.substr(0, text.fqn.size() - text.name.size()));
  parts.signature = stems_of(text.signature);
  parts.path = stems_of(text.path);
  parts.docstring = stems_of(text.docstring);
  parts.file = stems_of(stem_of_file(text.path));
  for (const Stems* part :
       {&parts.name, &parts.parents, &parts.signature, &parts.path, &parts.docstring}) {
    parts.line.insert(parts.line.end(), part->begin(), part->end());
  }
  return parts;
}

// The rows, filled group by group.
class Rows {
 public:
  Rows(const engines::DecisionState& state, const embedding::WordModel& model)
      : model_(model),
        question_(distinct(stems_of(state.question), MOST_QUESTION_WORDS)),
        names_(retrieval::query_names(state.question)),
        rows_(state.candidates.size()) {
    for (const std::string& line : state.candidates) parts_.push_back(parts_of(line));
    add_places();
    add_cosines(state.question);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      add_overlaps(i);
      add_kind(i);
      add_neighbours(i);
    }
    add_rare_words();
  }

  std::vector<FeatureRow> take() && { return std::move(rows_); }

 private:
  double& at(std::size_t row, Feature feature) {
    return rows_[row][static_cast<std::size_t>(feature)];
  }

  void add_places() {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      const auto place = static_cast<double>(i + 1);
      at(i, Feature::reciprocal_place) = 1.0 / place;
      at(i, Feature::log_place) = std::log2(1.0 + place);
    }
  }

  void add_cosines(std::string_view question) {
    std::vector<float> asked(model_.dimensions());
    std::vector<float> told(model_.dimensions());
    model_.embed_query(question, asked);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      const Candidate& text = parts_[i].text;
      model_.embed_symbol({.name = text.name,
                           .fqn = text.fqn,
                           .signature = text.signature,
                           .path = text.path,
                           .docstring = text.docstring},
                          told);
      at(i, Feature::cosine) = dot(asked, told);
      model_.embed_query(text.name, told);
      at(i, Feature::name_cosine) = dot(asked, told);
      model_.embed_query(text.docstring, told);
      at(i, Feature::docstring_cosine) = dot(asked, told);
    }
    set_deviation(Feature::cosine, Feature::cosine_deviation);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      std::size_t better = 0;
      for (std::size_t j = 0; j < rows_.size(); ++j) {
        better += at(j, Feature::cosine) > at(i, Feature::cosine) ? 1U : 0U;
      }
      at(i, Feature::cosine_reciprocal_rank) = 1.0 / static_cast<double>(better + 1);
    }
  }

  void set_deviation(Feature of, Feature deviation) {
    double sum = 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < rows_.size(); ++i) sum += at(i, of);
    const double mean = sum / static_cast<double>(rows_.size());
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      at(i, deviation) = at(i, of) - mean;
      squares += at(i, deviation) * at(i, deviation);
    }
    const double unit = std::sqrt(squares / static_cast<double>(rows_.size()));
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      at(i, deviation) = unit > SMALLEST_UNIT ? at(i, deviation) / unit : 0.0;
    }
  }

  void add_overlaps(std::size_t i) {
    const Parts& parts = parts_[i];
    const auto overlap = [&](const Stems& part, Feature recall, Feature precision) {
      at(i, recall) = share(shared(question_, part), question_.size());
      at(i, precision) = share(shared(part, question_), part.size());
    };
    overlap(parts.name, Feature::name_recall, Feature::name_precision);
    overlap(parts.parents, Feature::parents_recall, Feature::parents_precision);
    overlap(parts.signature, Feature::signature_recall, Feature::signature_precision);
    overlap(parts.path, Feature::path_recall, Feature::path_precision);
    overlap(parts.docstring, Feature::docstring_recall, Feature::docstring_precision);
    at(i, Feature::line_recall) = share(shared(question_, parts.line), question_.size());
    at(i, Feature::name_covered) =
        parts.name.size() > 1 && shared(parts.name, question_) == parts.name.size() ? 1.0 : 0.0;
    at(i, Feature::file_precision) = share(shared(parts.file, question_), parts.file.size());
    at(i, Feature::file_covered) = at(i, Feature::file_precision) == 1.0 ? 1.0 : 0.0;
    at(i, Feature::name_spelled) = std::any_of(names_.begin(), names_.end(),
                                               [&](const std::string& name) {
                                                 return same_but_for_case(name, parts.text.name);
                                               })
                                       ? 1.0
                                       : 0.0;
    at(i, Feature::pair_recall) =
        question_.empty() ? 0.0 : share(shared_pairs(parts.name), question_.size() - 1);
    std::size_t prefixes = 0;
    for (const Stem& asked : question_) {
      if (has(parts.name, asked.whole)) continue;
      prefixes += std::any_of(parts.name.begin(), parts.name.end(),
                              [&](const Stem& told) { return is_short_for(asked.text, told.text); })
                      ? 1U
                      : 0U;
    }
    at(i, Feature::short_recall) = share(prefixes, question_.size());
  }

  // Of the question's neighbouring words, how many are neighbours in `name`, in this order.
  [[nodiscard]] std::size_t shared_pairs(const Stems& name) const {
    std::size_t pairs = 0;
    for (std::size_t q = 1; q < question_.size(); ++q) {
      for (std::size_t n = 1; n < name.size(); ++n) {
        if (name[n - 1].whole != question_[q - 1].whole) continue;
        if (name[n].whole != question_[q].whole) continue;
        ++pairs;
        break;
      }
    }
    return pairs;
  }

  void add_kind(std::size_t i) {
    const Parts& parts = parts_[i];
    const std::string_view kind = parts.text.kind;
    const auto set = [&](Feature feature, bool holds) { at(i, feature) = holds ? 1.0 : 0.0; };
    set(Feature::is_type, kind == "class" || kind == "struct" || kind == "union" ||
                              kind == "interface" || kind == "trait" || kind == "enum" ||
                              kind == "type");
    set(Feature::is_function, kind == "function");
    set(Feature::is_method, kind == "method");
    set(Feature::is_constructor, kind == "constructor");
    set(Feature::is_constant, kind == "constant");
    set(Feature::is_macro, kind == "macro");
    set(Feature::is_module, kind == "module");
    set(Feature::is_test, utils::is_test_path(parts.text.path));
    set(Feature::has_docstring, !parts.text.docstring.empty());
    at(i, Feature::name_words) = log_count(parts.name.size());
    at(i, Feature::signature_bytes) = log_count(parts.text.signature.size());
    at(i, Feature::docstring_words) = log_count(parts.docstring.size());
    at(i, Feature::path_folders) = log_count(
        static_cast<std::size_t>(std::count(parts.text.path.begin(), parts.text.path.end(), '/')));
  }

  void add_neighbours(std::size_t i) {
    std::size_t files = 0;
    std::size_t names = 0;
    for (std::size_t j = 0; j < parts_.size(); ++j) {
      if (i == j) continue;
      files += parts_[j].text.path == parts_[i].text.path ? 1U : 0U;
      names += parts_[j].text.name == parts_[i].text.name ? 1U : 0U;
    }
    at(i, Feature::same_file) = share(files, parts_.size() - 1);
    at(i, Feature::same_name) = share(names, parts_.size() - 1);
  }

  void add_rare_words() {
    std::vector<double> rarity;
    double all = 0.0;
    for (const Stem& asked : question_) {
      const auto with =
          static_cast<double>(std::count_if(parts_.begin(), parts_.end(), [&](const Parts& parts) {
            return has(parts.line, asked.whole);
          }));
      rarity.push_back(std::log((static_cast<double>(parts_.size()) + 1.0) / (with + 0.5)));
      all += rarity.back();
    }
    const auto recall = [&](const Stems& part) {
      double sum = 0.0;
      for (std::size_t q = 0; q < question_.size(); ++q) {
        if (has(part, question_[q].whole)) sum += rarity[q];
      }
      return all > 0.0 ? sum / all : 0.0;
    };
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      at(i, Feature::name_rare_recall) = recall(parts_[i].name);
      at(i, Feature::line_rare_recall) = recall(parts_[i].line);
    }
    set_deviation(Feature::name_rare_recall, Feature::name_rare_deviation);
    set_deviation(Feature::line_rare_recall, Feature::line_rare_deviation);
  }

  const embedding::WordModel& model_;
  const Stems question_;
  const std::vector<std::string> names_;
  std::vector<Parts> parts_;
  std::vector<FeatureRow> rows_;
};

}  // namespace

std::string_view subject(Feature feature) {
  switch (feature) {
    case Feature::reciprocal_place:
    case Feature::log_place:
      return "rank";
    case Feature::cosine:
    case Feature::cosine_deviation:
    case Feature::cosine_reciprocal_rank:
    case Feature::name_cosine:
    case Feature::docstring_cosine:
      return "meaning";
    case Feature::name_recall:
    case Feature::name_precision:
    case Feature::name_rare_recall:
    case Feature::name_rare_deviation:
    case Feature::name_covered:
    case Feature::name_spelled:
    case Feature::pair_recall:
    case Feature::short_recall:
    case Feature::same_name:
    case Feature::name_words:
      return "name";
    case Feature::parents_recall:
    case Feature::parents_precision:
      return "qualified name";
    case Feature::signature_recall:
    case Feature::signature_precision:
    case Feature::signature_bytes:
      return "signature";
    case Feature::path_recall:
    case Feature::path_precision:
    case Feature::file_precision:
    case Feature::file_covered:
    case Feature::same_file:
    case Feature::is_test:
    case Feature::path_folders:
      return "path";
    case Feature::docstring_recall:
    case Feature::docstring_precision:
    case Feature::has_docstring:
    case Feature::docstring_words:
      return "docstring";
    case Feature::line_recall:
    case Feature::line_rare_recall:
    case Feature::line_rare_deviation:
      return "words";
    case Feature::is_type:
    case Feature::is_function:
    case Feature::is_method:
    case Feature::is_constructor:
    case Feature::is_constant:
    case Feature::is_macro:
    case Feature::is_module:
      return "kind";
  }
  return {};
}

std::vector<FeatureRow> features(const engines::DecisionState& state,
                                 const embedding::WordModel& model) {
  return Rows(state, model).take();
}

}  // namespace velmora::host::decision
