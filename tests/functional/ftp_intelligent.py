#!/usr/bin/python3
"""The exchange of patterns with a shared FTP folder."""

import zipfile

import framework  # first: it makes the other modules known
import scripted_ftp as faults
import service
from ftp_servers import ProFtpd, PureFtpd
from log_lines import compare_lines

PREFIX = "StartIntelligentFTP: "


def exchange_settings(host, user="joe", password="secret", passive="1", folder="shared/patterns"):
    return {
        "SOURCES": {"EnableActiveUpdate": "0"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": {
            "EnableIntelligent": "1",
            "IntelligentTarget": f"ftp://{host}/{folder}",
            "IntelligentUsername": user,
            "IntelligentPassword": password,
            "IntelligentPassive": passive,
        },
        "NOTIFICATION": {"Enable": "1"},
    }


def shared_folder(t, *versions):
    """A folder that mirrors share, holding the patterns of these versions."""
    folder = t.folder / "ftp/shared/patterns"
    folder.mkdir(parents=True, exist_ok=True)
    for version in versions:
        (folder / f"lpt$vpn.{version}").write_bytes(service.pattern_bytes(version))
    for path in (t.folder / "ftp").rglob("*"):
        path.chmod(0o777)
    (t.folder / "ftp").chmod(0o777)
    return folder


def scripted(t, held, *versions):
    """An application folder that holds a version, or none, and a shared folder."""
    folder = shared_folder(t, *versions)
    server = t.scripted_ftp(t.folder / "ftp", user="joe", password="secret")
    app = t.app()
    app.write_settings(exchange_settings(server.host))
    if held:
        app.put(f"Pattern/lpt$vpn.{held}", service.pattern_bytes(held))
    return app, server, folder


def test_real_daemons_take_and_give_patterns_in_both_modes(t):
    for kind in (ProFtpd, PureFtpd):
        for passive in ("0", "1"):
            folder = shared_folder(t)
            for old in folder.iterdir():
                old.unlink()
            name = f"{kind.name}{passive}"
            server = t.ftp_daemon(kind, t.folder / "ftp", folder=name, user="joe", password="secret")
            giver, taker = t.app(f"giver-{name}"), t.app(f"taker-{name}")
            for app in (giver, taker):
                app.write_settings(exchange_settings(server.host, passive=passive))
            giver.put("Pattern/lpt$vpn.101", service.pattern_bytes("101"))
            giver.run().log.expect(PREFIX + "Try to put last pattern to remote folder")
            assert (folder / "lpt$vpn.101").read_bytes() == service.pattern_bytes("101"), name
            taker.run().log.expect(PREFIX + "Try to Get last pattern from remote folder")
            with zipfile.ZipFile(taker.path / "ActiveUpdate/Pattern/vsapi.zip") as archive:
                assert archive.namelist() == ["lpt$vpn.101"]
                assert archive.read("lpt$vpn.101") == service.pattern_bytes("101")
            taker.run().log.expect(PREFIX + "No new Pattern found..Aborting")


def test_the_log_of_a_download_is_as_described(t):
    app, server, _ = scripted(t, "099", "098", "101", "100")
    run = app.run()
    zip_path = f"{app.place}\\ActiveUpdate\\Pattern\\vsapi.zip"
    own = [line for line in run.log if line.startswith((PREFIX, "GetLastPatternFromList"))]
    compare_lines(
        own,
        [
            PREFIX + "Starting... %V%",
            PREFIX + "Switch to FTP passive mode...",
            PREFIX + "FTP Username=joe",
            PREFIX + "FTP Password=secret",
            PREFIX + f"FtpServerName={server.host}",
            PREFIX + "Connecting...",
            PREFIX + "Connected...",
            PREFIX + "Attempting to read Pattern files into shared/patterns folder",
            "GetLastPatternFromList: Found 3 Pattern Files",
            "GetLastPatternFromList: Found 098 Pattern version",
            "GetLastPatternFromList: Found 100 Pattern version",
            "GetLastPatternFromList: Found 101 Pattern version",
            PREFIX + "Last Pattern version found on FTP folder= 101",
            PREFIX + "Try to Get last pattern from remote folder",
            PREFIX + f"Zip {app.place}\\Pattern\\lpt$vpn.101 To {zip_path}",
            PREFIX + "Writing server.ini file",
        ],
    )
    run.log.expect("PrepareMail: Switch=[1] Version=[[Intelligent FTP Function]101]")
    run.log.refuse("CreatingNewPatternServerIni:")
    size = app.files("ActiveUpdate/Pattern")["vsapi.zip"]
    lines = ["[PATTERN]", "Version=101", f"Path_Combine=Pattern/vsapi.zip,{size}", f"Path_VSAPI=Pattern/vsapi.zip,{size}"]
    assert app.text("ActiveUpdate/server.ini") == "".join(f"{line}\r\n" for line in [*lines, "MergeCount=0"])


