"""The simulated daemon by itself: local API, bus and login, over its real sockets."""

import json
import re
import time
import urllib.error
import urllib.request

import pytest

from support.client import Connection, Observer, ask, exchange, request_bytes
from support.sim import DEADLINE, Sim, SimError, browser
from support.wire import LOGOUT, OBSERVE, STATUS

STATUS_PATH = "/localapi/v0/status"


# The local API


def test_answers_every_endpoint(logged_in_daemon):
    assert ask(logged_in_daemon, "GET", STATUS_PATH)["backend_state"] == "Running"
    profiles = ask(logged_in_daemon, "GET", "/localapi/v0/profiles")
    assert [profile["is_current"] for profile in profiles["profiles"]] == [True, False]
    other = profiles["profiles"][1]["id"]
    ask(logged_in_daemon, "POST", f"/localapi/v0/profiles/switch?id={other}")
    assert ask(logged_in_daemon, "GET", "/localapi/v0/profiles")["current_profile_id"] == other
    ask(logged_in_daemon, "PATCH", "/localapi/v0/hatago", b'{"WantRunning":false,"WantRunningSet":true}')
    assert ask(logged_in_daemon, "GET", STATUS_PATH)["backend_state"] == "Stopped"
    ask(logged_in_daemon, "POST", "/localapi/v0/profiles/switch-to-empty")
    url = ask(logged_in_daemon, "POST", "/localapi/v0/login")["interactive_login_url"]
    assert url.startswith(logged_in_daemon.web)
    assert exchange(logged_in_daemon, "GET", "/localapi/v0/other") == (404, b"no such endpoint")
    assert exchange(logged_in_daemon, "POST", "/localapi/v0/profiles/switch?id=no")[0] == 404


def test_answers_a_logout_that_has_no_length_and_keeps_the_connection(logged_in_daemon):
    client = Connection(logged_in_daemon, LOGOUT)
    assert client.read().startswith(b"HTTP/1.1 200 OK\r\n")
    client.socket.sendall(STATUS)
    assert b'"backend_state":"NeedsLogin"' in client.read_all()


def test_answers_requests_that_come_in_pieces_or_together(daemon):
    client = Connection(daemon)
    for byte in LOGOUT:
        client.socket.sendall(bytes([byte]))
    assert client.read().startswith(b"HTTP/1.1 200 OK\r\n")
    client.socket.sendall(LOGOUT + STATUS)
    assert client.read_all().count(b"HTTP/1.1 200 OK\r\n") == 2
    assert [request.bytes for request in daemon.requests()] == [LOGOUT, LOGOUT, STATUS]


def test_answers_what_is_not_http_with_400(daemon):
    client = Connection(daemon, b"HELLO\r\n\r\n")
    assert client.read_all().startswith(b"HTTP/1.1 400 Bad Request\r\n")
    [request] = daemon.requests()
    assert (request.complete, request.bytes) == (False, b"HELLO\r\n\r\n")


def test_reports_the_exact_bytes_it_received(daemon):
    body = b'{"WantRunning":true,"WantRunningSet":true}'
    sent = request_bytes("PATCH", "/localapi/v0/hatago", body)
    Connection(daemon, sent).read_all()
    [request] = daemon.requests(method="PATCH")
    assert request.bytes == sent
    assert request.body.encode() == body
    assert request.headers[0] == ("Host", "local-quoxelind.sock")
    assert daemon.wait_event("request", method="PATCH")["index"] == request.index


def test_reports_a_request_whose_client_left_half_way(daemon):
    Connection(daemon, b"GET /localapi/v0/sta").close()
    daemon.wait(requests=1)
    [request] = daemon.requests()
    assert (request.complete, request.bytes) == (False, b"GET /localapi/v0/sta")


def test_forgets_requests_when_told_to_and_goes_on_numbering(daemon):
    ask(daemon, "GET", STATUS_PATH)
    daemon.do("clear-requests")
    assert daemon.requests() == []
    ask(daemon, "GET", STATUS_PATH)
    assert [request.index for request in daemon.requests()] == [2]


