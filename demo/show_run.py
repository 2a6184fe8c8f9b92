#!/usr/bin/python3
"""What `script/run` shows: a generated service on loopback, three passes of a mirror, and the figures of each.

The web service is nginx, the FTP service proftpd; both serve the same generated folder and are ended at the end.
"""

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
from ftp_servers import ProFtpd  # noqa: E402
from waiting import wait_until  # noqa: E402
from web_servers import Nginx, ProgramMissing  # noqa: E402

ENGINES = {key: "6.510" for key in ("Path_VSAPI32_NT_I386", "Path_VSAPI32_LINUX", "Path_VSAPI32_NLM")}
LOG_LINES = 16
ROW = "{:<28}{:<18}{:>9}{:>13}{:>12}{:>11}{:>12}{:>9}"


class Show:
    def __init__(self, folder, executable):
        self.folder = folder
        names = tuple(f"Demo.Sample.{n}" for n in range(1, 13))
        self.offer = service.Offer(
            pattern_kib=2048, virus_names=names, engines=ENGINES, products=(6, 22), product_languages=("1", "64")
        )
        self.app = AppFolder(folder / "mirror", executable)
        self.servers = []
        self.web = None
        self.ftp = None
        self.rows = []
        self.pattern_bytes = []

    def publish(self, **changes):
        """The service offers something new."""
        self.offer = service.publish(self.folder / "service", self.offer, **changes)

    def serve(self):
        self.web = Nginx(self.folder / "nginx", self.folder / "service")
        self.servers.append(self.web)
        print(f"  web service: {self.web.base} (nginx)")
        try:
            self.ftp = ProFtpd(self.folder / "proftpd", self.folder / "service" / "ftp")
            self.servers.append(self.ftp)
            print(f"  FTP service: ftp://{self.ftp.host} (proftpd)")
        except ProgramMissing as missing:
            print(f"  no FTP service: {missing}")

    def install(self):
        """Sets the application folder up: settings, and the demo's patch program."""
        settings = {
            "SOURCES": {"ActiveUpdateMaster": self.web.base, "Engines": "1", "Products": "1"},
            "Proxy": {"Enable": "0"},
            "LOGS": {"MaxSize": "100000"},
            "NOTIFICATION": {"Enable": "1", "Enable_Engine_Send": "1", "Enable_PRODUCTS_Send": "1"},
        }
        if self.ftp:
            source = f"ftp://{self.ftp.host}/products/pattern/cpr"
            settings["FTP"] = {"EnableCPR": "1", "CPRUrl": source, "Passive": "1"}
        self.app.write_settings(settings)
        self.app.install_patch_program()

    def mirror_pass(self, title):
        """One run of the executable; what it asked for is printed, and counted in a row of the table."""
        logged = self.ftp_log()
        started = time.monotonic()
        child = self.app.start()
        if child.wait(120) != 0:
            sys.exit(f"VlMr ended with code {child.exit_code}; its folder is {self.app.path}")
        seconds = time.monotonic() - started
        requests = self.web.take_requests()
        names = [request.path.removeprefix("/activeupdate/") for request in requests]
        fetched = self.ftp_fetches(logged)
        road = "nothing new"
        if "Pattern/vsapi.zip" in names:
            road = "by full archive"
        elif any("/v_" in name for name in names):
            road = "by increment"
        of_pattern = sum(request.bytes for request in requests if "/Pattern/" in request.path)
        self.pattern_bytes.append(of_pattern)
        connections = len({request.connection for request in requests})
        by_web = sum(request.bytes for request in requests)
        by_ftp = sum((self.folder / "service/ftp/products/pattern/cpr" / name).stat().st_size for name in fetched)
        self.rows.append(
            (title, road, len(requests), connections, f"{by_web:,}", len(fetched), f"{by_ftp:,}", f"{seconds:.2f}")
        )
        print(f"\n  {title}:")
        print(wrapped("web", names))
        print(wrapped("FTP", fetched))

    def ftp_log(self):
        return self.ftp.commands() if self.ftp else []

    def ftp_fetches(self, before):
        """Files that were fetched by FTP since the daemon's log was as `before`."""
        if not self.ftp:
            return []
        wait_until(lambda: "QUIT" in self.ftp_log()[len(before) :], "the FTP daemon writes its log")
        return [line.removeprefix("RETR ") for line in self.ftp_log()[len(before) :] if line.startswith("RETR ")]

    def table(self):
        heading("What came over the wire")
        print(ROW.format("pass", "pattern", "requests", "connections", "web bytes", "FTP files", "FTP bytes", "seconds"))
        for row in self.rows:
            print(ROW.format(*row))
        full, _, increment = self.pattern_bytes
        if not full or not increment:
            sys.exit("a pass fetched no pattern")
        print(f"\nThe pattern: {full:,} bytes by full archive, {increment:,} bytes by increment, {increment / full:.1%}.")

    def published(self):
        heading("The published tree (ActiveUpdate)")
        for name, size in self.app.files("ActiveUpdate").items():
            print(f"{size:>12,}  {name}")
        heading("The published index (ActiveUpdate\\server.ini)")
        print(self.app.text("ActiveUpdate/server.ini").replace("\r\n", "\n").rstrip())

    def mails(self):
        mails = self.app.mails()
        heading(f"Mails in the queue (mQueue): {len(mails)}")
        for control, _ in mails:
            print("  " + subject(control))
        patterns = [mail for mail in mails if "New Pattern" in subject(mail[0])]
        if patterns:
            control, body = patterns[-1]
            print(f"\nThe last pattern mail:\n  {subject(control)}")
            print("  | " + body.strip().replace("\r\n", "\n  | "))

    def log_tail(self):
        lines = self.app.text("VlMR.log").split("\r\n")[:-1]
        heading(f"The end of the log (VlMR.log, {len(lines)} lines)")
        print("\n".join(lines[-LOG_LINES:]))

    def stop(self):
        self.app.stop_children()
        for server in self.servers:
            server.stop()


def subject(control):
    """The subject in a mail's control file."""
    return next(line[2:] for line in control.split("\r\n") if line.startswith("S="))


def wrapped(title, names):
    """The names on lines of bearable length."""
    lines, line = [], f"    {title}: "
    for name in names or ["nothing"]:
        if len(line) + len(name) > 118:
            lines.append(line)
            line = " " * (len(title) + 6)
        line += name + "  "
    return "\n".join(part.rstrip() for part in [*lines, line])


def heading(text):
    print(f"\n== {text}")


def main():
    parser = argparse.ArgumentParser(description="Mirrors a generated update service and shows the result.")
    parser.add_argument("--executable", required=True, type=Path)
    options = parser.parse_args()
    if not os.access(options.executable, os.X_OK):
        sys.exit(f"{options.executable} is not built yet: script/run builds it")

    folder = Path(os.path.realpath(tempfile.mkdtemp(prefix="vlmr-demo-")))
    show = Show(folder, options.executable.resolve())
    try:
        heading("A service with pattern 100, mirrored from nothing, again, and once it offers pattern 101")
        show.publish(version="100", increments_from=("098", "099"), cpr="1.102 v1")
        show.serve()
        show.install()
        show.mirror_pass("first pass, pattern 100")
        show.mirror_pass("second pass, nothing new")
        show.publish(version="101", increments_from=("100",), cpr="1.103 v1")
        show.mirror_pass("third pass, pattern 101")
        show.table()
        show.published()
        show.mails()
        show.log_tail()
    finally:
        show.stop()
        if os.environ.get("KEEP"):
            print(f"\nkept: {folder}")
        else:
            shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
