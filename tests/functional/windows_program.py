#!/usr/bin/python3
"""What only a Windows executable has, and what both executables must have in common."""

import io
import re
import struct
import zipfile

import framework  # first: it makes the other modules known
import service
from app_folder import read_ini
from pe_file import DYNAMIC_BASE, GUI, HIGH_ENTROPY_VA, MANIFEST, NX_COMPAT, PeFile

SYSTEM_LIBRARIES = {"advapi32.dll", "bcrypt.dll", "crypt32.dll", "kernel32.dll", "msvcrt.dll", "ntdll.dll", "shell32.dll", "user32.dll", "ws2_32.dll"}
"""Every Windows has them; on some machines one or the other is not named."""
PRESENT_WINDOWS = "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"


@framework.only_on("windows", "it is about a Windows file")
def test_the_executable_needs_system_libraries_only(t):
    program = PeFile(t.executable)
    assert program.machine == 0x8664 and program.subsystem == GUI
    libraries = set(program.libraries())
    assert "kernel32.dll" in libraries and libraries <= SYSTEM_LIBRARIES, libraries


@framework.only_on("windows", "it is about a Windows file")
def test_the_program_lies_at_another_address_in_each_run_and_no_data_is_executed(t):
    program = PeFile(t.executable)
    wanted = DYNAMIC_BASE | HIGH_ENTROPY_VA | NX_COMPAT
    assert program.characteristics & wanted == wanted, hex(program.characteristics)
    assert program.has_relocations, "without them the address is fixed, whatever the flags say"


@framework.only_on("windows", "it is about a Windows file")
def test_the_version_resource_tells_the_version_and_no_company(t):
    project = (framework.REPOSITORY / "CMakeLists.txt").read_text(encoding="utf-8")
    wanted = re.search(r"project\(VlMr VERSION (\d+)\.(\d+)\.(\d+)", project).groups()
    numbers, words = PeFile(t.executable).version()
    assert numbers == (*map(int, wanted), 0), numbers
    assert "VlMr.exe" in words and ".".join(wanted) in words, words
    assert not [word for word in words if "Company" in word or "Copyright" in word], words


@framework.only_on("windows", "it is about a Windows file")
def test_the_icon_is_our_own(t):
    drawn = (framework.REPOSITORY / "packaging/windows/VlMr.ico").read_bytes()
    count = struct.unpack_from("<H", drawn, 4)[0]
    places = [struct.unpack_from("<II", drawn, 6 + 16 * i + 8) for i in range(count)]
    assert PeFile(t.executable).icon_images() == [drawn[offset : offset + size] for size, offset in places]


@framework.only_on("windows", "it is about a Windows file")
def test_the_manifest_names_the_present_windows_and_asks_for_no_rights(t):
    manifest = PeFile(t.executable).resources(MANIFEST)[1].decode("utf-8")
    assert PRESENT_WINDOWS in manifest and 'level="asInvoker"' in manifest, manifest


def test_an_application_folder_with_blanks_brackets_and_accents_works(t):
    server = t.nginx(t.publish(version="100", products=(6,), engines=service.all_engines()))
    app = t.app_in_program_files()
    sections = {"SOURCES": {"Engines": "1", "Products": "1"}, "APACHE": {"Enable": "1"}}
    app.write_settings(framework.settings(server.base, sections))
    app.install_patch_program()
    app.install_sibling("QueueMailer.exe")
    app.install_sibling("PageScribe.exe")
    app.run()
    t.publish(t.offer, version="101", increments_from=("100",))
    run = app.run()
    place = app.place.encode(app.target.text_encoding).decode("latin-1")
    run.log.expect(f"PatchIni: execute {place}\\Patch.exe", "StartingOperations: VLMR terminate...")
    assert list(app.files("Pattern")) == ["lpt$vpn.101"]
    assert (app.path / "Pattern/lpt$vpn.101").read_bytes() == service.pattern_bytes("101")
    assert app.starts_of("QueueMailer.exe") and app.starts_of("PageScribe.exe")
    app.run("/DLLs")
    assert app.text("PelgrunDLLs.txt").split("\r\n")[4].startswith(place)


@framework.only_on("windows", "it compares with the Linux executable")
def test_both_executables_make_the_same_mirror(t):
    root = t.publish(
        version="100", increments_from=("098", "099"), engines=service.all_engines(), products=(6, 22),
        auxiliary={key: "1.5" for key in service.AUXILIARY},
    )  # fmt: skip
    server = t.nginx(root)
    switches = {key: "1" for key in ("Engines", "Products", "OPP", "MPP", "SPAM", "Alerts")}
    switches["ActiveUpdateEPS"] = server.base.replace("activeupdate", "eps")
    apps = [t.app("windows"), t.app("linux", executable=t.linux_executable())]
    for app in apps:
        app.write_settings(framework.settings(server.base, {"SOURCES": switches, "NOTIFICATION": {"Enable": "1"}}))
        app.install_patch_program()
        app.run()
    compare_mirrors(*apps)
    t.publish(t.offer, version="101", increments_from=("100",))
    for app in apps:
        app.run()
        assert list(app.files("Pattern")) == ["lpt$vpn.101"], app.place
    compare_mirrors(*apps)


def without_moment(data):
    """A file as it is; an archive that was made here without the moment of its making."""
    if not data.startswith(b"PK\3\4"):
        return data
    result = bytearray(data)
    for entry in zipfile.ZipFile(io.BytesIO(data)).infolist():
        result[entry.header_offset + 10 : entry.header_offset + 14] = bytes(4)
    place = struct.unpack_from("<I", data, data.rindex(b"PK\5\6") + 16)[0]
    while data[place : place + 4] == b"PK\1\2":
        result[place + 12 : place + 16] = bytes(4)
        place += 46 + sum(struct.unpack_from("<HHH", data, place + 28))
    return bytes(result)


def compare_mirrors(windows, linux):
    """Same files, same bytes, same index, same settings but for what names the system."""
    for folder in ("ActiveUpdate", "Pattern"):
        assert windows.files(folder) == linux.files(folder), folder
        for name in windows.files(folder):
            ours, theirs = (without_moment((app.path / folder / name).read_bytes()) for app in (windows, linux))
            assert ours == theirs, f"{folder}/{name}"
    index = read_ini(windows.path / "ActiveUpdate/server.ini")
    assert index["pattern"]["version"], index
    assert len(windows.mails()) == len(linux.mails())


if __name__ == "__main__":
    framework.main()
