#!/usr/bin/python3
"""The command words, and what each start does before it looks at them."""

import ntpath
import os

import framework  # first: it makes the other modules known
from waiting import wait_until

FIRST = "Loading: Initialize parameters"
BANNER = "Velmora Pelgrun.exe Start "
RUN = "StartingOperations: START"


def test_the_banner_stands_only_in_the_log_of_a_normal_run(t):
    app, _ = t.mirror()
    app.run().log.expect(FIRST, "Velmora Pelgrun.exe Start Velmora Pelgrun %V%", RUN)
    for command in ("Mp", "OPATCH", "/DLLs", "PRODx!3", "nothing"):
        app.run(command).log.refuse(BANNER, RUN)


def test_manu_starts_a_run_without_the_banner(t):
    app, server = t.mirror()
    for command in ("MANU", "MANU  ", "  MANU"):
        run = app.run(command)
        run.log.expect(FIRST, f"Command: [{command}]", RUN, "StartingOperations: Enable Timer for Killing process")
        run.log.refuse(BANNER, "Command: sTCom")
        assert "server.ini" in server.take_paths()


def test_command_words_in_another_case_and_unknown_words_do_nothing(t):
    app, server = t.mirror()
    for command, start in (("MP", "MP"), ("mp", "mp"), ("manu", "manu"), ("opatch", "opat"), ("/dlls", "/dll")):
        app.run(command).log.expect_whole([FIRST, f"Command: [{command}]", f"Command: sTCom=[{start}]"])
    app.run("prodx!3").log.expect_whole([FIRST, "Command: [prodx!3]", "Command: sTCom=[prod]"])
    app.run("MANUAL").log.expect_whole([FIRST, "Command: [MANUAL]", "Command: sTCom=[MANU]"])
    assert server.take_requests() == []
    assert app.folders() == set()


def test_several_arguments_are_one_command_joined_by_blanks(t):
    app = t.app()
    app.run("foo", "bar").log.expect_whole([FIRST, "Command: [foo bar]", "Command: sTCom=[foo ]"])


def test_a_command_of_blanks_is_logged_and_ends_without_a_run(t):
    app, server = t.mirror()
    app.run("   ").log.expect_whole([FIRST, "Command: [   ]", "Command: sTCom=[]"])
    assert server.take_requests() == []


def test_opatch_makes_the_published_tree_and_asks_no_server(t):
    app, server = t.mirror()
    run = app.run("OPATCH")
    run.log.expect(FIRST, "Command: [OPATCH]", "TestingFolder: Verify folders Start", "TestingFolder: Verify folders End")
    run.log.expect_count("TestingFolder: Verify folders Start", 1)
    names = "Engine Pattern ServerProtect Product Source".split()
    assert app.folders() == {"ActiveUpdate", *(f"ActiveUpdate/{name}" for name in names)}, app.folders()
    assert server.take_requests() == []


def test_opatch_reports_a_file_that_has_the_name_of_the_tree(t):
    app = t.app()
    app.put("ActiveUpdate", "a file")
    run = app.run("OPATCH")
    run.log.expect("TestingFolder: Verify folders Start", "Loading... Error number 75 Path/File access error")
    run.log.refuse("TestingFolder: Verify folders End")


def test_prod_takes_language_and_product_number_from_its_fields(t):
    app = t.app()
    run = app.run("PRODx!3")
    run.log.expect("Command: [PRODx!3]", "Command: sTCom=[PROD]", "Command: [PROD] [x][3]")
    # Four characters are dropped from the line as it stands, blanks in front included.
    app.run("  PRODx!3").log.expect("Command: sTCom=[PROD]", "Command: [PROD] [ODx][3]")
    app.run("PROD 64 ! 22 ! more").log.expect("Command: [PROD] [64 ][ 22 ]")


def test_prod_without_a_second_field_is_an_error(t):
    app = t.app()
    run = app.run("PRODx")
    run.log.expect("Command: sTCom=[PROD]", "Loading... Error number 9 Subscript out of range")
    run.log.refuse("Command: [PROD] [", "VerifyProductByIndex:")


def test_prod_with_a_bad_product_number_is_an_error(t):
    app = t.app()
    app.run("PRODx!three").log.expect("Command: [PROD] [x][three]", "Loading... Error number 13 Type mismatch")
    app.run("PRODx!40000").log.expect("Command: [PROD] [x][40000]", "Loading... Error number 6 Overflow")


def test_the_module_report_names_the_executable_first(t):
    app = t.app()
    app.put("PelgrunDLLs.txt", "an earlier report")
    app.run("/DLLs").log.expect_whole([FIRST, "Command: [/DLLs]"])
    lines = app.text("PelgrunDLLs.txt").split("\r\n")
    assert lines[0] == lines[2] == "=" * 35 and lines[3] == "", lines[:4]
    assert lines[1].startswith("Dependencies for Pelgrun ") and lines[1].count(".") == 2, lines[1]
    assert lines[4] == app.target.own_path(app.executable), lines[4]
    modules = lines[4:-1]
    is_absolute, library = (ntpath.isabs, "kernel32.dll") if app.target.is_windows else (os.path.isabs, "libc.so")
    assert lines[-1] == "" and all(is_absolute(line) for line in modules), modules
    assert len(modules) == len(set(modules)) and any(library in line for line in modules), modules


def test_the_mail_sender_is_started_once_by_a_command_and_twice_by_a_run(t):
    app, _ = t.mirror()
    app.install_sibling("QueueMailer.exe")
    for command in ("Mp", "OPATCH", "PRODx!3", "unknown"):
        before = len(app.starts_of("QueueMailer.exe"))
        app.run(command)
        wait_until(lambda b=before: len(app.starts_of("QueueMailer.exe")) > b, "the mail sender starts")
        assert len(app.starts_of("QueueMailer.exe")) == before + 1, command
    before = len(app.starts_of("QueueMailer.exe"))
    app.run()
    wait_until(lambda: len(app.starts_of("QueueMailer.exe")) == before + 2, "the mail sender starts twice")


def test_a_missing_mail_sender_leaves_no_trace(t):
    app, _ = t.mirror()
    app.run("Mp").log.refuse("Loading... Error number")
    app.run().log.refuse("Loading... Error number", "WaitFor:")


def test_a_switch_that_is_no_number_is_reported_and_counts_as_off(t):
    app = t.app()
    app.write_settings({"LOGS": {"EnableDebugPelgrun": "maybe", "EnableDebugsWinsockHTTP": "99999"}})
    run = app.run("x")
    run.log.expect("Loading... Error number 6 Overflow", "Loading... Error number 13 Type mismatch", "Command: [x]")
    assert not [name for name in app.files() if name.count(".") > 3], "no temporary log is written"


if __name__ == "__main__":
    framework.main()
