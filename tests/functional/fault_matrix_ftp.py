#!/usr/bin/python3
"""Everything that can go wrong with FTP, met by every kind of content that comes or goes this way.

Each case begins with an older state while the server offers a newer one, and the server makes one mistake. The run must
end by itself and say why it failed; what is published, here and in the shared folder, is old or new and whole; the next run
against the healthy server leaves everything complete. A line for each case shows what happened.
"""

import framework  # first: it makes the other modules known
import re
import shutil
import zipfile
from dataclasses import dataclass

import fault_matrix
import scripted_ftp as ftp
import service
from app_folder import read_ini
from faulty_server import HTML_PAGE, share_of
from scripted_ftp import ScriptedFtp

# Most of a run is waiting for one command after the other.
WORKERS = 2 * fault_matrix.WORKERS
REASON = re.compile(r"Error connecting|Cannot |corrupted|unable to uncompress|Unable to get|FtpListing: |Error |ERROR|Nothing is stored")


@dataclass(frozen=True)
class Kind:
    """A kind of content: which job of the run moves it, under what name, and at which transfer of the connection."""

    name: str
    job: str
    file: str
    transfer: int = 1
    command: str = "RETR"


KINDS = (
    Kind("CPR index", "cpr", "latest.ini", 1),
    Kind("CPR archive", "cpr", "cpr891.zip", 2),
    Kind("CPR virus list", "cpr", "whatsnew.txt", 3),
    Kind("cleaner", "tsc", "tsc12346.zip"),
    Kind("exchange, get", "get", "lpt$vpn.101"),
    Kind("exchange, put", "put", "lpt$vpn.101", command="STOR"),
)
GETS, PUT = KINDS[:5], KINDS[5]
JOBS = (KINDS[0], KINDS[3], KINDS[4], KINDS[5])
"""One kind for each job: what goes wrong before the first transfer is the same for all that a job moves."""


@dataclass(frozen=True)
class Fault:
    """`script` is made for a kind: pairs of a command and its answers. `works`: the content arrives all the same.
    `blind`: nothing tells the client that this is not the file, so what was sent may arrive."""

    name: str
    script: object
    works: bool = False
    blind: bool = False
    passive: str = "1"
    leaves: bool = False
    """The server refuses to take back what it took; the next upload writes over it."""


def at(command, *answers):
    return lambda kind: [(command, answers)]


def on_file(answer):
    """The answer to the command that asks for the file of the kind."""
    return lambda kind: [("RETR", (ftp.only_for(kind.file, answer),))]


def at_data(epsv, pasv=None):
    """Answers to what opens the data connection of the kind's own transfer; those before it are opened well."""
    return lambda kind: [("EPSV", (*[None] * kind.transfer, epsv)), ("PASV", (pasv,))]


def cut(share):
    return lambda data: data[: share_of(data, share)]


SHARES = ((0, "at 0"), (0.25, "at 1/4"), (0.5, "at 1/2"), (0.75, "at 3/4"), (1, "before the last byte"))
LOG_IN = ("GREETING", "USER", "PASS")
COMMANDS = (*LOG_IN, "PWD", "CWD", "EPSV", "TYPE", "NLST")
NO_SIZE = ("SIZE", ("502 not told",))


def without_size(script):
    """The same with a server that does not tell lengths."""
    return lambda kind: [*script(kind), NO_SIZE]


