#!/usr/bin/python3
"""Passwords: where they are, where they never are, who may read the files that hold them, and a key that does not fit."""

import stat

import framework  # first: it makes the other modules known
import service

CPR = "GET_CPR_PATTERN: "
PASSWORDS = {"proxy": "proxy-pw-7391", "cpr": "cpr-pw-5528", "exchange": "exchange-pw-4410", "account": "account-pw-6604"}
CLEAR_LINES = ("GET_CPR_PATTERN: FTP Password=", "StartIntelligentFTP: FTP Password=")

linux = framework.only_on("linux", "processes and rights are looked at as they are there")

# A sibling that writes down what it can see: its own command line and environment, those of the program that started it,
# and every file below the application folder and the temporary folder in which a password stands at that moment.
WATCHER = """#!/bin/sh
cd "{folder}"
{{
  for process in $$ $PPID; do
    tr '\\0' '\\n' < /proc/$process/cmdline | sed "s/^/argument $process /"
    tr '\\0' '\\n' < /proc/$process/environ | sed "s/^/environment $process /"
  done
}} >> "{seen}.processes"
grep -rlaF -f "{seen}.passwords" "{folder}" "{temporary}" >> "{seen}.files" 2>/dev/null
{work}
"""


def watched(t, app, *names):
    """Installs the watching sibling under these names; returns what it has seen, as a function."""
    seen = t.folder / "seen"
    t.keep_folder(t.folder)
    (t.folder / "seen.passwords").write_text("".join(word + "\n" for word in PASSWORDS.values()))
    temporary = t.folder / "temporary"
    temporary.mkdir()
    for name in names:
        work = 'exec ./patch_tool "$@"' if name == "Patch.exe" else ""
        text = WATCHER.format(folder=app.path, seen=seen, temporary=temporary, work=work)
        app.put(name, text).chmod(0o755)
    app.environment["TMPDIR"] = str(temporary)

    def look():
        processes = (t.folder / "seen.processes").read_text("latin-1")
        files = (t.folder / "seen.files").read_text("latin-1").splitlines()
        return processes, {path.removeprefix(f"{app.path}/") for path in files}

    return look


@linux
def test_passwords_reach_no_child_no_environment_and_no_file_but_the_settings_and_the_described_lines(t):
    root = t.publish(version="100")
    proxy = t.tinyproxy(user="operator", password=PASSWORDS["proxy"])
    web = t.nginx(root)
    app = t.app()
    app.write_settings(framework.settings(web.base))
    app.run()
    (app.path / "VlMR.log").unlink()
    t.publish(t.offer, version="101", increments_from=("100",), cpr="1.890 v3")
    (root / "ftp/shared").mkdir()
    (root / "ftp/shared/lpt$vpn.100").write_bytes(service.pattern_bytes("100"))
    ftp = t.scripted_ftp(root / "ftp")
    app.install_patch_program()
    (app.path / "Patch.exe").rename(app.path / "patch_tool")
    look = watched(t, app, "Patch.exe", "QueueMailer.exe", "ClientAudit.exe", "Ledgerbook.exe")
    sections = {
        "Proxy": {"Enable": "1", "ProxyName": "127.0.0.1", "Port": str(proxy.port), "User": "operator", "Password": PASSWORDS["proxy"]},
        "SERVICE": {"Credential_Password": PASSWORDS["account"]},
        "LOGS": {"MaxSize": "100000", "BackupByActions": "1", "EnableDebugPelgrun": "1", "EnableDebugsWinsockHTTP": "1"},
        "APACHE": {"Enable": "1"},
        "FTP": {
            "EnableCPR": "1",
            "CPRUrl": f"ftp://{ftp.host}/products/pattern/cpr",
            "Passive": "1",
            "CprUsername": "joe",
            "CprPassword": PASSWORDS["cpr"],
            "EnableIntelligent": "1",
            "IntelligentTarget": f"ftp://{ftp.host}/shared",
            "IntelligentUsername": "joe",
            "IntelligentPassword": PASSWORDS["exchange"],
            "IntelligentPassive": "1",
        },
        "NOTIFICATION": {"Enable": "1", "Enable_Pattern_Send": "1", "Enable_Error_Send": "1"},
    }
    app.write_settings(framework.settings(web.base, sections))
    run = app.run(seconds=60)
    assert f"PASS {PASSWORDS['cpr']}" in ftp.commands and f"PASS {PASSWORDS['exchange']}" in ftp.commands

    processes, files = look()
    assert "argument" in processes and "environment" in processes
    assert str(app.executable) in processes, "the program's own command line was seen"
    for word in PASSWORDS.values():
        assert word not in processes, word
    # A log holds a password on the described lines alone; a backup and the temporary log are copies of it.
    logs = {name for name in app.files() if name.lower().endswith((".log", ".logs"))}
    assert files <= {"VLMR.ini"} | logs, files
    for name in app.files():
        data = app.text(name)
        words = [word for word in PASSWORDS.values() if word in data]
        if name in logs:
            carrying = [line for line in data.splitlines() if any(word in line for word in PASSWORDS.values())]
            assert all(any(mark in line for mark in CLEAR_LINES) for line in carrying), carrying
        elif name != "VLMR.ini":
            assert not words, (name, words)
    assert not list((t.folder / "temporary").rglob("*")), "nothing is put into the temporary folder"
    run.log.expect(CPR + f"FTP Password={PASSWORDS['cpr']}")


