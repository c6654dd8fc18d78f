#include "cli/man_page.h"

#include <algorithm>
#include <vector>

#include "cli/help_text.h"
#include "cli/help_topics.h"
#include "cli/key_list.h"

namespace velmora::host::cli {
namespace {

// A text that the language of the page takes as it is. Quotes count in the arguments of macros, and
// a line that begins with a dot or an apostrophe would be one.
std::string plain(std::string_view text) {
  std::string safe;
  bool begins = true;
  for (const char c : text) {
    if (begins && (c == '.' || c == '\'')) safe += "\\&";
    begins = c == '\n';
    switch (c) {
      case '\\':
        safe += "\\e";
        break;
      case '-':
        safe += "\\-";
        break;
      case '\'':
        safe += "\\(aq";
        break;
      case '`':
        safe += "\\(ga";
        break;
      case '"':
        safe += "\\(dq";
        break;
      case '^':
        safe += "\\(ha";
        break;
      case '~':
        safe += "\\(ti";
        break;
      default:
        safe += c;
    }
  }
  return safe;
}

std::string bold(std::string_view text) { return "\\fB" + plain(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + plain(text) + "\\fR"; }

std::string upper(std::string_view text) {
  std::string large(text);
  for (char& c : large) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return large;
}

// A paragraph needs no macro where a section begins.
std::string section(std::string_view title, std::string_view content) {
  constexpr std::string_view PARAGRAPH = ".PP\n";
  if (content.starts_with(PARAGRAPH)) content.remove_prefix(PARAGRAPH.size());
  return ".SH " + plain(upper(title)) + "\n" + std::string(content);
}

std::string verbatim(std::string_view lines) { return ".PP\n.nf\n" + plain(lines) + "\n.fi\n"; }

std::string entry(const std::string& title, const std::string& text) {
  return ".TP\n" + title + "\n" + text + "\n";
}

std::string title(const OptionFacts& option) {
  std::string text;
  for (const std::string& name : option.names) text += (text.empty() ? "" : ", ") + bold(name);
  if (option.value.empty()) return text;
  return text + (text.empty() ? "" : " ") + italic(option.shown_value());
}

std::string about(const OptionFacts& option) {
  std::string text = plain(option.description) + ".";
  if (!option.choices.empty() && option.shown_value() == option.value) {
    text += "\nKnown:";
    for (const std::string& choice : option.choices) text += " " + plain(choice);
    text += ".";
  }
  if (!option.fallback.empty()) text += "\nDefault: " + plain(option.fallback) + ".";
  if (!option.variable.empty()) text += "\nEnvironment: " + bold(option.variable) + ".";
  if (option.required && !option.names.empty()) text += "\nRequired.";
  return text;
}

std::string entries(const std::vector<OptionFacts>& options) {
  std::string text;
  for (const OptionFacts& option : options) text += entry(title(option), about(option));
  return text;
}

std::string options_section(const CommandFacts& command) {
  std::string text = entries(command.arguments);
  for (const std::string& group : groups_of(command)) {
    text += ".SS " + plain(group) + "\n" + entries(options_in(command, group));
  }
  return section("Options", text);
}

// "EXIT STATUS" and "EXAMPLES" have sections of their own in every page.
struct Footer {
  std::string description, examples, exit_status;
};

Footer footer_of(const CommandFacts& command) {
  constexpr std::string_view STATUS = "Exit status: ";
  Footer footer;
  bool in_examples = false;
  for (const TextPart& part : parts_of(command.footer)) {
    if (in_examples && part.is_verbatim) {
      footer.examples += verbatim(part.text);
    } else if (part.text.starts_with(STATUS)) {
      footer.exit_status += plain(part.text.substr(STATUS.size())) + "\n";
    } else if (part.text != "Examples:") {
      footer.description +=
          part.is_verbatim ? verbatim(part.text) : ".PP\n" + plain(part.text) + "\n";
    }
    in_examples = part.text == "Examples:";
  }
  return footer;
}

std::string topic_section(const HelpTopic& topic, const CommandFacts& program) {
  std::string name(topic.name);
  std::replace(name.begin(), name.end(), '-', ' ');
  std::string text;
  for (const TextPart& part : parts_of(std::string(topic.text))) {
    text += part.is_verbatim ? verbatim(part.text) : ".PP\n" + plain(part.text) + "\n";
  }
  if (topic.name == SETTINGS) text += verbatim(key_list());
  if (topic.name != ENVIRONMENT) return section(name, text);
  for (const auto& [variable, options] : variables_of(program)) {
    text += entry(bold(variable), plain(options) + ".");
  }
  return section(name, text);
}

std::string page_name(const CommandFacts& command) { return command.name("-"); }

void add_pages(const CommandFacts& command, std::vector<std::string>& names) {
  names.push_back(page_name(command));
  for (const CommandFacts& below : command.commands) add_pages(below, names);
}

}  // namespace

std::string man_page(const CommandFacts& command, const CommandFacts& program,
                     std::string_view date, std::string_view version) {
  const std::string name = page_name(command);
  const bool is_program = command.path.size() == 1;
  const Footer footer = footer_of(command);
  std::string text = ".TH " + plain(upper(name)) + " 1 " + std::string(date) + " \"" +
                     plain(version) + "\" \"User Commands\"\n";
  text += section("Name", plain(name) + " \\- " + plain(command.description) + "\n");
  std::string synopsis;
  for (const std::string& usage : usage_lines(command)) {
    const std::string called = command.name();
    synopsis += ".PP\n" + bold(called) + plain(usage.substr(called.size())) + "\n";
  }
  text += section("Synopsis", synopsis);
  text += section("Description", plain(command.description) + ".\n" + footer.description);
  std::string commands;
  for (const CommandFacts& below : command.commands) {
    commands += entry(bold(below.path.back()), plain(below.description) + ".");
  }
  if (!commands.empty()) text += section("Commands", commands);
  text += options_section(command);
  if (is_program) {
    for (const HelpTopic& topic : help_topics()) text += topic_section(topic, program);
  }
  if (!footer.exit_status.empty()) text += section("Exit status", footer.exit_status);
  if (!footer.examples.empty()) text += section("Examples", footer.examples);
  std::vector<std::string> pages;
  add_pages(program, pages);
  std::erase(pages, name);
  std::string others;
  for (const std::string& page : pages) {
    others += ".BR " + plain(page) + " (1)" + (page == pages.back() ? "" : ",") + "\n";
  }
  return text + section("See also", others);
}

}  // namespace velmora::host::cli
