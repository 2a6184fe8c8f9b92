#!/usr/bin/python3
"""Updates by increment: which files are asked for, what is built of them, and what follows when it fails."""

import time
import zipfile

import framework  # first: it makes the other modules known
import expected_log
import service
from log_lines import compare_text
from waiting import wait_until

NEWS = ["Pattern/whatsnew.txt"] * 2


def held_100(t, modes="", folder="", **offer):
    """A mirror that holds version 100 and has a patch program; `folder` tells several of one test apart."""
    root = t.publish(folder=f"service{folder}", version="100", **offer)
    server = t.nginx(root, folder=f"nginx{folder}")
    app = t.app(f"app{folder}")
    app.write_settings(framework.settings(server.base))
    app.install_patch_program(modes)
    app.run()
    server.take_requests()
    return app, server


def entries(app):
    with zipfile.ZipFile(app.path / "ActiveUpdate/Pattern/vsapi.zip") as archive:
        return {name: archive.read(name) for name in archive.namelist()}


def test_four_runs_followed_through(t):
    app, server = t.mirror(version="100", increments_from=("098", "099"))
    app.install_patch_program()
    app.run()
    increments = ["Pattern/v_098.100", "Pattern/v_099.100"]
    assert server.take_paths() == ["server.ini", *increments, "Pattern/vsapi.zip", *NEWS]
    index = "ActiveUpdate/server.ini"
    assert app.setting("PATTERN", "MergeCount", index) == "2"
    assert app.setting("PATTERN", "Merge.1", index) == "098.100"
    sizes = {name: (server.root / "activeupdate" / name).stat().st_size for name in increments}
    for key in ("MergePath_VSAPI.2", "MergePath_Combine.2"):
        assert app.setting("PATTERN", key, index) == f"{increments[1]},{sizes[increments[1]]}"
    assert set(app.files("ActiveUpdate/Pattern")) == {"vsapi.zip", "whatsnew.txt"}
    assert list(app.files("Pattern")) == ["lpt$vpn.100"]
    assert app.text("Downloaded.siz") == "".join(f"{sizes[name]}\r\n" for name in increments)

    app.run()
    assert server.take_paths() == ["server.ini"]

    t.publish(t.offer, version="101", increments_from=("099", "100"))
    app.run()
    assert server.take_paths() == ["server.ini", "Pattern/v_099.101", "Pattern/v_100.101", *NEWS]
    assert entries(app) == {"lpt$vpn.101": service.pattern_bytes("101")}
    assert list(app.files("Pattern")) == ["lpt$vpn.101"]

    t.publish(t.offer, version="103", increments_from=("102",))
    app.run()
    assert server.take_paths() == ["server.ini", "Pattern/v_102.103", "Pattern/vsapi.zip", *NEWS]
    assert list(app.files("Pattern")) == ["lpt$vpn.103"]

    t.publish(t.offer, version="104", increments_from=("103",))
    app.run()
    assert server.take_paths() == ["server.ini", "Pattern/v_103.104", *NEWS]
    assert entries(app) == {"lpt$vpn.104": service.pattern_bytes("104")}


def test_the_log_of_an_update_by_increment_is_as_described(t):
    app, server = held_100(t)
    t.publish(t.offer, version="101", increments_from=("100",))
    run = app.run()
    golden = (framework.REPOSITORY / "tests/functional/data/increment_pass.log").read_text(encoding="ascii")
    part = run.log.scope("StartActiveUpdate: Start Check Pattern", "StartingOperations: All operations")
    part.expect_whole(expected_log.expand(golden, app, server))


def test_the_job_file_is_as_described(t):
    app, _ = held_100(t, "keep-job")
    app.put("patch.lst", "old")
    app.put("Pattern/ofcscan.ini", "old")
    t.publish(t.offer, version="101", increments_from=("100",))
    app.run()
    source = f"{app.place}\\TempDownload\\ActiveUpdate\\Pattern"
    lines = [
        "[debug]",
        "MODE=3",
        "[MAIN]",
        "Option=1",
        "Pattern=v_100.101",
        "Engine=",
        "Product=",
        "PatternFrom=100",
        "PatternTo=101",
        "Agent=auaction.dll",
        "Patch_exe=AUOfcPrg.dll",
        "Patch_ini=AUOfcPrg.INI",
        "ProductID=22",
        "Merge=1",
        f"Source={source}",
        f"Destination={app.place}\\Pattern",
        f"Backup={source}\\Backup",
        "[Log]",
        "Finished=",
        "Result=",
        "Rollback=",
        "ErrorFile=",
        "ErrorID=",
    ]
    compare_text(app.text("Patch.ini"), "".join(line + "\r\n" for line in lines), "Patch.ini")
    assert "patch.lst" not in app.files() and "Pattern/ofcscan.ini" not in app.files()
    assert not [name for name in app.files("TempDownload") if "lpt$vpn" in name], "the backup is taken away"


