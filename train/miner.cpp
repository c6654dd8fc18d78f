#include "miner.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "indexing/git_program.h"
#include "indexing/parse_worker.h"
#include "question_text.h"
#include "velmora/host/indexing/repository_scan.h"
#include "velmora/utils/path_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
namespace retrieval = workers::retrieval;
using host::index::Symbol;
using host::indexing::run_git;

constexpr std::size_t FEWEST_WORDS = 2;

bool says_enough(std::string_view question) {
  return retrieval::query_terms(question).size() >= FEWEST_WORDS;
}

// The lines from `first` to `last` of a file as a commit left it.
struct Lines {
  std::int64_t first = 0;
  std::int64_t last = 0;
  bool is_gap = false;  // these are the two lines between which others were taken away
};

struct ChangedFile {
  std::string path;
  std::vector<Lines> lines;
};

struct Commit {
  std::string hash;
  std::string subject;
  std::vector<ChangedFile> files;
};

std::int64_t number_at(std::string_view& text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return 0;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// The new lines of "@@ -a,b +c,d @@".
Lines lines_of_hunk(std::string_view header) {
  header.remove_prefix(std::min(header.find('+') + 1, header.size()));
  const std::int64_t first = number_at(header);
  std::int64_t count = 1;
  if (header.starts_with(',')) {
    header.remove_prefix(1);
    count = number_at(header);
  }
  if (count == 0) return {first, first + 1, true};
  return {first, first + count - 1};
}

constexpr std::string_view COMMIT_MARK = "\x01";
constexpr std::string_view SUBJECT_MARK = "\x02";
constexpr std::string_view NEW_FILE_MARK = "+++ b/";

// Reads what `git log -p -U0` prints. Within a hunk every line begins with '+', '-' or '\', so that
// no text of a file is taken for a mark, but for added lines that begin with "++ b/": a "+++"
// counts only behind a "---".
class LogReader {
 public:
  void take(std::string_view text) {
    for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n')) {
      keep(text.substr(0, end));
      take_line(line_);
      line_.clear();
      text.remove_prefix(end + 1);
    }
    keep(text);
  }

  std::vector<Commit> commits;

 private:
  // The beginning of a line tells what it is; lines may be as long as files.
  void keep(std::string_view text) {
    constexpr std::size_t LONGEST = 4096;
    line_.append(text.substr(0, LONGEST - std::min(line_.size(), LONGEST)));
  }

  void take_line(std::string_view line) {
    if (line.starts_with(COMMIT_MARK)) {
      const std::size_t mark = std::min(line.find(SUBJECT_MARK), line.size() - 1);
      commits.push_back(
          {std::string(line.substr(1, mark - 1)), std::string(line.substr(mark + 1)), {}});
      in_header_ = false;
    } else if (line.starts_with("diff --git ")) {
      in_header_ = true;
      file_ = nullptr;
    } else if (in_header_ && line.starts_with(NEW_FILE_MARK) && !commits.empty()) {
      line.remove_prefix(NEW_FILE_MARK.size());
      if (line.ends_with('\t')) line.remove_suffix(1);  // git marks names with spaces
      commits.back().files.push_back({std::string(line), {}});
      file_ = &commits.back().files.back();
    } else if (line.starts_with("@@ ")) {
      in_header_ = false;
      if (file_ != nullptr) file_->lines.push_back(lines_of_hunk(line));
    }
  }

  std::string line_;
  bool in_header_ = false;
  ChangedFile* file_ = nullptr;
};

std::string key_of(std::string_view path, std::string_view fqn) {
  return std::string(path) + "\n" + std::string(fqn);
}

// The innermost function around a line, or null.
const Symbol* function_at(const std::vector<Symbol>& symbols, std::int64_t line) {
  const Symbol* innermost = nullptr;
  for (const Symbol& symbol : symbols) {
    if (line < symbol.start_line || line > symbol.end_line) continue;
    if (!models::CALLABLE_KINDS.contains(symbol.kind)) continue;
    if (innermost == nullptr ||
        symbol.end_line - symbol.start_line < innermost->end_line - innermost->start_line) {
      innermost = &symbol;
    }
  }
  return innermost;
}

// The functions that the lines lie in, each once, in the order of the lines.
std::vector<std::string> changed_functions(const ChangedFile& file,
                                           const std::vector<Symbol>& symbols) {
  std::vector<std::string> fqns;
  for (const Lines& lines : file.lines) {
    // What was taken away between two functions was in neither.
    if (lines.is_gap && function_at(symbols, lines.first) != function_at(symbols, lines.last)) {
      continue;
    }
    for (std::int64_t line = lines.first; line <= lines.last; ++line) {
      const Symbol* function = function_at(symbols, line);
      if (function != nullptr && std::find(fqns.begin(), fqns.end(), function->fqn) == fqns.end()) {
        fqns.push_back(function->fqn);
      }
    }
  }
  return fqns;
}

