#!/usr/bin/python3
"""One whole run with every switch on: the order of everything that is seen from outside.

Web and FTP server note each request and command before they answer it, stand-ins that are waited for report
themselves to the web server, and those that are not waited for stay alive until the run has ended: at each of these
moments the living ones are counted. So all of it stands in one list whose order owes nothing to chance.
"""

import re
import threading
from pathlib import Path

import framework  # first: it makes the other modules known
import service
from log_lines import compare_lines

NOT_AWAITED = ("QueueMailer.exe", "PageScribe.exe", "Dialer.exe", "Sharewell.exe", "KillPelgrun.exe")
MAILS = ("OPP", "SPAM", "PRODUCTS", "RedAlert", "Engine", "TSC")
PRODUCTS = (6, 22)

class Journal:
    """Requests, commands and starts in the order of their happening."""

    def __init__(self, app):
        self.app = app
        self.events = []
        self._seen = set()
        self._lock = threading.Lock()

    def http(self, request):
        if request.path.startswith("/started"):
            self.note("start " + request.path.split("?")[1])
        else:
            self.note("http " + request.path.lstrip("/"))

    def ftp(self, command):
        word, _, argument = command.partition(" ")
        # The ports of data connections are drawn.
        self.note("ftp " + (word if word in ("PORT", "EPRT") else f"{word} {argument}".rstrip()))

    def note(self, event):
        with self._lock:
            self.look_for_starts()
            self.events.append(event)

    def look_for_starts(self):
        """Notes the stand-ins that have been started since the last look, in the order of their starts."""
        found = [stand_in for stand_in in map(self._stand_in, Path("/proc").glob("[0-9]*")) if stand_in]
        known = set(self._seen)
        self._seen.update(pid for _, pid, _, _ in found)
        for _, pid, parent, name in sorted(found):
            # A child of a stand-in looks like it until it has become another program.
            if pid not in known and parent not in self._seen:
                self.events.append("start " + name)

    def _stand_in(self, process):
        """Start time, process id, that of the parent, and name of a living stand-in of this application folder."""
        try:
            words = (process / "cmdline").read_bytes().decode("latin-1").split("\0")
            fields = (process / "stat").read_bytes().rsplit(b")", 1)[1].split()
        except OSError:
            return None
        place = 0 if self.app.target.is_windows else 1  # a script stands behind its interpreter
        folder, _, name = words[place].strip('"').rpartition("\\" if place == 0 else "/") if len(words) > place else ("", "", "")
        if folder != self.app.place or name not in NOT_AWAITED:
            return None
        return int(fields[19]), int(process.name), int(fields[1]), name


def install_siblings(app, web):
    """Stand-ins for all sibling programs; the dial-up program answers, the patch program works."""
    (web.root / "started").write_text("noted")
    answer = ("until-text Dialer.ini Connection=2", "until-text Dialer.ini Disconnect=0", "write Dialer.ini [RAS]\\nConnection=1\\n")
    for name in NOT_AWAITED:
        app.install_sibling(name, *(answer if name == "Dialer.exe" else ()), "wait-for ended")
    app.install_patch_program()
    (app.path / "Patch.exe").rename(app.path / "patch_tool")
    for name in ("ClientAudit.exe", "Ledgerbook.exe", "Patch.exe"):
        work = ["run patch_tool"] if name == "Patch.exe" else []
        app.install_sibling(name, f"get {web.port} /started?{name}", *work)


def everything_on(web, ftp):
    host = f"ftp://{ftp.host}"
    return {
        "SOURCES": {
            "ActiveUpdateMaster": web.base,
            "ActiveUpdateEPS": f"http://127.0.0.1:{web.port}/eps",
            **{key: "1" for key in ("EnableActiveUpdate", "Engines", "Products", "OPP", "MPP", "SPAM", "Alerts", "TscEnable")},
            "TscFtp": f"{host}/products/tsc",
        },
        "Proxy": {"Enable": "0"},
        "LOGS": {"MaxSize": "100000", "BackupByActions": "1", "EnableDebugPelgrun": "1", "EnableDebugsWinsockHTTP": "1"},
        "FTP": {
            "EnableCPR": "1",
            "CPRUrl": f"{host}/products/pattern/cpr",
            "Passive": "1",
            "EnableIntelligent": "1",
            "IntelligentTarget": f"{host}/shared",
            "IntelligentUsername": "joe",
            "IntelligentPassword": "secret",
            "IntelligentPassive": "1",
        },
        "RAS": {"Enable": "1"},
        "APACHE": {"Enable": "1"},
        "OFFICESCAN_UPDATE": {"Enable": "1"},
        "NOTIFICATION": {"Enable": "1", "EnableVirusNotifications": "1", **{f"Enable_{key}_Send": "1" for key in MAILS}},
    }


