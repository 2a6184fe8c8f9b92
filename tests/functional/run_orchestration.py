#!/usr/bin/python3
"""The order of a run: siblings, the dial-up handshake, and what a failed one leaves out."""

import time
from pathlib import Path

import framework  # first: it makes the other modules known
from waiting import wait_until

SESSION_OFF = {"SOURCES": {"EnableActiveUpdate": "0"}}


def starts_settle(app, name, count):
    """Unawaited programs may still be starting when the run has ended."""
    wait_until(lambda: len(app.starts_of(name)) >= count, f"{name} starts {count} times")
    assert len(app.starts_of(name)) == count, (name, app.starts_of(name))


def dial(app, answer):
    """A stand-in for the dial-up program: answers once the run has written that it waits."""
    wait = ("until-text Dialer.ini Connection=2", "until-text Dialer.ini Disconnect=0")
    app.install_sibling("Dialer.exe", *wait, f"write Dialer.ini [RAS]\\nConnection={answer}\\n")


def test_the_status_page_writer_is_started_five_times(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "APACHE": {"Enable": "1"}})
    app.install_sibling("PageScribe.exe")
    app.run()
    starts_settle(app, "PageScribe.exe", 5)


def test_the_client_check_and_the_first_add_on_are_awaited_in_order(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "OFFICESCAN_UPDATE": {"Enable": "1"}, "NOTIFICATION": {"EnableVirusNotifications": "True"}})
    app.install_sibling("ClientAudit.exe", "pause 300", "make audited")
    app.install_sibling("Ledgerbook.exe", "need audited", "make booked")
    app.install_sibling("Sharewell.exe")
    run = app.run()
    run.log.expect(f"StartActiveUpdate: Execute : {app.place}\\ClientAudit.exe", "Launch Ledgerbook.exe addon...")
    run.log.refuse("WaitFor:", "Launch Sharewell")
    assert (app.path / "booked").exists() and not app.starts_of("Sharewell.exe")


def test_missing_siblings_leave_no_trace_but_the_awaited_ones(t):
    app = t.app()
    sections = {"APACHE": {"Enable": "1"}, "OFFICESCAN_UPDATE": {"Enable": "1"}, "NOTIFICATION": {"EnableVirusNotifications": "1"}}
    app.write_settings({**SESSION_OFF, **sections})
    run = app.run()
    run.log.expect("WaitFor: Error code 53 File not found", "Launch Ledgerbook.exe addon...", "WaitFor: Error code 53 File not found")
    run.log.expect_count("WaitFor:", 2)
    run.log.refuse("StartingOperations: Error", "Loading... Error")


def test_a_sibling_that_may_not_be_executed_is_an_error_of_the_wait(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "OFFICESCAN_UPDATE": {"Enable": "1"}})
    app.put("ClientAudit.exe", b"MZ neither a program nor a script").chmod(0o755)
    run = app.run()
    run.log.expect("WaitFor: Error code 5 Invalid procedure call or argument")
    run.log.expect("StartingOperations: VLMR terminate...")


def test_children_get_neither_handles_nor_streams_of_the_run(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "OFFICESCAN_UPDATE": {"Enable": "1"}})
    app.install_sibling("ClientAudit.exe", "report seen")
    app.run()
    seen = app.report_of("seen")
    assert ("folder", app.place) in seen, seen
    if app.target.is_windows:
        streams = [leads for word, leads in seen if word in ("in", "out", "error")]
        assert len(streams) == 3 and not [leads for leads in streams if "VlMR" in leads or "output" in leads], seen
        return
    targets = [leads for word, leads in seen if word == "handle"]
    own = [name for name in targets if str(app.path) in name and not name.endswith(("/seen.new", "/ClientAudit.exe"))]
    assert not own, targets
    assert targets.count("/dev/null") >= 2, targets


