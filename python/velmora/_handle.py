"""Who owns the library's objects."""

from __future__ import annotations

import ctypes
import threading
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from types import TracebackType
from typing import TypeVar

from ._calls import check

class Handle:
    """An object of the library's. It is freed when it is closed, or forgotten, and no call uses it
    any more."""

    def __init__(
        self, name: str, free: Callable[[int], None], pointer: int, kept: object = None
    ) -> None:
        self._name = name
        self._free = free
        self._pointer = pointer
        self._kept = kept  # what the object uses
        self._lock = threading.Lock()
        self._users = 0
        self._closed = False

    @contextmanager
    def use(self) -> Iterator[int]:
        """The pointer, which is good until the end of the `with`."""
        with self._lock:
            if self._closed:
                raise ValueError(f"The {self._name} is closed")
            self._users += 1
        try:
            yield self._pointer
        finally:
            with self._lock:
                self._users -= 1
                last = self._closed and self._users == 0
            if last:
                self._release()

    def close(self) -> None:
        with self._lock:
            last = not self._closed and self._users == 0
            self._closed = True
        if last:
            self._release()

    def __del__(self) -> None:
        self.close()

    def _release(self) -> None:
        self._free(self._pointer)
        self._kept = None


class Owner:
    """What owns a handle and is closed with it."""

    def __init__(self, handle: Handle) -> None:
        if not isinstance(handle, Handle):
            kind = type(self).__name__
            raise TypeError(f"{kind}.open opens the {kind} of a path")
        self._handle = handle

    def close(self) -> None:
        """Frees it, once nobody uses it any more. Closing twice is once."""
        self._handle.close()

    def __enter__(self: OwnerType) -> OwnerType:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()


OwnerType = TypeVar("OwnerType", bound=Owner)


def opened(function: Callable[..., int], *arguments: object) -> int:
    """The pointer that a function of the library hands out in its last argument."""
    pointer = ctypes.c_void_p()
    check(function(*arguments, ctypes.byref(pointer)))
    assert pointer.value is not None
    return pointer.value
