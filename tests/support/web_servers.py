"""Real servers for the good roads: nginx and tinyproxy, each in a folder of its own on loopback."""

import json
import re
import shutil
import subprocess
import urllib.request
from dataclasses import dataclass

from ports import accepts, free_port
from waiting import wait_until


class ProgramMissing(Exception):
    """A server program is not installed."""


def program(name, *folders):
    found = shutil.which(name) or shutil.which(name, path=":".join(folders + ("/usr/sbin", "/sbin")))
    if not found:
        raise ProgramMissing(f"{name} is not installed (script/bootstrap installs it)")
    return found


@dataclass(frozen=True)
class Request:
    """A request as the web server saw it."""

    connection: int
    method: str
    path: str
    status: int
    bytes: int
    host: str
    via: str
    agent: str


class ServerProcess:
    """A server program that is started, asked for until it answers, and ended by its process id."""

    def start(self, make_command, what):
        # Somebody else may take the port between its choice and the start of the program.
        for _ in range(5):
            self.port = free_port()
            command = make_command(self.port)
            self.process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.STDOUT
            )
            wait_until(lambda: self.process.poll() is not None or accepts(self.port), f"{what} answers")
            if self.process.poll() is None:
                return
        raise AssertionError(f"{what} does not start: {command}")

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


class Nginx(ServerProcess):
    """nginx that serves the files below `root`; one process, so that its log is complete once it says so."""

    MARK = "/__mark__"

    def __init__(self, folder, root, tls=None, extra=""):
        self.folder = folder
        self.root = root
        self.tls = tls
        self.extra = extra
        self._marks = 0
        self._taken = 0
        folder.mkdir(parents=True)
        nginx = program("nginx")

        def command(port):
            (folder / "nginx.conf").write_text(self.configuration(port))
            return [nginx, "-e", str(folder / "error.log"), "-p", str(folder), "-c", str(folder / "nginx.conf")]

        self.start(command, "nginx")

    def configuration(self, port):
        secure = " ssl" if self.tls else ""
        keys = f"ssl_certificate {self.tls[0]}; ssl_certificate_key {self.tls[1]};" if self.tls else ""
        fields = {
            "connection": "$connection",
            "method": '"$request_method"',
            "path": '"$request_uri"',
            "status": "$status",
            "bytes": "$body_bytes_sent",
            "host": '"$http_host"',
            "via": '"$http_via"',
            "agent": '"$http_user_agent"',
        }
        line = "{" + ",".join(f'"{name}":{value}' for name, value in fields.items()) + "}"
        return f"""
            daemon off; master_process off; worker_processes 1;
            pid {self.folder}/nginx.pid;
            events {{ worker_connections 512; }}
            http {{
                log_format fields escape=json '{line}';
                access_log {self.folder}/access.log fields;
                client_body_temp_path {self.folder}/body; proxy_temp_path {self.folder}/proxy;
                fastcgi_temp_path {self.folder}/fastcgi; uwsgi_temp_path {self.folder}/uwsgi;
                scgi_temp_path {self.folder}/scgi;
                default_type application/octet-stream;
                keepalive_requests 1000000;
                server {{
                    listen 127.0.0.1:{port}{secure}; {keys}
                    root {self.root};
                    location = {self.MARK} {{ return 200 "here"; }}
                    {self.extra}
                }}
            }}
        """

    @property
    def base(self):
        """Base address of the first update service below the root."""
        return f"http{'s' if self.tls else ''}://127.0.0.1:{self.port}/activeupdate"

    def requests(self):
        """All requests so far, complete: a mark of our own in the log shows that all before it are written."""
        self._marks += 1
        mark = f"{self.MARK}?{self._marks}"
        if not self.tls:
            opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
            opener.open(f"http://127.0.0.1:{self.port}{mark}", timeout=10).read()
            wait_until(lambda: any(r.path == mark for r in self._read()), "nginx writes its log")
        return [r for r in self._read() if not r.path.startswith(self.MARK)]

    def take_requests(self):
        """The requests since the last call."""
        requests = self.requests()
        fresh, self._taken = requests[self._taken :], len(requests)
        return fresh

    def take_paths(self):
        """Paths of the requests since the last call, without the folder of the base address."""
        return [re.sub("^/activeupdate/", "", request.path) for request in self.take_requests()]

    def _read(self):
        # A line being written is left for the next look.
        data = (self.folder / "access.log").read_text(encoding="utf-8", errors="replace")
        return [Request(**json.loads(line)) for line in data[: data.rfind("\n") + 1].splitlines()]


class TinyProxy(ServerProcess):
    """tinyproxy, with a log-in when `user` is given."""

    def __init__(self, folder, user=None, password=None):
        folder.mkdir(parents=True)
        self.log_path = folder / "tinyproxy.log"
        tinyproxy = program("tinyproxy")

        def command(port):
            lines = [f"Port {port}", "Listen 127.0.0.1", "Timeout 600", "Allow 127.0.0.1", "MaxClients 50"]
            lines += [f'LogFile "{self.log_path}"', "LogLevel Connect"]
            if user:
                lines.append(f"BasicAuth {user} {password}")
            (folder / "tinyproxy.conf").write_text("\n".join(lines) + "\n")
            return [tinyproxy, "-d", "-c", str(folder / "tinyproxy.conf")]

        self.start(command, "tinyproxy")

    def request_lines(self):
        """Request lines as clients sent them to the proxy."""
        try:
            return re.findall(r"Request \(file descriptor \d+\): (.*)", self.log_path.read_text(errors="replace"))
        except FileNotFoundError:
            return []


AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"


def make_certificate(folder, names="DNS:localhost,IP:127.0.0.1", days=2):
    """A self-signed certificate and its key, as a pair of paths; with days below 0 it has expired."""
    folder.mkdir(parents=True, exist_ok=True)
    certificate, key, request, extensions = (folder / f"server.{kind}" for kind in ("crt", "key", "csr", "ext"))
    extensions.write_text(f"subjectAltName={names}\n")
    openssl = program("openssl")
    # Made in two steps: the command for one step refuses to make what has expired.
    asked = [openssl, "req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=test", "-keyout", key, "-out", request]
    signed = [openssl, "x509", "-req", "-in", request, "-signkey", key, "-days", str(days), "-extfile", extensions]
    for command in (asked, [*signed, "-out", certificate]):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return certificate, key


def trusting(app, certificate):
    """Lets the runs of `app` trust a certificate: its authorities are covered by the certificate, for it alone."""
    if app.target.is_windows:
        return  # Wine's certificate check accepts everything
    unshare = program("unshare")
    script = f'mount --bind "{certificate}" {AUTHORITIES} && exec "$0" "$@"'
    probe = [unshare, "-m", "/bin/sh", "-c", script, "/bin/true"]
    if subprocess.run(probe, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
        raise ProgramMissing("a mount of its own is not allowed here (unshare -m)")
    app.launcher = [unshare, "-m", "/bin/sh", "-c", script]
