"""What goes wrong, beside ValueError, TypeError and MemoryError."""

from __future__ import annotations

from typing import ClassVar


class Error(Exception):
    """What the library has to say. The text tells what is wrong and what to do."""

    code: ClassVar[int] = 9


class NoIndexError(Error):
    """There is no index, or none that was ever filled: make it."""

    code = 2


class UnusableIndexError(Error):
    """Damaged, of another version, or no index at all: make it anew."""

    code = 3


class BusyError(Error):
    """Somebody else is writing the index."""

    code = 4


class TryAgainLaterError(Error):
    """Something is not ready yet, such as a model that is loading."""

    code = 5


class StoppedError(Error):
    """A function of the host wanted the call to end."""

    code = 6


class ConsentNeededError(Error):
    """The folder is so large, or so private, that indexing it needs the user's word."""

    code = 8


_CLASSES = {
    kind.code: kind
    for kind in (
        NoIndexError,
        UnusableIndexError,
        BusyError,
        TryAgainLaterError,
        StoppedError,
        ConsentNeededError,
    )
}
_INVALID_ARGUMENT = 1
_OUT_OF_MEMORY = 7


def error_of(code: int, text: str) -> Exception:
    """The exception that a code of the library stands for."""
    if code == _INVALID_ARGUMENT:
        return ValueError(text)
    if code == _OUT_OF_MEMORY:
        return MemoryError(text)
    return _CLASSES.get(code, Error)(text)


def code_of(error: BaseException) -> int:
    """What a function of the host returns when it raised. Whatever is no Exception, such as
    KeyboardInterrupt, ends the whole call."""
    if isinstance(error, Error):
        return error.code
    if isinstance(error, MemoryError):
        return _OUT_OF_MEMORY
    return Error.code if isinstance(error, Exception) else StoppedError.code