# The bus


def test_greets_a_new_observer_with_state_and_map(logged_in_daemon):
    observer = Observer(logged_in_daemon)
    assert observer.header.startswith(b"HTTP/1.1 200 OK\r\n")
    greeting = observer.notification()
    assert (greeting["State"], greeting["Jailed"]) == ("Running", False)
    assert len(greeting["NetMap"]["Peers"]) == 5


def test_tells_every_observer_of_a_change_and_only_of_the_change(logged_in_daemon):
    observers = [Observer(logged_in_daemon) for _ in range(3)]
    for observer in observers:
        observer.notification()
    logged_in_daemon.jail("disk not encrypted")
    ask(logged_in_daemon, "PATCH", "/localapi/v0/hatago", b'{"WantRunning":false,"WantRunningSet":true}')
    logged_in_daemon.notify(Version="9", State=4)
    for observer in observers:
        assert observer.notification() == {"Jailed": True, "JailReason": "disk not encrypted"}
        assert observer.notification() == {"State": "Stopped"}
        assert observer.notification() == {"Version": "9", "State": 4}


def test_counts_observers_that_come_and_go(daemon):
    observers = [Observer(daemon) for _ in range(2)]
    daemon.wait(observers=2)
    observers[0].close()
    daemon.wait(observers=1)
    assert daemon.do("close-streams")["closed"] == 1
    observers[1].read_all()
    daemon.wait(observers=0)
    assert [event["observers"] for event in daemon.events if event["event"] == "observers"] == [1, 2, 1, 0]


def test_sends_raw_bytes_in_the_pieces_asked_for(daemon):
    observer = Observer(daemon)
    observer.notification()
    line = b'{"State":"Stopped"}\n\xff\x00\n'
    command = daemon.start_command("raw", text='{"State":"Stopped"}\n', split=[5, 10], pause=0.1)
    pieces = [observer.read() for _ in range(3)]
    assert pieces == [b'{"Sta', b'te":"', b'Stopped"}\n']
    assert daemon.answer(command)["observers"] == 1
    daemon.raw(line)
    assert observer.read() == line
    daemon.do("raw", text="ab", repeat=100_000)
    assert observer.read_through(b"ab" * 100_000)


def test_keeps_notifications_behind_raw_bytes_that_are_still_leaving(daemon):
    observer = Observer(daemon)
    observer.notification()
    command = daemon.start_command("raw", text='{"Version":"split"}\n', split=[8], pause=0.2)
    daemon.notify(Version="next")
    assert observer.notification() == {"Version": "split"}
    assert observer.notification() == {"Version": "next"}
    daemon.answer(command)


def test_answers_a_raw_command_also_when_the_observer_goes(daemon):
    observer = Observer(daemon)
    daemon.do("stall")
    command = daemon.start_command("raw", text="never")
    daemon.do("close-streams")
    assert daemon.answer(command)["observers"] == 0
    observer.read_all()
    assert daemon.raw(b"nobody there")["observers"] == 0


def test_holds_everything_back_while_stalled(daemon):
    observer = Observer(daemon)
    observer.notification()
    daemon.do("stall")
    daemon.notify(Version="held")
    late = Connection(daemon, OBSERVE)
    daemon.wait(observers=2)
    for client in (observer, late):
        client.socket.settimeout(0.1)
        with pytest.raises(TimeoutError):
            client.read()
        client.socket.settimeout(DEADLINE)
    daemon.do("resume")
    assert observer.notification() == {"Version": "held"}
    assert late.read_through(b"\r\n\r\n")
    assert late.notification()["State"] == "NeedsLogin"


