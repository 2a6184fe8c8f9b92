#!/usr/bin/python3
"""The demo's own parts: what the service publishes, and what the patch program makes of an increment."""

import os
import re
import subprocess
import sys
import zipfile

import framework  # first: it makes the other modules known
import patch_program
import service
from app_folder import read_ini


def run_patch_program(t, folder):
    """Runs the patch program of the executable's system; returns its exit code."""
    command = [*t.target.launcher, folder / "Patch.exe"]
    environment = {**os.environ, **t.target.environment}
    nowhere = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.run(command, env=environment, timeout=30, **nowhere).returncode


def prepared(t, mode="", held="100", wanted="101"):
    """An application folder as it stands when the patch program is started; returns it and the program's result."""
    root = t.publish(version=wanted, increments_from=(held,))
    folder = t.folder / "patched"
    staging = folder / "TempDownload/ActiveUpdate/Pattern"
    staging.mkdir(parents=True)
    (folder / "Pattern").mkdir()
    (folder / f"Pattern/lpt$vpn.{held}").write_bytes(service.pattern_bytes(held))
    increment = (root / f"activeupdate/Pattern/v_{held}.{wanted}").read_bytes()
    (staging / f"v_{held}.{wanted}").write_bytes(increment)
    program = folder / "Patch.exe"
    script = framework.REPOSITORY / "demo/patch_program.py"
    program.write_bytes((t.target.siblings / "patch_program.exe" if t.target.is_windows else script).read_bytes())
    program.chmod(0o755)
    job = f"[MAIN]\r\nPatternFrom={held}\r\nPatternTo={wanted}\r\n"
    place = t.target.own_path(folder)
    job += f"Source={place}\\TempDownload\\ActiveUpdate\\Pattern\r\nDestination={place}\\Pattern\r\n"
    job += f"Backup={place}\\TempDownload\\ActiveUpdate\\Pattern\\Backup\r\n[Log]\r\nFinished=\r\nResult=\r\nErrorID=\r\n"
    (folder / "Patch.ini").write_bytes(job.encode())
    (folder / "patch_mode.txt").write_text(mode)
    return folder, run_patch_program(t, folder)


def test_the_same_seed_makes_the_same_service(t):
    first, second = (t.publish(folder=name, increments_from=("098", "099"), products=(1, 2)) for name in ("one", "two"))
    files = [{str(p.relative_to(r)): p.read_bytes() for p in r.rglob("*") if p.is_file()} for r in (first, second)]
    assert files[0] == files[1] and len(files[0]) == 5 + 2 * 3 * 2


def test_an_index_names_files_that_are_there_with_their_lengths(t):
    root = t.publish(
        increments_from=("099",), engines=service.all_engines(), products=(6, 22), auxiliary={"P.10": "5.1"}
    )
    named = 0
    for section, keys in read_ini(root / "activeupdate/server.ini").items():
        for value in keys.values():
            path, _, rest = value.partition(",")
            if "/" in path:
                size = int(rest.split(",")[-1])
                assert (root / "activeupdate" / path).stat().st_size == size, (section, value)
                named += 1
    assert named == 2 + 2 + 2 + 12 + 2 * 3 * 2 + 1, named


def test_an_increment_makes_the_new_pattern_and_is_small(t):
    old, new = service.pattern_bytes("100", kib=1024), service.pattern_bytes("101", kib=1024)
    increment = patch_program.make_increment(old, new)
    assert patch_program.apply_increment(old, increment) == new
    assert len(increment) * 20 < len(new), len(increment)


def test_an_increment_also_grows_shrinks_and_empties_a_pattern(t):
    for old, new in ((b"a" * 5000, b"a" * 100), (b"", b"new" * 999), (b"old", b""), (b"x" * 1024, b"x" * 1024 + b"y")):
        assert patch_program.apply_increment(old, patch_program.make_increment(old, new)) == new


