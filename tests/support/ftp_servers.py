"""Real FTP daemons on loopback, as `script/test_servers` unpacked them.

Each serves the files below `root` to the user "anonymous" (any password) or, where it is said, to a named user.
"""

import os
import re
import signal
import subprocess
from pathlib import Path

from ports import free_port
from web_servers import ProgramMissing, ServerProcess, program

TOOLS = Path(__file__).resolve().parents[2] / "build" / "tools"


class FtpDaemon(ServerProcess):
    """What the daemons share: where they lie and how they find their libraries."""

    name = ""

    def __init__(self, folder, root, user=None, password=None, rate=None):
        self.folder = folder
        self.root = root
        self.user = user
        self.password = password
        self.rate = rate
        """Kilobytes a second that a client gets; None: as many as it takes."""
        self.binary = TOOLS / "usr" / "sbin" / self.name
        if not self.binary.exists():
            raise ProgramMissing(f"{self.name} is not unpacked (script/test_servers does it)")
        if os.geteuid() != 0:
            raise ProgramMissing(f"{self.name} has to be started by root")
        folder.mkdir(parents=True)
        libraries = f"{TOOLS}/usr/lib/x86_64-linux-gnu:{TOOLS}/lib/x86_64-linux-gnu"
        self.environment = {"PATH": "/usr/bin:/bin:/usr/sbin", "LD_LIBRARY_PATH": libraries, "LC_ALL": "C"}
        # The daemons drop their rights, so the folders above must let others pass.
        for above in [folder, *folder.parents]:
            if len(above.parts) > 2 and str(above).startswith("/tmp"):
                above.chmod(above.stat().st_mode | 0o055)
        self.start(self.command, self.name)

    def command(self, port):
        raise NotImplementedError

    def confined(self, *command):
        """The command line that runs a program of build/tools with its own libraries and nothing else around it."""
        return ["env", "-i", *(f"{name}={value}" for name, value in self.environment.items()), *map(str, command)]

    def cut(self):
        """Breaks all connections off as a fault of the server does: the processes that serve them are killed."""
        for pid in descendants(self.process.pid):
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    @property
    def host(self):
        """What stands between "ftp://" and the folder in an address."""
        return f"127.0.0.1:{self.port}"


def descendants(pid):
    """Process ids of the children of a process, their children and so on."""
    parents = {}
    for stat in Path("/proc").glob("[0-9]*/stat"):
        try:
            parents[int(stat.parent.name)] = int(stat.read_bytes().rsplit(b")", 1)[1].split()[1])
        except OSError:
            continue
    found, family = [], {pid}
    while family:
        family = {child for child, parent in parents.items() if parent in family}
        found += family
    return found


class ProFtpd(FtpDaemon):
    """proftpd; with `user` given only that user may log in, and may write."""

    name = "proftpd"

    def command(self, port):
        lines = [
            'ServerName "test"', "ServerType standalone", "UseIPv6 off", "DefaultAddress 127.0.0.1",
            "SocketBindTight on", f"Port {port}", "User nobody", "Group nogroup", "MaxInstances 20",
            "UseReverseDNS off", "WtmpLog off",
            f"PidFile {self.folder}/pid", f"ScoreboardFile {self.folder}/scoreboard", f"SystemLog {self.folder}/log",
            'LogFormat commands "%r"', f"ExtendedLog {self.folder}/commands ALL commands",
            "AllowOverwrite on", "RequireValidShell off", f"ModulePath {TOOLS}/usr/lib/proftpd",
        ]  # fmt: skip
        if self.user:
            hashed = subprocess.run(
                [program("openssl"), "passwd", "-6", self.password], check=True, capture_output=True, text=True
            ).stdout.strip()
            users = self.folder / "users"
            users.write_text(f"{self.user}:{hashed}:65534:65534::{self.root}:/bin/sh\n")
            users.chmod(0o600)
            lines += ["AuthOrder mod_auth_file.c", f"AuthUserFile {users}", f"DefaultRoot {self.root}"]
        else:
            lines += [f"<Anonymous {self.root}>", "User nobody", "Group nogroup", "UserAlias anonymous nobody"]
            lines += ["RequireValidShell off", "</Anonymous>"]
        if self.rate:
            lines.append(f"TransferRate RETR {self.rate}")
        config = self.folder / "proftpd.conf"
        config.write_text("\n".join(lines) + "\n")
        return self.confined(self.binary, "-n", "-q", "-c", config)

    def commands(self):
        """Commands as they came in; passwords are hidden by the daemon."""
        try:
            return (self.folder / "commands").read_text(errors="replace").splitlines()
        except FileNotFoundError:
            return []


