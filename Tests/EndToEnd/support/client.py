"""A client of the daemon's socket, as bare as the application's own."""

import json
import socket

from .sim import DEADLINE, Sim
from .wire import OBSERVE


class Connection:
    """A client's end of a connection to the socket."""

    def __init__(self, sim: Sim, data: bytes = b""):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(sim.socket)
        self.socket.sendall(data)
        self.buffer = b""

    def read(self) -> bytes:
        return self.socket.recv(1 << 20)

    def read_all(self) -> bytes:
        data = b""
        while piece := self.read():
            data += piece
        return data

    def read_through(self, mark: bytes) -> bytes:
        """Everything up to and with the mark; what came behind it is kept for the next call."""
        while mark not in self.buffer:
            piece = self.read()
            assert piece, f"the stream ended before {mark!r}: {self.buffer!r}"
            self.buffer += piece
        end = self.buffer.index(mark) + len(mark)
        found, self.buffer = self.buffer[:end], self.buffer[end:]
        return found

    def notification(self) -> dict:
        return json.loads(self.read_through(b"\n"))

    def close(self):
        self.socket.close()


class Observer(Connection):
    """An observer of the bus that has read the header."""

    def __init__(self, sim: Sim):
        super().__init__(sim, OBSERVE)
        self.header = self.read_through(b"\r\n\r\n")


def request_bytes(method: str, path: str, body: bytes = b"") -> bytes:
    head = f"{method} {path} HTTP/1.1\r\nHost: local-quoxelind.sock\r\nContent-Length: {len(body)}\r\n"
    head += "Connection: close\r\n" + ("Content-Type: application/json\r\n" if body else "") + "\r\n"
    return head.encode() + body


def exchange(sim: Sim, method: str, path: str, body: bytes = b"") -> tuple[int, bytes]:
    """One exchange as the application makes it: status and body of the reply."""
    reply = Connection(sim, request_bytes(method, path, body)).read_all()
    head, body = reply.split(b"\r\n\r\n", 1)
    return int(head.split(b" ")[1]), body


def ask(sim: Sim, method: str, path: str, body: bytes = b"") -> dict:
    status, reply = exchange(sim, method, path, body)
    assert status == 200, reply
    return json.loads(reply)
