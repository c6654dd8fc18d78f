// How a file is read: a query marks definitions and what encloses them; the marks, sorted by where
// they begin, are walked with a stack of the open ones, which tells each definition its scope. The
// tree itself is never walked by recursion, so depth costs nothing but the stack's elements.

#include "velmora/host/indexing/extract.h"

#include <tree_sitter/api.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "indexing/comments.h"
#include "indexing/extraction_version.h"
#include "indexing/language.h"
#include "indexing/parsed_file.h"
#include "indexing/secrets.h"
#include "indexing/source.h"

namespace velmora::host::indexing {
namespace {

// Deeper or longer than people write; the limits bound the length of qualified names.
constexpr std::size_t DEEPEST_SCOPE = 64;
constexpr std::size_t LONGEST_NAME = 1024;

// Patterns that wait for a child at once: deep nesting must not make the query slow.
constexpr std::uint32_t MOST_OPEN_MATCHES = 64;

// The kinds of definitions that qualify the names of what stands in them.
constexpr std::string_view SCOPED_KINDS[] = {"class",     "struct", "union",
                                             "interface", "trait",  "enum"};

template <auto Delete>
struct Deleter {
  template <class T>
  void operator()(T* object) const {
    Delete(object);
  }
};
using Cursor = std::unique_ptr<TSQueryCursor, Deleter<ts_query_cursor_delete>>;
using QueryPtr = std::unique_ptr<TSQuery, Deleter<ts_query_delete>>;

// What a capture's name says of a node.
enum class Mark {
  definition,
  name,
  last,
  package,
  chapter,
  scope,
  type,
  wrapper,
  friends,
  guard,
  local,
  attribute,
  comment
};

struct Capture {
  Mark mark = Mark::name;
  std::string kind;  // of a definition
};

// A language's compiled query; any thread may use it.
struct Query {
  QueryPtr query;
  std::vector<Capture> captures;  // by id
};

Capture read_capture(std::string_view name) {
  constexpr std::string_view DEFINITION = "definition.";
  if (name.starts_with(DEFINITION)) {
    return {Mark::definition, std::string(name.substr(DEFINITION.size()))};
  }
  constexpr std::pair<std::string_view, Mark> MARKS[] = {
      {"last", Mark::last},       {"name", Mark::name},           {"chapter", Mark::chapter},
      {"package", Mark::package}, {"scope", Mark::scope},         {"type", Mark::type},
      {"wrapper", Mark::wrapper}, {"friend", Mark::friends},      {"guard", Mark::guard},
      {"local", Mark::local},     {"attribute", Mark::attribute}, {"comment", Mark::comment}};
  for (const auto& [word, mark] : MARKS) {
    if (word == name) return {mark, {}};
  }
  throw std::logic_error("unknown capture in a query: " + std::string(name));
}

Query compile(const Language& language) {
  std::string text;
  for (const std::string_view part : language.queries) text += part;
  std::uint32_t offset = 0;
  TSQueryError error = TSQueryErrorNone;
  Query compiled;
  compiled.query.reset(ts_query_new(language.grammar(), text.data(),
                                    static_cast<std::uint32_t>(text.size()), &offset, &error));
  if (!compiled.query) {
    throw std::logic_error("the query for " + std::string(language.name) +
                           " does not fit its grammar at: " + text.substr(offset, 40));
  }
  for (std::uint32_t id = 0; id < ts_query_capture_count(compiled.query.get()); ++id) {
    std::uint32_t length = 0;
    const char* name = ts_query_capture_name_for_id(compiled.query.get(), id, &length);
    compiled.captures.push_back(read_capture({name, length}));
  }
  return compiled;
}

const Query& query_of(const Language& language) {
  static std::mutex mutex;
  static std::unordered_map<const Language*, Query> compiled;
  const std::lock_guard lock(mutex);
  const auto found = compiled.find(&language);
  if (found != compiled.end()) return found->second;
  return compiled.emplace(&language, compile(language)).first->second;
}

struct Item {
  Mark mark = Mark::local;
  std::string_view kind;
  TSNode node{};
  TSNode name{};
  TSNode last{};
  Range range;
};

// The matches of the query, those that begin earlier first, then those that enclose others, then
// those of the patterns that stand first in the query.
std::vector<Item> find_items(const Query& query, TSNode root, const Deadline& deadline) {
  const Cursor cursor(ts_query_cursor_new());
  ts_query_cursor_set_match_limit(cursor.get(), MOST_OPEN_MATCHES);
  ts_query_cursor_set_timeout_micros(cursor.get(), deadline.left());
  ts_query_cursor_exec(cursor.get(), query.query.get(), root);
  std::vector<std::pair<std::uint16_t, Item>> found;
  TSQueryMatch match;
  while (ts_query_cursor_next_match(cursor.get(), &match)) {
    Item item;
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      const Capture& capture = query.captures[match.captures[i].index];
      if (capture.mark == Mark::name) {
        item.name = match.captures[i].node;
      } else if (capture.mark == Mark::last) {
        item.last = match.captures[i].node;
      } else {
        item.mark = capture.mark;
        item.kind = capture.kind;
        item.node = match.captures[i].node;
        item.range = range_of(item.node);
      }
    }
    if (item.range.start < item.range.end) found.emplace_back(match.pattern_index, item);
  }
  // A cursor that ran out of time ends like one that is done.
  deadline.check();
  std::ranges::stable_sort(found, {}, [](const auto& entry) {
    return std::tuple(entry.second.range.start, ~entry.second.range.end, entry.first);
  });
  std::vector<Item> items;
  items.reserve(found.size());
  for (auto& entry : found) items.push_back(entry.second);
  return items;
}

class Extraction {
 public:
  Extraction(const Language& language, const Source& source)
      : language_(language), source_(source), comments_(language, source) {
    if (language.module != nullptr) module_ = language.module(source.path);
  }

