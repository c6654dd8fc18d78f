#include "cli/excerpt.h"

#include <algorithm>

#include "cli/output.h"

namespace velmora::host::cli {

std::string excerpt(const browse::SourceLines& source, std::int64_t definition,
                    const std::string& indent, const Look& look) {
  std::string text;
  if (source.changed) {
    text += indent +
            look.painted(Ink::notice,
                         "The file changed since it was indexed; the definition may have moved.") +
            "\n";
  }
  const auto count = static_cast<std::int64_t>(source.lines.size());
  const std::size_t width =
      std::to_string(source.first + std::max<std::int64_t>(count, 1) - 1).size();
  std::int64_t number = source.first;
  for (const std::string& line : source.lines) {
    std::string digits = std::to_string(number);
    digits.insert(0, width - digits.size(), ' ');
    text += indent + look.painted(number == definition ? Ink::line : Ink::quiet, digits);
    if (!line.empty()) text += "  " + printable(line);
    text += "\n";
    ++number;
  }
  return text;
}

}  // namespace velmora::host::cli