def test_an_empty_shared_folder_gets_the_newest_local_pattern(t):
    app, server, folder = scripted(t, "100")
    run = app.run()
    run.log.expect("GetLastPatternFromList: Nothing is stored into the target server", PREFIX + "Try to put last pattern to remote folder")
    assert (folder / "lpt$vpn.100").read_bytes() == service.pattern_bytes("100")
    assert server.words().count("STOR") == 1
    assert app.mails() == []


def test_an_older_pattern_in_the_shared_folder_is_joined_by_the_newer_one(t):
    app, _, folder = scripted(t, "101", "100")
    app.run()
    assert sorted(path.name for path in folder.iterdir()) == ["lpt$vpn.100", "lpt$vpn.101"]


def test_no_pattern_anywhere_is_reported(t):
    app, server, _ = scripted(t, None)
    app.run().log.expect(PREFIX + f"ERROR TO FIND {app.place}\\Pattern\\lpt$vpn.0")
    assert "STOR" not in server.words()


def test_active_mode_is_chosen_silently(t):
    app, server, _ = scripted(t, None, "100")
    app.write_settings(exchange_settings(server.host, passive="0"))
    run = app.run()
    run.log.refuse(PREFIX + "Switch to FTP")
    assert {"PORT", "EPRT"} & set(server.words())
    assert "vsapi.zip" in app.files("ActiveUpdate/Pattern")


def test_a_failed_listing_stops_and_does_not_upload(t):
    app, server, folder = scripted(t, "100")
    app.write_settings(exchange_settings(server.host, folder="not/here"))
    app.run().log.expect(PREFIX + "Error connecting 550 => %ANY%")
    app.write_settings(exchange_settings(server.host))
    server.script("NLST", faults.refuse_data)
    app.run().log.expect(PREFIX + "Error connecting 425 => %ANY%")
    assert list(folder.iterdir()) == [] and "STOR" not in server.words()


def test_a_refused_log_in_is_logged_with_its_number(t):
    app, server, _ = scripted(t, "100")
    app.write_settings(exchange_settings(server.host, password="wrong"))
    app.run().log.expect(PREFIX + "FTP Password=wrong", PREFIX + "Error connecting 530 => %ANY%")


def test_a_failed_put_leaves_both_sides_as_they_were(t):
    app, server, _ = scripted(t, "100")
    server.script("STOR", faults.store_failure("452 disk full"))
    run = app.run()
    run.log.expect(PREFIX + "Try to put last pattern to remote folder", PREFIX + "Error connecting 452 => %ANY%")
    assert list(app.files("Pattern")) == ["lpt$vpn.100"]


def test_a_failed_get_leaves_both_sides_as_they_were(t):
    app, server, _ = scripted(t, "100", "101")
    app.put("ActiveUpdate/Pattern/vsapi.zip", service.zip_bytes({"lpt$vpn.100": service.pattern_bytes("100")}))
    before = (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes()
    for fault in (faults.cut_transfer(5000), "550 gone", faults.hang_up):
        server.script("RETR", fault)
        run = app.run()
        run.log.expect(PREFIX + "Error connecting %N% => %ANY%")
        assert list(app.files("Pattern")) == ["lpt$vpn.100"]
        assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == before
    assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") is None


def test_a_name_in_capitals_counts_and_is_fetched_as_it_is_listed(t):
    app, server, folder = scripted(t, "100", "101")
    (folder / "lpt$vpn.101").rename(folder / "LPT$VPN.101")
    app.run()
    asked = [command for command in server.commands if command.startswith("RETR")]
    assert len(asked) == 1 and asked[0].endswith("LPT$VPN.101"), asked
    assert list(app.files("Pattern")) == ["lpt$vpn.101"]


def test_names_cut_short_are_not_counted(t):
    app, _, folder = scripted(t, "100")
    for name in ("lpt$vpn.99", "lpt$vpn.", "lpt$vpn.0981", "other"):
        (folder / name).write_bytes(b"x")
    app.run().log.expect("GetLastPatternFromList: Found 1 Pattern Files", "GetLastPatternFromList: Found 098 Pattern version")


def test_replies_that_come_in_pieces_and_over_several_lines_are_understood(t):
    app, server, _ = scripted(t, None, "100")
    server.script("GREETING", faults.in_pieces("220-hello\n and welcome\n220 ready"))
    server.script("PASS", faults.in_pieces("230-one\n230-two\n230 three", size=1))
    app.run().log.expect(PREFIX + "Connected...", PREFIX + "Writing server.ini file")


if __name__ == "__main__":
    framework.main()
