#!/usr/bin/python3
"""One failed download, at each place of a full pass in turn: what goes on, what stays, and what the next pass mends."""

import shutil
import zipfile

import framework  # first: it makes the other modules known
import faulty_server as faults
import service

ENGINES = {key: "6.510" for key in service.ENGINE_KEYS[:3]}
ENGINE_FILES = [f"Engine/{key.removeprefix('Path_').lower()}.zip" for key in ENGINES]
PRODUCTS = [f"Product/{n}/{l}/{f}.zip" for l, numbers in (("64", (6, 22)), ("1", (6, 22))) for n in numbers for f in ("update", "full")]
PRODUCTS_LATER = [f"Product/{n}/16/{f}.zip" for n in (6, 22) for f in ("update", "full")]
INCREMENT, ARCHIVE, NEWS = "Pattern/v_100.101", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"
AUXILIARY = [f"Pattern/{name}.zip" for name in ("opp", "mpp", "spam", "redalert")]
SECOND_INDEX = "/eps/server.ini"
TAIL = [path for file in AUXILIARY for path in (SECOND_INDEX, file)]
PASS = ["server.ini", *PRODUCTS, INCREMENT, NEWS, NEWS, *ENGINE_FILES, *PRODUCTS_LATER, *TAIL]
"""The requests of a pass from 100 to 101 in which nothing fails."""


def holding_100(t):
    """A mirror of version 100 and nothing else, and a service that now offers 101 and all the rest."""
    root = t.publish(version="100")
    server = t.faulty_server(root)
    switches = {key: "1" for key in ("Engines", "Products", "OPP", "MPP", "SPAM", "Alerts")}
    sources = {**switches, "ActiveUpdateEPS": f"http://127.0.0.1:{server.port}/eps"}
    app = t.app()
    app.write_settings(framework.settings(server.base))
    app.install_patch_program()
    app.run()
    app.write_settings(framework.settings(server.base, {"SOURCES": sources}))
    auxiliary = {key: "1.5" for key in service.AUXILIARY}
    t.publish(t.offer, version="101", increments_from=("100",), engines=ENGINES, products=(6, 22), auxiliary=auxiliary)
    return app, server


def copy_of(t, app, name):
    """Another application folder with the same contents."""
    other = t.app(name)
    shutil.copytree(app.path, other.path, dirs_exist_ok=True)
    return other


def take_paths(server):
    paths = server.paths()
    server.requests.clear()
    return paths


def published(app):
    """Files of the mirror and what is in them, without its index. An archive made here carries its time: its entries count."""
    mirror = app.path / "ActiveUpdate"
    files = {name: (mirror / name).read_bytes() for name in app.files("ActiveUpdate") if name != "server.ini"}
    with zipfile.ZipFile(mirror / ARCHIVE) as archive:
        files[ARCHIVE] = {name: archive.read(name) for name in archive.namelist()}
    return files


def check_place(t, held, server, path, requests, missing, again, name):
    """A pass in which the first download of `path` fails makes `requests` and leaves out the files `missing`; the next
    pass asks for `again` between its indexes."""
    app = copy_of(t, held, name)
    # Not a connection that ends without an answer: on one that served before, that is no failure but tried anew.
    fault = t.random.choice((faults.status(500), faults.status(404), faults.short_body(), faults.cut_chunks))
    server.fault(path, fault, None)
    server.requests.clear()
    run = app.run()
    assert take_paths(server) == requests, name
    assert run.log[-1] == "StartingOperations: Enable Timer for Killing process", name
    assert len(run.log.starting("DownloadFiles: HTTP Error")) == 1, run.log
    assert not app.temporary_files()
    server.fault(path, None)

    now, whole = published(app), t.whole
    assert {file for file in whole if file not in now} == missing, (name, missing)
    different = [file for file in now if file in whole and now[file] != whole[file]]
    assert not different, (name, different)

    app.run()
    asked = [file for file in take_paths(server) if not file.endswith("server.ini")]
    assert asked == again, (name, asked)
    return app, run


def with_whole_pass(t):
    """The held mirror and the server, after it was seen what a pass without a failure makes of a copy."""
    held, server = holding_100(t)
    server.requests.clear()
    good = copy_of(t, held, "whole")
    good.run()
    assert take_paths(server) == PASS
    t.whole = published(good)
    assert list(t.whole[ARCHIVE]) == ["lpt$vpn.101"]
    return held, server