def test_an_update_by_increment_takes_a_small_part_of_the_bytes(t):
    app, server = t.mirror(version="100", pattern_kib=2048)
    app.install_patch_program()
    app.run()
    full = sum(request.bytes for request in server.take_requests())
    t.publish(t.offer, version="101", increments_from=("100",))
    app.run()
    small = sum(request.bytes for request in server.take_requests())
    print(f"  {small} bytes instead of {full}: {small / full:.1%}")
    assert small * 20 < full


def test_ten_updates_in_a_row_stay_incremental(t):
    for modes in ("", "leave-old", "into-source"):
        app, server = held_100(t, modes, folder=modes)
        for version in range(101, 111):
            t.publish(t.offer, folder=f"service{modes}", version=str(version), increments_from=(str(version - 1),))
            app.run()
            assert server.take_paths() == ["server.ini", f"Pattern/v_{version - 1}.{version}", *NEWS], modes
            assert entries(app) == {f"lpt$vpn.{version}": service.pattern_bytes(str(version))}
            assert list(app.files("Pattern")) == [f"lpt$vpn.{version}"], modes


def failing_update(t, modes="", prepare=None, folder=""):
    """A pass to version 101 whose increment cannot be applied; the full archive must follow."""
    app, server = held_100(t, modes, folder)
    t.publish(t.offer, folder=f"service{folder}", version="101", increments_from=("100",))
    if prepare:
        prepare(app, server)
    run = app.run()
    run.log.expect("StartActiveUpdate: PatchVsapi=FALSE !")
    assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == "101"
    assert list(app.files("Pattern")) == ["lpt$vpn.101"]
    return app, server, run


