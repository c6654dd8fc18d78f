"""What the tests share: folders to index, and a host in Python."""

from __future__ import annotations

import os
import tempfile
import unittest
from collections.abc import Iterable, Mapping, Sequence
from pathlib import Path

import velmora

RETRY = 'def delay_retry(attempt):\n    """Waits before another attempt."""\n\nclass Queue:\n    pass\n'


class FolderTest(unittest.TestCase):
    """Has a folder of its own with a few sources, a setting, and a link that is left out."""

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name).resolve()
        self.write("retry.py", RETRY)
        self.write("src/notes.c", "int notes(void) { return 0; }\n")
        self.write("tests/test_queue.py", "def test_queue():\n    pass\n")
        self.write(".velmora.toml", "[ranking]\nrrf_k = 17\n")
        os.symlink("retry.py", self.folder / "link.py")

    def write(self, name: str, text: str) -> None:
        file = self.folder / name
        file.parent.mkdir(exist_ok=True)
        file.write_text(text)

    def opened(self) -> velmora.Index:
        index = velmora.Index.open(self.folder)
        self.addCleanup(index.close)
        return index


def symbol(id: int, name: str, docstring: str | None = None) -> velmora.Symbol:
    return velmora.Symbol(id, f"config.{name}", name, "function", "config.py", 1, 2, None, docstring)


class Host(velmora.Repository, velmora.Embedder, velmora.Decider):
    """An index in memory with models of two numbers. The function named `where` raises `error`."""

    def __init__(self, where: str = "", error: BaseException | None = None) -> None:
        self.rows = [
            symbol(-7, "read_config", "Reads a file. Then more."),
            symbol(1, "load_config", "Loads a file."),
            symbol(2, "drop_config"),
        ]
        self.state = "one"
        self.walks = 0  # that are under way
        self.where = where
        self.error = error
        self.asked: list[velmora.Decision] = []

    def retriever(self) -> velmora.Retriever:
        return velmora.Retriever(self, embedder=self, decisions=self)

    def fail(self, where: str) -> None:
        if where == self.where and self.error is not None:
            raise self.error

    def fingerprint(self) -> str:
        self.fail("fingerprint")
        return self.state

    def symbols(self, languages: Sequence[str], kinds: Sequence[str]) -> Iterable[velmora.Symbol]:
        self.fail("symbols")
        assert "python" in languages and "function" in kinds
        return self.walk()

    def walk(self) -> Iterable[velmora.Symbol]:
        self.walks += 1
        try:
            yield from self.rows
            self.fail("iterator")
        finally:
            self.walks -= 1

    def nearest(
        self, vector: Sequence[float], model: str, top_k: int
    ) -> Iterable[tuple[int, float]]:
        self.fail("nearest")
        assert list(vector) == [0.5, -1.0] and model == "tiny" and top_k >= 1
        return [(2, 0.9), (-7, 0.1)][:top_k]

    def docstrings(self, ids: Sequence[int]) -> Mapping[int, str | None]:
        self.fail("docstrings")
        return {row.id: row.docstring for row in self.rows if row.id in ids}

    def embed(self, query: str) -> velmora.Vector:
        self.fail("embed")
        return velmora.Vector((0.5, -1.0), "tiny")

    def enabled(self) -> bool:
        self.fail("enabled")
        return True

    def consent(self) -> bool:
        self.fail("consent")
        return True

    def decide(self, decision: velmora.Decision) -> Sequence[float]:
        """Puts the last one first."""
        self.fail("decide")
        self.asked.append(decision)
        count = len(decision.candidates)
        return [position / count for position in range(count)]
