#!/usr/bin/env bash
# What VELMORA writes about itself: the man pages pass two linters, every help fits a screen, and the
# completions work in the shells that they are for.
set -euo pipefail
velmora=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work TERM=xterm
fail() {
  echo "$1" >&2
  exit 1
}
for tool in mandoc groff zsh fish; do
  command -v "$tool" >/dev/null || fail "this test needs $tool: scripts/install.sh test"
done
for form in man bash zsh fish; do "$velmora" --generate "$form" --into "$work/$form"; done

faults=$(mandoc -Tlint -Wwarning "$work"/man/*.1 2>&1 || true)
[ -z "$faults" ] || fail "$faults"
for page in "$work"/man/*.1; do
  faults=$(groff -ww -man -Tutf8 -z "$page" 2>&1)
  [ -z "$faults" ] || fail "$page: $faults"
done
"$velmora" import --generate man | cmp - "$work/man/velmora-import.1"
SOURCE_DATE_EPOCH=86400 "$velmora" --generate man | grep '^\.TH VELMORA 1 1970-01-02 ' >/dev/null ||
  fail "the date of the sources does not count"

fits() { # NAME ROWS <TEXT
  awk -v name="$1" -v rows="$2" '
    length > 100 {print name ", line " NR ": " length " columns"; bad = 1}
    END {if (NR > rows) {print name ": " NR " rows"; bad = 1}; exit bad}'
}
for page in "$work"/man/*.1; do
  name=$(basename "$page" .1)
  read -ra words <<<"${name//-/ }"
  "$velmora" "${words[@]:1}" --help >"$work/help"
  fits "$name --help" 50 <"$work/help"
  "$velmora" help "${words[@]:1}" | cmp - "$work/help"
done
topics=$("$velmora" --help | awk -F': ' '/^Topics of/ {gsub(/[,.]/, "", $2); print $2}')
[ "$(wc -w <<<"$topics")" -ge 5 ] || fail "no topics: $topics"
for topic in $topics; do "$velmora" help "$topic" | fits "help $topic" 80; done

# A line, and what completes its end. Shells differ in what of it they repeat: the folder, the slash
# behind one, the option before its value.
cd "$work"
mkdir -p 'tree/a folder' tree/other
touch "tree/\$(touch pwned)'s" 'tree/plain;x'
cat >cases <<'CASES'
velmora exp|explore
velmora --verbose sta|status
velmora search |semantic
velmora search semantic --lim|--limit
velmora search semantic words --js|--json
velmora explore --limit 5 --js|--json --jsonl
velmora explore --color |always auto never
velmora explore --color=al|always
velmora where is it --vim|--vimgrep
velmora where is it stat|
velmora explore --scope tree/a|a folder
velmora --fi|--files
velmora --files --repo tree/|a folder other
velmora --files stat|
velmora --verbose --help sta|status
velmora index tree/|a folder other
velmora import --index tree/pl|plain;x
velmora show tree/|$(touch pwned)'s a folder other plain;x
velmora show --limit 3 tree/pl|plain;x
velmora show -- --lim|
velmora --generate z|zsh
velmora help exit|exit-status
CASES
cut -d'|' -f1 cases >lines

cat >complete.bash <<'END'
source bash/velmora
while IFS= read -r line; do
  echo "> $line"
  read -ra COMP_WORDS <<<"${line//=/ = }" # as readline breaks it
  [[ $line == *' ' ]] && COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _velmora
  printf '%s\n' "${COMPREPLY[@]}"
done
END
cat >complete.fish <<'END'
source fish/velmora.fish
while read -l line
    echo "> $line"
    complete -C "$line" | string replace -r '\t.*' ''
end
exit 0
END
# Completion in zsh needs a terminal. What would be added is what is offered.
cat >inside.zsh <<'END'
PROMPT= LISTMAX=9999
setopt no_beep no_auto_menu
fpath=($PWD/zsh $fpath)
autoload -Uz compinit
compinit -D -u
compadd() {
  if [[ ${@[1,(i)(-|--)]} != *-[OAD]* ]]; then
    local -a offered
    builtin compadd -O offered "$@"
    print -rl -- ${(Q)offered} >>zsh.out
  fi
  builtin compadd "$@"
}
zle-line-init() {
  local line
  for line in "${(@f)$(<lines)}"; do
    print -r -- "> $line" >>zsh.out
    BUFFER=$line CURSOR=$#line
    zle complete-word
  done
  exit
}
zle -N zle-line-init
END
cat >complete.zsh <<'END'
zmodload zsh/zpty
zpty inside zsh -f -i
zpty -w inside 'source ./inside.zsh'
while zpty -r inside shown; do :; done
cat zsh.out
END
bash --norc complete.bash <lines >found.bash
zsh -f complete.zsh </dev/null >found.zsh
fish --no-config complete.fish <lines >found.fish

bad=0
for shell in bash zsh fish; do
  while IFS='|' read -r line expected; do
    found=$(awk -v line="> $line" '$0 == line {on = 1; next} /^> / {on = 0} on && NF' "found.$shell" |
      sed -e 's|/$||' -e 's|^--color=||' -e 's|^tree/||' | LC_ALL=C sort -u | paste -sd' ')
    [ "$found" = "$expected" ] && continue
    echo "$shell: \"$line\" is completed by \"$found\", not by \"$expected\"" >&2
    bad=1
  done <cases
done
[ ! -e pwned ] && [ ! -e tree/pwned ] || fail "a name was run"
exit $bad
