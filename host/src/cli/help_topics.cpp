#include "cli/help_topics.h"

#include <algorithm>
#include <array>

namespace velmora::host::cli {
namespace {

constexpr std::array TOPICS = {
    HelpTopic{
        "agents", "Velmora for coding agents",
        R"(velmora mcp serves coding agents: it speaks the Model Context Protocol on standard input and
output. An agent that has a shell only asks the commands:

  velmora explore --limit 5 where are retries delayed    which symbols to read
  velmora show parse_config                              the source of one
  velmora outline src/net                                what else is there

What they print into a pipe has no colour, no links and no pager. --json and --jsonl have the
same for programs: velmora help output. Whether something was found is in the exit status:
velmora help exit-status.

Each question brings a stale index up to date first, if that takes under two seconds. Many
questions at once are cheaper in one run, which reads the index once: velmora explore --batch.
)"},
    HelpTopic{
        ENVIRONMENT, "Variables of the environment",
        R"(NO_COLOR, FORCE_COLOR, CLICOLOR, CLICOLOR_FORCE and TERM decide about colour, COLUMNS and LINES
about the size of a terminal that does not tell it: velmora help terminal.

PAGER shows an answer that is longer than the terminal.

VELMORA_EMBEDDINGS_API_KEY and VELMORA_RERANK_API_KEY are sent to the servers of these names,
and are printed and stored nowhere. http_proxy, https_proxy, all_proxy and no_proxy count for
servers that are not on this machine.

HOME tells which folder is indexed with --yes alone. HOME and XDG_CONFIG_HOME lead to your own
settings and to the files of git that say what is ignored.

VELMORA_HOME names a folder that holds the models and velmora-parse-worker, or share/velmora and
libexec/velmora with them. Without it they are looked for around the program.

Every other setting has a variable too, as VELMORA_RANKING_DEPTH: velmora help settings. These
stand for an option that is absent:
)"},
    HelpTopic{"exit-status", "What the program returns",
              R"(   0  done; what was asked for was found
   1  nothing was found, or nothing was to be done
   2  wrong usage: the command line cannot be understood
   3  a failure; standard error has the reason
 130  interrupted (SIGINT), as by Ctrl-C
 143  terminated (SIGTERM)

Answers go to standard output; remarks about them, progress and errors go to standard error.
An index is whole at each moment: whatever ends a command leaves what was there before, or what
was finished.
)"},
    HelpTopic{
        "meaning", "How the meaning of a question counts",
        R"(Four channels rank the symbols: exact names, the words of each symbol, the words of each file,
and meaning. For meaning a small model turns the question and each symbol into vectors. It comes
with the program, runs on this machine and needs no server. velmora index embeds what is new.

A small decision model, which comes with the program too, then puts the first twelve hits that the
question does not name in a better order. --why tells what it moved a hit for; --no-rerank goes
without it.

When no name and no text matches, the answer rests on meaning alone, and its first line says that
these are guesses. velmora search semantic shows what meaning alone finds.

A tuned.model beside the index comes before the program's own model, if it was made here: by
velmora-train tune, which adapts that one to a repository's docstrings and history.
A server's model takes the place of both: velmora help servers.
)"},
    HelpTopic{
        "names", "Names, places and scope",
        R"(A question may be a sentence, keywords or a name. A name that it spells as code does
(parse_config, Server::start, readLine) comes first. One that does not exist gets "did you mean".
The capital letter of a sentence's first word counts only if a type or constant has that name.
Words need no quotes, but for what the shell takes for itself; behind -- every word is one of
the question's, one with a dash too.

velmora show takes a name, a place or a number:

  velmora show parse_config           in this case, else in any
  velmora show Server.start           the last parts of a qualified name, with . or ::
  velmora show src/config.py:120      the innermost symbol that has this line
  velmora show config.py:120          the end of a path does, if only one file has it
  velmora show @4711                  the number that lists and JSON give a symbol

--scope takes a folder or a file as the index has it, from the repository's root:

  velmora explore --scope src/net retries

Tests are left out unless the question's words are about tests; --include-tests and
--exclude-tests decide it.
)"},
    HelpTopic{
        "output", "Answers for other programs",
        R"text(  --json     one object: query, hits, channels (what became of each), note (what the answer
             had to do without, or null), guesses (nothing matches by name or text) and
             did_you_mean (a list of names)
  --jsonl    each hit an object on a line; remarks and the note go to standard error
  --vimgrep  path:line:column:text, for an editor's list of places; columns are bytes from 1
  --files    the paths alone, each once; -0 ends them with NUL, for xargs -0

A hit has id, fqn (the qualified name), name, kind, path, start_line, end_line, signature, score,
ranks (by channel: exact, lexical, file, semantic; 1 is first), summary (the docstring's first
sentence) and pinned_by (the word of the question that put it first). -C or --body add source:
first_line, lines and changed. --why adds place_before_rerank, and for what the program's own
decision model put in order decision: probability (that this hit is the one, of all that it saw)
and features, by each of which it told them apart. A feature has a value, and a gain: what it
added to the hit's score over what it added to their mean.

Paths of --json and --jsonl begin at the repository's root, those of --files and --vimgrep at the
current folder. Fields that are unknown are null.

  velmora --json retries | jq -r '.hits[] | "\(.path):\(.start_line)"'
  velmora --files -0 open a connection | xargs -0 wc -l
  vim -q <(velmora --vimgrep open a connection)

--batch reads questions, one JSON object a line, and answers each on a line as --json does. One
has query, and may have limit, scope, include_tests and rerank; one that fails is answered by
query and error.

  echo '{"query": "retries", "limit": 3}' | velmora explore --batch -
)text"},
    HelpTopic{
        "servers", "Models behind servers",
        R"(No server is needed, and none is asked but those that you name. Any with these two endpoints
will do, and either may come alone:

  POST URL/embeddings   vectors of the symbols and of the question, in place of the built-in model
  POST URL/rerank       another order of the first hits

  velmora embed --embeddings-url http://127.0.0.1:8080/v1 --embeddings-model NAME
  velmora explore --embeddings-url http://127.0.0.1:8080/v1 --embeddings-model NAME retries

A model's vectors are stored by velmora embed (or velmora index --embed) before a question can
use them. The embedding server sees questions, names, signatures, paths and docstrings; the rerank
server questions, kinds, names and paths, and with --share-source signatures and docstrings too.
A server that fails is left out, and the answer's note says so.

Keys come from the environment alone: VELMORA_EMBEDDINGS_API_KEY, VELMORA_RERANK_API_KEY.
)"},
    HelpTopic{
        SETTINGS, "Settings in files and the environment",
        R"(The first of these that says something counts: the command line; the environment (e below),
VELMORA_ and the key in capitals, as VELMORA_RANKING_RRF_K; .velmora.toml at the repository's
top (r); your own ~/.config/velmora/config.toml (u); the default. In the environment colons stand
between the globs of a list, and between languages, as GLOB=LANGUAGE. In files a dot is a table:

  [explore]
  limit = 20

velmora config tells what holds, and where it is from.
)"},
    HelpTopic{"terminal", "Colour, links, width and pager",
              R"(Colour, the first that applies:

  --color always, never     what you say for this call, or terminal.color in your settings
  NO_COLOR                  if it is not empty: none
  FORCE_COLOR               if it is neither empty nor 0: always; CLICOLOR_FORCE likewise
  else                      on a terminal, unless TERM is empty or dumb, or CLICOLOR is 0

--hyperlink-format makes links of places, for terminals that open them (OSC 8). It takes a name or
a url with {path}, and if wanted {line}, {column} and {host}:

  auto, file                the file, as the system opens it
  cursor, idea, kitty, macvim, textmate, vscode, vscode-insiders, vscodium, zed
                            the line, in this program
  none                      no links; the default
  'x-edit://open?file={path}&line={line}'

On a terminal long signatures are folded to its width, and an answer that is longer than it goes
through the program that PAGER names, if that is set. With less, -R lets colours through:

  export PAGER='less -FR'

Progress is shown on standard error, when that is a terminal and TERM is not dumb.
)"},
    HelpTopic{
        "upkeep", "How an index is made and kept",
        R"(The index of a repository is ROOT/.velmora/index.db, for the whole git work tree that you are in;
elsewhere of the current folder. A submodule or a linked work tree has one of its own.

The first question makes it, with progress. Each later one looks at what changed, and brings the
index up to date first where that takes under two seconds; otherwise it answers from what is
there and says how far behind that is.

  velmora index            make it, or bring it up to date
  velmora index --watch    keep at it, until Ctrl-C
  velmora status           what it holds, and what changed since
  velmora clean            remove it

Your home folder, / and a folder of more than 200,000 files are indexed with --yes only. In a git
work tree the files that git does not ignore are read. A damaged index is made anew, and so is one
that came with a clone or a copy when velmora index is run; until then answers say where it is
from.
)"},
};

bool is_same(std::string_view left, std::string_view right) {
  const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [&](char a, char b) { return small(a) == small(b); });
}

}  // namespace

std::span<const HelpTopic> help_topics() { return TOPICS; }

const HelpTopic* find_topic(std::string_view name) {
  const auto found = std::find_if(TOPICS.begin(), TOPICS.end(), [&](const HelpTopic& topic) {
    return is_same(topic.name, name);
  });
  return found == TOPICS.end() ? nullptr : &*found;
}

}  // namespace velmora::host::cli
