#!/usr/bin/python3
"""The example configurations of docs/examples, taken by the servers they are made for.

Only what the operator has to set is replaced: the folder, and here the port as well.
"""

import os
import re
import subprocess
import urllib.error
import urllib.request
import xml.etree.ElementTree

import framework  # first: it makes the other modules known
from ftp_servers import TOOLS
from web_servers import ProgramMissing, ServerProcess, program

EXAMPLES = framework.REPOSITORY / "docs" / "examples"
FOLDER = "/var/lib/vlmr/ActiveUpdate"
INDEX = "activeupdate/server.ini"


class Example(ServerProcess):
    """A server that runs an example configuration; `check` is its own test of the configuration."""

    def __init__(self, folder, published):
        self.folder = folder
        self.published = published
        folder.mkdir()
        self.prepare()
        self.start(self.command, type(self).__name__)

    def command(self, port):
        (self.folder / "server.conf").write_text(self.configuration(port))
        check = subprocess.run(self.check(), capture_output=True, text=True)
        assert check.returncode == 0 and "warn" not in check.stderr.lower(), check.stderr
        return self.serve()

    def get(self, path):
        """Status, headers and body of an answer."""
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(f"http://127.0.0.1:{self.port}/{path}", timeout=10) as answer:
                return answer.status, answer.headers, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers, error.read()


class NginxExample(Example):
    """nginx, with the example where Debian's configuration takes in conf.d."""

    def prepare(self):
        self.binary = program("nginx")

    def configuration(self, port):
        example = (EXAMPLES / "nginx-vlmr.conf").read_text(encoding="utf-8")
        assert example.count("listen 80;") == 1 and example.count(FOLDER) == 1
        (self.folder / "vlmr.conf").write_text(
            example.replace("listen 80;", f"listen 127.0.0.1:{port};").replace(FOLDER, str(self.published))
        )
        kinds = ("client_body", "proxy", "fastcgi", "uwsgi", "scgi")
        paths = " ".join(f"{kind}_temp_path {self.folder}/{kind};" for kind in kinds)
        return (
            f"daemon off; master_process off; pid {self.folder}/pid;\n"
            f"events {{}}\nhttp {{ access_log off; {paths} include {self.folder}/vlmr.conf; }}\n"
        )

    def serve(self):
        return [self.binary, "-e", f"{self.folder}/error.log", "-p", str(self.folder), "-c", f"{self.folder}/server.conf"]

    def check(self):
        return [*self.serve(), "-t"]


class ApacheExample(Example):
    """Apache, with the example where Debian's configuration takes in conf-enabled and few modules loaded."""

    modules = ("mpm_prefork", "authz_core", "alias", "headers")

    def prepare(self):
        self.binary = TOOLS / "usr/sbin/apache2"
        if not self.binary.exists():
            raise ProgramMissing("apache2 is not unpacked (script/test_servers does it)")

    def configuration(self, port):
        example = (EXAMPLES / "apache-vlmr.conf").read_text(encoding="utf-8")
        assert example.count(FOLDER) == 2
        (self.folder / "vlmr.conf").write_text(example.replace(FOLDER, str(self.published)))
        loads = [f"LoadModule {name}_module {TOOLS}/usr/lib/apache2/modules/mod_{name}.so" for name in self.modules]
        account = ["User nobody", "Group nogroup"] if os.geteuid() == 0 else []
        lines = [
            f"ServerRoot {self.folder}", "ServerName localhost", f"Listen 127.0.0.1:{port}",
            f"PidFile {self.folder}/pid", f"ErrorLog {self.folder}/error.log", f"DefaultRuntimeDir {self.folder}",
            "Mutex posixsem", "StartServers 1", *loads, *account,
            # As Debian's own configuration closes everything that is not opened.
            "<Directory />", "    Require all denied", "</Directory>",
            f"Include {self.folder}/vlmr.conf",
        ]  # fmt: skip
        return "\n".join(lines) + "\n"

    def serve(self):
        libraries = f"LD_LIBRARY_PATH={TOOLS}/usr/lib/x86_64-linux-gnu:{TOOLS}/lib/x86_64-linux-gnu"
        return ["env", libraries, str(self.binary), "-X", "-f", f"{self.folder}/server.conf"]

    def check(self):
        return [*self.serve()[:-3], "-t", "-f", f"{self.folder}/server.conf"]


def mirror(t):
    """A mirror with a pattern, engines and products, as the timer would leave it."""
    app, _ = t.mirror({"SOURCES": {"Engines": "1", "Products": "1"}}, engines={"Path_VSAPI16": "6.510"}, products=(6,))
    app.run()
    for above in [app.path, *app.path.parents]:
        if len(above.parts) > 2:
            above.chmod(above.stat().st_mode | 0o055)
    return app


def check_example(t, kind):
    app = mirror(t)
    published = app.path / "ActiveUpdate"
    server = t.keep(kind(t.folder / kind.__name__, published))
    for name in app.files("ActiveUpdate"):
        status, headers, body = server.get(f"activeupdate/{name}")
        assert status == 200 and body == (published / name).read_bytes(), (name, status, body[:300])
        assert headers["Content-Type"] == "application/octet-stream", (name, str(headers))
        assert headers["Cache-Control"] == "no-cache", (name, str(headers))
    # A file that is still being written, no listing, nothing from the rest of the application folder.
    (published / "server.ini.vlmr-tmp").write_bytes(b"half")
    (published / "Pattern/vsapi.zip.vlmr-tmp").write_bytes(b"half")
    refused = ["server.ini.vlmr-tmp", "Pattern/vsapi.zip.vlmr-tmp", "Pattern/", ""]
    for name in [*refused, "not-there", "../VLMR.ini", "%2e%2e/VLMR.ini"]:
        status, _, body = server.get(f"activeupdate/{name}")
        assert status in (400, 403, 404) and b"half" not in body, (name, status)
    assert {server.get(name)[0] for name in ("VLMR.ini", "server.ini", "")} <= {403, 404}
    for path in published.rglob("*.vlmr-tmp"):
        path.unlink()

    # What it is for: another mirror takes its index and archive from there.
    second = t.app("second")
    second.write_settings(framework.settings(f"http://127.0.0.1:{server.port}/activeupdate"))
    second.run()
    name = "ActiveUpdate/Pattern/vsapi.zip"
    assert (second.path / name).read_bytes() == (app.path / name).read_bytes()


def test_the_nginx_example_serves_the_mirror(t):
    check_example(t, NginxExample)


def test_the_apache_example_serves_the_mirror(t):
    check_example(t, ApacheExample)


def test_the_iis_example_is_well_formed_and_lets_every_kind_of_file_out(t):
    app = mirror(t)
    root = xml.etree.ElementTree.parse(EXAMPLES / "web.config").getroot()
    assert root.tag == "configuration" and [child.tag for child in root] == ["system.webServer"]
    server = root[0]
    kinds = {entry.get("fileExtension") for entry in server.iter("mimeMap")}
    extensions = {re.search(r"(\.[^.]*)?$", name)[0] for name in app.files("ActiveUpdate")}
    assert ".*" in kinds or extensions <= kinds, (extensions, kinds)
    filters = server.find("security/requestFiltering/fileExtensions")
    assert filters.get("allowUnlisted") == "true"
    assert {entry.get("fileExtension"): entry.get("allowed") for entry in filters.findall("add")} == {
        ".ini": "true",
        ".vlmr-tmp": "false",
    }
    assert server.find("directoryBrowse").get("enabled") == "false"


if __name__ == "__main__":
    framework.main()