def session_faults():
    yield Fault("log-in refused", at("PASS", "530 not you"))
    yield Fault("user refused", at("USER", "530 not you"))
    yield Fault("user needs an account", at("PASS", "332 account, please"))
    yield Fault("greeting refuses", at("GREETING", "554 no service"))
    yield Fault("folder refused", at("CWD", "550 no such folder"))
    for command in COMMANDS:
        yield Fault(f"421 at {command}", at(command, "421 going down"), works=None)
        yield Fault(f"hung up at {command}", at(command, ftp.hang_up), works=None)
        yield Fault(f"reset at {command}", at(command, ftp.reset_control), works=None)
    for command in ("PASS", "CWD", "NLST"):
        yield Fault(f"garbage at {command}", at(command, ftp.raw(bytes(range(128, 256)) * 4 + b"\r\n500 what\r\n")))
        yield Fault(f"unknown code at {command}", at(command, "999 what"), works=None)
        yield Fault(f"reply line of 1 MB at {command}", at(command, "550 " + "x" * 1_000_000))
        yield Fault(f"reply of 400 KB in lines at {command}", at(command, "550-more\n" * 40_000 + "550 end"))
        yield Fault(f"reply without end at {command}", at(command, ftp.endless_reply))
    yield Fault("EPSV refused", at("EPSV", "500 what"), works=True)
    yield Fault("EPSV and PASV refused", lambda kind: [("EPSV", ("500 what",)), ("PASV", ("502 no",))])
    yield Fault("EPSV answers garbage", at("EPSV", "229 all is well"), works=None)
    yield Fault("EPSV names port 99999", at("EPSV", "229 Entering Extended Passive Mode (|||99999|)"), works=None)
    yield Fault("PASV answers garbage", lambda kind: [("EPSV", ("500 what",)), ("PASV", ("227 all is well",))])
    yield Fault("PASV names another machine", lambda kind: [("EPSV", ("500 what",)), ("PASV", (ftp.pasv_elsewhere,))], works=True)
    yield Fault("PASV to a closed port", lambda kind: [("EPSV", ("500 what",)), ("PASV", (ftp.closed_port,))])
    yield Fault("EPRT and PORT refused", lambda kind: [("EPRT", ("500 what",)), ("PORT", ("500 what",))], passive="0")
    yield Fault("listing refused with 425", at("NLST", "425 no data connection"))
    yield Fault("listing refused with 450", at("NLST", "450 none"), works=None)
    yield Fault("listing refused with 500", at("NLST", "500 what"))
    yield Fault("listing of nothing", at("NLST", ftp.transfer(lambda data: b"")), works=None)
    yield Fault("listing broken off", at("NLST", ftp.transfer(cut(0.5), reset=True, after="426 broken off")))
    yield Fault("listing of bytes", at("NLST", ftp.transfer(lambda data: bytes(range(256)) * 40)), works=None)
    yield Fault("listing in HTML", at("NLST", ftp.transfer(lambda data: HTML_PAGE)), works=None)
    yield Fault("listing of names outside", at("NLST", ftp.transfer(lambda data: b"../../x.zip\r\nC:\\y.zip\r\nCON\r\n" * 9)), works=None)
    yield Fault("listing without 226", at("NLST", ftp.transfer(after=None)))
    yield Fault("listing of 17 MB", at("NLST", ftp.transfer(lambda data: b"some-name.txt\r\n" * 1_300_000)))
    yield Fault("listing without end", at("NLST", ftp.endless_data))


def transfer_faults():
    for reply in ("550 no such file", "450 busy", "451 read error", "425 no data connection", "426 broken off", "530 not you"):
        yield Fault(f"RETR refused with {reply[:3]}", on_file(reply))
    yield Fault("RETR refused with 421", on_file("421 going down"))
    yield Fault("226 without 150 and data", on_file("226 that was it"))
    yield Fault("hung up at RETR", on_file(ftp.hang_up))
    yield Fault("reset at RETR", on_file(ftp.reset_control))
    yield Fault("garbage at RETR", on_file(ftp.raw(b"\x80\xff\x00garbage\r\n500 what\r\n")))
    yield Fault("reply without end at RETR", on_file(ftp.endless_reply))
    for share, name in SHARES:
        yield Fault(f"cut {name}, 426", on_file(ftp.transfer(cut(share), after="426 broken off")))
        yield Fault(f"cut {name}, 226", on_file(ftp.transfer(cut(share))))
        yield Fault(f"cut {name}, reset", on_file(ftp.transfer(cut(share), reset=True, after="426 broken off")))
    for share, name in SHARES[1:4]:
        yield Fault(f"cut {name}, control closed", on_file(ftp.transfer(cut(share), after=None)))
        yield Fault(f"cut {name}, 226, no SIZE", without_size(on_file(ftp.transfer(cut(share)))), blind=True)
        yield Fault(f"cut {name}, 451, no SIZE", without_size(on_file(ftp.transfer(cut(share), after="451 read error"))))
    yield Fault("whole, but 451 at the end", on_file(ftp.transfer(after="451 read error")))
    yield Fault("whole, but the control connection closed", on_file(ftp.transfer(after=None)), works=None)
    yield Fault("other content of the right length", on_file(ftp.transfer(lambda data: bytes(b ^ 0x55 for b in data))), blind=True)
    yield Fault("HTML page", without_size(on_file(ftp.transfer(lambda data: HTML_PAGE))), blind=True)
    yield Fault("empty file, no SIZE", without_size(on_file(ftp.transfer(cut(0)))), blind=True)
    yield Fault("SIZE not known", at("SIZE", "502 not known"), works=True)
    yield Fault("SIZE refused with 550", at("SIZE", "550 not told"), works=None)
    yield Fault("SIZE too large", at("SIZE", "213 99999999"))
    yield Fault("SIZE too small", at("SIZE", "213 10"), blind=True)
    yield Fault("SIZE of nothing", at("SIZE", "213 0"), blind=True)
    yield Fault("SIZE negative", at("SIZE", "213 -5"))
    yield Fault("SIZE no number", at("SIZE", "213 many"), works=None)
    yield Fault("SIZE beyond all numbers", at("SIZE", "213 99999999999999999999999"), works=None)
    yield Fault("second data connection refused", at_data("500 what", "502 no"))
    yield Fault("second data connection to a closed port", at_data("500 what", ftp.closed_port))
    # Noticed while it is opened, it is one that could not be opened, and the other passive mode serves.
    yield Fault("second data connection broken off at once", at_data(ftp.dead_passive), works=None)