def everything_run(t):
    """A mirror that holds version 100 makes one run with every switch on; 101 is offered by increment."""
    root = t.publish(version="100")
    web = t.faulty_server(root)
    app = t.app()
    app.write_settings(framework.settings(web.base, {"LOGS": {"BackupByActions": "0"}}))
    app.run()
    (app.path / "VlMR.log").unlink()

    changes = {"engines": service.all_engines(), "products": PRODUCTS, "auxiliary": {key: "1.5" for key in service.AUXILIARY}}
    t.publish(t.offer, version="101", increments_from=("100",), cpr="1.890 v3", tsc=("12344", "12345"), **changes)
    shared = root / "ftp/shared"
    shared.mkdir()
    (shared / "lpt$vpn.100").write_bytes(service.pattern_bytes("100"))
    ftp = t.scripted_ftp(root / "ftp")
    install_siblings(app, web)
    app.write_settings(everything_on(web, ftp))
    journal = Journal(app)
    web.observer, ftp.observer = journal.http, journal.ftp
    run = app.run(seconds=60)
    journal.look_for_starts()
    app.put("ended", b"")
    return app, run, journal.events


def fetches(path):
    """The requests of one product or engine below the base address."""
    return f"http activeupdate/{path}"


def product(number, language):
    return [fetches(f"Product/{number}/{language}/{name}.zip") for name in ("update", "full")]


def ftp_session(user, password, folder, *work):
    return [f"ftp USER {user}", f"ftp PASS {password}", f"ftp CWD {folder}", "ftp NLST", *work, "ftp QUIT"]


EVENTS = [
    "start QueueMailer.exe",
    # An FTP session ends when the next one begins, the last one with the run.
    *ftp_session("anonymous", "mirror@velmora.example", "products/tsc", "ftp RETR tsc12345.zip")[:-1],
    "start PageScribe.exe",
    "start Dialer.exe",
    fetches("server.ini"),
    # The set of every session, then the pattern, engines, and what of the products is left for the full pass.
    *(event for language in ("64", "1") for number in PRODUCTS for event in product(number, language)),
    fetches("Pattern/v_100.101"),
    "start Patch.exe",
    fetches("Pattern/whatsnew.txt"),
    fetches("Pattern/whatsnew.txt"),
    *(fetches(f"Engine/{key.removeprefix('Path_').lower()}.zip") for key in service.ENGINE_KEYS),
    *(event for number in PRODUCTS for event in product(number, "16")),
    *(event for name in ("opp", "mpp", "spam", "redalert") for event in ("http eps/server.ini", fetches(f"Pattern/{name}.zip"))),
    "ftp QUIT",
    *ftp_session("joe", "secret", "shared", "ftp STOR %ANY%.vlmr-tmp", "ftp RNFR %ANY%.vlmr-tmp", "ftp RNTO lpt$vpn.101")[:-1],
    "start PageScribe.exe",
    "ftp QUIT",
    *ftp_session(
        "anonymous", "mirror@velmora.example", "products/pattern/cpr",
        "ftp RETR latest.ini", "ftp RETR cpr890.zip", "ftp RETR whatsnew.txt",
    )[:-1],
    "start PageScribe.exe",
    "start ClientAudit.exe",
    "start Ledgerbook.exe",
    "start PageScribe.exe",
    "start PageScribe.exe",
    "start QueueMailer.exe",
    "ftp QUIT",
]  # fmt: skip

HELD = ["PatternStored", "CleanPatternFolder", "PatternStored"]
"""One look for the pattern held."""
UNPACKED = ["PatternStored", "UnzipLatestPattern", "PatternStored", "CleanPatternFolder", "PatternStored"]
"""The first look after a new archive has been published."""
MAIL = ["PrepareMail", *HELD, *HELD, "CreateSmtpMail"]
PRODUCT = ["VerifyProductByIndex", "VerifyProductByIndex, View Minimal version", "VerifyProductByIndex"]
FETCHED_PRODUCT = [*PRODUCT, *["DownloadFiles", "DeplaceFile", "VerifyProductByIndex"] * 2]
ENGINE = ["Checkengine", "DownloadFiles", "Checkengine", "DeplaceFile", "Checkengine"]


def auxiliary(procedure, mail):
    return ["DownloadFiles", procedure, "DownloadFiles", procedure, "DeplaceFile", *mail]


