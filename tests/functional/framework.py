"""Functional tests of the real executable. `example_test.py` is the template to copy.

A test file holds functions `test_...(t)` whose names are sentences of behaviour, and ends with

    if __name__ == "__main__":
        framework.main()

    python3 tests/functional/http_modes.py --executable build/release/VlMr [--filter PATTERN] [--keep]
                                            [--timeout-factor F] [--seed N] [--list]

Each test gets a `Test` with a folder of its own below the system's temporary folder. What it starts is ended and
the folder removed at its end; a failed test keeps its folder and prints where it is. After each test the standing
checks of every application folder are made (nothing temporary left, among others).

A missing server program fails a test, unless VLMR_ALLOW_SKIP=1 stands in the environment; then the test is
skipped. Exit code: 0 all passed, 1 something failed, 77 everything was skipped.
"""

import argparse
import fnmatch
import os
import random
import shutil
import sys
import tempfile
import time
import traceback
from pathlib import Path

sys.dont_write_bytecode = True
REPOSITORY = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(REPOSITORY / "tests" / "support"), str(REPOSITORY / "demo")]

# pylint: disable=wrong-import-position
import service  # noqa: E402
from app_folder import AppFolder  # noqa: E402
from faulty_server import FaultyServer  # noqa: E402
from scripted_ftp import ScriptedFtp  # noqa: E402
from target import Target  # noqa: E402
from web_servers import Nginx, ProgramMissing, TinyProxy  # noqa: E402

SKIPPED = 77


class Unfit(Exception):
    """Raised by a test that means nothing for the build under test, with the reason; it counts as skipped."""


def only_on(system, reason):
    """Marks a test that means something on one system ("linux", "windows") only; the others say so in their list."""

    def mark(function):
        function.only_on = (system, reason)
        return function

    return mark


class Test:
    """What a test works with; made for it and cleaned up behind it."""

    def __init__(self, name, executable, seed):
        self.name = name
        self.executable = executable
        self.target = Target(executable)
        self.random = random.Random(f"{seed}/{name}")
        # The folder of the test lies one deeper, so that what escapes from an application folder is seen here.
        self.top = Path(os.path.realpath(tempfile.mkdtemp(prefix="vlmr-test-")))
        self.folder = self.top / "a" / "b"
        self.folder.mkdir(parents=True)
        self._apps = []
        self._servers = []
        self._known = []
        self._elsewhere = []

    # --- things a test asks for -----------------------------------------------------------------------------

    def app(self, folder="app", name="VlMr", executable=None):
        """A new application folder with the executable in it, or with another one."""
        app = AppFolder(self.folder / folder, executable or self.executable, name)
        self._apps.append(app)
        return app

    def app_in_program_files(self):
        """A new application folder whose path holds blanks, brackets and letters that ASCII lacks."""
        top = self.folder
        if self.target.is_windows:
            top = Path(tempfile.mkdtemp(prefix="vlmr-test-", dir=self.target.wine_prefix / "drive_c/Program Files (x86)"))
            self._elsewhere.append(top)
        app = AppFolder(top / "Program Files (x86)" / "V\u00e9lmora \u00e9", self.executable)
        self._apps.append(app)
        return app

    def linux_executable(self):
        """The Linux executable that a Windows one is compared with."""
        path = Path(os.environ.get("VLMR_LINUX_EXECUTABLE", REPOSITORY / "build/release/VlMr"))
        if not path.exists():
            raise ProgramMissing(f"{path} is not built (VLMR_LINUX_EXECUTABLE names another one)")
        return path

    def apps(self):
        """The application folders made so far."""
        return list(self._apps)

    def publish(self, offer=None, folder="service", **changes):
        """Publishes an update service and returns its folder; `changes` are fields of `service.Offer`."""
        self.offer = service.publish(self.folder / folder, offer, **changes)
        self._known.append(self.folder / folder)
        return self.folder / folder

    def nginx(self, root, folder="nginx", **options):
        self._known.append(self.folder / folder)
        return self.keep(Nginx(self.folder / folder, root, **options))

    def faulty_server(self, root):
        return self.keep(FaultyServer(root))

    def tinyproxy(self, user=None, password=None, folder="proxy"):
        self._known.append(self.folder / folder)
        return self.keep(TinyProxy(self.folder / folder, user, password))

    def ftp_daemon(self, kind, root, folder=None, **log_in):
        """A real FTP daemon: `kind` is a class of `ftp_servers`."""
        folder = self.folder / (folder or kind.name)
        self._known.append(folder)
        return self.keep(kind(folder, root, **log_in))

    def scripted_ftp(self, root, **log_in):
        return self.keep(ScriptedFtp(root, **log_in))

    def mirror(self, sections=None, **offer):
        """The usual case: a published service behind nginx, and an application folder set up to mirror it."""
        root = self.publish(**offer)
        server = self.nginx(root)
        app = self.app()
        app.write_settings(settings(server.base, sections))
        return app, server

    def faulty_mirror(self, sections=None, **offer):
        """As `mirror`, with the server that misbehaves."""
        root = self.publish(**offer)
        server = self.faulty_server(root)
        app = self.app()
        app.write_settings(settings(server.base, sections))
        return app, server

    def keep_folder(self, folder):
        """Tells that what a test puts into this folder belongs there."""
        self._known.append(folder)

    def outside(self):
        """Files outside the application folders and the folders of the servers: what nobody should have made."""
        known = [app.path for app in self._apps] + self._known
        return [
            str(path.relative_to(self.top))
            for path in self.top.rglob("*")
            if path.is_file() and ".output." not in path.name
            if not any(path.is_relative_to(folder) for folder in known)
        ]

    # --- the frame ------------------------------------------------------------------------------------------

    def keep(self, server):
        """Takes a started server; it is stopped at the end of the test."""
        self._servers.append(server)
        return server

    def stop(self):
        for app in self._apps:
            app.stop_children()
        for server in self._servers:
            server.stop()

    def remove(self):
        for folder in (self.top, *self._elsewhere):
            shutil.rmtree(folder, ignore_errors=True)

    def standing_checks(self):
        for app in self._apps:
            app.standing_checks()

    def print_logs(self):
        for app in self._apps:
            try:
                lines = app.text("VlMR.log").splitlines()
            except FileNotFoundError:
                continue
            print(f"  --- end of the log in {app.path} ({len(lines)} lines)")
            for line in lines[-25:]:
                print("  " + line[:300])


