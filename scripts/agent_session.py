"""A session of `velmora mcp`, as an agent has one: what the soak and the comparison ask through."""

import json
import os
import select
import subprocess
import time

META = {
    "io.modelcontextprotocol/protocolVersion": "2026-07-28",
    "io.modelcontextprotocol/clientCapabilities": {},
    "io.modelcontextprotocol/clientInfo": {"name": "velmora-scripts", "version": "1"},
}


class SessionError(Exception):
    """The server said something that is no answer, or nothing in time."""


class ToolError(Exception):
    """An answer that says why there is none."""


class Session:
    """One process of the server. Not for several threads; `close` ends it, and so does `with`."""

    def __init__(self, program, repository, log):
        self._process = subprocess.Popen(
            [program, "mcp", "--repo", repository],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log)
        self._unread = b""
        self._last_id = 0
        self._answers = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()

    @property
    def pid(self):
        return self._process.pid

    def send(self, tool, arguments):
        """Calls a tool; `receive` takes the id that this returns."""
        self._last_id += 1
        message = {"jsonrpc": "2.0", "id": self._last_id, "method": "tools/call",
                   "params": {"_meta": META, "name": tool, "arguments": arguments}}
        self._process.stdin.write(json.dumps(message).encode() + b"\n")
        self._process.stdin.flush()
        return self._last_id

    def receive(self, request, timeout=60):
        """The text of the answer. Raises SessionError after `timeout` seconds."""
        end = time.monotonic() + timeout
        while request not in self._answers:
            message = json.loads(self._line(end))
            if "id" in message:
                self._answers[message["id"]] = message
        answer = self._answers.pop(request)
        if "error" in answer:
            raise SessionError(str(answer["error"]))
        result = answer["result"]
        text = "".join(part["text"] for part in result["content"])
        if result.get("isError"):
            raise ToolError(text)
        return text

    def ask(self, tool, arguments, timeout=60):
        return self.receive(self.send(tool, arguments), timeout)

    def close(self, timeout=10):
        """Ends the input. The exit code; raises SessionError when something stays behind it."""
        self._process.stdin.close()
        end = time.monotonic() + timeout
        while self._read(end):  # until nobody holds the other end
            pass
        if self._unread:
            raise SessionError(f"it said what nobody asked for: {self._unread[:200]!r}")
        try:
            return self._process.wait(max(0, end - time.monotonic()))
        except subprocess.TimeoutExpired:
            raise SessionError("it stays when its input has ended") from None

    def _line(self, end):
        while b"\n" not in self._unread:
            if not self._read(end):
                raise SessionError("it ended")
        line, self._unread = self._unread.split(b"\n", 1)
        return line

    def _read(self, end):
        output = self._process.stdout.fileno()
        if not select.select([output], [], [], max(0, end - time.monotonic()))[0]:
            raise SessionError("it says nothing in time")
        piece = os.read(output, 1 << 20)
        self._unread += piece
        return bool(piece)