  void add_module(TSNode root) {
    if (language_.module_docstring == nullptr) return;
    std::optional<ModuleDocstring> found = language_.module_docstring(root, source_, comments_);
    if (!found) return;
    comments_.start_at(found->range.end);
    index::Symbol symbol;
    symbol.language = language_.name;
    symbol.path = source_.path;
    symbol.start_line = source_.line_number(found->range.start);
    // Neither its closing quotes nor a line break belong to it.
    const std::size_t last = source_.text.substr(0, found->range.end).find_last_not_of(" \t\r\n");
    symbol.end_line = source_.line_number(static_cast<std::uint32_t>(last));
    symbol.kind = "module";
    symbol.fqn = found->name.empty() ? module_ : std::move(found->name);
    const std::size_t stop = symbol.fqn.find_last_of("./:");
    symbol.name = symbol.fqn.substr(stop == std::string::npos ? 0 : stop + 1);
    symbol.signature = symbol.fqn;
    symbol.docstring = std::move(found->text);
    symbols_.push_back(std::move(symbol));
  }

  void walk(const std::vector<Item>& items, const Deadline& deadline) {
    TSNode last{};
    for (const Item& item : items) {
      deadline.check();
      while (!open_.empty() && open_.back().range.end <= item.range.start) open_.pop_back();
      if (!open_.empty() && open_.back().role == Enclosing::Role::local) continue;
      if (item.mark == Mark::definition) {
        // Two patterns may find one node: the first in the query is the one that counts.
        if (!ts_node_is_null(last) && ts_node_eq(last, item.node)) continue;
        last = item.node;
        define(item);
      } else if (item.mark == Mark::package) {
        // What follows in the file is in this scope.
        module_ = join(module_, source_.line(item.name));
      } else if (item.mark == Mark::chapter) {
        // The same, but it ends what another one began.
        module_ = source_.line(item.name);
      } else if (item.mark == Mark::attribute) {
        attributes_.push_back(item.node);
      } else {
        open(item);
      }
    }
  }

  std::vector<index::Symbol> take() {
    for (index::Symbol& symbol : symbols_) {
      if (symbol.signature) symbol.signature = without_secrets(*symbol.signature);
      if (symbol.docstring) symbol.docstring = without_keys(*symbol.docstring);
    }
    return std::move(symbols_);
  }

 private:
  using Role = Enclosing::Role;

  void open(const Item& item) {
    Enclosing around{.range = item.range, .start_row = ts_node_start_point(item.node).row};
    if (!ts_node_is_null(item.name)) around.name = source_.line(item.name);
    switch (item.mark) {
      case Mark::scope:
        around.role = Role::scope;
        break;
      case Mark::type:
        around.role = Role::type;
        break;
      case Mark::wrapper:
        around.role = Role::wrapper;
        break;
      case Mark::friends:
        around.role = Role::friends;
        break;
      case Mark::guard:
        around.role = Role::guard;
        break;
      default:
        around.role = Role::local;
        break;
    }
    push(std::move(around));
  }

  void push(Enclosing around) {
    if (open_.size() >= DEEPEST_SCOPE || around.name.size() > LONGEST_NAME) {
      around.role = Role::local;
    }
    open_.push_back(std::move(around));
  }

