"""Answers questions about a source repository with the functions and types that answer it best.

    import velmora

    velmora.Index.update("src/project")
    with velmora.Index.open("src/project") as index, velmora.Retriever(index) as retriever:
        for hit in retriever.explore("where are retries delayed").hits:
            print(f"{hit.path}:{hit.start_line} {hit.fqn}")

An index of a host's own is asked by way of a `Repository`, and models of its own are an `Embedder`
and a `Decider`: classes to derive from.

Threads. Everything may be used by any number of threads at once, and other threads run while the
library works. What is closed while another thread uses it is freed when that is done.

Ctrl-C. Calls from the main thread run on a thread of their own, in the context of the caller, and
so do the functions of a host that they call; the main thread waits, and an exception that a signal
raises there reaches the caller as soon as the call ended, which it makes an update do at once. A
second one does not wait. Whatever Python's end finds running is ended as well.

Errors. Whatever the library has to say is an `Error`; wrong arguments are a ValueError or a
TypeError, and so is the use of what was closed (a ValueError). An exception in a function of the
host reaches the caller as it is wherever that function's description does not say otherwise.

Logging. The library's records go to `logging`, under loggers below "velmora".

Texts are UTF-8; bytes that are none come and go as "surrogateescape" has them.
"""

from . import _log as _log
from ._version import __version__
from .answer import Answer, Hit
from .errors import (
    BusyError,
    ConsentNeededError,
    Error,
    NoIndexError,
    StoppedError,
    TryAgainLaterError,
    UnusableIndexError,
)
from .host import Decider, Decision, Embedder, Repository, Symbol, Vector
from .index import Index, IndexInfo, Progress, Skipped, UpdateReport
from .model import Model
from .retriever import Retriever
from .settings import Settings

__all__ = [
    "Answer",
    "BusyError",
    "ConsentNeededError",
    "Decider",
    "Decision",
    "Embedder",
    "Error",
    "Hit",
    "Index",
    "IndexInfo",
    "Model",
    "NoIndexError",
    "Progress",
    "Repository",
    "Retriever",
    "Settings",
    "Skipped",
    "StoppedError",
    "Symbol",
    "TryAgainLaterError",
    "UnusableIndexError",
    "UpdateReport",
    "Vector",
    "__version__",
]
