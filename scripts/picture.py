#!/usr/bin/env python3
"""Asks velmora, in a terminal of 100 columns, and draws what it says as docs/answer.svg.

The page shows it in the reader's colours, light or dark. The answer in the README is about the source
of Python's standard library: scripts/picture.py /usr/lib/python3.11 QUESTION, or a copy of that folder
that you may write to.
"""

import argparse
import fcntl
import html
import os
import pathlib
import re
import struct
import subprocess
import sys
import termios

ROOT = pathlib.Path(__file__).resolve().parent.parent
COLUMNS = 100
# By the codes of colours, as terminals number them.
CLASSES = {"1": "name", "2": "faint", "32": "line", "35": "path"}
STYLE = """
  rect { fill: #f6f8fa; stroke: #d0d7de }
  text { fill: #1f2328; font: 13px ui-monospace, Menlo, Consolas, "DejaVu Sans Mono", monospace }
  .prompt, .faint { fill: #656d76 } .name { font-weight: bold }
  .path { fill: #8250df } .line { fill: #1a7f37 }
  @media (prefers-color-scheme: dark) {
    rect { fill: #161b22; stroke: #30363d }
    text { fill: #e6edf3 }
    .prompt, .faint { fill: #848d97 }
    .path { fill: #d2a8ff } .line { fill: #7ee787 }
  }
"""


def answer(velmora, folder, arguments):
    """What velmora writes to a terminal."""
    terminal, end = os.openpty()
    fcntl.ioctl(end, termios.TIOCSWINSZ, struct.pack("HHHH", 1000, COLUMNS, 0, 0))
    environment = {**os.environ, "TERM": "xterm-256color", "PAGER": ""}
    environment.pop("NO_COLOR", None)
    program = subprocess.Popen([velmora, *arguments], cwd=folder, stdout=end, env=environment)
    os.close(end)
    written = b""
    try:
        while part := os.read(terminal, 65536):
            written += part
    except OSError:  # the end of what a terminal holds
        pass
    if program.wait() != 0:
        sys.exit(f"picture.py: velmora ended with {program.returncode}")
    return written.decode().replace("\r\n", "\n").rstrip("\n").split("\n")


def spans(line):
    """A line with its colours as spans."""
    out, style = [], ""
    for piece in re.split(r"(\x1b\[[0-9;]*m)", line):
        code = re.fullmatch(r"\x1b\[([0-9;]*)m", piece)
        if code:
            style = " ".join(CLASSES[c] for c in code[1].split(";") if c in CLASSES)
        elif piece:
            text = html.escape(piece, quote=False)
            out.append(f'<tspan class="{style}">{text}</tspan>' if style else text)
    return "".join(out)


def picture(question, lines):
    width, height = COLUMNS * 8 + 32, len(lines) * 19 + 60
    rows = [f'<tspan class="prompt">$</tspan> velmora {html.escape(question, quote=False)}', ""]
    rows += [spans(line) for line in lines]
    texts = [f'<text x="16" y="{28 + 19 * i}" xml:space="preserve">{row}</text>'
             for i, row in enumerate(rows) if row]
    plain = " ".join(re.sub(r"\x1b\[[0-9;]*m", "", line).strip() for line in lines)
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" role="img">',
        f"<title>velmora {html.escape(question, quote=False)}</title>",
        f"<desc>{html.escape(plain, quote=False)}</desc>",
        f"<style>{STYLE}</style>",
        f'<rect x="0.5" y="0.5" width="{width - 1}" height="{height - 1}" rx="8"/>',
        *texts, "</svg>", ""])


def main():
    parser = argparse.ArgumentParser(description="Draws an answer as docs/answer.svg.")
    parser.add_argument("--velmora", default=ROOT / "build/release/velmora", type=pathlib.Path)
    parser.add_argument("folder", help="the repository to ask about")
    parser.add_argument("arguments", nargs=argparse.REMAINDER, metavar="QUESTION",
                        help="what stands behind velmora, options too")
    arguments = parser.parse_args()
    lines = answer(arguments.velmora, arguments.folder, arguments.arguments)
    (ROOT / "docs/answer.svg").write_text(picture(" ".join(arguments.arguments), lines))


if __name__ == "__main__":
    main()
