#!/usr/bin/python3
"""A small update service, made of nothing but a seed: the folders that a web and an FTP server offer.

    python3 demo/service.py FOLDER --version 100 --increments-from 098,099 --products 25

writes below FOLDER:

    activeupdate/server.ini           the index: [PATTERN], [ENGINE], [All_Product] and the product sections
    activeupdate/Pattern/             vsapi.zip with lpt$vpn.100, the increments v_<from>.<to>, whatsnew.txt
    activeupdate/Engine/, Product/    scan engines and product files
    eps/                              the second service: an index with P.10, P.20, P.40, P.80 and their files
    ftp/products/pattern/cpr/         latest.ini, a zip with lpt$vpn.NNN, whatsnew.txt
    ftp/products/tsc/                 tsc<version>.zip with tsc.exe and tsc.ptn, sysclean.zip

The same seed and options make the same bytes. A release of the pattern changes about one block in a hundred of
the release before, so an increment is small and, with `patch_program.py`, really makes the new pattern.
Publishing again into the same folder is how the service gets a newer version.
"""

import argparse
import dataclasses
import hashlib
import io
import random
import zipfile
from pathlib import Path

import patch_program

BLOCK = 1024

ENGINE_KEYS = (
    "Path_VSAPI32_NT_I386",
    "Path_VSAPI32_VXD",
    "Path_VSAPI32_NT_KD",
    "Path_VSAPI32_NLM",
    "Path_VSAPI32_SOLARIS_SPARC",
    "Path_VSAPI32_HPUX",
    "Path_VSAPI32_LINUX",
    "Path_VSAPI16",
    "Path_PREVSAPI32_95",
    "Path_PREVSAPI32_NT",
    "Path_PREVSAPI16",
    "Path_VSAPI_MIPS",
)

AUXILIARY = {"P.10": "mpp", "P.20": "opp", "P.40": "spam", "P.80": "redalert"}

# The mirror copies these seven lines as they stand when it makes its own index.
HEADER = (
    "; Index of the update service",
    "; Paths are relative to the folder of this file, sizes are in bytes",
    "[Common]",
    "Version=1.2",
    "[Server]",
    "AvailableServer=1",
    "Server.1=update service",
)

LIST_HEADER = "All detail virus names please refer to the list below."
LIST_END = "-------------------"


@dataclasses.dataclass
class Offer:
    """What the service offers. Every field has a default that makes a small, complete pattern service."""

    version: str = "100"
    """The pattern's version as the index shows it; its whole part is the extension of `lpt$vpn.`."""
    increments_from: tuple = ()
    """Held versions for which an increment to `version` is offered ("Merge.N" holds the from-version)."""
    seed: int = 1
    pattern_kib: int = 64
    virus_names: tuple = ("Quill.A", "Tumble-Weed.1024", "W32 Lantern (gen)")
    engines: dict = dataclasses.field(default_factory=dict)
    """Engine key -> version, for instance `{"Path_VSAPI32_NLM": "6.510"}`; see `all_engines`."""
    engine_bytes: int = 20_000
    products: tuple = ()
    """Product numbers that the index defines."""
    product_version: str = "1.0"
    product_minimal_version: str = "5.58"
    product_languages: tuple = ("1", "16", "64")
    product_bytes: tuple = (4_096, 40_960)
    """Smallest and largest file of a product; the sizes are drawn."""
    product_sizes: dict = dataclasses.field(default_factory=dict)
    """(number, language) -> (bytes of the full file, bytes of the update file), where drawn sizes do not serve."""
    max_product_id: int | None = None
    auxiliary: dict = dataclasses.field(default_factory=dict)
    """"P.10", "P.20", "P.40", "P.80" -> version; offered by both services under the same paths."""
    cpr: str | None = None
    """"PatternVersion" of the CPR pattern, for instance "1.890 v3"; None: no CPR folder is written."""
    tsc: tuple = ()
    """Versions of the cleaner archives, for instance ("12344", "12345")."""
    line_end: str = "\r\n"
    """Line end of the index and of whatsnew.txt."""


def all_engines(version="6.510"):
    return {key: version for key in ENGINE_KEYS}


def pattern_number(version):
    """The extension of the pattern file: the whole part of the version, with its leading zeros."""
    return version.split(".")[0]


def filler(seed, name, size):
    """`size` bytes that depend on the seed and the name alone."""
    return hashlib.shake_128(f"{seed}/{name}".encode()).digest(size)


