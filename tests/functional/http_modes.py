#!/usr/bin/python3
"""The four transfer modes, against a real web server and a real proxy."""

import framework  # first: it makes the other modules known
import expected_log
from log_lines import compare_lines


def check_mode(t, api, proxy, mode_line):
    """A first pass in one mode: every file arrives, by the road that the mode names."""
    root = t.publish()
    server = t.nginx(root)
    gateway = t.tinyproxy() if proxy else None
    app = t.app()
    sections = {"SERVICE": {"ApiEnable": api}, "Proxy": {"Enable": "0"}}
    if proxy:
        sections["Proxy"] = {"Enable": "1", "ProxyName": "127.0.0.1", "Port": str(gateway.port)}
    app.write_settings(framework.settings(server.base, sections))
    run = app.run()
    local = app.own("\\TempDownload\\ActiveUpdate\\server.ini")
    block = run.log.scope("DownloadFiles: Initialize", "StartActiveUpdate:")[:-1]
    compare_lines(block, expected_log.download(f"{server.base}/server.ini", local, mode_line))
    run.log.expect_count(mode_line, 4)
    requests = server.take_requests()
    assert len(requests) == 4 and all(r.status == 200 for r in requests), requests
    assert all(("tinyproxy" in r.via) == proxy for r in requests), requests
    served = (root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == served


def test_direct_api_mode_brings_every_file(t):
    check_mode(t, "1", False, expected_log.DIRECT_API)


def test_direct_winsock_mode_brings_every_file(t):
    check_mode(t, "0", False, expected_log.DIRECT_WINSOCK)


def test_proxy_api_mode_brings_every_file(t):
    check_mode(t, "1", True, expected_log.proxy_api("127.0.0.1"))


def test_proxy_winsock_mode_brings_every_file(t):
    check_mode(t, "0", True, expected_log.PROXY_WINSOCK)


def test_an_api_switch_of_any_other_text_than_1_selects_winsock(t):
    check_mode(t, "yes", False, expected_log.DIRECT_WINSOCK)


def test_the_web_server_port_counts_in_all_four_modes_when_the_address_names_none(t):
    root = t.publish()
    server = t.nginx(root)
    gateway = t.tinyproxy()
    for api in ("1", "0"):
        for proxy in ("1", "0"):
            app = t.app(f"app{api}{proxy}")
            sections = {
                "SERVICE": {"ApiEnable": api, "WebServerPort": str(server.port)},
                "Proxy": {"Enable": proxy, "ProxyName": "127.0.0.1", "Port": str(gateway.port)},
            }
            app.write_settings(framework.settings("http://127.0.0.1/activeupdate", sections))
            run = app.run()
            run.log.expect(f"DownloadFiles: Remote port ={server.port}")
            assert server.take_paths()[:2] == ["server.ini", "Pattern/vsapi.zip"]


def test_a_port_in_the_address_wins_over_the_setting(t):
    app, server = t.mirror({"SERVICE": {"WebServerPort": "9"}})
    run = app.run()
    run.log.expect("DownloadFiles: Remote port =9")
    assert server.take_paths()[0] == "server.ini"


def proxy_with_log_in(t, api, user, password, folder="app"):
    server = t.nginx(t.publish(), folder=f"nginx-{folder}")
    gateway = t.tinyproxy(user="operator", password="passWord1", folder=f"proxy-{folder}")
    app = t.app(folder)
    proxy = {"Enable": "1", "ProxyName": "127.0.0.1", "Port": str(gateway.port), "User": user, "Password": password}
    app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}, "Proxy": proxy}))
    return app, server, app.run()


def test_a_proxy_that_asks_for_a_log_in_is_used_in_both_proxy_modes(t):
    for api in ("1", "0"):
        app, server, _ = proxy_with_log_in(t, api, "operator", "passWord1", f"app{api}")
        assert len(server.take_requests()) == 4
        # A password in clear text is obeyed and left as the operator wrote it.
        assert app.setting("Proxy", "Password") == "passWord1"


