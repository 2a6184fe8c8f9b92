#!/usr/bin/python3
"""Scan engines of the full session."""

import framework  # first: it makes the other modules known
import service

INDEX = "ActiveUpdate/server.ini"
KEY = "Path_VSAPI32_NLM"
FILE = "Engine/vsapi32_nlm.zip"


def engine_mirror(t, engines, **offer):
    return t.mirror({"SOURCES": {"Engines": "1"}, **offer.pop("sections", {})}, engines=engines, **offer)


def engine_requests(server):
    return [path for path in server.take_paths() if path.startswith("Engine/")]


def test_the_log_of_one_engine_is_as_described(t):
    app, server = engine_mirror(t, {KEY: "6.510"})
    run = app.run()
    fresh = f"{app.place}\\TempDownload\\ActiveUpdate"
    mirror = f"{app.place}\\ActiveUpdate"
    part = run.log.scope(f"Checkengine: {KEY} on Temp", "Checkengine: Path_VSAPI32_SOLARIS_SPARC on Temp")[:-1]
    own = [line for line in part if line.startswith("Checkengine: ")]
    assert own == [
        f"Checkengine: {KEY} on Temp ={FILE},6.510,20000",
        f"Checkengine: {KEY} on Store =",
        "Checkengine: -------------------------",
        "Checkengine: Version on store =6.510",
        "Checkengine: Version on Temp =6.510",
        "Checkengine: -------------------------",
        f"Checkengine: Check if exist= {mirror}\\Engine\\vsapi32_nlm.zip",
        "Checkengine: Tests=",
        f"Checkengine: Download={server.base}/{FILE}",
        f"Checkengine: Check if exist= {fresh}\\Engine\\vsapi32_nlm.zip",
        "Checkengine: Tests=vsapi32_nlm.zip",
        f"Checkengine: Check={mirror}\\Engine\\vsapi32_nlm.zip",
        "Checkengine: Tests=vsapi32_nlm.zip",
        f"Checkengine: WriteINI={FILE}, 6.510, 20000",
    ], own
    run.log.expect(f"GetEngines: IniTemp={fresh}\\server.ini", f"GetEngines: IniStore={mirror}\\server.ini")
    run.log.expect(f"PrepareMail: Switch=[5] Version=[{KEY}=>6.510]")
    assert app.setting("ENGINE", KEY, INDEX) == f"{FILE}, 6.510, 20000"


def test_twelve_engines_are_fetched_in_the_order_of_their_table(t):
    app, server = engine_mirror(t, service.all_engines())
    app.run()
    assert engine_requests(server) == [f"Engine/{key[5:].lower()}.zip" for key in service.ENGINE_KEYS]
    assert len(app.files("ActiveUpdate/Engine")) == 12
    app.run()
    assert engine_requests(server) == []


def test_versions_are_compared_as_text(t):
    app, server = engine_mirror(t, {KEY: "9.0"})
    app.run()
    server.take_requests()
    for version, fetched in (("10.0", False), ("9.0", False), ("9.00", True), ("9.1", True)):
        t.publish(t.offer, engines={KEY: version})
        app.run()
        assert engine_requests(server) == ([FILE] if fetched else []), version


def test_a_missing_file_is_fetched_again_at_the_same_version(t):
    app, server = engine_mirror(t, {KEY: "9.0"})
    app.run()
    server.take_requests()
    (app.path / "ActiveUpdate" / FILE).unlink()
    app.run()
    assert engine_requests(server) == [FILE]


def test_an_engine_that_the_service_does_not_name_is_left_alone(t):
    app, server = engine_mirror(t, {KEY: "9.0"})
    run = app.run()
    run.log.expect("Checkengine: Path_VSAPI_MIPS on Temp =", "Checkengine: Version on Temp =0", "Checkengine: Tests=")
    assert engine_requests(server) == [FILE]
    assert app.setting("ENGINE", "Path_VSAPI_MIPS", INDEX) is None


def test_a_failed_engine_leaves_the_old_one_and_the_next_follows(t):
    engines = {"Path_VSAPI32_NT_I386": "1.0", KEY: "1.0"}
    app, server = engine_mirror(t, engines)
    app.run()
    old = (app.path / "ActiveUpdate/Engine/vsapi32_nt_i386.zip").read_bytes()
    t.publish(t.offer, engines={key: "2.0" for key in engines})
    (server.root / "activeupdate/Engine/vsapi32_nt_i386.zip").unlink()
    app.run()
    assert (app.path / "ActiveUpdate/Engine/vsapi32_nt_i386.zip").read_bytes() == old
    assert ", 1.0, " in app.setting("ENGINE", "Path_VSAPI32_NT_I386", INDEX)
    assert ", 2.0, " in app.setting("ENGINE", KEY, INDEX)


def test_an_entry_without_a_comma_is_an_error_of_that_engine(t):
    app, server = engine_mirror(t, {"Path_VSAPI32_VXD": "1.0", KEY: "1.0"})
    index = server.root / "activeupdate/server.ini"
    index.write_bytes(index.read_bytes().replace(b"Engine/vsapi32_vxd.zip,1.0,20000", b"Engine/vsapi32_vxd.zip"))
    run = app.run()
    run.log.expect("Checkengine: Error 5 Invalid procedure call or argument", f"Checkengine: {KEY} on Temp =%ANY%")
    assert engine_requests(server) == [FILE]


def test_the_mail_of_an_engine_names_its_key_and_version(t):
    app, _ = engine_mirror(t, {KEY: "1.0"}, sections={"NOTIFICATION": {"Enable_Engine_Send": "1"}})
    app.run()
    (_, body), = app.mails()
    assert body.endswith(f"New Version={KEY}=>1.0\r\n"), body


def test_an_engine_in_deeper_folders_is_published_there(t):
    app, server = engine_mirror(t, {KEY: "1.0"})
    index = server.root / "activeupdate/server.ini"
    index.write_bytes(index.read_bytes().replace(b"Engine/vsapi32_nlm.zip", b"Engine/a/b c/vsapi32.zip"))
    deep = server.root / "activeupdate/Engine/a/b c"
    deep.mkdir(parents=True)
    (deep / "vsapi32.zip").write_bytes(b"x" * 20_000)
    app.run()
    assert app.files("ActiveUpdate/Engine") == {"a/b c/vsapi32.zip": 20_000}
    assert engine_requests(server) == ["Engine/a/b%20c/vsapi32.zip"]


def test_engine_paths_that_lead_outside_are_refused(t):
    app, server = engine_mirror(t, {KEY: "1.0"})
    index = server.root / "activeupdate/server.ini"
    text = index.read_bytes()
    for path in (b"../../../escape.zip", b"Engine/../../../../escape.zip", b"D:\\escape.zip", b"..\\..\\..\\escape.zip"):
        index.write_bytes(text.replace(b"Engine/vsapi32_nlm.zip", path))
        app.run()
        assert not t.outside(), t.outside()
        assert not [request for request in server.take_paths() if "escape" in request]


if __name__ == "__main__":
    framework.main()
