"""What happens where Python begins and ends."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import velmora
from velmora import _c

from .support import FolderTest

EXAMPLE = Path(__file__).parents[2] / "examples/ask.py"


class ProcessTest(FolderTest):
    def run_python(self, *arguments: str, **environment: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            [sys.executable, *arguments],
            env=os.environ | environment,
            cwd=self.folder,
            capture_output=True,
            text=True,
            timeout=120,
        )

    def test_the_example_answers(self) -> None:
        done = self.run_python(str(EXAMPLE), ".", "where are retries delayed")
        self.assertEqual(done.stdout.splitlines()[0], "retry.py:1 function retry.delay_retry")
        done = self.run_python(str(EXAMPLE), "none", "anything")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("none does not exist", done.stderr)

    def test_a_library_that_is_not_it_is_told(self) -> None:
        self.write("libvelmora.so.1", "no library")
        for name in ("libvelmora.so.1", str(self.folder / "none.so"), "libc.so.6"):
            done = self.run_python("-c", "import velmora", VELMORA_LIBRARY=name)
            self.assertIn("ImportError: VELMORA_LIBRARY names a file that is not it", done.stderr)
        self.assertEqual(velmora.__version__, _c.text(_c.version()))

    def test_the_end_of_python_ends_what_runs(self) -> None:
        """A daemon thread that updates, one that asks, and what nobody closed."""
        script = """
import itertools, sys, threading, velmora
class Host(velmora.Repository):
    def fingerprint(self):
        return "one"
    def symbols(self, languages, kinds):
        begun.release()
        return (velmora.Symbol(n, "f", "f", "function", "f.py", 1, 1) for n in itertools.count())
def update():
    while True:
        velmora.Index.update(".", rebuild=True, progress=lambda now: begun.release())
begun = threading.Semaphore(0)
velmora.Index.update(".")
kept = velmora.Retriever(velmora.Index.open("."))
host = velmora.Retriever(Host(), embedder=None)
threading.Thread(target=update, daemon=True).start()
begun.acquire()
threading.Thread(target=host.explore, args=("f",), daemon=True).start()
begun.acquire()
class Last:
    def __del__(self):
        try:
            kept.explore("f")
        except velmora.StoppedError as error:
            print(error)
sys.modules["last"] = Last()
print("end")
"""
        done = self.run_python("-c", script)
        self.assertEqual((done.returncode, done.stdout), (0, "end\nPython is ending\n"), done.stderr)
