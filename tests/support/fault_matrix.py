"""Faults times kinds of content: each pair is played on a fresh copy of one prepared folder, several side by side.

A test makes `Case`s, hands them and its players (each an application folder with a server of its own) to `play_all`, and
gets the rows of a matrix printed: the fault, the kind, what the log says, what is published afterwards.
"""

import os
import queue
import shutil
import threading
import time
import traceback
from dataclasses import dataclass

LONG = os.environ.get("VLMR_LONG") == "1"
# The usual number is 50; where runs take long, the tests are told to do with fewer.
SHARE = 1.0 if LONG else min(1.0, int(os.environ.get("VLMR_KILLS", "50")) / 50)
WORKERS = 4


@dataclass(frozen=True)
class Case:
    """One fault met by one kind of content."""

    fault: object
    """With a `name`."""
    kind: object
    """With a `name`."""


def pairs(faults, kinds):
    return [Case(fault, kind) for fault in faults for kind in kinds]


def chosen(cases, draw, share=SHARE):
    """The cases of this run: all of them, or a drawn share, as where the machine is slow."""
    if share >= 1:
        return cases
    count = max(1, round(len(cases) * share))
    places = sorted(draw.sample(range(len(cases)), count))
    return [cases[place] for place in places]


def restore(app, prepared):
    """Puts the application folder back to the prepared state; the executable stays where it is."""
    for path in app.path.iterdir():
        if path == app.executable:
            continue
        shutil.rmtree(path) if path.is_dir() else path.unlink()
    shutil.copytree(prepared, app.path, dirs_exist_ok=True)


def prepared_from(app, folder):
    """Keeps the state of an application folder for `restore`: everything but the executable and the log."""
    own = {app.executable.name, "VlMR.log", "BackupLogs"}
    return shutil.copytree(app.path, folder, ignore=lambda where, names: own if where == str(app.path) else ())


def play_all(*groups):
    """Plays groups of players and cases, all at the same time: in each group a case goes to the next free player.

    Fails when a case failed, and prints the matrix in any case. A player's `play(case)` returns what the log says and
    what is published."""
    rows, broken, seconds, threads = {}, [], [], []

    def work(player, waiting):
        while True:
            try:
                place, case = waiting.get_nowait()
            except queue.Empty:
                return
            begun = time.monotonic()
            try:
                rows[place] = (case, *player.play(case))
                seconds.append((time.monotonic() - begun, case))
            except Exception:  # pylint: disable=broad-except
                broken.append((case, traceback.format_exc()))

    started = time.monotonic()
    for number, (players, cases) in enumerate(groups):
        waiting = queue.SimpleQueue()
        for place, case in enumerate(cases):
            waiting.put(((number, place), case))
        threads += [threading.Thread(target=work, args=(player, waiting)) for player in players]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    print_rows([rows[place] for place in sorted(rows)])
    total = sum(len(cases) for _, cases in groups)
    print(f"  {total} cases in {time.monotonic() - started:.1f} s")
    for spent, case in sorted(seconds, key=lambda entry: -entry[0])[:3]:
        print(f"  slow: {case.fault.name} | {case.kind.name} ({spent:.1f} s)")
    for case, trace in broken:
        print(f"  BROKEN {case.fault.name} | {case.kind.name}\n{trace}")
    assert not broken, f"{len(broken)} of {total} cases failed: {[(c.fault.name, c.kind.name) for c, _ in broken]}"


def print_rows(rows):
    for case, log, published in rows:
        text = "".join(c if " " <= c <= "~" else "?" for c in log)
        print(f"  {case.fault.name} | {case.kind.name} | {text[:120]} | {published}")


def print_count(faults, kinds, share=SHARE):
    """The closing line of a matrix."""
    total = len(faults) * len(kinds)
    played = "all played" if share >= 1 else f"a share of {share:.0%} played"
    print(f"  {len(faults)} faults x {len(kinds)} kinds = {total} cases, {played}")
