#!/usr/bin/python3
"""An index that was made to harm: the run ends normally, says what it refused, and writes nothing outside."""

import framework  # first: it makes the other modules known
from waiting import scaled

END = "StartingOperations: Enable Timer for Killing process"


def run_with_index(t, app, root, data, seconds=30):
    """Runs against an index of these bytes; whatever it holds, the standing promises must be kept."""
    (root / "activeupdate/server.ini").write_bytes(data)
    run = app.run(seconds=seconds)
    assert run.log[-1] == END, run.log[-1]
    assert not t.outside(), t.outside()
    assert run.peak_kib < 800_000, f"{run.peak_kib} KiB"
    return run


def index_with(root, **changes):
    """The published index with some values of [PATTERN] replaced or, with None, taken out."""
    head, pattern = (root / "activeupdate/server.ini").read_bytes().split(b"[PATTERN]\r\n")
    lines = pattern.split(b"\r\n")
    for key, value in changes.items():
        lines = [line for line in lines if not line.startswith(key.encode() + b"=")]
        if value is not None:
            lines.insert(0, f"{key}={value}".encode("latin-1"))
    return head + b"[PATTERN]\r\n" + b"\r\n".join(lines)


def fresh(t, number):
    """An application folder and a service for one case among several."""
    root = t.publish(folder=f"service{number}")
    server = t.nginx(root, folder=f"nginx{number}")
    app = t.app(f"app{number}")
    app.write_settings(framework.settings(server.base))
    return app, server, root


def test_an_empty_index_is_a_service_without_a_version(t):
    app, server, root = fresh(t, 0)
    run = run_with_index(t, app, root, b"")
    run.log.expect(
        "StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[0]",
        "StartActiveUpdate: Error to download ",
        "CreatingNewPatternServerIni: !! Error !! code 62",
    )
    assert server.take_paths() == ["server.ini", "Pattern/whatsnew.txt"]


def test_an_index_of_nul_bytes_ends_normally(t):
    for number, data in enumerate((b"\0", b"\0" * 65536, b"[PATTERN]\r\nVersion=1\x0000\r\nPath_Combine=a\0b,1\r\n")):
        app, _, root = fresh(t, number)
        run_with_index(t, app, root, data)


def test_an_index_of_ten_megabytes_on_one_line_ends_quickly(t):
    long = 10 * 1024 * 1024
    lines = (b"x" * long, b"[" + b"y" * long + b"]", b"[PATTERN]\r\nVersion=" + b"1" * long, b"[PATTERN]\r\n" + b"=" * long)
    for number, data in enumerate(lines):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, data)
        assert run.cpu_seconds < scaled(10), run.cpu_seconds


def test_an_index_of_many_sections_and_keys_ends_quickly(t):
    sections = b"".join(b"[Section%d]\r\nKey=1\r\n" % n for n in range(100_000))
    keys = b"[PATTERN]\r\n" + b"".join(b"Key%d=1\r\n" % n for n in range(200_000))
    for number, data in enumerate((sections, keys, b"[PATTERN]\r\n" * 300_000, b"\r\n" * 1_000_000)):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, data)
        assert run.cpu_seconds < scaled(10), run.cpu_seconds


def test_a_version_that_is_no_number_is_logged_as_a_type_mismatch(t):
    for number, version in enumerate(("abc", "1,5", "1.2.3", "0x10", "--1", "1e", "nan", "inf")):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, index_with(root, Version=version))
        run.log.expect(
            f"VerifLocalPatternVersion: Tests Value={version}",
            "StartActiveUpdate: Error 13 Type mismatch",
            "StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[]",
        )


def test_a_version_out_of_range_is_logged_as_an_overflow(t):
    for number, version in enumerate(("1e39", "-1e39", "1e999", "9" * 60)):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, index_with(root, Version=version))
        run.log.expect(f"VerifLocalPatternVersion: Tests Value={version}", "StartActiveUpdate: Error 6 Overflow")


def test_a_version_with_an_exponent_or_blanks_is_a_number(t):
    for number, (version, shown) in enumerate((("1e2", "100"), (" 100\t", "100"), ("+100.0", "100"), ("1E7", "1E+07"))):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, index_with(root, Version=version))
        run.log.expect(f"StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[{shown}]")
        assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == shown


