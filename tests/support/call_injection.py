"""The file-changing system calls of a run, one by one: strace lists them, and lets one of them kill or fail.

    calls = record(app)                           # one undisturbed run
    run, hit = run_with(app, calls[17], KILL)     # the same run again, stopped on entering that call
    run, hit = run_with(app, calls[17], "ENOSPC")

A call is known by its name, its path and its number among the calls of that name on that path: other calls come and go
with the clock (a settings file is read again after some milliseconds). Only the program itself is traced, none of the
programs that it starts. `hit` tells at which call it really happened.
"""

import os
import re
from dataclasses import dataclass

from web_servers import program

KILL = "SIGKILL"

CHANGING = (
    "open openat openat2 creat write pwrite64 writev pwritev pwritev2 rename renameat renameat2 unlink unlinkat"
    " mkdir mkdirat rmdir truncate ftruncate link linkat symlink symlinkat chmod fchmod fchmodat chown fchown lchown"
    " fchownat fsync fdatasync sync_file_range utime utimes futimesat utimensat fallocate copy_file_range sendfile"
    " splice mknod mknodat setxattr fsetxattr lsetxattr"
).split()
"""All calls that can change a file; those of them that did not (an open for reading) are left out of the list."""

OPENS = {"open", "openat", "openat2"}
OPENS_FOR_CHANGE = re.compile(r"O_WRONLY|O_RDWR|O_CREAT|O_TRUNC")
LINE = re.compile(r"^(\w+)\((.*)$")
DESCRIPTOR = re.compile(r"^\d+<(/[^<>]*)>")
FOLDER_AND_NAME = re.compile(r'(?:AT_FDCWD|\d+)<([^<>]*)>, "([^"]*)"')
PLAIN_PATHS = re.compile(r'^"([^"]*)"(?:, "([^"]*)")?')
DRAWN_NAME = re.compile(r"(?<=mQueue/)\d+|(?<=BackupLogs/)[-\d_]+")
TRIES = 8


@dataclass(frozen=True)
class Call:
    """A system call that would change a file."""

    name: str
    number: int
    """The how-manieth call of that name on its first path it is, from 1; calls that change nothing are counted too."""
    of_name: int
    """The how-manieth call of that name at all."""
    paths: tuple
    """Its paths below the application folder, what is drawn anew each time replaced by "*"."""

    def __str__(self):
        return f"{self.name} {self.number} of {' -> '.join(self.paths)}"

    @property
    def is_of_log(self):
        return self.paths[0] == "VlMR.log"

    @property
    def is_drawn(self):
        """Whether its path is another one each time."""
        return "*" in self.paths[0]

    @property
    def key(self):
        return self.name, self.number, self.paths


def paths_of(arguments, folder):
    """The paths below `folder` that a call is about; none when it is about something else."""
    if pairs := FOLDER_AND_NAME.findall(arguments):
        paths = [os.path.normpath(os.path.join(base, path)) for base, path in pairs]
    elif descriptor := DESCRIPTOR.match(arguments):
        paths = [descriptor[1]]
    elif plain := PLAIN_PATHS.match(arguments):
        paths = [os.path.normpath(os.path.join(folder, path)) for path in plain.groups() if path]
    else:
        return ()
    if not all(path.startswith(f"{folder}/") for path in paths):
        return ()
    return tuple(DRAWN_NAME.sub("*", os.path.relpath(path, folder)) for path in paths)


def parse(text, folder):
    """The changing calls of a trace in their order, and those among them that were tampered with."""
    of_name, on_path, calls, injected = {}, {}, [], []
    for line in text.splitlines():
        match = LINE.match(line)
        if not match:
            continue
        name, arguments = match.groups()
        of_name[name] = of_name.get(name, 0) + 1
        paths = paths_of(arguments, folder)
        if not paths:
            continue
        for path in set(paths):
            on_path[name, path] = on_path.get((name, path), 0) + 1
        if name in OPENS and not OPENS_FOR_CHANGE.search(arguments):
            continue
        call = Call(name, on_path[name, paths[0]], of_name[name], paths)
        calls.append(call)
        if line.endswith("(INJECTED)"):
            injected.append(call)
    return calls, injected


def traced(app, options, seconds):
    """Runs the program under strace; returns the run and the text of the trace."""
    trace = app.path.parent / f"{app.path.name}.output.trace"
    trace.unlink(missing_ok=True)
    launcher = app.launcher
    app.launcher = [program("strace"), "-q", "-y", "-s", "0", "-o", str(trace), "-e", "signal=none", *options, "--"]
    try:
        # LeakSanitizer is a tracer itself, of which there can be only one.
        run = app.run(seconds=seconds, exit_code=None, environment={"ASAN_OPTIONS": "detect_leaks=0"})
    finally:
        app.launcher = launcher
    return run, trace.read_text(encoding="latin-1")


def record(app, seconds=60):
    """The changing calls of an undisturbed run, in their order."""
    run, text = traced(app, ["-e", "trace=" + ",".join(CHANGING)], seconds)
    assert run.exit_code == 0, f"exit code {run.exit_code}:\n{run.log}"
    return parse(text, app.path)[0]


def run_with(app, call, fault, number=None, seconds=60):
    """Repeats the run and stops it (`KILL`) or lets the call fail (the name of an `errno`) at `call`. Returns the run, the
    call that was really hit (None when the run did not come so far), and all calls of that name so far. A call on a
    drawn name is counted among all of its name, and `number` is a guess where it stands now."""
    effect = "signal=KILL" if fault == KILL else f"error={fault}"
    options = ["-e", f"trace={call.name}"]
    if call.is_drawn:
        number = number or call.of_name
    else:
        # As it is written in the call, and as an open descriptor shows it.
        number = call.number
        options += ["-P", call.paths[0], "-P", str(app.path / call.paths[0])]
    run, text = traced(app, [*options, "-e", f"inject={call.name}:{effect}:when={number}"], seconds)
    calls, injected = parse(text, app.path)
    hits = injected if fault != KILL else calls[-1:] if run.exit_code == -9 else []
    return run, hits[0] if hits else None, calls


def repeat_until_hit(fresh, call, fault):
    """Calls `run_with` on application folders that `fresh()` gives until just `call` was hit; returns the folder, the run
    and the call that was hit. Calls on drawn names need that, because opens of other files are counted with them."""
    guess = call.of_name
    for turn in range(TRIES):
        app = fresh()
        run, hit, calls = run_with(app, call, fault, guess)
        if hit and hit.key == call.key or not call.is_drawn:
            break
        seen = [other.of_name for other in calls if other.key == call.key]
        # Where it stood this time, if it came; else a place near by.
        guess = seen[0] if seen else call.of_name + (turn + 2) // 2 * (1 if turn % 2 else -1)
    return app, run, hit
