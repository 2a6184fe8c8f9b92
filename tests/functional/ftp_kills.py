#!/usr/bin/python3
"""Runs with all FTP content that are killed at any moment, and the runs that mend them."""

import os
import time
import zipfile

import framework  # first: it makes the other modules known
import service
from app_folder import read_ini

KILLS = int(os.environ.get("VLMR_KILLS", "50"))


def all_ftp_content(host):
    return {
        "SOURCES": {"EnableActiveUpdate": "0", "TscEnable": "1", "TscFtp": f"ftp://{host}/products/tsc"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": {
            "Passive": "1",
            "EnableCPR": "1",
            "CPRUrl": f"ftp://{host}/products/pattern/cpr",
            "EnableIntelligent": "1",
            "IntelligentTarget": f"ftp://{host}/shared",
            "IntelligentUsername": "anonymous",
            "IntelligentPassive": "1",
        },
    }


def check_complete(app, ftp):
    """CPR pattern, cleaner and exchanged pattern are there, whole, and said to be there."""
    cpr = app.path / "ActiveUpdate/CPR"
    offered = ftp / "products/pattern/cpr"
    name = read_ini(cpr / "latest.ini")["zip"]["zipfile"]
    assert (cpr / name).read_bytes() == (offered / name).read_bytes()
    assert read_ini(cpr / "latest.ini")["zip"]["zipsize"] == str((cpr / name).stat().st_size)
    assert (cpr / "whatsnew.txt").read_bytes() == (offered / "whatsnew.txt").read_bytes()
    tsc = app.path / "ActiveUpdate/TSC"
    assert (tsc / "TSC.zip").read_bytes() == (ftp / "products/tsc/tsc12345.zip").read_bytes()
    assert app.setting("TSC", "PatternBuild", "TscVLMR.ini") == "12345"
    assert app.setting("TSC", "Len", "TscVLMR.ini") == str((tsc / "tsc.ptn").stat().st_size)
    archive = app.path / "ActiveUpdate/Pattern/vsapi.zip"
    with zipfile.ZipFile(archive) as packed:
        assert packed.read("lpt$vpn.101") == service.pattern_bytes("101")
    assert app.setting("PATTERN", "Path_VSAPI", "ActiveUpdate/server.ini") == f"Pattern/vsapi.zip,{archive.stat().st_size}"


def test_a_run_killed_at_any_moment_is_mended_by_the_next(t):
    ftp = t.publish(cpr="1.890 v3", tsc=("12344", "12345")) / "ftp"
    (ftp / "shared").mkdir()
    (ftp / "shared/lpt$vpn.101").write_bytes(service.pattern_bytes("101"))
    server = t.scripted_ftp(ftp)
    app = t.app("measure")
    app.write_settings(all_ftp_content(server.host))
    length = app.run(seconds=60).seconds
    check_complete(app, ftp)
    print(f"  a run takes {length:.2f} s, {KILLS} kills")
    for number in range(KILLS):
        app = t.app(f"app{number}")
        app.write_settings(all_ftp_content(server.host))
        child = app.start()
        time.sleep(t.random.uniform(0.005, length))
        child.kill()
        app.run(seconds=60)
        check_complete(app, ftp)
        assert not app.temporary_files(), app.temporary_files()


if __name__ == "__main__":
    framework.main()
