"""A host's own index, embedding model and decision model, in Python."""

from __future__ import annotations

import gc
import logging
import threading
import unittest
import weakref
from collections.abc import Iterable, Sequence
from dataclasses import replace

import velmora

from .support import Host, symbol

# Whatever the library carries: a NUL, bytes that are no UTF-8, planes beyond the first, nothing.
TEXTS = ("a\0b", "\udcff\udc80 config", "\U0001f50d config", "", "größe")


class HostTest(unittest.TestCase):
    def test_the_host_is_asked(self) -> None:
        host = Host()
        with host.retriever() as retriever:
            plain = retriever.explore("config file", rerank=False)
            # The words of two and the vectors of two find them; only read_config has both.
            self.assertEqual(plain.hits[0].id, -7)
            self.assertEqual(plain.hits[0].ranks["semantic"], 2)
            self.assertEqual((len(plain.hits), host.asked), (3, []))
            self.assertEqual(set(plain.channels.values()), {"ok"})
            reranked = retriever.explore("config file", 2)
            self.assertEqual(len(reranked.hits), 2)
            self.assertNotEqual(reranked.hits[0].id, -7)
        (asked,) = host.asked
        self.assertEqual((asked.question, len(asked.questions)), ("config file", 3))
        self.assertIn("Reads a file.", asked.candidates[0])
        self.assertNotIn("Then more", asked.candidates[0])

    def test_texts_and_numbers_arrive_as_they_are(self) -> None:
        host = Host()
        host.rows = [
            velmora.Symbol(
                id, f"pkg.{text}", f"find{number}", "function", f"{text}/x.py", 0, 2**63 - 1, text
            )
            for number, (id, text) in enumerate(zip((-(2**63), -1, 0, 1, 2**63 - 1), TEXTS))
        ]
        with velmora.Retriever(host, embedder=None) as retriever:
            for number, row in enumerate(host.rows):
                hit = retriever.explore(f"find{number}").hits[0]
                values = (hit.id, hit.fqn, hit.path, hit.start_line, hit.end_line, hit.signature)
                self.assertEqual(
                    values,
                    (row.id, row.fqn, row.path, row.start_line, row.end_line, row.signature),
                )

    def test_an_exception_reaches_the_caller_or_the_answer(self) -> None:
        """As the description of each function says; what is no Exception always the caller."""
        ends = ("fingerprint", "symbols", "iterator", "enabled")
        failed = {"embed": "semantic", "nearest": "semantic"}
        fails = ("docstrings", "consent", "decide")
        errors = (ValueError("Not today"), velmora.BusyError("Not today"), MemoryError("Not today"))
        stops = (velmora.StoppedError("Not today"), KeyboardInterrupt(), SystemExit(3))
        for where in (*ends, *failed, *fails):
            for error in (*errors, *stops):
                host = Host(where, error)
                with self.subTest(where=where, error=error), host.retriever() as retriever:
                    if where in ends or error in stops:
                        with self.assertRaises(type(error)) as raised:
                            retriever.explore("config file")
                        self.assertIs(raised.exception, error)
                    else:
                        with self.assertLogs("velmora.workers", logging.WARNING) as log:
                            answer = retriever.explore("config file")
                        if not isinstance(error, MemoryError):
                            self.assertIn("Not today", log.output[0])
                        self.assertEqual(len(answer.hits), 3)
                        if where in failed:
                            self.assertEqual(answer.channels[failed[where]], "failed")
                        else:
                            self.assertIn("rerank", str(answer.note))
                    self.assertEqual(host.walks, 0)
                    host.where = ""  # and the next question is answered
                    self.assertEqual(len(retriever.explore("config file").hits), 3)

    def test_a_model_that_loads_is_part_of_the_note(self) -> None:
        class Loading(Host):
            def embed(self, query: str) -> velmora.Vector:
                raise velmora.TryAgainLaterError("The tiny model is still loading")

        with Loading().retriever() as retriever:
            answer = retriever.explore("config file")
        self.assertEqual(answer.channels["semantic"], "unavailable")
        self.assertIn("the tiny model is still loading", str(answer.note))

    def test_wrong_answers_of_a_host_are_errors(self) -> None:
        class Strange(Host):
            def decide(self, decision: velmora.Decision) -> Sequence[float]:
                return [0.5]

        with Strange().retriever() as retriever, self.assertLogs("velmora.workers") as log:
            retriever.explore("config file")
        self.assertIn("1 probabilities for 3 candidates", log.output[0])
        for row, kind in (
            (symbol(2**63, "far"), ValueError),
            (replace(symbol(1, "none"), path=None), TypeError),
            (symbol(1, "\ud800"), UnicodeEncodeError),
        ):
            host = Host()
            host.rows.append(row)
            with self.subTest(row=row), host.retriever() as retriever:
                self.assertRaises(kind, retriever.explore, "config file")

    def test_the_built_in_model_finds_what_it_embedded(self) -> None:
        with velmora.Model.open() as model:
            host = Host()
            vectors = {row.id: model.embed(row) for row in host.rows}
            self.assertIsNone(model.embed(velmora.Symbol(3, "", "", "", "", 1, 1)))

            class Stored(Host):
                def nearest(
                    self, vector: Sequence[float], name: str, top_k: int
                ) -> Iterable[tuple[int, float]]:
                    assert (len(vector), name) == (model.dimensions, model.name)
                    scores = {
                        id: sum(map(float.__mul__, vector, stored))
                        for id, stored in vectors.items()
                        if stored is not None
                    }
                    return sorted(scores.items(), key=lambda pair: -pair[1])[:top_k]

            with velmora.Retriever(Stored()) as retriever:
                answer = retriever.explore("dropping")
            self.assertEqual(answer.hits[0].name, "drop_config")
            self.assertEqual(answer.hits[0].ranks["semantic"], 1)

    def test_threads_ask_while_the_index_changes(self) -> None:
        """Each answer is of a state that was current at some time of the question."""
        host = Host()
        host.rows, host.state = [symbol(0, "marker")], "0"
        done: list[int] = []

        def ask() -> None:
            for _ in range(50):
                before = int(host.state)
                found = retriever.explore("marker").hits[0].id
                assert before <= found <= int(host.state) + 1  # the rows change before the name
            done.append(1)

        with velmora.Retriever(host, embedder=None) as retriever:
            threads = [threading.Thread(target=ask) for _ in range(3)]
            for thread in threads:
                thread.start()
            state = 0
            while any(thread.is_alive() for thread in threads):
                state += 1
                host.rows = [symbol(state, "marker")]
                host.state = str(state)
            self.assertEqual(len(done), 3)

    def test_what_is_closed_is_freed_after_the_questions(self) -> None:
        entered = threading.Event()
        closed = threading.Event()

        class Slow(Host):
            def nearest(
                self, vector: Sequence[float], model: str, top_k: int
            ) -> Iterable[tuple[int, float]]:
                entered.set()
                closed.wait()
                return super().nearest(vector, model, top_k)

        retriever = Slow().retriever()
        answers: list[velmora.Answer] = []
        thread = threading.Thread(target=lambda: answers.append(retriever.explore("config file")))
        thread.start()
        entered.wait()
        retriever.close()
        self.assertRaisesRegex(ValueError, "closed", retriever.explore, "config file")
        closed.set()
        thread.join()
        self.assertEqual(len(answers[0].hits), 3)

    def test_a_host_is_freed_with_its_retriever(self) -> None:
        class Failing(Host):
            def embed(self, query: str) -> velmora.Vector:
                raise ValueError("Not today")

        gc.collect()
        gc.disable()
        self.addCleanup(gc.enable)
        host = Failing()
        gone = weakref.ref(host)
        retriever = host.retriever()
        with self.assertLogs("velmora.workers"):
            retriever.explore("config file")
        del host
        self.assertIsNotNone(gone())
        retriever.close()
        self.assertIsNone(gone())

        class Circle(Host):
            itself: velmora.Retriever

        circle = Circle()
        circle.itself = circle.retriever()
        circle.itself.explore("config file")
        lost = weakref.ref(circle)
        del circle
        gc.collect()
        self.assertIsNone(lost())
