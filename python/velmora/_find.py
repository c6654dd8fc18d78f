"""Finds and loads the library."""

from __future__ import annotations

import ctypes
import os
from pathlib import Path

from ._version import __version__

_NAME = "libvelmora.so.1"
# Loaded first, so that the library finds it wherever both are.
_NEEDED = "libvelmora_retrieval.so.1"


def load() -> ctypes.CDLL:
    """The file that the environment variable VELMORA_LIBRARY names, else the library that came with
    this package, else the one that the system's loader finds. Raises ImportError."""
    named = os.environ.get("VELMORA_LIBRARY")
    carried = Path(__file__).parent / "lib" / _NAME
    if named:
        return _loaded_file(Path(named).absolute(), "VELMORA_LIBRARY names a file that is not it")
    if carried.exists():
        return _loaded_file(carried, "The library that came with this package does not load")
    return _loaded(
        _NAME,
        f"{_NAME} is not installed: install the library, or let VELMORA_LIBRARY name the file",
    )


def _loaded_file(file: Path, fault: str) -> ctypes.CDLL:
    needed = file.with_name(_NEEDED)
    if needed.exists():
        try:
            ctypes.CDLL(str(needed))
        except OSError as error:
            raise ImportError(f"{fault} ({error})") from error
    return _loaded(str(file), fault)


def _loaded(file: str, fault: str) -> ctypes.CDLL:
    try:
        library = ctypes.CDLL(file)
        function = library.velmora_version
    except (AttributeError, OSError) as error:
        raise ImportError(f"{fault} ({error})") from error
    _check_version(function, file)
    return library


class _Version(ctypes.Structure):
    _fields_ = [("data", ctypes.c_char_p), ("size", ctypes.c_size_t)]


def _check_version(function: ctypes._NamedFuncPointer, file: str) -> None:
    function.restype = _Version
    found = function().data.decode()
    if _numbers(found)[0] != _numbers(__version__)[0] or _numbers(found) < _numbers(__version__):
        raise ImportError(f"{file} is version {found}, and this package needs {__version__} or a "
                          f"newer one of the same first number")


def _numbers(version: str) -> tuple[int, ...]:
    return tuple(int(number) for number in version.split("-")[0].split("."))
