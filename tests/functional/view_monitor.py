#!/usr/bin/python3
"""The main form of a run: hidden with its latest line, and shown with a transfer's progress when "ViewMonitor" asks for it.

On Windows it is a window, on Linux a line of the terminal that the program was started from.
"""

import os
import re
import subprocess

import framework  # first: it makes the other modules known
import faulty_server as faults
from waiting import wait_until

PATTERN = "Pattern/vsapi.zip"


class Terminal:
    """A terminal that a program is started from."""

    def __init__(self, app):
        self._screen, self._line = os.openpty()
        os.set_blocking(self._screen, False)
        self._seen = b""
        app.launcher = ["/bin/sh", "-c", f'exec "$0" "$@" 2>{os.ttyname(self._line)}', *app.launcher]

    def seen(self):
        """Everything that was written to it so far."""
        try:
            while data := os.read(self._screen, 65536):
                self._seen += data
        except BlockingIOError:
            pass
        return self._seen.decode("latin-1")

    def lines(self):
        """The lines that were shown one after the other in the same place."""
        return self.seen().split("\r\x1b[K")[1:]

    def progress(self, _child):
        """Bytes received and bytes in all as the latest line tells them in kilobytes, None when it tells nothing."""
        found = re.search(r"\[(\d+) KB of (\d+) KB\]", (self.lines() or [""])[-1])
        return found and tuple(int(number) * 1024 for number in found.groups())

    def status(self, _child):
        return re.sub(r"  \[.*", "", (self.lines() or [""])[-1])

    def is_hidden(self, _child):
        return not self.lines() or self.lines()[-1] == ""

    def close(self):
        os.close(self._line)
        os.close(self._screen)


class Window:
    """The window of a program, looked at by another one."""

    def __init__(self, app):
        self._app = app

    def _read(self, child):
        reader = [*self._app.launcher, str(self._app.target.siblings / "read_form.exe")]
        own = self._app.target.own_path(child.program)
        done = subprocess.run(
            [*reader, own], env=self._app.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
        )
        assert done.returncode == 0, "no main form"
        return done.stdout.decode("cp1252").splitlines()

    def progress(self, child):
        state, _, text = self._read(child)
        found = re.fullmatch(r"(\d+) / (\d+) \(\d+ %\)", text)
        return found and state == "shown" and tuple(map(int, found.groups()))

    def status(self, child):
        return self._read(child)[1]

    def is_hidden(self, child):
        return self._read(child)[0] == "hidden"

    def close(self):
        pass


def watched(t, monitor):
    """A run that fetches an archive slowly, in the middle of that, and where its form can be seen."""
    sections = {"SERVICE": {"ApiEnable": "0", "ViewMonitor": monitor}}
    app, server = t.faulty_mirror(sections)
    server.fault(PATTERN, faults.trickle(piece=16, interval=0.05))
    place = (Window if app.target.is_windows else Terminal)(app)
    child = app.start()
    wait_until(lambda: PATTERN in server.paths(), "the archive is asked for")
    wait_until(app.temporary_files, "its body arrives")
    return app, child, place


def end(app, child, place):
    app.ways_to_end()[0](child)
    assert child.wait(30) == 0
    assert app.log()[-1] == "Unloading: [0] Terminate"
    place.close()


def test_with_view_monitor_the_form_shows_the_latest_line_and_the_progress_of_the_transfer(t):
    app, child, place = watched(t, "1")
    length = len((t.folder / "service/activeupdate" / PATTERN).read_bytes())

    def progress():
        received, total = place.progress(child) or (0, 0)
        return 0 < received < total and length <= total < length + 1024

    wait_until(progress, "the progress of the archive is shown")
    latest = app.text("VlMR.log").splitlines()[-1]
    # On a terminal what does not fit into its line is left out.
    wait_until(lambda: len(place.status(child)) > 20 and latest.startswith(place.status(child)), "the status is the latest line")
    end(app, child, place)


def test_without_view_monitor_the_form_stays_hidden(t):
    app, child, place = watched(t, "0")
    assert place.is_hidden(child)
    if app.target.is_windows:
        assert place.status(child) == app.text("VlMR.log").splitlines()[-1]
    else:
        assert place.seen() == "", place.seen()
    end(app, child, place)


if __name__ == "__main__":
    framework.main()
