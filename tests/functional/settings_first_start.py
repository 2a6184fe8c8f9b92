#!/usr/bin/python3
"""The settings file after a first start: which keys appear, in which order, and what stays as it was."""

import re

import framework  # first: it makes the other modules known
from log_lines import compare_text


def account(app):
    """The account features are asked for only where the system's major version, as text, is not above "4"."""
    return ["Enable_Credential=0"] if app.target.major_version <= "4" else []


def crlf(*lines):
    return "".join(line + "\r\n" for line in lines)


def test_a_first_start_with_a_command_writes_what_the_start_asks_for(t):
    for number, before in enumerate((None, "")):
        app = t.app(f"app{number}")
        expected = crlf(
            "[LOGS]",
            "Level=0",
            "MaxSize=150",
            "EnableDebugsWinsockHTTP=0",
            "EnableDebugPelgrun=0",
            "[SERVICE]",
            "ApiEnable=1",
            *account(app),
        )
        if before is not None:
            app.put("VLMR.ini", before)
        app.run("nothing")
        compare_text(app.text("VLMR.ini"), expected, "VLMR.ini")


def test_a_first_run_without_settings_ends_its_session_and_lists_the_defaults(t):
    app = t.app()
    run = app.run(seconds=90)
    run.log.expect("StartActiveUpdate: Start", "StartActiveUpdate: End with errors", "StartingOperations: VLMR terminate...")
    text = app.text("VLMR.ini")
    address = re.search(r"^ActiveUpdateMaster=(.*)\r$", text, re.MULTILINE)[1]
    assert re.fullmatch(r"http://[a-z0-9.-]+\.example/activeupdate", address), "an unconfigured run contacts nobody"
    expected = crlf(
        "[LOGS]",
        "Level=0",
        "MaxSize=150",
        "EnableDebugsWinsockHTTP=0",
        "EnableDebugPelgrun=0",
        "BackupByActions=1",
        "[SERVICE]",
        "ApiEnable=1",
        *account(app),
        "CheckNow=0",
        "[APACHE]",
        "Enable=0",
        "[SOURCES]",
        "EnableActiveUpdate=1",
        f"ActiveUpdateMaster={address}",
        "[FTP]",
        "EnableIntelligent=0",
        "EnableCPR=0",
    )
    compare_text(text, expected, "VLMR.ini")


def test_a_first_pass_adds_its_keys_and_keeps_what_the_operator_wrote(t):
    server = t.nginx(t.publish())
    app = t.app()
    before = [
        "; settings of the mirror in the cellar",
        "",
        "[sources]",
        f"activeupdatemaster = {server.base}",
        "",
        "[Proxy]",
        'Enable="0"',
        "a line that means nothing",
        "[LOGS]",
        "maxsize=100000 ",
        "; end",
    ]
    app.put("VLMR.ini", crlf(*before))
    app.run()
    assert len(server.take_requests()) == 4
    expected = crlf(
        *before[:4],
        "EnableActiveUpdate=1",
        "OnlySP=0",
        "OnlySMEX=0",
        *before[4:],
        "Level=0",
        "EnableDebugsWinsockHTTP=0",
        "EnableDebugPelgrun=0",
        "BackupByActions=1",
        "[SERVICE]",
        "ApiEnable=1",
        *account(app),
        "CheckNow=0",
        "[APACHE]",
        "Enable=0",
        "[FTP]",
        "EnableIntelligent=0",
        "EnableCPR=0",
    )
    compare_text(app.text("VLMR.ini"), expected, "VLMR.ini")


def test_a_second_start_does_not_write_the_settings_again(t):
    app, _ = t.mirror()
    app.run()
    before = app.states()["VLMR.ini"]
    app.run()
    assert app.states()["VLMR.ini"] == before


def test_an_empty_api_switch_is_rewritten_and_any_other_text_stays(t):
    app = t.app()
    app.write_settings({"SERVICE": {"ApiEnable": ""}})
    app.run("x")
    assert app.setting("SERVICE", "ApiEnable") == "1"
    app.write_settings({"SERVICE": {"ApiEnable": "yes"}})
    app.run("x")
    assert app.setting("SERVICE", "ApiEnable") == "yes"


def test_a_value_of_300_letters_is_read_as_254(t):
    app = t.app()
    base = "http://127.0.0.1:9/" + "a" * 281
    app.write_settings(framework.settings(base))
    app.run().log.expect(f"StartActiveUpdate: Get {base[:254]}/server.ini")


def test_a_switch_text_that_is_no_number_is_logged_and_the_run_goes_on(t):
    app, server = t.mirror({"SOURCES": {"TscEnable": "x"}, "FTP": {"EnableCPR": "99999"}})
    run = app.run()
    run.log.expect(
        "StartingOperations: START",
        "StartingOperations: Error 13 Type mismatch",
        "StartingOperations: TSC is disabled",
        "StartActiveUpdate: Start",
        "StartingOperations: Error 6 Overflow",
        "StartingOperations: All operations executed, clean old Patterns",
    )
    assert len(server.take_requests()) == 4


def test_settings_with_line_feeds_only_are_obeyed(t):
    server = t.nginx(t.publish())
    app = t.app()
    app.put("VLMR.ini", f"[SOURCES]\nActiveUpdateMaster={server.base}\n[Proxy]\nEnable=0\n")
    app.run()
    assert len(server.take_requests()) == 4


if __name__ == "__main__":
    framework.main()