class VsFtpd(FtpDaemon):
    """vsftpd, for the user "anonymous" only, who may read."""

    name = "vsftpd"

    def command(self, port):
        empty = self.folder / "empty"
        empty.mkdir(exist_ok=True)
        lines = [
            "listen=YES", "listen_ipv6=NO", "listen_address=127.0.0.1", f"listen_port={port}", "background=NO",
            "anonymous_enable=YES", "local_enable=NO", "no_anon_password=NO", f"anon_root={self.root}",
            "ftp_username=daemon", f"secure_chroot_dir={empty}", "seccomp_sandbox=NO", "xferlog_enable=YES",
            f"vsftpd_log_file={self.folder}/log", "log_ftp_protocol=YES", "connect_from_port_20=NO",
            "session_support=NO", "tcp_wrappers=NO",
        ]  # fmt: skip
        if self.rate:
            lines.append(f"anon_max_rate={self.rate * 1024}")
        config = self.folder / "vsftpd.conf"
        config.write_text("\n".join(lines) + "\n")
        config.chmod(0o600)
        return self.confined(self.binary, config)

    def commands(self):
        """Commands as they came in; passwords are hidden by the daemon."""
        try:
            text = (self.folder / "log").read_text(errors="replace")
        except FileNotFoundError:
            return []
        return re.findall(r'FTP command: Client "[^"]*", "(.*)"', text)


class PureFtpd(FtpDaemon):
    """pure-ftpd for one named user, who may write."""

    name = "pure-ftpd"

    def command(self, port):
        users, database = self.folder / "users", self.folder / "users.pdb"
        users.unlink(missing_ok=True)
        tool = TOOLS / "usr" / "bin" / "pure-pw"
        add = self.confined(tool, "useradd", self.user, "-f", users, "-u", "65534", "-g", "65534", "-d", self.root)
        subprocess.run(add, input=f"{self.password}\n" * 2, text=True, check=True, capture_output=True)
        subprocess.run(self.confined(tool, "mkdb", database, "-f", users), check=True, capture_output=True)
        options = ["-S", f"127.0.0.1,{port}", "-l", f"puredb:{database}", "-E", "-H", "-u", "1"]
        return self.confined(self.binary, *options, "-g", self.folder / "pid")


class FtpGateway(FtpDaemon):
    """ftp-proxy: takes log-ins of the form user@host or user@host:port and passes everything on to that host."""

    name = "ftp-proxy"

    def command(self, port):
        lines = [
            "Listen 127.0.0.1", f"Port {port}", "User nobody", "Group nogroup", "AllowMagicUser yes",
            "ForceMagicUser yes", "DestinationAddress 127.0.0.1", "DestinationPort 9", "ServerType standalone",
            f"LogDestination {self.folder}/log", "LogLevel DBG", f"PidFile {self.folder}/pid",
        ]  # fmt: skip
        # It makes its log when it has dropped its rights already.
        self.folder.chmod(0o777)
        config = self.folder / "ftp-proxy.conf"
        config.write_text("[-Global-]\n" + "\n".join(lines) + "\n")
        return self.confined(self.binary, "-d", "-n", "-f", config)

    def log(self):
        return (self.folder / "log").read_text(errors="replace")
