#!/usr/bin/env python3
"""How many characters an agent reads until it has read the right definition: with `explore` and
`show` of `velmora mcp`, and with grep and reading files. Writes the table of docs/agents.md.

Each task is a question and where its answer is defined. Both agents read what a tool prints from
top to bottom, and a definition counts as read when one of its lines was. The tools:

- grep: the question's words without the common ones and without their endings, the rarest first
  (how rare they are is known for nothing); what the question quotes goes before them, as it stands.
  `git grep` prints the lines with it in any case, cut at 200 characters, at most 100 of them. To
  open a match is to read the 60 lines around it. When no match was right, the next word follows.
- explore: the question as it stands, with the tool's own limits. To open a hit is to `show` it. When
  no hit was right, the same once more without the common words, and then grep as above.

They open what they found in two manners. *At sight*: who sees a line of the definition, or of the
ten before it, knows it for the right one, and opens nothing else. *In order*: everything is opened
as it was printed, until lines of the definition were among those read, or 100,000 characters were.
"""

import argparse
import ast
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

from agent_session import Session, ToolError

ROOT = Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "agents.md"
PACKAGES = ["libpython3.11-minimal", "libpython3.11-stdlib"]
AROUND = 30  # lines before and after a match
COMMENT = 10  # lines before a definition that are taken for its own
MOST_MATCHES = 100
LONGEST_LINE = 200
PATIENCE = 100_000  # characters
COMMON = set("""a about after again all an and any are as at be because been before but by can come
    could did do does done each for from get given goes had has have how i if in into is it its long
    made make makes many may more most much must no not of off on one only or other out over same
    says should so some that the their them then there they this those to too twice under until up
    use used user was way what when where which while who whole why will with within without
    you""".split())

# The question, and the files and how the first lines of the definitions begin that answer it: what
# is declared in a header and defined elsewhere is read in either place.
VELMORA = [
    ("How does it notice that a name was typed with a single mistake?",
     [("host/src/browse/near_names.cpp", "bool is_one_edit("),
      ("host/src/browse/near_names.h", "[[nodiscard]] bool is_one_edit(")]),
    ("Where are passwords and API keys kept out of what is stored?",
     [("host/src/indexing/secrets.cpp", "std::string without_secrets("),
      ("host/src/indexing/secrets.h", "[[nodiscard]] std::string without_secrets("),
      ("host/src/indexing/secrets.cpp", "std::string without_keys("),
      ("host/src/indexing/secrets.h", "[[nodiscard]] std::string without_keys(")]),
    ("How are the rankings of several channels merged into one?",
     [("src/workers/retrieval/fusion.cpp", "std::vector<FusedSymbol> reciprocal_rank_fusion("),
      ("include/velmora/workers/retrieval.h",
       "[[nodiscard]] std::vector<FusedSymbol> reciprocal_rank_fusion(")]),
    ("Which paths count as tests?",
     [("src/utils/path_filter.cpp", "bool is_test_path("),
      ("include/velmora/utils/path_filter.h", "[[nodiscard]] bool is_test_path(")]),
    ("What happens when the user presses Ctrl-C?",
     [("host/src/cli/end_signals.cpp", 'extern "C" void end_program('),
      ("host/src/cli/end_signals.cpp", "void end_at_signals("),
      ("host/src/cli/end_signals.h", "void end_at_signals(")]),
    ("How is damage on the disk noticed when a page of the index is read?",
     [("host/src/index/page_checks.cpp", "int read(sqlite3_file*"),
      ("host/src/index/page_checks.cpp", "Checksum checksum_of(")]),
    ("Does a .gitignore rule match this path?",
     [("host/src/indexing/ignore_rules.cpp", "bool IgnoreRules::ignores("),
      ("host/src/indexing/ignore_rules.h", "  [[nodiscard]] bool ignores("),
      ("host/src/indexing/glob.cpp", "bool Glob::matches("),
      ("host/src/indexing/glob.h", "  [[nodiscard]] bool matches(")]),
    ("FolderWatch::wait",
     [("host/src/indexing/folder_watch.cpp", "bool FolderWatch::wait("),
      ("host/src/indexing/folder_watch.h", "  [[nodiscard]] bool wait(")]),
    ("Who says 'Another version of velmora made the index'?",
     [("host/src/upkeep/staleness.cpp", "std::string to_text("),
      ("host/src/upkeep/staleness.h", "[[nodiscard]] std::string to_text(")]),
    ("Where does 'Embedding the query failed; ranking without meaning' come from?",
     [("src/workers/retrieval/semantic_channel.cpp", "Channel semantic_channel("),
      ("src/workers/retrieval/semantic_channel.h", "[[nodiscard]] Channel semantic_channel(")]),
]
PYTHON = [
    ("How is a whole directory tree copied, symbolic links and all?",
     [("shutil.py", "def copytree("), ("shutil.py", "def _copytree(")]),
    ("May this cookie be sent over an unencrypted connection?",
     [("http/cookiejar.py", "    def return_ok_secure(")]),
    ("How is the delimiter of a csv file guessed?",
     [("csv.py", "    def _guess_delimiter("), ("csv.py", "    def sniff(")]),
    ("How are abbreviated options on the command line recognised?",
     [("argparse.py", "    def _get_option_tuples(")]),
    ("What is done when a web server redirects to another address?",
     [("urllib/request.py", "    def redirect_request("),
      ("urllib/request.py", "    def http_error_302(")]),
    ("How does a cache throw away what was used least recently?",
     [("functools.py", "def _lru_cache_wrapper("), ("functools.py", "def lru_cache(")]),
    ("When does a log file get rolled over because it is too large?",
     [("logging/handlers.py", "    def shouldRollover("),
      ("logging/handlers.py", "class RotatingFileHandler(")]),
    ("difflib.get_close_matches",
     [("difflib.py", "def get_close_matches(")]),
    ("Who raises 'too many positional arguments'?",
     [("inspect.py", "    def _bind(")]),
    ("Where does 'Population must be a sequence' come from?",
     [("random.py", "    def sample(")]),
]


