#!/usr/bin/python3
"""Everything that can go wrong with a transfer, met by every kind of file of the update service.

Each case begins with a mirror of version 100 while the service offers 101, and one file of it comes with a fault. The run
must end by itself and say why it failed; of each published file the old or the new bytes are there, whole; the next run
against the healthy service leaves a complete mirror. A line for each case shows what happened.
"""

import framework  # first: it makes the other modules known
import dataclasses
import re
import zipfile
import zlib
from dataclasses import dataclass

import fault_matrix
import faulty_server as faults
import service
from app_folder import read_ini
from faulty_server import FaultyServer
from web_servers import make_certificate, trusting

# What the second component is tried with: it is configured and judged in the same place as the first.
SECOND_SHARE = fault_matrix.SHARE if fault_matrix.LONG else fault_matrix.SHARE / 10
ENGINE = "Path_VSAPI32_NLM"
ERRORS = re.compile(r"(?i)error|corrupt|refused|unable|didn't|end with")


@dataclass(frozen=True)
class Kind:
    """A kind of file, by the path that a fault is set for."""

    name: str
    path: str
    offer: str = "full"
    """Which of the two offers of version 101: "full" leads to the archive, "increments" to the increment."""
    versioned: bool = False
    """What failed is not tried again before its version rises."""


KINDS = (
    Kind("index", "server.ini"),
    Kind("archive", "Pattern/vsapi.zip", versioned=True),
    Kind("increment", "Pattern/v_100.101", offer="increments"),
    Kind("engine", "Engine/vsapi32_nlm.zip"),
    Kind("product", "Product/1/1/full.zip", versioned=True),
    Kind("whatsnew", "Pattern/whatsnew.txt", versioned=True),
)
INDEX, ARCHIVE = KINDS[:2]


@dataclass(frozen=True)
class Fault:
    """`play` answers a request. `sent` makes of the good body what the client must take for the whole file, where no
    client of the protocol can tell that it is not; None: the transfer fails."""

    name: str
    play: object
    sent: object = None
    stays: bool = False
    """It spoils the whole run, not one file."""


def good_body(body):
    return body


def part(share):
    return lambda body: body[: faults.share_of(body, share)]


SHARES = ((0, "at 0"), (0.25, "at 1/4"), (0.5, "at 1/2"), (0.75, "at 3/4"), (1, "before the last byte"))
STATUSES = (304, 305, 400, 401, 403, 404, 407, 408, 410, 416, 429, 500, 502, 503, 504)

