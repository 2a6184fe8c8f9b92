#!/usr/bin/python3
"""The reduced modes: one increment or the full archive, a few engines and products, and an early end."""

import framework  # first: it makes the other modules known
import service

END = "StartActiveUpdate: Reduce Products was activate, Terminating now the internet requests"


def only(t, switch, engines=(), **offer):
    """A mirror in one reduced mode, with notifications on and a patch program."""
    sections = {"SOURCES": {switch: "1"}, "NOTIFICATION": {"Enable": "1"}}
    app, server = t.mirror(sections, engines={key: "6.510" for key in engines}, **offer)
    app.install_patch_program()
    return app, server


def test_reduced_runs_followed_through(t):
    app, server = only(t, "OnlySP", version="100")
    run = app.run()
    run.log.expect(
        "DownloadOnlyFirstPattern: Starting....",
        "DownloadOnlyFirstPattern: Try to test Server.ini file....",
        "DownloadOnlyFirstPattern: Pattern Stored = [0]",
        "DownloadOnlyFirstPattern: Pattern on Web = [100]",
        "DownloadOnlyFirstPattern: new Pattern need version [100]",
        "DownloadOnlyFirstPattern: UrlIncrement=[]",
        "DownloadOnlyFirstPattern: No increment found try [BigVsapi]",
        "DownloadOnlyFirstPattern: Incerment=False",
        "DownloadOnlyFirstPattern: Try to get BigVsapi",
        "GET_BIG_VSAPI: Unzip Latest Pattern =True",
        "DownloadOnlyFirstPattern: Writing new server.ini file",
        "PrepareMail: Switch=[1] Version=[100 [Method=Big VSAPI]]",
        END,
    )
    assert server.take_paths() == ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"]
    assert "lpt$vpn.100" in app.files("ActiveUpdate/Source")

    t.publish(t.offer, version="101", increments_from=("099", "100"))
    run = app.run()
    run.log.expect(
        "DownloadOnlyFirstPattern: UrlIncrement=[Pattern/v_100.101]",
        "DownloadOnlyFirstPattern: Incerment=True",
        "DownloadOnlyFirstPattern: FileIncrement=[%ANY%",
        "DownloadOnlyFirstPattern: Launch Patch Function",
        "DownloadOnlyFirstPattern: Incerment=True",
        f"DownloadOnlyFirstPattern: ZIP VSAPI{app.place}\\ActiveUpdate\\Pattern\\lpt$vpn.101 to %ANY%",
        "PrepareMail: Switch=[1] Version=[101 [Method=Increment]]",
        END,
    )
    assert server.take_paths() == ["server.ini", "Pattern/v_100.101", "Pattern/whatsnew.txt"]
    assert len(app.mails()) == 2

    run = app.run()
    run.log.expect("DownloadOnlyFirstPattern: No new Pattern need.. Aborting", END)
    assert server.take_paths() == ["server.ini"]
    assert len(app.mails()) == 2


def test_a_reduced_mode_writes_four_keys_and_no_header(t):
    app, _ = only(t, "OnlySP", version="100")
    app.run()
    size = app.files("ActiveUpdate/Pattern")["vsapi.zip"]
    lines = ["[PATTERN]", "Version=100", f"Path_Combine=Pattern/vsapi.zip,{size}", f"Path_VSAPI=Pattern/vsapi.zip,{size}"]
    assert app.text("ActiveUpdate/server.ini") == "".join(f"{line}\r\n" for line in [*lines, "MergeCount=0"])


def test_a_failed_patch_in_a_reduced_mode_leads_to_the_archive_in_the_same_run(t):
    app, server = only(t, "OnlySP", version="100")
    app.run()
    server.take_requests()
    app.install_patch_program("no-output")
    t.publish(t.offer, version="101", increments_from=("100",))
    run = app.run()
    run.log.expect(
        "DownloadOnlyFirstPattern: Incerment=False",
        "PrepareMail: Switch=[10] Version=[Unable to Patch new pattern]",
        "DownloadOnlyFirstPattern: Try to get BigVsapi",
        "PrepareMail: Switch=[1] Version=[101 [Method=Big VSAPI]]",
    )
    assert "Pattern/vsapi.zip" in server.take_paths()


def test_an_index_without_a_version_stops_a_reduced_mode(t):
    app, server = only(t, "OnlySMEX", version="100")
    (server.root / "activeupdate/server.ini").write_bytes(b"<html>sorry</html>\r\n")
    run = app.run()
    run.log.expect(
        "DownloadOnlyFirstPattern: Server.ini file =Corrupted.. Exit",
        "PrepareMail: Switch=[10] Version=[Downloaded server.ini file is corrupted]",
        END,
    )
    assert server.take_paths() == ["server.ini"]
    assert app.mails() == []


