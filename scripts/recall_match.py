"""Which definitions of two readers are the same, and why ctags or ast alone has the others."""

import re
from collections import defaultdict
from dataclasses import dataclass, field

from recall_tags import CALLABLE, C_FAMILY, TYPE

# Where one definition may begin for two readers, in lines: decorators, annotations, and a return
# type on a line of its own are in the index before the line that ctags tells.
BEFORE, AFTER = 3, 20

# Why a definition is not in the index, in the order in which they are looked for. No definitions:
NO_DEFINITION = {
    "unnamed": "has no name in the source: a lambda, a companion, or a word that is no name",
    "misread": "is no definition: a value, a variable, an enum's constant, a constraint...",
    "text": "stands in a string, a here-document or an example in documentation",
    "repeated": "is told twice: it lies in a listed one of its name (a struct and its typedef, clauses)",
}
# Definitions that the index leaves out on purpose:
LEFT_OUT = {
    "local": "stands in a function that is listed, or that ctags names",
    "block": "stands in a function without a name, or in a block that a call is given, as tests are",
    "ahead": "a C prototype in a source file, ahead of its definition",
    "macro": "made by a macro, and named after it by ctags",
    "category": "a category of Objective-C: the methods in it are listed, of the class that they extend",
    "associated": "a type that an implementation of a Rust trait gives",
}
MISSED = {
    "elsewhere": "another one of its name in the file is listed: the other branch of an #if, mostly",
    "missed": "missed: the grammar did not understand what is around, or does not know the construct",
}
REASONS = {**NO_DEFINITION, **LEFT_OUT, **MISSED}


@dataclass
class Comparison:
    pairs: list = field(default_factory=list)  # (theirs, ours)
    missed: list = field(default_factory=list)  # (theirs, one of the reasons)
    alone: list = field(default_factory=list)  # ours
    locals: list = field(default_factory=list)  # ours, though they stand in a function that is listed

    def wanted(self):
        """How many definitions of the others there are that the index is to have."""
        return len(self.pairs) + sum(reason in MISSED for _, reason in self.missed)


def near(theirs, ours):
    """Whether it may be the same definition; a typedef of C is where its name is, on the last line."""
    last = max(ours.line + BEFORE, min(ours.line + AFTER, ours.end))
    return ours.line - BEFORE <= theirs.line <= last or theirs.line == ours.end


def pair(theirs, ours, key):
    """Nearest first, each once: the pairs, and what is left of both."""
    by_key = defaultdict(list)
    for number, own in enumerate(ours):
        by_key[key(own)].append((number, own))
    candidates = sorted((abs(tag.line - own.line), one, other) for one, tag in enumerate(theirs)
                        for other, own in by_key[key(tag)] if near(tag, own))
    partners, taken = {}, set()
    for _, one, other in candidates:
        if one not in partners and other not in taken:
            partners[one] = other
            taken.add(other)
    return ([(theirs[one], ours[other]) for one, other in sorted(partners.items())],
            [tag for one, tag in enumerate(theirs) if one not in partners],
            [own for other, own in enumerate(ours) if other not in taken])


class Callables:
    """The callables of the index, by file, with what stands in them."""

    def __init__(self, ours, pairs):
        # Where both tell the end, the earlier one counts: neither may call what follows local.
        ends = {id(own): min(own.end, tag.end) for tag, own in pairs if tag.end}
        self.of_file = defaultdict(list)
        for own in ours:
            if own.group == CALLABLE:
                self.of_file[own.path].append((own.line, ends.get(id(own), own.end)))

    def enclose(self, tag):
        return any(start < tag.line <= end and (tag.end or tag.line) <= end
                   for start, end in self.of_file[tag.path])


def indented_in_callable(tag, starts, lines):
    """Whether a line that encloses the tag, by how far it is indented, is among those at which a
    callable starts."""
    depth = indentation(lines[tag.line - 1])
    for number in range(tag.line - 1, 0, -1):
        line = lines[number - 1]
        if depth == 0:
            break
        if line.strip() and indentation(line) < depth:
            depth = indentation(line)
            if number in starts:
                return True
    return False


