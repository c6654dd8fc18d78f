"""What three readers find in the files of a tree: the index, universal-ctags and Python's own ast."""

import ast
import json
import re
import sqlite3
import subprocess
import tempfile
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


# What the index calls callables and types; its constants and modules are not compared.
OUR_GROUPS = {"function": CALLABLE, "method": CALLABLE, "constructor": CALLABLE, "macro": CALLABLE,
              "class": TYPE, "struct": TYPE, "union": TYPE, "interface": TYPE, "trait": TYPE,
              "enum": TYPE, "type": TYPE, "module": TYPE}


def kinds(callables, types=""):
    return {**dict.fromkeys(callables.split(), CALLABLE), **dict.fromkeys(types.split(), TYPE)}


C_TYPES = "struct union enum typedef"
# By our name of the language: the name that ctags has for it, and which of its kinds are callables
# and types. The other kinds (fields, variables, namespaces, imports...) are not compared.
LANGUAGES = {
    "bash": ("Sh", kinds("function")),
    "c": ("C", kinds("function prototype", C_TYPES)),
    "cpp": ("C++", kinds("function prototype", C_TYPES + " class")),
    "csharp": ("C#", kinds("method", "class enum interface struct")),
    "elixir": ("Elixir", kinds("function macro guard delegate operator", "module protocol")),
    "go": ("Go", kinds("func methodSpec", "struct interface type talias")),
    "haskell": ("Haskell", kinds("function", "type")),
    "java": ("Java", kinds("method", "class enum interface annotation")),
    "javascript": ("JavaScript", kinds("function method generator getter setter", "class")),
    "julia": ("Julia", kinds("function macro", "struct type")),
    "kotlin": ("Kotlin", kinds("method", "class interface object typealias")),
    "lua": ("Lua", kinds("function")),
    "objc": ("ObjectiveC", kinds("function method class", C_TYPES + " interface implementation "
                                 "protocol category")),
    "ocaml": ("OCaml", kinds("function method", "class type")),
    "php": ("PHP", kinds("function", "class interface trait")),
    "python": ("Python", kinds("function member", "class")),
    "r": ("R", kinds("function")),
    "ruby": ("Ruby", kinds("method singletonMethod", "class module")),
    "rust": ("Rust", kinds("function method macro", "struct enum interface typedef")),
    "typescript": ("TypeScript", kinds("function method generator",
                                       "class interface enum alias")),
}

# What a file holds besides source is not cut out by ctags.
OTHER_FORMS = (".ipynb", ".svelte", ".vue")


def plain_name(name, language):
    """The name without what readers spell each in their own way."""
    if language == "lua":
        name = re.split(r"[.:]", name)[-1]
    elif language in ("cpp", "csharp", "kotlin"):
        name = re.sub(r"\s+|^operator(?=\W)|<.*$", "", name)
        name = name.strip("`") if language != "csharp" else name.split(".")[-1]
    elif language == "elixir":
        name = name.split(".")[-1]
    elif language == "julia":
        name = name.split(".")[-1]
    elif language == "ruby":
        name = re.sub(r"^self\.", "", name).split("::")[-1]
    elif language == "r":
        name = name.strip("`")
    elif language == "javascript" or language == "typescript":
        name = name.removeprefix("#")
    elif language == "rust":
        name = name.removeprefix("r#")
    return name


def read_index(program, tree):
    """Indexes the tree; the definitions and the files of each language, and the program's words."""
    run = subprocess.run([program, "index", "--no-embeddings", "--yes", tree], capture_output=True,
                         text=True, check=True)
    database = sqlite3.connect(f"file:{tree}/.velmora/index.db?mode=ro", uri=True)
    files, found = {}, {}
    for path, language in database.execute(
            "SELECT path, language FROM files WHERE skipped = '' AND language <> ''"):
        files.setdefault(language, []).append(path)
    rows = database.execute("SELECT path, s.language, name, kind, start_line, end_line FROM symbols s "
                            "JOIN files f ON f.id = s.file ORDER BY path, start_line, s.id")
    for path, language, name, kind, start, end in rows:
        found.setdefault(language, []).append(
            Tag(path, start, end, plain_name(name, language), kind, OUR_GROUPS.get(kind, kind)))
    return found, files, run.stdout + run.stderr


def read_ctags(tree, language, files):
    """What ctags finds of the kinds above, when it reads the files in that language."""
    title, kinds_of = LANGUAGES[language]
    command = ["ctags", "-L", "-", "-f", "-", f"--language-force={title}", "--output-format=json",
               "--fields=+neKs", "--links=no"]
    if language in ("c", "cpp"):
        command.append(f"--kinds-{title}=+p")
    run = subprocess.run(command, cwd=tree, input="\n".join(files), capture_output=True, text=True,
                         errors="replace", check=True)
    tags = []
    for line in run.stdout.splitlines():
        try:
            tag = json.loads(line)
        except ValueError:
            continue  # a name that is no text
        group = kinds_of.get(tag.get("kind"))
        if group:
            in_callable = kinds_of.get(tag.get("scopeKind")) == CALLABLE
            scope = re.split(r"[.:#]", tag["scope"])[-1] if in_callable else ""
            tags.append(Tag(tag["path"], tag["line"], tag.get("end", 0),
                            plain_name(tag["name"], language), tag["kind"], group, scope))
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