def test_a_connected_line_lets_the_run_go_on_and_is_hung_up(t):
    app, server = t.mirror({"RAS": {"Enable": "True"}})
    dial(app, 1)
    run = app.run()
    run.log.expect(
        "StartingOperations: TSC is disabled",
        "DIALUP: Lauching Dialer.exe module",
        "DIALUP:  Response from RAS module connected",
        "StartActiveUpdate: Start",
    )
    assert app.setting("RAS", "Disconnect", "Dialer.ini") == "1"
    assert len(server.take_requests()) == 4


def test_a_failed_line_ends_the_run_at_once(t):
    for answer, lines in ((3, ["DIALUP:  Response from RAS module error to connecting.."]), (4, []), ("x", []), ("", [])):
        app = t.app(f"app{answer}")
        app.write_settings({**SESSION_OFF, "RAS": {"Enable": "1"}, "APACHE": {"Enable": "1"}})
        app.install_sibling("QueueMailer.exe")
        app.install_sibling("PageScribe.exe")
        dial(app, answer)
        run = app.run()
        start = run.log.scope("StartingOperations: START")
        start.expect_whole(
            [
                "StartingOperations: START",
                "StartingOperations: TSC is disabled",
                "DIALUP: Lauching Dialer.exe module",
                *lines,
            ]
        )
        assert app.setting("SERVICE", "CheckNow") == "0"
        assert "BackupLogs" not in app.folders()
        starts_settle(app, "QueueMailer.exe", 1)
        starts_settle(app, "PageScribe.exe", 1)


def test_manu_waits_for_the_line_as_well(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "RAS": {"Enable": "1"}})
    dial(app, 3)
    app.run("MANU").log.expect("DIALUP:  Response from RAS module error to connecting..")


def test_waiting_for_the_line_costs_no_processor_time(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "RAS": {"Enable": "1"}})
    child = app.start()
    wait_until(lambda: app.setting("RAS", "Connection", "Dialer.ini") == "2", "the run waits")
    wait_until(lambda: app.setting("RAS", "Disconnect", "Dialer.ini") == "0", "the line is not to be hung up")
    before, started = child.cpu_seconds(), time.monotonic()
    time.sleep(5)
    spent = (child.cpu_seconds() - before) * 10 / (time.monotonic() - started)
    print(f"  {spent:.2f} s of processor time in 10 s, taken over 5 s")
    assert child.running() and spent < 0.2, spent
    # It still looks: an answer ends the wait.
    app.write_settings({"RAS": {"Connection": "3"}}, file="Dialer.ini")
    assert child.wait(5) == 0


def test_waiting_for_a_sibling_costs_no_processor_time(t):
    app = t.app()
    app.write_settings({**SESSION_OFF, "OFFICESCAN_UPDATE": {"Enable": "1"}})
    app.install_sibling("ClientAudit.exe", "wait-for enough")
    child = app.start()
    wait_until(lambda: app.starts_of("ClientAudit.exe"), "the client check runs")
    before, started = child.cpu_seconds(), time.monotonic()
    time.sleep(5)
    spent = (child.cpu_seconds() - before) * 10 / (time.monotonic() - started)
    print(f"  {spent:.2f} s of processor time in 10 s, taken over 5 s")
    assert child.running() and spent < 0.2, spent
    app.put("enough", b"")
    assert child.wait(10) == 0
    app.log().refuse("Timer Killer")


def test_the_mail_sender_outlives_the_run_and_the_service_that_made_it(t):
    app = t.app()
    app.write_settings(SESSION_OFF)
    app.install_sibling("QueueMailer.exe", "wait-for over", "make sent")
    app.run()
    app.put("over", b"")
    wait_until(lambda: (app.path / "sent").exists(), "the mail sender ends its work")
    # By default systemd ends whatever a one-shot service has left running.
    unit = Path(__file__).resolve().parents[2] / "packaging" / "systemd" / "vlmr.service"
    assert "KillMode=process" in unit.read_text(encoding="utf-8").splitlines()


if __name__ == "__main__":
    framework.main()
