#include "agent/symbol_label.h"

#include "browse/definition.h"
#include "browse/limited_text.h"
#include "text/layout.h"

namespace velmora::host::agent {
namespace {

constexpr std::size_t LONGEST_NAME = 200;
constexpr std::size_t MOST_COLUMNS = 160;  // of a signature
constexpr std::string_view SEPARATORS = ".:#";

// The name and what it is a member of: "Store.size", "Store::size".
std::string_view member_name(std::string_view fqn, std::string_view name) {
  if (!fqn.ends_with(name)) return fqn;
  const std::string_view before = fqn.substr(0, fqn.size() - name.size());
  const std::size_t end = before.find_last_not_of(SEPARATORS);
  if (end == std::string_view::npos) return name;
  const std::size_t start = before.find_last_of(SEPARATORS, end);
  return fqn.substr(start == std::string_view::npos ? 0 : start + 1);
}

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

std::string label(const LabelParts& symbol) {
  std::string text = browse::line_range(symbol.start_line, symbol.end_line) + " " +
                     browse::one_line(symbol.kind, LONGEST_NAME) + " ";
  if (!symbol.signature || symbol.signature->empty()) {
    return text + browse::one_line(symbol.fqn, LONGEST_NAME);
  }
  const std::string signature = text::cut_to(text::on_one_line(*symbol.signature), MOST_COLUMNS);
  const bool is_member = symbol.kind == "method" || symbol.kind == "constructor";
  const std::string_view own = is_member ? member_name(symbol.fqn, symbol.name) : symbol.name;
  if (holds(signature, own)) return text + signature;
  const bool is_named = is_member && holds(signature, symbol.name);
  return text + browse::one_line(is_named ? own : symbol.fqn, LONGEST_NAME) + ": " + signature;
}

}  // namespace velmora::host::agent