// Processes that parse, for threads that share them.
class Parsers {
 public:
  using Parser = host::indexing::ParseWorker;
  using Lent = std::unique_ptr<Parser, std::function<void(Parser*)>>;

  // One that no other thread has; it comes back by itself.
  Lent take() {
    const std::lock_guard guard(lock_);
    if (idle_.empty()) {
      idle_.push_back(std::make_unique<Parser>(fs::path(), host::indexing::ParseLimits()));
    }
    Parser* const parser = idle_.back().release();
    idle_.pop_back();
    return {parser, [this](Parser* back) {
              const std::lock_guard returning(lock_);
              idle_.emplace_back(back);
            }};
  }

 private:
  std::mutex lock_;
  std::vector<std::unique_ptr<Parser>> idle_;
};

bool is_wanted(const Commit& commit, const MinerOptions& options) {
  return !commit.files.empty() && commit.files.size() <= options.most_files &&
         !commit.subject.starts_with("Revert") && !commit.subject.starts_with("revert") &&
         says_enough(question_of_subject(commit.subject));
}

}  // namespace

Mined mine(const fs::path& root, Workers& workers, const MinerOptions& options) {
  const fs::path absolute = fs::canonical(root);
  Mined mined;
  mined.tree.repository = absolute.filename().string();
  // First: it tells in a moment that there is no history.
  LogReader log;
  run_git(absolute,
          {"log", "--no-merges", "--no-renames", "--no-color", "--no-ext-diff", "--no-textconv",
           "--no-show-signature", "--no-notes", "--no-mailmap", "--submodule=short", "--relative",
           "--src-prefix=a/", "--dst-prefix=b/", "-p", "-U0", "--format=%x01%H%x02%s",
           "--max-count=" + std::to_string(options.commits), "--", "."},
          [&](std::string_view text) { log.take(text); });
  std::erase_if(log.commits, [&](const Commit& commit) { return !is_wanted(commit, options); });

  std::unordered_map<std::string, std::string> languages;  // of the files of today
  std::unordered_map<std::string, std::size_t> symbols;    // by path and fqn
  host::indexing::RepositoryScan scan(absolute);
  while (std::optional<host::indexing::ScannedFile> file = scan.next()) {
    languages.emplace(file->file.path, file->file.language);
    for (const Symbol& symbol : file->symbols) {
      if (!retrieval::RETRIEVABLE_KINDS.contains(symbol.kind)) continue;
      symbols.emplace(key_of(symbol.path, symbol.fqn), mined.tree.symbols.size());
      mined.tree.symbols.push_back({.fqn = symbol.fqn,
                                    .name = symbol.name,
                                    .kind = symbol.kind,
                                    .language = symbol.language,
                                    .path = symbol.path,
                                    .start_line = symbol.start_line,
                                    .end_line = symbol.end_line,
                                    .signature = symbol.signature.value_or(""),
                                    .docstring = symbol.docstring.value_or(""),
                                    .body = symbol.words});
    }
  }
  const auto pair_of = [&](const TreeSymbol& symbol, PairKind kind, std::string question) {
    return Pair{.repository = mined.tree.repository,
                .kind = kind,
                .query = std::move(question),
                .name = symbol.name,
                .fqn = symbol.fqn,
                .signature = symbol.signature,
                .path = symbol.path,
                .docstring = kind == PairKind::commit ? symbol.docstring : ""};
  };
  for (const TreeSymbol& symbol : mined.tree.symbols) {
    std::string question = first_sentence(symbol.docstring, symbol.name);
    if (utils::is_test_path(symbol.path) || !says_enough(question)) continue;
    mined.docs.push_back(pair_of(symbol, PairKind::doc, std::move(question)));
  }

  Parsers parsers;
  // Line numbers are those of the commit, so each file is parsed as the commit left it.
  std::vector<std::vector<std::size_t>> changed(log.commits.size());
  workers.run(log.commits.size(), [&](std::size_t number) {
    const Commit& commit = log.commits[number];
    for (const ChangedFile& file : commit.files) {
      const auto language = languages.find(file.path);
      if (language == languages.end() || language->second.empty()) continue;
      if (utils::is_test_path(file.path)) continue;
      std::string source;
      run_git(absolute, {"cat-file", "blob", commit.hash + ":./" + file.path},
              [&](std::string_view text) { source += text; });
      // What a file that was left out holds is not known.
      const host::indexing::Parsed then = parsers.take()->parse(
          {.language = language->second, .path = file.path, .source = source});
      for (const std::string& fqn : changed_functions(file, then.symbols)) {
        const auto today = symbols.find(key_of(file.path, fqn));
        if (today != symbols.end()) changed[number].push_back(today->second);
      }
    }
  });
  for (std::size_t number = 0; number < log.commits.size(); ++number) {
    if (changed[number].size() > options.most_functions) continue;
    for (const std::size_t symbol : changed[number]) {
      mined.commits.push_back(pair_of(mined.tree.symbols[symbol], PairKind::commit,
                                      question_of_subject(log.commits[number].subject)));
    }
  }
  return mined;
}

}  // namespace velmora::train
