"""A repository in Python keeps what a repository promises: the contract tests of C++ run on it."""

from __future__ import annotations

import ctypes
import json
import math
import os
import unittest
import unittest.mock
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import Any

import velmora
from velmora import _c
from velmora._tables import repository_table

HOLD = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_size_t)


class Held(velmora.Repository):
    """What it holds, one state at a time: whoever began to read goes on with what was there."""

    def __init__(self) -> None:
        self.state: tuple[int, dict[str, Any]] = (0, {"model": "", "symbols": []})

    def hold(self, text: int, size: int) -> None:
        self.state = (self.state[0] + 1, json.loads(ctypes.string_at(text, size)))

    def fingerprint(self) -> str:
        return f"{id(self)}.{self.state[0]}"

    def symbols(self, languages: Sequence[str], kinds: Sequence[str]) -> Iterable[velmora.Symbol]:
        for held in self.state[1]["symbols"]:
            if held["language"] in languages and held["kind"] in kinds:
                fields = {k: v for k, v in held.items() if k not in ("language", "embedding")}
                yield velmora.Symbol(**fields)

    def nearest(self, values: Sequence[float], model: str, top_k: int) -> list[tuple[int, float]]:
        held = self.state[1]
        if model != held["model"]:
            return []
        pairs = [
            (symbol["id"], cosine(values, symbol["embedding"]))
            for symbol in held["symbols"]
            if symbol["embedding"]
        ]
        return sorted(pairs, key=lambda pair: (-pair[1], pair[0]))[:top_k]

    def docstrings(self, ids: Sequence[int]) -> Mapping[int, str | None]:
        return {s["id"]: s["docstring"] for s in self.state[1]["symbols"] if s["id"] in ids}


def cosine(left: Sequence[float], right: Sequence[float]) -> float:
    if len(left) != len(right):
        raise ValueError("the vector has another length than the stored ones")
    dot = sum(a * b for a, b in zip(left, right))
    return dot / (math.hypot(*left) * math.hypot(*right))


def callback(kind: Any, function: Callable[..., None], *, reaches_caller: bool) -> Any:
    """As the package has it, for callers that are no call of the package's."""

    def guarded(_: object, *arguments: Any) -> int:
        try:
            function(*arguments)
        except Exception as error:
            _c.set_message(_c.string(str(error)))
            return 9  # VELMORA_OTHER
        return 0

    return kind(guarded)


class ContractTest(unittest.TestCase):
    def test_a_repository_in_python_keeps_the_contract(self) -> None:
        held = Held()
        with unittest.mock.patch("velmora._tables.callback", callback):
            table, hold = repository_table(held), HOLD(held.hold)
        library = ctypes.CDLL(os.environ["VELMORA_LIBRARY"])
        self.assertEqual(library.velmora_run_contract(ctypes.byref(table), hold), 0)
