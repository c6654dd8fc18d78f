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


def last(): pass
