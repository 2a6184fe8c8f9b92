#!/usr/bin/python3
"""Links in the trees that names from outside lead to: what leaves its tree is refused, with a line that says why."""

import zipfile

import framework  # first: it makes the other modules known

REASON = "a link leads out of its folder"
PRODUCTS = {"SOURCES": {"Products": "1"}}

linux = framework.only_on("linux", "links are made by any user there")


def elsewhere(t):
    """A folder outside the application folder that holds a file of somebody else's."""
    folder = t.folder / "elsewhere"
    folder.mkdir()
    (folder / "theirs").write_text("theirs")
    t.keep_folder(folder)
    return folder


def assert_untouched(folder):
    assert [path.name for path in folder.rglob("*")] == ["theirs"], list(folder.rglob("*"))
    assert (folder / "theirs").read_text() == "theirs"


@linux
def test_a_linked_folder_of_the_mirror_that_leads_outside_is_not_published_into(t):
    app, _ = t.mirror(PRODUCTS, products=(1,), product_languages=("1",))
    outside = elsewhere(t)
    (app.path / "ActiveUpdate").mkdir()
    (app.path / "ActiveUpdate/Product").symlink_to(outside)
    run = app.run()
    target = app.own("\\ActiveUpdate\\Product\\1\\1\\full.zip")
    run.log.expect("DeplaceFile: lngRetVal=0", f"DeplaceFile: Refused {target}: {REASON}")
    assert_untouched(outside)
    assert "Pattern/vsapi.zip" in app.files("ActiveUpdate"), "the rest is published"


@linux
def test_a_linked_folder_of_the_staging_tree_that_leads_outside_fails_the_download(t):
    app, _ = t.mirror()
    outside = elsewhere(t)
    (app.path / "TempDownload/ActiveUpdate").mkdir(parents=True)
    (app.path / "TempDownload/ActiveUpdate/Pattern").symlink_to(outside)
    run = app.run()
    assert any(REASON in line for line in run.log), run.log
    run.log.expect("StartActiveUpdate: Error to download Pattern/vsapi.zip")
    assert_untouched(outside)


@linux
def test_a_linked_file_of_the_mirror_that_leads_outside_or_nowhere_is_neither_read_nor_written(t):
    for number, target in enumerate(("theirs", "nobody")):
        root = t.publish(folder=f"service{number}")
        app = t.app(f"app{number}")
        app.write_settings(framework.settings(t.nginx(root, folder=f"nginx{number}").base))
        outside = elsewhere(t) if number == 0 else t.folder / "elsewhere"
        (app.path / "ActiveUpdate/Pattern").mkdir(parents=True)
        (app.path / "ActiveUpdate/Pattern/vsapi.zip").symlink_to(outside / target)
        run = app.run()
        archive = app.own("\\ActiveUpdate\\Pattern\\vsapi.zip")
        run.log.expect("DeplaceFile: lngRetVal=0", f"DeplaceFile: Refused {archive}: {REASON}")
        assert_untouched(outside)


@linux
def test_an_archive_unpacks_nothing_through_a_link_that_leads_outside(t):
    root = t.publish()
    with zipfile.ZipFile(root / "activeupdate/Pattern/vsapi.zip", "w") as archive:
        archive.writestr("sub/theirs", "ours")
        archive.writestr("lpt$vpn.100", "pattern")
    app = t.app()
    app.write_settings(framework.settings(t.nginx(root).base))
    outside = elsewhere(t)
    (app.path / "Pattern").mkdir()
    (app.path / "Pattern/sub").symlink_to(outside)
    run = app.run()
    run.log.expect(f"Dezipfiles: error 75 Path/File access error: {REASON}")
    assert "lpt$vpn.100" in app.files("Pattern"), "the other entries are unpacked"
    assert_untouched(outside)


@linux
def test_a_link_that_stays_in_the_mirror_is_followed(t):
    app, _ = t.mirror(PRODUCTS, products=(1,), product_languages=("1",))
    (app.path / "ActiveUpdate/Shelf").mkdir(parents=True)
    (app.path / "ActiveUpdate/Product").symlink_to("Shelf")
    app.run().log.refuse("DeplaceFile: lngRetVal=0")
    assert "1/1/full.zip" in app.files("ActiveUpdate/Shelf")


@linux
def test_a_mirror_on_another_volume_and_an_application_folder_behind_a_link_work(t):
    app, _ = t.mirror(PRODUCTS, products=(1,), product_languages=("1",))
    volume = t.folder / "volume"
    volume.mkdir()
    t.keep_folder(volume)
    (app.path / "ActiveUpdate").symlink_to(volume)
    link = t.folder / "reached"
    link.symlink_to(app.path)
    t.keep_folder(link)
    app.executable = link / app.executable.name
    app.run().log.refuse("DeplaceFile: lngRetVal=0")
    assert (volume / "Product/1/1/full.zip").exists() and (volume / "Pattern/vsapi.zip").exists()


@linux
def test_settings_behind_a_link_are_written_back_where_they_lie(t):
    app, _ = t.mirror()
    place = t.folder / "etc"
    place.mkdir()
    t.keep_folder(place)
    (app.path / "VLMR.ini").rename(place / "mirror.ini")
    (app.path / "VLMR.ini").symlink_to(place / "mirror.ini")
    app.run()
    assert (app.path / "VLMR.ini").is_symlink()
    assert b"[SERVICE]\r\nApiEnable=1\r\n" in (place / "mirror.ini").read_bytes()
    assert [path.name for path in place.iterdir()] == ["mirror.ini"]


if __name__ == "__main__":
    framework.main()
