#!/usr/bin/python3
"""What an update by increment, and each way of its failing, asks of the service: paths and bytes."""

import zipfile

import framework  # first: it makes the other modules known
import service
from small_disk import SmallDisk

NEWS = ["Pattern/whatsnew.txt"] * 2
KIB = 256
INDEX = "ActiveUpdate/server.ini"


def holding(t, version, modes="", folder=""):
    """A mirror that holds a version, or nothing, with a patch program; `folder` tells several of one test apart."""
    root = t.publish(folder=f"service{folder}", version=version or "100", pattern_kib=KIB)
    server = t.nginx(root, folder=f"nginx{folder}")
    app = t.app(f"app{folder}")
    app.write_settings(framework.settings(server.base))
    app.install_patch_program(modes)
    if version:
        app.run()
        server.take_requests()
    return app, server


def offer(t, version, *increments_from, folder=""):
    return t.publish(t.offer, folder=f"service{folder}", version=version, increments_from=increments_from)


def check_bytes(server, *names):
    """These files were asked for in this order, each as a whole and once; returns their bytes."""
    requests = server.take_requests()
    sizes = [(server.root / "activeupdate" / name).stat().st_size for name in names]
    seen = [(request.path.removeprefix("/activeupdate/"), request.bytes) for request in requests]
    assert seen == list(zip(names, sizes)), (seen, list(zip(names, sizes)))
    assert all(request.status == 200 for request in requests), requests
    return sum(sizes)


def check_published(app, version):
    """The mirror offers this version: archive, index and working folder agree."""
    with zipfile.ZipFile(app.path / "ActiveUpdate/Pattern/vsapi.zip") as archive:
        assert archive.namelist() == [f"lpt$vpn.{version}"]
        assert archive.read(f"lpt$vpn.{version}") == service.pattern_bytes(version, kib=KIB)
    size = app.files("ActiveUpdate/Pattern")["vsapi.zip"]
    assert app.setting("PATTERN", "Path_VSAPI", INDEX) == f"Pattern/vsapi.zip,{size}"
    assert app.setting("PATTERN", "Version", INDEX) == version
    assert list(app.files("Pattern")) == [f"lpt$vpn.{version}"]


def archive_bytes(server):
    return (server.root / "activeupdate/Pattern/vsapi.zip").stat().st_size


def test_an_increment_asks_for_index_increment_and_virus_list_and_not_for_the_archive(t):
    app, server = holding(t, "100")
    offer(t, "101", "100")
    app.run()
    spent = check_bytes(server, "server.ini", "Pattern/v_100.101", *NEWS)
    print(f"  {spent} bytes, the archive has {archive_bytes(server)}")
    assert spent * 10 < archive_bytes(server)
    check_published(app, "101")


