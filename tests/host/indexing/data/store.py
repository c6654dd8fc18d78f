#!/usr/bin/env python3
# Copyright nobody. All rights reserved.
"""Keeps what was measured.

    Indented a little.
"""

import os

# Bytes of one page.
PAGE_SIZE: int = 4096
MODES = {
    "r": 1, "w": 2, "a": 4, "x": 8, "read": 16, "write": 32, "append": 64, "create": 128, "text": 256, "binary": 512,
}
_lower = 1
if os.name == "posix":
    FALLBACK = "store" "d"


def plain(a, *rest, key=(1, 2), **options):
    def inside():
        pass
    class Inside:
        pass
    LOCAL = 3
    return [x for x in rest]


def wrapped(call):
    def only(*arguments): return call(*arguments)


def described():
    """Makes a class."""
    class Local:
        def method(self): pass


# The area of one.
area = lambda w, h=(1, 2): w * h
now = lambda: 1


# Reads it all,
# slowly.
async def read_all(
    path: "os.PathLike[str]",
    limit: int = 10,  # lines
) -> list[str]:
    return []


@register
class Store(Base, metaclass=Meta):
    """The store."""

    VERSION = 3
    # How far it goes.
    depth: Final[int] = 4
    _names = {}
    key = lambda self, name: name

    def __init__(self, path):
        r'''Opens \d files.'''
        self.path = path

    @property
    def size(self) -> int:
        """
        How large it is.

          More.
        """
        return 0

    @classmethod
    # between
    @cached(
        maxsize=10)
    def make(cls, kind="plain"): return cls(kind)

    @staticmethod
    def parse(text): ""

    class Page:
        def touch(self): pass


type Pair[T] = tuple[T, T]


class Box[T: Store](Generic[T]):
    def first[U](self, items: list[U]) -> U: return items[0]


def last(): pass