def compare(theirs, ours, lines_of, language):
    """Pairs those of one group, then what is named alike at the same place. `lines_of` gives the
    lines of a file."""
    result = Comparison()
    result.pairs, rest, left = pair(theirs, ours, lambda tag: (tag.path, tag.name, tag.group))
    more, rest, left = pair(rest, left, lambda tag: (tag.path, tag.name))
    result.pairs += more
    result.alone = [own for own in left if own.group in (CALLABLE, TYPE)]
    callables = Callables(ours, result.pairs)
    result.locals = [own for own in ours if callables.enclose(own)]
    known = {id(own) for own in result.locals}
    starts = defaultdict(set)
    for tag in theirs:
        if tag.group == CALLABLE and not UNNAMED.match(tag.name):
            starts[tag.path].add(tag.line)
    result.locals += [own for tag, own in result.pairs if tag.scope and tag.group == own.group
                      and id(own) not in known
                      and indented_in_callable(tag, starts[tag.path], lines_of(tag.path))]
    same_name = defaultdict(list)
    for own in ours:
        same_name[own.path, own.name].append(own)
    for tag in rest:
        lines = lines_of(tag.path)
        alike = same_name[tag.path, tag.name]
        result.missed.append((tag, why_missed(tag, callables, alike, lines, language)))
    return result


# --- Why ---------------------------------------------------------------------------------------

UNNAMED = re.compile(r"(__)?anon\w*[0-9a-f]{6,}$|<\w+>$|_$|unquote$|self$|$", re.I)

# How a line reads that ctags takes for a definition, by kind and name (NAME).
_JAVASCRIPT = [("class", r"^(?!.*\bclass\b)|\.exports\s*="), ("", r"\.exports\s*=|^\s*delete\b"),
               ("method|function", r"\bNAME['\])]*\s*=\s*[\w.\[\]]*;?$"),
               ("", r"\]\s*=\s*(async\s+)?function")]
_C = [("", r"static_assert|\bNAME\s*\(\w+\)\s*\(")]
MISREAD = {
    "bash": [("", r"^(?!\s*(function\s+)?NAME\s*\(\s*\)\s*([{(#].*)?$|\s*function\s+NAME\s*\{?$)")],
    "c": _C,
    "cpp": _C,
    "go": [("func", r"\) NAME \{$")],
    "haskell": [("function", r"^\s*(class|infix[lr]?|instance|deriv\w+|type|via) |[{,]\s*NAME\b"),
                ("function", r"^[^=|]*$"), ("type", r"^(data|type|newtype) (family|instance) |:\*")],
    "java": [("method", r"^\s*[A-Z][A-Z0-9_]*\(.*\)\s*\{$")],
    "javascript": _JAVASCRIPT,
    "lua": [("", r"^(?!.*(function\s+[\w.:]*NAME\b|\bNAME\"?\]?\s*=\s*function))")],
    "objc": [("struct|union|enum", r"\bNAME\b[^{]*[;,)]|^(?!.*\b(struct|union|enum)\b)"),
             ("struct|union", r"^[^{]*\bNAME\b\s*\*?\s*$"),
             ("function", r"^@class|^[-+]\s*\(|\(\s*\*"), ("protocol", r";"),
             ("typedef", r"\(\*?\s*\w+\)\s*\(|[^;]$|^\s*(struct|enum)\b")],
    "ocaml": [("type", r"\b(with|and) type\b|^\s*(with|and)\b|:=|\+=|\bnonrec\b|\(module\b"),
              ("type", r": \w+\.\w+ with"),
              ("function", r"let[+*%]|and[+*%]|let \(|let\(")],
    "typescript": [("alias", r"^(?!.*\btype NAME\b)"), ("", r"\[\s*[\w.]*\bNAME|\(NAME\b|\bnew\s*[<(]")],
}

