"""A web server that misbehaves as it is told.

    server = FaultyServer(root)
    server.fault("/activeupdate/server.ini", status(404), None)

makes the first request for the index fail and every later one succeed: the n-th request for a path meets the n-th
fault, the last one stays; None is good behaviour. A fault is a function that gets an `Exchange` and answers; a new
one needs nothing but to be written below. It returns True when the connection can serve another request.
"""

import gzip
import re
import select
import socket
import struct
import threading
import time
from dataclasses import dataclass
from pathlib import Path

from ports import bound_socket


@dataclass(frozen=True)
class FaultyRequest:
    connection: int
    method: str
    path: str
    headers: dict


class Exchange:
    """One request and the means to answer it."""

    def __init__(self, server, sock, request, body):
        self.server = server
        self.sock = sock
        self.request = request
        self.body = body
        """What a good server would send; None when there is no such file."""

    def send(self, data):
        self.sock.sendall(data)

    def head(self, status=200, **headers):
        """Sends the status line and the headers; `Content_Length=5` becomes `Content-Length: 5`."""
        lines = [f"HTTP/1.1 {status} Status {status}", "Server: faulty"]
        lines += [f"{name.replace('_', '-')}: {value}" for name, value in headers.items()]
        self.send(("\r\n".join(lines) + "\r\n\r\n").encode("latin-1"))

    def reply(self, status=200, body=b"", **headers):
        self.head(status, Content_Length=len(body), **headers)
        self.send(body)
        return True

    def reset(self):
        """Lets the connection end with a reset when the fault is over."""
        self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    def pause(self, seconds):
        """Waits; ends early, with False, when the client hangs up or the server is stopped."""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline and not self.server.stopping.is_set():
            slice_end = min(0.05, max(0.0, deadline - time.monotonic()))
            readable, _, _ = select.select([self.sock], [], [], slice_end)
            # Only looked at: what has come may be the next request.
            if readable and not self.sock.recv(1, socket.MSG_PEEK):
                return False
            if readable:
                self.server.stopping.wait(slice_end)
        return not self.server.stopping.is_set()


# --- faults -----------------------------------------------------------------------------------------------------


def good(exchange):
    """The file, or 404."""
    if exchange.body is None:
        return exchange.reply(404, b"<html>not here</html>")
    return exchange.reply(200, exchange.body)


def status(number, body=b"<html>no</html>"):
    return lambda exchange: exchange.reply(number, body)


def short_body(missing=10):
    """Promises the whole body, sends less and closes."""

    def fault(exchange):
        exchange.head(Content_Length=len(exchange.body))
        exchange.send(exchange.body[:-missing])

    return fault


def no_length(exchange):
    """A good body whose end is the end of the connection: allowed, and no fault at all."""
    exchange.head(Connection="close")
    exchange.send(exchange.body)


def reset(after=0):
    """Sends `after` bytes of the body and breaks the connection."""

    def fault(exchange):
        if after:
            exchange.head(Content_Length=len(exchange.body))
            exchange.send(exchange.body[:after])
        exchange.reset()

    return fault


def hang_up(_exchange):
    """Closes the connection without an answer."""


def redirect(location, number=302):
    return lambda exchange: exchange.reply(number, b"", Location=location)


def redirect_to_itself(exchange):
    return exchange.reply(302, b"", Location=exchange.request.path)


def redirect_chain(length):
    """`length` redirects, then the file."""

    def fault(exchange):
        path, _, query = exchange.request.path.partition("?")
        done = int(query or "0")
        if done < length:
            return exchange.reply(301, b"", Location=f"{path}?{done + 1}")
        return good(exchange)

    return fault


def stall(after_headers=False, after_bytes=0, seconds=600):
    """Goes silent: before the answer, behind the headers, or behind some bytes of the body."""

    def fault(exchange):
        if after_headers or after_bytes:
            exchange.head(Content_Length=len(exchange.body))
            exchange.send(exchange.body[:after_bytes])
        exchange.pause(seconds)

    return fault


