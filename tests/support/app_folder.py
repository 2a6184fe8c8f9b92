"""A throw-away application folder: the executable, its settings, its log and what it published."""

import os
import re
import shutil
import signal
import subprocess
from dataclasses import dataclass
from pathlib import Path

from log_lines import LogLines
from processes import Child
from target import Target

TEMPORARY_MARK = ".vlmr-tmp"


@dataclass
class Run:
    """One finished run of the executable."""

    exit_code: int
    log: LogLines
    seconds: float
    cpu_seconds: float
    peak_kib: int


@dataclass(frozen=True)
class FileState:
    """What tells whether a file was written to: a replaced file has another inode, a rewritten one another time."""

    inode: int
    mtime_ns: int
    size: int


class AppFolder:
    """The folder that holds `VlMr`; every path of the program lies below it."""

    def __init__(self, folder, executable, name="VlMr"):
        folder.mkdir(parents=True)
        # The program names its folder as the kernel does, without links.
        self.path = Path(os.path.realpath(folder))
        self.target = Target(executable)
        self.name = name
        self.executable = self.path / self.target.file_name(name)
        # A copy, not a link: the program takes its single-instance lock on this file.
        shutil.copy2(executable, self.executable)
        self.environment = {"PATH": "/usr/bin:/bin", "HOME": str(self.path), "TZ": "UTC", "LC_ALL": "C"}
        self.environment.update(self.target.environment)
        for variable in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"):
            if variable in os.environ:
                self.environment[variable] = os.environ[variable]
        self.launcher = self.target.launcher
        """What stands before the executable on its command line: a program that starts it."""
        self._runs = 0
        self._children = []

    # --- settings and files ---------------------------------------------------------------------------------

    def write_settings(self, sections, file="VLMR.ini"):
        """Writes a settings file that holds exactly these sections, a dictionary of dictionaries."""
        lines = []
        for section, keys in sections.items():
            lines.append(f"[{section}]")
            lines += [f"{key}={value}" for key, value in keys.items()]
        self.put(file, "".join(line + "\r\n" for line in lines))

    def setting(self, section, key, file="VLMR.ini"):
        """The value of a key, None when it is absent."""
        return read_ini(self.path / file).get(section.lower(), {}).get(key.lower())

    def put(self, relative, data):
        """Writes a file below the folder, with its parents; a running program sees it whole or not at all."""
        path = self.path / relative
        path.parent.mkdir(parents=True, exist_ok=True)
        beside = self.path.parent / f"{self.path.name}.output.new"
        beside.write_bytes(data if isinstance(data, bytes) else data.encode("latin-1"))
        os.replace(beside, path)
        return path

    def text(self, relative):
        """A file as text, line ends as they stand."""
        return (self.path / relative).read_bytes().decode("latin-1")

    @property
    def place(self):
        """The folder as the program spells it."""
        return self.target.own_path(self.path)

    def own(self, tail):
        """A path in the program's own notation: the folder, then parts divided by backslashes."""
        return f"{self.place}{tail}"

    def install_sibling(self, name, *actions):
        """Installs a stand-in for a sibling program; each start leaves a line with its process id in `<name>.starts`.

        Actions, one after the other: `wait-for FILE`, `until-text FILE LINE`, `pause MILLISECONDS`, `need FILE`,
        `make FILE`, `write FILE TEXT` ("\\n" in it is CR LF), `get PORT PATH` (an HTTP request to this machine),
        `run FILE` (another program of the folder), `report FILE`, `never-end`, `exit CODE`.
        """
        if self.target.is_windows:
            self._install(name, self.target.siblings / "stand_in.exe")
            self.put(f"{name}.actions", "".join(action + "\n" for action in actions))
        else:
            lines = [f'cd "{self.path}"', f"echo $$ >> {name}.starts", *(shell_line(action) for action in actions)]
            self.put(name, "#!/bin/sh\n" + "\n".join(lines) + "\n").chmod(0o755)

    def install_patch_program(self, modes=""):
        """Installs the demo's patch program; `modes` are its words for doing something wrong."""
        if self.target.is_windows:
            self._install("Patch.exe", self.target.siblings / "patch_program.exe")
        else:
            source = Path(__file__).resolve().parents[2] / "demo" / "patch_program.py"
            self.put("Patch.exe", source.read_bytes()).chmod(0o755)
        self.put("patch_mode.txt", modes)

    def _install(self, name, source):
        self.put(name, source.read_bytes()).chmod(0o755)

    def report_of(self, file):
        """What a stand-in reported: pairs of a word and a text."""
        return [tuple(line.split("=", 1)) for line in self.text(file).splitlines()]

    def mails(self):
        """The queued mails as pairs of control file and body, in the order of their making."""
        queue = self.path / "mQueue"
        controls = sorted(queue.glob("*.ini"), key=lambda p: p.stat().st_mtime_ns) if queue.is_dir() else []
        pairs = []
        for control in controls:
            text = control.read_bytes().decode("latin-1")
            body = queue / text.split("F=")[1].split("\r\n")[0]
            pairs.append((text, body.read_bytes().decode("latin-1")))
        return pairs

    def starts_of(self, name):
        """Process ids of the starts of a stand-in so far."""
        try:
            return [int(line) for line in (self.path / f"{name}.starts").read_text().split()]
        except FileNotFoundError:
            return []

    def files(self, folder="."):
        """Files below a folder with their lengths, by path relative to it."""
        top = self.path / folder
        return {str(p.relative_to(top)): p.stat().st_size for p in sorted(top.rglob("*")) if p.is_file()}

    def folders(self):
        return {str(p.relative_to(self.path)) for p in self.path.rglob("*") if p.is_dir()}

    def states(self):
        """State of every file, to see later which were written to."""
        result = {}
        for path in sorted(self.path.rglob("*")):
            if path.is_file():
                stat = path.stat()
                result[str(path.relative_to(self.path))] = FileState(stat.st_ino, stat.st_mtime_ns, stat.st_size)
        return result

    # --- runs -----------------------------------------------------------------------------------------------

    def run(self, *arguments, seconds=30, exit_code=0, environment=None):
        """Runs the executable to its end and returns what it did; the log holds only the lines of this run."""
        before = self._log_bytes()
        child = self.start(*arguments, environment=environment)
        child.wait(seconds)
        run = Run(child.exit_code, self.log_since(before), child.seconds, child.cpu_seconds(), child.peak_kib())
        if exit_code is not None:
            assert run.exit_code == exit_code, f"exit code {run.exit_code}, not {exit_code}:\n{run.log}"
        return run

    def start(self, *arguments, environment=None):
        """Starts the executable and returns at once."""
        self._runs += 1
        command = [*self.launcher, str(self.executable), *arguments]
        stderr = self.path.parent / f"{self.path.name}.output.{self._runs}"
        child = Child(command, self.path, {**self.environment, **(environment or {})}, stderr)
        child.program = self.executable
        self._children.append(child)
        return child

    def ways_to_end(self):
        """The ways in which the system asks a program to end, as functions of the running program."""
        if not self.target.is_windows:
            return [lambda child, number=number: child.send(number) for number in (signal.SIGTERM, signal.SIGINT)]
        closer = [*self.launcher, str(self.target.siblings / "close_form.exe")]
        nowhere = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}

        def close_form(child):
            own = self.target.own_path(child.program)
            subprocess.run([*closer, own], check=True, env=self.environment, **nowhere)

        return [close_form]

    def log(self):
        """All lines of the log so far."""
        return LogLines.parse(self._log_bytes(), self.name)

    def log_since(self, before):
        """The lines behind the bytes `before`; all of them when the log was begun anew."""
        now = self._log_bytes()
        return LogLines.parse(now[len(before) :] if now.startswith(before) else now, self.name)

    def log_bytes(self):
        """The log as it stands, for `log_since`."""
        return self._log_bytes()

    def _log_bytes(self):
        try:
            return (self.path / "VlMR.log").read_bytes()
        except FileNotFoundError:
            return b""

    # --- standing checks ------------------------------------------------------------------------------------

    def stop_children(self):
        for child in self._children:
            child.kill()
        if any(self.path.glob("*.starts")):
            end_siblings(self.path)

    def temporary_files(self):
        return [str(p) for p in self.path.rglob("*") if TEMPORARY_MARK in p.name]

    def standing_checks(self):
        """What holds after every test: nothing temporary left, no twin names, nothing on the output streams."""
        left = self.temporary_files()
        assert not left, f"temporary files are left: {left}"
        names = {}
        for path in self.path.rglob("*"):
            twin = names.setdefault(str(path).lower(), path)
            assert twin == path, f"twins that differ in case only: {twin} and {path}"
        for output in self.path.parent.glob(f"{self.path.name}.output.*"):
            text = output.read_bytes().decode("latin-1")
            assert not re.search("AddressSanitizer|LeakSanitizer|runtime error:", text), text