# How the first line of a block begins or ends that is no listed definition, and whose content is
# local all the same.
_CALLBACK = r"\bfunction\s*\*?\s*\w*\(.*\{$|=>\s*[{(]?$|^(if|else|for|while|try|switch)\b|^\{$"
BLOCKS = {
    "bash": r"'$",
    "elixir": r"^(test|quote|describe|setup)\b|\b(quote|assert_raise)\b.* do$|->$",
    "javascript": _CALLBACK,
    "kotlin": r"^(?!.*\b(class|interface|(companion|private|internal|public) object|^object)\b)"
              r".*\{(\s*[\w, ]+ ->)?$",
    "lua": r"\bfunction\s*\(|^do$|\{$",
    "r": r"[({]$",
    "ruby": r"\bdo(\s*\|.*\|)?$|\{\s*(\|.*\|)?$",
    "typescript": _CALLBACK,
}
# In these languages what encloses others ends so on its first line; other lines, such as those of a
# text, may be indented as they like.
OPENERS = {language: r"[{(\[]$|=>$|->$|'$" for language in
           ("javascript", "typescript", "kotlin", "r", "bash")}

def indentation(line):
    return len(line) - len(line.lstrip())


def in_block(tag, lines, language):
    """Whether a line that encloses the tag, by how far it is indented, opens a block."""
    opens = BLOCKS.get(language)
    if opens is None:
        return False
    if language in ("javascript", "typescript") and re.search(
            r"[(,:]\s*(async\s+)?function\b", lines[tag.line - 1]):
        return True  # given to a call
    depth = indentation(lines[tag.line - 1])
    for line in reversed(lines[:tag.line - 1]):
        if depth == 0:
            break
        encloses = re.search(OPENERS.get(language, r"\S"), line.rstrip())
        if encloses and indentation(line) < depth:
            depth = indentation(line)
            if re.search(opens, line.strip()):
                return True
    return False


_HEREDOC = re.compile(r"<<[-~]?\s*\\?(['\"]?)(\w+)\1")


def text_end(line, language):
    """What ends the text of several lines that begins on this one; none: None."""
    if language == "lua":
        return "]]" if "[[" in line.split("]]")[-1] else None
    if language == "elixir":
        return next((quote for quote in ('"""', "'''") if line.count(quote) == 1), None)
    heredoc = _HEREDOC.search(line) if language in ("bash", "ruby") else None
    return heredoc and heredoc[2]


def in_text(tag, lines, language):
    """Whether a text of several lines is open before the tag's line."""
    end = None
    for line in lines[:tag.line - 1]:
        if end is None:
            end = text_end(line, language)
        elif line.strip() == end or language == "lua" and end in line:
            end = None
    return end is not None


def why_missed(tag, callables, same_name, lines, language):
    line = lines[tag.line - 1] if tag.line <= len(lines) else ""
    word = re.escape(tag.name.strip("~`#"))
    is_written = tag.name.startswith("operator") or tag.name.strip("~`#").split(":")[0] in line
    if UNNAMED.match(tag.name) or not is_written:
        return "unnamed"
    if in_text(tag, lines, language):
        return "text"
    for kinds, pattern in MISREAD.get(language, ()):
        if re.fullmatch(kinds or ".*", tag.kind) and re.search(pattern.replace("NAME", word), line):
            return "misread"
    if tag.scope or callables.enclose(tag):
        return "local"
    if any(own.group == tag.group and own.line - BEFORE <= tag.line <= own.end for own in same_name):
        return "repeated"
    if language in C_FAMILY:
        if re.search(rf"^[\w\s]*\b{word}\s*\(", line) and re.fullmatch(r"[A-Z]{2}[A-Z0-9]*(_\w*)?", tag.name):
            return "macro"
        if tag.kind == "prototype" and not re.search(r"\.(h|hh|hpp|hxx|h\+\+|inl|ipp|tpp|tcc)$", tag.path):
            return "ahead"
        if tag.kind == "category" or tag.kind in ("interface", "implementation") and "(" in line:
            return "category"
    if language == "rust" and tag.kind == "typedef" and line.startswith(" "):
        return "associated"
    if in_block(tag, lines, language):
        return "block"
    return "elsewhere" if same_name else "missed"
