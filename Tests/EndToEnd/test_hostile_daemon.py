"""Daemons that fail, stay silent or lie. The application keeps running, logs this and can quit."""
import json
import signal
import time

import pytest

from support import scenario
from support.application import Application
from support.order import assert_in_order
from support.sim import Sim


def use_everything(application):
    """Does what a user can do without a helpful daemon."""
    application.press("Login Quoxelin")
    application.press("Switch Account")
    application.wait_text('"Add Account"')
    application.press("Add Account")
    application.open_url("quoxelin://login/callback?token=5")


def assert_well(application):
    """The application answers, and it quits cleanly."""
    assert '"Quit Quoxelin"' in application.text()
    began = time.monotonic()
    application.send_signal(signal.SIGTERM)
    assert application.exit_code() == 0
    assert time.monotonic() - began < 3
    assert application.log()[-1] == "[App] Quoxelin Desktop App terminated (quoxelind still running)"
    assert application.standard_error == ""


@pytest.fixture
def shown(daemon, application):
    application.wait_text('"Login Quoxelin"')
    return application


def test_a_daemon_that_never_answers_delays_nothing(daemon, shown):
    daemon.do("hang")
    use_everything(shown)
    daemon.wait(requests=4)
    daemon.jail("still heard")
    daemon.do("state", state="Stopped")
    shown.wait_log("[State] Received HashiBus state: stopped")
    assert_well(shown)


@pytest.mark.parametrize(
    "reply",
    [
        b"",
        b"\0",
        b"HTTP/1.1 200 OK\r\n",
        b"HTTP/1.1 200 OK\r\n\r\n",
        b"HTTP/1.1 200 OK\r\n\r\n{\"profiles\":[{\"id\":7}],\"current_profile_id\":true}",
        b"HTTP/1.1 200 OK\r\n\r\n{\"interactive_login_url\":\"not a url at all \\u0000\"}",
        b"\xff\xfe\r\n\r\n\xff\xfe",
        b"HTTP/1.1 99999999999999999999 ?\r\n\r\n[]",
        b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n" + b"[" * 100_000,
    ],
    ids=range(9),
)
def test_contradictory_answers_change_nothing(daemon, shown, reply):
    daemon.answer_raw(None, reply)
    use_everything(shown)
    daemon.wait(requests=1, path="/localapi/v0/status")
    daemon.wait(requests=1, path="/localapi/v0/profiles/switch-to-empty")
    shown.wait_text('"Login Quoxelin"', without=("Email: ",))
    assert_well(shown)


def test_a_daemon_that_drops_every_connection_is_only_logged(daemon, shown):
    daemon.do("accept", **{"as": "reset"})
    use_everything(shown)
    shown.wait_log("[UI] LocalAPI login failed: Failed to read response: Connection reset by peer")
    assert_well(shown)


def test_garbage_on_the_stream_is_ignored(daemon, shown):
    garbage = [
        b"",
        b"null",
        b"[]",
        b"{",
        b'{"State":"Running"',
        b'{"State":{}}',
        b'{"State":true}',
        b'{"NetMap":7}',
        b'{"NetMap":{"SelfNode":{"Node":{"ID":"x"}}}}',
        b"\xef\xbb\xbf{}",
        b'{"Jailed":"yes"}',
        b"\xff\xfe\xfd",
        b"\0" * 50,
        b'{"a":' * 100_000,
        b'{"JailReason":"\\ud800"}',
    ]
    daemon.raw(b"".join(line + b"\n" for line in garbage))
    daemon.raw(json.dumps({"State": "Stopped"}).encode() + b"\n")
    shown.wait_log("[State] Received HashiBus state: stopped")
    assert_in_order(
        [line for line in shown.log() if line.message.startswith("Received")],
        "[State] Received HashiBus state: needsLogin",
        "[State] Received HashiBus state: stopped",
    )
    shown.wait_text('"Login Quoxelin"')
    assert_well(shown)


def test_a_network_of_twenty_thousand_peers_is_followed():
    with Sim("--logged-in", "--peers", "20000") as daemon, Application(daemon.socket) as application:
        application.show_panel()
        application.wait_text('"Connected"', deadline=20)
        assert_well(application)


def test_recovers_when_the_daemon_behaves_again(daemon, shown):
    daemon.do("answer", status=500, text="")
    shown.press("Login Quoxelin")
    shown.wait_log("[UI] LocalAPI login failed: Failed to decode LocalAPI JSON response")
    daemon.do("clear")
    scenario.log_in(daemon, shown)
    shown.wait_text('"Connected"')
    assert_well(shown)