PREFIXES = [
    "Loading",
    "Velmora Pelgrun.exe Start Velmora Pelgrun %V%",
    "StartingOperations",
    "TrojanSystemCleaner version 1.0 [%V%]",
    "TrojanSystemCleaner",
    "DeplaceFile",
    *MAIL,
    "DIALUP",
    "StartActiveUpdate",
    "TestingFolder",
    "StartActiveUpdate",
    "DownloadFiles",
    "StartActiveUpdate",
    *FETCHED_PRODUCT * 4,
    # The pattern: increment, patch, archive, what is new, the mirror's index.
    "StartActiveUpdate",
    "VerifLocalPatternVersion",
    "StartActiveUpdate",
    "GetIncrementUrl",
    "GetAllIncrement",
    "DownloadFiles",
    "PatchVsapI",
    *HELD,
    "PatchVsapI",
    "PatchIni",
    "DeplaceFile",
    "PatchVsapI",
    "GetIncrementUrl",
    "PatchVsapI",
    "DeplaceFile",
    "DownloadFiles",
    "DownloadWhatsNew",
    "CreatingNewPatternServerIni",
    "VerifLocalPatternVersion",
    "DeleteOldIncrementFiles",
    "VerifLocalPatternVersion",
    "DownloadFiles",
    "DownloadWhatsNew",
    "GetEngines",
    *[*ENGINE, "PrepareMail", *UNPACKED, *HELD, "CreateSmtpMail"],
    *[*ENGINE, *MAIL] * 11,
    # Each product for both languages in turn; the first of them is held by now.
    "GetProducts",
    *([*PRODUCT, *FETCHED_PRODUCT] * 2)[:-1],
    *auxiliary("GetOPPPattern", MAIL),
    *auxiliary("GetMPPPattern", ["PrepareMail"]),
    *auxiliary("GetSPAMPattern", MAIL),
    *auxiliary("GetRedAlertPattern", MAIL),
    *MAIL,
    *MAIL,
    "StartIntelligentFTP",
    "GetLastPatternFromList",
    *HELD,
    "StartIntelligentFTP",
    "GET_CPR_PATTERN",
    "DeplaceFile",
    *MAIL,
    "DeleteCprTempFiles",
    "StartActiveUpdate",
    "Launch Ledgerbook.exe addon...",
    "StartingOperations",
    *["KillPatternServer", "Path to clean", *HELD, "KillPatternServer"] * 2,
    "StartingOperations",
]


def test_all_requests_commands_and_starts_come_in_the_order_described(t):
    _, _, events = everything_run(t)
    compare_lines([event for event in events if not is_transport(event)], EVENTS)


def is_transport(event):
    """Commands that prepare a listing or a transfer and whose order is the FTP library's own."""
    return event in ("ftp PWD", "ftp EPSV", "ftp CWD /") or event.startswith(("ftp TYPE", "ftp SIZE"))


def test_all_log_prefixes_come_in_the_order_described(t):
    _, run, _ = everything_run(t)
    compare_lines(prefixes(run.log), collapsed(PREFIXES))
    run.log.refuse("StartingOperations: Error", "StartActiveUpdate: Error", "Loading... Error", "WaitFor:")
    waits = ["DIALUP:  Response from RAS module connected", "PatchIni: execute %ANY%\\Patch.exe"]
    waits += ["StartActiveUpdate: Execute : %ANY%\\ClientAudit.exe", "Launch Ledgerbook.exe addon..."]
    run.log.expect(*waits)


def test_every_job_of_the_run_leaves_its_result_and_its_mail(t):
    app, _, _ = everything_run(t)
    published = set(app.files("ActiveUpdate"))
    engines = {f"Engine/{key.removeprefix('Path_').lower()}.zip" for key in service.ENGINE_KEYS}
    products = {f"Product/{n}/{l}/{f}.zip" for n in PRODUCTS for l in ("1", "16", "64") for f in ("full", "update")}
    patterns = {f"Pattern/{name}" for name in ("vsapi.zip", "whatsnew.txt", "opp.zip", "mpp.zip", "spam.zip", "redalert.zip")}
    others = {"TSC/tsc.exe", "TSC/tsc.ptn", "TSC/TSC.zip", "CPR/cpr890.zip", "CPR/latest.ini", "CPR/whatsnew.txt", "server.ini"}
    assert published == engines | products | patterns | others, published ^ (engines | products | patterns | others)
    shared = t.folder / "service/ftp/shared/lpt$vpn.101"
    assert shared.read_bytes() == service.pattern_bytes("101")
    subjects = [re.search(r"S=\[Velmora\]:? ?New (.*?) (?:found|From)", control) for control, _ in app.mails()]
    names = [subject[1] if subject else None for subject in subjects]
    wanted = ["TSC Pattern", *["Scan Engine"] * 12, "OPP", "SPAM", "RedAlert", "Pattern", "Products", "CPR Pattern"]
    assert names == wanted, [control for control, _ in app.mails()]
    assert app.setting("RAS", "Disconnect", "Dialer.ini") == "1"
    assert app.files("BackupLogs")


def collapsed(lines):
    return [line for place, line in enumerate(lines) if place == 0 or lines[place - 1] != line]


def prefixes(log):
    """What the lines begin with, up to the colon; a run of equal ones counts once."""
    return collapsed([re.match(r"[^:=]*", line)[0].strip() for line in log])


if __name__ == "__main__":
    framework.main()