def test_a_patch_program_that_fails_leads_to_the_full_archive(t):
    for number, modes in enumerate(("exit=3", "no-output")):
        _, server, run = failing_update(t, modes, folder=str(number))
        run.log.expect("PatchIni: execute %ANY%\\Patch.exe", "PatchIni: Tests= ")
        run.log.refuse("PatchVsapI: successfull", "PatchVsapI: Kill old Zip file")
        assert server.take_paths() == ["server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS]


def test_a_missing_patch_program_leads_to_the_full_archive(t):
    _, server, run = failing_update(t, prepare=lambda app, _: (app.path / "Patch.exe").unlink())
    run.log.expect("PatchIni: execute %ANY%\\Patch.exe", "PrepareMail: Switch=[10] Version=[Error WaitFor => %ANY%]")
    run.log.expect("WaitFor: Error code 53 File not found", "PatchIni: Tests= ")
    assert server.take_paths() == ["server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS]


def test_an_increment_that_is_not_there_leads_to_the_full_archive(t):
    def remove(_, server):
        (server.root / "activeupdate/Pattern/v_100.101").unlink()

    _, server, run = failing_update(t, prepare=remove)
    run.log.expect("DownloadFiles: HTTP Error [404%ANY%]", "PatchVsapI: didn't found increment file")
    run.log.refuse("PatchIni: execute")
    assert server.take_paths() == ["server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS]


def test_a_broken_increment_leads_to_the_full_archive(t):
    def spoil(_, server):
        path = server.root / "activeupdate/Pattern/v_100.101"
        path.write_bytes(b"x" * path.stat().st_size)

    failing_update(t, prepare=spoil)


def test_an_increment_held_with_the_right_size_is_not_fetched_again(t):
    app, server = held_100(t)
    root = t.publish(t.offer, version="101", increments_from=("100",))
    increment = (root / "activeupdate/Pattern/v_100.101").read_bytes()
    app.put("TempDownload/ActiveUpdate/Pattern/v_100.101", increment)
    run = app.run()
    run.log.expect(f"GetAllIncrement: %ANY%v_100.101 Size= {len(increment)}")
    assert server.take_paths() == ["server.ini", *NEWS]
    assert entries(app) == {"lpt$vpn.101": service.pattern_bytes("101")}


def test_an_increment_held_with_another_size_is_fetched_again(t):
    app, server = held_100(t)
    t.publish(t.offer, version="101", increments_from=("100",))
    app.put("TempDownload/ActiveUpdate/Pattern/v_100.101", b"half")
    run = app.run()
    run.log.expect("GetAllIncrement: %ANY%v_100.101 Size= 4")
    assert server.take_paths() == ["server.ini", "Pattern/v_100.101", *NEWS]
    assert entries(app) == {"lpt$vpn.101": service.pattern_bytes("101")}


def test_the_later_of_two_matching_entries_is_taken(t):
    app, server = held_100(t)
    root = t.publish(t.offer, version="101", increments_from=("100",))
    index = root / "activeupdate/server.ini"
    text = index.read_bytes().decode("ascii")
    text = text.replace("MergeCount=1", "MergeCount=2").replace("Merge.1=", "Merge.2=")
    text = text.replace("MergePath_VSAPI.1=", "MergePath_VSAPI.2=")
    text = text.replace("Merge.2=", "Merge.1=100.0\r\nMergePath_VSAPI.1=Pattern/first,5\r\nMerge.2=")
    index.write_bytes(text.encode("ascii"))
    run = app.run()
    run.log.expect("PatchVsapI: Count=2", "PatchVsapI: Found Increment=Pattern/first,5", "PatchVsapI: IncrementFile=Pattern/v_100.101")
    assert entries(app) == {"lpt$vpn.101": service.pattern_bytes("101")}
    assert "Pattern/vsapi.zip" not in server.take_paths()


def test_an_entry_without_a_version_or_with_no_number_never_matches(t):
    app, server = held_100(t)
    root = t.publish(t.offer, version="101", increments_from=("100",))
    index = root / "activeupdate/server.ini"
    text = index.read_bytes()
    for number, value in enumerate((b"", b"hundred")):
        index.write_bytes(text.replace(b"Merge.1=100", b"Merge.1=" + value))
        run = app.run()
        if number:
            run.log.expect("PatchVsapI: Error code 13 Type mismatch")
        else:
            run.log.expect("PatchVsapI: Increment BAD=", "PatchVsapI: didn't found increment file")
        run.log.expect("StartActiveUpdate: PatchVsapi=FALSE !")
        app.put("ActiveUpdate/server.ini", app.text("ActiveUpdate/server.ini").replace("Version=101", "Version=100"))
        for name in app.files("Pattern"):
            (app.path / "Pattern" / name).unlink()
        app.put("Pattern/lpt$vpn.100", service.pattern_bytes("100"))
    assert server.take_requests()


def test_an_archive_that_cannot_be_made_leads_to_the_full_one(t):
    app, server = held_100(t)
    t.publish(t.offer, version="101", increments_from=("100",))
    (app.path / "ActiveUpdate/Pattern/vsapi.zip").unlink()
    app.put("ActiveUpdate/Pattern/vsapi.zip/in the way", b"x")
    run = app.run()
    run.log.expect("ZipFiles: error %ANY%", "PatchVsapI: Unable to compress the file", "StartActiveUpdate: PatchVsapi=FALSE !")
    assert "Pattern/vsapi.zip" in server.take_paths()
    assert run.log[-1] == "StartingOperations: Enable Timer for Killing process"


def test_a_patch_program_that_does_not_end_is_waited_for_at_no_cost(t):
    app, _ = held_100(t, "never-end")
    t.publish(t.offer, version="101", increments_from=("100",))
    child = app.start()
    wait_until(lambda: (app.path / "Patch.ini").exists(), "the job is written")
    time.sleep(0.5)
    before, started = child.cpu_seconds(), time.monotonic()
    time.sleep(5)
    spent = (child.cpu_seconds() - before) * 10 / (time.monotonic() - started)
    print(f"  {spent:.2f} s of processor time in 10 s, taken over 5 s")
    assert child.running() and spent < 0.2, spent
    app.put("patch_end.txt", b"")
    assert child.wait(20) == 0
    assert entries(app) == {"lpt$vpn.101": service.pattern_bytes("101")}


def test_increments_that_lead_outside_are_refused(t):
    app, server = held_100(t)
    root = t.publish(t.offer, version="101", increments_from=("100",))
    index = root / "activeupdate/server.ini"
    text = index.read_bytes()
    for path in ("../../../v_100.101", "C:/v_100.101", "Pattern\\..\\..\\..\\..\\v_100.101"):
        index.write_bytes(text.replace(b"MergePath_VSAPI.1=Pattern/v_100.101", b"MergePath_VSAPI.1=" + path.encode()))
        app.run()
        assert not [name for name in server.take_paths() if "v_100" in name], path
        assert not t.outside(), t.outside()


if __name__ == "__main__":
    framework.main()
