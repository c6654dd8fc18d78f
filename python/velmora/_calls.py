"""Calls of the library, and the way of an exception from a function of the host to the caller.

Python raises what a signal handler raises, KeyboardInterrupt among it, in the main thread, wherever
that is: also at the first step of a function that C calls, where nothing can catch it and ctypes
drops it. So no call that may come back to Python is made on the main thread.
"""

from __future__ import annotations

import atexit
import contextvars
import logging
import os
import threading
from collections.abc import Callable
from typing import Any, Generic, TypeVar

from . import _c
from .errors import Error, StoppedError, code_of, error_of

Result = TypeVar("Result")

_LOGGER = logging.getLogger("velmora.python")
# How long the end of Python waits for each call of a daemon thread, in seconds.
_PATIENCE = 10.0


class _Call(Generic[Result]):
    """One call: what it is to do, and what came of it."""

    def __init__(self, body: Callable[[], Result]) -> None:
        self._body = body
        self._result: list[Result] = []
        self._error: BaseException | None = None
        self._raised: BaseException | None = None
        self._begun = threading.Lock()  # taken by whoever begins it, or sees to it that nobody does
        # Taken until it is done. Not an Event: an exception of a signal handler in the middle of its
        # `wait` can leave it so that nobody gets past it.
        self._busy = threading.Lock()
        self._busy.acquire()
        self._done = False
        self.stop = False  # set by other threads; its functions of the host then end it

    def work(self) -> None:
        if not self._begun.acquire(blocking=False):
            return
        outer = _local.call
        _local.call = self
        _running.add(self)
        try:
            if _ended:
                raise StoppedError("Python is ending")
            self._result.append(self._body())
        except BaseException as error:
            self._error = error
        finally:
            _local.call = outer
            _running.discard(self)
            self._done = True
            self._busy.release()

    def wait(self, longest: float = -1) -> None:
        """Until it is done, or for so many seconds. For one thread, as often as it likes."""
        if not self._done:
            self._busy.acquire(timeout=longest)

    def give_up(self) -> None:
        """Returns when the call is done, or will never begin."""
        self.stop = True
        if not self._begun.acquire(blocking=False):
            self.wait()

    def result(self) -> Result:
        error, self._error = self._error, None
        try:
            if error is not None:
                raise error
            return self._result.pop()
        finally:
            del error  # whose traceback refers to this frame

    def failed(self, error: BaseException, reaches_caller: bool) -> int:
        """The code that a function of the host returns that raised."""
        code = code_of(error)
        told = reaches_caller or code == StoppedError.code
        self._raised = error if told else None
        try:
            text = str(error) if isinstance(error, Error) else f"{type(error).__name__}: {error}"
            _c.set_message(_c.bytes_string(text.encode("utf-8", "replace")))
            if not told:
                _LOGGER.debug("A function of the host failed", exc_info=error)
        except Exception:  # of its __str__, or of whoever reads the log: the code says enough
            pass
        return code

    def take_raised(self) -> BaseException | None:
        raised, self._raised = self._raised, None
        return raised


class _Local(threading.local):
    call: _Call[Any] | None = None  # the innermost of this thread


_local = _Local()
_running: set[_Call[Any]] = set()
_ended = False


def run(body: Callable[[], Result]) -> Result:
    """Does what `body` does, and raises what it raises."""
    call = _Call(body)
    # At the end of Python a thread would start no more.
    if _ended or threading.current_thread() is not threading.main_thread():
        call.work()
        return call.result()
    context = contextvars.copy_context()
    try:
        threading.Thread(target=context.run, args=(call.work,), name="velmora", daemon=True).start()
        call.wait()
    except BaseException:  # of a signal handler, or no thread is to be had
        call.give_up()
        raise
    return call.result()


def check(code: int) -> None:
    """Raises what a code of the library stands for: the exception of the host's that ended the call,
    or the library's own word. Only within `run`."""
    if code == 0:
        return
    raised = _local.call.take_raised() if _local.call is not None else None
    try:
        if raised is not None:
            raise raised
        raise error_of(code, _c.text(_c.message()))
    finally:
        del raised


def callback(kind: Any, function: Callable[..., None], *, reaches_caller: bool) -> Any:
    """A function for C, of a type of `_c` that returns a code. `function` gets the arguments but the
    first, `self`. What it raises reaches the caller of the call when that is so for every error of
    this function; else only when it is no Exception, or a StoppedError."""

    def guarded(_: object, *arguments: Any) -> int:
        call = _local.call
        assert call is not None
        try:
            if call.stop:
                raise StoppedError("The caller was interrupted")
            function(*arguments)
            return 0
        except BaseException as error:
            return call.failed(error, reaches_caller)

    return kind(guarded)


def _end() -> None:
    """Ends what daemon threads still do: a thread that comes back to a Python that is gone would end
    in the middle of the library."""
    global _ended
    _ended = True
    calls = list(_running)
    for call in calls:
        call.stop = True
    for call in calls:
        call.wait(_PATIENCE)


atexit.register(_end)
os.register_at_fork(after_in_child=_running.clear)  # which has none of those threads
