"""What a host hands to a Retriever: its own index, and its own models.

All functions are called on threads that ask, from any number of them at once (`symbols` and its
iterator by one of a retriever at a time), and may block. They may use this package, but must not ask
the retriever that calls them. Raising a StoppedError, or what is no Exception, always ends the
question and reaches its caller.
"""

from __future__ import annotations

from abc import ABC, abstractmethod
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass


@dataclass(frozen=True)
class Symbol:
    """A symbol of a host's index."""

    id: int  # of 64 bits with a sign; unique among the symbols
    fqn: str  # fully qualified name
    name: str
    kind: str  # one of the kinds asked for
    path: str  # relative to the root: forward slashes, no "./", no slash at an end
    start_line: int
    end_line: int
    signature: str | None = None
    docstring: str | None = None


class Repository(ABC):
    """An index that a Retriever is to read."""

    @abstractmethod
    def fingerprint(self) -> str:
        """A value that no other state of this index, nor of another that may stand in its place,
        ever had or will have. Called for every question, so it must be cheap. What it raises ends
        the question and reaches its caller."""

    @abstractmethod
    def symbols(self, languages: Sequence[str], kinds: Sequence[str]) -> Iterable[Symbol]:
        """Exactly the symbols whose language is one of `languages` and whose kind is one of `kinds`,
        each once, in the same order for the same state. Called when the index changed. A generator
        is closed when the walk ends early. What this or the iterator raises ends the question and
        reaches its caller; the next question tries again."""

    def nearest(
        self, vector: Sequence[float], model: str, top_k: int
    ) -> Iterable[tuple[int, float]]:
        """The `top_k` stored embeddings of `model` nearest to the vector (an array of floats) as ids
        and cosines, nearest first; fewer only when there are no more, none when there is none of
        that model. Called a few times a question, with growing top_k. What it raises makes the
        semantic channel "failed" and is logged. Unless overridden, the index stores none."""
        return ()

    def docstrings(self, ids: Sequence[int]) -> Mapping[int, str | None]:
        """The docstring of each of the symbols that the index still holds, or None of one that has
        none. Called once for a rerank. What it raises fails the rerank, which the note tells. Unless
        overridden, the index holds none."""
        return {}


@dataclass(frozen=True)
class Vector:
    """A question as a vector."""

    values: Sequence[float]
    model: str  # the name of the model that made it


class Embedder(ABC):
    """Embeds questions with the model that embedded the stored symbols."""

    @abstractmethod
    def embed(self, query: str) -> Vector:
        """The vector of the question. While the model is not ready, raise TryAgainLaterError with a
        text that begins a sentence and has no full stop: the semantic channel is then "unavailable",
        and the text is part of the note. Any other exception makes it "failed" and is logged."""


@dataclass(frozen=True)
class Decision:
    """What a decision model is asked."""

    question: str  # as the user asked it
    candidates: tuple[str, ...]  # "1. function pkg.parse ...", best first so far
    questions: tuple[str, ...]  # one about each candidate, to be answered by yes or no
    version: str  # of the wording of the questions; for caches and logs


class Decider(ABC):
    """A decision model that reorders the first hits."""

    def enabled(self) -> bool:
        """Whether it is to be asked at all. What it raises ends the question."""
        return True

    def consent(self) -> bool:
        """Whether the user allowed that source text (signatures, docstrings) is shown to the model.
        What it raises fails the rerank."""
        return False

    @abstractmethod
    def decide(self, decision: Decision) -> Sequence[float]:
        """The probability of a yes to the question about each candidate, 0 to 1, within 3 seconds.
        What it raises fails the rerank: the hits keep their order, the note tells and the log says
        why."""