@dataclass(frozen=True)
class Lines:
    """Of a file: the first and the last of them, from 1."""

    path: str
    first: int
    last: int


def definition(tree, path, beginning):
    """The lines of the first definition of a file that begins so."""
    text = (tree / path).read_text()
    lines = text.splitlines()
    first = next((i for i, line in enumerate(lines, 1) if line.startswith(beginning)), None)
    if first is None:
        sys.exit(f"agent_comparison.py: {path} has no line that begins with {beginning!r}: has the "
                 "definition moved?")
    if path.endswith(".py"):
        last = next(node.end_lineno for node in ast.walk(ast.parse(text))
                    if getattr(node, "lineno", 0) == first and hasattr(node, "body"))
    elif path.endswith(".h"):
        last = next(i for i, line in enumerate(lines, 1) if i >= first and line.endswith(";"))
    else:
        last = next(i for i, line in enumerate(lines, 1) if i > first and line.startswith("}"))
    return Lines(path, first, last)


class Reading:
    """What an agent has read, and whether that was enough."""

    def __init__(self, right, at_sight):
        self.right = right
        self.at_sight = at_sight
        self.characters = 0
        self.calls = 0
        self.found = False
        self.agent = None  # who found it, or was the last to look

    def read(self, text):
        self.characters += len(text)
        self.calls += 1

    def open(self, candidates, is_right, show):
        """Opens candidates until one was right; `show` reads one."""
        for candidate in candidates:
            if self.characters > PATIENCE:
                return
            right = any(is_right(candidate, definition) for definition in self.right)
            if right or not self.at_sight:
                show(candidate)
            if right:
                self.found = True
                return


def words(question):
    """Without the common ones."""
    return [word for word in re.findall(r"\w+", question.lower()) if word not in COMMON]