def test_an_increment_for_another_pattern_or_a_broken_one_is_refused(t):
    old, new = b"old pattern" * 500, b"new pattern" * 500
    increment = patch_program.make_increment(old, new)
    broken = [b"", increment[:-1], increment + b"x", b"x" + increment, increment[:40], increment.replace(b"new", b"bad")]
    for pattern, data in [(new, increment), *((old, data) for data in broken)]:
        try:
            patch_program.apply_increment(pattern, data)
        except patch_program.PatchError:
            continue
        raise AssertionError(f"accepted: {data[:60]!r}")


def test_the_patch_program_moves_the_old_pattern_away_and_writes_the_new_one(t):
    folder, code = prepared(t)
    assert code == 0
    assert (folder / "Pattern/lpt$vpn.101").read_bytes() == service.pattern_bytes("101")
    assert not (folder / "Pattern/lpt$vpn.100").exists()
    assert (folder / "TempDownload/ActiveUpdate/Pattern/Backup/lpt$vpn.100").exists()
    assert read_ini(folder / "Patch.ini")["log"] == {"finished": "1", "result": "1", "errorid": "0"}


def test_the_patch_program_fails_as_it_is_told(t):
    folder, code = prepared(t, "leave-old into-source keep-job")
    assert code == 0 and (folder / "Pattern/lpt$vpn.100").exists()
    assert (folder / "TempDownload/ActiveUpdate/Pattern/lpt$vpn.101").exists()
    assert read_ini(folder / "Patch.ini")["log"]["finished"] == ""


def test_the_patch_program_ends_with_a_code_and_no_output_as_it_is_told(t):
    folder, code = prepared(t, "exit=3")
    assert code == 3 and not (folder / "Pattern/lpt$vpn.101").exists()
    (folder / "patch_mode.txt").write_text("no-output")
    assert run_patch_program(t, folder) == 0
    assert not (folder / "Pattern/lpt$vpn.101").exists()


def test_an_archive_holds_the_one_pattern_of_its_version(t):
    root = t.publish(version="1234.00")
    with zipfile.ZipFile(root / "activeupdate/Pattern/vsapi.zip") as archive:
        assert archive.namelist() == ["lpt$vpn.1234"]


def test_product_keys_are_padded(t):
    made = [service.product_key(22, "1", version) for version in ("5.58", "5", "", "1.2.3")]
    assert made == [f"Info_22_1_{part}_1" for part in ("05058", "05000", "00000", "01002003")], made


@framework.only_on("linux", "the demo is a script for Linux")
def test_the_demo_shows_three_passes_and_what_they_published(t):
    command = [sys.executable, "-B", framework.REPOSITORY / "demo/show_run.py", "--executable", t.executable]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stdout + done.stderr
    if "no FTP service" in done.stdout:
        raise framework.ProgramMissing("the demo finds no FTP daemon that it may start")
    rows = [line.split() for line in done.stdout.splitlines() if " pass, " in line and not line.endswith(":")]
    roads = [("by full archive", "first"), ("nothing new", "second"), ("by increment", "third")]
    assert len(rows) == 3 and all(road in " ".join(row) and row[0] == which for row, (road, which) in zip(rows, roads)), rows
    # Requests, connections, bytes by web, files and bytes by FTP, seconds.
    by_web = [int(row[-4].replace(",", "")) for row in rows]
    assert rows[1][-6] == "1" and [row[-3] for row in rows] == ["3", "1", "3"] and by_web[2] * 20 < by_web[0], rows
    assert re.search(r"The pattern: [\d,]+ bytes by full archive, [\d,]+ bytes by increment, \d\.\d%\.", done.stdout)
    parts = ("vsapi.zip", "Engine/vsapi32_linux.zip", "Product/22/64/full.zip", "CPR/cpr103.zip")
    for part in (*parts, "[PATTERN]", "Version=101", "New CPR Pattern found", "VLMR terminate..."):
        assert part in done.stdout, part


if __name__ == "__main__":
    framework.main()
