"""A Windows executable's headers and resources (PE/COFF), as far as tests ask about them."""

import struct

ICON, GROUP_ICON, VERSION, MANIFEST = 3, 14, 16, 24
GUI = 2
HIGH_ENTROPY_VA, DYNAMIC_BASE, NX_COMPAT = 0x20, 0x40, 0x100


class PeFile:
    def __init__(self, path):
        self.data = path.read_bytes()
        head = struct.unpack_from("<I", self.data, 0x3C)[0]
        assert self.data[:2] == b"MZ" and self.data[head : head + 4] == b"PE\0\0", f"{path} is no Windows executable"
        self.machine, sections = struct.unpack_from("<HH", self.data, head + 4)
        optional = head + 24
        size = struct.unpack_from("<H", self.data, head + 20)[0]
        self.subsystem = struct.unpack_from("<H", self.data, optional + 68)[0]
        self.characteristics = struct.unpack_from("<H", self.data, optional + 70)[0]
        self._directories = optional + 112
        self.has_relocations = struct.unpack_from("<I", self.data, self._directories + 8 * 5 + 4)[0] > 0
        self._sections = [
            struct.unpack_from("<IIII", self.data, optional + size + 40 * i + 8) for i in range(sections)
        ]

    def _at(self, address):
        """The place in the file of an address in memory."""
        for memory, start, length, place in self._sections:
            if start <= address < start + max(memory, length):
                return place + address - start
        raise ValueError(hex(address))

    def _text(self, address):
        place = self._at(address)
        return self.data[place : self.data.index(b"\0", place)].decode("ascii")

    def libraries(self):
        """Names of the libraries that it imports from, in lower case."""
        place = self._at(struct.unpack_from("<I", self.data, self._directories + 8)[0])
        names = []
        while any(self.data[place : place + 20]):
            names.append(self._text(struct.unpack_from("<I", self.data, place + 12)[0]).lower())
            place += 20
        return names

    def resources(self, kind):
        """The resources of one kind, by number."""
        root = self._at(struct.unpack_from("<I", self.data, self._directories + 16)[0])
        found = {}
        for number, offset in self._entries(root, root):
            if number == kind:
                for name, languages in self._entries(root, root + (offset & 0x7FFFFFFF)):
                    for _, leaf in self._entries(root, root + (languages & 0x7FFFFFFF)):
                        address, size = struct.unpack_from("<II", self.data, root + leaf)
                        place = self._at(address)
                        found[name] = self.data[place : place + size]
        return found

    def _entries(self, root, place):
        named, numbered = struct.unpack_from("<HH", self.data, place + 12)
        return [struct.unpack_from("<II", self.data, place + 16 + 8 * i) for i in range(named + numbered)]

    def version(self):
        """File version as four numbers, and the texts of the version resource."""
        data = self.resources(VERSION)[1]
        fixed = data.index(struct.pack("<I", 0xFEEF04BD))
        high, low = struct.unpack_from("<II", data, fixed + 8)
        words = data.decode("utf-16-le", "replace").replace("\0", "\n").split("\n")
        return (high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF), [word for word in words if word.isprintable() and word]

    def icon_images(self):
        """The images of the first icon, in their order."""
        group = next(iter(self.resources(GROUP_ICON).values()))
        images = self.resources(ICON)
        count = struct.unpack_from("<H", group, 4)[0]
        return [images[struct.unpack_from("<H", group, 6 + 14 * i + 12)[0]] for i in range(count)]
