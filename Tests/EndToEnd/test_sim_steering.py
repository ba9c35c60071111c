"""The simulated daemon as it is steered: scripted answers, connections, bad lines."""

import time

import pytest

from support.client import Connection, Observer, ask, exchange
from support.sim import SimError
from support.wire import OBSERVE, STATUS

STATUS_PATH = "/localapi/v0/status"


# Scripted answers


def test_answers_a_request_as_scripted_once_and_until_cleared(daemon):
    daemon.answer_request(STATUS_PATH, status=404, text="first", times=1)
    daemon.answer_request(STATUS_PATH, method="GET", status=399, json={"a": [1]}, headers={"X-Test": "y"})
    assert exchange(daemon, "GET", STATUS_PATH) == (404, b"first")
    for _ in range(2):
        reply = Connection(daemon, STATUS).read_all()
        assert reply.startswith(b"HTTP/1.1 399 ") and b"\r\nX-Test: y\r\n" in reply
        assert reply.endswith(b'\r\n\r\n{"a":[1]}')
    assert daemon.do("clear")["cleared"] == 1
    assert exchange(daemon, "GET", STATUS_PATH)[0] == 200


def test_scripted_answers_leave_the_state_alone(logged_in_daemon):
    logged_in_daemon.answer_request("/localapi/v0/logout", status=500)
    assert exchange(logged_in_daemon, "POST", "/localapi/v0/logout")[0] == 500
    assert logged_in_daemon.status()["state"] == "Running"


def test_answers_with_raw_bytes(daemon):
    daemon.answer_raw(STATUS_PATH, b"\xff\r\n\r\n\x00body", times=1)
    assert Connection(daemon, STATUS).read_all() == b"\xff\r\n\r\n\x00body"
    daemon.do("answer-raw", path=STATUS_PATH, text="half", keep_open=True)
    client = Connection(daemon, STATUS)
    assert client.read() == b"half"
    daemon.wait(connections=1)
    client.close()
    daemon.wait(connections=0)


def test_splits_and_delays_a_reply(daemon):
    daemon.do("late", path=STATUS_PATH, delay=0.3, split=[9], pause=0.1)
    client = Connection(daemon, STATUS)
    began = time.monotonic()
    assert client.read() == b"HTTP/1.1 "
    assert time.monotonic() - began > 0.25
    assert client.read().startswith(b"200 OK\r\n")


def test_truncates_a_reply(daemon):
    daemon.do("truncate", path=STATUS_PATH, bytes=20, times=1)
    assert Connection(daemon, STATUS).read_all() == b"HTTP/1.1 200 OK\r\nSer"
    daemon.do("truncate", path=STATUS_PATH, body_bytes=5)
    assert exchange(daemon, "GET", STATUS_PATH) == (200, b'{"ver')
    daemon.do("truncate", path=STATUS_PATH, bytes=10**9)
    assert exchange(daemon, "GET", STATUS_PATH)[1].endswith(b"}\n")


def test_hangs_on_many_requests_and_serves_others_meanwhile(daemon):
    daemon.do("hang", path=STATUS_PATH)
    clients = [Connection(daemon, STATUS) for _ in range(200)]
    daemon.wait(requests=200, connections=200)
    assert ask(daemon, "GET", "/localapi/v0/profiles")
    observer = Observer(daemon)
    observer.notification()
    daemon.jail()
    assert observer.notification() == {"Jailed": True}
    for client in clients[:100]:
        client.close()
    daemon.wait(connections=100)
    assert daemon.do("close-connections")["closed"] == 101
    assert clients[150].read() == b""
    daemon.wait(connections=0, observers=0)


def test_drops_a_connection_without_a_reply(daemon):
    daemon.do("drop", path=STATUS_PATH, times=1)
    assert Connection(daemon, STATUS).read_all() == b""
    assert len(daemon.requests()) == 1
    assert exchange(daemon, "GET", STATUS_PATH)[0] == 200


def test_scripts_the_stream_like_any_other_request(daemon):
    daemon.answer_request("/localapi/v0/observe-hashi-bus", status=503, times=1)
    assert Connection(daemon, OBSERVE).read().startswith(b"HTTP/1.1 503 ")
    daemon.do("late", path="/localapi/v0/observe-hashi-bus", delay=0.1)
    assert Observer(daemon).notification()["State"] == "NeedsLogin"


# Connections


def test_refuses_connections_and_accepts_again(daemon):
    observer = Observer(daemon)
    observer.notification()
    daemon.do("refuse")
    with pytest.raises(ConnectionRefusedError):
        Connection(daemon)
    daemon.notify(Version="still here")
    assert observer.notification() == {"Version": "still here"}
    daemon.do("accept")
    assert exchange(daemon, "GET", STATUS_PATH)[0] == 200
    daemon.do("refuse", remove=True)
    with pytest.raises(FileNotFoundError):
        Connection(daemon)
    daemon.do("accept")
    daemon.do("accept")
    assert exchange(daemon, "GET", STATUS_PATH)[0] == 200


def test_resets_connections(daemon):
    daemon.do("accept", **{"as": "reset"})
    client = Connection(daemon, STATUS)
    with pytest.raises(ConnectionResetError):
        client.read()
    daemon.do("accept")
    assert exchange(daemon, "GET", STATUS_PATH)[0] == 200
    assert len(daemon.requests()) == 1


def test_ignores_connections(daemon):
    daemon.do("accept", **{"as": "ignore"})
    client = Connection(daemon, STATUS)
    daemon.wait(connections=1)
    assert daemon.requests() == []
    daemon.do("close-connections")
    with pytest.raises(ConnectionResetError):
        client.read()


# Steering


def test_answers_bad_lines_with_errors_and_goes_on(daemon):
    for line in (b"what?", b"{}", b"[1]", b'{"do":"dance"}', b"\xff\xfe", b"[" * 100_000, b'{"do":"jail","x":1}'):
        daemon.events.clear()
        daemon.send_line(line)
        answer = daemon.wait_event("answer")
        assert answer["ok"] is False and answer["error"]
    with pytest.raises(SimError, match='"count" must be a whole number'):
        daemon.do("peers", count="many")
    assert daemon.status()["state"] == "NeedsLogin"


def test_takes_commands_in_any_pieces_and_many_at_once(daemon):
    daemon.send(b'{"do":"jail","id":901}\n\r\n{"do":')
    daemon.answer(901)
    daemon.send(b'"unjail","id":902}\n{"do":"status","id":903}\n')
    daemon.answer(902)
    assert daemon.answer(903)["status"]["jailed"] is False


def test_tells_when_a_wait_is_in_vain(daemon):
    with pytest.raises(SimError, match="wait: timed out"):
        daemon.wait(observers=1, timeout=0.1)
    command = daemon.start_command("wait", requests=2, path=STATUS_PATH, method="GET")
    ask(daemon, "GET", STATUS_PATH)
    ask(daemon, "GET", "/localapi/v0/profiles")
    assert not daemon.has_answered(command)
    ask(daemon, "GET", STATUS_PATH)
    assert daemon.answer(command)["requests"] == 2
