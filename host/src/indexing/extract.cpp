// How a file is read: a query marks definitions and what encloses them; the marks, sorted by where
// they begin, are walked with a stack of the open ones, which tells each definition its scope. The
// tree itself is never walked by recursion, so depth costs nothing but the stack's elements.

#include "indexing/extract.h"

#include <tree_sitter/api.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "indexing/body_words.h"
#include "indexing/comments.h"
#include "indexing/language.h"
#include "indexing/parsed_file.h"
#include "indexing/secrets.h"
#include "indexing/source.h"

namespace velmora::host::indexing {
namespace {

// Deeper or longer than people write.
constexpr std::size_t DEEPEST_SCOPE = 64;
constexpr std::size_t LONGEST_NAME = 1024;  // qualified
constexpr std::size_t LONGEST_SIGNATURE = 16384;

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

using Role = Enclosing::Role;

// What a capture's name says of a node.
enum class Mark {
  definition,
  enclosing,
  name,
  last,
  owner,
  package,
  chapter,
  attribute,
  comment,
  condition
};

struct Capture {
  Mark mark = Mark::name;
  Role role = Role::local;  // of what encloses
  std::string kind = {};    // of a definition
};

// "(#any-of? @_name "a" "b")": the text of what is captured is one of those.
struct Condition {
  std::uint32_t capture = 0;
  std::vector<std::string> texts = {};  // none: the pattern has no condition
};

// A language's compiled query; any thread may use it.
struct Query {
  QueryPtr query;
  std::vector<Capture> captures;      // by id
  std::vector<Condition> conditions;  // by pattern
};

Capture read_capture(std::string_view name) {
  constexpr std::string_view DEFINITION = "definition.";
  if (name.starts_with(DEFINITION)) {
    return {.mark = Mark::definition, .kind = std::string(name.substr(DEFINITION.size()))};
  }
  constexpr std::pair<std::string_view, Role> ROLES[] = {
      {"scope", Role::scope},         {"type", Role::type},           {"wrapper", Role::wrapper},
      {"open", Role::open},           {"group", Role::group},         {"friend", Role::friends},
      {"singleton", Role::singleton}, {"condition", Role::condition}, {"returned", Role::returned},
      {"local", Role::local}};
  for (const auto& [word, role] : ROLES) {
    if (word == name) return {.mark = Mark::enclosing, .role = role};
  }
  // What begins so is there for the conditions.
  if (name.starts_with('_')) return {.mark = Mark::condition};
  constexpr std::pair<std::string_view, Mark> MARKS[] = {
      {"owner", Mark::owner},     {"name", Mark::name},       {"last", Mark::last},
      {"package", Mark::package}, {"chapter", Mark::chapter}, {"attribute", Mark::attribute},
      {"comment", Mark::comment}};
  for (const auto& [word, mark] : MARKS) {
    if (word == name) return {.mark = mark};
  }
  throw std::logic_error("unknown capture in a query: " + std::string(name));
}

Condition read_condition(const TSQuery* query, std::uint32_t pattern) {
  std::uint32_t count = 0;
  const TSQueryPredicateStep* steps = ts_query_predicates_for_pattern(query, pattern, &count);
  Condition condition;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (steps[i].type == TSQueryPredicateStepTypeCapture) {
      condition.capture = steps[i].value_id;
    } else if (steps[i].type == TSQueryPredicateStepTypeString) {
      std::uint32_t length = 0;
      const char* text = ts_query_string_value_for_id(query, steps[i].value_id, &length);
      if (i > 0) {
        condition.texts.emplace_back(text, length);
      } else if (std::string_view(text, length) != "any-of?") {
        throw std::logic_error("unknown condition in a query: " + std::string(text, length));
      }
    }
  }
  return condition;
}

bool holds(const Condition& condition, const TSQueryMatch& match, const Source& source) {
  if (condition.texts.empty()) return true;
  for (std::uint16_t i = 0; i < match.capture_count; ++i) {
    if (match.captures[i].index != condition.capture) continue;
    const std::string_view text = source.raw(match.captures[i].node);
    return std::ranges::find(condition.texts, text) != condition.texts.end();
  }
  return false;
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
  for (std::uint32_t i = 0; i < ts_query_pattern_count(compiled.query.get()); ++i) {
    compiled.conditions.push_back(read_condition(compiled.query.get(), i));
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
  Mark mark = Mark::enclosing;
  Role role = Role::local;
  std::string_view kind;
  TSNode node{};
  TSNode name{};
  TSNode last{};
  TSNode owner{};
  Range range;
};

using Nodes = std::unordered_set<const void*>;

// What stands first of what has one range: a body, whether local or open, encloses the one
// definition that it may consist of, and an open one is not local. A definition that is local
// inside encloses itself last.
int layer(const Item& item, const Nodes& defined) {
  if (item.mark != Mark::enclosing) return 2;
  if (item.role == Role::open) return 0;
  if (item.role != Role::local) return 2;
  return defined.contains(item.node.id) ? 3 : 1;
}

// The matches of the query but for comments, those that begin earlier first, then those that
// enclose others, then those of the patterns that stand first in the query. Comments and the names
// of scopes go to `source`.
std::vector<Item> find_items(const Query& query, TSNode root, Source& source) {
  const Cursor cursor(ts_query_cursor_new());
  ts_query_cursor_set_match_limit(cursor.get(), MOST_OPEN_MATCHES);
  ts_query_cursor_exec(cursor.get(), query.query.get(), root);
  std::vector<std::pair<std::uint16_t, Item>> found;
  Nodes defined;
  TSQueryMatch match;
  while (ts_query_cursor_next_match(cursor.get(), &match)) {
    if (!holds(query.conditions[match.pattern_index], match, source)) continue;
    Item item;
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      const Capture& capture = query.captures[match.captures[i].index];
      if (capture.mark == Mark::name) {
        item.name = match.captures[i].node;
      } else if (capture.mark == Mark::last) {
        item.last = match.captures[i].node;
      } else if (capture.mark == Mark::owner) {
        item.owner = match.captures[i].node;
      } else if (capture.mark != Mark::condition) {
        item.mark = capture.mark;
        item.role = capture.role;
        item.kind = capture.kind;
        item.node = match.captures[i].node;
        item.range = range_of(item.node);
      }
    }
    if (item.range.start >= item.range.end) continue;
    if (item.mark == Mark::comment) {
      // Some grammars take the line break along.
      Range& comment = item.range;
      while (comment.end > comment.start && source.text[comment.end - 1] == '\n') --comment.end;
      source.comments.push_back(comment);
      continue;
    }
    if (item.mark == Mark::enclosing && item.role == Role::scope) {
      source.scopes.emplace(source.raw(item.name));
    }
    if (item.mark == Mark::definition) defined.insert(item.node.id);
    found.emplace_back(match.pattern_index, item);
  }
  std::ranges::sort(source.comments, {}, &Range::start);
  std::ranges::stable_sort(found, {}, [&](const auto& entry) {
    const Item& item = entry.second;
    return std::tuple(item.range.start, ~item.range.end, layer(item, defined), entry.first);
  });
  std::vector<Item> items;
  items.reserve(found.size());
  for (auto& entry : found) items.push_back(entry.second);
  return items;
}

class Extraction {
 public:
  Extraction(const Language& language, const Source& source)
      : language_(language),
        source_(source),
        comments_(language, source),
        room_(most_symbol_bytes(source.original.size())) {
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
    add(std::move(symbol), {});
  }