class Grep:
    def __init__(self, tree):
        self.tree = tree

    def find(self, question, reading):
        rest = re.sub(r"'[^']*'", "", question)
        counted = sorted((len(self.lines_with(word)), word)
                         for word in {self.stem(word) for word in words(rest)})
        quoted = re.findall(r"'([^']*)'", question)
        for text in quoted + [word for count, word in counted if count]:
            self.search(text, reading)
            if reading.found or reading.characters > PATIENCE:
                return

    @staticmethod
    def stem(word):
        for ending in ("ies", "ing", "ed", "es", "s"):
            if word.endswith(ending) and len(word) - len(ending) >= 3:
                return word.removesuffix(ending)
        return word

    def lines_with(self, text):
        return subprocess.run(["git", "grep", "-nIiF", "-e", text], cwd=self.tree, text=True,
                              errors="replace", capture_output=True).stdout.splitlines()

    def search(self, text, reading):
        matches = [line[:LONGEST_LINE] for line in self.lines_with(text)[:MOST_MATCHES]]
        reading.read("".join(match + "\n" for match in matches))
        seen = set()

        def is_of(match, right):
            path, line = match
            reach = COMMENT if reading.at_sight else AROUND
            return path == right.path and right.first - reach <= line <= right.last + (
                0 if reading.at_sight else AROUND)

        def read(match):
            path, line = match
            source = (self.tree / path).read_text(errors="replace").splitlines(keepends=True)
            new = [i for i in range(max(1, line - AROUND), min(line + AROUND, len(source) + 1))
                   if (path, i) not in seen]
            if new:
                seen.update((path, i) for i in new)
                reading.read("".join(source[i - 1] for i in new))

        places = [match.split(":", 2) for match in matches]
        reading.open([(path, int(line)) for path, line, _ in places], is_of, read)


class Explore:
    def __init__(self, session):
        self.session = session

    def find(self, question, reading):
        opened = set()

        def show(hit):
            opened.add(hit)
            try:
                reading.read(self.session.ask("show", {"what": f"{hit.path}:{hit.first}"}))
            except ToolError as error:
                reading.read(str(error))

        def is_it(hit, right):  # not what it stands in
            return (hit.path == right.path and hit.last == right.last and
                    abs(hit.first - right.first) < 5)

        for words_of_it in (question, " ".join(words(question))):
            text = self.session.ask("explore", {"question": words_of_it})
            reading.read(text)
            reading.open([hit for hit in self.hits(text) if hit not in opened], is_it, show)
            if reading.found:
                return

    @staticmethod
    def hits(text):
        """The lines of each, best first."""
        found = []
        path = None
        for line in text.splitlines():
            hit = re.match(r"#(\d+) (\d+)(?:-(\d+))? ", line)
            if hit:
                rank, first, last = hit.groups()
                found.append((int(rank), Lines(path, int(first), int(last or first))))
            elif not line.startswith(" "):
                path = line
        return [lines for _, lines in sorted(found, key=lambda hit: hit[0])]


def copy_of(files, source, target):
    """Some files of a folder as a repository of their own."""
    for name in files:
        (target / name).parent.mkdir(parents=True, exist_ok=True)
        (target / name).write_bytes((source / name).read_bytes())
    subprocess.run(["git", "init", "--quiet"], cwd=target, check=True)
    subprocess.run(["git", "add", "--all", "--force"], cwd=target, check=True)


def this_repository(target):
    """Without what knows the questions."""
    listed = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True,
                            text=True).stdout.splitlines()
    ours = {Path(__file__).resolve(), PAGE}
    copy_of([name for name in listed if ROOT / name not in ours and (ROOT / name).is_file()],
            ROOT, target)


def python_library(target):
    """As Debian has it. Its version."""
    listed = subprocess.run(["dpkg-query", "--listfiles", *PACKAGES], check=True,
                            capture_output=True, text=True).stdout.splitlines()
    source = Path("/usr/lib/python3.11")
    copy_of([name.removeprefix(f"{source}/") for name in listed
             if name.startswith(f"{source}/") and name.endswith(".py") and Path(name).is_file()],
            source, target)
    return subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", PACKAGES[1]],
                          check=True, capture_output=True, text=True).stdout