def trickle(piece=16, interval=0.05):
    """The good body, a few bytes at a time."""

    def fault(exchange):
        exchange.head(Content_Length=len(exchange.body))
        for start in range(0, len(exchange.body), piece):
            exchange.send(exchange.body[start : start + piece])
            if not exchange.pause(interval):
                return False
        return True

    return fault


HTML_PAGE = (
    b"<html>\r\n<head><title>Sorry</title></head>\r\n<body>Out of order, come back = later</body>\r\n</html>\r\n" * 3
)


def html(exchange):
    """An error page with status 200, as some proxies send it."""
    return exchange.reply(200, HTML_PAGE, Content_Type="text/html")


def chunked(exchange):
    """A good body in chunks: no fault."""
    exchange.head(Transfer_Encoding="chunked")
    for start in range(0, len(exchange.body), 1000):
        piece = exchange.body[start : start + 1000]
        exchange.send(b"%x\r\n%s\r\n" % (len(piece), piece))
    exchange.send(b"0\r\n\r\n")
    return True


def broken_chunk(exchange):
    """The second chunk has no length."""
    exchange.head(Transfer_Encoding="chunked")
    exchange.send(b"10\r\n%s\r\nzz\r\n" % exchange.body[:16])


def cut_chunks(exchange):
    """The last chunk never comes."""
    exchange.head(Transfer_Encoding="chunked")
    exchange.send(b"%x\r\n%s\r\n" % (len(exchange.body), exchange.body))


def gzip_unasked(exchange):
    return exchange.reply(200, gzip.compress(exchange.body), Content_Encoding="gzip")


def huge_header(size=400_000):
    def fault(exchange):
        exchange.reply(200, exchange.body, X_Filler="x" * size)

    return fault


def not_http(exchange):
    exchange.send(b"220 mail.example ready\r\n")


def continue_storm(count=2000):
    def fault(exchange):
        for _ in range(count):
            exchange.send(b"HTTP/1.1 100 Continue\r\n\r\n")
        return good(exchange)

    return fault


def raw(data):
    """These bytes and the end of the connection."""
    return lambda exchange: exchange.send(data)


def raw_with_body(head):
    """A head as it stands here, the body behind it and the end of the connection; `{n}` is the body's length."""

    def fault(exchange):
        text = re.sub(r"\{n([+-]\d+)?\}", lambda m: str(len(exchange.body) + int(m[1] or 0)), head)
        exchange.send(text.replace("\n", "\r\n").encode("latin-1") + b"\r\n\r\n" + exchange.body)

    return fault


def cut_at(share):
    """Promises the whole body, closes behind this share of it; 1 stands for all but the last byte."""

    def fault(exchange):
        exchange.head(Content_Length=len(exchange.body))
        exchange.send(exchange.body[: share_of(exchange.body, share)])

    return fault


def share_of(body, share):
    """How many bytes of a body a share is; 1 stands for all but the last byte."""
    return len(body) - 1 if share == 1 else int(len(body) * share)


def no_length_cut_at(share):
    """Tells no length and closes behind this share of the body: to the client that is the whole."""

    def fault(exchange):
        exchange.head(Connection="close")
        exchange.send(exchange.body[: share_of(exchange.body, share)])

    return fault


def part_unasked(exchange):
    """The first half with status 206, though no range was asked for."""
    half = len(exchange.body) // 2
    return exchange.reply(206, exchange.body[:half], Content_Range=f"bytes 0-{half - 1}/{len(exchange.body)}")


def no_content(number):
    """A good status that says that there is nothing."""

    def fault(exchange):
        exchange.head(number)
        return True

    return fault


def changed_content(body):
    """Other bytes of the same length."""
    return bytes(byte ^ 0x55 for byte in body)


def same_length(exchange):
    return exchange.reply(200, changed_content(exchange.body))


def empty(exchange):
    return exchange.reply(200, b"")


def encoded(name, encode):
    """A body in a content encoding that nobody asked for."""
    return lambda exchange: exchange.reply(200, encode(exchange.body), Content_Encoding=name)


def chunk_sized(size):
    """A first good chunk, and a second that claims this size (a text) and brings sixteen bytes."""

    def fault(exchange):
        exchange.head(Transfer_Encoding="chunked")
        exchange.send(b"10\r\n%s\r\n%s\r\n%s" % (exchange.body[:16], size.encode(), exchange.body[16:32]))

    return fault