  void walk(const std::vector<Item>& items) {
    TSNode last{};
    for (const Item& item : items) {
      while (!open_.empty() && open_.back().range.end <= item.range.start) open_.pop_back();
      if (ends_broken(item)) end_broken(item);
      const bool is_local = !open_.empty() && open_.back().role == Role::local;
      if (is_local && item.role != Role::returned) continue;
      if (item.mark == Mark::definition) {
        // Two patterns may find one node: the first in the query is the one that counts.
        if (!ts_node_is_null(last) && ts_node_eq(last, item.node)) continue;
        last = item.node;
        define(item);
      } else if (item.mark == Mark::package) {
        // What follows in the file is in this scope. Names beyond the longest count for nothing.
        if (module_.size() <= LONGEST_NAME) module_ = join(module_, source_.line(item.name));
      } else if (item.mark == Mark::chapter) {
        // The same, but it ends what another one began.
        module_ = source_.line(item.name);
      } else if (item.mark == Mark::attribute) {
        attributes_.push_back(item);
      } else {
        open(item);
      }
    }
  }

  std::vector<index::Symbol> take() {
    Range last;
    BodyWords words("");
    for (std::size_t i = 0; i < symbols_.size(); ++i) {
      index::Symbol& symbol = symbols_[i];
      if (symbol.signature) symbol.signature = without_secrets(*symbol.signature);
      if (symbol.docstring) symbol.docstring = without_keys(*symbol.docstring);
      // What one definition declares has one body.
      const Range body = bodies_[i];
      if (body.start != last.start || body.end != last.end) {
        words = BodyWords(source_.original.substr(body.start, body.end - body.start));
        last = body;
      }
      symbol.words = words.beside(symbol);
      charge(symbol.words.size());
    }
    return std::move(symbols_);
  }

