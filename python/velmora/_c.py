"""The library's C interface as ctypes has it, name by name: velmora/velmora.h is its manual."""

from __future__ import annotations

import ctypes
from ctypes import (
    CFUNCTYPE,
    POINTER,
    Structure,
    c_bool,
    c_char_p,
    c_double,
    c_float,
    c_int32,
    c_int64,
    c_size_t,
    c_uint64,
    c_void_p,
)
from typing import Any, TypeVar

from ._find import load

Type = TypeVar("Type", bound=Structure)


class String(Structure):
    """velmora_string. Keeps the bytes that are put into it."""

    _fields_ = [("data", c_char_p), ("size", c_size_t)]


class Progress(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("waiting_for", String),
        ("files_done", c_uint64),
        ("files", c_uint64),
        ("symbols", c_int64),
        ("embedded", c_int64),
        ("to_embed", c_int64),
    ]


PROGRESS = CFUNCTYPE(c_int32, c_void_p, POINTER(Progress))
SKIPPED = CFUNCTYPE(c_int32, c_void_p, String, String, c_bool)
LOG = CFUNCTYPE(None, c_void_p, c_int32, String, String)
RELEASE = CFUNCTYPE(None, c_void_p)


class UpdateOptions(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("progress", PROGRESS),
        ("skipped", SKIPPED),
        ("self", c_void_p),
        ("largest_file", c_uint64),
        ("model", String),
        ("without_model", c_bool),
        ("no_wait", c_bool),
        ("retry", c_bool),
        ("rebuild", c_bool),
        ("consent", c_bool),
    ]


class UpdateReport(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("files", c_uint64),
        ("added", c_uint64),
        ("changed", c_uint64),
        ("removed", c_uint64),
        ("unchanged", c_uint64),
        ("skipped", c_uint64),
        ("symbols", c_int64),
        ("embedded", c_int64),
    ]


class IndexInfo(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("file", String),
        ("root", String),
        ("symbols", c_int64),
        ("files", c_int64),
        ("made_here", c_bool),
    ]


class Symbol(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("id", c_int64),
        ("fqn", String),
        ("name", String),
        ("kind", String),
        ("path", String),
        ("start_line", c_int64),
        ("end_line", c_int64),
        ("signature", String),
        ("docstring", String),
    ]


FINGERPRINT = CFUNCTYPE(c_int32, c_void_p, c_void_p)
OPEN = CFUNCTYPE(
    c_int32, c_void_p, POINTER(String), c_size_t, POINTER(String), c_size_t, POINTER(c_void_p)
)
NEXT = CFUNCTYPE(c_int32, c_void_p, c_void_p, POINTER(Symbol), POINTER(c_bool))
CLOSE = CFUNCTYPE(None, c_void_p, c_void_p)
NEAREST = CFUNCTYPE(c_int32, c_void_p, POINTER(c_float), c_size_t, String, c_int64, c_void_p)
DOCSTRINGS = CFUNCTYPE(c_int32, c_void_p, POINTER(c_int64), c_size_t, c_void_p)


class Repository(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("self", c_void_p),
        ("release", RELEASE),
        ("fingerprint", FINGERPRINT),
        ("open", OPEN),
        ("next", NEXT),
        ("close", CLOSE),
        ("nearest", NEAREST),
        ("docstrings", DOCSTRINGS),
    ]


EMBED = CFUNCTYPE(c_int32, c_void_p, String, c_void_p)


class Embedder(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("self", c_void_p),
        ("release", RELEASE),
        ("embed", EMBED),
    ]


class Decision(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("question", String),
        ("candidates", POINTER(String)),
        ("questions", POINTER(String)),
        ("count", c_size_t),
        ("version", String),
    ]


FLAG = CFUNCTYPE(c_int32, c_void_p, POINTER(c_bool))
DECIDE = CFUNCTYPE(c_int32, c_void_p, POINTER(Decision), POINTER(c_double))


class Decider(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("self", c_void_p),
        ("release", RELEASE),
        ("enabled", FLAG),
        ("consent", FLAG),
        ("decide", DECIDE),
    ]


class Settings(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("rrf_k", c_int32),
        ("depth", c_int32),
        ("semantic_shortlist", c_int32),
        ("semantic_max_neighbours", c_int32),
        ("best_files", c_int32),
        ("weight_name", c_double),
        ("weight_signature", c_double),
        ("weight_path", c_double),
        ("weight_docstring", c_double),
        ("file_weight_names", c_double),
        ("file_weight_path", c_double),
        ("file_weight_docstrings", c_double),
        ("tokenizer", String),
    ]


class RetrieverOptions(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("settings", POINTER(Settings)),
        ("embedder", POINTER(Embedder)),
        ("decider", POINTER(Decider)),
        ("model", String),
        ("without_embedder", c_bool),
        ("without_decider", c_bool),
    ]


