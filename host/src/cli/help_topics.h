// What deserves more room than the line of an option: velmora help TOPIC.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace velmora::host::cli {

// The options of a group that has the name of a topic are explained with it.
struct HelpTopic {
  std::string_view name;   // a word in small letters
  std::string_view title;  // a few words
  std::string_view text;   // as CommandFacts::footer
};

// The topic that lists the variables of options too.
inline constexpr std::string_view ENVIRONMENT = "environment";
inline constexpr std::string_view SETTINGS = "settings";

// By name.
[[nodiscard]] std::span<const HelpTopic> help_topics();

// The topic of this name, in any case; null when there is none.
[[nodiscard]] const HelpTopic* find_topic(std::string_view name);

}  // namespace velmora::host::cli