def pattern_bytes(version, seed=1, kib=64):
    """The uncompressed pattern of a version."""
    number = int(pattern_number(version) or "0")
    last_change = [0] * kib
    for release in range(1, number + 1):
        draw = random.Random(f"{seed}/release/{release}")
        for block in draw.sample(range(kib), max(1, kib // 100)):
            last_change[block] = release
    blocks = [filler(seed, f"pattern/{block}/{release}", BLOCK) for block, release in enumerate(last_change)]
    head = f"demo pattern {pattern_number(version)}\r\n".encode()
    blocks[0] = head + blocks[0][len(head) :]
    return b"".join(blocks)


def zip_bytes(entries):
    """A zip archive of name -> bytes; the same input makes the same bytes."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED, compresslevel=1) as archive:
        for name, data in entries.items():
            archive.writestr(zipfile.ZipInfo(name, (2003, 3, 5, 14, 7, 0)), data, zipfile.ZIP_DEFLATED)
    return buffer.getvalue()


def whatsnew_bytes(offer, title):
    lines = [title, "", LIST_HEADER, *offer.virus_names, LIST_END, "End of the list.", ""]
    return offer.line_end.join(lines).encode("latin-1")


def product_key(product, language, minimal_version):
    """The section of a product: `22`, `1`, `5.58` make `Info_22_1_05058_1`."""
    parts = (minimal_version or "0").split(".")
    parts += ["0"] * (2 - len(parts))
    padded = parts[0].rjust(2, "0") + "".join(part.rjust(3, "0") for part in parts[1:])
    return f"Info_{product}_{language}_{padded}_1"


class Index:
    """An index under construction: sections in the order of their first key."""

    def __init__(self):
        self.sections = {}

    def set(self, section, key, value):
        self.sections.setdefault(section, {})[key] = value

    def encode(self, line_end):
        lines = list(HEADER)
        for section, keys in self.sections.items():
            lines += ["", f"[{section}]", *(f"{key}={value}" for key, value in keys.items())]
        return (line_end.join(lines) + line_end).encode("latin-1")


class Publisher:
    """Writes one offer into a folder."""

    def __init__(self, folder, offer):
        self.folder = Path(folder)
        self.offer = offer
        self.master = self.folder / "activeupdate"
        self.eps = self.folder / "eps"
        self.ftp = self.folder / "ftp" / "products"

    def publish(self):
        index = Index()
        self.write_pattern(index)
        self.write_engines(index)
        self.write_products(index)
        self.write_auxiliary(index)
        # The index comes last, so that it never names a file that is not there yet.
        put(self.master / "server.ini", index.encode(self.offer.line_end))
        self.write_cpr()
        self.write_tsc()

    def write_pattern(self, index):
        offer = self.offer
        number = pattern_number(offer.version)
        pattern = pattern_bytes(offer.version, offer.seed, offer.pattern_kib)
        archive = zip_bytes({f"lpt$vpn.{number}": pattern})
        put(self.master / "Pattern" / "vsapi.zip", archive)
        put(self.master / "Pattern" / "whatsnew.txt", whatsnew_bytes(offer, f"Pattern {offer.version}"))
        entry = f"Pattern/vsapi.zip,{len(archive)}"
        index.set("PATTERN", "Version", offer.version)
        index.set("PATTERN", "Path_VSAPI", entry)
        index.set("PATTERN", "Path_Combine", entry)
        for old in (self.master / "Pattern").glob("v_*"):
            old.unlink()
        index.set("PATTERN", "MergeCount", len(offer.increments_from))
        for place, held in enumerate(offer.increments_from, 1):
            old = pattern_bytes(held, offer.seed, offer.pattern_kib)
            increment = patch_program.make_increment(old, pattern)
            name = f"v_{pattern_number(held)}.{number}"
            put(self.master / "Pattern" / name, increment)
            index.set("PATTERN", f"Merge.{place}", held)
            index.set("PATTERN", f"MergePath_VSAPI.{place}", f"Pattern/{name},{len(increment)}")
            index.set("PATTERN", f"MergePath_Combine.{place}", f"Pattern/{name},{len(increment)}")
        for key in ("P.2", "P.4"):
            index.set("PATTERN", key, f"Pattern/vsapi.zip,{offer.version},{len(archive)}")

    def write_engines(self, index):
        for key, version in self.offer.engines.items():
            path = f"Engine/{key[len('Path_') :].lower()}.zip"
            put(self.master / path, filler(self.offer.seed, f"{path}/{version}", self.offer.engine_bytes))
            index.set("ENGINE", key, f"{path},{version},{self.offer.engine_bytes}")

    def write_products(self, index):
        offer = self.offer
        if not offer.products and offer.max_product_id is None:
            return
        highest = offer.max_product_id if offer.max_product_id is not None else max(offer.products)
        index.set("All_Product", "MaxProductID", highest)
        for number in offer.products:
            index.set("All_Product", f"Product.{number}", f"{number},{offer.product_minimal_version}")
        for number in offer.products:
            for language in offer.product_languages:
                self.write_product(index, number, language)

    def write_product(self, index, number, language):
        offer = self.offer
        section = product_key(number, language, offer.product_minimal_version)
        draw = random.Random(f"{offer.seed}/product/{number}/{language}/{offer.product_version}")
        sizes = offer.product_sizes.get((number, language)) or [draw.randint(*offer.product_bytes) for _ in range(2)]
        index.set(section, "Version", offer.product_version)
        for key, name, size in zip(("Path", "Update_Path"), ("full", "update"), sizes):
            path = f"Product/{number}/{language}/{name}.zip"
            put(self.master / path, filler(offer.seed, f"{path}/{offer.product_version}", size))
            index.set(section, key, f"{path},{size}")
        index.set(section, "EngineType", "4")
        index.set(section, "PatternType", "2")

    def write_auxiliary(self, index):
        second = Index()
        for key, version in self.offer.auxiliary.items():
            path = f"Pattern/{AUXILIARY[key]}.zip"
            data = zip_bytes({f"{AUXILIARY[key]}.ptn": filler(self.offer.seed, f"{key}/{version}", 3_000)})
            for folder, target in ((self.master, index), (self.eps, second)):
                put(folder / path, data)
                target.set("PATTERN", key, f"{path},{version},{len(data)}")
        if self.offer.auxiliary:
            put(self.eps / "server.ini", second.encode(self.offer.line_end))

    def write_cpr(self):
        if self.offer.cpr is None:
            return
        folder = self.ftp / "pattern" / "cpr"
        number = self.offer.cpr.split(" ")[0].split(".")[-1]
        pattern = pattern_bytes(number, self.offer.seed, self.offer.pattern_kib)
        archive = zip_bytes({f"lpt$vpn.{number}": pattern})
        put(folder / f"cpr{number}.zip", archive)
        put(folder / "whatsnew.txt", whatsnew_bytes(self.offer, f"CPR pattern {self.offer.cpr}"))
        lines = (
            "[LatestPattern]",
            f"PatternVersion={self.offer.cpr}",
            "PatternCreated=2003/03/05 14:07:00",
            f"PatternSize={len(pattern)}",
            "[Zip]",
            f"ZipFile=cpr{number}.zip",
            "ZipCreated=2003/03/05 14:08:00",
            f"ZipSize={len(archive)}",
        )
        put(folder / "latest.ini", "".join(line + "\r\n" for line in lines).encode())

    def write_tsc(self):
        folder = self.ftp / "tsc"
        for version in self.offer.tsc:
            content = {
                "tsc.exe": b"no program, only a stand-in for one\r\n",
                "tsc.ptn": filler(self.offer.seed, f"tsc/{version}", 5_000),
            }
            put(folder / f"tsc{version}.zip", zip_bytes(content))
        if self.offer.tsc:
            put(folder / "sysclean.zip", zip_bytes({"sysclean.txt": b"not the cleaner\r\n"}))


def put(path, data):
    """Writes a file unless it holds these bytes already, so that publishing a large service again is quick."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if path.exists() and path.stat().st_size == len(data) and path.read_bytes() == data:
        return
    beside = path.with_name(path.name + ".new")
    beside.write_bytes(data)
    beside.replace(path)


def publish(folder, offer=None, **changes):
    """Writes `offer` (or the default one, with `changes`) below `folder` and returns the offer."""
    offer = dataclasses.replace(offer or Offer(), **changes)
    Publisher(folder, offer).publish()
    return offer


def main():
    parser = argparse.ArgumentParser(description="Writes the folders of a small update service.")
    parser.add_argument("folder")
    parser.add_argument("--version", default="100", help="pattern version (default: 100)")
    parser.add_argument("--increments-from", default="", metavar="A,B", help="held versions with an increment")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--pattern-kib", type=int, default=2048, help="size of the pattern in KiB (default: 2048)")
    parser.add_argument("--viruses", type=int, default=12, help="names in whatsnew.txt (default: 12)")
    parser.add_argument("--engines", metavar="VERSION", help="offer all twelve engines in this version")
    parser.add_argument("--products", type=int, default=0, metavar="N", help="offer the products 1 to N")
    parser.add_argument("--product-version", default="1.0")
    parser.add_argument("--product-languages", default="1,16,64")
    parser.add_argument("--product-bytes", default="4096,40960", metavar="LEAST,MOST")
    parser.add_argument("--auxiliary", metavar="VERSION", help="offer the four auxiliary patterns in this version")
    parser.add_argument("--cpr", metavar="TEXT", help='offer a CPR pattern, for instance "1.890 v3"')
    parser.add_argument("--tsc", default="", metavar="A,B", help="offer cleaner archives of these versions")
    options = parser.parse_args()

    def split(text):
        return tuple(part for part in text.split(",") if part)

    publish(
        options.folder,
        version=options.version,
        increments_from=split(options.increments_from),
        seed=options.seed,
        pattern_kib=options.pattern_kib,
        virus_names=tuple(f"Demo.Sample.{options.version}-{n}" for n in range(1, options.viruses + 1)),
        engines=all_engines(options.engines) if options.engines else {},
        products=tuple(range(1, options.products + 1)),
        product_version=options.product_version,
        product_languages=split(options.product_languages),
        product_bytes=tuple(int(part) for part in split(options.product_bytes)),
        auxiliary={key: options.auxiliary for key in AUXILIARY} if options.auxiliary else {},
        cpr=options.cpr,
        tsc=split(options.tsc),
    )


if __name__ == "__main__":
    main()
