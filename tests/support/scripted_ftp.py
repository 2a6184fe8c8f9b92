"""An FTP server that shows every command with its argument, and that answers wrongly as it is told.

    server = ScriptedFtp(root)
    server.script("NLST", "450 no files", None)

answers the first NLST with that reply and every later one properly: the n-th command meets the n-th entry, the last
one stays; None is good behaviour. An entry is a reply text, or a function that gets the `Control` and the argument.
It takes any log-in, unless a user and a password are given, and any gateway log-in `user@host`.
"""

import socket
import struct
import threading
from pathlib import Path, PurePosixPath

from ports import bound_socket

ROUND_TRIP = 0.002
"""Seconds until a command is answered."""


class Control:
    """One control connection."""

    def __init__(self, server, sock):
        self.server = server
        self.sock = sock
        self.folder = PurePosixPath("/")
        self.user = ""
        self.passive = None
        self.active = None
        self.rename_from = None

    def reply(self, text):
        self.sock.sendall(text.replace("\n", "\r\n").encode("latin-1") + b"\r\n")

    def local(self, argument):
        """The served file that an argument names."""
        path = PurePosixPath(argument) if argument.startswith("/") else self.folder / argument
        return self.server.root / str(path).lstrip("/")

    def data(self):
        """The data connection that the client prepared."""
        if self.passive:
            self.passive.settimeout(10)
            connection, _ = self.passive.accept()
            self.passive.close()
            self.passive = None
            return connection
        return socket.create_connection(self.active, timeout=10)

    def good(self, word, argument):
        """Answers as a good server does."""
        if word == "GREETING":
            return self.reply("220 ready")
        method = getattr(self, f"do_{word.lower()}", None)
        return method(argument) if method else self.reply("502 not here")

    # --- commands: a method for each, named as the command -------------------------------------------------------

    def do_user(self, argument):
        self.user = argument
        self.reply("331 password, please")

    def do_pass(self, argument):
        wanted = self.server.log_in
        good = wanted is None or wanted == (self.user, argument)
        self.reply("230 welcome" if good else "530 not you")

    def do_type(self, _):
        self.reply("200 as you like")

    def do_syst(self, _):
        self.reply("215 UNIX Type: L8")

    def do_pwd(self, _):
        self.reply(f'257 "{self.folder}"')

    def do_cwd(self, argument):
        path = PurePosixPath(argument) if argument.startswith("/") else self.folder / argument
        if (self.server.root / str(path).lstrip("/")).is_dir():
            self.folder = path
            self.reply("250 there you are")
        else:
            self.reply("550 no such folder")

    def do_pasv(self, _):
        self.passive = bound_socket()
        port = self.passive.getsockname()[1]
        self.reply(f"227 Entering Passive Mode (127,0,0,1,{port >> 8},{port & 255})")

    def do_epsv(self, _):
        self.passive = bound_socket()
        self.reply(f"229 Entering Extended Passive Mode (|||{self.passive.getsockname()[1]}|)")

    def do_port(self, argument):
        parts = argument.split(",")
        self.active = (".".join(parts[:4]), int(parts[4]) * 256 + int(parts[5]))
        self.reply("200 I shall call")

    def do_eprt(self, argument):
        _, _, host, port, _ = argument.split("|")
        self.active = (host, int(port))
        self.reply("200 I shall call")

    def do_nlst(self, argument):
        folder = self.local(argument) if argument else self.local(".")
        self.send("".join(f"{p.name}\r\n" for p in sorted(folder.iterdir()) if p.is_file()).encode("latin-1"))

    def do_size(self, argument):
        file = self.local(argument)
        self.reply(f"213 {file.stat().st_size}" if file.is_file() else "550 no such file")

    def do_retr(self, argument):
        file = self.local(argument)
        if file.is_file():
            self.send(file.read_bytes())
        else:
            self.reply("550 no such file")

    def do_stor(self, argument):
        self.reply("150 go on")
        with self.data() as connection:
            received = b"".join(iter(lambda: connection.recv(65536), b""))
        self.local(argument).write_bytes(received)
        self.reply("226 got it")

    def do_rnfr(self, argument):
        self.rename_from = self.local(argument)
        self.reply("350 to what?" if self.rename_from.is_file() else "550 no such file")

    def do_rnto(self, argument):
        self.rename_from.replace(self.local(argument))
        self.reply("250 renamed")

    def do_dele(self, argument):
        file = self.local(argument)
        self.reply("250 gone" if file.is_file() else "550 no such file")
        file.unlink(missing_ok=True)

    def do_quit(self, _):
        self.reply("221 bye")
        return False

    def send(self, content):
        self.reply("150 here it comes")
        with self.data() as connection:
            connection.sendall(content)
        self.reply("226 that was it")


# --- faults -----------------------------------------------------------------------------------------------------


def cut_transfer(after, reply="426 broken off"):
    """Sends the first bytes of the file and breaks the data connection."""

    def fault(control, argument):
        control.reply("150 here it comes")
        with control.data() as connection:
            connection.sendall(control.local(argument).read_bytes()[:after])
        control.reply(reply)

    return fault


def refuse_data(control, _):
    """Takes the command, never opens the data connection."""
    control.reply("425 no data connection")


def hang_up(_control, _argument):
    """Closes the control connection without a reply."""
    return False


def store_failure(reply="452 disk full"):
    """Takes some of the data, then gives up."""

    def fault(control, _):
        control.reply("150 go on")
        with control.data() as connection:
            connection.recv(1000)
        control.reply(reply)

    return fault


