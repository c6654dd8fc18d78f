#include "cli/hyperlink.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "cli/output.h"

namespace velmora::host::cli {
namespace {

struct Alias {
  std::string_view name;
  std::string_view format;  // empty: no links
};

// By name.
constexpr std::array ALIASES = {
    Alias{"auto", "file://{host}{path}"},
    Alias{"cursor", "cursor://file{path}:{line}:{column}"},
    Alias{"file", "file://{host}{path}"},
    Alias{"idea", "idea://open?file={path}&line={line}&column={column}"},
    Alias{"kitty", "file://{host}{path}#{line}"},
    Alias{"macvim", "mvim://open?url=file://{path}&line={line}&column={column}"},
    Alias{"none", ""},
    Alias{"textmate", "txmt://open?url=file://{path}&line={line}&column={column}"},
    Alias{"vscode", "vscode://file{path}:{line}:{column}"},
    Alias{"vscode-insiders", "vscode-insiders://file{path}:{line}:{column}"},
    Alias{"vscodium", "vscodium://file{path}:{line}:{column}"},
    Alias{"zed", "zed://file{path}:{line}:{column}"},
};

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_number(char c) { return c >= '0' && c <= '9'; }

std::string escaped(std::string_view text) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string url;
  for (const char c : text) {
    if (is_letter(c) || is_number(c) || std::string_view("/-._~").find(c) != std::string::npos) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url.append({'%', DIGITS[byte >> 4], DIGITS[byte & 15]});
    }
  }
  return url;
}

std::string host_name() {
  std::array<char, 256> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

// Calls `plain` with the text between placeholders and `placeholder` with the name of each, which
// is the whole rest for one that has no end.
template <class Plain, class Placeholder>
void walk(std::string_view format, Plain plain, Placeholder placeholder) {
  while (!format.empty()) {
    const std::size_t open = std::min(format.find('{'), format.size());
    plain(format.substr(0, open));
    format.remove_prefix(open);
    if (format.empty()) return;
    const std::size_t close = format.find('}');
    if (close == std::string_view::npos) return placeholder(format);
    placeholder(format.substr(1, close - 1));
    format.remove_prefix(close + 1);
  }
}

void require_format(std::string_view format) {
  const auto refuse = [&](const std::string& fault) {
    throw std::invalid_argument("\"" + printable_line(format) + "\" " + fault);
  };
  const std::size_t colon = format.find(':');
  if (colon == std::string_view::npos) {
    refuse("is neither a format with {path} nor one of " + hyperlink_aliases());
  }
  if (!is_letter(format[0])) refuse("does not begin with a scheme such as file:");
  if (format.find("{path}") == std::string_view::npos) refuse("has no {path}");
  walk(
      format,
      [&](std::string_view text) {
        for (const char c : text) {
          if (c <= ' ' || c > '~' || c == '}') refuse("holds a character that no url has");
        }
      },
      [&](std::string_view name) {
        if (name != "path" && name != "line" && name != "column" && name != "host") {
          refuse("has other placeholders than {path}, {line}, {column} and {host}");
        }
      });
}

}  // namespace

std::optional<HyperlinkFormat> HyperlinkFormat::of(std::string_view choice) {
  const auto alias = std::find_if(ALIASES.begin(), ALIASES.end(),
                                  [&](const Alias& known) { return known.name == choice; });
  if (alias == ALIASES.end()) {
    require_format(choice);
    return HyperlinkFormat(choice);
  }
  if (alias->format.empty()) return std::nullopt;
  return HyperlinkFormat(alias->format);
}

std::string HyperlinkFormat::url(const std::filesystem::path& path, std::int64_t line,
                                 std::int64_t column) const {
  std::string url;
  walk(
      format_, [&](std::string_view text) { url += text; },
      [&](std::string_view name) {
        if (name == "path") url += escaped(path.native());
        if (name == "line") url += std::to_string(line);
        if (name == "column") url += std::to_string(column);
        if (name == "host") url += escaped(host_name());
      });
  return url;
}

std::string hyperlink_aliases() {
  std::string names;
  for (const Alias& alias : ALIASES) names.append(names.empty() ? "" : ", ").append(alias.name);
  return names;
}

std::string linked(std::string_view text, std::string_view url) {
  constexpr std::string_view OPEN = "\033]8;;", CLOSE = "\033\\";
  std::string link;
  link.append(OPEN).append(url).append(CLOSE).append(text).append(OPEN).append(CLOSE);
  return link;
}

}  // namespace velmora::host::cli
