"""Indexes of folders: made, brought up to date, described and asked."""

from __future__ import annotations

import gc
import logging
import os
import signal
import threading
import tracemalloc
import weakref
from collections.abc import Callable
from pathlib import Path
from unittest.mock import patch

import velmora

from .support import FolderTest


class IndexTest(FolderTest):
    def test_a_folder_is_indexed_and_asked(self) -> None:
        seen: list[velmora.Progress] = []
        with self.assertLogs("velmora.host.indexing", logging.DEBUG) as log:
            report = velmora.Index.update(self.folder, progress=seen.append)
        self.assertIn("added retry.py", [record.getMessage() for record in log.records])
        self.assertEqual((report.files, report.added, report.changed), (3, 3, 0))
        self.assertEqual(
            report.skipped,
            (velmora.Skipped("link.py", "it is a link within the tree", False),),
        )
        done = [now.files_done for now in seen]
        self.assertEqual(done, sorted(done))
        self.assertEqual((done[0], done[-1]), (0, seen[-1].files))
        self.assertEqual(seen[-1].to_embed, report.embedded)

        with self.opened() as index, velmora.Retriever(index) as retriever:
            info = index.describe()
            self.assertEqual(
                info,
                velmora.IndexInfo(
                    self.folder / ".velmora/index.db", self.folder, report.symbols, 3, True
                ),
            )
            self.assertEqual(index.settings().rrf_k, 17)
            index.close()
            index.close()
            answer = retriever.explore("Where is the retry delayed?")  # the retriever goes on
            hit = answer.hits[0]
            self.assertEqual((hit.fqn, hit.path, hit.kind), ("retry.delay_retry", "retry.py", "function"))
            self.assertEqual((hit.start_line, hit.end_line), (1, 2))
            self.assertEqual(hit.signature, "delay_retry(attempt)")
            self.assertEqual(hit.ranks, {"lexical": 1, "file": 1, "semantic": 1})
            self.assertEqual(set(answer.channels), {"exact", "lexical", "file", "semantic"})
            self.assertIsNone(answer.note)

            self.assertEqual(len(retriever.explore("notes delay queue", 1).hits), 1)
            scoped = retriever.explore("notes delay queue", scope=Path("src"))
            self.assertEqual({found.path for found in scoped.hits}, {"src/notes.c"})
            for tests in (True, False):
                found = retriever.explore("queue", include_tests=tests)
                paths = {one.path for one in found.hits}
                self.assertEqual("tests/test_queue.py" in paths, tests)

    def test_a_callback_that_raises_ends_the_update(self) -> None:
        error = RuntimeError("enough")

        def fail(now: velmora.Progress) -> None:
            raise error

        def interrupt(now: velmora.Progress) -> None:
            os.kill(os.getpid(), signal.SIGINT)  # as Ctrl-C does, to the main thread

        def interrupt_later() -> None:
            begun.wait()
            os.kill(os.getpid(), signal.SIGINT)

        with self.assertRaises(RuntimeError) as raised:
            velmora.Index.update(self.folder, progress=fail)
        self.assertIs(raised.exception, error)
        with self.assertRaises(KeyboardInterrupt):
            velmora.Index.update(self.folder, progress=interrupt)
        with self.assertRaises(velmora.NoIndexError):
            self.opened()

        # One that comes while the library works, and not Python, is not lost either.
        begun = threading.Event()
        threading.Thread(target=interrupt_later).start()
        with self.assertRaises(KeyboardInterrupt):
            for _ in range(200):
                velmora.Index.update(self.folder, rebuild=True, progress=lambda now: begun.set())

    def test_one_at_a_time_writes_an_index(self) -> None:
        def again(now: velmora.Progress) -> None:
            def stop(later: velmora.Progress) -> None:
                raise LookupError(later.waiting_for)

            with self.assertRaisesRegex(LookupError, f"process {os.getpid()}"):
                velmora.Index.update(self.folder, progress=stop)
            velmora.Index.update(self.folder, wait=False)

        with self.assertRaisesRegex(velmora.BusyError, "process "):
            velmora.Index.update(self.folder, progress=again)

    def test_what_is_wrong_is_told(self) -> None:
        velmora.Index.update(self.folder, embed=False)
        no_index = self.folder / "retry.py"
        closed = self.opened()
        closed.close()
        retriever = velmora.Retriever(self.opened())
        cases: list[tuple[type[Exception], str, Callable[[], object]]] = [
            (velmora.UnusableIndexError, "retry.py", lambda: velmora.Index.open(no_index)),
            (velmora.NoIndexError, "none", lambda: velmora.Index.open("/none")),
            (velmora.ConsentNeededError, "/", lambda: velmora.Index.update("/")),
            (velmora.Error, "no.model", lambda: velmora.Model.open("no.model")),
            (ValueError, "path", lambda: velmora.Index.open("")),
            (ValueError, "folder", lambda: velmora.Index.update("a\0b")),
            (ValueError, "largest_file", lambda: velmora.Index.update(self.folder, largest_file=-1)),
            (ValueError, "closed", closed.describe),
            (TypeError, "Index.open", lambda: velmora.Index(self.folder)),  # type: ignore[arg-type]
            (TypeError, "Settings", lambda: velmora.Retriever(closed, settings={})),  # type: ignore[arg-type]
            (TypeError, "include_tests", lambda: retriever.explore("x", include_tests="no")),  # type: ignore[arg-type]
            # Where no thread is to be had.
            (TypeError, "callable", patch.object(threading.Thread, "start", None)(closed.describe)),
            (TypeError, "embedder", lambda: velmora.Retriever(self.opened(), embedder="x")),  # type: ignore[arg-type]
            (TypeError, "Repository", lambda: velmora.Retriever("x")),  # type: ignore[arg-type]
            (TypeError, "int", lambda: retriever.explore(3)),  # type: ignore[arg-type]
            (ValueError, "limit", lambda: retriever.explore("x", 0)),
            (ValueError, "limit", lambda: retriever.explore("x", 2**32 + 1)),
            (UnicodeEncodeError, "surrogate", lambda: retriever.explore("\ud800")),
        ]
        for kind, text, call in cases:
            with self.subTest(text=text), self.assertRaisesRegex(kind, text):
                call()

    def test_questions_leave_nothing_behind(self) -> None:
        velmora.Index.update(self.folder)
        retriever = velmora.Retriever(velmora.Index.open(self.folder))
        gone = weakref.ref(retriever)

        def ask(count: int) -> int:
            for _ in range(count):
                retriever.explore("retry")
            return tracemalloc.get_traced_memory()[0]

        gc.collect()
        gc.disable()
        tracemalloc.start()
        self.addCleanup(tracemalloc.stop)
        self.addCleanup(gc.enable)
        # The interpreter's own stores fill up at first: the least of a few rounds counts.
        sizes = [ask(1000) for _ in range(4)]
        self.assertLess(min(map(int.__sub__, sizes[1:], sizes)), 10_000)
        del retriever, ask
        self.assertIsNone(gone())
