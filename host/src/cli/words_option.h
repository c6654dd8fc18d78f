// Arguments that are the words of a sentence, as people type them: without quotes.
#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace velmora::host::cli {

// Adds all words that stand for no option to a command: `text` gets them joined by one space, each
// as it was typed, and stays absent without any. Behind `--` every word counts, one that begins
// with a dash too. `text` outlives the parse.
CLI::Option* add_words(CLI::App& command, const std::string& name, std::optional<std::string>& text,
                       const std::string& description);

}  // namespace velmora::host::cli
