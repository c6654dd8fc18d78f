#include <string>
#include <vector>

#include "cli/completion_branches.h"
#include "cli/completions.h"

namespace velmora::host::cli {
namespace {

std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

std::string offer(const std::vector<Candidate>& candidates) {
  std::string text = "_velmora_words";
  for (const Candidate& candidate : candidates) text += " " + quoted(candidate.word);
  return text;
}

std::string branch(const std::vector<std::string>& patterns, const std::string& statements) {
  return "    " + joined(patterns, "|") + ") " + statements + " ;;\n";
}

constexpr const char* FUNCTIONS =
    R"(# Completion of velmora in bash. Made by: velmora --generate bash

# Offers those of the words that go on as the current one begins.
_velmora_words() {
  local word
  for word in "$@"; do
    [[ $word == "$current"* ]] && COMPREPLY+=("$word")
  done
}

# Offers files (-f) or folders (-d).
_velmora_files() {
  local file
  while IFS= read -r file; do
    COMPREPLY+=("$file")
  done < <(compgen "$1" -- "$current")
  compopt -o filenames 2>/dev/null
}

_velmora_values() {
  case $place:$before in
)";

constexpr const char* WALK = R"(    *) return 1 ;;
  esac
}

_velmora() {
  COMPREPLY=()
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  # --option=value comes as three words.
  if [[ $current == = ]]; then
    current=
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local place= word i open=yes plain=
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ ! $plain ]]; then
      case $place:$word in
        :--|)";

}  // namespace

std::string bash_completion(const CommandFacts& program) {
  const Branches branches =
      branches_of(program, {quoted, offer, "_velmora_files -f", "_velmora_files -d", ":", branch});
  return FUNCTIONS + branches.values + WALK + joined(branches.own, "|") + R"() ;;
        :-*)
          open=
          place=)" +
         QUESTION_PLACE + R"( ;;
      esac
      case $place:$word in
        )" +
         joined(branches.valued, "|") + R"()
          [[ ${COMP_WORDS[i + 1]} == = ]] && ((++i))
          ((++i))
          continue ;;
        *:--)
          plain=yes
          continue ;;
        *:-*) continue ;;
      esac
    fi
    if [[ $open ]]; then
      case $place/$word in
        )" +
         joined(branches.commands, "|") +
         R"()
          place+=/$word
          continue ;;
      esac
    fi
    open=
    place=${place:-)" +
         QUESTION_PLACE + R"(}
  done

  if [[ ! $plain ]]; then
    _velmora_values && return
    if [[ $current == -* ]]; then
      case $place in
)" + branches.options +
         R"(      esac
      return
    fi
  fi
  if [[ $open ]]; then
    case $place in
)" + branches.below +
         R"(    esac
  fi
  case $place in
)" + branches.arguments +
         R"(  esac
}

complete -F _velmora velmora
)";
}

}  // namespace velmora::host::cli
