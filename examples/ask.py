#!/usr/bin/env python3
"""Indexes a folder and answers a question about it: ask.py FOLDER QUESTION"""
import sys

import velmora


def show(now: velmora.Progress) -> None:
    print(f"\r{now.files_done} of {now.files} files", end="", file=sys.stderr)


def main(folder: str, question: str) -> None:
    velmora.Index.update(folder, progress=show)
    with velmora.Index.open(folder) as index, velmora.Retriever(index) as retriever:
        answer = retriever.explore(question, limit=5)
    print(file=sys.stderr)
    for hit in answer.hits:
        print(f"{hit.path}:{hit.start_line} {hit.kind} {hit.fqn}")
    if answer.note:
        print(answer.note, file=sys.stderr)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        main(sys.argv[1], sys.argv[2])
    except velmora.Error as error:
        sys.exit(f"\n{error}")
