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
        self.header = re.sub(r"//.*|const ", "", HEADER.read_text())

    def test_structs(self) -> None:
        structs = re.findall(r"typedef struct \w+ \{(.*?)\} velmora_(\w+);", self.header, re.S)
        self.assertEqual(len(structs), 14)
        for body, name in structs:
            fields = getattr(_c, name.title().replace("_", ""))._fields_
            declared = [line.strip() for line in body.split(";") if line.strip()]
            self.assertEqual(len(fields), len(declared), name)
            for (field, kind), line in zip(fields, declared):
                # The name of a function is the one in parentheses.
                self.assertRegex(line, rf"\(\*{field}\)|\b{field}$")
                self.assertTrue(is_of(kind, line), line)

    def test_functions(self) -> None:
        pattern = r"VELMORA_API ([\w ]+?)\s+velmora_(\w+)\((.*?)\)\s+VELMORA_NOEXCEPT"
        functions = re.findall(pattern, self.header, re.S)
        self.assertEqual(len(functions), self.header.count("VELMORA_API"))
        for returns, name, parameters in functions:
            function = getattr(_c, name)
            # A function that is a parameter has parameters of its own.
            declared = re.sub(r"\)\(.*?\)|^void$", ")", parameters).strip(")").split(",")
            declared = [one.strip() for one in declared if one]
            self.assertEqual(len(function.argtypes), len(declared), name)
            for kind, one in zip(function.argtypes, declared):
                self.assertTrue(is_of(kind, one), f"{name}: {one}")
            self.assertIs(function.restype, None if returns == "void" else SCALARS[returns], name)
