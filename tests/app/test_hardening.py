"""Checks that the program was built with the protections of cmake/hardening.cmake.

QUILLMARCH_PROGRAM is the path of the program, QUILLMARCH_COMMANDS is compile_commands.json.
"""

import json
import os
import pathlib
import re
import struct
import unittest

ET_DYN = 3
PT_DYNAMIC, PT_INTERP, PT_GNU_STACK, PT_GNU_RELRO = 2, 3, 0x6474E551, 0x6474E552
PF_X = 1
DT_NULL, DT_STRTAB, DT_STRSZ, DT_FLAGS, DT_FLAGS_1 = 0, 5, 10, 30, 0x6FFFFFFB
DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 8, 1, 0x08000000


class Elf:
    """The program headers and the dynamic section of a 64-bit little-endian ELF file."""

    def __init__(self, path):
        self.data = pathlib.Path(path).read_bytes()
        if self.data[:6] != b"\x7fELF\x02\x01":
            raise ValueError(f"{path} is not a 64-bit little-endian ELF file")
        self.type, = struct.unpack_from("<H", self.data, 16)
        start, = struct.unpack_from("<Q", self.data, 32)
        size, count = struct.unpack_from("<HH", self.data, 54)
        # type, flags, offset, address, physical address, size in the file, size in memory, alignment
        self.segments = [struct.unpack_from("<IIQQQQQQ", self.data, start + i * size) for i in range(count)]
        self.dynamic = dict(self._dynamic_entries())

    def segment(self, kind):
        return next((segment for segment in self.segments if segment[0] == kind), None)

    def _dynamic_entries(self):
        _, _, offset, _, _, size, _, _ = self.segment(PT_DYNAMIC)
        for tag, value in struct.iter_unpack("<QQ", self.data[offset:offset + size]):
            if tag == DT_NULL:
                return
            yield tag, value

    def names(self):
        """The strings of the dynamic section, among them all imported symbols."""
        address, size = self.dynamic[DT_STRTAB], self.dynamic[DT_STRSZ]
        for _, _, offset, start, _, length, _, _ in self.segments:
            if start <= address < start + length:
                table = self.data[offset + address - start:][:size]
                return set(table.decode().split("\0"))
        raise ValueError("the string table is not in any segment")


def compile_commands():
    """The source and compiler command of each source of the libraries and programs."""
    for entry in json.loads(pathlib.Path(os.environ["QUILLMARCH_COMMANDS"]).read_text()):
        if re.search(r" -o (\S*/)?src/(\w+/)?CMakeFiles/[\w-]+\.dir/(?!.*autogen)", entry["command"]):
            yield entry["file"], entry["command"].split()


class Hardening(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.elf = Elf(os.environ["QUILLMARCH_PROGRAM"])
        cls.names = cls.elf.names()

    def test_can_be_loaded_anywhere(self):
        self.assertEqual(self.elf.type, ET_DYN)
        self.assertIsNotNone(self.elf.segment(PT_INTERP), "a library, no program")
        self.assertTrue(self.elf.dynamic.get(DT_FLAGS_1, 0) & DF_1_PIE)

    def test_addresses_of_functions_cannot_be_written(self):
        self.assertIsNotNone(self.elf.segment(PT_GNU_RELRO))
        self.assertTrue(self.elf.dynamic.get(DT_FLAGS, 0) & DF_BIND_NOW or self.elf.dynamic.get(DT_FLAGS_1, 0) & DF_1_NOW)

    def test_stack_is_not_executable(self):
        stack = self.elf.segment(PT_GNU_STACK)
        self.assertIsNotNone(stack, "without this header the stack is executable")
        self.assertFalse(stack[1] & PF_X)

    def test_stack_protector_is_called(self):
        self.assertIn("__stack_chk_fail", self.names)

    def test_library_assertions_are_called(self):
        self.assertTrue([name for name in self.names if "glibcxx_assert" in name], "no assertion of libstdc++")

    def test_every_source_is_fortified(self):
        sources = 0
        for source, command in compile_commands():
            levels = [word for word in command if re.match(r"-[UD]_FORTIFY_SOURCE", word)]
            self.assertRegex(levels[-1] if levels else "", r"-D_FORTIFY_SOURCE=[23]$", source)
            self.assertTrue([word for word in command if re.match("-O[23]$", word)], f"{source}: fortify needs -O")
            sources += 1
        self.assertGreater(sources, 30, "the sources were not found")


if __name__ == "__main__":
    unittest.main(verbosity=2)