def test_a_patch_that_fails_costs_increment_and_archive(t):
    def not_startable(app):
        app.put("Patch.exe", b"MZ neither a program nor a script").chmod(0o755)

    def without_right(app):
        (app.path / "Patch.exe").chmod(0o644)

    def missing(app):
        (app.path / "Patch.exe").unlink()

    def nothing(_):
        pass

    cases = {
        "exit": ("exit=3", nothing),
        "killed": ("exit=137", nothing),
        "no-output": ("no-output", nothing),
        "missing": ("", missing),
        "no-program": ("", not_startable),
        "no-right": ("", without_right),
    }
    if t.target.is_windows:
        del cases["no-right"]  # a right to execute is nothing that a file has there
    for folder, (modes, prepare) in cases.items():
        app, server = holding(t, "100", modes, folder)
        offer(t, "101", "100", folder=folder)
        prepare(app)
        run = app.run()
        run.log.expect("PatchIni: execute %ANY%\\Patch.exe", "PatchIni: Tests= ", "StartActiveUpdate: PatchVsapi=FALSE !")
        started = folder in ("exit", "killed", "no-output")
        run.log.expect_count("WaitFor: Error code", 0 if started else 1)
        spent = check_bytes(server, "server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS)
        assert spent > archive_bytes(server), folder
        check_published(app, "101")


def test_a_missing_increment_costs_its_error_page_and_the_archive(t):
    app, server = holding(t, "100")
    root = offer(t, "101", "100")
    (root / "activeupdate/Pattern/v_100.101").unlink()
    app.run()
    requests = server.take_requests()
    assert [(request.path.split("/activeupdate/")[1], request.status) for request in requests] == [
        ("server.ini", 200),
        ("Pattern/v_100.101", 404),
        ("Pattern/vsapi.zip", 200),
        ("Pattern/whatsnew.txt", 200),
        ("Pattern/whatsnew.txt", 200),
    ]
    assert requests[2].bytes == archive_bytes(server) and requests[1].bytes < 1000
    check_published(app, "101")


def test_an_increment_held_costs_nothing_with_the_right_size_and_itself_with_another(t):
    for folder, cut in (("whole", None), ("short", -10), ("empty", 0)):
        app, server = holding(t, "100", folder=folder)
        root = offer(t, "101", "100", folder=folder)
        increment = (root / "activeupdate/Pattern/v_100.101").read_bytes()
        app.put("TempDownload/ActiveUpdate/Pattern/v_100.101", increment[:cut])
        app.run()
        check_bytes(server, "server.ini", *(() if cut is None else ("Pattern/v_100.101",)), *NEWS)
        check_published(app, "101")


def test_of_two_entries_that_match_both_are_fetched_and_the_later_is_applied(t):
    app, server = holding(t, "100")
    root = offer(t, "101", "100")
    increment = root / "activeupdate/Pattern/v_100.101"
    (increment.parent / "first.101").write_bytes(b"an increment of an older kind")
    index = root / "activeupdate/server.ini"
    lines = index.read_bytes().decode("ascii").replace("MergeCount=1", "MergeCount=2").split("\r\n")
    for place, line in enumerate(lines):
        lines[place] = line.replace("Merge.1=", "Merge.2=").replace(".1=Pattern/", ".2=Pattern/")
    at = lines.index("MergeCount=2") + 1
    lines[at:at] = ["Merge.1=100", "MergePath_VSAPI.1=Pattern/first.101,29"]
    index.write_bytes("\r\n".join(lines).encode("ascii"))
    run = app.run()
    run.log.expect("PatchVsapI: Found Increment=Pattern/first.101,29", "PatchVsapI: IncrementFile=Pattern/v_100.101")
    check_bytes(server, "server.ini", "Pattern/first.101", "Pattern/v_100.101", *NEWS)
    check_published(app, "101")


def test_a_first_install_holds_version_0_fetches_every_increment_and_then_the_archive(t):
    app, server = holding(t, None)
    offer(t, "101", "099", "100")
    run = app.run()
    run.log.expect("PatchVsapI: MyPattern [old Pattern stored]=0", "PatchVsapI: NewPattern [New Pattern downloaded]=101")
    part = run.log.scope("PatchVsapI: Count=2", "StartActiveUpdate: PatchVsapi=FALSE !")
    part.expect_count("PatchVsapI: didn't found increment file", 2)
    run.log.refuse("PatchIni:")
    check_bytes(server, "server.ini", "Pattern/v_099.101", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS)
    check_published(app, "101")
    app.run()
    check_bytes(server, "server.ini")


def test_a_held_version_that_is_not_lower_as_text_stops_the_build_and_the_archive_is_fetched(t):
    # As 99 is not lower than 100; what is held always has three characters, so four digits show it here.
    app, server = holding(t, "999")
    offer(t, "1000", "999")
    run = app.run()
    run.log.expect("PatchVsapI: MyPattern [old Pattern stored]=999", "PatchVsapI: NewPattern [New Pattern downloaded]=1000")
    run.log.refuse("PatchVsapI: INI version stored", "PatchVsapI: Count=", "PatchIni:")
    check_bytes(server, "server.ini", "Pattern/v_999.1000", "Pattern/vsapi.zip", *NEWS)

    # With a leading zero 99 to 100 is an increment.
    padded, server = holding(t, "099", folder="padded")
    offer(t, "100", "099", folder="padded")
    padded.run()
    check_bytes(server, "server.ini", "Pattern/v_099.100", *NEWS)
    check_published(padded, "100")


def test_an_archive_that_cannot_be_made_costs_increment_and_archive(t):
    app, server = holding(t, "100")
    offer(t, "101", "100")
    (app.path / "ActiveUpdate/Pattern/vsapi.zip").unlink()
    app.put("ActiveUpdate/Pattern/vsapi.zip/in the way", b"x")
    app.run().log.expect("ZipFiles: error %ANY%", "PatchVsapI: Unable to compress the file", "StartActiveUpdate: PatchVsapi=FALSE !")
    check_bytes(server, "server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS)


def test_a_disk_that_fills_up_while_the_archive_is_made_is_reported_and_mended_by_the_next_run(t):
    app, server = holding(t, None)
    folder = app.path / "ActiveUpdate/Pattern"
    disk = t.keep(SmallDisk(folder, 4 * KIB))
    app.run()
    server.take_requests()
    offer(t, "101", "100")
    # Room for the pattern that is moved here, not for the archive that is made beside it.
    (folder / "vsapi.zip").write_bytes(b"")
    disk.fill(leaving=KIB * 1024 * 3 // 2)
    run = app.run()
    run.log.expect(
        "PatchVsapI: successfull creating new pattern version= 101",
        "PatchVsapI: Kill old Zip file: %ANY%vsapi.zip",
        "PatchVsapI: Find the pattern [%ANY%lpt$vpn.101] Size=[%N%]",
        "ZipFiles: error 61 Disk full",
        "PatchVsapI: Unable to compress the file",
        "StartActiveUpdate: PatchVsapi=FALSE !",
    )
    check_bytes(server, "server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", *NEWS)
    assert not app.temporary_files(), app.temporary_files()

    disk.make_room()
    app.run()
    # The archive was gone, so the service's own is taken, although its version stands in the index already.
    check_bytes(server, "server.ini", "Pattern/v_100.101", "Pattern/vsapi.zip", "Pattern/whatsnew.txt")
    check_published(app, "101")


if __name__ == "__main__":
    framework.main()