def in_pieces(text, size=3):
    """A reply that arrives a few bytes at a time."""

    def fault(control, _):
        data = text.replace("\n", "\r\n").encode("latin-1") + b"\r\n"
        for start in range(0, len(data), size):
            control.sock.sendall(data[start : start + size])
            control.server.stopping.wait(0.01)

    return fault


def reset_control(control, _):
    """Breaks the control connection off with a reset."""
    break_off(control.sock)
    return False


def break_off(sock):
    """Lets a connection end with a reset when it is closed."""
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def raw(data):
    """These bytes as a reply; the connection stays open."""
    return lambda control, _: control.sock.sendall(data)


def stall(control, _):
    """Says nothing more."""
    control.server.stopping.wait(600)
    return False


def never_calls(control, argument):
    """Announces data and opens no connection for them."""
    control.reply("150 here it comes")
    return stall(control, argument)


def endless_reply(control, _):
    """A reply of lines that never come to their last."""
    while not control.server.stopping.is_set():
        control.sock.sendall(b"230-still more to say\r\n" * 100)


def good_bytes(control, argument):
    """What a good server would send: the file, or the names of a folder."""
    file = control.local(argument or ".")
    if file.is_dir():
        return "".join(f"{path.name}\r\n" for path in sorted(file.iterdir()) if path.is_file()).encode("latin-1")
    return file.read_bytes()


def transfer(change=None, reset=False, after="226 that was it", wait=0):
    """The data of NLST or RETR, changed; then a reset or the end of the data connection; then `after`: a reply, another
    fault, or None for the end of the control connection. With `wait` the data connection stays open and silent so long."""

    def fault(control, argument):
        good = good_bytes(control, argument)
        control.reply("150 here it comes")
        with control.data() as connection:
            connection.sendall(change(good) if change else good)
            control.server.stopping.wait(wait)
            if reset:
                break_off(connection)
        if callable(after):
            return after(control, argument)
        return control.reply(after) if after else False

    return fault


def endless_data(control, _):
    """A listing that never ends."""
    control.reply("150 here it comes")
    with control.data() as connection:
        while not control.server.stopping.is_set():
            connection.sendall(b"some-name.txt\r\n" * 1000)


def closed_port(control, _):
    """Passive mode to a port where nobody listens."""
    with bound_socket() as listener:
        port = listener.getsockname()[1]
    control.reply(f"227 Entering Passive Mode (127,0,0,1,{port >> 8},{port & 255})")


def pasv_elsewhere(control, _):
    """Passive mode that names another machine."""
    control.passive = bound_socket()
    port = control.passive.getsockname()[1]
    control.reply(f"227 Entering Passive Mode (203,0,113,9,{port >> 8},{port & 255})")


def dead_passive(control, _):
    """Passive mode whose data connection is broken off as soon as it is there."""
    with bound_socket() as listener:
        control.reply(f"229 Entering Extended Passive Mode (|||{listener.getsockname()[1]}|)")
        connection, _ = listener.accept()
    break_off(connection)
    connection.close()
    # What comes next finds that its data connection is gone.
    control.active = ("127.0.0.1", 9)


def broken_store(control, _):
    """Breaks the data connection of an upload off."""
    control.reply("150 go on")
    with control.data() as connection:
        connection.recv(1000)
        break_off(connection)
    control.reply("426 broken off")


def only_for(name, fault):
    """The fault where the argument ends in `name`; good behaviour for all others."""

    def chosen(control, argument):
        if not argument.lower().endswith(name):
            return control.good("RETR", argument)
        return control.reply(fault) if isinstance(fault, str) else fault(control, argument)

    return chosen


class ScriptedFtp:
    """One thread for each connection; files below `root`, which the client may also write."""

    def __init__(self, root, user=None, password=None):
        self.root = Path(root)
        self.log_in = (user, password) if user is not None else None
        self.commands = []
        self.observer = None
        """Called with each command before it is answered."""
        self.stopping = threading.Event()
        self._script = {}
        self._connections = []
        self._listener = bound_socket()
        self.port = self._listener.getsockname()[1]
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    @property
    def host(self):
        return f"127.0.0.1:{self.port}"

    def script(self, command, *entries):
        """Sets the answers to a command; "GREETING" is what the server says first."""
        self._script[command.upper()] = list(entries)

    def behave(self):
        """Takes the whole script back."""
        self._script = {}

    def words(self):
        """The commands so far without their arguments."""
        return [command.split(" ")[0] for command in list(self.commands)]

    def stop(self):
        self.stopping.set()
        self._listener.close()
        for connection in self._connections:
            try:
                connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self._thread.join(5)

    def _accept(self):
        self._listener.settimeout(0.1)
        while not self.stopping.is_set():
            try:
                connection, _ = self._listener.accept()
            except TimeoutError:
                continue
            except OSError:
                return
            connection.settimeout(None)
            # A reply shall not wait for the acknowledgement of the one before.
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._connections.append(connection)
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        control = Control(self, connection)
        try:
            if self._answer(control, "GREETING", "") is False:
                return
            for line in connection.makefile("rb"):
                text = line.decode("latin-1").rstrip("\r\n")
                self.commands.append(text)
                if self.observer:
                    self.observer(text)
                word, _, argument = text.partition(" ")
                if self._answer(control, word.upper(), argument) is False:
                    return
        except OSError:
            pass  # the client went away, which is its right
        finally:
            connection.close()

    def _answer(self, control, word, argument):
        # An answer that is there at once, as over no real line, lets libcurl wait a second for nothing.
        self.stopping.wait(ROUND_TRIP)
        entries = self._script.get(word)
        entry = (entries[0] if len(entries) == 1 else entries.pop(0)) if entries else None
        if isinstance(entry, str):
            return control.reply(entry)
        if entry is not None:
            return entry(control, argument)
        return control.good(word, argument)
