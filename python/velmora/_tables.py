"""Hands a host's index and models to the library, as tables of functions that C can call.

A table keeps its functions, and they keep the object that they stand for; nothing refers back to the
table. The library copies a table, so whoever gives it away keeps it as long as the library may call
the functions.
"""

from __future__ import annotations

import ctypes
import itertools
import logging
from array import array
from collections.abc import Iterable, Iterator
from typing import Any

from . import _c
from ._calls import callback, check
from .host import Decider, Decision, Embedder, Repository, Symbol

_LOGGER = logging.getLogger("velmora.python")
_SIZE = ctypes.sizeof(ctypes.c_size_t)


class _Cursor:
    """A walk over a host's symbols. The row keeps the texts of its last one."""

    def __init__(self, symbols: Iterable[Symbol]) -> None:
        self.symbols: Iterator[Symbol] = iter(symbols)
        self.row = _c.Symbol()

    def next(self, out: _c.Symbol) -> bool:
        for symbol in self.symbols:
            fill(self.row, symbol)
            # All but the size, as far as the library knows the struct.
            size = min(out.size, ctypes.sizeof(_c.Symbol)) - _SIZE
            ctypes.memmove(
                ctypes.addressof(out) + _SIZE, ctypes.addressof(self.row) + _SIZE, size
            )
            return True
        return False

    def close(self) -> None:
        close = getattr(self.symbols, "close", None)
        if close is not None:
            close()


def fill(row: _c.Symbol, symbol: Symbol) -> None:
    """Puts the symbol into the row, which keeps its texts."""
    row.id = _c.within(symbol.id, *_c.INT64, "the id of a symbol")
    row.start_line = _c.within(symbol.start_line, *_c.INT64, "the start line of a symbol")
    row.end_line = _c.within(symbol.end_line, *_c.INT64, "the end line of a symbol")
    _c.put(row.fqn, _c.encoded(symbol.fqn))
    _c.put(row.name, _c.encoded(symbol.name))
    _c.put(row.kind, _c.encoded(symbol.kind))
    _c.put(row.path, _c.encoded(symbol.path))
    _c.put(row.signature, None if symbol.signature is None else _c.encoded(symbol.signature))
    _c.put(row.docstring, None if symbol.docstring is None else _c.encoded(symbol.docstring))


def repository_table(repository: Repository) -> _c.Repository:
    cursors: dict[int, _Cursor] = {}
    numbers = itertools.count(1)

    def fingerprint(out: int) -> None:
        check(_c.put_fingerprint(out, _c.string(repository.fingerprint())))

    def open_cursor(
        languages: Any, language_count: int, kinds: Any, kind_count: int, cursor: Any
    ) -> None:
        opened = _Cursor(
            repository.symbols(_texts(languages, language_count), _texts(kinds, kind_count))
        )
        number = next(numbers)
        cursors[number] = opened
        cursor[0] = number

    def next_row(cursor: int, row: Any, is_row: Any) -> None:
        is_row[0] = cursors[cursor].next(row.contents)

    def close_cursor(_: object, cursor: int) -> None:
        try:
            cursors.pop(cursor).close()
        except BaseException:
            _LOGGER.warning("Closing the symbols of the host failed", exc_info=True)

    def nearest(values: Any, count: int, model: _c.String, top_k: int, out: int) -> None:
        vector = array("f", ctypes.string_at(values, count * ctypes.sizeof(ctypes.c_float)))
        for id, similarity in repository.nearest(vector, _c.text(model), top_k):
            check(_c.put_pair(out, _c.within(id, *_c.INT64, "an id"), similarity))

    def docstrings(ids: Any, count: int, out: int) -> None:
        for id, docstring in repository.docstrings(ids[:count]).items():
            check(_c.put_docstring(out, _c.within(id, *_c.INT64, "an id"), _c.string(docstring)))

    return _c.sized(
        _c.Repository,
        fingerprint=callback(_c.FINGERPRINT, fingerprint, reaches_caller=True),
        open=callback(_c.OPEN, open_cursor, reaches_caller=True),
        next=callback(_c.NEXT, next_row, reaches_caller=True),
        close=_c.CLOSE(close_cursor),
        nearest=callback(_c.NEAREST, nearest, reaches_caller=False),
        docstrings=callback(_c.DOCSTRINGS, docstrings, reaches_caller=False),
    )


def embedder_table(embedder: Embedder) -> _c.Embedder:
    def embed(query: _c.String, out: int) -> None:
        vector = embedder.embed(_c.text(query))
        values = (ctypes.c_float * len(vector.values))(*vector.values)
        check(_c.put_vector(out, values, len(values), _c.string(vector.model)))

    return _c.sized(_c.Embedder, embed=callback(_c.EMBED, embed, reaches_caller=False))


def decider_table(decider: Decider) -> _c.Decider:
    def enabled(out: Any) -> None:
        out[0] = bool(decider.enabled())

    def consent(out: Any) -> None:
        out[0] = bool(decider.consent())

    def decide(pointer: Any, probabilities: Any) -> None:
        asked: _c.Decision = pointer.contents
        found = decider.decide(
            Decision(
                question=_c.text(asked.question),
                candidates=_texts(asked.candidates, asked.count),
                questions=_texts(asked.questions, asked.count),
                version=_c.text(asked.version),
            )
        )
        if len(found) != asked.count:
            raise ValueError(f"decide gave {len(found)} probabilities for {asked.count} candidates")
        for position, probability in enumerate(found):
            probabilities[position] = probability

    return _c.sized(
        _c.Decider,
        enabled=callback(_c.FLAG, enabled, reaches_caller=True),
        consent=callback(_c.FLAG, consent, reaches_caller=False),
        decide=callback(_c.DECIDE, decide, reaches_caller=False),
    )


def _texts(strings: Any, count: int) -> tuple[str, ...]:
    return tuple(_c.text(strings[position]) for position in range(count))
