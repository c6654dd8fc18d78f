"""What three readers find in the files of a tree: the index, universal-ctags and Python's own ast."""

import ast
import json
import re
import sqlite3
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

CALLABLE, TYPE = "function or method", "type"


@dataclass(frozen=True)
class Tag:
    """A definition. `name` is spelled as `plain_name` spells it."""

    path: str  # below the tree
    line: int  # where ctags says that it is; the first line in the index, decorators among them
    end: int  # the last line; 0: the reader does not say
    name: str
    kind: str  # in the reader's own words
    group: str
    scope: str = ""  # the function in which the reader says that it stands


# What the index calls callables and types. Its other kinds only count where they have the name and
# the place of what another reader tells; so do the macros of C, of which ctags tells all others too.
OUR_GROUPS = {"function": CALLABLE, "method": CALLABLE, "constructor": CALLABLE, "macro": CALLABLE,
              "class": TYPE, "struct": TYPE, "union": TYPE, "interface": TYPE, "trait": TYPE,
              "enum": TYPE, "type": TYPE}
C_FAMILY = ("c", "cpp", "objc")


@dataclass(frozen=True)
class Language:
    """What ctags calls a language, and which of its kinds are callables and types. Its other kinds
    (fields, variables, constants, namespaces, imports) are not compared."""

    ctags: str
    kinds: dict
    title: str


def known(ctags, callables, types="", title=None):
    kinds = {**dict.fromkeys(callables.split(), CALLABLE), **dict.fromkeys(types.split(), TYPE)}
    return Language(ctags, kinds, title or ctags)


C_TYPES = "struct union enum typedef"
# By the name that the index has for them: those that ctags knows too.
LANGUAGES = {
    "bash": known("Sh", "function", title="Bash"),
    "c": known("C", "function prototype", C_TYPES),
    "cpp": known("C++", "function prototype", C_TYPES + " class"),
    "csharp": known("C#", "method", "class enum interface struct"),
    "elixir": known("Elixir", "function macro guard delegate operator", "module protocol"),
    "go": known("Go", "func methodSpec", "struct interface type talias"),
    "haskell": known("Haskell", "function", "type"),
    "java": known("Java", "method", "class enum interface annotation"),
    "javascript": known("JavaScript", "function method generator getter setter", "class"),
    "julia": known("Julia", "function macro", "struct type"),
    "kotlin": known("Kotlin", "method", "class interface object typealias"),
    "lua": known("Lua", "function"),
    "objc": known("ObjectiveC", "function method class",
                  C_TYPES + " interface implementation protocol category", title="Objective-C"),
    "ocaml": known("OCaml", "function method", "class type"),
    "php": known("PHP", "function", "class interface trait"),
    "python": known("Python", "function member", "class"),
    "r": known("R", "function"),
    "ruby": known("Ruby", "method singletonMethod", "class module"),
    "rust": known("Rust", "function method macro", "struct enum interface typedef"),
    "typescript": known("TypeScript", "function method generator", "class interface enum alias"),
}

# What a file holds besides source is not cut out by ctags.
OTHER_FORMS = (".ipynb", ".svelte", ".vue")


def plain_name(name, language):
    """The name without what readers spell each in their own way."""
    if language in ("lua", "elixir", "julia", "csharp"):
        name = re.split(r"[.:]", name)[-1]
    elif language == "cpp":
        name = re.sub(r"\s+|<.*$", "", name) if not name.startswith("operator") else name.replace(" ", "")
    elif language in ("kotlin", "r"):
        name = name.strip("` ")
    elif language == "ruby":
        name = name.removeprefix("self.").split("::")[-1]
    elif language in ("javascript", "typescript"):
        name = name.removeprefix("#")
    elif language == "rust":
        name = name.removeprefix("r#")
    return name


def group(kind, language):
    return kind if kind == "macro" and language in C_FAMILY else OUR_GROUPS.get(kind, kind)


def read_index(program, tree):
    """Indexes the tree; the definitions and the files of each language, and the program's words."""
    run = subprocess.run([program, "index", "--no-embeddings", "--yes", str(tree)], capture_output=True,
                         text=True)
    if run.returncode:
        sys.exit(f"recall.py: {program} could not index the tree: {run.stderr.strip()}")
    database = sqlite3.connect(f"file:{tree}/.velmora/index.db?mode=ro", uri=True)
    files, found = {}, {}
    for path, language in database.execute(
            "SELECT path, language FROM files WHERE skipped = '' AND language <> ''"):
        files.setdefault(language, []).append(path)
    rows = database.execute("SELECT path, s.language, name, kind, start_line, end_line FROM symbols s "
                            "JOIN files f ON f.id = s.file ORDER BY path, start_line, s.id")
    for path, language, name, kind, start, end in rows:
        found.setdefault(language, []).append(
            Tag(path, start, end, plain_name(name, language), kind, group(kind, language)))
    return found, files, (run.stdout + run.stderr).strip()


def read_ctags(tree, language, files):
    """What ctags finds of the kinds above, when it reads the files in that language."""
    kinds_of = LANGUAGES[language].kinds
    command = ["ctags", "-L", "-", "-f", "-", f"--language-force={LANGUAGES[language].ctags}", "--output-format=json",
               "--fields=+neKs", "--links=no"]
    if language in ("c", "cpp"):
        command.append(f"--kinds-{LANGUAGES[language].ctags}=+p")
    run = subprocess.run(command, cwd=tree, input="\n".join(files), capture_output=True, text=True,
                         errors="replace", check=True)
    tags = []
    for line in run.stdout.splitlines():
        try:
            tag = json.loads(line)
        except ValueError:
            continue  # a name that is no text
        if tag.get("kind") in kinds_of:
            in_callable = kinds_of.get(tag.get("scopeKind")) == CALLABLE
            scope = re.split(r"[.:#]", tag["scope"])[-1] if in_callable else ""
            tags.append(Tag(tag["path"], tag["line"], tag.get("end", 0),
                            plain_name(tag["name"], language), tag["kind"], kinds_of[tag["kind"]], scope))
    return tags


def read_ast(tree, files):
    """What Python's own parser finds in the files that it can read, and those."""
    tags, read = [], []

    def walk(path, node, scope, in_class):
        for child in ast.iter_child_nodes(node):
            if isinstance(child, ast.ClassDef):
                tags.append(Tag(path, child.lineno, child.end_lineno, child.name, "class", TYPE, scope))
                walk(path, child, scope, True)
            elif isinstance(child, (ast.FunctionDef, ast.AsyncFunctionDef)):
                kind = "method" if in_class else "function"
                tags.append(Tag(path, child.lineno, child.end_lineno, child.name, kind, CALLABLE, scope))
                walk(path, child, child.name, False)
            elif not isinstance(child, ast.expr):
                walk(path, child, scope, in_class)

    for path in files:
        try:
            tree_of_file = ast.parse((Path(tree) / path).read_bytes())
        except (SyntaxError, ValueError, RecursionError):
            continue  # made for another Python, or broken to test one
        read.append(path)
        walk(path, tree_of_file, "", False)
    return tags, read