  void define(const Item& item) {
    std::vector<Declared> declared;
    language_.describe({.kind = item.kind, .node = item.node, .name = item.name, .last = item.last},
                       open_, source_, declared);
    if (declared.empty()) return;
    const std::string kind = declared.front().kind;
    const std::string scope = join(declared.front().qualifier, declared.front().name);

    // What stands before the definition and belongs to it: decorators, a template's header.
    TSPoint start = ts_node_start_point(item.node);
    std::uint32_t start_byte = item.range.start;
    for (std::size_t i = open_.size(); i > 0; --i) {
      Enclosing& around = open_[i - 1];
      if (around.role != Role::wrapper || around.used) break;
      around.used = true;
      start = {.row = around.start_row, .column = 0};
      start_byte = around.range.start;
    }
    for (std::size_t i = attributes_.size(); i > 0; --i) {
      const Range attribute = range_of(attributes_[i - 1]);
      if (attribute.end > start_byte || !source_.line(Range{attribute.end, start_byte}).empty())
        break;
      start = ts_node_start_point(attributes_[i - 1]);
      start_byte = attribute.start;
    }
    const std::optional<std::string> above = comments_.above(start_byte);
    for (Declared& one : declared) {
      if (one.name.empty() || one.name.size() + one.qualifier.size() > LONGEST_NAME) continue;
      index::Symbol symbol = place(start, ts_node_is_null(item.last) ? item.node : item.last);
      name(one, symbol);
      symbol.docstring = one.docstring ? one.docstring : above;
      symbols_.push_back(std::move(symbol));
    }
    if (std::ranges::find(SCOPED_KINDS, kind) != std::end(SCOPED_KINDS)) {
      push({.role = Role::type, .range = item.range, .name = scope});
    }
  }

  void name(Declared& declared, index::Symbol& symbol) const {
    std::string scope = module_;  // of everything around
    std::string types;            // of the classes around: the signature begins with them
    for (const Enclosing& around : open_) {
      if (around.role == Role::type && !declared.outside_types) {
        scope = join(scope, around.name);
        types = join(types, around.name);
      } else if (around.role == Role::scope) {
        scope = join(scope, around.name);
      }
    }
    const std::string_view separator =
        declared.separator.empty() ? language_.separator : declared.separator;
    const auto cite = [&](const std::string& around) {
      const std::string owner = join(around, declared.qualifier);
      return owner.empty() || separator.empty()
                 ? declared.name
                 : std::string(owner).append(separator) + declared.name;
    };
    symbol.fqn = cite(scope);
    symbol.signature = cite(types) + declared.arguments + declared.signature;
    symbol.kind = std::move(declared.kind);
    symbol.name = std::move(declared.name);
  }

  std::string join(std::string_view scope, std::string_view own) const {
    if (scope.empty() || language_.separator.empty()) return std::string(own);
    if (own.empty()) return std::string(scope);
    return std::string(scope).append(language_.separator).append(own);
  }

  index::Symbol place(TSPoint start, TSNode node) const {
    TSPoint end = ts_node_end_point(node);
    // A node that takes blanks and line breaks along ends on a line before.
    for (std::uint32_t i = ts_node_end_byte(node); i > ts_node_start_byte(node); --i) {
      const char c = source_.text[i - 1];
      if (c == '\n' && end.row > start.row) --end.row;
      if (c != '\n' && c != '\r' && c != ' ' && c != '\t') break;
    }
    index::Symbol symbol;
    symbol.language = language_.name;
    symbol.path = source_.path;
    symbol.start_line = std::int64_t{start.row} + 1;
    symbol.end_line = std::int64_t{end.row} + 1;
    return symbol;
  }

  const Language& language_;
  const Source& source_;
  Comments comments_;
  std::string module_;
  std::vector<Enclosing> open_;
  std::vector<TSNode> attributes_;  // those that stand before what they belong to, so far
  std::vector<index::Symbol> symbols_;
};

}  // namespace

constinit const std::string_view EXTRACTION_VERSION = VERSION;

void load_query(const Language& language) { static_cast<void>(query_of(language)); }

std::vector<index::Symbol> find_symbols(const ParsedFile& parsed, const Deadline& deadline) {
  const Language& language = parsed.language();
  Source file{.path = parsed.path(), .original = parsed.source(), .text = parsed.text()};
  std::vector<Item> items = find_items(query_of(language), parsed.root(), deadline);
  for (const Item& item : items) {
    if (item.mark == Mark::comment) {
      // Some grammars take the line break along.
      Range comment = item.range;
      while (comment.end > comment.start && file.text[comment.end - 1] == '\n') --comment.end;
      file.comments.push_back(comment);
    }
    if (item.mark == Mark::scope) file.scopes.emplace(file.raw(item.name));
  }
  std::erase_if(items, [](const Item& item) { return item.mark == Mark::comment; });

  Extraction extraction(language, file);
  extraction.add_module(parsed.root());
  extraction.walk(items, deadline);
  return extraction.take();
}

std::vector<index::Symbol> extract_symbols(std::string_view language, std::string_view path,
                                           std::string_view source, const ExtractOptions& options) {
  load_query(language_named(language, path));
  const Deadline deadline(options.timeout);
  return find_symbols(ParsedFile(language, path, source, deadline), deadline);
}

}  // namespace velmora::host::indexing
