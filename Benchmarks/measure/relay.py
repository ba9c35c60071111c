"""Stands between the application and quoxelind-sim: passes requests on and writes the notification
stream itself, so that it knows when each line was written."""

import contextlib
import os
import re
import shutil
import socket
import tempfile
import threading
import time

from support.steered import wait_until

STREAM = b"/localapi/v0/observe-hashi-bus"
HEADER = b"HTTP/1.1 200 OK\r\n\r\n"


def read_head(connection: socket.socket) -> bytes:
    head = b""
    while b"\r\n\r\n" not in head and (data := connection.recv(65_536)):
        head += data
    return head


class Relay:
    """`daemon` is the socket of a quoxelind-sim."""

    def __init__(self, daemon: str):
        self._daemon = daemon
        self._directory = tempfile.mkdtemp(prefix="qxrel-")
        self.socket = os.path.join(self._directory, "d.sock")
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self.socket)
        self._listener.listen(64)
        self._stream: socket.socket | None = None
        threading.Thread(target=self._accept, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.close()
        if self._stream:
            self._stream.close()
        shutil.rmtree(self._directory, ignore_errors=True)

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=[connection], daemon=True).start()

    def _serve(self, connection: socket.socket):
        head = read_head(connection)
        if STREAM in head:
            connection.sendall(HEADER)
            self._stream = connection
            return
        # The application may end in the middle.
        with contextlib.suppress(OSError), connection, socket.socket(socket.AF_UNIX) as daemon:
            daemon.connect(self._daemon)
            daemon.sendall(head)
            while data := daemon.recv(65_536):
                connection.sendall(data)

    def await_observer(self):
        """Waits until a program follows the stream."""
        wait_until(lambda: self._stream, "a program that follows the stream", 30)

    def forget_observer(self):
        self._stream = None

    def send(self, line: bytes) -> float:
        """Writes a line, and returns when that began."""
        at = time.monotonic()
        self._stream.sendall(line)
        return at


def recorded_line(sim, peers: int) -> bytes:
    """What that quoxelind-sim tells a new observer: its whole state, as one line."""
    sim.do("peers", count=peers)
    with socket.socket(socket.AF_UNIX) as observer:
        observer.connect(sim.socket)
        observer.sendall(b"GET " + STREAM + b" HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n")
        with observer.makefile("rb") as stream:
            return next(line for line in stream if line.startswith(b'{"') and b'"NetMap"' in line)


def renamed(line: bytes, name: str) -> bytes:
    """The same line with another name of the user's own machine, which the panel shows."""
    own = re.compile(rb'("SelfNode":\{"Node":\{[^}]*?"Name":")[^"]*')
    changed, count = own.subn(rb"\g<1>" + name.encode(), line, 1)
    if count != 1:
        raise ValueError("the line has no machine of the user's own")
    return changed
