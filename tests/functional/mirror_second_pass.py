#!/usr/bin/python3
"""Later passes: nothing new, a newer version, a lower one, a missing archive, a switched-off session."""

import framework  # first: it makes the other modules known
import re

import service

# What a run may write although nothing is new: its log and the staging tree.
CHANGING = re.compile(r"^(VlMR\.log|BackupLogs/.*|TempDownload/.*)$")


def settled(states):
    return {name: state for name, state in states.items() if not CHANGING.match(name)}


def test_a_pass_with_nothing_new_makes_exactly_one_request(t):
    app, server = t.mirror()
    app.run()
    server.take_requests()
    for _ in range(2):
        run = app.run()
        assert server.take_paths() == ["server.ini"]
        run.log.expect("StartActiveUpdate: Tests Dir Local vsapi.zip=vsapi.zip")
        run.log.refuse("StartActiveUpdate: Error", "CreatingNewPatternServerIni:", "PrepareMail:")


def test_a_pass_with_nothing_new_writes_to_no_file_whose_contents_would_not_change(t):
    app, _ = t.mirror()
    app.run()
    first = settled(app.states())
    app.run()
    second = settled(app.states())
    # The clean-up of the published folder takes the virus list; nothing brings it back before the next version.
    assert first.pop("ActiveUpdate/Pattern/whatsnew.txt")
    assert second == first
    app.run()
    assert settled(app.states()) == second


def test_a_newer_version_is_fetched_and_the_working_folder_follows(t):
    app, server = t.mirror(version="100")
    app.run()
    server.take_requests()
    t.publish(t.offer, version="101")
    run = app.run()
    wanted = ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt", "Pattern/whatsnew.txt"]
    assert server.take_paths() == wanted
    run.log.expect(
        "StartActiveUpdate: Pattern Stored version= [100] Pattern version on ActiveUpdate=[101]",
        f"DeplaceFile: Kill {app.place}\\ActiveUpdate\\Pattern\\vsapi.zip",
        "RefreshPatternFolder: Delete pattern lpt$vpn.100",
        "DeleteOldIncrementFiles: ROOT=%ANY%=> exclude pattern=101",
        "KillPatternServer: Last Pattern [101]",
    )
    assert app.files("Pattern") == {"lpt$vpn.101": 64 * 1024}
    assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == "101"
    assert app.text("ActiveUpdate/server.ini").endswith("\r\n" * 9), "four empty lines are added by each new version"


def test_a_lower_version_on_the_service_removes_nothing(t):
    app, server = t.mirror(version="101")
    app.run()
    server.take_requests()
    t.publish(t.offer, version="100")
    before = (app.path / "ActiveUpdate/server.ini").read_bytes()
    run = app.run()
    assert server.take_paths() == ["server.ini"]
    run.log.expect("StartActiveUpdate: Pattern Stored version= [101] Pattern version on ActiveUpdate=[100]")
    assert (app.path / "ActiveUpdate/server.ini").read_bytes() == before
    assert app.files("Pattern") == {"lpt$vpn.101": 64 * 1024}


def test_a_missing_archive_is_fetched_again_at_the_same_version(t):
    app, server = t.mirror()
    app.run()
    server.take_requests()
    (app.path / "ActiveUpdate/Pattern/vsapi.zip").unlink()
    run = app.run()
    run.log.expect("StartActiveUpdate: Tests Dir Local vsapi.zip=", "StartActiveUpdate: PatchVsapi=FALSE !")
    # One fetch of the virus list: no new version, so no list of it at the end.
    assert server.take_paths() == ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"]
    assert "Pattern/vsapi.zip" in app.files("ActiveUpdate")


def test_a_disabled_session_deletes_the_mail_file_and_fetches_nothing(t):
    app, server = t.mirror({"SOURCES": {"EnableActiveUpdate": "0"}})
    app.put("mail.ini", "[EMAIL-UPDATES]\r\n")
    run = app.run()
    run.log.expect(
        "StartActiveUpdate: Version VlMr %V%",
        f"StartActiveUpdate: Delete {app.place}\\mail.ini",
        "StartActiveUpdate:This function is disabled, Aborting...",
        "StartingOperations: All operations executed, clean old Patterns",
    )
    run.log.refuse("DownloadFiles:", "StartActiveUpdate: Start")
    assert server.take_requests() == []
    assert not (app.path / "mail.ini").exists()
    assert "ActiveUpdate/Source" in app.folders(), "the trees are made before the switch is asked"


def test_any_other_number_than_zero_enables_the_session(t):
    app, server = t.mirror({"SOURCES": {"EnableActiveUpdate": "2"}})
    app.run()
    assert server.take_paths()[0] == "server.ini"


def test_files_of_earlier_runs_leave_the_published_folder_and_archives_stay(t):
    app, _ = t.mirror()
    app.run()
    for name in ("v_098.100", "lpt$vpn.099", "OTHER.ZIP", "another.Zip", "readme"):
        app.put(f"ActiveUpdate/Pattern/{name}", b"x")
    app.put("ActiveUpdate/Pattern/Backup/kept.txt", b"x")
    run = app.run()
    killed = [line.rsplit("\\", 1)[1] for line in run.log.starting("DeleteOldIncrementFiles: Kill => ")]
    assert killed == ["lpt$vpn.099", "readme", "v_098.100", "whatsnew.txt"], killed
    left = set(app.files("ActiveUpdate/Pattern"))
    assert left == {"OTHER.ZIP", "another.Zip", "vsapi.zip", "Backup/kept.txt"}, left


def test_a_version_is_published_in_its_shortest_form(t):
    app, server = t.mirror(version="099")
    index = server.root / "activeupdate/server.ini"
    index.write_bytes(index.read_bytes().replace(b"Version=099", b"Version=099.50"))
    app.run()
    assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == "99.5"


def test_a_mirror_catches_up_over_ten_versions_in_a_row(t):
    app, server = t.mirror(version="100")
    for number in range(100, 110):
        t.publish(t.offer, version=str(number))
        app.run()
        assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == str(number)
        assert (app.path / f"Pattern/lpt$vpn.{number}").read_bytes() == service.pattern_bytes(str(number))
        assert list(app.files("Pattern")) == [f"lpt$vpn.{number}"]
    assert len(server.requests()) == 40


if __name__ == "__main__":
    framework.main()
