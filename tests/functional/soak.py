#!/usr/bin/python3
"""Many runs in a row on one application folder against a service that changes each time: nothing grows.

60 runs, 500 with VLMR_LONG=1, fewer where VLMR_KILLS says that a run takes long. A stand-in for ClientAudit.exe, which is
waited for behind the updates, looks from outside at the running program's memory and at its open files.
"""

import os
import re
import statistics

import framework  # first: it makes the other modules known
import service

BRIEF = int(os.environ.get("VLMR_KILLS", "50")) < 50
LONG = os.environ.get("VLMR_LONG") == "1"
RUNS = 500 if LONG else 15 if BRIEF else 60
INDEX = "ActiveUpdate/server.ini"
# Takes a line with the length of each increment that is fetched; nothing ever shortens it.
LENGTHS = "Downloaded.siz"
# The mirror's index takes four empty lines with each new version.
INDEX_GROWTH = 4 * len("\r\n")
# What comes and goes by the clock or by the stand-ins: at most one copy of the log each minute, and the log itself.
NOT_COUNTED = re.compile(r"^(BackupLogs/.*|VlMR\.log|.*\.exe\..*|watched|patch_mode\.txt|\.wine.*)$")
LOG_LIMIT_KIB = 150

# What the start of this very program takes is given back in a moment.
WATCH = r"""#!/bin/sh
cd "$(dirname "$0")"
while ls -l /proc/$PPID/fd | grep -qE ' ([3-9]|[0-9]{2,}) -> (pipe:|/dev/null)'; do sleep 0.01; done
{ grep -E '^(VmHWM|VmRSS):' /proc/$PPID/status; echo "Open: $(ls /proc/$PPID/fd | wc -l)"; } > watched
"""

SWITCHES = {"Engines": "1", "Products": "1", "OPP": "1", "MPP": "1", "SPAM": "1", "Alerts": "1"}


def prepared(t):
    """A mirror of everything, with its first version fetched already; what follows are updates."""
    engines = {"Path_VSAPI32_NLM": "6.100", "Path_VSAPI32_LINUX": "6.100"}
    server = t.nginx(t.publish(
        version="100", pattern_kib=16, engines=engines, engine_bytes=4000,
        products=(6, 22), product_version="1.100", product_sizes={(p, lang): (2000, 1000) for p in (6, 22) for lang in "1 16 64".split()},
        auxiliary={key: "1.100" for key in service.AUXILIARY},
    ))  # fmt: skip
    app = t.app()
    sources = {**SWITCHES, "ActiveUpdateEPS": server.base.replace("activeupdate", "eps")}
    sections = {"SOURCES": sources, "OFFICESCAN_UPDATE": {"Enable": "1"}, "NOTIFICATION": {"Enable": "1"}}
    sections["LOGS"] = {"MaxSize": str(LOG_LIMIT_KIB)}
    app.write_settings(framework.settings(server.base, sections))
    app.install_patch_program()
    if not app.target.is_windows:
        app.put("ClientAudit.exe", WATCH).chmod(0o755)
    app.run()
    take_mails(app)
    return app


def change(t, number):
    """The service's next state: a version with its increment each time, the rest now and then."""
    changes = {"version": str(100 + number), "increments_from": (str(99 + number),)}
    if number % 3 == 0:
        changes["product_version"] = f"1.{100 + number}"
    if number % 4 == 0:
        changes["auxiliary"] = {key: f"1.{100 + number}" for key in service.AUXILIARY}
    if number % 5 == 0:
        changes["engines"] = {key: f"6.{100 + number}" for key in t.offer.engines}
    t.publish(t.offer, **changes)


def take_mails(app):
    """Does what the mail program would: empties the queue. Returns the number of mails."""
    files = list((app.path / "mQueue").glob("*"))
    for file in files:
        file.unlink()
    return len(files) // 2


def watched(app):
    """Peak and present memory in KiB and the open files, as they were behind the updates; None on Windows."""
    if app.target.is_windows:
        return None
    return tuple(int(number) for number in re.findall(r"\d+", (app.path / "watched").read_text()))


def counted(app):
    """Files of the folder that do not come and go, with their lengths; names are those of any version."""
    files = {re.sub(r"lpt\$vpn\.\d+$", "lpt$vpn.N", name): size for name, size in app.files().items()}
    return {name: size for name, size in files.items() if not NOT_COUNTED.match(name)}


