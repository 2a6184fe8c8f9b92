#!/usr/bin/python3
"""The CPR pattern from real FTP daemons and from one that misbehaves."""

import framework  # first: it makes the other modules known
import scripted_ftp as faults
import service
from ftp_servers import ProFtpd, VsFtpd
from log_lines import compare_lines

PREFIX = "GET_CPR_PATTERN: "
LATEST = "ActiveUpdate/CPR/latest.ini"


def cpr_settings(host, folder="products/pattern/cpr", **keys):
    ftp = {"EnableCPR": "1", "CPRUrl": f"ftp://{host}/{folder}", **keys}
    return {
        "SOURCES": {"EnableActiveUpdate": "0"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": ftp,
        "NOTIFICATION": {"Enable": "1"},
    }


def scripted(t, **offer):
    offer.setdefault("cpr", "1.890 v3")
    root = t.publish(**offer) / "ftp"
    server = t.scripted_ftp(root)
    app = t.app()
    app.write_settings(cpr_settings(server.host, Passive="1"))
    return app, server, root / "products/pattern/cpr"


def check_published(app, number="890"):
    assert set(app.files("ActiveUpdate/CPR")) == {f"cpr{number}.zip", "whatsnew.txt", "latest.ini"}
    assert not [name for name in app.files("CPR_Temp") if not name.endswith(".txt")], app.files("CPR_Temp")


def test_real_daemons_serve_the_pattern_in_both_modes(t):
    root = t.publish(cpr="1.890 v3") / "ftp"
    for kind in (ProFtpd, VsFtpd):
        for passive in ("0", "1"):
            name = f"{kind.name}{passive}"
            server = t.ftp_daemon(kind, root, folder=name)
            app = t.app(f"app-{name}")
            app.write_settings(cpr_settings(server.host, Passive=passive))
            run = app.run()
            mode = "Switch to FTP passive mode..." if passive == "1" else "Switch to FTP Active mode..."
            run.log.expect(PREFIX + mode, PREFIX + "Connected...", PREFIX + "Found 3 Viruses")
            check_published(app)
            words = " ".join(server.commands())
            active = "PORT" in words or "EPRT" in words
            assert active == (passive == "0"), words


def test_the_log_of_a_fetch_is_as_described(t):
    app, server, folder = scripted(t)
    app.write_settings(cpr_settings(server.host, Passive="1", CprUsername="joe", CprPassword="secret"))
    run = app.run()
    own = [line for line in run.log if line.startswith(PREFIX)]
    rule = PREFIX + "-------------------------------"
    pattern = len(service.pattern_bytes("890"))
    wanted = [
        PREFIX + "Starting... %V%",
        PREFIX + "Switch to FTP passive mode...",
        PREFIX + "FTP Username=joe",
        PREFIX + "FTP Password=secret",
        PREFIX + f"FtpServerName={server.host}",
        PREFIX + "Connecting...",
        PREFIX + "Connected...",
        PREFIX + "Attempting to read files into products/pattern/cpr folder",
        PREFIX + "Creating CPR_Temp folder",
        PREFIX + "Get latest.ini",
        rule,
        PREFIX + "Pattern created at 2003/03/05 14:07:00 Zip created at 2003/03/05 14:08:00",
        PREFIX + "DownloadedMasterVersion=1.890",
        PREFIX + "DownloadedMasterBuild=3",
        PREFIX + "StoredMasterVersion=0",
        PREFIX + "StoredMasterBuild=0",
        rule,
        PREFIX + "Get the latest CPR pattern",
        PREFIX + "Try to get whatsnew.txt",
        PREFIX + "Found 3 Viruses",
        PREFIX + "Testing the new pattern downloaded",
        PREFIX + f"ZipSize={(folder / 'cpr890.zip').stat().st_size}",
        PREFIX + f"Pattern Size={pattern}",
        PREFIX + "Creating New Latest.ini file and strucutre",
    ]
    compare_lines(own, wanted)
    text = "1.890 Build 3 at 2003/03/05 14:07:00 3 new viruses added"
    run.log.expect(f"PrepareMail: Switch=[11] Version=[{text}]", "DeleteCprTempFiles: Kill file : %ANY%latest.ini")
    assert "PASS secret" in server.commands
    lines = ["[LatestPattern]", "PatternVersion=1.890 v3", "PatternCreated=2003/03/05 14:07:00", f"PatternSize={pattern}"]
    lines += ["[Zip]", "ZipFile=cpr890.zip", "ZipCreated=2003/03/05 14:08:00"]
    lines += [f"ZipSize={(folder / 'cpr890.zip').stat().st_size}"]
    assert app.text(LATEST) == "".join(line + "\r\n" for line in lines)
    check_published(app)
    (_, body), = app.mails()
    assert f"New Version={text}\r\n" in body, body


def test_the_same_version_and_build_are_not_fetched_again(t):
    app, server, _ = scripted(t)
    app.run()
    server.commands.clear()
    run = app.run()
    run.log.expect(PREFIX + "No new Pattern found, End")
    assert server.words().count("RETR") == 1
    assert len(app.mails()) == 1
    check_published(app)


def test_a_new_build_is_fetched_and_builds_are_compared_as_text(t):
    app, server, _ = scripted(t)
    app.run()
    for cpr, line in (
        ("1.890 v4", "Get the latest CPR pattern for new Build"),
        ("1.890 v10", "No new Pattern found, End"),
        ("1.891 v1", "Get the latest CPR pattern"),
        ("1.1000 v9", "No new Pattern found, End"),
    ):
        t.publish(t.offer, cpr=cpr)
        app.run().log.expect(PREFIX + line)
    assert app.setting("LatestPattern", "PatternVersion", LATEST) == "1.891 v1"
    assert server.commands


def test_a_version_without_a_build_is_fetched_once(t):
    app, _, _ = scripted(t, cpr="1.890")
    app.run().log.expect(PREFIX + "DownloadedMasterBuild=0", PREFIX + "Get the latest CPR pattern")
    app.run().log.expect(PREFIX + "No new Pattern found, End")


def test_a_refused_log_in_is_a_failed_connection(t):
    app, server, _ = scripted(t)
    server.script("PASS", "530 not you")
    run = app.run()
    run.log.expect(PREFIX + "Connecting...", PREFIX + "Error connecting 530 => %ANY%")
    run.log.refuse(PREFIX + "Connected")
    assert app.files("ActiveUpdate") == {}


def test_a_server_that_is_not_there_is_a_failed_connection(t):
    app = t.app()
    app.write_settings(cpr_settings("127.0.0.1:9"))
    app.run().log.expect(PREFIX + "FtpServerName=127.0.0.1:9", PREFIX + "Error connecting %N% => %ANY%")


def test_a_missing_folder_an_empty_listing_and_a_listing_without_the_index(t):
    app, server, folder = scripted(t)
    app.write_settings(cpr_settings(server.host, folder="not/here", Passive="1"))
    unable = "Cannot list files, try to change the PASSIVE mode or verify the FTP address"
    app.run().log.expect(PREFIX + "Connected...", PREFIX + unable)
    app.write_settings(cpr_settings(server.host, Passive="1"))
    for entry in ("450 none", "550 none", "425 no data connection"):
        server.script("NLST", entry)
        app.run().log.expect(PREFIX + "Connected...", PREFIX + unable)
    server.script("NLST", None)
    (folder / "latest.ini").rename(folder / "LATEST.INI")
    app.run().log.expect(PREFIX + "Cannot Browse Latest.ini file, verify FTP address")
    assert app.files("ActiveUpdate") == {}


def test_a_transfer_that_breaks_off_leaves_the_published_copy_as_it_was(t):
    app, server, _ = scripted(t)
    app.run()
    before = {name: (app.path / "ActiveUpdate/CPR" / name).read_bytes() for name in app.files("ActiveUpdate/CPR")}
    t.publish(t.offer, cpr="1.891 v1")
    for fault in (faults.cut_transfer(1000), faults.cut_transfer(0, "451 read error"), "550 gone", faults.hang_up):
        # The index arrives, the zip does not.
        server.script("RETR", None, fault, None)
        run = app.run()
        run.log.expect(PREFIX + "Error connecting %N% => %ANY%", "PrepareMail: Switch=[10] Version=[%ANY%]")
        now = {name: (app.path / "ActiveUpdate/CPR" / name).read_bytes() for name in app.files("ActiveUpdate/CPR")}
        assert now == before
    server.script("RETR", None)
    app.run().log.expect(PREFIX + "Get the latest CPR pattern")
    assert "cpr891.zip" in app.files("ActiveUpdate/CPR")


def test_a_missing_virus_list_does_not_stop_the_fetch(t):
    app, _, folder = scripted(t)
    (folder / "whatsnew.txt").unlink()
    run = app.run()
    run.log.expect(
        PREFIX + "Unable to get WhatsNew.txt file.. continue processing",
        PREFIX + "Found Whatsnew inexistant ! Viruses",
        "PrepareMail: Switch=[11] Version=[1.890 Build 3 at 2003/03/05 14:07:00 Whatsnew inexistant ! new viruses added]",
    )
    assert set(app.files("ActiveUpdate/CPR")) == {"cpr890.zip", "latest.ini"}


def test_a_zip_that_is_none_or_holds_no_pattern_counts_as_corrupted(t):
    app, _, folder = scripted(t)
    for data in (b"no zip", service.zip_bytes({"readme.txt": b"nothing"})):
        (folder / "cpr890.zip").write_bytes(data)
        run = app.run()
        run.log.expect(PREFIX + "Error the zip file is corrupted", "PrepareMail: Switch=[10] Version=[%ANY%]")
        assert app.files("ActiveUpdate") == {}


def test_a_gateway_is_logged_in_at_with_user_and_host(t):
    app, server, _ = scripted(t)
    keys = {"CprProxy": "1", "CprProxyName": "127.0.0.1", "CprProxyPort": str(server.port), "Passive": "1"}
    app.write_settings(cpr_settings("ftp.example", **keys))
    run = app.run()
    run.log.expect(
        PREFIX + "FTP proxy=127.0.0.1",
        PREFIX + f"FTP proxy Port={server.port}",
        PREFIX + f"sProxyName=ftp=ftp://127.0.0.1:{server.port}",
        PREFIX + "FtpServerName=ftp.example",
        PREFIX + "Connected...",
    )
    assert server.commands[0] == "USER anonymous@ftp.example"
    check_published(app)


def test_the_default_password_is_enciphered_in_the_settings_and_sent_in_clear(t):
    app, server, _ = scripted(t)
    app.write_settings(cpr_settings(server.host, Passive="1", CprPassword="Password"))
    app.run()
    sent = next(command for command in server.commands if command.startswith("PASS ")).removeprefix("PASS ")
    stored = app.setting("FTP", "CprPassword")
    assert "@" in sent and stored not in ("Password", "", sent), (sent, stored)
    server.commands.clear()
    app.run()
    assert f"PASS {sent}" in server.commands and app.setting("FTP", "CprPassword") == stored


def test_names_that_lead_outside_are_refused(t):
    app, _, folder = scripted(t)
    text = (folder / "latest.ini").read_bytes()
    for name in (b"../cpr890.zip", b"..\\cpr890.zip", b"/etc/hostname", b"C:cpr890.zip", b"a/../../cpr890.zip", b""):
        (folder / "latest.ini").write_bytes(text.replace(b"cpr890.zip", name))
        app.run()
        assert not t.outside(), t.outside()
        assert app.files("ActiveUpdate") == {}, (name, app.files("ActiveUpdate"))


if __name__ == "__main__":
    framework.main()
