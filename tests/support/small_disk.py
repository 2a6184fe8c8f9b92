"""A disk that is small enough to be filled: a file system in memory, mounted over a folder."""

import os
import shutil
import subprocess

from web_servers import ProgramMissing


class SmallDisk:
    """Mounted until `stop`; what stood in the folder before is hidden as long."""

    def __init__(self, folder, kib):
        if os.geteuid() != 0:
            raise ProgramMissing("a small disk has to be mounted by root")
        folder.mkdir(parents=True, exist_ok=True)
        self.folder = folder
        mount = ["mount", "-t", "tmpfs", "-o", f"size={kib}k,mode=777", "tmpfs", str(folder)]
        done = subprocess.run(mount, capture_output=True, text=True)
        if done.returncode != 0:
            raise ProgramMissing(f"no small disk can be mounted here: {done.stderr.strip()}")

    def free(self):
        """Bytes that can still be written."""
        state = os.statvfs(self.folder)
        return state.f_bavail * state.f_frsize

    def fill(self, leaving):
        """Fills the disk with a ballast file until `leaving` bytes are free, to a page."""
        # In a folder of its own: the program tidies up files that it finds beside its own.
        (self.folder / "ballast").mkdir(mode=0o700)
        (self.folder / "ballast/bytes").write_bytes(b"\0" * max(0, self.free() - leaving))

    def make_room(self):
        shutil.rmtree(self.folder / "ballast")

    def stop(self):
        # Lazily, in case a server still holds it open.
        subprocess.run(["umount", "-l", str(self.folder)], check=True)