 private:
  void open(const Item& item) {
    if (item.role == Role::local && !open_.empty() && open_.back().role == Role::open &&
        open_.back().range == item.range) {
      return;
    }
    Enclosing around{
        .role = item.role, .range = item.range, .start_row = ts_node_start_point(item.node).row};
    if (!ts_node_is_null(item.name)) {
      around.name = language_.scope_name != nullptr ? language_.scope_name(item.name, source_)
                                                    : source_.line(item.name);
    }
    if (around.role == Role::returned) around.role = Role::type;
    around.broken = around.role == Role::local && ts_node_has_error(item.node);
    push(std::move(around));
  }

  // Whether the item is a function that cannot stand in the one that the parser put it into.
  bool ends_broken(const Item& item) const {
    return language_.flat_functions && !open_.empty() && open_.back().broken &&
           item.mark == Mark::definition && item.kind == "function" &&
           ts_node_start_point(item.node).column == 0;
  }

  // Ends what encloses the item but for scopes, and the function before it at its last brace.
  void end_broken(const Item& item) {
    const auto inner = std::ranges::find_if(open_, [](const Enclosing& around) {
      return around.role == Role::type || around.role == Role::local;
    });
    open_.erase(inner, open_.end());
    if (!last_function_) return;
    Range& body = bodies_[*last_function_];
    if (body.start >= item.range.start || body.end <= item.range.start) return;
    const std::string_view text = source_.text.substr(body.start, item.range.start - body.start);
    // Without a brace its body is that of the item: "#else" stands between them.
    const std::size_t brace = text.rfind('}');
    const std::size_t length = brace == std::string_view::npos ? text.size() : brace + 1;
    body.end = body.start + static_cast<std::uint32_t>(length);
    symbols_[*last_function_].end_line = std::int64_t{ts_node_start_point(item.node).row} + 1 -
                                         std::ranges::count(text.substr(length - 1), '\n');
  }

  void push(Enclosing around) {
    const bool too_long = around.name.size() > LONGEST_NAME;
    if (too_long && around.role == Role::wrapper) around.name.clear();
    if (open_.size() >= DEEPEST_SCOPE || (too_long && around.role != Role::wrapper)) {
      around.role = Role::local;
    }
    open_.push_back(std::move(around));
  }