def test_opens_streams_as_told(daemon):
    daemon.do("stream", text="200\r\n\r\n", split=[4], pause=0.1, greeting=False)
    odd = Connection(daemon, OBSERVE)
    assert [odd.read(), odd.read()] == [b"200\r", b"\n\r\n"]
    daemon.notify(Version="first")
    assert odd.notification() == {"Version": "first"}
    daemon.do("stream", chunked=True)
    chunked = Observer(daemon)
    assert b"Transfer-Encoding: chunked" in chunked.header
    size = int(chunked.read_through(b"\r\n"), 16)
    chunk = chunked.read_through(b"\n\r\n")
    assert len(chunk) == size + 2 and json.loads(chunk)["State"] == "NeedsLogin"
    daemon.do("stream")
    assert b"chunked" not in Observer(daemon).header


def test_carries_twenty_thousand_peers_quickly():
    with Sim("--logged-in", "--peers", "20000") as daemon:
        began = time.monotonic()
        observers = [Observer(daemon) for _ in range(4)]
        for observer in observers:
            assert len(observer.read_through(b"\n")) > 7_000_000
        assert time.monotonic() - began < 5
        daemon.do("peers", count=3)
        assert len(observers[0].notification()["NetMap"]["Peers"]) == 3


# Logging in


def test_logs_in_through_the_web_page(daemon):
    observer = Observer(daemon)
    assert observer.notification()["State"] == "NeedsLogin"
    url = ask(daemon, "POST", "/localapi/v0/login")["interactive_login_url"]
    assert observer.notification() == {"InteractiveLoginUrl": url}
    assert daemon.login_url() == url
    assert re.match(r"http://127\.0\.0\.1:\d+/login/\w+$", url)
    callback = daemon.visit_login()
    assert re.match(r"quoxelin://login/callback\?token=\w+$", callback)
    assert observer.notification() == {"State": "Starting"}
    running = observer.notification()
    assert running["State"] == "Running"
    node = running["NetMap"]["SelfNode"]["Node"]
    assert str(node["UserID"]) in running["NetMap"]["UserProfiles"]
    assert daemon.wait_event("logged-in")["callback"] == callback
    with pytest.raises(urllib.error.HTTPError) as gone:
        browser.open(url, timeout=DEADLINE)
    assert gone.value.code == 410


def test_knows_no_page_but_that_of_the_login(daemon):
    daemon.do("logout")
    ask(daemon, "POST", "/localapi/v0/login")
    for path, code in (("/", 404), ("/login/", 410), ("/login/0", 410)):
        with pytest.raises(urllib.error.HTTPError) as refused:
            browser.open(daemon.web + path, timeout=DEADLINE)
        assert refused.value.code == code
    with pytest.raises(urllib.error.HTTPError) as refused:
        request = urllib.request.Request(daemon.login_url(), method="DELETE")
        browser.open(request, timeout=DEADLINE)
    assert refused.value.code == 405
    assert daemon.status()["state"] == "NeedsLogin"


def test_serves_the_page_on_the_port_asked_for(daemon):
    port = int(daemon.web.rsplit(":", 1)[1])
    daemon.end()
    with Sim("--web-port", str(port)) as other:
        assert other.web == f"http://127.0.0.1:{port}"
        with pytest.raises(SimError, match="cannot serve the login page"):
            Sim("--web-port", str(port))


def test_completes_a_login_by_itself_when_told_to():
    with Sim("--auto-login", "0.2") as daemon:
        ask(daemon, "POST", "/localapi/v0/login")
        assert daemon.status()["state"] == "NeedsLogin"
        daemon.wait(state="Running")
        assert daemon.wait_event("logged-in")


def test_creates_an_account_when_a_login_completes_on_the_empty_profile(logged_in_daemon):
    ask(logged_in_daemon, "POST", "/localapi/v0/profiles/switch-to-empty")
    ask(logged_in_daemon, "POST", "/localapi/v0/login")
    logged_in_daemon.visit_login()
    profiles = ask(logged_in_daemon, "GET", "/localapi/v0/profiles")
    assert len(profiles["profiles"]) == 3
    assert profiles["profiles"][2]["id"] == profiles["current_profile_id"]