def middle(values):
    return statistics.median(values)


def test_nothing_grows_over_many_runs_of_which_each_finds_something_new(t):
    app = prepared(t)
    seconds, cpu, looks, folders, logs, mails = [], [], [], [], [], 0
    for number in range(1, RUNS + 1):
        change(t, number)
        run = app.run(seconds=60)
        version = str(100 + number)
        assert app.setting("PATTERN", "Version", INDEX) == version
        assert (app.path / f"Pattern/lpt$vpn.{version}").read_bytes() == service.pattern_bytes(version, kib=16)
        # The log may have begun anew just before its last line.
        assert run.log[-1] == "StartingOperations: Enable Timer for Killing process", run.log
        mails += take_mails(app)
        seconds.append(run.seconds)
        cpu.append(run.cpu_seconds)
        looks.append(watched(app))
        folders.append(counted(app))
        logs.append(app.files()["VlMR.log"])
    assert mails >= RUNS, mails
    check_folder(app, folders, logs)
    check_times(app, seconds, cpu)
    if not app.target.is_windows:
        check_process(looks)


def check_folder(app, folders, logs):
    """The same files after each run as after the first, and an index that takes its empty lines only."""
    for number, found in enumerate(folders, 1):
        assert found.keys() == folders[0].keys(), f"run {number}: {sorted(found.keys() ^ folders[0].keys())}"
    index = [found[INDEX] for found in folders]
    growth = {later - earlier for earlier, later in zip(index, index[1:])}
    rest = [sum(found.values()) - found[INDEX] - found[LENGTHS] for found in folders]
    print(f"  {len(folders)} runs: {len(folders[0])} files after each, {rest[0]} bytes after the first, {rest[-1]} after the last;")
    print(f"  the index {index[0]} -> {index[-1]} bytes, {sorted(growth)} a run; {LENGTHS} {folders[-1][LENGTHS]} bytes;", end=" ")
    print(f"the log at most {max(logs)} bytes; {len(list((app.path / 'BackupLogs').glob('*')))} copies of it")
    # Versions and sizes keep their lengths here, so that nothing but the empty lines can make the index longer.
    assert growth == {INDEX_GROWTH}, growth
    assert len(app.text(LENGTHS).splitlines()) == len(folders), "a line for the increment of each run"
    # The archive packs a little better or worse with each version.
    assert abs(rest[-1] - rest[0]) <= 100, (rest[0], rest[-1])
    assert max(logs) <= LOG_LIMIT_KIB * 1024 + 400, max(logs)


def check_times(app, seconds, cpu):
    """The last runs take no longer than the first."""
    some = min(50, len(seconds) // 3)
    first, last = middle(seconds[:some]), middle(seconds[-some:])
    first_cpu, last_cpu = middle(cpu[:some]), middle(cpu[-some:])
    print(f"  median of the first and the last {some} runs: {first * 1000:.0f} and {last * 1000:.0f} ms of time,", end=" ")
    print(f"{first_cpu * 1000:.1f} and {last_cpu * 1000:.1f} ms of processor")
    if app.target.is_windows or BRIEF:
        return  # so few runs tell nothing
    # Other tests share the machine, now more of them and now fewer: the processor's time is the sharper measure, and among a few
    # runs the quickest.
    assert min(cpu[-some:]) <= 1.5 * min(cpu[:some]), (cpu[:some], cpu[-some:])
    if LONG:
        assert last_cpu <= 1.3 * first_cpu, (first_cpu, last_cpu)
    assert min(seconds[-some:]) <= 2 * min(seconds[:some]), (seconds[:some], seconds[-some:])


def check_process(looks):
    """Memory and open files behind the updates."""
    some = min(50, len(looks) // 3)
    peaks, present, opened = zip(*looks)
    print(f"  memory: peak {max(peaks[:some])} KiB in the first runs, {max(peaks[-some:])} in the last; open files {sorted(set(opened))}")
    assert max(peaks[-some:]) <= 1.1 * max(peaks[:some]), (peaks[:some], peaks[-some:])
    assert max(present[-some:]) <= 1.1 * max(present[:some]), (present[:some], present[-some:])
    assert set(opened) == {opened[0]} and opened[0] < 20, sorted(set(opened))


if __name__ == "__main__":
    framework.main()