  void define(const Item& item) {
    std::vector<Declared> declared;
    language_.describe({.kind = item.kind,
                        .node = item.node,
                        .name = item.name,
                        .last = item.last,
                        .owner = item.owner},
                       open_, source_, declared);
    if (declared.empty()) return;
    const bool global = declared.front().global;
    const std::string kind = declared.front().kind;
    const std::string scope = join(declared.front().qualifier, declared.front().name);
    if (const auto role = declared.front().only) {
      push({.role = *role, .range = item.range, .name = scope, .global = global});
      return;
    }

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
    // None of those before this definition can stand right before a later one.
    while (!attributes_.empty() && attributes_.back().range.end <= item.range.start) {
      const Item& attribute = attributes_.back();
      if (attribute.range.end <= start_byte &&
          source_.is_blank({attribute.range.end, start_byte})) {
        start = ts_node_start_point(attribute.node);
        start_byte = attribute.range.start;
      }
      attributes_.pop_back();
    }
    const std::optional<std::string> above = comments_.above(start_byte);
    const TSNode end = ts_node_is_null(item.last) ? item.node : item.last;
    for (Declared& one : declared) {
      if (one.name.empty()) continue;
      index::Symbol symbol = place(start, end);
      name(one, symbol);
      if (symbol.fqn.size() > LONGEST_NAME) continue;
      if (continues_last(one, symbol)) {
        symbols_.back().end_line = symbol.end_line;
        bodies_.back().end = ts_node_end_byte(end);
        continue;
      }
      symbol.docstring = one.docstring ? one.docstring : above;
      if (item.kind == "function") last_function_ = symbols_.size();
      add(std::move(symbol), {start_byte, ts_node_end_byte(end)});
      clause_ = std::move(one.clause);
    }
    if (std::ranges::find(SCOPED_KINDS, kind) != std::end(SCOPED_KINDS)) {
      push({.role = Role::type, .range = item.range, .name = scope, .global = global});
    } else if (declared.front().hides) {
      push({.role = Role::local, .range = item.range});
    }
  }

  // Whether it is another clause of the symbol before it.
  bool continues_last(const Declared& declared, const index::Symbol& symbol) const {
    return !declared.clause.empty() && !symbols_.empty() && declared.clause == clause_ &&
           symbol.fqn == symbols_.back().fqn;
  }

  void add(index::Symbol symbol, Range body) {
    if (symbol.signature->size() > LONGEST_SIGNATURE) {
      // Not within a character.
      std::size_t end = LONGEST_SIGNATURE;
      while (end > 0 && (static_cast<unsigned char>((*symbol.signature)[end]) & 0xC0U) == 0x80U) {
        --end;
      }
      symbol.signature->resize(end);
    }
    charge(SYMBOL_OVERHEAD + symbol.fqn.size() + symbol.name.size() + symbol.kind.size() +
           symbol.signature->size() + (symbol.docstring ? symbol.docstring->size() : 0));
    symbols_.push_back(std::move(symbol));
    bodies_.push_back(body);
  }

  void charge(std::size_t bytes) {
    if (bytes > room_) throw TooManySymbolsError("its symbols take too much room");
    room_ -= bytes;
  }

  void name(Declared& declared, index::Symbol& symbol) const {
    std::string scope = module_;  // of everything around
    std::string types;            // of the classes around: the signature begins with them
    for (const Enclosing& around : open_) {
      if (around.global) {
        scope.clear();
        types.clear();
      }
      if (around.role == Role::type && !declared.outside_types) {
        scope = join(scope, around.name);
        types = join(types, around.name);
      } else if (around.role == Role::scope) {
        scope = join(scope, around.name);
      }
    }
    if (declared.global) {
      scope.clear();
      types.clear();
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
  std::vector<Item> attributes_;  // those that stand before what they belong to, so far
  std::vector<index::Symbol> symbols_;
  std::vector<Range> bodies_;  // of the symbols, with decorators; that of a module is empty
  std::optional<std::size_t> last_function_;  // among them
  std::string clause_;                        // what the last symbol is a clause of
  std::size_t room_;                          // that the symbols may still take
};

}  // namespace

std::vector<index::Symbol> find_symbols(const ParsedFile& parsed) {
  const Language& language = parsed.language();
  Source file{.path = parsed.path(), .original = parsed.source(), .text = parsed.text()};
  const std::vector<Item> items = find_items(query_of(language), parsed.root(), file);
  Extraction extraction(language, file);
  extraction.add_module(parsed.root());
  extraction.walk(items);
  return extraction.take();
}

std::vector<index::Symbol> extract_symbols(std::string_view language, std::string_view path,
                                           std::string_view source) {
  return find_symbols(ParsedFile(language, path, source));
}

}  // namespace velmora::host::indexing
