// The branches of a completion script, in the language of any shell.
#pragma once

#include <string>
#include <vector>

#include "cli/command_facts.h"

namespace velmora::host::cli {

struct Candidate {
  std::string word;
  std::string description;
};

// How a shell says it.
struct Shell {
  // A text as one word that means nothing else.
  std::string (*quoted)(const std::string& text);
  // The statement that offers words, files or folders.
  std::string (*offer)(const std::vector<Candidate>& candidates);
  std::string files;
  std::string folders;
  std::string nothing;
  // A branch of a case statement; the patterns are quoted.
  std::string (*branch)(const std::vector<std::string>& patterns, const std::string& statements);
};

struct Branches {
  std::vector<std::string> valued;    // patterns PLACE:OPTION of the options with a value
  std::vector<std::string> own;       // patterns :OPTION of the program's own options
  std::vector<std::string> commands;  // patterns of the places of commands
  std::string values;                 // by PLACE:OPTION
  std::string options;                // by place, as all below
  std::string below;                  // the commands
  std::string arguments;
};

[[nodiscard]] Branches branches_of(const CommandFacts& program, const Shell& shell);

// The words, with `separator` between.
[[nodiscard]] std::string joined(const std::vector<std::string>& words,
                                 const std::string& separator);

// Where the words of a question are, whose command may go without saying.
inline constexpr const char* QUESTION_PLACE = "/explore";

}  // namespace velmora::host::cli