def put_faults():
    for reply in ("550 no", "452 disk full", "552 too large", "425 no data connection", "421 going down"):
        yield Fault(f"STOR refused with {reply[:3]}", at("STOR", reply))
    yield Fault("553 for the first name", at("STOR", "553 not this name", None), works=True)
    yield Fault("hung up at STOR", at("STOR", ftp.hang_up))
    yield Fault("reset at STOR", at("STOR", ftp.reset_control))
    yield Fault("STOR ends with 452", at("STOR", ftp.store_failure()))
    yield Fault("STOR broken off", at("STOR", ftp.broken_store))
    yield Fault("RNFR refused", at("RNFR", "550 no"), works=True)
    yield Fault("RNTO refused", at("RNTO", "553 not this name"), works=True)
    for command in ("RNFR", "RNTO"):
        yield Fault(f"421 at {command}", at(command, "421 going down"), works=None)
        yield Fault(f"hung up at {command}", at(command, ftp.hang_up), works=None)
    yield Fault("RNTO and DELE refused", lambda kind: [("RNTO", ("550 no",)), ("DELE", ("550 no",))], works=None, leaves=True)
    yield Fault("STOR and DELE fail", lambda kind: [("STOR", (ftp.store_failure(),)), ("DELE", ("550 no",))])
    yield Fault("hung up at DELE", lambda kind: [("STOR", (ftp.store_failure(),)), ("DELE", (ftp.hang_up,))])
    yield Fault("second data connection refused", at_data("500 what", "502 no"))


def stalls():
    """Faults by which the server says nothing more, for the kinds that they can meet."""
    yield Fault("greeting of a mail server", at("GREETING", ftp.raw(b"* OK IMAP4 ready\r\n* BYE\r\n"))), JOBS
    yield Fault("greeting in HTML", at("GREETING", ftp.raw(HTML_PAGE))), JOBS
    for command in ("GREETING", "PASS", "CWD", "EPSV", "NLST"):
        yield Fault(f"silence at {command}", at(command, ftp.stall)), JOBS
    yield Fault("silence at RETR", on_file(ftp.stall)), GETS
    yield Fault("silence within the data", on_file(ftp.transfer(cut(0.5), wait=600))), GETS
    yield Fault("silence behind the data", on_file(ftp.transfer(after=ftp.stall)), works=None), GETS
    yield Fault("silence at STOR", at("STOR", ftp.stall)), (PUT,)
    yield Fault("data connection never opened", at("NLST", ftp.never_calls), passive="0"), JOBS


SESSION, TRANSFER, STORE = list(session_faults()), list(transfer_faults()), list(put_faults())


@dataclass(frozen=True)
class Offer:
    """What a server offers, by the names that tell one offer from another."""

    top: object
    cpr: str
    cleaner: str
    version: str

    @property
    def cpr_archive(self):
        return f"cpr{self.cpr[2:5]}.zip"