FAULTS = [
    *(Fault(f"status {number}", faults.status(number)) for number in STATUSES),
    Fault("status 999", faults.status(999)),
    Fault("status 304 without a body", faults.no_content(304)),
    Fault("status 204, nothing", faults.no_content(204)),
    Fault("status 206 unasked, the first half", faults.part_unasked),
    Fault("status 301 without Location", faults.status(301)),
    Fault("status 302 to itself", faults.redirect_to_itself),
    Fault("six redirects", faults.redirect_chain(6)),
    Fault("redirect to ftp", faults.redirect("ftp://127.0.0.1:9/x")),
    Fault("redirect to a file", faults.redirect("file:///etc/hostname")),
    Fault("redirect to an unknown scheme", faults.redirect("gopher://127.0.0.1/x")),
    Fault("redirect to no address", faults.redirect("http://", 303)),
    Fault("redirect to nobody", faults.redirect("http://127.0.0.1:9/x", 307)),
    *(Fault(f"cut {name}", faults.cut_at(share)) for share, name in SHARES),
    Fault("length too large by ten", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n+10}")),
    Fault("length too small by ten", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n-10}"), lambda b: b[:-10]),
    Fault("two lengths, the first too small", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n-10}\nContent-Length: {n}")),
    Fault("two lengths, the second too small", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n}\nContent-Length: {n-10}")),
    Fault("a list of two lengths", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n-10}, {n}")),
    Fault("the same length twice", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: {n}\nContent-Length: {n}"), good_body),
    Fault("negative length", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: -5")),
    Fault("length that is no number", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: many")),
    Fault("length beyond all numbers", faults.raw_with_body("HTTP/1.1 200 OK\nContent-Length: 99999999999999999999999")),
    *(Fault(f"no length, cut {name}", faults.no_length_cut_at(share), part(share)) for share, name in SHARES[1:4]),
    Fault("chunk without a size", faults.broken_chunk),
    Fault("chunks without an end", faults.cut_chunks),
    Fault("chunk of 2 GB that is not there", faults.chunk_sized("7fffffff")),
    Fault("chunk size beyond all numbers", faults.chunk_sized("f" * 40)),
    Fault("chunk larger than its size", faults.chunk_sized("2")),
    Fault("negative chunk size", faults.chunk_sized("-10")),
    Fault("gzip unasked", faults.gzip_unasked),
    Fault("gzip unasked and broken", faults.encoded("gzip", lambda body: b"\x1f\x8b\x08\x00broken" + body[:100])),
    Fault("gzip announced, plain body", faults.encoded("x-gzip", good_body)),
    Fault("deflate unasked", faults.encoded("deflate", zlib.compress)),
    Fault("unknown transfer coding", faults.raw_with_body("HTTP/1.1 200 OK\nTransfer-Encoding: gzip, chunked")),
    Fault("trickle", faults.trickle(piece=2000, interval=0.01), good_body),
    Fault("reset before the answer", faults.reset()),
    Fault("reset within the header", faults.reset_in_head),
    Fault("reset within the body", faults.reset(after=100)),
    Fault("HTML page with status 200", faults.html, lambda _: faults.HTML_PAGE),
    Fault("other content of the right length", faults.same_length, faults.changed_content),
    Fault("empty file", faults.empty, lambda _: b""),
    Fault("300 interim answers", faults.continue_storm(300), good_body),
    Fault("20000 interim answers", faults.continue_storm(20_000)),
    Fault("a header line of 400 KB", faults.huge_header()),
    Fault("400 KB of short header lines", faults.many_headers()),
    Fault("a header line without end", faults.endless_header_line()),
    Fault("greeting of a mail server", faults.not_http),
    Fault("bytes that are no header", faults.raw(bytes(range(256)) * 8)),
    Fault("header cut off", faults.raw(b"HTTP/1.1 200 OK\r\nContent-Le")),
    Fault("status line without a number", faults.raw_with_body("HTTP/1.1 fine\nContent-Length: {n}")),
    Fault("status line of an unknown version", faults.raw_with_body("HTTP/7.3 200 OK\nContent-Length: {n}")),
    Fault("a body and no header", lambda exchange: exchange.send(exchange.body)),
    Fault("empty reply", faults.raw(b"\r\n\r\n")),
    Fault("closed after the request", faults.hang_up),
    Fault("closed before the request", faults.turn_away, stays=True),
]

STALLS = [
    Fault("silence before the answer", faults.stall()),
    Fault("silence within the header", faults.stall_in_head),
    Fault("silence behind the header", faults.stall(after_headers=True)),
    Fault("silence within the body", faults.stall(after_bytes=100)),
]


class Services:
    """The update service in the states that the cases need."""

    def __init__(self, t):
        def state(folder, version, release, **changes):
            offer = dataclasses.replace(base, version=version, engines={ENGINE: release}, product_version=release, **changes)
            return t.publish(offer, folder=folder)

        base = service.Offer(products=(1,), product_languages=("1", "16"), product_bytes=(3000, 6000), engine_bytes=5000)
        self.old = state("old", "100", "6.1")
        self.offers = {
            "full": state("full", "101", "7.1"),
            "increments": state("increments", "101", "7.1", increments_from=("100",)),
        }
        self.next = state("next", "102", "8.1")


def mirror_settings(base, api="1"):
    return framework.settings(base, {"SOURCES": {"Engines": "1", "Products": "1"}, "SERVICE": {"ApiEnable": api}})


def prepared_mirror(t, services):
    """A complete mirror of the old state, as files to begin with."""
    server = t.faulty_server(services.old)
    app = t.app("prepare")
    app.install_patch_program()
    app.write_settings(mirror_settings(server.base))
    app.run()
    check_complete(app, services.old, "100")
    return fault_matrix.prepared_from(app, t.folder / "prepared")


class Player:
    """An application folder and a server; plays one case after the other over one of the two components."""

    def __init__(self, t, name, services, prepared, seconds=30, api="1"):
        self.services = services
        self.prepared = prepared
        self.seconds = seconds
        self.api = api
        self.app = t.app(name)
        self.server = t.keep(FaultyServer(services.old))

    def play(self, case):
        fault, kind = case.fault, case.kind
        root = self.services.offers[kind.offer]
        fault_matrix.restore(self.app, self.prepared)
        self.serve(root)
        self.server.fault(kind.path, fault.play)
        run = self.app.run(seconds=self.seconds)
        assert kind.path in self.server.paths(), "the file is not asked for"
        self.check_run(run, fault)
        sent = fault.sent((root / "activeupdate" / kind.path).read_bytes()) if fault.sent else None
        self.check_tree(root, kind, sent)
        row = self.reason(run.log, fault), self.published(root, kind, sent)
        self.recover(kind, fault, root)
        return row

    def serve(self, root):
        self.server.behave()
        self.server.root = root
        self.server.requests.clear()
        self.app.write_settings(mirror_settings(self.server.base, self.api))

    def check_run(self, run, fault):
        assert run.log[-1] == "StartingOperations: Enable Timer for Killing process", run.log[-1]
        run.log.refuse("Timer Killer")
        errors = run.log.starting("DownloadFiles: HTTP Error [")
        # The second component tells no reason, by design.
        assert bool(errors) == (fault.sent is None and self.api == "1"), f"{run.log}"
        assert not errors or re.fullmatch(r"DownloadFiles: HTTP Error \[\d+ .*\]", errors[0]), errors[0]
        left = self.app.temporary_files()
        assert not left, left

    def check_tree(self, root, kind, sent):
        """Each published file is the old or the new one, or what was sent under its name."""
        top = self.app.path / "ActiveUpdate"
        for name in self.app.files("ActiveUpdate"):
            if name == "server.ini":
                check_index(top)
            else:
                state = self.state(root, name, sent if name == kind.path else None)
                assert state != "damaged", name
        for name in ("Pattern/vsapi.zip", "Engine/vsapi32_nlm.zip", "Product/1/1/full.zip", "Product/1/16/update.zip"):
            assert (top / name).is_file(), f"{name} is gone"

    def state(self, root, name, sent=None):
        path = self.app.path / "ActiveUpdate" / name
        if not path.is_file():
            return "none"
        data = path.read_bytes()
        states = {"old": self.services.old, "new": root}
        for word, folder in states.items():
            offered = folder / "activeupdate" / name
            if offered.is_file() and offered.read_bytes() == data:
                return word
        if name == "Pattern/vsapi.zip" and pattern_of(path) == {"lpt$vpn.101": service.pattern_bytes("101")}:
            return "new"  # built here from an increment
        return "as sent" if data == sent else "damaged"

    def reason(self, log, fault):
        """The first line that tells of an error, without those that every run without increments logs."""
        usual = ("CreatingNewPatternServerIni: !! Error !! code 9", "PatchVsapI: didn't")
        lines = [line for line in log if ERRORS.search(line) and not line.startswith(usual)]
        first = next((line for line in lines if line.startswith("DownloadFiles: HTTP Error [")), (lines or ["-"])[0])
        return first.replace(self.app.place, "") if fault.sent is not good_body else "-"

    def published(self, root, kind, sent):
        index = read_ini(self.app.path / "ActiveUpdate/server.ini")
        version = {"100": "old", "101": "new"}.get(index["pattern"]["version"], index["pattern"]["version"])
        names = {"index": (), "increment": ("Pattern/vsapi.zip",)}.get(kind.name, (kind.path,))
        files = [f"{name.rsplit('/')[-1]} {self.state(root, name, sent)}" for name in names]
        return ", ".join([f"index {version}", *files])

    def recover(self, kind, fault, root):
        """The next run against the healthy service, at a higher version where the described order waits for one."""
        version = "101"
        if kind.versioned or fault.sent or fault.stays:
            root, version = self.services.next, "102"
        self.serve(root)
        self.app.run(seconds=self.seconds)
        check_complete(self.app, root, version)


def check_index(top):
    """`server.ini` is text of sections and keys, and the archive has the length that it tells."""
    text = (top / "server.ini").read_bytes().decode("ascii")
    assert text.endswith("\r\n")
    for line in text.split("\r\n"):
        assert line.strip() == "" or line.startswith((";", "[")) or "=" in line, repr(line)
    pattern = read_ini(top / "server.ini")["pattern"]
    path, size = pattern["path_vsapi"].split(",")
    assert pattern["path_combine"] == pattern["path_vsapi"]
    assert (top / path).stat().st_size == int(size), pattern


def pattern_of(archive):
    try:
        with zipfile.ZipFile(archive) as packed:
            return {name: packed.read(name) for name in packed.namelist()}
    except zipfile.BadZipFile:
        return {}


def check_complete(app, root, version):
    """The mirror holds what the service offers, and its index says so."""
    top = app.path / "ActiveUpdate"
    check_index(top)
    index, offered = (read_ini(folder / "server.ini") for folder in (top, root / "activeupdate"))
    assert index["pattern"]["version"] == version, index["pattern"]
    assert pattern_of(top / "Pattern/vsapi.zip") == {f"lpt$vpn.{version}": service.pattern_bytes(version)}
    assert list(app.files("Pattern")) == [f"lpt$vpn.{version}"], app.files("Pattern")
    for name in ("Engine/vsapi32_nlm.zip", *(f"Product/1/{n}/{file}.zip" for n in (1, 16) for file in ("full", "update"))):
        assert (top / name).read_bytes() == (root / "activeupdate" / name).read_bytes(), name
    engine = [field.strip() for field in index["engine"][ENGINE.lower()].split(",")]
    assert engine == [field.strip() for field in offered["engine"][ENGINE.lower()].split(",")]
    for section, keys in offered.items():
        if section == "all_product" or section.startswith("info_"):
            assert index[section] == keys, section
    assert not app.temporary_files(), app.temporary_files()


class Stage:
    """What the players of a test share."""

    def __init__(self, t):
        self.t = t
        self.services = Services(t)
        self.prepared = prepared_mirror(t, self.services)

    def players(self, name, count, **options):
        return [Player(self.t, f"{name}{number}", self.services, self.prepared, **options) for number in range(count)]


def test_every_fault_of_every_kind_of_file_leaves_whole_files_and_is_mended_by_the_next_run(t):
    stage = Stage(t)
    every = fault_matrix.pairs(FAULTS, KINDS)
    kinds = KINDS if fault_matrix.LONG else [ARCHIVE]
    silent = fault_matrix.pairs(STALLS, kinds)
    fault_matrix.play_all(
        (stage.players("player", fault_matrix.WORKERS), fault_matrix.chosen(every, t.random)),
        (stage.players("second", 1, api="0"), fault_matrix.chosen(every, t.random, SECOND_SHARE)),
        # Waiting costs nothing, so all who wait do so together. A list that is missing is asked for twice in a run.
        (stage.players("silent", len(silent), seconds=180), silent),
    )
    fault_matrix.print_count(FAULTS, KINDS)
    fault_matrix.print_count(FAULTS, KINDS, SECOND_SHARE)
    fault_matrix.print_count(STALLS, kinds, 1)


@framework.only_on("linux", "Wine accepts every certificate; docs/operating.md has the check for Windows")
def test_a_certificate_that_cannot_be_verified_gives_no_kind_of_file(t):
    stage = Stage(t)
    groups, bad = [], []
    for name, names, days, trusted in (
        ("expired certificate", "IP:127.0.0.1", -1, True),
        ("self-signed certificate", "IP:127.0.0.1", 2, False),
        ("certificate of another name", "DNS:elsewhere.example", 2, True),
    ):
        certificate, key = make_certificate(t.folder / name.replace(" ", "-"), names, days)
        pair = (certificate, key)
        secure = {o: t.nginx(root, f"nginx-{name[:4]}-{o}", tls=pair) for o, root in stage.services.offers.items()}

        def elsewhere(exchange, secure=secure):
            offers = stage.services.offers.items()
            offer = next(offer for offer, folder in offers if folder == exchange.server.root)
            return faults.redirect(secure[offer].base + exchange.request.path.removeprefix("/activeupdate"))(exchange)

        bad.append(Fault(name, elsewhere))
        player, = stage.players(name[:4], 1)
        if trusted:
            trusting(player.app, certificate)
        groups.append(([player], fault_matrix.pairs(bad[-1:], KINDS)))
    # Trusted and of the right name, the same road is taken to its end.
    pair = make_certificate(t.folder / "good", "IP:127.0.0.1")
    good = t.nginx(stage.services.offers["full"], "nginx-good", tls=pair)
    player, = stage.players("good", 1)
    trusting(player.app, pair[0])
    fault = Fault("good certificate", faults.redirect(good.base + "/server.ini"), good_body)
    groups.append(([player], [fault_matrix.Case(fault, INDEX)]))
    fault_matrix.play_all(*groups)
    fault_matrix.print_count(bad, KINDS, 1)


if __name__ == "__main__":
    framework.main()
