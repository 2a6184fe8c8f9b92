#!/usr/bin/python3
"""What a server can do wrong: every fault ends in a failed transfer, an untouched mirror and a normal end."""

import framework  # first: it makes the other modules known
import faulty_server as faults

# Name of the fault, the fault, and how its error text begins (a status, or nothing known beforehand).
FAILING = [
    ("status 404", faults.status(404), "404"),
    ("status 500", faults.status(500), "500"),
    ("status 403", faults.status(403), "403"),
    ("status 304 without a body", faults.status(304, b""), "304"),
    ("short body", faults.short_body(), ""),
    ("body that never begins", faults.short_body(missing=1_000_000), ""),
    ("reset before the answer", faults.reset(), ""),
    ("reset within the body", faults.reset(after=100), ""),
    ("no answer at all", faults.hang_up, ""),
    ("redirect to itself", faults.redirect_to_itself, ""),
    ("six redirects", faults.redirect_chain(6), ""),
    ("redirect to ftp", faults.redirect("ftp://127.0.0.1:9/server.ini"), ""),
    ("redirect to a file", faults.redirect("file:///etc/hostname"), ""),
    ("redirect to an unknown scheme", faults.redirect("gopher://127.0.0.1/x"), ""),
    ("redirect to nowhere", faults.redirect("http://127.0.0.1:9/server.ini"), ""),
    ("broken chunk", faults.broken_chunk, ""),
    ("missing last chunk", faults.cut_chunks, ""),
    ("another protocol", faults.not_http, ""),
]

HARMLESS = [
    ("body without a length", faults.no_length),
    ("body in chunks", faults.chunked),
    ("five redirects", faults.redirect_chain(5)),
    ("trickle", faults.trickle(piece=64, interval=0.01)),
    ("many interim answers", faults.continue_storm(100)),
]


def test_a_failed_index_ends_the_session_and_leaves_no_file(t):
    root = t.publish()
    for number, (name, fault, text) in enumerate(FAILING):
        print(f"  {name}")
        server = t.faulty_server(root)
        server.fault("server.ini", fault)
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base))
        run = app.run()
        run.log.expect(f"DownloadFiles: HTTP Error [{text}%ANY%]", "StartActiveUpdate: End with errors")
        run.log.expect_count("DownloadFiles: HTTP Error [", 1)
        run.log.expect_count("DownloadFiles: Initialize", 1)
        assert run.log[-1] == "StartingOperations: Enable Timer for Killing process"
        assert app.files("TempDownload") == {} and app.files("ActiveUpdate") == {}, (name, app.files())


def test_a_failed_index_leaves_an_earlier_mirror_as_it_was(t):
    app, server = t.faulty_mirror()
    app.run()
    before = app.files("ActiveUpdate")
    for name, fault, _ in FAILING:
        print(f"  {name}")
        server.fault("server.ini", fault)
        app.run()
        assert app.files("ActiveUpdate") == before, name
        assert "ActiveUpdate/server.ini" not in app.files("TempDownload"), name


def test_a_failed_archive_is_reported_and_the_version_written_all_the_same(t):
    root = t.publish()
    for number, (name, fault, text) in enumerate(FAILING):
        print(f"  {name}")
        server = t.faulty_server(root)
        server.fault("Pattern/vsapi.zip", fault)
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base))
        run = app.run()
        run.log.expect(
            f"DownloadFiles: HTTP Error [{text}%ANY%]",
            "StartActiveUpdate: Error to download Pattern/vsapi.zip",
            "DownloadWhatsNew: Find 3 new viruses",
        )
        run.log.expect_count("CreatingNewPatternServerIni: !! Error !! code 53", 4)
        index = "ActiveUpdate/server.ini"
        assert app.setting("PATTERN", "Version", index) == "100", name
        assert app.setting("PATTERN", "Path_VSAPI", index) is None, name
        assert "Pattern/vsapi.zip" not in app.files("ActiveUpdate"), name
        assert "ActiveUpdate/Pattern/vsapi.zip" not in app.files("TempDownload"), name


def test_an_archive_that_failed_is_fetched_by_the_next_run(t):
    app, server = t.faulty_mirror()
    server.fault("Pattern/vsapi.zip", faults.short_body(), None)
    app.run()
    run = app.run()
    run.log.refuse("StartActiveUpdate: Error to download")
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}


