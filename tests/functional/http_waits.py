#!/usr/bin/python3
"""Waiting for a server: how long, at what cost in processor time, and how it ends."""

import framework  # first: it makes the other modules known
import time

import faulty_server as faults
from waiting import scaled, wait_until

# Under 0.2 s of processor time in 10 s of waiting.
CPU_SHARE = 0.02


def wait_and_measure(child, seconds):
    """Share of processor time that the child takes while it waits."""
    before, started = child.cpu_seconds(), time.monotonic()
    time.sleep(seconds)
    assert child.running(), "it does not wait any more"
    return (child.cpu_seconds() - before) / (time.monotonic() - started)


def stalled_runs(t):
    """One run for each kind of silence in each kind of transfer, all at the same time."""
    root = t.publish()
    kinds = {
        "before the answer": faults.stall(),
        "behind the headers": faults.stall(after_headers=True),
        "within the body": faults.stall(after_bytes=100),
    }
    runs = []
    for api in ("1", "0"):
        for name, fault in kinds.items():
            server = t.faulty_server(root)
            server.fault("server.ini", fault)
            app = t.app(f"app{len(runs)}")
            app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}}))
            child = app.start()
            wait_until(lambda s=server: s.requests, "the request arrives")
            runs.append((f"{name}, ApiEnable={api}", app, child))
    return runs


def test_a_silent_server_costs_no_processor_time_and_is_given_up_after_a_minute(t):
    runs = stalled_runs(t)
    started = time.monotonic()
    time.sleep(1)
    before = [child.cpu_seconds() for _, _, child in runs]
    time.sleep(10)
    for (name, _, child), used in zip(runs, before):
        assert child.running(), name
        spent = child.cpu_seconds() - used
        print(f"  {name}: {spent:.2f} s of processor time in 10 s")
        assert spent < 0.2, (name, spent)
    for name, app, child in runs:
        assert child.wait(90) == 0, name
        seconds = time.monotonic() - started
        assert 50 < seconds < scaled(80), (name, seconds)
        log = app.log()
        log.expect("StartActiveUpdate: End with errors")
        log.expect_count("DownloadFiles: HTTP Error [", 1 if name.endswith("1") else 0)
        log.refuse("Timer Killer")
        assert app.files("TempDownload") == {}, name


def test_a_trickle_is_no_silence_and_costs_little(t):
    app, server = t.faulty_mirror()
    server.fault("server.ini", faults.trickle(piece=8, interval=0.1))
    child = app.start()
    wait_until(lambda: server.requests, "the request arrives")
    share = wait_and_measure(child, 4)
    print(f"  {share * 10:.2f} s of processor time in 10 s")
    assert share < CPU_SHARE
    assert child.wait(30) == 0
    app.log().expect("StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[100]")


def test_what_a_killed_run_left_is_removed_by_the_next(t):
    app, server = t.faulty_mirror()
    server.fault("Pattern/vsapi.zip", faults.stall(after_bytes=1000), None)
    child = app.start()
    wait_until(lambda: "Pattern/vsapi.zip" in server.paths(), "the archive is asked for")
    wait_until(app.temporary_files, "the body is written beside its target")
    child.kill()
    assert app.temporary_files()
    app.run()
    assert not app.temporary_files()
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}


def test_a_request_to_end_is_obeyed_while_a_download_waits(t):
    app, server = t.faulty_mirror()
    server.fault("server.ini", faults.stall())
    child = app.start()
    wait_until(lambda: server.requests, "the request arrives")
    app.ways_to_end()[0](child)
    assert child.wait(10) == 0
    assert app.log()[-1] == "Unloading: [0] Terminate"


def test_a_request_to_end_in_the_middle_of_a_body_leaves_no_half_file_in_either_component(t):
    server = t.faulty_server(t.publish())
    server.fault("Pattern/vsapi.zip", faults.stall(after_bytes=1000))
    for api in ("1", "0"):
        app = t.app(f"app{api}")
        app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}}))
        child = app.start()
        wait_until(app.temporary_files, "the body is written beside its target")
        app.ways_to_end()[0](child)
        assert child.wait(10) == 0
        assert app.log()[-1] == "Unloading: [0] Terminate"
        assert not app.temporary_files()
        assert "ActiveUpdate/Pattern/vsapi.zip" not in app.files()


if __name__ == "__main__":
    framework.main()