def end_siblings(folder):
    """Ends the stand-ins that a test left running; they work in the application folder of that test alone."""
    for process in Path("/proc").iterdir():
        try:
            if process.name.isdigit() and os.readlink(process / "cwd") == str(folder):
                os.kill(int(process.name), signal.SIGKILL)
        except OSError:
            pass


def shell_line(action):
    """An action of a stand-in as a line of shell that works in the application folder."""
    verb, _, rest = action.partition(" ")
    name, _, text = rest.partition(" ")
    appears = f'mv "{name}.new" "{name}"'
    lines = {
        "wait-for": f'until test -e "{name}"; do sleep 0.05; done',
        "until-text": f"until tr -d '\\r' < \"{name}\" | grep -qxF '{text}'; do sleep 0.05; done",
        "pause": f"sleep $(( {name or 0} / 1000 )).{int(name) % 1000 if name.isdigit() else 0:03}",
        "need": f'test -e "{name}" || exit 1',
        "make": f'touch "{name}"',
        "write": f"printf '%s' '{text}' | sed 's/\\\\n/\\r\\n/g' > \"{name}.new\"; {appears}",
        "get": f"python3 -c 'import urllib.request as u; "
        f'u.build_opener(u.ProxyHandler({{}})).open("http://127.0.0.1:{name}{text}").read()\' || exit 1',
        "run": f'"./{name}" || exit',
        "report": f'pwd | sed s/^/folder=/ > "{name}.new"; '
        f'ls -l /proc/$$/fd | sed -n "s/.* -> /handle=/p" >> "{name}.new"; {appears}; echo noise',
        "never-end": "exec sleep 600",
        "exit": f"exit {name}",
    }
    return lines[verb]


def read_ini(path):
    """An INI file as dictionaries with lower-case names; the first of equal names wins."""
    sections, keys = {}, None
    try:
        data = Path(path).read_bytes()
    except FileNotFoundError:
        return sections
    for line in data.decode("latin-1").splitlines():
        line = line.strip()
        if line.startswith("[") and "]" in line:
            name = line[1 : line.index("]")].strip().lower()
            keys = {} if name in sections else sections.setdefault(name, {})
        elif keys is not None and "=" in line and not line.startswith(";"):
            key, value = line.split("=", 1)
            keys.setdefault(key.strip().lower(), value.strip())
    return sections
