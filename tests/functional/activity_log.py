#!/usr/bin/python3
"""The activity log: which lines it takes, how large it grows, its copies and the temporary log."""

import re

import framework  # first: it makes the other modules known

COMMAND_LINES = ["Loading: Initialize parameters", "Command: [x]", "Command: sTCom=[x]"]


def test_detail_lines_stand_in_the_log_of_level_1_and_nothing_else(t):
    app, _ = t.mirror({"LOGS": {"Level": "1"}})
    top = f"{app.place}\\ActiveUpdate"
    run = app.run()
    run.log.expect(f"{top}= ", f"Create {top}= ", f"{top}\\Engine= ", f"Create {top}\\Engine= ")
    staging = f"{app.place}\\TempDownload"
    run.log.expect(f"{staging}= ", f"Create {staging}=", f"{staging}\\ActiveUpdate= ")
    assert run.log[-1] == f"Loading: Launch {app.place}\\QueueMailer.exe"
    created = [line for line in run.log if line.startswith("Create ")]
    assert len(created) == 12 and len(run.log) == 25, run.log
    again = app.run()
    again.log.expect(f"{top}= ActiveUpdate", f"{top}\\Source= Source", f"{staging}\\ActiveUpdate\\Product= Product")
    again.log.refuse("Create ")


def test_level_0_leaves_the_details_out(t):
    app, _ = t.mirror({"LOGS": {"Level": "0"}})
    app.run().log.refuse("Create ", "Loading: Launch ", app.place)


def test_other_levels_write_nothing(t):
    for number, level in enumerate(("2", "-1", "loud")):
        app = t.app(f"app{number}")
        app.write_settings({"LOGS": {"Level": level}})
        assert app.run("x").log == []
        assert "VlMR.log" not in app.files()


def test_a_log_above_its_limit_is_begun_anew_before_the_line(t):
    # At exactly 150 KB the first line is still appended; the second one finds the file too large.
    for size, wanted in ((153_600, COMMAND_LINES[1:]), (153_601, COMMAND_LINES)):
        app = t.app(f"app{size}")
        app.write_settings({"LOGS": {"MaxSize": "150"}})
        app.put("VlMR.log", b"x" * (size - 2) + b"\r\n")
        app.run("x")
        app.log().expect_whole(wanted)


def test_a_limit_of_zero_keeps_the_last_line_only(t):
    app = t.app()
    app.write_settings({"LOGS": {"MaxSize": "0"}})
    app.run("x")
    app.log().expect_whole(COMMAND_LINES[-1:])


def test_a_limit_that_is_no_number_is_no_limit(t):
    app = t.app()
    app.write_settings({"LOGS": {"MaxSize": "1,5"}})
    app.put("VlMR.log", "1 : [VlMr]" + "x" * 400_000 + "\r\n")
    app.run("x").log.expect_whole(COMMAND_LINES)
    assert len(app.log_bytes()) > 400_000


def test_a_run_leaves_a_dated_copy_of_its_log(t):
    app, _ = t.mirror()
    app.run()
    copies = list(app.files("BackupLogs"))
    assert len(copies) == 1 and re.fullmatch(r"\d\d-\d\d-\d{4}_\d\d-\d\d_logs\.logs", copies[0]), copies
    copy = (app.path / "BackupLogs" / copies[0]).read_bytes()
    assert copy and app.log_bytes().startswith(copy)
    assert app.log_bytes()[len(copy) :].split(b"\r\n")[0].endswith(
        b"StartingOperations: All operations executed, clean old Patterns"
    )


def test_the_copy_is_made_only_when_its_switch_is_1(t):
    for number, value in enumerate(("0", "2", "x")):
        app = t.app(f"app{number}")
        app.write_settings({"SOURCES": {"EnableActiveUpdate": "0"}, "LOGS": {"BackupByActions": value}})
        app.run()
        assert "BackupLogs" not in app.folders(), value


def test_the_temporary_log_holds_what_follows_the_debug_switch_whatever_the_level(t):
    for number, level in enumerate(("0", "2")):
        app = t.app(f"app{number}")
        app.write_settings({"LOGS": {"EnableDebugPelgrun": "1", "Level": level, "MaxSize": "100000"}})
        app.run("x")
        names = [name for name in app.files() if re.fullmatch(r"VlMr\.\d{4}\.\d{1,2}\.\d{1,2}(\.\d\d){3}\.log", name)]
        assert len(names) == 1, app.files()
        messages = [line.split(" : [VlMr]", 1)[1] for line in app.text(names[0]).split("\r\n")[:-1]]
        assert messages == COMMAND_LINES[1:], messages


def test_every_line_carries_date_name_and_message(t):
    app = t.app()
    app.run("x")
    for line in app.log_bytes().split(b"\r\n")[:-1]:
        assert re.match(f"^{app.target.moment} : \\[VlMr\\]\\w".encode(), line), line


if __name__ == "__main__":
    framework.main()
