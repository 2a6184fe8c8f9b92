"""Polling with a deadline, scaled for slow machines."""

import os
import time


def scaled(seconds):
    """A time limit, multiplied by the factor given to the test run."""
    return seconds * float(os.environ.get("VLMR_TIMEOUT_FACTOR", "1"))


def wait_until(condition, what, seconds=10, interval=0.01):
    """Polls `condition` until it gives something true, which is returned; fails with `what` at the deadline."""
    deadline = time.monotonic() + scaled(seconds)
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {scaled(seconds):g} s in vain: {what}")
        time.sleep(interval)
