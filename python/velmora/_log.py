"""Sends the library's records to `logging`, which chooses among them."""

from __future__ import annotations

import atexit
import logging

from . import _c

_LEVELS = (logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR)


def _write(_: object, level: int, logger: _c.String, text: _c.String) -> None:
    logging.getLogger(_c.text(logger)).log(_LEVELS[level], "%s", _c.text(text))


_CALLED = _c.LOG(_write)  # lives as long as the library may call it


def _end() -> None:
    _c.set_log(_c.LOG(0), None, _c.RELEASE(0), 0)


_c.set_log(_CALLED, None, _c.RELEASE(0), 0)
atexit.register(_end)
