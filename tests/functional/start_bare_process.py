#!/usr/bin/python3
"""What a careless starter leaves a process: no standard streams, a limit on the size of files."""

import subprocess

import framework

SESSION_OFF = {"SOURCES": {"EnableActiveUpdate": "0"}}


def start_by_shell(app, words):
    """Runs the program by a shell that sets the stage first; returns the exit code."""
    command = ["/bin/sh", "-c", f'{words} exec "{app.executable}"']
    return subprocess.run(command, cwd=app.path, env=app.environment, timeout=30, check=False).returncode


@framework.only_on("linux", "Windows has neither closed streams nor such limits")
def test_siblings_are_started_without_standard_streams(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "OFFICESCAN_UPDATE": {"Enable": "1"}})
    app.install_sibling("ClientAudit.exe", "make audited")
    assert start_by_shell(app, "exec 0<&- 1>&- 2>&-;") == 0
    assert (app.path / "audited").exists()
    app.log().refuse("WaitFor: Error code")


@framework.only_on("linux", "Windows has neither closed streams nor such limits")
def test_a_limit_on_the_size_of_files_ends_no_run(t):
    app = t.app()
    app.write_settings(SESSION_OFF)
    assert start_by_shell(app, "ulimit -f 1;") == 0
    assert (app.path / "VlMR.log").stat().st_size <= 1024


if __name__ == "__main__":
    framework.main()
