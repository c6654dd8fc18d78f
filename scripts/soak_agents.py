#!/usr/bin/env python3
"""Two sessions of `velmora mcp` on a copy of this repository, for PROGRAM and MINUTES.

Rounds of twenty seconds: files change, branches are switched, both sessions are asked, and then
nothing happens for a while. What is measured is the memory at the end of each round, the processor
time while nothing happens, and whether each answer shows the last change. At the end the index must
be, row for row, the one that `velmora index` makes of a copy.
"""

import os
import random
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from agent_session import Session, SessionError, ToolError

ROOT = Path(__file__).resolve().parent.parent
ACTIVE = 10  # seconds of a round in which things happen
IDLE = 6  # seconds of a round in which nothing does
SETTLED = 30  # seconds at most until then
MOST_IDLE_SHARE = 0.002  # of a processor
MOST_GROWTH = 0.05  # of the memory, over the second half
TICK = os.sysconf("SC_CLK_TCK")

QUESTIONS = [
    "where are retries delayed", "how is the index brought up to date", "parse config",
    "merge the ranks of channels", "read git's index", "which files are ignored",
    "watch folders for changes", "cosine of two vectors", "what ends a session",
    "secrets in signatures", "reciprocal_rank_fusion", "WordModel", "lock of the writer",
    "bm25 of a symbol", "tests of the corpus", "progress on a terminal",
]
NAMES = ["*Index*", "main", "Database", "refresh*", "no_such_name", "read_?????"]


class Failure(Exception):
    """What the soak is there to find."""


def git(tree, *arguments):
    return subprocess.run(["git", "-C", tree, *arguments], check=True, capture_output=True,
                          text=True).stdout


