#!/usr/bin/python3
"""The Debian package: what it holds, and that it is installed, run, upgraded, removed and purged.

dpkg works on a copy of this machine's files that exists for the test alone (an overlay in a mount space of its own).
"""

import re
import subprocess

import framework  # first: it makes the other modules known
from web_servers import ProgramMissing, program

UNIT = framework.REPOSITORY / "packaging/systemd/vlmr.service"

COPY_OF_THE_MACHINE = """
set -e
mount --make-rprivate /
mount -t tmpfs none "$1/layer"
mkdir "$1/layer/upper" "$1/layer/work" "$1/layer/root"
mount -t overlay overlay -o "lowerdir=/,upperdir=$1/layer/upper,workdir=$1/layer/work" "$1/layer/root"
for kernel in proc dev sys; do mount --rbind /$kernel "$1/layer/root/$kernel"; done
# Without the mark of a running systemd the package's scripts leave services alone.
mount -t tmpfs none "$1/layer/root/run"
mkdir -p "$1/layer/root/$1"
mount --bind "$1" "$1/layer/root/$1"
exec chroot "$1/layer/root" /bin/sh -e "$1/steps" "$1"
"""

STEPS = """
package=$(echo "$1"/packages/vlmr_*.deb)
app=/var/lib/vlmr
say() { echo "$1: $(eval "$2" 2>&1 || true)"; }
as_vlmr() { setpriv --reuid vlmr --regid vlmr --clear-groups env -i PATH=/usr/bin:/bin LC_ALL=C "$@"; }
dpkg -i "$package" >"$1/dpkg.log" 2>&1
say user 'getent passwd vlmr | cut -d: -f1,6,7'
say program 'stat -c "%%U %%a" $app/VlMr'
say settings 'stat -c "%%U %%a" $app/VLMR.ini'
say unit 'ls /lib/systemd/system/vlmr.service /lib/systemd/system/vlmr.timer | wc -l'
sed -i 's#^ActiveUpdateMaster=.*#ActiveUpdateMaster=%(base)s\\r#' $app/VLMR.ini
say address 'grep -c "^ActiveUpdateMaster=%(base)s" $app/VLMR.ini'
as_vlmr $app/VlMr
say ran 'grep -c "VLMR terminate" $app/VlMR.log'
say held 'ls $app/Pattern'
say owner 'stat -c %%U $app/ActiveUpdate/server.ini'
say published 'stat -c %%a $app/ActiveUpdate/server.ini'
before=$(sha256sum $app/VLMR.ini $app/ActiveUpdate/server.ini)
dpkg -i "$package" >>"$1/dpkg.log" 2>&1
say upgraded 'test "$before" = "$(sha256sum $app/VLMR.ini $app/ActiveUpdate/server.ini)" && echo kept'
as_vlmr $app/VlMr
say "ran again" 'grep -c "VLMR terminate" $app/VlMR.log'
dpkg -r vlmr >>"$1/dpkg.log" 2>&1
say removed 'ls $app | tr "\\n" " "'
dpkg -i "$package" >>"$1/dpkg.log" 2>&1
dpkg -P vlmr >>"$1/dpkg.log" 2>&1
say purged 'ls -d $app /usr/lib/vlmr /usr/share/doc/vlmr 2>/dev/null | wc -l'
say "user left" 'getent passwd vlmr | wc -l'
"""


def built(t, folder="packages"):
    """The package, made of the tested executable."""
    out = t.folder / folder
    t.keep_folder(out)
    command = [framework.REPOSITORY / "script/package", "--out", out, "--linux", t.executable]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    (package,) = out.glob("vlmr_*_amd64.deb")
    return package


@framework.only_on("linux", "it is the package of Debian")
def test_the_package_names_what_it_needs_and_holds_program_units_and_guides(t):
    package = built(t)
    control = subprocess.run(["dpkg-deb", "-f", package], check=True, capture_output=True, text=True).stdout
    depends = re.search(r"^Depends: (.*)$", control, re.MULTILINE)[1].split(", ")
    assert {"adduser", "libc6", "libcurl4", "libsodium23", "libzip4"} <= set(depends), depends
    assert not [name for name in depends if "i386" in name or "x32" in name], depends
    listed = subprocess.run(["dpkg-deb", "-c", package], check=True, capture_output=True, text=True).stdout
    for path in ("usr/lib/vlmr/VlMr", "lib/systemd/system/vlmr.service", "usr/share/doc/vlmr/operating.md"):
        assert f"./{path}\n" in listed, listed
    assert not [line for line in listed.splitlines() if not line.split()[1].startswith("root/root")], listed


@framework.only_on("linux", "it is the package of Debian")
def test_the_same_sources_make_the_same_package(t):
    assert built(t).read_bytes() == built(t, "again").read_bytes()


@framework.only_on("linux", "it is the package of Debian")
def test_the_package_is_installed_run_upgraded_removed_and_purged(t):
    server = t.nginx(t.publish())
    built(t)
    probe = ["unshare", "-m", "/bin/sh", "-c", "mount --make-rprivate / && mount -t tmpfs none /mnt"]
    if subprocess.run(probe, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
        raise ProgramMissing("a mount space of its own is not allowed here (unshare -m)")
    t.keep_folder(t.folder)
    (t.folder / "layer").mkdir()
    (t.folder / "steps").write_text(STEPS % {"base": server.base})
    command = ["unshare", "-m", "/bin/sh", "-c", COPY_OF_THE_MACHINE, "sh", t.folder]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300)
    log = (t.folder / "dpkg.log").read_text() if (t.folder / "dpkg.log").exists() else ""
    assert done.returncode == 0, done.stdout + done.stderr + log
    said = dict(line.split(": ", 1) for line in done.stdout.splitlines() if ": " in line)
    wanted = {
        "user": "vlmr:/var/lib/vlmr:/usr/sbin/nologin",
        "program": "root 755",
        "settings": "vlmr 640",
        "unit": "2",
        "address": "1",
        "ran": "1",
        "held": "lpt$vpn.100",
        "owner": "vlmr",
        "published": "644",
        "upgraded": "kept",
        "ran again": "2",
        "purged": "0",
        "user left": "0",
    }
    assert {key: said.get(key) for key in wanted} == wanted, f"{said}\n{log}"
    assert "VLMR.ini" in said["removed"] and "ActiveUpdate" in said["removed"], said
    assert "VlMr " not in said["removed"], said


@framework.only_on("linux", "systemd is Linux's")
def test_the_service_is_exposed_by_less_than_two_and_a_half(t):
    command = [program("systemd-analyze"), "security", "--offline=true", "--threshold=25", UNIT]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    exposure = re.search(r"exposure level for vlmr\.service: ([\d.]+)", done.stdout)
    assert done.returncode == 0 and float(exposure[1]) < 2.5, done.stdout + done.stderr
    print(f"  exposure {exposure[1]}")


if __name__ == "__main__":
    framework.main()
