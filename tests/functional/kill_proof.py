#!/usr/bin/python3
"""A run killed at each of its file-changing system calls in turn, and the run that mends it.

Where it died, every published file is the old one or the new one and the index holds together; the next run brings
the folder to what an undisturbed update makes of it, nothing temporary is left.

In the default run all calls but those on the log are tried, and some of those; with VLMR_LONG=1 all.
"""

import os

import framework  # first: it makes the other modules known
import call_injection
import update_proof

LIMIT = int(os.environ.get("VLMR_KILLS", "0"))
"""Set where runs are slow: only so many calls are tried."""
LOG_CALLS = 20


def points(t, calls):
    """The calls at which a run is killed."""
    if update_proof.LONG and not LIMIT:
        return calls
    others = [call for call in calls if not call.is_of_log]
    if LIMIT:
        return t.random.sample(others, min(LIMIT, len(others)))
    return others + t.random.sample([call for call in calls if call.is_of_log], LOG_CALLS)


def prove(t, update, workers):
    calls = call_injection.record(update.fresh(0))
    others = [call for call in calls if not call.is_of_log]
    print(f"  {len(others)} file-changing calls, {len(calls) - len(others)} more on the log")
    assert len(others) > 50
    elsewhere = []

    def kill_at(worker, call):
        app, run, hit = call_injection.repeat_until_hit(lambda: update.fresh(worker), call, call_injection.KILL)
        if not hit or hit.key != call.key:
            # The opens of one file that is named anew each time shift among all others.
            assert call.is_drawn and call.name.startswith("open"), f"killed at {hit}, exit code {run.exit_code}"
            elsewhere.append(call)
        update.check_published(app)
        last = app.run().log[-1]
        assert last == "StartingOperations: Enable Timer for Killing process", last
        found = update.differences(app)
        assert not found, found

    failed = update.for_each(points(t, calls), kill_at, workers)
    print(f"  {len(elsewhere)} of them were killed at another call")
    assert not failed, "\n".join(failed)


@framework.only_on("linux", "it needs a tracer of system calls")
def test_a_web_update_killed_at_each_of_its_calls_is_mended_by_the_next_run(t):
    prove(t, update_proof.http_update(t), workers=2)


@framework.only_on("linux", "it needs a tracer of system calls")
def test_a_reduced_update_killed_at_each_of_its_calls_is_mended_by_the_next_run(t):
    prove(t, update_proof.reduced_update(t), workers=2)


@framework.only_on("linux", "it needs a tracer of system calls")
def test_an_ftp_update_killed_at_each_of_its_calls_is_mended_by_the_next_run(t):
    prove(t, update_proof.ftp_update(t), workers=4)


if __name__ == "__main__":
    framework.main()
