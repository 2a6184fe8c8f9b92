"""Windows executables with a version resource, for tests of what reads it."""

import shutil
import struct
import subprocess

ADDRESS = 0x1000
RT_VERSION = 16


def version_info(version, strings):
    """VS_VERSIONINFO: the fixed part and a StringFileInfo."""

    def block(key, value, children=b"", text=False):
        head = key.encode("utf-16-le") + b"\0\0"
        body = aligned(b"\0" * 6 + head) + value
        body = (aligned(body) if children else body) + children
        length = len(value) // 2 if text else len(value)
        return struct.pack("<HHH", len(body), length, 1 if text else 0) + body[6:]

    high, low = version[0] << 16 | version[1], version[2] << 16 | version[3]
    fixed = struct.pack("<13I", 0xFEEF04BD, 0x10000, high, low, high, low, 0x3F, 0, 4, 1, 0, 0, 0)
    entries = b"".join(aligned(block(k, v.encode("utf-16-le") + b"\0\0", text=True)) for k, v in strings.items())
    table = block("040904B0", b"", entries, text=True)
    return block("VS_VERSION_INFO", fixed, block("StringFileInfo", b"", table, text=True))


def aligned(data, to=4):
    return data + b"\0" * (-len(data) % to)


def resources(info):
    """A resource section that holds one version resource in one language."""

    def folder(number, child):
        return struct.pack("<IIHHHHII", 0, 0, 0, 0, 0, 1, number, child)

    data = 3 * 24 + 16
    levels = folder(RT_VERSION, 0x80000000 | 24) + folder(1, 0x80000000 | 48) + folder(1033, 72)
    return levels + struct.pack("<IIII", ADDRESS + data, len(info), 0, 0) + info


def windows_program(version, wide=False):
    """A program of no code, 32 or 64 bits, whose file version is `version`, four numbers."""
    section = resources(version_info(version, {"FileVersion": "text that nobody reads", "CompanyName": "Velmora"}))
    on_disk = aligned(section, 0x200)
    size_of_optional = 240 if wide else 224
    dos = b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", 0x40)
    coff = struct.pack("<4sHHIIIHH", b"PE\0\0", 0x8664 if wide else 0x14C, 1, 0, 0, 0, size_of_optional, 0x102)
    optional = struct.pack("<HBBIIIII", 0x20B if wide else 0x10B, 14, 0, 0, len(on_disk), 0, 0, ADDRESS)
    # In 64 bits the base of the data is left out and five numbers are twice as long.
    optional += struct.pack("<Q", 0x140000000) if wide else struct.pack("<II", 0, 0x400000)
    optional += struct.pack("<IIHHHHHHIIIIHH", 0x1000, 0x200, 6, 0, 0, 0, 6, 0, 0, 0x2000, 0x200, 0, 2, 0)
    optional += struct.pack("<4Q" if wide else "<4I", 0x100000, 0x1000, 0x100000, 0x1000) + struct.pack("<II", 0, 16)
    directories = struct.pack("<IIIIII", 0, 0, 0, 0, ADDRESS, len(section))
    optional += directories.ljust(16 * 8, b"\0")
    assert len(optional) == size_of_optional
    header = struct.pack("<8sIIIIIIHHI", b".rsrc", len(section), ADDRESS, len(on_disk), 0x200, 0, 0, 0, 0, 0x40000040)
    return aligned(dos + coff + optional + header, 0x200) + on_disk


def compiled_program(folder, version):
    """The same made by a cross compiler; None where there is none."""
    compiler, maker = shutil.which("x86_64-w64-mingw32-gcc"), shutil.which("x86_64-w64-mingw32-windres")
    if not compiler or not maker:
        return None
    numbers = ",".join(map(str, version))
    (folder / "tsc.rc").write_text(f"1 VERSIONINFO\nFILEVERSION {numbers}\nPRODUCTVERSION 9,9,9,9\nBEGIN\nEND\n")
    (folder / "tsc.c").write_text("int main(void) { return 0; }\n")
    subprocess.run([maker, folder / "tsc.rc", "-O", "coff", "-o", folder / "tsc.res"], check=True)
    subprocess.run([compiler, folder / "tsc.c", folder / "tsc.res", "-o", folder / "tsc.exe"], check=True)
    return (folder / "tsc.exe").read_bytes()
