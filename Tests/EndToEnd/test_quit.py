"""Every way to quit is orderly."""
import os
import signal
import time

import pytest

from support.application import Application

FAREWELL = [
    "[App] Quoxelin Desktop App terminating...",
    "[App] Invoking quoxelin down via Helper",
    "[App] Quoxelin Desktop App terminated (quoxelind still running)",
]


def assert_farewell(application):
    assert application.exit_code() == 0
    said = [line for line in application.log() if line.category == "App"]
    assert [line for line in said if any(line == one for one in FAREWELL)] == FAREWELL
    assert said[-1] == FAREWELL[-1]
    assert application.standard_error == ""


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_signals_quit_in_order(application, number):
    application.send_signal(number)
    assert_farewell(application)


def test_signals_in_a_row_quit_once(application):
    for _ in range(5):
        application.send_signal(signal.SIGTERM)
        application.send_signal(signal.SIGINT)
    assert_farewell(application)


def test_the_panels_row_quits(application):
    application.wait_text('"Quit Quoxelin"')
    application.start_command("press", label="Quit Quoxelin")
    assert_farewell(application)


def test_quits_before_the_daemon_was_ever_found(tmp_path):
    with Application(str(tmp_path / "nobody.sock")) as application:
        application.show_panel()
        application.wait_text('"Quit Quoxelin"')
        application.send_signal(signal.SIGTERM)
        assert_farewell(application)


def test_quits_while_the_bus_client_pauses(daemon, application):
    daemon.do("close-streams")
    application.wait_log("[State] HashiBus disconnected: nil")
    began = time.monotonic()
    application.send_signal(signal.SIGTERM)
    assert_farewell(application)
    assert time.monotonic() - began < 2


def test_sixty_four_hanging_exchanges_delay_neither_the_panel_nor_quitting(daemon, application):
    application.wait_text('"Switch Account"')
    daemon.do("hang", path="/localapi/v0/profiles")
    for _ in range(64):
        application.press("Switch Account")
    daemon.wait(requests=64, path="/localapi/v0/profiles")
    assert '"Switch Account"' in application.text()
    daemon.do("state", state="Stopped")
    application.wait_log("[State] Received HashiBus state: stopped")
    began = time.monotonic()
    application.send_signal(signal.SIGTERM)
    assert_farewell(application)
    assert time.monotonic() - began < 2


def test_leaves_nothing_running(application):
    with open(f"/proc/{application.pid}/task/{application.pid}/children", encoding="ascii") as children:
        started = [int(pid) for pid in children.read().split()]
    application.send_signal(signal.SIGTERM)
    assert application.exit_code() == 0
    for pid in started:
        with pytest.raises(ProcessLookupError):
            os.kill(pid, 0)
