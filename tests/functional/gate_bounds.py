#!/usr/bin/python3
"""What a service may send at most: more is refused with a reason, before it fills memory, disk, log or time."""

import zipfile

import framework  # first: it makes the other modules known
from small_disk import SmallDisk
from waiting import scaled

END = "StartingOperations: Enable Timer for Killing process"
MIB = 1024 * 1024


def bounded(run, kib=800_000, cpu=5):
    """The run ended by itself, in little memory and time."""
    assert run.log[-1] == END, run.log[-1]
    assert run.peak_kib < kib, f"{run.peak_kib} KiB"
    assert run.cpu_seconds < scaled(cpu), f"{run.cpu_seconds} s"


def index_of(root):
    return root / "activeupdate/server.ini"


def test_a_list_of_news_over_4_mib_is_a_failed_download(t):
    app, _ = t.mirror()
    with open(t.folder / "service/activeupdate/Pattern/whatsnew.txt", "ab") as file:
        file.write(b"x" * 5 * MIB)
    run = app.run()
    bounded(run)
    run.log.expect("DownloadFiles: HTTP Error [63 %ANY%", "DownloadWhatsNew: error to get virus list")
    assert "Pattern/vsapi.zip" in app.files("ActiveUpdate")


def test_a_list_of_news_of_4_mib_is_read(t):
    app, _ = t.mirror()
    path = t.folder / "service/activeupdate/Pattern/whatsnew.txt"
    header = b"All detail virus names please refer to the list below.\r\n"
    text = header + b"Quill.\r\n" * 33_000 + b"-------------------\r\n"
    path.write_bytes(text + b"x" * (4 * MIB - len(text)))
    run = app.run(seconds=120)
    bounded(run, cpu=20)
    run.log.expect("DownloadWhatsNew: Find 32767 new viruses")


def test_a_latest_ini_over_1_mib_is_a_failed_transfer(t):
    root = t.publish(cpr="1.890 v3") / "ftp"
    server = t.scripted_ftp(root)
    app = t.app()
    ftp = {"EnableCPR": "1", "CPRUrl": f"ftp://{server.host}/products/pattern/cpr", "Passive": "1"}
    app.write_settings({"SOURCES": {"EnableActiveUpdate": "0"}, "LOGS": {"MaxSize": "100000"}, "FTP": ftp})
    with open(root / "products/pattern/cpr/latest.ini", "ab") as file:
        file.write(b";" * 2 * MIB)
    run = app.run()
    bounded(run)
    run.log.expect("GET_CPR_PATTERN: Error connecting 63 => The file is over 1048576 bytes")
    assert not app.files("ActiveUpdate")


def test_an_index_of_nothing_but_line_ends_is_a_failed_download(t):
    app, _ = t.mirror()
    for end in (b"\n", b"\r"):
        index_of(t.folder / "service").write_bytes(end * (5 * MIB))
        run = app.run()
        bounded(run)
        run.log.expect("DownloadFiles: HTTP Error [63 More than 4194304 lines%ANY%", "StartActiveUpdate: End with errors")


def test_an_index_of_four_million_lines_is_read(t):
    app, _ = t.mirror()
    index_of(t.folder / "service").write_bytes(b"\n" * (4 * MIB))
    run = app.run(seconds=60)
    bounded(run)
    print(f"  four million lines: {run.peak_kib // 1024} MiB of memory, {run.cpu_seconds:.1f} s")


def test_a_count_of_increments_beyond_all_measure_ends_in_a_second_with_a_bounded_log(t):
    root = t.publish()
    server = t.nginx(root)
    text = index_of(root).read_bytes().decode("latin-1")
    for number, count in enumerate(("999999999", "1000000")):
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base))
        index_of(root).write_bytes(text.replace("MergeCount=0", f"MergeCount={count}").encode("latin-1"))
        assert f"MergeCount={count}" in index_of(root).read_text("latin-1")
        run = app.run()
        bounded(run, cpu=1)
        assert len(run.log) < 4000, len(run.log)
        assert "Pattern/vsapi.zip" in app.files("ActiveUpdate"), "the full archive follows"


def test_a_highest_product_beyond_all_measure_ends_in_a_second_with_a_bounded_log(t):
    root = t.publish(products=(1, 2), product_languages=("1",))
    server = t.nginx(root)
    text = index_of(root).read_bytes().decode("latin-1")
    for number, highest in enumerate(("999999999", "32767")):
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base, {"SOURCES": {"Products": "1"}}))
        changed = text.replace("MaxProductID=2", f"MaxProductID={highest}")
        assert changed != text
        index_of(root).write_bytes(changed.encode("latin-1"))
        run = app.run()
        bounded(run, cpu=1)
        assert len(run.log) < 8000, len(run.log)
        if highest == "32767":
            assert {"Product/1/1/full.zip", "Product/2/1/full.zip"} <= set(app.files("ActiveUpdate"))
        else:
            run.log.expect("GetProducts: Error 6 Overflow")


def test_an_archive_that_unpacks_to_more_than_is_free_is_refused_before_it_fills_the_disk(t):
    app, _ = t.mirror(pattern_kib=2048)
    disk = t.keep(SmallDisk(app.path / "Pattern", 1024))
    free = disk.free()
    run = app.run()
    run.log.expect("Dezipfiles: error 61 DezipFiles: refused, unpacks to %N% bytes, %N% bytes are free")
    assert disk.free() == free, "nothing was written there"


def test_an_archive_of_more_than_a_hundred_thousand_entries_or_four_gigabytes_is_refused(t):
    root = t.publish()
    archive = root / "activeupdate/Pattern/vsapi.zip"
    with zipfile.ZipFile(archive, "w") as many:
        for number in range(100_001):
            many.writestr(f"{number}", b"")
    app = t.app()
    app.write_settings(framework.settings(t.nginx(root).base))
    run = app.run(seconds=60)
    bounded(run)
    run.log.expect("Dezipfiles: error 1 DezipFiles: refused, more than 100000 entries")
    with zipfile.ZipFile(archive, "w", compression=zipfile.ZIP_DEFLATED, compresslevel=1) as large:
        with large.open("lpt$vpn.100", "w", force_zip64=True) as entry:
            for _ in range(8):
                entry.write(b"\0" * MIB)
    # The declared size, in the directory and before the entry, becomes five gigabytes.
    data = archive.read_bytes().replace((8 * MIB).to_bytes(4, "little"), (0xFFFFFFF0).to_bytes(4, "little"))
    archive.write_bytes(data)
    app = t.app("app2")
    app.write_settings(framework.settings(t.nginx(root, folder="nginx2").base))
    run = app.run()
    bounded(run)
    assert not [name for name in app.files("Pattern") if name], app.files("Pattern")
    assert any(line.startswith("Dezipfiles: error ") for line in run.log)


if __name__ == "__main__":
    framework.main()
