"""The structs and functions of ctypes are those of the header."""

from __future__ import annotations

import ctypes
import re
import unittest
from pathlib import Path

from velmora import _c

HEADER = Path(__file__).parents[2] / "host/include/velmora/velmora.h"
SCALARS: dict[str, type] = {
    "bool": ctypes.c_bool,
    "double": ctypes.c_double,
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "size_t": ctypes.c_size_t,
    "uint64_t": ctypes.c_uint64,
    "velmora_code": ctypes.c_int32,
    "velmora_log_function": _c.LOG,
    "velmora_string": _c.String,
}


def is_of(kind: type, declared: str) -> bool:
    """Whether a type is what C calls so; of a pointer only that it is one."""
    if "*" in declared:
        return ctypes.sizeof(kind) == ctypes.sizeof(ctypes.c_void_p) and kind not in SCALARS.values()
    return kind is SCALARS[declared.split()[0]]


class InterfaceTest(unittest.TestCase):
    def setUp(self) -> None:
        self.header = re.sub(r"//.*", "", HEADER.read_text())

    def test_structs(self) -> None:
        found = 0
        for body, name in re.findall(r"typedef struct \w+ \{(.*?)\} velmora_(\w+);", self.header, re.S):
            struct = getattr(_c, "".join(part.title() for part in name.split("_")))
            # One name a declaration; a function's is the one in parentheses.
            declared = [" ".join(line.split()) for line in body.split(";") if line.strip()]
            names = [
                (re.search(r"\(\*(\w+)\)", line) or re.search(r"(\w+)$", line))[1]  # type: ignore[index]
                for line in declared
            ]
            self.assertEqual([field[0] for field in struct._fields_], names, name)
            for line, field in zip(declared, struct._fields_):
                self.assertTrue(is_of(field[1], line.replace("const ", "")), line)
            found += 1
        self.assertEqual(found, 14)

    def test_functions(self) -> None:
        pattern = r"VELMORA_API ([\w ]+?)\s+velmora_(\w+)\((.*?)\)\s+VELMORA_NOEXCEPT"
        found = re.findall(pattern, self.header, re.S)
        self.assertEqual(len(found), self.header.count("VELMORA_API"))
        for returns, name, parameters in found:
            function = getattr(_c, name)
            # A comma within a parameter's own parameters parts nothing.
            flat = re.sub(r"\(\*release\)\(.*?\)", "(*release)", parameters)
            declared = [one.strip().replace("const ", "") for one in flat.split(",")]
            if declared == ["void"]:
                declared = []
            self.assertEqual(len(function.argtypes), len(declared), name)
            for kind, one in zip(function.argtypes, declared):
                self.assertTrue(is_of(kind, one), f"{name}: {one}")
            if returns == "void":
                self.assertIsNone(function.restype, name)
            else:
                self.assertIs(function.restype, SCALARS[returns], name)