class Content:
    """What the FTP server offers, and the folders that the cases begin with."""

    def __init__(self, t):
        self.t = t
        self.old = self.offer("old", "1.890 v3", ("12345",), "100")
        self.new = self.offer("new", "1.891 v1", ("12345", "12346"), "101")
        self.next = self.offer("next", "1.892 v1", ("12346", "12347"), "102")
        self.prepared = {job: self.prepare(job) for job in ("cpr", "tsc", "get", "put")}

    def offer(self, name, cpr, cleaners, version):
        names = (f"Quill.{version}", "Tumble-Weed.1024")
        top = self.t.publish(folder=name, cpr=cpr, tsc=cleaners, virus_names=names) / "ftp"
        for folder, versions in (("get", {"100", version}), ("put", {"100"})):
            (top / folder).mkdir()
            for held in versions:
                (top / folder / f"lpt$vpn.{held}").write_bytes(service.pattern_bytes(held))
        return Offer(top, cpr, cleaners[-1], version)

    def prepare(self, job):
        """The state of the mirror after a run against the old offer."""
        server = self.t.scripted_ftp(self.old.top)
        app = self.t.app(f"prepare-{job}")
        app.write_settings(job_settings(job, server.host))
        if job == "put":
            app.put("Pattern/lpt$vpn.101", service.pattern_bytes("101"))
        else:
            app.run()
        return fault_matrix.prepared_from(app, self.t.folder / f"prepared-{job}")


def job_settings(job, host, passive="1"):
    sources = {"EnableActiveUpdate": "0"}
    ftp_keys = {"Passive": passive}
    if job == "cpr":
        ftp_keys |= {"EnableCPR": "1", "CPRUrl": f"ftp://{host}/products/pattern/cpr"}
    elif job == "tsc":
        sources |= {"TscEnable": "1", "TscFtp": f"ftp://{host}/products/tsc"}
    else:
        ftp_keys |= {"EnableIntelligent": "1", "IntelligentTarget": f"ftp://{host}/{job}", "IntelligentPassive": passive}
        ftp_keys |= {"IntelligentUsername": "anonymous"}
    return {"SOURCES": sources, "FTP": ftp_keys, "LOGS": {"MaxSize": "100000"}}