def test_a_merge_count_beyond_all_measure_is_an_error_and_the_full_archive_follows(t):
    counts = {
        "2000000000": "7 Out of memory",
        "1000001": "7 Out of memory",
        "1e300": "7 Out of memory",
        "-1": "9 Subscript out of range",
        "abc": "13 Type mismatch",
        "1,5": "13 Type mismatch",
    }
    for number, (count, error) in enumerate(counts.items()):
        app, _, root = fresh(t, number)
        run = run_with_index(t, app, root, index_with(root, MergeCount=count))
        run.log.expect(f"GetIncrementUrl: MergeCount={count}", f"GetAllIncrement: Error {error}")
        assert run.cpu_seconds < scaled(10), (count, run.cpu_seconds)
        assert "Pattern/vsapi.zip" in app.files("ActiveUpdate"), count


def test_an_archive_path_that_leads_outside_is_refused_before_any_request(t):
    paths = ("../../escape.zip", "Pattern/../../../escape.zip", "..\\..\\escape.zip", "C:/escape.zip", "c:\\escape.zip")
    paths += ("Pattern/../../../../../../../../../../tmp/escape.zip", "../../VLMR.ini")
    for number, path in enumerate(paths):
        app, server, root = fresh(t, number)
        settings = app.text("VLMR.ini")
        run = run_with_index(t, app, root, index_with(root, Path_Combine=path + ",10"))
        run.log.expect(f"StartActiveUpdate: Error to download {path}")
        assert server.take_paths() == ["server.ini"] + ["Pattern/whatsnew.txt"] * 2, path
        assert set(settings.splitlines()) <= set(app.text("VLMR.ini").splitlines()), path


def test_an_archive_path_from_the_root_stays_inside_the_application_folder(t):
    for number, path in enumerate(("/escape.zip", "//escape.zip", "\\escape.zip", "\\\\host\\escape.zip", "/etc/escape")):
        app, _, root = fresh(t, number)
        run_with_index(t, app, root, index_with(root, Path_Combine=path + ",10"))
        # Whether such a path is refused or taken as one below the base address, nothing lands above the staging tree.
        escaped = [name for name in app.files() if "escape" in name]
        assert all(name.startswith(("TempDownload/ActiveUpdate/", "ActiveUpdate/")) for name in escaped), escaped


def test_an_archive_path_without_a_comma_is_an_error_of_the_session(t):
    app, server, root = fresh(t, 0)
    run = run_with_index(t, app, root, index_with(root, Path_Combine="Pattern/vsapi.zip"))
    run.log.expect("StartActiveUpdate: Error 5 Invalid procedure call or argument")
    assert "Pattern/vsapi.zip" not in server.take_paths()


def test_an_empty_or_missing_archive_path_is_never_requested(t):
    for number, value in enumerate((None, "", ",", ",100")):
        app, server, root = fresh(t, number)
        run = run_with_index(t, app, root, index_with(root, Path_Combine=value))
        run.log.expect("StartActiveUpdate: Error to download ")
        assert server.take_paths() == ["server.ini"] + ["Pattern/whatsnew.txt"] * 2


def test_an_archive_path_with_odd_letters_is_requested_as_it_stands(t):
    app, server, root = fresh(t, 0)
    path = "Pattern/a $b 100%25 \xe9.zip"
    run = run_with_index(t, app, root, index_with(root, Path_Combine=path + ",10"))
    run.log.expect(f"StartActiveUpdate: Error to download {path}")
    assert "Pattern/a%20$b%20100%25%20%E9.zip" in server.take_paths()


def test_random_bytes_as_an_index_end_normally(t):
    app, _, root = fresh(t, 0)
    valid = (root / "activeupdate/server.ini").read_bytes()
    for _ in range(40):
        data = bytearray(valid * t.random.randint(1, 3))
        for _ in range(t.random.randint(1, 60)):
            place = t.random.randrange(len(data) or 1)
            if data and t.random.random() < 0.5:
                data[place] = t.random.choice(b"\0\r\n[]=,;\"'\\/.\xff" + bytes([t.random.randrange(256)]))
            else:
                del data[place : place + t.random.randint(1, 40)]
        run_with_index(t, app, root, bytes(data))
    for _ in range(5):
        run_with_index(t, app, root, t.random.randbytes(100_000))


if __name__ == "__main__":
    framework.main()