def test_the_server_protect_mode_fetches_its_engines_and_products(t):
    keys = ("Path_VSAPI32_NT_I386", "Path_VSAPI32_NT_KD", "Path_VSAPI32_NLM", "Path_VSAPI32_VXD")
    app, server = only(t, "OnlySP", engines=keys, products=(1, 2, 3, 21), product_languages=("1",))
    run = app.run()
    fetched = server.take_paths()
    assert fetched[:3] == ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"]
    engines = [f"Engine/{key[5:].lower()}.zip" for key in keys[:3]]
    products = [f"Product/{n}/1/{name}.zip" for n in (1, 2, 21) for name in ("update", "full")]
    assert fetched[3:] == engines + products, fetched
    run.log.expect("GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NTKD", "GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NW")
    run.log.expect_count("PrepareMail: Switch=[2] Version=[NT 6.510]", 3)


def test_the_office_scan_mode_fetches_the_kernel_engine_twice(t):
    keys = ("Path_VSAPI32_NT_I386", "Path_VSAPI32_NT_KD", "Path_VSAPI32_NLM", "Path_VSAPI32_VXD")
    app, server = only(t, "OfficeScanOnly", engines=keys)
    run = app.run()
    fetched = [path for path in server.take_paths() if path.startswith("Engine/")]
    wanted = ("vsapi32_vxd", "vsapi32_nt_i386", "vsapi32_nt_kd", "vsapi32_nt_kd")
    assert fetched == [f"Engine/{name}.zip" for name in wanted], fetched
    run.log.expect(
        "StartActiveUpdate: reduce OfficeScan is enabled start reduce function",
        "StartActiveUpdate: reduce OfficeScan's products is Disabled",
        END,
    )
    run.log.expect("PrepareMail: Switch=[2] Version=[NTKD 6.510]", "PrepareMail: Switch=[2] Version=[NLM 6.510]")
    again = app.run()
    again.log.expect("GET_ENGINES_REDUCE: No new engines found... Abort the process for 95/98/Me ")
    assert server.take_paths() == ["server.ini"]


def test_a_failed_engine_of_a_reduced_mode_has_taken_the_old_one_away(t):
    app, server = only(t, "OnlySMEX", engines=("Path_VSAPI32_NT_I386",))
    app.run()
    name = "Engine/vsapi32_nt_i386.zip"
    assert name in app.files("ActiveUpdate")
    t.publish(t.offer, engines={"Path_VSAPI32_NT_I386": "6.600"})
    (server.root / "activeupdate" / name).unlink()
    run = app.run()
    run.log.expect("GET_ENGINES_REDUCE_I386: unable to Get Engines for Scan NT")
    assert name not in app.files("ActiveUpdate")
    assert ", 6.510, " in app.setting("ENGINE", "Path_VSAPI32_NT_I386", "ActiveUpdate/server.ini")


def test_several_reduced_modes_fetch_the_pattern_once(t):
    sections = {"SOURCES": {"OnlySP": "1", "OfficeScanOnly": "1", "OnlySMEX": "1", "ReduceOfficeScanProducts": "1"}}
    app, server = t.mirror(sections)
    run = app.run()
    run.log.expect_count("DownloadOnlyFirstPattern: Starting....", 1)
    run.log.expect_count("VerifyProductByIndex: Verify product number [6] [Lang: 64]", 2)
    run.log.refuse("StartActiveUpdate: Start Check Pattern updates")
    assert server.take_paths() == ["server.ini", "Pattern/vsapi.zip", "Pattern/whatsnew.txt"]


def test_no_reduced_mode_sends_the_product_mail(t):
    sections = {"SOURCES": {"OnlySP": "1"}, "NOTIFICATION": {"Enable_PRODUCTS_Send": "1"}}
    app, _ = t.mirror(sections, products=(1, 2), product_languages=("1",))
    run = app.run()
    assert "Product/1/1/full.zip" in app.files("ActiveUpdate")
    run.log.refuse("PrepareMail: Switch=[9]")


def test_the_archive_of_a_reduced_mode_is_the_service_s(t):
    app, server = only(t, "OnlySP", version="100")
    app.run()
    served = (server.root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == served
    assert (app.path / "ActiveUpdate/Source/lpt$vpn.100").read_bytes() == service.pattern_bytes("100")


if __name__ == "__main__":
    framework.main()
