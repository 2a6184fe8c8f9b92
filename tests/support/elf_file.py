"""A Linux executable's headers, symbols and relocations (ELF, 64 bits, little-endian), as far as tests ask about them."""

import struct

SHARED_OBJECT = 3
LOAD, DYNAMIC, STACK, RELRO = 1, 2, 0x6474E551, 0x6474E552
EXECUTABLE, WRITABLE = 1, 2
# Tags of the dynamic section.
NEEDED, TEXTREL, RPATH, RUNPATH, FLAGS, FLAGS_1 = 1, 22, 15, 29, 30, 0x6FFFFFFB
_DYNAMIC_SYMBOLS, _RELOCATIONS = 11, 4
_RELATIVE = 8


class ElfFile:
    def __init__(self, path):
        self.data = path.read_bytes()
        assert self.data[:6] == b"\x7fELF\x02\x01", f"{path} is no executable of 64-bit Linux"
        self.kind = struct.unpack_from("<H", self.data, 16)[0]
        segments, sections = struct.unpack_from("<QQ", self.data, 32)
        segment_count, _, section_count = struct.unpack_from("<HHH", self.data, 56)
        # Each: type, flags, place, address, (physical), length in the file, length in memory, (alignment).
        self.segments = [struct.unpack_from("<IIQQQQQQ", self.data, segments + 56 * i) for i in range(segment_count)]
        # Each: (name), type, (flags), address, place, length, link, (info), (alignment), length of an entry.
        self._sections = [struct.unpack_from("<IIQQQQIIQQ", self.data, sections + 64 * i) for i in range(section_count)]

    def segments_of(self, kind):
        return [segment for segment in self.segments if segment[0] == kind]

    def dynamic(self):
        """The entries of the dynamic section as pairs of tag and value."""
        ((_, _, place, _, _, length, _, _),) = self.segments_of(DYNAMIC)
        return list(struct.iter_unpack("<qQ", self.data[place : place + length]))

    def dynamic_value(self, tag):
        """The value of a tag, 0 when it is absent."""
        return dict(self.dynamic()).get(tag, 0)

    def imports(self):
        """Names of the symbols that other libraries have to bring."""
        names = set()
        for section in self._sections:
            if section[1] == _DYNAMIC_SYMBOLS:
                texts = self._sections[section[6]][4]
                for name, _, _, index, _, _ in struct.iter_unpack("<IBBHQQ", self._bytes(section)):
                    if index == 0 and name:
                        place = texts + name
                        names.add(self.data[place : self.data.index(b"\0", place)].decode("ascii"))
        return names

    def pointers_to_code(self):
        """The addresses of code that stand in the data: virtual functions, tables of functions, what is called at the start."""
        code = [(start, start + length) for kind, flags, _, start, _, _, length, _ in self.segments if kind == LOAD and flags & EXECUTABLE]
        found = set()
        for section in self._sections:
            if section[1] == _RELOCATIONS:
                for _, info, value in struct.iter_unpack("<QQq", self._bytes(section)):
                    if info == _RELATIVE and any(start <= value < end for start, end in code):
                        found.add(value)
        return found

    def at(self, address, length):
        """The bytes at an address in memory."""
        for kind, _, place, start, _, in_file, _, _ in self.segments:
            if kind == LOAD and start <= address < start + in_file:
                return self.data[place + address - start :][:length]
        raise ValueError(hex(address))

    def _bytes(self, section):
        return self.data[section[4] : section[4] + section[5]]