class Player:
    """An application folder and a server with a folder of its own; plays one case after the other."""

    def __init__(self, t, name, content, seconds=60):
        self.content = content
        self.seconds = seconds
        self.app = t.app(name)
        self.root = t.folder / f"ftp-{name}"
        t.keep_folder(self.root)
        self.put_folder = self.root / "put"
        self.server = t.keep(ScriptedFtp(self.root))

    def play(self, case):
        fault, kind = case.fault, case.kind
        fault_matrix.restore(self.app, self.content.prepared[kind.job])
        self.serve(self.content.new)
        for command, answers in fault.script(kind):
            self.server.script(command, *answers)
        self.app.write_settings(job_settings(kind.job, self.server.host, fault.passive))
        log = self.app.run(seconds=self.seconds).log
        assert log[-1] == "StartingOperations: Enable Timer for Killing process", log[-1]
        log.refuse("Timer Killer")
        assert not self.app.temporary_files(), self.app.temporary_files()
        states = self.states(kind, fault)
        assert "damaged" not in states.values(), (states, str(log))
        reason = next((line for line in log if REASON.search(line)), "-")
        done = self.is_complete(kind)
        if not fault.blind and fault.works is not None:
            assert done == fault.works and (reason == "-") == fault.works, (done, reason, str(log))
        assert done or reason != "-" or fault.blind, str(log)
        self.recover(kind, fault)
        return reason.replace(self.app.place, ""), ", ".join(f"{name} {state}" for name, state in states.items())

    def serve(self, offer):
        """The healthy server with this offer."""
        self.server.behave()
        self.server.root = self.root
        self.offer = offer
        shutil.rmtree(self.root, ignore_errors=True)
        shutil.copytree(offer.top, self.root)

    def recover(self, kind, fault):
        """The next run against the healthy server; a version that counts as held already is followed by the next one."""
        if kind.job == "put":
            self.server.behave()
        else:
            self.serve(self.content.next if self.holds(kind, self.offer) else self.offer)
        self.app.write_settings(job_settings(kind.job, self.server.host))
        self.app.run(seconds=self.seconds)
        assert self.is_complete(kind), (self.states(kind, fault), str(self.app.log()))
        assert not self.app.temporary_files(), self.app.temporary_files()
        left = [path.name for path in self.put_folder.iterdir() if path.name.startswith("upload-")]
        assert not left or fault.leaves, left

    # --- what is published ----------------------------------------------------------------------------------

    def states(self, kind, fault):
        check = {"cpr": self.cpr_states, "tsc": self.tsc_states, "get": self.get_states, "put": self.put_states}
        return {name: "as sent" if state == "damaged" and fault.blind else state for name, state in check[kind.job]().items()}

    def word(self, good):
        """Finds which offer something is from: `good` tells of an offer whether it is."""
        offers = {"new": self.offer, "old": self.content.old, "before": self.content.new}
        return next((word for word, offer in offers.items() if good(offer)), "damaged")

    def cpr_states(self):
        folder = self.app.path / "ActiveUpdate/CPR"
        index = read_ini(folder / "latest.ini")
        version = index["latestpattern"]["patternversion"]
        assert (folder / index["zip"]["zipfile"]).stat().st_size == int(index["zip"]["zipsize"]), index

        def same(offer, path):
            offered = offer.top / "products/pattern/cpr" / path.name
            return offered.is_file() and offered.read_bytes() == path.read_bytes()

        files = [path for path in sorted(folder.iterdir()) if path.name != "latest.ini"]
        states = {path.name: self.word(lambda offer, path=path: same(offer, path)) for path in files}
        return states | {"latest.ini": self.word(lambda offer: offer.cpr == version)}

    def tsc_states(self):
        def same(offer, path):
            archive = offer.top / f"products/tsc/tsc{offer.cleaner}.zip"
            held = contents(archive) | {"TSC.zip": archive.read_bytes()}
            return held.get(path.name) == path.read_bytes()

        files = sorted((self.app.path / "ActiveUpdate/TSC").iterdir())
        states = {path.name: self.word(lambda offer, path=path: same(offer, path)) for path in files}
        return states or {"TSC": "none"}

    def get_states(self):
        archive = self.app.path / "ActiveUpdate/Pattern/vsapi.zip"
        index = read_ini(self.app.path / "ActiveUpdate/server.ini")["pattern"]
        assert index["path_vsapi"] == f"Pattern/vsapi.zip,{archive.stat().st_size}", index
        held = contents(archive)

        def same(offer):
            return held == {f"lpt$vpn.{offer.version}": service.pattern_bytes(offer.version)}

        return {"vsapi.zip": self.word(same), "index": self.word(lambda offer: offer.version == index["version"])}

    def put_states(self):
        names = {path.name: path.read_bytes() for path in self.put_folder.iterdir()}
        assert names.pop("lpt$vpn.100") == service.pattern_bytes("100")
        sent = names.pop("lpt$vpn.101", None)
        assert all(name.startswith("upload-") for name in names), names.keys()
        return {"shared": "old" if sent is None else "new" if sent == service.pattern_bytes("101") else "damaged"}

    def holds(self, kind, offer):
        """The version of the offer is recorded as held, so that the next run asks for nothing."""
        if kind.job == "cpr":
            return self.app.setting("LatestPattern", "PatternVersion", "ActiveUpdate/CPR/latest.ini") == offer.cpr
        if kind.job == "tsc":
            return self.app.setting("TSC", "PatternBuild", "TscVLMR.ini") == offer.cleaner and bool(self.app.files("ActiveUpdate/TSC"))
        return (self.app.path / f"Pattern/lpt$vpn.{offer.version}").exists()

    def is_complete(self, kind):
        if kind.job == "cpr":
            states = self.cpr_states()
            return all(states.get(name) == "new" for name in (self.offer.cpr_archive, "whatsnew.txt", "latest.ini"))
        if kind.job == "tsc":
            return self.tsc_states() == {"TSC.zip": "new", "tsc.exe": "new", "tsc.ptn": "new"} and self.holds(kind, self.offer)
        if kind.job == "get":
            return self.get_states() == {"vsapi.zip": "new", "index": "new"}
        return self.put_states() == {"shared": "new"}


def contents(archive):
    try:
        with zipfile.ZipFile(archive) as packed:
            return {name: packed.read(name) for name in packed.namelist()}
    except zipfile.BadZipFile:
        return {}


def test_every_fault_of_ftp_leaves_whole_files_and_is_mended_by_the_next_run(t):
    content = Content(t)
    parts = ((SESSION, JOBS), (TRANSFER, GETS), (STORE, (PUT,)))
    cases = [case for faults, kinds in parts for case in fault_matrix.pairs(faults, kinds)]
    silent = [fault_matrix.Case(fault, kind) for fault, kinds in stalls() for kind in kinds]
    if not fault_matrix.LONG:
        silent = [case for case in silent if case.kind.job == "tsc"]
    players = [Player(t, f"player{number}", content) for number in range(WORKERS)]
    waiters = [Player(t, f"silent{number}", content, seconds=200) for number in range(len(silent))]
    fault_matrix.play_all((players, fault_matrix.chosen(cases, t.random)), (waiters, silent))
    for faults, kinds in parts:
        fault_matrix.print_count(faults, kinds)
    print(f"  {len({case.fault.name for case in silent})} kinds of silence, {len(silent)} cases")


if __name__ == "__main__":
    framework.main()
