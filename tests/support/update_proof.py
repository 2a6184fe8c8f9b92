"""An update that is repeated as often as wanted from the same start, and what must hold wherever it was disturbed.

    update = http_update(t)          # a mirror of 100, a service that offers 101 and new engines, products, ...
    update = ftp_update(t)           # the same for what comes by FTP
    app = update.fresh(0)            # an application folder as it was before the update
    ...                              # a run that is disturbed
    update.check_published(app)      # every published file is the old one or the new one
    app.run()
    assert not update.differences(app)   # the folder is what an undisturbed update makes of it
"""

import os
import queue
import re
import shutil
import time
import zipfile
from concurrent.futures import ThreadPoolExecutor
from fnmatch import fnmatchcase

import service
from app_folder import read_ini

NOT_COMPARED = ("VlMR.log", "mQueue/*", "BackupLogs/*", "Downloaded.siz", "Mail.ini")
"""Records of what runs did: a disturbed run adds to them."""

ARCHIVE = "ActiveUpdate/Pattern/vsapi.zip"
INDEX = "ActiveUpdate/server.ini"
ENGINES = service.ENGINE_KEYS[:2]
MAILS = {"Enable": "1", **{f"Enable_{key}_Send": "1" for key in ("OPP", "PRODUCTS", "Engine", "TSC", "CPR", "Pattern")}}
OF_PATTERN = re.compile(r"version|path_combine|path_vsapi|p\.2|p\.4|merge.*")
"""The keys of [PATTERN] that belong together."""
LONG = os.environ.get("VLMR_LONG") == "1"
GONE_FOR_A_WHILE = ("ActiveUpdate/Pattern/whatsnew.txt", "ActiveUpdate/TSC/TSC.zip")
"""What a run deletes before it makes it anew, as described: the list of viruses goes with the old increments, and the
package with what the new one does not hold."""