def settings(base, sections=None):
    """Settings of a mirror of `base` by direct transfer, with a log that keeps everything; `sections` come on top."""
    result = {"SOURCES": {"ActiveUpdateMaster": base}, "Proxy": {"Enable": "0"}, "LOGS": {"MaxSize": "100000"}}
    for section, keys in (sections or {}).items():
        result.setdefault(section, {}).update(keys)
    return result


def run_one(name, function, options):
    """Runs a test; returns "passed", "failed" or "skipped"."""
    test = Test(name, options.executable, options.seed)
    started = time.monotonic()
    outcome = "failed"
    try:
        try:
            function(test)
        finally:
            test.stop()
        test.standing_checks()
        outcome = "passed"
    except Unfit as reason:
        print(f"  {reason}")
        outcome = "skipped"
    except ProgramMissing as missing:
        print(f"  {missing}")
        if os.environ.get("VLMR_ALLOW_SKIP") == "1":
            outcome = "skipped"
    except (Exception, KeyboardInterrupt):  # pylint: disable=broad-except
        traceback.print_exc(file=sys.stdout)
        test.print_logs()
    if outcome == "failed" or options.keep:
        print(f"  kept: {test.top}")
    else:
        test.remove()
    sentence = name[len("test_") :].replace("_", " ")
    print(f"{outcome}: {sentence} ({time.monotonic() - started:.1f} s)", flush=True)
    return outcome


def parse_options():
    parser = argparse.ArgumentParser(description="Runs the functional tests of this file.")
    parser.add_argument("--executable", default=os.environ.get("VLMR_EXECUTABLE"), help="the built VlMr")
    parser.add_argument("--filter", default="*", metavar="PATTERN", help="only tests whose name holds this pattern")
    parser.add_argument("--keep", action="store_true", help="keep the folders of all tests")
    parser.add_argument("--timeout-factor", default=os.environ.get("VLMR_TIMEOUT_FACTOR", "1"), metavar="F")
    parser.add_argument("--seed", type=int, default=int(os.environ.get("VLMR_TEST_SEED", random.randrange(1 << 30))))
    parser.add_argument("--list", action="store_true", help="print the names of the tests")
    options = parser.parse_args()
    if not options.list:
        if not options.executable:
            parser.error("--executable is needed")
        options.executable = Path(options.executable).resolve()
        if not os.access(options.executable, os.X_OK):
            parser.error(f"{options.executable} is not an executable file")
    os.environ["VLMR_TIMEOUT_FACTOR"] = options.timeout_factor
    return options


def main():
    """Runs the tests of the file that calls this."""
    options = parse_options()
    module = sys.modules["__main__"]
    tests = {name: value for name, value in vars(module).items() if name.startswith("test_") and callable(value)}
    if options.list:
        print("\n".join(tests))
        return
    target = Target(options.executable)
    elsewhere = {name: test.only_on for name, test in tests.items() if getattr(test, "only_on", (target.name,))[0] != target.name}
    tests = {name: test for name, test in tests.items() if name not in elsewhere}
    wanted = {name: test for name, test in tests.items() if fnmatch.fnmatch(name, f"*{options.filter}*")}
    print(f"seed {options.seed}")
    outcomes = [run_one(name, test, options) for name, test in wanted.items()]
    for name, (system, reason) in elsewhere.items():
        print(f"only on {system}: {name[len('test_') :].replace('_', ' ')} ({reason})")
    passed, failed, skipped = (outcomes.count(word) for word in ("passed", "failed", "skipped"))
    print(f"{passed} passed, {failed} failed, {skipped} skipped")
    if failed:
        sys.exit(1)
    sys.exit(SKIPPED if not passed and (skipped or elsewhere) else 0)
