"""Every way to quit is orderly."""
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


def test_the_panels_row_quits(application):
    application.wait_text('"Quit Quoxelin"')
    application.start_command("press", label="Quit Quoxelin")
    assert_farewell(application)


def test_quits_before_the_daemon_was_ever_found(tmp_path):
    with Application(str(tmp_path / "nobody.sock")) as application:
        application.show_panel()
        application.wait_log("[HashiBus] Connection failed, retrying in 3s...")
        began = time.monotonic()
        application.send_signal(signal.SIGTERM)
        assert_farewell(application)
        assert time.monotonic() - began < 2
