"""Child processes whose processor time can be read while they run and after their end."""

import os
import signal
import subprocess
import time

from waiting import scaled

_TICKS = os.sysconf("SC_CLK_TCK")


class Child:
    """A started program. `wait` or `kill` must be called; the framework does so for what a test leaves behind."""

    def __init__(self, command, cwd, env, stderr):
        self.command = command
        with open(stderr, "wb") as error_file:
            self._popen = subprocess.Popen(
                command, cwd=cwd, env=env, stdin=subprocess.DEVNULL, stdout=error_file, stderr=error_file
            )
        self.pid = self._popen.pid
        self.exit_code = None
        self.usage = None
        self._started = time.monotonic()
        self.seconds = None

    def running(self):
        """True while the program runs; collects its exit code and resource usage when it has ended."""
        if self.exit_code is not None:
            return False
        pid, status, usage = os.wait4(self.pid, os.WNOHANG)
        if pid == 0:
            return True
        self.exit_code = self._popen.returncode = os.waitstatus_to_exitcode(status)
        self.usage = usage
        self.seconds = time.monotonic() - self._started
        return False

    def wait(self, seconds):
        """Waits for the end and returns the exit code (negative: the signal that ended it)."""
        deadline = time.monotonic() + scaled(seconds)
        while self.running():
            if time.monotonic() > deadline:
                self.kill()
                raise AssertionError(f"{self.command[0]} still ran after {scaled(seconds):g} s")
            time.sleep(0.005)
        return self.exit_code

    def cpu_seconds(self):
        """User and system time used so far, without that of children; resolution of one clock tick."""
        if not self.running():
            return self.usage.ru_utime + self.usage.ru_stime
        with open(f"/proc/{self.pid}/stat", "rb") as stat:
            fields = stat.read().rsplit(b")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / _TICKS

    def peak_kib(self):
        """Largest resident size, once the program has ended."""
        return self.usage.ru_maxrss

    def send(self, number):
        if self.running():
            os.kill(self.pid, number)

    def kill(self):
        self.send(signal.SIGKILL)
        while self.running():
            time.sleep(0.005)
