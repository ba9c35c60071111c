"""The simulated daemon as a process: its sockets, its web page, its output and its end."""

import json
import os
import re
import signal
import socket
import subprocess
import urllib.error
import urllib.request

import pytest

from support.sim import DEADLINE, Sim, SimError, browser, build_directory
from support.wire import LOGOUT, OBSERVE, STATUS

PROGRAM = str(build_directory() / "quoxelind-sim")
STATUS_PATH = "/localapi/v0/status"


class Client:
    """A client's end of a connection to the daemon's socket."""

    def __init__(self, sim: Sim, data: bytes = b""):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(sim.socket)
        self.socket.sendall(data)
        self.buffer = b""

    def read(self) -> bytes:
        return self.socket.recv(1 << 20)

    def read_all(self) -> bytes:
        return b"".join(iter(self.read, b""))

    def read_through(self, mark: bytes) -> bytes:
        """Everything up to and with the mark."""
        while mark not in self.buffer:
            piece = self.read()
            assert piece, f"the stream ended before {mark!r}: {self.buffer!r}"
            self.buffer += piece
        found, _, self.buffer = self.buffer.partition(mark)
        return found + mark

    def notification(self) -> dict:
        return json.loads(self.read_through(b"\n"))


@pytest.fixture
def observer(daemon):
    client = Client(daemon, OBSERVE)
    assert client.read_through(b"\r\n\r\n").startswith(b"HTTP/1.1 200 OK\r\n")
    assert client.notification()["State"] == "NeedsLogin"
    return client


# Requests


def test_answers_requests_that_come_in_pieces_or_together(daemon):
    client = Client(daemon)
    for byte in LOGOUT:
        client.socket.sendall(bytes([byte]))
    assert client.read().startswith(b"HTTP/1.1 200 OK\r\n")
    client.socket.sendall(LOGOUT + STATUS)
    replies = client.read_all()
    assert replies.count(b"HTTP/1.1 200 OK\r\n") == 2 and b'"backend_state":"NeedsLogin"' in replies
    assert [request.bytes for request in daemon.requests()] == [LOGOUT, LOGOUT, STATUS]


@pytest.mark.parametrize("sent", [b"HELLO\r\n\r\n\xff", b"GET /localapi/v0/sta"])
def test_reports_every_byte_of_an_invalid_request(daemon, sent):
    client = Client(daemon, sent)
    client.socket.shutdown(socket.SHUT_WR)
    reply = client.read_all()
    assert reply.startswith(b"HTTP/1.1 400 Bad Request\r\n") == sent.startswith(b"HELLO")
    [request] = daemon.requests()
    assert (request.complete, request.bytes) == (False, sent)
    assert daemon.wait_event("request")["index"] == request.index


def test_gives_the_scripted_answers_and_then_the_real_ones(daemon):
    daemon.answer_request(STATUS_PATH, status=399, json={"a": [1]}, times=1)
    daemon.answer_raw(STATUS_PATH, b"\xff\r\n\r\n\x00body", times=1)
    daemon.do("truncate", path=STATUS_PATH, bytes=20, times=1)
    daemon.do("truncate", path=STATUS_PATH, body_bytes=5, times=1)
    daemon.do("drop", path=STATUS_PATH, times=1)
    reply = Client(daemon, STATUS).read_all()
    assert reply.startswith(b"HTTP/1.1 399 ") and reply.endswith(b'\r\n\r\n{"a":[1]}')
    assert Client(daemon, STATUS).read_all() == b"\xff\r\n\r\n\x00body"
    assert len(Client(daemon, STATUS).read_all()) == 20
    assert Client(daemon, STATUS).read_all().endswith(b'\r\n\r\n{"ver')
    assert Client(daemon, STATUS).read_all() == b""
    assert Client(daemon, STATUS).read_all().endswith(b"}\n")
    daemon.answer_request("/localapi/v0/observe-hashi-bus", status=503)
    assert Client(daemon, OBSERVE).read().startswith(b"HTTP/1.1 503 ")


def test_hangs_on_many_requests_and_serves_others_meanwhile(daemon, observer):
    daemon.do("hang", path=STATUS_PATH)
    clients = [Client(daemon, STATUS) for _ in range(200)]
    daemon.wait(requests=200, path=STATUS_PATH, connections=200)
    daemon.jail()
    assert observer.notification() == {"Jailed": True}
    for client in clients[:100]:
        client.socket.close()
    daemon.wait(connections=100)
    assert daemon.do("close-connections")["closed"] == 101
    assert clients[150].read() == b""
    daemon.wait(connections=0, observers=0)


