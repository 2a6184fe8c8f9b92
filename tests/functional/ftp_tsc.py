#!/usr/bin/python3
"""The cleaner package from FTP."""

import framework  # first: it makes the other modules known
import service
from ftp_servers import ProFtpd, VsFtpd
from log_lines import compare_lines
from windows_program import compiled_program, windows_program

PREFIX = "TrojanSystemCleaner: "


def tsc_settings(host, passive="1"):
    return {
        "SOURCES": {"EnableActiveUpdate": "0", "TscEnable": "1", "TscFtp": f"ftp://{host}/products/tsc"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": {"Passive": passive},
        "NOTIFICATION": {"Enable_TSC_Send": "1"},
    }


def scripted(t, versions=("12344", "12345")):
    root = t.publish(tsc=versions) / "ftp"
    server = t.scripted_ftp(root)
    app = t.app()
    app.write_settings(tsc_settings(server.host))
    return app, server, root / "products/tsc"


def state(app, key):
    return app.setting("TSC", key, "TscVLMR.ini")


def test_real_daemons_serve_the_package_in_both_modes_in_the_very_first_run(t):
    root = t.publish(tsc=("12344", "12345")) / "ftp"
    for kind in (ProFtpd, VsFtpd):
        for passive in ("0", "1"):
            name = f"{kind.name}{passive}"
            server = t.ftp_daemon(kind, root, folder=name)
            app = t.app(f"app-{name}")
            app.write_settings(tsc_settings(server.host, passive))
            app.run().log.expect("StartingOperations: TSC is enabled, Start TSC function", PREFIX + "Connected...")
            assert set(app.files("ActiveUpdate/TSC")) == {"tsc.exe", "tsc.ptn", "TSC.zip"}
            assert state(app, "PatternBuild") == "12345"


def test_the_log_of_a_fetch_is_as_described(t):
    app, server, folder = scripted(t)
    run = app.run()
    own = [line for line in run.log if line.startswith("TrojanSystemCleaner")]
    compare_lines(
        own,
        [
            "TrojanSystemCleaner version 1.0 [%V%]===",
            PREFIX + "New Feature created on 2003.02.21",
            PREFIX + "Switch to FTP passive mode...",
            PREFIX + f"FtpServerName={server.host}",
            PREFIX + "Connecting...",
            PREFIX + "Connected...",
            PREFIX + "Attempting to read files into products/tsc folder",
            PREFIX + "Find sysclean.zip;tsc12344.zip;tsc12345.zip",
            PREFIX + "=======================",
            PREFIX + "Stored version: [0]",
            PREFIX + "Internet version: [12345]",
            PREFIX + "=======================",
            PREFIX + "New version found [12345]",
            PREFIX + f"Download [tsc12345.zip] to [{app.place}\\TempDownload]",
        ],
    )
    # A stand-in without a version resource has no version.
    run.log.expect("PrepareMail: Switch=[12] Version=[ Pattern 12345]")
    assert app.text("TscVLMR.ini") == "[TSC]\r\nPatternBuild=12345\r\nBuild=\r\nLen=5000\r\n"
    assert (app.path / "ActiveUpdate/TSC/TSC.zip").read_bytes() == (folder / "tsc12345.zip").read_bytes()
    assert server.commands[0] == "USER anonymous"
    assert len(app.mails()) == 1


def test_the_file_version_of_the_program_stands_in_the_record_and_in_the_mail(t):
    app, _, folder = scripted(t, ("12345",))
    programs = {
        "3.8.0.1024": windows_program((3, 8, 0, 1024)),
        "65535.0.1.2": windows_program((65535, 0, 1, 2), wide=True),
        "5.600.0.1": compiled_program(t.folder, (5, 600, 0, 1)),
        # What is cut behind the headers has none.
        "": windows_program((3, 8, 0, 1024))[:0x200],
    }
    for number, (version, program) in enumerate(programs.items()):
        if program is None:
            print("  no cross compiler here: its program is left out")
            continue
        package = f"tsc{12345 + number}.zip"
        (folder / package).write_bytes(service.zip_bytes({"tsc.exe": program, "tsc.ptn": b"12"}))
        before = len(app.mails())
        run = app.run()
        text = f"{version} Pattern {12345 + number}"
        run.log.expect(f"PrepareMail: Switch=[12] Version=[{text}]")
        assert state(app, "Build") == version, (version, app.text("TscVLMR.ini"))
        (_, body), = app.mails()[before:]
        assert text in body, body


def test_a_version_held_is_not_fetched_again(t):
    app, server, _ = scripted(t)
    app.run()
    run = app.run()
    run.log.expect(PREFIX + "No New version found stay in [12345]")
    assert server.words().count("RETR") == 1
    t.publish(t.offer, tsc=("12346",))
    app.run().log.expect(PREFIX + "New version found [12346]")
    assert state(app, "PatternBuild") == "12346"


def test_a_missing_program_forces_a_fetch(t):
    app, server, _ = scripted(t)
    app.run()
    (app.path / "ActiveUpdate/TSC/tsc.exe").unlink()
    app.run().log.expect(PREFIX + "Stored version: [0]")
    assert server.words().count("RETR") == 2


def test_a_failed_fetch_leaves_an_empty_folder_and_the_next_run_mends_it(t):
    app, server, _ = scripted(t)
    app.run()
    t.publish(t.offer, tsc=("12346",))
    server.script("RETR", "550 not for you", None)
    run = app.run()
    run.log.expect(PREFIX + "New version found [12346]", PREFIX + "Error connecting 550 => %ANY%")
    assert app.files("ActiveUpdate/TSC") == {}
    app.run()
    assert state(app, "PatternBuild") == "12346" and "tsc.exe" in app.files("ActiveUpdate/TSC")


def test_an_archive_that_is_none_cannot_be_uncompressed(t):
    app, _, folder = scripted(t)
    (folder / "tsc12345.zip").write_bytes(b"no zip at all")
    run = app.run()
    run.log.expect(PREFIX + "unable to uncompress [tsc12345.zip]")
    run.log.refuse("PrepareMail: Switch=[12]")


def test_an_archive_without_the_pattern_leaves_its_length_out(t):
    app, _, folder = scripted(t)
    (folder / "tsc12345.zip").write_bytes(service.zip_bytes({"tsc.exe": b"x"}))
    run = app.run()
    run.log.expect("TrojanSystemCleaner: Error 53 File not found", "PrepareMail: Switch=[12] Version=[ Pattern 12345]")
    assert state(app, "PatternBuild") == "12345" and state(app, "Len") is None


def test_a_listing_without_a_package_fetches_nothing(t):
    app, server, folder = scripted(t)
    for name in ("tsc12344.zip", "tsc12345.zip"):
        (folder / name).unlink()
    (folder / "tsc123456.zip").write_bytes(b"thirteen letters")
    app.run().log.expect(PREFIX + "No New version found stay in [0]")
    assert "RETR" not in server.words()


def test_a_name_in_capitals_is_asked_for_as_it_is_listed(t):
    app, server, folder = scripted(t, ("12345",))
    (folder / "tsc12345.zip").rename(folder / "TSC12345.ZIP")
    run = app.run()
    run.log.expect(PREFIX + f"Download [tsc12345.zip] to [{app.place}\\TempDownload]")
    assert [command for command in server.commands if command.startswith("RETR")][0].endswith("TSC12345.ZIP")
    assert "TSC.zip" in app.files("ActiveUpdate/TSC")


def test_entries_of_the_package_that_lead_outside_are_not_unpacked(t):
    app, _, folder = scripted(t)
    content = {"../escape.txt": b"x", "..\\..\\escape.txt": b"x", "/escape.txt": b"x", "tsc.exe": b"x", "tsc.ptn": b"12"}
    (folder / "tsc12345.zip").write_bytes(service.zip_bytes(content))
    app.run()
    assert set(app.files("ActiveUpdate/TSC")) == {"tsc.exe", "tsc.ptn", "TSC.zip"}
    assert not t.outside() and not [name for name in app.files() if "escape" in name]


def test_an_empty_listing_is_reported(t):
    app, server, _ = scripted(t)
    server.script("NLST", "450 none")
    app.run().log.expect(PREFIX + "Cannot list files, try to change the PASSIVE mode or verify the FTP address")


if __name__ == "__main__":
    framework.main()
