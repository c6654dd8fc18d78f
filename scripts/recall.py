#!/usr/bin/env python3
"""Compares what the index has of a tree with what universal-ctags, and for Python its own ast, find
in the same files. Called by recall.sh.

A definition is the same when file, name and line agree: the line that ctags tells may be up to 3
lines before the first line of the index's (which begins with decorators) or 20 after, or its last
(a typedef). Functions and methods, and types, are compared; what only one has is told by its reason
or kind, with examples that are drawn by a fixed seed.
"""

import argparse
import functools
import random
import re
import shutil
import sys
import tempfile
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

import recall_match
import recall_tags

EXAMPLES = 20
BEGIN, END = "<!-- measured -->\n", "<!-- end of measured -->"


@dataclass
class Result:
    """One language of one tree, by one reader."""

    tree: str
    language: str
    reader: str
    files: int
    theirs: list
    comparison: recall_match.Comparison

    def title(self):
        name = recall_tags.LANGUAGES[self.language].title
        return name if self.reader == "ctags" else f"{name}, by {self.reader}"

    def reasons(self):
        return Counter(reason for _, reason in self.comparison.missed)

    def count(self, reasons):
        return sum(count for reason, count in self.reasons().items() if reason in reasons)

    def share(self):
        wanted = self.comparison.wanted()
        return len(self.comparison.pairs) / wanted if wanted else 1


def measure(program, name, tree, language):
    """A result for each reader of that language, or of all that both know."""
    with tempfile.TemporaryDirectory() as scratch:
        copy = Path(scratch) / "tree"
        shutil.copytree(tree, copy, symlinks=True, ignore=shutil.ignore_patterns(".velmora"))
        found, files, said = recall_tags.read_index(program, copy)
        print(f"{name}: {said}", file=sys.stderr)

        @functools.cache
        def lines_of(path):
            return (copy / path).read_text(errors="replace").split("\n")

        for one in [language] if language else sorted(files.keys() & recall_tags.LANGUAGES.keys()):
            sources = [path for path in files.get(one, ())
                       if not path.endswith(recall_tags.OTHER_FORMS)]
            readers = [("ctags", recall_tags.read_ctags(copy, one, sources), sources)]
            if one == "python":
                readers.append(("ast", *recall_tags.read_ast(copy, sources)))
            for reader, theirs, read in readers:
                known = set(read)
                ours = [tag for tag in found.get(one, ()) if tag.path in known]
                comparison = recall_match.compare(theirs, ours, lines_of, one)
                result = Result(name, one, reader, len(read), theirs, comparison)
                print(report(result, lines_of), flush=True)
                yield result


# --- What is printed ------------------------------------------------------------------------------


def report(result, lines_of):
    comparison = result.comparison
    lines = [f"== {result.title()}, {result.tree}: {result.files:,} files, {len(result.theirs):,} of "
             f"{result.reader}, {len(comparison.pairs):,} in both, {len(comparison.alone):,} in the "
             f"index alone; {percent(result)} of what the index is to have"]
    all_of, in_both = (Counter(tag.kind for tag in tags)
                       for tags in (result.theirs, [tag for tag, _ in comparison.pairs]))
    lines += [f"  {kind}: {in_both[kind]:,} of {count:,}" for kind, count in all_of.most_common()]
    for reason, count in result.reasons().most_common():
        lines.append(f"- {count:,} {reason}: {recall_match.REASONS[reason]}")
        lines += examples([tag for tag, why in comparison.missed if why == reason], lines_of)
    for kind, count in Counter(tag.kind for tag in comparison.alone).most_common():
        lines.append(f"+ {count:,} {kind}: in the index alone")
        lines += examples([tag for tag in comparison.alone if tag.kind == kind], lines_of)
    if comparison.locals:
        lines.append(f"! {len(comparison.locals):,} in the index though local to a function")
        lines += examples(comparison.locals, lines_of)
    return "\n".join(lines) + "\n"


def examples(tags, lines_of):
    drawn = random.Random(1).sample(tags, min(EXAMPLES, len(tags)))
    for tag in sorted(drawn, key=lambda tag: (tag.path, tag.line)):
        yield f"    {tag.path}:{tag.line} {tag.name}: {lines_of(tag.path)[tag.line - 1].strip()[:100]}"


def percent(result):
    share = result.share()
    return "100 %" if share == 1 else f"{min(share * 100, 99.99):.2f} %"


# --- The page -------------------------------------------------------------------------------------


def table(header, rows):
    """Columns behind the first two, but for a third alone, hold numbers."""
    numbers = len(header) - 2 if len(header) > 3 else 0
    lines = ["| " + " | ".join(header) + " |", "|---" * (len(header) - numbers) + "|---:" * numbers + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def page(results):
    counts = [[result.title(), result.tree, f"{result.files:,}", f"{len(result.theirs):,}",
               f"{result.count(recall_match.NO_DEFINITION):,}",
               f"{result.count(recall_match.LEFT_OUT):,}", f"{len(result.comparison.pairs):,}",
               f"{result.count(recall_match.MISSED):,}", f"**{percent(result)}**",
               f"{len(result.comparison.locals):,}", f"{len(result.comparison.alone):,}"]
              for result in results]
    parts = [table(("Language", "Tree", "Files", "Told by ctags", "No definitions", "Left out",
                    "In both", "Missed", "Found", "Locals listed", "Index alone"), counts)]
    parts.append("By kind, as ctags calls them: in both, of all that it tells.\n\n" + table(
        ("Language", "Kinds"), [[result.title(), kinds(result)] for result in results]))
    reasons = [[reason, words, ", ".join(f"{result.title()} {result.reasons()[reason]:,}"
                                         for result in results if result.reasons()[reason])]
               for reason, words in recall_match.REASONS.items()]
    parts.append("Why ctags alone has them: the first four are no definitions, the next six are left "
                 "out, the others are missed.\n\n" + table(("Reason", "What it says", "How many"),
                                                          [row for row in reasons if row[2]]))
    parts.append("What the index alone has, by its kinds.\n\n" + table(
        ("Language", "Kinds"), [[result.title(), alone(result)] for result in results]))
    return "\n\n".join(parts) + "\n"


def kinds(result):
    both = Counter(tag.kind for tag, _ in result.comparison.pairs)
    return ", ".join(f"{kind} {both[kind]:,} of {count:,}"
                     for kind, count in Counter(tag.kind for tag in result.theirs).most_common())


def alone(result):
    found = Counter(tag.kind for tag in result.comparison.alone)
    return ", ".join(f"{kind} {count:,}" for kind, count in found.most_common()) or "nothing"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--program", required=True)
    parser.add_argument("--page", type=Path, help="write the tables between the marks of this page")
    parser.add_argument("trees", nargs="+", metavar="TREE",
                        help="a folder, or LANGUAGE:NAME:FOLDER for one language of it")
    options = parser.parse_args()
    results = []
    for tree in options.trees:
        one = None if Path(tree).is_dir() else re.fullmatch(r"(\w+):([^:]*):(.*)", tree)
        language, name, folder = one.groups() if one else ("", tree, tree)
        if not Path(folder).is_dir():
            sys.exit(f"recall.py: there is no folder {folder}")
        results += measure(options.program, name, folder, language)
    if options.page:
        text = options.page.read_text()
        head, rest = text.split(BEGIN, 1)
        options.page.write_text(head + BEGIN + page(results) + END + rest.split(END, 1)[1])


if __name__ == "__main__":
    main()