class Update:
    """One update from one start."""

    def __init__(self, t, app, offered, newer):
        self.t = t
        self.offered = offered
        """What the service offers: path below `ActiveUpdate` -> contents that may be seen there for a while."""
        self.newer = newer
        """Addresses of the service -> those of one that offers newer versions of everything."""
        self.program = app.executable.name
        self.start = t.folder / "before"
        shutil.copytree(app.path, self.start, ignore=shutil.ignore_patterns(self.program, "VlMR.log"))
        t.keep_folder(self.start)
        self._apps = {}
        undisturbed = self.fresh(0)
        self.before = self.tree(undisturbed)
        self.raw_pattern = self.pattern_of(read_ini(self.start / INDEX))
        self.run = undisturbed.run()
        self.after = self.tree(undisturbed)
        undisturbed.run()
        # After one more run, which finds nothing new.
        self.later = self.tree(undisturbed)
        self.renew(undisturbed)
        undisturbed.run()
        self.renewed = self.tree(undisturbed)
        undisturbed.run()
        self.renewed_later = self.tree(undisturbed)
        assert self.before != self.after and self.after != self.renewed, "an update changes nothing"

    def fresh(self, worker):
        """The application folder of a worker, as it was before the update."""
        if worker not in self._apps:
            # All of the same length, so that no write differs in its.
            self._apps[worker] = self.t.app(f"copy{worker}")
        app = self._apps[worker]
        for path in app.path.iterdir():
            if path.is_dir():
                shutil.rmtree(path)
            elif path.name != self.program:
                path.unlink()
        shutil.copytree(self.start, app.path, dirs_exist_ok=True)
        return app

    def renew(self, app):
        """Leads the application folder to the service with newer versions."""
        text = app.text("VLMR.ini")
        for address, newer in self.newer.items():
            assert address in text, address
            text = text.replace(address, newer)
        app.put("VLMR.ini", text)

    def tree(self, app):
        """What the files of the folder mean, by path."""
        archive_size = str((app.path / ARCHIVE).stat().st_size) if (app.path / ARCHIVE).exists() else "none"
        files = {}
        for path in sorted(app.path.rglob("*")):
            name = str(path.relative_to(app.path))
            if path.is_file() and name != self.program and not any(fnmatchcase(name, row) for row in NOT_COMPARED):
                files[name] = meaning(path, app.place, archive_size)
        return files

    def for_each(self, points, work, workers):
        """Calls `work(worker, point)` for all points, several at a time; returns the messages of those that failed."""
        free = queue.SimpleQueue()
        for worker in range(workers):
            free.put(worker)
        started = time.monotonic()

        def one(point):
            worker = free.get()
            try:
                work(worker, point)
            except AssertionError as error:
                return f"{point}: {error}"
            finally:
                free.put(worker)
            return None

        with ThreadPoolExecutor(workers) as pool:
            failed = [message for message in pool.map(one, points) if message]
        print(f"  {len(points)} points tried in {time.monotonic() - started:.0f} s, {len(failed)} failed")
        return failed

    # --- at the moment of the disturbance ---------------------------------------------------------------------

    def check_published(self, app, may_lack=(), strict=True):
        """Every published file is as before or as after the update, or was offered; the index holds together. Those that
        match `may_lack` may be missing. Not `strict`: the index may lack increments."""
        now = {name: value for name, value in self.tree(app).items() if ".vlmr-tmp" not in name}
        for name in self.before.keys() | self.after.keys() | now.keys():
            if not name.startswith("ActiveUpdate/") or name == INDEX:
                continue
            value = now.get(name)
            if value is None and any(fnmatchcase(name, row) for row in (*GONE_FOR_A_WHILE, *may_lack)):
                continue
            known = [self.before.get(name), self.after.get(name), self.offered.get(name.removeprefix("ActiveUpdate/"))]
            assert value in known, f"{name} is {'missing' if value is None else 'neither old nor new'}"
        self.check_index(app, now[INDEX], strict)
        self.check_settings(now)
        check_mails(app)

    def check_index(self, app, now, strict):
        """The index is whole: every value is an old one or a new one, those of the pattern are all old or all new."""
        old, new = (tree[INDEX] for tree in (self.before, self.after))
        for section, keys in now.items():
            for key, value in keys.items():
                known = [index.get(section, {}).get(key) for index in (old, new)]
                if section != "pattern" or not OF_PATTERN.fullmatch(key):
                    assert value in known, f"[{section}] {key}={value}, not one of {known}"
        for section, keys in old.items():
            assert keys.keys() <= now.get(section, {}).keys(), f"[{section}] has lost keys"
        # A new version stands beside the size of the very archive that is there (which is what `now` shows as
        # "<size>"), an old one beside the old size.
        raw = self.pattern_of(read_ini(app.path / INDEX))
        own, wanted = self.pattern_of(now), self.pattern_of(new)
        if not strict:
            own, wanted = ({k: v for k, v in keys.items() if "merge" not in k} for keys in (own, wanted))
        assert raw == self.raw_pattern or own == wanted, f"a mixture of two patterns: {raw}"

    @staticmethod
    def pattern_of(index):
        return {key: value for key, value in index["pattern"].items() if OF_PATTERN.fullmatch(key)}

    def check_settings(self, now):
        for name in ("VLMR.ini", "TscVLMR.ini"):
            old, new = (tree.get(name, {}) for tree in (self.before, self.after))
            for section, keys in now.get(name, {}).items():
                for key, value in keys.items():
                    known = [settings.get(section, {}).get(key) for settings in (old, new)]
                    assert value in known or key == "patternbuild" and value == "0", f"{name} [{section}] {key}={value}"
            for section, keys in old.items():
                assert keys.keys() <= now[name].get(section, {}).keys(), f"{name} [{section}] has lost keys"

    # --- after the next run -----------------------------------------------------------------------------------

    def differences(self, app, renewed=False):
        """How the folder differs from that after an undisturbed update, or after the newer one: words by path. A run
        that finds nothing new may have followed."""
        good = (self.renewed, self.renewed_later) if renewed else (self.after, self.later)
        now = self.tree(app)
        found = {f"temporary {name}": "is left" for name in app.temporary_files()}
        for name in sorted(good[0].keys() | good[1].keys() | now.keys()):
            value, known = now.get(name), [tree.get(name) for tree in good]
            if value in known:
                continue
            found[name] = "is missing" if value is None else "is left over" if known == [None, None] else "differs"
            if isinstance(value, dict) and isinstance(known[0], dict):
                found[name] += ": " + ", ".join(dictionary_differences(value, known[0]))
        check_mails(app)
        return found


def dictionary_differences(one, other):
    for key in sorted(one.keys() | other.keys()):
        first, second = one.get(key), other.get(key)
        if isinstance(first, dict) and isinstance(second, dict):
            yield from (f"[{key}] {text}" for text in dictionary_differences(first, second))
        elif first != second:
            yield f"{key} is {str(first)[:80]}, not {str(second)[:80]}"


def meaning(path, place, archive_size):
    """The contents of a file, without what may differ from run to run: the order of keys, the time in an archive that is
    made here, and its size, which is not that of the offered one."""
    if path.suffix == ".ini":
        text = {section: dict(keys) for section, keys in read_ini(path).items()}
        for keys in text.values():
            for key, value in keys.items():
                value = "<enciphered>" if value.startswith("vlmr1:") else value.replace(place, "<folder>")
                keys[key] = re.sub(rf"(?<=vsapi\.zip,)((?:\d+,)?){archive_size}$", r"\1<size>", value)
        return text
    if path.name == "vsapi.zip":
        with zipfile.ZipFile(path) as archive:
            return {name: archive.read(name) for name in archive.namelist()}
    return path.read_bytes()


def check_mails(app):
    """Each control file of the queue is whole, and so is its body if it is there: the control file comes first."""
    queue = app.path / "mQueue"
    for control in queue.glob("*.ini"):
        keys = read_ini(control)["mail"]
        assert keys.keys() == {"s", "f"}, control.read_bytes()
        body = queue / keys["f"]
        assert not body.exists() or body.read_bytes().endswith(b"\r\n"), body.read_bytes()


def offered_files(root):
    """What the service offers for `ActiveUpdate`, and the pattern file that stands beside the archive while it is made."""
    top = root / "activeupdate"
    return {str(path.relative_to(top)): path.read_bytes() for path in top.rglob("*") if path.is_file()}


