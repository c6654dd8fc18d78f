#include <string>
#include <vector>

#include "cli/completion_branches.h"
#include "cli/completions.h"

namespace velmora::host::cli {
namespace {

std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += (c == '\'' || c == '\\' ? "\\" : "") + std::string(1, c);
  return word + "'";
}

// A word and its description are lines of two.
std::string offer(const std::vector<Candidate>& candidates) {
  std::string text = "__velmora_words \"$prefix\"";
  for (const Candidate& candidate : candidates) {
    text += " \\\n                " + quoted(candidate.word) + " " + quoted(candidate.description);
  }
  return text;
}

std::string branch(const std::vector<std::string>& patterns, const std::string& statements) {
  return "        case " + joined(patterns, " ") + "\n            " + statements + "\n";
}

constexpr const char* BEGIN = R"(# Completion of velmora in fish. Made by: velmora --generate fish

# Offers words, each with its description, behind a prefix.
function __velmora_words --argument-names prefix
    set -e argv[1]
    while set -q argv[2]
        printf '%s%s\t%s\n' $prefix $argv[1] $argv[2]
        set -e argv[1 2]
    end
end

# Offers what a function of fish does, behind a prefix.
function __velmora_files --argument-names prefix offer current
    for file in ($offer $current)
        printf '%s%s\n' $prefix $file
    end
end

# Offers the values of the option in $argv[1], PLACE:OPTION; fails where it has none.
function __velmora_values --argument-names option prefix current
    switch "$option"
)";

constexpr const char* WALK = R"(        case '*'
            return 1
    end
    return 0
end

function __velmora_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l prefix ''
    set -l place ''
    set -l open yes
    set -l plain ''
    set -l skip ''
    set -l before ''
    for word in $words[2..-1]
        set before $word
        if test -n "$skip"
            set skip ''
            continue
        end
        if test -z "$plain"
            switch "$place:$word"
                case ':--' )";

}  // namespace

std::string fish_completion(const CommandFacts& program) {
  const Branches branches = branches_of(
      program,
      {quoted, offer, "__velmora_files \"$prefix\" __fish_complete_path \"$current\"",
       "__velmora_files \"$prefix\" __fish_complete_directories \"$current\"", "true", branch});
  return BEGIN + branches.values + WALK + joined(branches.own, " ") + R"(
                case ':-*'
                    set open ''
                    set place )" +
         QUESTION_PLACE + R"(
            end
            switch "$place:$word"
                case )" +
         joined(branches.valued, " ") + R"(
                    set skip yes
                    continue
                case '*:--'
                    set plain yes
                    continue
                case '*:-*'
                    continue
            end
        end
        if test -n "$open"
            switch "$place/$word"
                case )" +
         joined(branches.commands, " ") +
         R"(
                    set place "$place/$word"
                    continue
            end
        end
        set open ''
        test -n "$place"; or set place )" +
         QUESTION_PLACE + R"(
    end

    if test -z "$plain"
        if string match -q -- '--*=*' $current
            set -l parts (string split -m 1 = -- $current)
            __velmora_values "$place:$parts[1]" "$parts[1]=" "$parts[2]"
            return
        end
        __velmora_values "$place:$before" '' "$current"; and return
        if string match -q -- '-*' $current
            switch "$place"
)" + branches.options +
         R"(            end
            return
        end
    end
    if test -n "$open"
        switch "$place"
)" + branches.below +
         R"(        end
    end
    switch "$place"
)" + branches.arguments +
         R"(    end
end

complete -c velmora -f -a '(__velmora_complete)'
)";
}

}  // namespace velmora::host::cli