class Tree:
    """The repository that changes. Every round leaves it as large as it was."""

    def __init__(self, path, seed):
        self.path = path
        self.random = random.Random(seed)
        self.changes = 0
        self.switches = 0
        self.probes = 0
        git(ROOT, "clone", "--quiet", "--no-hardlinks", str(ROOT), str(path))
        git(path, "config", "advice.detachedHead", "false")
        history = git(path, "rev-list", "--first-parent", "--max-count=41", "HEAD").split()
        self.commits = [history[0], history[len(history) // 2], history[-1]]

    def sources(self):
        return [name for name in git(self.path, "ls-files").splitlines()
                if name.endswith((".cpp", ".h", ".py")) and (self.path / name).is_file()]

    def switch(self):
        git(self.path, "checkout", "--quiet", "--force", self.random.choice(self.commits))
        git(self.path, "clean", "--quiet", "-d", "--force", "--exclude=.velmora")
        self.switches += 1

    def change(self):
        """What an editor, a person or an agent does to files."""
        self.changes += 1
        file = self.path / self.random.choice(self.sources())
        text = file.read_text(errors="surrogateescape")
        kind = self.random.randrange(7)
        if kind == 0:  # saved by renaming
            new = file.with_name(file.name + ".new")
            new.write_text(text + self._function(file), errors="surrogateescape")
            new.rename(file)
        elif kind == 1:
            file.unlink()
        elif kind == 2:
            file.rename(file.with_name("moved_" + file.name))
        elif kind == 3:
            folder = self.path / "soak" / f"new{self.changes}"
            folder.mkdir(parents=True)
            (folder / "new.py").write_text(self._function(folder / "new.py"))
        elif kind == 4:
            file.touch()
        elif kind == 5:  # half written
            file.write_text(text[:len(text) // 2], errors="surrogateescape")
        else:
            with file.open("a") as end:
                end.write(self._function(file))

    def write_probe(self):
        """A function that every answer from now on has to know, in place of the last one."""
        self.probes += 1
        (self.path / "soak").mkdir(exist_ok=True)
        (self.path / "soak" / "probe.py").write_text(f"def soak_probe_{self.probes}():\n    pass\n")

    def _function(self, file):
        name = f"soak_{self.changes}"
        if file.suffix == ".py":
            return f"\ndef {name}():\n    pass\n"
        return f"\nint {name}() {{ return 1; }}\n"


def family(pid):
    """A process and those that it started."""
    found = [pid]
    for task in Path(f"/proc/{pid}/task").glob("*"):
        for child in (task / "children").read_text().split():
            found += family(int(child))
    return found


def measured(pid, read):
    """The sum over a process and those that it started; one may end meanwhile."""
    total = 0
    for member in family(pid):
        try:
            total += read(member)
        except FileNotFoundError:
            pass
    return total


def ticks(pid):
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(int(field) for field in fields[11:15])  # its own and of children that ended


def resident_megabytes(pid):
    return int(Path(f"/proc/{pid}/statm").read_text().split()[1]) * os.sysconf("SC_PAGESIZE") / 1e6


class Soak:
    def __init__(self, program, tree, log):
        self.program = program
        self.tree = tree
        self.log = log
        self.sessions = []
        self.answers = 0
        self.behind = 0  # so often one of them said that it did not show the last change
        self.idle_time = 0.0
        self.idle_ticks = 0
        self.memory = []  # by round, of each session

    def begin_session(self):
        self.sessions.append(Session(self.program, self.tree.path, self.log))
        self.ask("status", {})

    def end_session(self, session):
        members = family(session.pid)
        code = session.close()
        left = [pid for pid in members if Path(f"/proc/{pid}").exists()]
        if code != 0 or left:
            raise Failure(f"a session ended with {code} and left {left or 'nothing'} behind")
        self.sessions.remove(session)

    def ask(self, tool, arguments):
        """Asks all sessions at once. Their answers."""
        asked = [(session, session.send(tool, arguments)) for session in self.sessions]
        texts = []
        for session, request in asked:
            try:
                texts.append(session.receive(request))
            except ToolError as error:
                texts.append(str(error))
            self.answers += 1
        return texts

    def ask_something(self):
        draw = self.tree.random
        tool = draw.choice(["explore", "explore", "explore", "find", "show", "outline", "status"])
        source = draw.choice(self.tree.sources())
        self.ask(tool, {
            "explore": {"question": draw.choice(QUESTIONS)},
            "find": {"name": draw.choice(NAMES)},
            "show": {"what": f"{source}:{draw.randrange(1, 200)}"},
            "outline": {"path": draw.choice([source, str(Path(source).parent)])},
            "status": {},
        }[tool])

    def look_for_probe(self):
        """Every answer shows each change that was made before the question, or says that it does
        not yet."""
        self.tree.write_probe()
        for number, is_there in ((self.tree.probes, True), (self.tree.probes - 1, False)):
            name = f"soak_probe_{number}"
            waiting = True
            while waiting:
                texts = self.ask("find", {"name": name})
                waiting = any("changed since" in text for text in texts)
                self.behind += waiting
            for text in texts:
                if ("soak/probe.py" in text) != is_there:
                    raise Failure(f"{name} should{'' if is_there else ' not'} be found, but:\n{text}")

    def round(self):
        end = time.monotonic() + ACTIVE
        if self.tree.random.randrange(2):
            self.tree.switch()
        while time.monotonic() < end:
            for _ in range(self.tree.random.randrange(4)):
                self.tree.change()
            for _ in range(3):
                self.ask_something()
            self.look_for_probe()
        self.be_idle()
        self.memory.append([measured(session.pid, resident_megabytes) for session in self.sessions])

    def be_idle(self):
        def now():
            return sum(measured(session.pid, ticks) for session in self.sessions)

        end = time.monotonic() + SETTLED
        before = -1
        while before != (before := now()):
            if time.monotonic() > end:
                raise Failure(f"still busy {SETTLED} s after the last question and change")
            time.sleep(1)
        start = time.monotonic()
        time.sleep(IDLE)
        self.idle_ticks += now() - before
        self.idle_time += time.monotonic() - start

    def visit(self):
        """One more session comes, asks and goes."""
        with Session(self.program, self.tree.path, self.log) as session:
            session.ask("explore", {"question": self.tree.random.choice(QUESTIONS)})
            if session.close() != 0:
                raise Failure("a third session ended with an error")
        self.answers += 1

    def run(self, minutes):
        start = time.monotonic()
        for minute in range(1, minutes + 1):
            answers, changes, switches = self.answers, self.tree.changes, self.tree.switches
            idle = self.idle_ticks, self.idle_time
            if minute == minutes // 4 + 1:  # the first, which watches, goes, and another comes
                if len(self.sessions) == 2:
                    self.end_session(self.sessions[0])
            while len(self.sessions) < 2:
                self.begin_session()
            self.visit()
            while time.monotonic() < start + minute * 60 - ACTIVE - IDLE or self.answers == answers:
                self.round()
            used = (self.idle_ticks - idle[0]) / TICK
            seconds = self.idle_time - idle[1]
            print(f"minute {minute:2}: memory {' and '.join(f'{m:.1f}' for m in self.memory[-1])} MB; "
                  f"{used:.2f} s of processor time in {seconds:.0f} idle seconds; "
                  f"{self.answers - answers} answers, {self.tree.changes - changes} changes, "
                  f"{self.tree.switches - switches} switches", flush=True)
        self.tree.switch()
        for _ in range(20):
            self.tree.change()
        self.look_for_probe()
        for session in list(self.sessions):
            self.end_session(session)


def growth(values):
    """By the line that fits best: how much larger the last is than the first, as a part of it."""
    count = len(values)
    middle = (count - 1) / 2
    mean = sum(values) / count
    spread = sum((i - middle) ** 2 for i in range(count))
    slope = sum((i - middle) * value for i, value in enumerate(values)) / spread if spread else 0
    return slope * (count - 1) / mean


TABLES = {
    "files": "SELECT id, path, language, expected, size, hash, skipped FROM files",
    "symbols": "SELECT * FROM symbols",
    "vectors": "SELECT models.name, models.kind, symbol, text, numbers FROM embeddings "
               "JOIN models ON models.id = embeddings.model JOIN vectors ON vectors.id = vector",
    "waiting": "SELECT * FROM waiting",
    "extraction": "SELECT extraction, largest_file FROM meta",
}


def rows(folder, query):
    database = sqlite3.connect(f"{(folder / '.velmora/index.db').as_uri()}?mode=ro", uri=True)
    try:
        return set(database.execute(query))
    finally:
        database.close()


def compare(program, kept, anew):
    """The index that was kept with one made anew of the same files. What differs, a line each."""
    # The log of the sessions has a name that only the program knows: as the last one to close the
    # index, it takes what is in the log into the file.
    subprocess.run([program, "status", kept], check=True, capture_output=True)
    if list(kept.glob(".velmora/index.db-wal*")):
        return ["somebody still has the index open"]
    anew.mkdir()
    subprocess.run(f"tar -cf - --exclude=./.velmora . | tar -xf - -C '{anew}'", shell=True,
                   check=True, cwd=kept)
    subprocess.run([program, "index", anew], check=True, capture_output=True)
    differences = []
    for table, query in TABLES.items():
        here, there = rows(kept, query), rows(anew, query)
        print(f"{table}: {len(here):,} rows, {len(there):,} in the index made anew")
        for side, only in (("kept", here - there), ("made anew", there - here)):
            differences += [f"{table}: only in the index {side}: {str(row)[:200]}"
                            for row in sorted(only, key=str)[:5]]
    return differences


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: soak_agents.py PROGRAM MINUTES")
    program, minutes = os.path.abspath(sys.argv[1]), int(sys.argv[2])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    faults = []
    with tempfile.TemporaryDirectory() as temporary:
        folder = Path(temporary)
        log = (folder / "log").open("w+b")
        soak = Soak(program, Tree(folder / "repository", seed=1), log)
        try:
            soak.run(minutes)
        except (Failure, SessionError) as error:
            faults.append(str(error))
        finally:
            for session in soak.sessions:
                session.__exit__()
        print(f"asked again, for an answer said that it was behind: {soak.behind} times")
        half = soak.memory[len(soak.memory) // 2:]
        for number, memory in enumerate(zip(*half), 1):
            grown = growth(memory)
            print(f"memory of session {number}, second half: {grown:+.1%} over {len(memory)} rounds")
            if grown > MOST_GROWTH:
                faults.append(f"the memory of session {number} grows")
        share = soak.idle_ticks / TICK / max(soak.idle_time, 1)
        print(f"processor when nothing happens: {share:.3%} over {soak.idle_time:.0f} s")
        if share > MOST_IDLE_SHARE:
            faults.append("doing nothing costs processor time")
        if not faults:
            faults = compare(program, folder / "repository", folder / "anew")
        log.seek(0)
        said = log.read().decode(errors="replace").splitlines()
        print(f"lines of log: {len(said)}", *said[:10], sep="\n  ")
    print(*[f"FAULT: {fault}" for fault in faults] or ["all is well"], sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
