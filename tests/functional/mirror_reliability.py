#!/usr/bin/python3
"""Killed runs, readers that look while it writes, and a mirror that is another mirror's source."""

import os
import threading
import time
import urllib.request

import framework  # first: it makes the other modules known
import service
from app_folder import read_ini
from waiting import scaled

EVERYTHING = {"SOURCES": {"Engines": "1", "Products": "1"}}
KILLS = int(os.environ.get("VLMR_KILLS", "50"))
PRODUCTS = {"products": tuple(range(1, 151)), "product_languages": ("1", "16")}
"""300 of them: a product is a number in a language."""


def check_complete(app, root):
    """The mirror holds what the service offers, and its index says so."""
    index = read_ini(app.path / "ActiveUpdate/server.ini")
    offered = read_ini(root / "activeupdate/server.ini")
    assert index["pattern"]["version"] == offered["pattern"]["version"]
    for name, keys in offered.items():
        if name == "all_product" or name.startswith("info_"):
            assert index[name] == keys, name
    for path in (root / "activeupdate").rglob("*.zip"):
        name = path.relative_to(root / "activeupdate")
        assert (app.path / "ActiveUpdate" / name).read_bytes() == path.read_bytes(), name


def test_a_run_killed_at_any_moment_is_mended_by_the_next(t):
    root = t.publish(**PRODUCTS, engines=service.all_engines())
    server = t.nginx(root)
    app = t.app("measure")
    app.write_settings(framework.settings(server.base, EVERYTHING))
    length = app.run(seconds=120).seconds
    check_complete(app, root)
    print(f"  a pass takes {length:.2f} s, {KILLS} kills")
    for number in range(KILLS):
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(server.base, EVERYTHING))
        child = app.start()
        time.sleep(t.random.uniform(0.005, length))
        child.kill()
        app.run(seconds=120)
        assert not app.temporary_files(), app.temporary_files()
        # A version that a killed run recorded before its file was there comes back with the next version only.
        check_index(app)
    t.publish(t.offer, version="101", product_version="2.0", engines=service.all_engines("7.0"))
    for number in range(0, KILLS, 5):
        app = t.apps()[1 + number]
        app.run(seconds=120)
        check_complete(app, root)


def check_index(app):
    """The index parses and names a pattern whose archive is there with that length."""
    index = read_ini(app.path / "ActiveUpdate/server.ini")
    path, size = index["pattern"]["path_vsapi"].split(",")
    assert (app.path / "ActiveUpdate" / path).stat().st_size == int(size), index["pattern"]


def test_a_reader_never_sees_an_index_that_is_empty_or_cut(t):
    root = t.publish(products=tuple(range(1, 76)), product_languages=("1", "16"))
    source = t.nginx(root)
    app = t.app()
    app.write_settings(framework.settings(source.base, EVERYTHING))
    app.run(seconds=120)
    reader = t.nginx(app.path, folder="nginx-reader")
    wrong, seen, stop = [], set(), threading.Event()

    def read():
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        while not stop.is_set():
            data = opener.open(f"http://127.0.0.1:{reader.port}/ActiveUpdate/server.ini", timeout=10).read()
            seen.add(data)
            if b"[PATTERN]\r\nVersion=" not in data or b"[Info_75_16_05058_1]" not in data or not data.endswith(b"\n"):
                wrong.append(data)
            time.sleep(0.002)

    thread = threading.Thread(target=read)
    thread.start()
    try:
        for version in ("101", "102", "103"):
            t.publish(t.offer, version=version, product_version=version)
            app.run(seconds=120)
    finally:
        stop.set()
        thread.join(scaled(20))
    assert not wrong, wrong[0][:2000]
    assert len(seen) >= 3, "the reader saw the index change"


def test_a_mirror_can_be_the_source_of_another(t):
    root = t.publish(
        version="100",
        increments_from=("099",),
        engines=service.all_engines(),
        products=tuple(range(1, 20)),
        product_languages=("1", "16"),
    )
    server = t.nginx(root)
    first = t.app("first")
    first.write_settings(framework.settings(server.base, EVERYTHING))
    first.install_patch_program()
    between = t.nginx(first.path, folder="nginx-between")
    second = t.app("second")
    base = f"http://127.0.0.1:{between.port}/ActiveUpdate"
    second.write_settings(framework.settings(base, EVERYTHING))
    second.install_patch_program()
    for version, increments in (("100", ("099",)), ("101", ("100",)), ("102", ("101",))):
        t.publish(t.offer, version=version, increments_from=increments, product_version=version, engines=service.all_engines(version))
        first.run()
        second.run()
        names = [name for name in first.files("ActiveUpdate") if name.endswith(".zip")]
        assert names == [name for name in second.files("ActiveUpdate") if name.endswith(".zip")]
        for name in names:
            one, two = ((app.path / "ActiveUpdate" / name).read_bytes() for app in (first, second))
            assert one == two, name
        one, two = (read_ini(app.path / "ActiveUpdate/server.ini") for app in (first, second))
        assert one["pattern"]["version"] == two["pattern"]["version"] == version
        for section in one:
            if section == "engine" or section == "all_product" or section.startswith("info_"):
                assert one[section] == two[section], section


if __name__ == "__main__":
    framework.main()
