"""The built-in embedding model."""

from __future__ import annotations

import ctypes
from array import array

from . import _c
from ._calls import check, run
from ._handle import Handle, Owner, opened
from ._tables import fill
from .host import Symbol
from .index import StrPath, path_string


class Model(Owner):
    """Embeds the symbols of a host's own index, so that the built-in embedder, which embeds questions
    with the same file, finds them: what `embed` gives is stored, and `Repository.nearest` is asked
    for it by this model's name. An index that Index.update made has it all done. To be closed, or
    used by `with`. Made by `Model.open`."""

    def __init__(self, handle: Handle) -> None:
        super().__init__(handle)
        with handle.use() as pointer:
            self._name = _c.text(_c.model_name(pointer))
            self._dimensions = int(_c.model_dimensions(pointer))

    @staticmethod
    def open(file: StrPath | None = None) -> Model:
        """Opens a model file; None: the one that came with the library. Reads all of it, some
        megabytes."""
        name = path_string(file)
        return run(lambda: Model(Handle("model", _c.model_close, opened(_c.model_open, name))))

    @property
    def name(self) -> str:
        """Tells the content of the model too."""
        return self._name

    @property
    def dimensions(self) -> int:
        """How many numbers a vector has."""
        return self._dimensions

    def embed(self, symbol: Symbol, body: str | None = None) -> array[float] | None:
        """The vector of a symbol, of length 1 and of type "f"; None when the model knows none of its
        words. `body` is words of its source."""
        row = _c.sized(_c.Symbol)
        fill(row, symbol)
        words = _c.string(body)
        values = (ctypes.c_float * self._dimensions)()
        # The library only computes here: it cannot come back to Python.
        with self._handle.use() as pointer:
            check(_c.model_embed(pointer, ctypes.byref(row), words, values))
        return array("f", values) if any(values) else None
