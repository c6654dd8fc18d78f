"""Asks an index."""

from __future__ import annotations

import ctypes
import os
from typing import Literal

from . import _c
from ._calls import run
from ._handle import Handle, Owner, opened
from ._tables import decider_table, embedder_table, repository_table
from .answer import Answer, answer_of
from .host import Decider, Embedder, Repository
from .index import Index, StrPath, path_string
from .settings import Settings, settings_for_c

_TESTS = {None: 0, True: 1, False: 2}


class Retriever(Owner):
    """Answers questions about one index. To be closed, or used by `with`."""

    def __init__(
        self,
        source: Index | Repository,
        *,
        embedder: Embedder | Literal["builtin"] | None = "builtin",
        decisions: Decider | Literal["builtin"] | None = "builtin",
        settings: Settings | None = None,
        model: StrPath | None = None,
    ) -> None:
        """Of an index, which may be closed first, or of a host's own.

        embedder: "builtin" is of use for a host's own index when that stores what a Model made of
            its symbols. None: rank by names and text only.
        decisions: what reorders the first hits; "builtin" does so only when questions are embedded.
            None: nothing.
        settings: None: those of the index, or the standard ones for a host's own.
        model: the file of the built-in embedder; None: as in Index.update.
        """
        options = _c.sized(_c.RetrieverOptions, model=path_string(model))
        if settings is not None:
            if not isinstance(settings, Settings):
                raise TypeError(f"settings are Settings or None, not {settings!r}")
            options.settings = ctypes.pointer(settings_for_c(settings))
        if isinstance(embedder, Embedder):
            options.embedder = ctypes.pointer(embedder_table(embedder))
        else:
            options.without_embedder = _without(embedder, "embedder", "an Embedder")
        if isinstance(decisions, Decider):
            options.decider = ctypes.pointer(decider_table(decisions))
        else:
            options.without_decider = _without(decisions, "decisions", "a Decider")
        super().__init__(run(lambda: _opened(source, options)))

    def explore(
        self,
        question: str,
        limit: int = 10,
        scope: StrPath | None = None,
        include_tests: bool | None = None,
        rerank: bool = True,
        *,
        verbatim: bool = False,
    ) -> Answer:
        """The answer to a question: a sentence, keywords or a name.

        The first question after the index changed reads it, for up to some seconds in a large
        repository, and those that come meanwhile wait for that; else it takes some milliseconds.
        Trouble in a channel is no error: the answer tells.

        limit: how many hits at most, at least 1.
        scope: a folder or a file, relative to the root; None: everywhere.
        include_tests: whether symbols in tests may be hits; None: if the question has words of
            tests.
        rerank: False keeps the order of the ranking.
        verbatim: take every word as it stands. Else, of an Index, the capital that begins a sentence
            is no sign of a name in code; a host's own index is always asked so.
        """
        if include_tests not in _TESTS:
            raise TypeError(f"include_tests is True, False or None, not {include_tests!r}")
        text = _c.string(question)
        options = _c.sized(
            _c.AskOptions,
            scope=_c.string(None if scope is None else os.fspath(scope)),
            limit=_c.within(limit, 1, _c.INT32[1], "limit"),
            tests=_TESTS[include_tests],
            without_rerank=not rerank,
            verbatim=verbatim,
        )
        return run(lambda: self._ask(text, options))

    def _ask(self, text: _c.String, options: _c.AskOptions) -> Answer:
        with self._handle.use() as pointer:
            answer = opened(_c.ask, pointer, text, ctypes.byref(options))
        try:
            return answer_of(answer)
        finally:
            _c.answer_free(answer)


def _without(given: object, name: str, kind: str) -> bool:
    if given is not None and given != "builtin":
        raise TypeError(f'{name} is {kind}, "builtin" or None, not {given!r}')
    return given is None


def _opened(source: Index | Repository, options: _c.RetrieverOptions) -> Handle:
    if isinstance(source, Index):
        with source._handle.use() as index:
            pointer = opened(_c.retriever_of_index, index, ctypes.byref(options))
        return Handle("retriever", _c.retriever_free, pointer, options)
    if not isinstance(source, Repository):
        raise TypeError(f"A Retriever is of an Index or a Repository, not of {source!r}")
    table = repository_table(source)
    pointer = opened(
        _c.retriever_of_repository, ctypes.byref(table), ctypes.byref(options)
    )
    return Handle("retriever", _c.retriever_free, pointer, (table, options))