def test_a_refused_log_in_at_the_proxy_fails_the_transfer(t):
    app, server, run = proxy_with_log_in(t, "1", "operator", "wrong")
    # This proxy answers 407 to no log-in at all and 401 to a wrong one.
    run.log.expect("DownloadFiles: HTTP Error [401%ANY%]", "StartActiveUpdate: End with errors")
    assert server.take_requests() == []
    assert not (app.path / "TempDownload/ActiveUpdate/server.ini").exists()


def test_a_failure_in_winsock_mode_writes_no_error_line(t):
    app, server, run = proxy_with_log_in(t, "0", "", "")
    run.log.refuse("DownloadFiles: HTTP Error", "DownloadFiles: error")
    run.log.expect("StartActiveUpdate: End with errors")
    assert server.take_requests() == []


def test_proxy_mode_without_a_proxy_name_transfers_directly(t):
    root = t.publish()
    server = t.nginx(root)
    app = t.app()
    # No [Proxy] section at all: "Enable" defaults to on.
    app.write_settings({"SOURCES": {"ActiveUpdateMaster": server.base}})
    run = app.run()
    run.log.expect_count("DownloadFiles: Switch to proxy Mode API.. []", 4)
    assert len(server.take_requests()) == 4


def test_proxy_variables_of_the_environment_are_ignored(t):
    app, server = t.mirror()
    nowhere = "http://127.0.0.1:9"
    names = ("http_proxy", "HTTP_PROXY", "https_proxy", "all_proxy", "ALL_PROXY")
    app.run(environment={name: nowhere for name in names})
    assert len(server.take_requests()) == 4


def test_a_proxy_switch_of_another_number_transfers_nothing_and_the_run_ends(t):
    app, server = t.mirror({"Proxy": {"Enable": "2"}})
    run = app.run()
    run.log.refuse("DownloadFiles: Switch to Direct", "DownloadFiles: Switch to proxy", "StartActiveUpdate: End with")
    run.log.expect(
        "DownloadFiles: Switch to HTTP protocol....",
        "DownloadFiles: --------------------------------------------%V%",
        "StartActiveUpdate: Start Check Pattern updates",
        "StartActiveUpdate: Error to download ",
        "DownloadWhatsNew: Find Whatsnew inexistant ! new viruses",
        "StartingOperations: All operations executed, clean old Patterns",
    )
    assert server.take_requests() == []


def test_switch_and_port_texts_that_are_no_numbers_are_errors_without_a_footer(t):
    cases = [
        ({"Proxy": {"Enable": "abc"}}, "DownloadFiles: error 13 Type mismatch"),
        ({"SERVICE": {"WebServerPort": "eighty"}}, "DownloadFiles: error 13 Type mismatch"),
        ({"SERVICE": {"WebServerPort": "40000"}}, "DownloadFiles: error 6 Overflow"),
        ({"Proxy": {"Enable": "1", "ProxyName": "127.0.0.1", "Port": "70000"}}, "DownloadFiles: error 6 Overflow"),
    ]
    server = t.nginx(t.publish())
    for number, (sections, line) in enumerate(cases):
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base, sections))
        run = app.run()
        run.log.expect(line, "StartActiveUpdate: End with errors")
        run.log.refuse("DownloadFiles: --------------------------------------------1")
        assert server.take_requests() == []


def test_the_monitor_keys_appear_only_after_a_winsock_download(t):
    app, _ = t.mirror()
    app.run()
    assert app.setting("SERVICE", "ViewMonitor") is None
    app.write_settings(framework.settings("http://127.0.0.1:9/activeupdate", {"SERVICE": {"ApiEnable": "0"}}))
    app.run()
    assert app.setting("SERVICE", "ViewMonitorAllTheTime") == "0"
    assert app.setting("SERVICE", "ViewMonitor") == "0"


if __name__ == "__main__":
    framework.main()
