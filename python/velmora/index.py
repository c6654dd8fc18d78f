"""The index of a folder."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from . import _c
from ._calls import callback, check, run
from ._handle import Handle, Owner, opened
from .settings import Settings, settings_of

StrPath = str | os.PathLike[str]


@dataclass(frozen=True)
class Progress:
    """How far an update is."""

    waiting_for: str | None  # who writes the index now, so that it waits
    files_done: int
    files: int  # that there are; 0 until they are listed
    symbols: int  # read so far
    embedded: int  # symbols, after the last file
    to_embed: int  # of so many


@dataclass(frozen=True)
class Skipped:
    """A file or folder that was left out."""

    path: str
    reason: str  # in a few words that stand after the path
    is_folder: bool


@dataclass(frozen=True)
class UpdateReport:
    """What an update did."""

    files: int  # in the index: added, changed or unchanged
    added: int  # ... since the last update
    changed: int
    removed: int
    unchanged: int
    symbols: int  # in the index
    embedded: int  # symbols that got a vector now
    skipped: tuple[Skipped, ...]  # what was left out, by path


@dataclass(frozen=True)
class IndexInfo:
    """What an index is."""

    file: Path
    root: Path | None  # of the repository, which paths and scopes are relative to
    symbols: int
    files: int  # that were read
    made_here: bool  # by this user, where it is; else it came along


class Index(Owner):
    """The index of one folder, open for reading. It answers from its newest state, whoever writes it
    meanwhile. To be closed, or used by `with`; a Retriever of it goes on. Made by `Index.open`."""

    @staticmethod
    def open(path: StrPath) -> Index:
        """Opens the nearest index that covers a folder (its own or that of a folder above, as far as
        the repository goes), or an index file. Updates nothing. Raises NoIndexError and
        UnusableIndexError."""
        data = os.fsencode(path)
        return run(
            lambda: Index(
                Handle("index", _c.index_close, opened(_c.index_open, _c.bytes_string(data)))
            )
        )

    @staticmethod
    def update(
        folder: StrPath,
        *,
        progress: Callable[[Progress], object] | None = None,
        largest_file: int | None = None,
        model: StrPath | None = None,
        embed: bool = True,
        wait: bool = True,
        retry: bool = False,
        rebuild: bool = False,
        consent: bool = False,
    ) -> UpdateReport:
        """Makes the index of a folder, or brings it up to date, as `velmora index FOLDER` does: it
        stands in FOLDER/.velmora, and the settings of the user and the folder count. All or nothing:
        whoever reads the index sees its earlier state until this is done. An index that is unusable
        is made anew, which the log tells; there is none until that is done. Takes minutes for a
        large repository, and well below a second for one that hardly changed.

        progress: called before each file and each symbol to embed, and while another process writes
            the index. What it raises ends the update and reaches the caller, and the index is as it
            was.
        largest_file: larger files are left out, in bytes, from now on; None: as the last time, or
            as the settings say.
        model: the model file that embeds the symbols; None: the index's own tuned.model, or the one
            that came with the library.
        embed: False leaves new symbols without a vector; the next update with it embeds them.
        wait: False raises BusyError at once when another process writes the index.
        retry: read files again that parsing took too much for.
        rebuild: remove the index, and make it anew; none is left if that is stopped.
        consent: the user means it, be it their home folder, "/" or a folder of over 200,000 files,
            which raise ConsentNeededError else. What has been indexed before needs no second word.

        Meanwhile do not reap processes that you did not start, by os.wait() or by ignoring SIGCHLD.
        """
        skipped: list[Skipped] = []

        def tell(now: ctypes._Pointer[_c.Progress]) -> None:
            if progress is not None:
                progress(_progress_of(now.contents))

        def skip(path: _c.String, reason: _c.String, is_folder: bool) -> None:
            skipped.append(Skipped(_c.text(path), _c.text(reason), is_folder))

        options = _c.sized(
            _c.UpdateOptions,
            progress=callback(_c.PROGRESS, tell, reaches_caller=True),
            skipped=callback(_c.SKIPPED, skip, reaches_caller=True),
            model=path_string(model),
            without_model=not embed,
            no_wait=not wait,
            retry=retry,
            rebuild=rebuild,
            consent=consent,
        )
        if largest_file is not None:
            options.largest_file = _c.within(largest_file, 1, 2**64 - 1, "largest_file")
        report = _c.sized(_c.UpdateReport)
        name = path_string(folder)
        run(
            lambda: check(
                _c.index_update(name, ctypes.byref(options), ctypes.byref(report))
            )
        )
        return _report_of(report, tuple(skipped))

    def describe(self) -> IndexInfo:
        """What the index is now: a pass over its symbols."""
        return run(self._describe)

    def settings(self) -> Settings:
        """How a Retriever of this index ranks unless told: as the settings of the user and the
        repository say now."""
        return run(self._settings)

    def _describe(self) -> IndexInfo:
        found = _c.sized(_c.IndexInfo)
        with self._handle.use() as pointer:
            check(_c.index_describe(pointer, ctypes.byref(found)))
            root = _c.data_of(found.root)
            return IndexInfo(
                file=Path(os.fsdecode(_c.data_of(found.file) or b"")),
                root=None if root is None else Path(os.fsdecode(root)),
                symbols=found.symbols,
                files=found.files,
                made_here=found.made_here,
            )

    def _settings(self) -> Settings:
        found = _c.sized(_c.Settings)
        with self._handle.use() as pointer:
            check(_c.index_settings(pointer, ctypes.byref(found)))
        return settings_of(found)


def path_string(path: StrPath | None) -> _c.String:
    return _c.bytes_string(None if path is None else os.fsencode(path))


def _progress_of(now: _c.Progress) -> Progress:
    return Progress(
        waiting_for=_c.maybe_text(now.waiting_for),
        files_done=now.files_done,
        files=now.files,
        symbols=now.symbols,
        embedded=now.embedded,
        to_embed=now.to_embed,
    )


def _report_of(done: _c.UpdateReport, skipped: tuple[Skipped, ...]) -> UpdateReport:
    return UpdateReport(
        files=done.files,
        added=done.added,
        changed=done.changed,
        removed=done.removed,
        unchanged=done.unchanged,
        symbols=done.symbols,
        embedded=done.embedded,
        skipped=skipped,
    )
