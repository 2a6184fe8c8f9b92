"""The system that the tested executable is made for: how it is started here, and how paths look to it.

A Windows executable runs under Wine; servers, files and the tests themselves stay on Linux. Wine shows this machine's root
folder as drive Z: and the `drive_c` of its own folder as drive C:.
"""

import atexit
import os
import shutil
import subprocess
import tempfile
from functools import cache
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


@cache
def own_prefix():
    """A Wine folder of this process alone, with settings of its own and drive C: of the one that script/wine_run prepares.

    Each has its own server, which sometimes ends when a program is killed that it serves, and takes all others with it.
    """
    made = subprocess.run(
        [REPOSITORY / "script/wine_run", "--prepare"], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE
    )
    prepared = Path(made.stdout.decode().strip())
    prefix = Path(tempfile.mkdtemp(prefix="vlmr-wine-"))
    atexit.register(remove_prefix, prefix)
    for file in (*prepared.glob("*.reg"), prepared / ".update-timestamp"):
        shutil.copy2(file, prefix)
    shutil.copytree(prepared / "dosdevices", prefix / "dosdevices", symlinks=True)
    (prefix / "drive_c").symlink_to(prepared / "drive_c")
    return prefix


def remove_prefix(prefix):
    server = Path("/usr/lib/wine/wineserver64")
    command = [str(server) if server.exists() else "wineserver", "-k"]
    nowhere = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run(command, env={**os.environ, "WINEPREFIX": str(prefix)}, **nowhere)
    shutil.rmtree(prefix, ignore_errors=True)


class Target:
    """What differs between the two systems in the functional tests."""

    def __init__(self, executable):
        self.is_windows = Path(executable).suffix == ".exe"
        self.name = "windows" if self.is_windows else "linux"
        self.siblings = Path(executable).parent / "tests" / "siblings"
        """Where the stand-ins of the Windows build are."""

    @property
    def wine_prefix(self):
        return own_prefix()

    @property
    def launcher(self):
        """What stands before a program of the target on a command line."""
        if not self.is_windows:
            return []
        wine = Path("/usr/lib/wine/wine64")
        return [str(wine) if wine.exists() else "wine64"]

    @property
    def environment(self):
        """Variables that a program of the target needs, on top of the usual ones."""
        if not self.is_windows:
            return {}
        return {
            "WINEPREFIX": str(self.wine_prefix),
            "WINEDEBUG": "-all",
            "WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree=d;mshtml=d",
            # Wine takes the letters of file names from the locale.
            "LC_ALL": "C.UTF-8",
        }

    def own_path(self, path):
        """A path of this machine as the target spells it."""
        if not self.is_windows:
            return str(path)
        drive_c = (self.wine_prefix / "drive_c").resolve()
        if Path(path).is_relative_to(drive_c):
            return "C:\\" + str(Path(path).relative_to(drive_c)).replace("/", "\\")
        return "Z:" + str(path).replace("/", "\\")

    @property
    def text_encoding(self):
        """How the program writes letters that ASCII lacks."""
        return "cp1252" if self.is_windows else "utf-8"

    def file_name(self, name):
        """The file name of a program of the target."""
        return f"{name}.exe" if self.is_windows and not name.endswith(".exe") else name

    @property
    def major_version(self):
        """The system's major version as a text, as the program sees it."""
        return "10" if self.is_windows else os.uname().release.split(".")[0]

    @property
    def computer_name(self):
        """This machine's name as the program sees it; that of Windows is short and in capitals."""
        name = os.uname().nodename
        return name.split(".")[0].upper()[:15] if self.is_windows else name

    @property
    def moment(self):
        """A regular expression for the moment that begins a line of the log."""
        if self.is_windows:
            return r"\d{1,2}/\d{1,2}/\d{4} \d{1,2}:\d\d:\d\d [AP]M"
        return r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"