def basic_settings(sections):
    result = {"Proxy": {"Enable": "0"}, "LOGS": {"MaxSize": "100000"}, "NOTIFICATION": MAILS}
    for section, keys in sections.items():
        result[section] = {**result.get(section, {}), **keys}
    return result


def remove_records(app):
    """Where records of the first run are, each run would find another state than the one before."""
    for name in ("mQueue", "BackupLogs"):
        shutil.rmtree(app.path / name, ignore_errors=True)


def http_update(t):
    """Index, archive from an increment, two engines, three products, an auxiliary pattern, mails, settings."""
    small = {"products": (1, 2, 6), "product_languages": ("1",), "product_bytes": (2_000, 4_000), "pattern_kib": 8}
    root = t.publish(version="100", engines={key: "6.500" for key in ENGINES}, auxiliary={"P.20": "1.4"}, **small)
    servers = [t.nginx(root), t.nginx(t.folder / "newer", folder="nginx-newer")]
    addresses = [{"ActiveUpdateMaster": one.base, "ActiveUpdateEPS": f"http://127.0.0.1:{one.port}/eps"} for one in servers]
    settings = basic_settings({"SOURCES": {**addresses[0], "Engines": "1", "Products": "1", "OPP": "1"}})
    app = t.app("made")
    app.install_patch_program()
    app.write_settings(settings)
    app.run()
    # As a new operator's file: the run writes the defaults into it.
    app.write_settings(settings)
    remove_records(app)
    engines = {key: "6.510" for key in ENGINES}
    news = {"version": "101", "increments_from": ("099", "100"), "product_version": "2.0"}
    t.publish(t.offer, engines=engines, auxiliary={"P.20": "1.5"}, **news)
    newer = {"version": "102", "increments_from": ("100", "101"), "product_version": "3.0"}
    t.publish(t.offer, "newer", engines={key: "6.520" for key in ENGINES}, auxiliary={"P.20": "1.6"}, **newer)
    offered = {**offered_files(root), "Pattern/lpt$vpn.101": service.pattern_bytes("101", kib=8)}
    return Update(t, app, offered, {addresses[0][key]: addresses[1][key] for key in addresses[0]})


def reduced_update(t):
    """The archive from its one increment, two engines, mails: the mode for a file-server product alone."""
    root = t.publish(version="100", engines={key: "6.500" for key in ENGINES}, pattern_kib=8)
    servers = [t.nginx(root), t.nginx(t.folder / "newer", folder="nginx-newer")]
    app = t.app("made")
    app.install_patch_program()
    app.write_settings(basic_settings({"SOURCES": {"ActiveUpdateMaster": servers[0].base, "OnlySP": "1"}}))
    app.run()
    remove_records(app)
    t.publish(t.offer, version="101", increments_from=("100",), engines={key: "6.510" for key in ENGINES})
    t.publish(t.offer, "newer", version="102", increments_from=("101",), engines={key: "6.520" for key in ENGINES})
    pattern = service.pattern_bytes("101", kib=8)
    offered = {**offered_files(root), **dict.fromkeys(("Pattern/lpt$vpn.101", "Source/lpt$vpn.101"), pattern)}
    return Update(t, app, offered, {servers[0].base: servers[1].base})


def ftp_update(t):
    """CPR pattern, cleaner, and a pattern that another mirror has put into the exchange folder."""
    root = t.publish(version="100", cpr="1.889 v1", tsc=("12344",), pattern_kib=8)
    web = t.nginx(root)
    servers = [t.scripted_ftp(root / "ftp"), t.scripted_ftp(t.folder / "newer/ftp")]
    sources = {"ActiveUpdateMaster": web.base, "TscEnable": "1", "TscFtp": f"ftp://{servers[0].host}/products/tsc"}
    # Not passive: there libcurl pauses for a second in each session.
    cpr = {"Passive": "0", "EnableCPR": "1", "CPRUrl": f"ftp://{servers[0].host}/products/pattern/cpr"}
    exchange = {"IntelligentTarget": f"ftp://{servers[0].host}/shared", "IntelligentUsername": "anonymous"}
    app = t.app("made")
    app.write_settings(basic_settings({"SOURCES": sources, "FTP": cpr}))
    app.run()
    sources["EnableActiveUpdate"] = "0"
    exchange |= {"EnableIntelligent": "1", "IntelligentPassive": "0"}
    app.write_settings(basic_settings({"SOURCES": sources, "FTP": {**cpr, **exchange}}))
    remove_records(app)
    offered = {"Pattern/whatsnew.txt": offered_files(root)["Pattern/whatsnew.txt"]}
    t.publish(t.offer, cpr="1.890 v3", tsc=("12344", "12345"))
    t.publish(t.offer, "newer", cpr="1.891 v1", tsc=("12346",))
    for folder, version in (("service", "101"), ("newer", "102")):
        shared = t.folder / folder / "ftp/shared"
        shared.mkdir()
        (shared / f"lpt$vpn.{version}").write_bytes(service.pattern_bytes(version, kib=8))
    return Update(t, app, offered, {servers[0].host: servers[1].host})