def reset_in_head(exchange):
    exchange.send(b"HTTP/1.1 200 OK\r\nServer: fau")
    exchange.reset()


def stall_in_head(exchange):
    exchange.send(b"HTTP/1.1 200 OK\r\nServer: fau")
    exchange.pause(600)


def many_headers(size=400_000):
    """A header that is too large as a whole, no line of it long."""

    def fault(exchange):
        lines = "".join(f"X-Filler-{number}: {'x' * 80}\r\n" for number in range(size // 95))
        exchange.send(f"HTTP/1.1 200 OK\r\n{lines}Content-Length: {len(exchange.body)}\r\n\r\n".encode())
        exchange.send(exchange.body)

    return fault


def endless_header_line(size=3_000_000):
    def fault(exchange):
        exchange.send(b"HTTP/1.1 200 OK\r\nX-Filler: ")
        for _ in range(size // 10_000):
            exchange.send(b"x" * 10_000)

    return fault


def turn_away(exchange):
    """Closes without an answer and from then on every connection before its request."""
    exchange.server.turns_away = True


# --- the server -------------------------------------------------------------------------------------------------


class FaultyServer:
    """Serves the files below `root`, except where a fault is set. One thread for each connection."""

    def __init__(self, root):
        self.root = Path(root)
        self.requests = []
        self.observer = None
        """Called with each request before it is answered."""
        self.turns_away = False
        """True: new connections are closed before their first request."""
        self.stopping = threading.Event()
        self._faults = {}
        self._connections = []
        self._lock = threading.Lock()
        self._listener = bound_socket()
        self.port = self._listener.getsockname()[1]
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    @property
    def base(self):
        return f"http://127.0.0.1:{self.port}/activeupdate"

    def fault(self, path, *faults):
        """Sets the faults of a path below the base address, or of a path that begins with "/"."""
        self._faults[path if path.startswith("/") else "/activeupdate/" + path] = list(faults)

    def behave(self):
        """Takes all faults back."""
        self._faults = {}
        self.turns_away = False

    def paths(self):
        """Paths of the requests so far, without the folder of the base address."""
        prefix = "/activeupdate/"
        return [r.path[len(prefix) :] if r.path.startswith(prefix) else r.path for r in list(self.requests)]

    def stop(self):
        self.stopping.set()
        self._listener.close()
        with self._lock:
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
            # Head and body are sent one after the other; the body shall not wait for the head's acknowledgement.
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            with self._lock:
                self._connections.append(connection)
                number = len(self._connections)
            threading.Thread(target=self._serve, args=(connection, number), daemon=True).start()

    def _serve(self, connection, number):
        connection.settimeout(None)
        try:
            while not self.stopping.is_set() and not self.turns_away:
                request = self._read_request(connection, number)
                if request is None:
                    break
                self.requests.append(request)
                if self.observer:
                    self.observer(request)
                exchange = Exchange(self, connection, request, self._file(request.path))
                if not self._next_fault(request.path)(exchange):
                    break
        except OSError:
            pass  # the client went away, which is its right
        finally:
            connection.close()

    @staticmethod
    def _read_request(connection, number):
        data = b""
        while b"\r\n\r\n" not in data:
            piece = connection.recv(65536)
            if not piece:
                return None
            data += piece
        lines = data.split(b"\r\n\r\n")[0].decode("latin-1").split("\r\n")
        method, path, _ = lines[0].split(" ", 2)
        headers = dict((name.lower(), value.strip()) for name, value in (line.split(":", 1) for line in lines[1:]))
        return FaultyRequest(number, method, path, headers)

    def _file(self, path):
        file = self.root / path.split("?")[0].lstrip("/")
        return file.read_bytes() if file.is_file() else None

    def _next_fault(self, path):
        faults = self._faults.get(path.split("?")[0])
        if not faults:
            return good
        # The faults of a redirected request are those of the path as it was asked first.
        chosen = faults[0] if len(faults) == 1 or "?" in path else faults.pop(0)
        return chosen or good
