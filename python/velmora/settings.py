"""How a retriever ranks."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass, fields
from typing import Any

from . import _c
from ._calls import check, run


@dataclass(frozen=True)
class Settings:
    """How a retriever ranks. Nothing is validated but that the numbers fit; weights that are not
    finite make questions fail. Change some of an index's own settings or of the standard ones by
    dataclasses.replace."""

    rrf_k: int  # a symbol at rank r of a channel scores 1 / (rrf_k + r) there
    depth: int  # symbols that a channel hands on; at least the limit
    semantic_shortlist: int  # nearest embeddings searched first
    semantic_max_neighbours: int  # the most that are, for one question
    best_files: int  # whose symbols the file channel ranks; below 1: all matching
    # The BM25 weight of a match in each field of a symbol, ...
    weight_name: float
    weight_signature: float
    weight_path: float
    weight_docstring: float
    # ... and of a file.
    file_weight_names: float
    file_weight_path: float
    file_weight_docstrings: float
    tokenizer: str  # of SQLite's full-text search

    @staticmethod
    def standard() -> Settings:
        """How a retriever of a host's own index ranks unless told."""
        found = _c.sized(_c.Settings)
        run(lambda: check(_c.settings_default(ctypes.byref(found))))
        return settings_of(found)


_NAMES = tuple(field.name for field in fields(Settings))


def settings_of(found: _c.Settings) -> Settings:
    values: dict[str, Any] = {name: getattr(found, name) for name in _NAMES}
    values["tokenizer"] = _c.text(found.tokenizer)
    return Settings(**values)


def settings_for_c(settings: Settings) -> _c.Settings:
    made = _c.sized(_c.Settings)
    for name in _NAMES:
        value = getattr(settings, name)
        if name == "tokenizer":
            value = _c.string(value)
        elif not name.startswith(("weight_", "file_weight_")):
            value = _c.within(value, *_c.INT32, name)
        setattr(made, name, value)
    return made