def test_a_failed_index_ends_the_pass_and_changes_nothing(t):
    held, server = holding_100(t)
    for number, fault in enumerate((faults.status(404), faults.reset(30), faults.hang_up, faults.short_body())):
        app = copy_of(t, held, f"app{number}")
        before = published(app)
        server.fault("server.ini", fault)
        server.requests.clear()
        run = app.run()
        run.log.expect("DownloadFiles: HTTP Error [%ANY%", "StartActiveUpdate: End with errors", "StartingOperations: VLMR terminate...")
        assert take_paths(server) == ["server.ini"] and published(app) == before
    server.fault("server.ini", None)


def test_a_failed_product_is_reported_once_and_not_tried_again_and_all_else_goes_on(t):
    held, server = with_whole_pass(t)
    for number, path in enumerate(PRODUCTS + PRODUCTS_LATER):
        app, run = check_place(t, held, server, path, PASS, {path}, [], f"product{number}")
        run.log.expect(f"VerifyProductByIndex: Error to get file%ANY%{path}%ANY%")
        section = f"Info_{path.split('/')[1]}_{path.split('/')[2]}_05058_1"
        assert app.setting(section, "Version", "ActiveUpdate/server.ini") == "1.0"


def test_a_failed_increment_is_made_good_by_the_archive_in_the_same_pass(t):
    held, server = with_whole_pass(t)
    at = PASS.index(INCREMENT) + 1
    app, run = check_place(t, held, server, INCREMENT, PASS[:at] + [ARCHIVE] + PASS[at:], set(), [], "increment")
    run.log.expect("PatchVsapI: didn't found increment file", "StartActiveUpdate: PatchVsapi=FALSE !")
    assert (app.path / "ActiveUpdate" / ARCHIVE).read_bytes() == (server.root / "activeupdate" / ARCHIVE).read_bytes()


def test_a_failed_archive_behind_a_failed_increment_keeps_the_old_one_and_all_else_goes_on(t):
    held, server = with_whole_pass(t)
    old = (held.path / "ActiveUpdate" / ARCHIVE).read_bytes()
    app = copy_of(t, held, "archive")
    server.fault(INCREMENT, faults.status(404), None)
    server.fault(ARCHIVE, faults.short_body(), None)
    server.requests.clear()
    run = app.run()
    run.log.expect("StartActiveUpdate: PatchVsapi=FALSE !", f"StartActiveUpdate: Error to download {ARCHIVE}")
    at = PASS.index(INCREMENT) + 1
    assert take_paths(server) == PASS[:at] + [ARCHIVE] + PASS[at:]
    assert (app.path / "ActiveUpdate" / ARCHIVE).read_bytes() == old
    assert set(published(app)) == set(t.whole)


def test_a_failed_virus_list_keeps_the_old_one_or_is_made_good_by_the_second_request(t):
    held, server = with_whole_pass(t)
    check_place(t, held, server, NEWS, PASS, set(), [], "news")


def test_a_failed_engine_is_left_out_and_fetched_by_the_next_pass(t):
    held, server = with_whole_pass(t)
    for number, path in enumerate(ENGINE_FILES):
        app, _ = check_place(t, held, server, path, PASS, {path}, [path], f"engine{number}")
        assert published(app)[path] == t.whole[path]


def test_a_failed_second_index_skips_its_pattern_and_the_next_pass_fetches_it(t):
    held, server = with_whole_pass(t)
    requests = [path for path in PASS if path != AUXILIARY[0]]
    app, run = check_place(t, held, server, SECOND_INDEX, requests, {AUXILIARY[0]}, AUXILIARY[:1], "index")
    run.log.refuse("GetOPPPattern")
    assert published(app)[AUXILIARY[0]] == t.whole[AUXILIARY[0]]


def test_a_failed_auxiliary_pattern_is_taken_from_the_second_service(t):
    held, server = with_whole_pass(t)
    for number, path in enumerate(AUXILIARY):
        at = PASS.index(path) + 1
        check_place(t, held, server, path, PASS[:at] + ["/eps/" + path] + PASS[at:], set(), [], f"auxiliary{number}")


if __name__ == "__main__":
    framework.main()
