#!/usr/bin/python3
"""One run at a time for each executable, and a lock that no death leaves behind."""

import framework  # first: it makes the other modules known
from waiting import wait_until

REFUSED = ["Loading: Initialize parameters", "Loading: Previous Instance detected...aborting"]


def waiting_app(t):
    """A run that waits for the dial-up program until it is told otherwise."""
    app = t.app()
    app.write_settings({"SOURCES": {"EnableActiveUpdate": "0"}, "RAS": {"Enable": "1"}})
    child = app.start()
    wait_until(lambda: app.setting("RAS", "Connection", "Dialer.ini") == "2", "the run waits for the dial-up program")
    return app, child


def end_waiting(app, child):
    app.write_settings({"RAS": {"Connection": "3"}}, file="Dialer.ini")
    assert child.wait(10) == 0


def test_a_second_start_is_refused_before_its_command_is_looked_at(t):
    app, child = waiting_app(t)
    for arguments in ((), ("Mp",), ("MANU",), ("   ",)):
        app.run(*arguments).log.expect_whole(REFUSED)
    end_waiting(app, child)
    app.run("x").log.expect("Command: [x]")


def test_a_refused_start_has_started_the_mail_sender(t):
    app, child = waiting_app(t)
    app.install_sibling("QueueMailer.exe")
    app.run("Mp")
    wait_until(lambda: len(app.starts_of("QueueMailer.exe")) == 1, "the mail sender starts")
    end_waiting(app, child)


def test_a_copy_in_another_folder_is_another_program(t):
    app, child = waiting_app(t)
    other = t.app("other")
    other.run("x").log.expect("Command: [x]")
    end_waiting(app, child)


def test_a_killed_run_does_not_block_the_next(t):
    app, child = waiting_app(t)
    child.kill()
    app.run("x").log.expect("Command: [x]")


def test_a_mail_sender_that_outlives_the_run_does_not_block_the_next(t):
    app = t.app()
    app.install_sibling("QueueMailer.exe", "never-end")
    app.run("x")
    wait_until(lambda: app.starts_of("QueueMailer.exe"), "the mail sender starts")
    assert app.run("y").log[-1] == "Command: sTCom=[y]"


def test_a_refused_start_leaves_the_temporary_files_of_the_running_one_alone(t):
    app, child = waiting_app(t)
    path = app.put("TempDownload/ActiveUpdate/x.zip.vlmr-tmp", b"half a file")
    app.run("Mp").log.expect_whole(REFUSED)
    assert path.exists()
    end_waiting(app, child)
    path.unlink(missing_ok=True)


def test_the_name_in_the_log_is_that_of_the_running_file_without_its_extension(t):
    for number, (file, shown) in enumerate((("Mirror.exe", "Mirror"), ("Spare.Mirror.exe", "Spare.Mirror"), ("m", "m"))):
        app = t.app(f"app{number}", name=file)
        app.name = shown
        app.run("x").log.expect("Command: [x]")


def test_a_request_to_end_is_logged_and_ends_with_code_0(t):
    for number, ask in enumerate(t.app("asks").ways_to_end()):
        app = t.app(f"app{number}")
        app.write_settings({"RAS": {"Enable": "1"}})
        child = app.start()
        wait_until(lambda a=app: a.setting("RAS", "Connection", "Dialer.ini") == "2", "the run waits")
        ask(child)
        assert child.wait(10) == 0
        assert app.log()[-1] == "Unloading: [0] Terminate"


if __name__ == "__main__":
    framework.main()
