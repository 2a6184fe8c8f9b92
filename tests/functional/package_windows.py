#!/usr/bin/python3
"""The archive for Windows: what it holds, and that it is installed by unpacking it."""

import subprocess
import zipfile

import framework  # first: it makes the other modules known

DOCUMENTS = {"VLMR.sample.ini", "formats.md", "operating.md", "reliability.md", "settings.md"}


def built(t, folder="packages"):
    """The archive, made of the tested executable."""
    out = t.folder / folder
    t.keep_folder(out)
    command = [framework.REPOSITORY / "script/package", "--out", out, "--windows", t.executable]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    (archive,) = out.glob("vlmr-*-win64.zip")
    return archive


def unpack(archive, app):
    """Puts the files of the archive's one folder into the application folder, as an operator does."""
    with zipfile.ZipFile(archive) as packed:
        for entry in packed.infolist():
            app.put(entry.filename.split("/", 1)[1], packed.read(entry))


@framework.only_on("windows", "it is the package of Windows")
def test_the_archive_holds_the_program_sample_settings_and_guides_in_one_folder(t):
    archive = built(t)
    with zipfile.ZipFile(archive) as packed:
        folders, names = zip(*(name.split("/", 1) for name in packed.namelist()))
    assert set(folders) == {archive.stem.removesuffix("-win64")}, folders
    examples = {f"examples/{path.name}" for path in (framework.REPOSITORY / "docs/examples").iterdir()}
    assert set(names) == {"VlMr.exe", *DOCUMENTS, *examples}, names


@framework.only_on("windows", "it is the package of Windows")
def test_the_same_sources_make_the_same_archive(t):
    assert built(t).read_bytes() == built(t, "again").read_bytes()


@framework.only_on("windows", "it is the package of Windows")
def test_an_unpacked_archive_runs_and_an_upgrade_keeps_settings_and_mirror(t):
    server = t.nginx(t.publish())
    archive = built(t)
    app = t.app()
    app.executable.unlink()
    unpack(archive, app)
    app.executable.chmod(0o755)
    app.put("VLMR.ini", app.text("VLMR.sample.ini"))
    lines = app.text("VLMR.ini").split("\r\n" if "\r\n" in app.text("VLMR.ini") else "\n")
    address = [line for line in lines if line.startswith("ActiveUpdateMaster=")]
    assert len(address) == 1, lines
    app.put("VLMR.ini", app.text("VLMR.ini").replace(address[0], f"ActiveUpdateMaster={server.base}"))
    app.run().log.expect("StartingOperations: VLMR terminate...")
    assert app.files("Pattern") == {"lpt$vpn.100": 64 * 1024}
    settings, mirror = app.text("VLMR.ini"), (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes()
    server.take_requests()
    unpack(archive, app)
    app.executable.chmod(0o755)
    app.run()
    assert server.take_paths() == ["server.ini"]
    assert app.text("VLMR.ini") == settings
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == mirror


if __name__ == "__main__":
    framework.main()
