#!/usr/bin/python3
"""The first pass over an update service: what is fetched, published and logged."""

import framework  # first: it makes the other modules known
import re
import zipfile

import expected_log
import service
from log_lines import compare_text


def crlf(*lines):
    return "".join(line + "\r\n" for line in lines)


def test_the_log_of_a_first_pass_is_as_described(t):
    app, server = t.mirror()
    run = app.run()
    golden = (framework.REPOSITORY / "tests/functional/data/first_pass.log").read_text(encoding="ascii")
    run.log.expect_whole(expected_log.expand(golden, app, server))


def test_a_first_pass_requests_index_archive_and_virus_list(t):
    app, server = t.mirror()
    app.run()
    # The list is fetched a second time, for the clean-up of the folder has taken the first one away.
    wanted = ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt", "Pattern/whatsnew.txt"]
    assert server.take_paths() == wanted


def test_one_connection_serves_all_downloads_of_a_run(t):
    app, server = t.mirror()
    for api in ("1", "0"):
        app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}}))
        (app.path / "ActiveUpdate/Pattern/vsapi.zip").unlink(missing_ok=True)
        app.run()
        requests = server.take_requests()
        assert len(requests) >= 3, requests
        assert len({request.connection for request in requests}) == 1, requests


def test_the_published_index_is_as_described(t):
    app, server = t.mirror()
    app.run()
    size = (server.root / "activeupdate/Pattern/vsapi.zip").stat().st_size
    header = [line.replace("AvailableServer=1", "AvailableServer=0") for line in service.HEADER]
    expected = crlf(
        *header,
        "",
        "[PATTERN]",
        "Version=100",
        f"Path_Combine=Pattern/vsapi.zip,{size}",
        f"Path_VSAPI=Pattern/vsapi.zip,{size}",
        f"P.2=Pattern/vsapi.zip,100,{size}",
        f"P.4=Pattern/vsapi.zip,100,{size}",
        *[""] * 4,
    )
    compare_text(app.text("ActiveUpdate/server.ini"), expected, "the published index")


def test_the_published_tree_holds_archive_index_and_virus_list(t):
    app, server = t.mirror()
    app.run()
    served = (server.root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == served
    assert set(app.files("ActiveUpdate")) == {"server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"}
    published = {"ActiveUpdate", *(f"ActiveUpdate/{n}" for n in "Engine Pattern ServerProtect Product Source".split())}
    staging = {"TempDownload", "TempDownload/ActiveUpdate"}
    staging |= {f"TempDownload/ActiveUpdate/{n}" for n in "Engine ServerProtect Pattern Product".split()}
    assert app.folders() == published | staging | {"Pattern", "BackupLogs"}, app.folders()


def test_the_working_folder_ends_with_the_unpacked_pattern(t):
    app, _ = t.mirror()
    app.run()
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}
    assert (app.path / "Pattern/lpt$vpn.100").read_bytes() == service.pattern_bytes("100")


def test_the_virus_list_report_is_written_key_by_key(t):
    app, _ = t.mirror(virus_names=("Quill.A", " Tumble-Weed.1024 ", "", "W32 Lantern (gen)"))
    app.run()
    # "COUNT" is written behind the first name and replaced in place from then on.
    expected = crlf("[VIRUS]", "NAME1=Quill.A", "COUNT=3", "NAME2= Tumble-Weed.1024 ", "NAME3=W32 Lantern (gen)")
    compare_text(app.text("ListVir_Official.ini"), expected, "the virus list report")


def test_a_service_whose_files_end_lines_with_line_feeds_is_mirrored(t):
    app, _ = t.mirror(line_end="\n")
    run = app.run()
    run.log.expect("DownloadWhatsNew: Find 3 new viruses")
    index = app.text("ActiveUpdate/server.ini")
    assert index.startswith(service.HEADER[0] + "\r\n" + service.HEADER[1] + "\r\n"), index
    assert re.search(r"\r\nVersion=100\r\n", index), index


def test_names_that_stand_in_another_case_are_used_and_get_no_twin(t):
    app, _ = t.mirror()
    app.put("vlmr.LOG", "")
    app.put("activeupdate/PATTERN/lpt$VPN.001", b"old")
    app.run()
    assert "activeupdate/PATTERN/vsapi.zip" in app.files(), app.files()
    assert "ActiveUpdate" not in app.folders(), app.folders()
    # The framework's standing checks refuse twins.


def test_a_base_address_that_ends_in_a_slash_makes_no_double_slash(t):
    app, server = t.mirror()
    app.write_settings(framework.settings(server.base + "/"))
    app.run()
    assert server.take_requests()[0].path == "/activeupdate/server.ini"
    assert not [request for request in server.requests() if "//" in request.path]


def test_an_archive_with_entries_that_lead_outside_leaves_nothing_there(t):
    app, server = t.mirror()
    archive = server.root / "activeupdate/Pattern/vsapi.zip"
    names = ["../escaped.txt", "../../escaped.txt", "/escaped.txt", "x/../../../escaped.txt", "..\\escaped.txt"]
    names += [f"{t.top}/absolute.txt", "C:\\escaped.txt", "C:escaped.txt"]
    with zipfile.ZipFile(archive, "w") as file:
        for name in names:
            file.writestr(name, b"outside")
        file.writestr("lpt$vpn.100", service.pattern_bytes("100"))
    app.run()
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}, app.files("Pattern")
    assert not [name for name in app.files() if "escaped" in name], app.files()
    assert not t.outside(), t.outside()


def test_an_archive_that_is_no_zip_is_reported_and_the_run_ends(t):
    app, server = t.mirror()
    (server.root / "activeupdate/Pattern/vsapi.zip").write_bytes(b"no archive at all")
    run = app.run()
    run.log.expect("Dezipfiles: error 1 DezipFiles: GetEntryNum=0, Zip file seems corrupted")
    run.log.expect("PatternStored: Uncompress False Pattern=0 this is the first install")
    assert run.log[-1] == "StartingOperations: Enable Timer for Killing process"


if __name__ == "__main__":
    framework.main()
