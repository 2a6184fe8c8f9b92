"""Free ports on loopback for test servers."""

import random
import socket

# The "WebServerPort" and "Port" settings are 16-bit numbers, so nothing above 32767 can be used.
LOWEST, HIGHEST = 10_000, 32_767

# Not the seed of the test: tests that run side by side with one seed would all try the same ports.
_draw = random.SystemRandom()


def free_port():
    """A port that nobody listened on a moment ago. Whoever binds it must be ready to ask for another."""
    for _ in range(200):
        port = _draw.randint(LOWEST, HIGHEST)
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", port))
            except OSError:
                continue
            return port
    raise RuntimeError("no free port on loopback")


def bound_socket():
    """A listening socket on a free port, for servers that run inside the test."""
    for _ in range(200):
        listener = socket.socket()
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            listener.bind(("127.0.0.1", _draw.randint(LOWEST, HIGHEST)))
        except OSError:
            listener.close()
            continue
        listener.listen(64)
        return listener
    raise RuntimeError("no free port on loopback")


def accepts(port):
    """True when somebody listens on the port."""
    with socket.socket() as probe:
        probe.settimeout(1)
        return probe.connect_ex(("127.0.0.1", port)) == 0