@linux
def test_files_that_can_hold_a_secret_are_not_readable_by_others(t):
    root = t.publish(cpr="1.890 v3")
    ftp = t.scripted_ftp(root / "ftp")
    app = t.app()
    # What most systems give a service; the suite may itself run under a stricter one.
    app.launcher = ["/bin/sh", "-c", 'umask 022; exec "$0" "$@"']
    app.write_settings({})
    (app.path / "VLMR.ini").unlink()
    app.run("nothing")
    assert mode(app, "VLMR.ini") & 0o007 == 0, "settings that the program makes itself"
    keys = {"EnableCPR": "1", "CPRUrl": f"ftp://{ftp.host}/products/pattern/cpr", "Passive": "1", "CprPassword": "Password"}
    logs = {"BackupByActions": "1", "EnableDebugPelgrun": "1", "MaxSize": "100000"}
    web = t.nginx(root)
    app.write_settings(framework.settings(web.base, {"FTP": keys, "LOGS": logs, "NOTIFICATION": {"Enable": "1"}}))
    (app.path / "VLMR.ini").chmod(0o640)
    app.run()
    app.run()
    assert mode(app, "VLMR.key") == 0o600
    published = {name for name in app.files() if name.startswith(("ActiveUpdate/", "TempDownload/", "Pattern/", "CPR_Temp/"))}
    own = set(app.files()) - published - {app.executable.name, "ListVir_Official.ini", "PelgrunDLLs.txt", "Downloaded.siz"}
    assert {"VLMR.ini", "VLMR.key", "VlMR.log"} <= own
    assert any(name.startswith("BackupLogs/") for name in own), own
    open_to_others = {name: oct(mode(app, name)) for name in own if mode(app, name) & 0o007}
    assert not open_to_others, open_to_others
    assert mode(app, "ActiveUpdate/server.ini") & 0o004, "what the network reads stays readable"


def mode(app, name):
    return stat.S_IMODE((app.path / name).stat().st_mode)


def test_a_key_that_is_missing_short_or_another_is_said_by_setting_and_nothing_is_overwritten(t):
    root = t.publish(cpr="1.890 v3") / "ftp"
    server = t.scripted_ftp(root)
    app = t.app()
    ftp = {"EnableCPR": "1", "CPRUrl": f"ftp://{server.host}/products/pattern/cpr", "Passive": "1", "CprUsername": "joe"}
    sections = {"SOURCES": {"EnableActiveUpdate": "0"}, "LOGS": {"MaxSize": "100000"}, "FTP": {**ftp, "CprPassword": "Password"}}
    app.write_settings(sections)
    app.run()
    settings, key = app.text("VLMR.ini"), (app.path / "VLMR.key").read_bytes()
    assert len(key) == 32 and app.setting("FTP", "CprPassword").startswith("vlmr1:")
    cases = {
        "the key file VLMR.key is missing": None,
        "the key file VLMR.key cannot be read, made or has not 32 bytes": (key[:31], key + b"x", b"", b"k" * 1_000_000),
        "it was enciphered under another key, or it is damaged": (bytes(32), key[::-1]),
    }
    for reason, keys in cases.items():
        for wrong in keys or (None,):
            if wrong is None:
                (app.path / "VLMR.key").unlink()
            else:
                app.put("VLMR.key", wrong)
            server.commands.clear()
            run = app.run()
            run.log.expect(f'Settings: the password [FTP] "CprPassword" cannot be deciphered: {reason}', CPR + "FTP Password=")
            assert not [word for word in server.commands if word.startswith("PASS ") and len(word) > 5], server.commands
            assert app.text("VLMR.ini") == settings
            if wrong is None:
                assert not (app.path / "VLMR.key").exists(), "no new key is made over values of the old one"
            else:
                assert (app.path / "VLMR.key").read_bytes() == wrong
    app.put("VLMR.key", key)
    server.commands.clear()
    app.run().log.refuse("Settings:")
    assert any("@" in word for word in server.commands if word.startswith("PASS "))


if __name__ == "__main__":
    framework.main()