MANNERS = {"at sight": True, "in order": False}


def compare(program, tree, tasks):
    """For each task what both read in either manner: [task, {(tool, manner): Reading}]."""
    results = []
    with Session(program, tree, subprocess.DEVNULL) as session:
        session.ask("status", {}, timeout=600)
        for question, places in tasks:
            right = [definition(tree, path, beginning) for path, beginning in places]
            readings = {}
            for manner, at_sight in MANNERS.items():
                grep, explore = Grep(tree), Explore(session)
                for tool, agents in (("grep", [grep]), ("explore", [explore, grep])):
                    reading = readings[tool, manner] = Reading(right, at_sight)
                    for agent in agents:
                        if not reading.found:
                            reading.agent = agent
                            agent.find(question, reading)
            results.append((question, readings))
    return results


def shown(tool, reading):
    text = f"{reading.characters:,}"
    if tool == "explore" and isinstance(reading.agent, Grep):
        text += " ‡"
    return text if reading.found else text + " †"


COLUMNS = [(tool, manner) for manner in MANNERS for tool in ("grep", "explore")]


def table(results):
    yield "| question | " + " | ".join(f"{tool}, {manner}" for tool, manner in COLUMNS) + " |"
    yield "|---|" + "--:|" * len(COLUMNS)
    for question, readings in results:
        yield f"| {question} | " + " | ".join(shown(tool, readings[tool, manner])
                                              for tool, manner in COLUMNS) + " |"
    for name, count in (("**characters**", lambda reading: reading.characters),
                        ("calls of tools", lambda reading: reading.calls)):
        totals = [sum(count(readings[column]) for _, readings in results) for column in COLUMNS]
        yield f"| {name} | " + " | ".join(f"{total:,}" for total in totals) + " |"


def summary(results):
    """What all tasks come to, in sentences."""
    alone = [readings for _, readings in results
             if isinstance(readings["explore", "at sight"].agent, Explore)]

    def total(rows, column):
        return sum(readings[column].characters for readings in rows)

    def found(column):
        return sum(readings[column].found for _, readings in results)

    yield (f"Of {len(results)} questions, `explore` led to {len(alone)} definitions by itself; these "
           "take " + " and ".join(
               f"{total(alone, ('explore', manner)):,} characters {manner} in place of grep's "
               f"{total(alone, ('grep', manner)):,}" for manner in MANNERS) + ". " +
           "With the others, for which asking was in vain: " + ", and ".join(
               f"{total([row for _, row in results], ('explore', manner)):,} {manner} in place of "
               f"{total([row for _, row in results], ('grep', manner)):,} "
               f"({found(('explore', manner))} found, {found(('grep', manner))} by grep)"
               for manner in MANNERS) + ".")


def main():
    parser = argparse.ArgumentParser(description="Measures what agents read, into docs/agents.md.")
    parser.add_argument("--program", default=ROOT / "build/release/velmora", type=Path,
                        help="the velmora to measure; build/release/velmora when absent")
    program = parser.parse_args().program.resolve()
    text, all_results = [], []
    with tempfile.TemporaryDirectory() as temporary:
        ours, python = Path(temporary) / "velmora", Path(temporary) / "python"
        this_repository(ours)
        version = python_library(python)
        for title, tree, tasks in (("This repository:", ours, VELMORA),
                                   (f"Python's standard library (Debian's 3.11, {version}):", python,
                                    PYTHON)):
            results = compare(program, tree, tasks)
            all_results += results
            text += [title, "", *table(results), ""]
    text = [*summary(all_results), "", *text]
    print("\n".join(text))
    begin, end = "<!-- measured -->\n", "<!-- end of measured -->"
    page = PAGE.read_text()
    head, tail = page.split(begin)[0], page.split(end)[1]
    PAGE.write_text(head + begin + "\n".join(text).rstrip() + "\n" + end + tail)


if __name__ == "__main__":
    main()