class AskOptions(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("scope", String),
        ("limit", c_int32),
        ("tests", c_int32),
        ("without_rerank", c_bool),
        ("verbatim", c_bool),
    ]


class Hit(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("id", c_int64),
        ("fqn", String),
        ("name", String),
        ("kind", String),
        ("path", String),
        ("start_line", c_int64),
        ("end_line", c_int64),
        ("signature", String),
        ("score", c_double),
        ("exact_rank", c_int64),
        ("lexical_rank", c_int64),
        ("file_rank", c_int64),
        ("semantic_rank", c_int64),
    ]


LIBRARY = load()


def _function(name: str, returns: Any, *takes: Any) -> Any:
    function = getattr(LIBRARY, name)
    function.restype = returns
    function.argtypes = takes
    return function


_CODE = c_int32
_HANDLE = c_void_p
_OUT = POINTER(c_void_p)

message = _function("velmora_message", String)
set_message = _function("velmora_set_message", None, String)
version = _function("velmora_version", String)
set_log = _function("velmora_set_log", _CODE, LOG, c_void_p, RELEASE, c_int32)

index_update = _function(
    "velmora_index_update", _CODE, String, POINTER(UpdateOptions), POINTER(UpdateReport)
)
index_open = _function("velmora_index_open", _CODE, String, _OUT)
index_describe = _function("velmora_index_describe", _CODE, _HANDLE, POINTER(IndexInfo))
index_close = _function("velmora_index_close", None, _HANDLE)

put_fingerprint = _function("velmora_put_fingerprint", _CODE, c_void_p, String)
put_pair = _function("velmora_put_pair", _CODE, c_void_p, c_int64, c_double)
put_docstring = _function("velmora_put_docstring", _CODE, c_void_p, c_int64, String)
put_vector = _function(
    "velmora_put_vector", _CODE, c_void_p, POINTER(c_float), c_size_t, String
)

model_open = _function("velmora_model_open", _CODE, String, _OUT)
model_name = _function("velmora_model_name", String, _HANDLE)
model_dimensions = _function("velmora_model_dimensions", c_size_t, _HANDLE)
model_embed = _function(
    "velmora_model_embed", _CODE, _HANDLE, POINTER(Symbol), String, POINTER(c_float)
)
model_close = _function("velmora_model_close", None, _HANDLE)

settings_default = _function("velmora_settings_default", _CODE, POINTER(Settings))
index_settings = _function("velmora_index_settings", _CODE, _HANDLE, POINTER(Settings))
retriever_of_index = _function(
    "velmora_retriever_of_index", _CODE, _HANDLE, POINTER(RetrieverOptions), _OUT
)
retriever_of_repository = _function(
    "velmora_retriever_of_repository", _CODE, POINTER(Repository), POINTER(RetrieverOptions), _OUT
)
retriever_free = _function("velmora_retriever_free", None, _HANDLE)

ask = _function("velmora_ask", _CODE, _HANDLE, String, POINTER(AskOptions), _OUT)
answer_size = _function("velmora_answer_size", c_size_t, _HANDLE)
answer_hit = _function("velmora_answer_hit", _CODE, _HANDLE, c_size_t, POINTER(Hit))
answer_channel = _function("velmora_answer_channel", String, _HANDLE, c_int32)
answer_note = _function("velmora_answer_note", String, _HANDLE)
answer_free = _function("velmora_answer_free", None, _HANDLE)


def sized(kind: type[Type], **fields: Any) -> Type:
    """A struct with its size set, these fields, and all else zero."""
    return kind(size=ctypes.sizeof(kind), **fields)


def put(field: String, data: bytes | None) -> None:
    """Fills a string, or makes it no text."""
    field.data = data
    field.size = 0 if data is None else len(data)


def string(text: str | None) -> String:
    return bytes_string(None if text is None else encoded(text))


def bytes_string(data: bytes | None) -> String:
    return String(data, 0 if data is None else len(data))


def encoded(text: str) -> bytes:
    if not isinstance(text, str):
        raise TypeError(f"a text is a str, not {type(text).__name__}")
    return text.encode("utf-8", "surrogateescape")


def data_of(string: String) -> bytes | None:
    """The bytes that the library's string shows, NULs among them; None of no text."""
    data = c_void_p.from_buffer(string).value
    return None if data is None else ctypes.string_at(data, string.size)


def maybe_text(string: String) -> str | None:
    data = data_of(string)
    return None if data is None else data.decode("utf-8", "surrogateescape")


def text(string: String) -> str:
    return maybe_text(string) or ""


def within(value: int, least: int, most: int, name: str) -> int:
    """The value, which ctypes would cut to its size."""
    if not least <= value <= most:
        raise ValueError(f"{name} is {value}; it must be from {least} to {most}")
    return value


INT32 = (-(2**31), 2**31 - 1)
INT64 = (-(2**63), 2**63 - 1)