def test_refuses_connections_resets_them_and_accepts_again(daemon, observer):
    daemon.do("refuse")
    with pytest.raises(ConnectionRefusedError):
        Client(daemon)
    daemon.notify(Version="still here")
    assert observer.notification() == {"Version": "still here"}
    daemon.do("accept", **{"as": "reset"})
    with pytest.raises(ConnectionResetError):
        Client(daemon, STATUS).read()
    daemon.do("accept")
    assert Client(daemon, STATUS).read_all().startswith(b"HTTP/1.1 200 OK\r\n")


# The stream


def test_sends_raw_bytes_in_pieces_followed_by_notifications(daemon, observer):
    command = daemon.start_command("raw", text='{"State":"Stopped"}\n', split=[5, 10], pause=0.1)
    daemon.notify(Version="next")
    assert [observer.read() for _ in range(2)] == [b'{"Sta', b'te":"']
    assert daemon.answer(command)["observers"] == 1
    assert observer.read_through(b"\n") == b'Stopped"}\n'
    assert observer.notification() == {"Version": "next"}
    daemon.raw(b"\xff\x00\n")
    assert observer.read() == b"\xff\x00\n"


def test_holds_everything_back_while_stalled(daemon, observer):
    daemon.do("stall")
    daemon.notify(Version="held")
    command = daemon.start_command("raw", text="never")
    late = Client(daemon, OBSERVE)
    daemon.wait(observers=2)
    for client in (observer, late):
        client.socket.settimeout(0.1)
        with pytest.raises(TimeoutError):
            client.read()
        client.socket.settimeout(DEADLINE)
    assert daemon.do("close-streams")["closed"] == 2
    assert daemon.answer(command)["observers"] == 0
    told = [event["observers"] for event in daemon.events if event["event"] == "observers"]
    assert told == [1, 2, 0]


# The login page


def test_logs_in_through_the_web_page(daemon, observer):
    Client(daemon, b"POST /localapi/v0/login HTTP/1.0\r\n\r\n").read_all()
    url = observer.notification()["InteractiveLoginUrl"]
    assert url == daemon.login_url() and re.match(r"http://127\.0\.0\.1:\d+/login/\w+$", url)
    callback = daemon.visit_login()
    assert re.match(r"quoxelin://login/callback\?token=\w+$", callback)
    assert observer.notification() == {"State": "Starting"}
    assert observer.notification()["State"] == "Running"
    assert daemon.wait_event("logged-in")["callback"] == callback
    for page, code in ((url, 410), (daemon.web, 404)):
        with pytest.raises(urllib.error.HTTPError) as refused:
            browser.open(page, timeout=DEADLINE)
        assert refused.value.code == code


# The process


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, None])
def test_ends_orderly_and_removes_the_socket(tmp_path, number):
    path = tmp_path / "d.sock"
    daemon = Sim(socket=path)
    client = Client(daemon, OBSERVE)
    if number:
        os.kill(daemon.pid, number)
    else:
        daemon.do("quit")
    client.read_all()
    assert daemon.wait_event("ended")
    assert daemon.end() == 0
    assert not path.exists()


def test_needs_neither_input_nor_a_reader_of_its_output(tmp_path):
    path = str(tmp_path / "d.sock")
    process = subprocess.Popen([PROGRAM, "--socket", path], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        process.stdout.readline()
        process.stdin.write(b'{"do":"status"}\n' * 1000)
        process.stdin.close()
        with socket.socket(socket.AF_UNIX) as client:
            client.connect(path)
            client.sendall(LOGOUT)
            assert client.recv(1024).startswith(b"HTTP/1.1 200 OK")
    finally:
        process.terminate()
        assert process.wait(DEADLINE) == 0
        process.stdout.close()


def test_replaces_a_stale_socket_only(tmp_path):
    path = tmp_path / "d.sock"
    with socket.socket(socket.AF_UNIX) as stale:
        stale.bind(str(path))
    with Sim(socket=path):
        with pytest.raises(SimError, match="is served by another process"):
            Sim(socket=path)
        path.unlink()
        path.write_text("another's")
    assert path.read_text() == "another's"
    with pytest.raises(SimError, match="is no socket"):
        Sim(socket=path)
    with pytest.raises(SimError, match="cannot listen on"):
        Sim(socket=tmp_path / "missing" / "d.sock")
    with pytest.raises(SimError, match="longer than 103 bytes"):
        Sim(socket="/tmp/" + "x" * 99)
