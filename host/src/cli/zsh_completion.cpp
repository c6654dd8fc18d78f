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

// WORD:DESCRIPTION
std::string described(const Candidate& candidate) {
  std::string text;
  for (const char c : candidate.word)
    text += (c == ':' || c == '\\' ? "\\" : "") + std::string(1, c);
  return candidate.description.empty() ? text : text + ":" + candidate.description;
}

std::string offer(const std::vector<Candidate>& candidates) {
  std::string text = "found=(";
  for (const Candidate& candidate : candidates) text += "\n      " + quoted(described(candidate));
  return text + "\n    )\n    _describe word found";
}

std::string branch(const std::vector<std::string>& patterns, const std::string& statements) {
  return "    (" + joined(patterns, "|") + ")\n    " + statements + "\n    ;;\n";
}

constexpr const char* BEGIN = R"(#compdef velmora
# Completion of velmora in zsh. Made by: velmora --generate zsh

_velmora() {
  local place= word i open=yes plain= before=${(Q)words[CURRENT-1]}
  local -a found
  for ((i = 2; i < CURRENT; ++i)); do
    word=${(Q)words[i]}
    if [[ -z $plain ]]; then
      case $place:$word in
        (:--|)";

}  // namespace

std::string zsh_completion(const CommandFacts& program) {
  const Branches branches =
      branches_of(program, {quoted, offer, "_files", "_files -/", "_message value", branch});
  return BEGIN + joined(branches.own, "|") + R"() ;;
        (:-*)
          open=
          place=)" +
         QUESTION_PLACE + R"( ;;
      esac
      case $place:$word in
        ()" +
         joined(branches.valued, "|") + R"()
          ((++i))
          continue ;;
        (*:--)
          plain=yes
          continue ;;
        (*:-*) continue ;;
      esac
    fi
    if [[ -n $open ]]; then
      case $place/$word in
        ()" +
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

  if [[ -z $plain ]]; then
    if [[ $PREFIX == --*=* ]]; then
      before=${PREFIX%%\=*}
      compset -P 1 '*='
    fi
    case $place:$before in
)" + branches.values +
         R"(    (*) before= ;;
    esac
    [[ -n $before ]] && return
    if [[ $PREFIX == -* ]]; then
      case $place in
)" + branches.options +
         R"(      esac
      return
    fi
  fi
  if [[ -n $open ]]; then
    case $place in
)" + branches.below +
         R"(    esac
  fi
  case $place in
)" + branches.arguments +
         R"(  esac
}

_velmora "$@"
)";
}

}  // namespace velmora::host::cli
