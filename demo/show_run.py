#!/usr/bin/python3
"""What `script/run` shows: a generated service, three passes of a mirror, and the figures of each."""

import argparse
import os
import shutil
import sys
import tempfile
import time
from pathlib import Path

sys.dont_write_bytecode = True
REPOSITORY = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(REPOSITORY / "tests" / "support"), str(REPOSITORY / "demo")]

# pylint: disable=wrong-import-position
import service  # noqa: E402
from app_folder import AppFolder  # noqa: E402
from web_servers import Nginx  # noqa: E402

SETTINGS = {
    "Proxy": {"Enable": "0"},
    "LOGS": {"MaxSize": "100000"},
    "NOTIFICATION": {"Enable": "1"},
}


class Show:
    def __init__(self, folder, executable):
        self.folder = folder
        self.offer = service.Offer(pattern_kib=2048, virus_names=tuple(f"Demo.Sample.{n}" for n in range(1, 13)))
        self.server = None
        self.app = AppFolder(folder / "mirror", executable)
        self.rows = []

    def publish(self, **changes):
        """The service offers something new."""
        self.offer = service.publish(self.folder / "service", self.offer, **changes)

    def serve(self):
        self.server = Nginx(self.folder / "nginx", self.folder / "service")
        sources = {"SOURCES": {"ActiveUpdateMaster": self.server.base}}
        self.app.write_settings({**sources, **SETTINGS})
        shutil.copy2(REPOSITORY / "demo/patch_program.py", self.app.path / "Patch.exe")

    def mirror_pass(self, title):
        """One run of the executable; its requests and bytes become a row of the table."""
        started = time.monotonic()
        child = self.app.start()
        if child.wait(120) != 0:
            sys.exit(f"VlMr ended with code {child.exit_code}; its folder is {self.app.path}")
        requests = self.server.take_requests()
        names = [request.path.removeprefix("/activeupdate/") for request in requests]
        road = "by full archive" if "Pattern/vsapi.zip" in names else "nothing new"
        if road == "nothing new" and any("/v_" in name for name in names):
            road = "by increment"
        fetched = sum(request.bytes for request in requests)
        connections = len({request.connection for request in requests})
        self.rows.append((title, road, len(requests), connections, fetched, time.monotonic() - started))
        print(f"  {title}: {', '.join(names)}")

    def table(self):
        print(f"\n{'pass':<28}{'pattern':<18}{'requests':>9}{'connections':>13}{'bytes fetched':>15}{'seconds':>9}")
        for title, road, requests, connections, fetched, seconds in self.rows:
            print(f"{title:<28}{road:<18}{requests:>9}{connections:>13}{fetched:>15,}{seconds:>9.2f}")
        full, last = self.rows[0][4], self.rows[-1]
        if not full:
            sys.exit("the first pass fetched nothing")
        print(f"\nThe newer version took {last[4] / full:.1%} of the bytes of the first pass ({last[1]}).")

    def published(self):
        heading("The published tree (ActiveUpdate)")
        for name, size in self.app.files("ActiveUpdate").items():
            print(f"{size:>12,}  {name}")
        heading("The published index (ActiveUpdate\\server.ini)")
        print(self.app.text("ActiveUpdate/server.ini").replace("\r\n", "\n").rstrip())
        mails = sorted((self.app.path / "mQueue").glob("*.ini")) if (self.app.path / "mQueue").is_dir() else []
        heading(f"Mails in the queue (mQueue): {len(mails)}")
        for mail in mails:
            control = mail.read_bytes().decode("latin-1")
            body = self.app.path / "mQueue" / control.split("F=")[1].split("\r\n")[0]
            print(control.strip().replace("\r\n", "\n"))
            print("    " + body.read_bytes().decode("latin-1").strip().replace("\r\n", "\n    "))
        heading("The end of the log (VlMR.log)")
        print("\n".join(self.app.text("VlMR.log").split("\r\n")[-26:-1]))


def heading(text):
    print(f"\n== {text}")


def main():
    parser = argparse.ArgumentParser(description="Mirrors a generated update service and shows the result.")
    parser.add_argument("--executable", required=True, type=Path)
    options = parser.parse_args()
    if not os.access(options.executable, os.X_OK):
        sys.exit(f"{options.executable} is not built yet: script/run builds it")

    folder = Path(tempfile.mkdtemp(prefix="vlmr-demo-"))
    show = Show(folder, options.executable)
    try:
        heading("A service with version 100, mirrored from nothing, again, and once it offers version 101")
        show.publish(version="100", increments_from=("098", "099"))
        show.serve()
        show.mirror_pass("first pass, version 100")
        show.mirror_pass("second pass, nothing new")
        show.publish(version="101", increments_from=("100",))
        show.mirror_pass("third pass, version 101")
        show.table()
        show.published()
    finally:
        show.app.stop_children()
        if show.server:
            show.server.stop()
        if os.environ.get("KEEP"):
            print(f"\nkept: {folder}")
        else:
            shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
