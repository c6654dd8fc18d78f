"""What a question is answered with."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass

from . import _c
from ._calls import check

_CHANNELS = ("exact", "lexical", "file", "semantic")  # by the number that the library gives them


@dataclass(frozen=True)
class Hit:
    """A symbol that answers the question."""

    id: int
    fqn: str  # fully qualified name
    name: str
    kind: str  # "function", "class", ...
    path: str  # relative to the root
    start_line: int
    end_line: int
    signature: str | None
    score: float  # comparable within one answer; not the order of the hits
    ranks: dict[str, int]  # the place in each channel that found it, from 1


@dataclass(frozen=True)
class Answer:
    """The hits, the best first, and what they are worth."""

    hits: tuple[Hit, ...]
    # What became of "exact" (names), "lexical" (BM25 over each symbol's words), "file" (BM25 over
    # whole files) and "semantic" (embeddings): "ok", "partial" (ranked, but stopped short),
    # "unavailable" (could not rank) or "failed" (the log tells).
    channels: dict[str, str]
    note: str | None  # one line on what the ranking had to do without


def answer_of(pointer: int) -> Answer:
    """A copy of the library's answer."""
    return Answer(
        hits=tuple(_hit(pointer, position) for position in range(_c.answer_size(pointer))),
        channels={
            channel: _c.text(_c.answer_channel(pointer, number))
            for number, channel in enumerate(_CHANNELS)
        },
        note=_c.maybe_text(_c.answer_note(pointer)),
    )


def _hit(pointer: int, position: int) -> Hit:
    found = _c.sized(_c.Hit)
    check(_c.answer_hit(pointer, position, ctypes.byref(found)))
    ranks = {channel: getattr(found, f"{channel}_rank") for channel in _CHANNELS}
    return Hit(
        id=found.id,
        fqn=_c.text(found.fqn),
        name=_c.text(found.name),
        kind=_c.text(found.kind),
        path=_c.text(found.path),
        start_line=found.start_line,
        end_line=found.end_line,
        signature=_c.maybe_text(found.signature),
        score=found.score,
        ranks={channel: rank for channel, rank in ranks.items() if rank > 0},
    )