def test_a_failed_archive_leaves_the_old_one_in_place(t):
    app, server = t.faulty_mirror()
    app.run()
    old = (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes()
    t.publish(t.offer, version="101")
    server.fault("Pattern/vsapi.zip", faults.reset(after=500))
    run = app.run()
    run.log.expect("StartActiveUpdate: Error to download Pattern/vsapi.zip")
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == old
    # The version rises with the failed fetch, so nothing is tried again before the next one.
    assert app.setting("PATTERN", "Version", "ActiveUpdate/server.ini") == "101"
    before = len(server.paths())
    app.run()
    assert server.paths()[before:] == ["server.ini"]


def test_a_failed_virus_list_is_reported_and_the_run_goes_on(t):
    app, server = t.faulty_mirror()
    server.fault("Pattern/whatsnew.txt", faults.status(404))
    app.put("ListVir_Official.ini", "[VIRUS]\r\nNAME1=Earlier\r\nCOUNT=1\r\n")
    run = app.run()
    run.log.expect_count("DownloadWhatsNew: error to get virus list", 2)
    assert app.text("ListVir_Official.ini") == "[VIRUS]\r\nNAME1=Earlier\r\nCOUNT=1\r\n"
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}


def test_unusual_but_good_answers_are_accepted(t):
    root = t.publish()
    archive = (root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    for api in ("1", "0"):
        for number, (name, fault) in enumerate(HARMLESS):
            print(f"  {name}")
            server = t.faulty_server(root)
            server.fault("server.ini", fault)
            server.fault("Pattern/vsapi.zip", fault if "trickle" not in name else None)
            app = t.app(f"app{api}{number}")
            app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}}))
            run = app.run()
            run.log.refuse("DownloadFiles: HTTP Error", "StartActiveUpdate: E")
            assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == archive, name


def test_winsock_mode_fails_by_the_same_faults_without_an_error_line(t):
    root = t.publish()
    for number, (name, fault, _) in enumerate(FAILING):
        print(f"  {name}")
        server = t.faulty_server(root)
        server.fault("server.ini", fault)
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": "0"}}))
        run = app.run()
        run.log.expect("DownloadFiles: --------------------------------------------%V%")
        run.log.expect("StartActiveUpdate: End with errors")
        run.log.refuse("DownloadFiles: HTTP Error")
        assert app.files("TempDownload") == {}, name


def test_an_error_page_in_place_of_the_index_requests_nothing_but_the_virus_list(t):
    app, server = t.faulty_mirror()
    server.fault("server.ini", faults.html)
    run = app.run()
    run.log.expect(
        "StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[0]",
        "StartActiveUpdate: Error to download ",
    )
    assert server.paths() == ["server.ini", "Pattern/whatsnew.txt"], server.paths()


def test_an_error_page_in_place_of_the_archive_is_found_out_when_it_is_opened(t):
    app, server = t.faulty_mirror()
    server.fault("Pattern/vsapi.zip", faults.html)
    run = app.run()
    run.log.expect("Dezipfiles: error 1 DezipFiles: GetEntryNum=0, Zip file seems corrupted")
    assert app.files("Pattern") == {}


def test_odd_answers_end_normally(t):
    """Whether these count as success is not laid down; the run must end and leave nothing behind."""
    root = t.publish()
    for number, fault in enumerate((faults.gzip_unasked, faults.huge_header(), faults.continue_storm(20_000))):
        server = t.faulty_server(root)
        server.fault("server.ini", fault)
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base))
        run = app.run()
        assert run.log[-1] == "StartingOperations: Enable Timer for Killing process"


def test_a_server_that_is_not_there_fails_at_once(t):
    app = t.app()
    app.write_settings(framework.settings("http://127.0.0.1:9/activeupdate"))
    run = app.run(seconds=10)
    run.log.expect("DownloadFiles: HTTP Error [%ANY%]", "StartActiveUpdate: End with errors")


def test_a_base_address_of_another_scheme_fails(t):
    for number, base in enumerate(("ftp://127.0.0.1:9/x", "file:///etc", "127.0.0.1", "://", "http://")):
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(base))
        run = app.run()
        run.log.expect("StartActiveUpdate: End with errors")
        assert app.files("TempDownload") == {}, base


if __name__ == "__main__":
    framework.main()
