"""The application on the product's own host, from launch to quit; scripts/run-macos runs it."""
import pathlib
import signal
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "EndToEnd"))

from support import scenario  # noqa: E402
from support.application import Application  # noqa: E402
from support.order import assert_in_order  # noqa: E402
from support.sim import Sim  # noqa: E402


LINK = "quoxelin://login?token=5"
LAUNCHES = "[App] Quoxelin Desktop App Launching..."
AUTHENTICATES = "[State] Authenticate called with token"
TERMINATED = "[App] Quoxelin Desktop App terminated (quoxelind still running)"


def started_by(daemon, *events):
    return Application(daemon.socket, environment={"QUOXELIN_STAGED_EVENTS": "\n".join(events)})


def quit_by(application, way):
    if way == "signal":
        application.send_signal(signal.SIGTERM)
    else:
        application.start_command(way)


@pytest.fixture
def daemon():
    with Sim() as sim:
        yield sim


@pytest.fixture
def application(daemon):
    with Application(daemon.socket) as running:
        running.wait_log("[State] HashiBus connected")
        running.show_panel()
        yield running


def test_launches_in_order(application):
    application.wait_log("[App] VPN configuration ready, starting app state...")
    assert_in_order(
        application.log(),
        "[App] Quoxelin Desktop App Launching...",
        "[App] Setting up Menu Bar...",
        "[App] Registered app as login item (status: 1)",
        "[App] Helper is ready and reachable. Starting daemon...",
        "[SysExt] Activating extension com.quoxelin.desktop.PacketTunnel",
        "[App] System Extension activated, ensuring VPN configuration...",
        "[App] VPN configuration ready, starting app state...",
        "[State] start() called",
    )
    commands = application.do("helper")["commands"]
    assert [command.rpartition("/")[2] for command in commands] == ["quoxelind --help", "quoxelind up"]


def test_runs_from_login_to_uninstallation(daemon, application, tmp_path):
    scenario.log_in(daemon, application)
    application.wait_text('"Connected"')
    application.press("Disconnect")
    application.wait_text('"Disconnected"')
    application.press("Connect")
    application.wait_text('"Connected"')

    press_in_second_menu(application, "Export Logs")
    application.wait(open_panels=1)
    application.do("choose-folder", path=str(tmp_path))
    application.wait(urls=2)
    assert list(tmp_path.iterdir())

    if '"Uninstall Quoxelin"' not in application.text():
        application.press("More")
    application.press("Uninstall Quoxelin")
    application.wait_text("Administrator password is required")
    application.press("Uninstall")
    application.wait(scripts=1)
    assert "administrator privileges" in application.do("helper")["scripts"][0]


def test_a_press_elsewhere_hides_the_panel(application):
    application.do("click-elsewhere")
    application.wait(panel_visible=0)
    application.do("click-status-item")
    application.wait(panel_visible=1)
    application.do("click-status-item")
    application.wait(panel_visible=0)


def press_in_second_menu(application, label):
    application.press("More")
    application.wait_text(f'"{label}"')
    application.press(label)


def assert_quits_in_order(application):
    assert application.exit_code() == 0, application.standard_error
    assert application.log()[-1] == TERMINATED


@pytest.mark.parametrize("way", ["end-session", "quit"])
def test_quits_in_order(application, way):
    application.start_command(way)
    assert_quits_in_order(application)


@pytest.mark.parametrize("way", ["end-session", "signal"])
def test_quits_while_it_asks_for_a_folder(daemon, application, way):
    scenario.log_in(daemon, application)
    application.wait_text('"Connected"')
    press_in_second_menu(application, "Export Logs")
    application.wait(open_panels=1)
    quit_by(application, way)
    assert_quits_in_order(application)


@pytest.mark.parametrize("way", ["end-session", "signal"])
def test_quits_while_it_asks_before_uninstalling(daemon, application, way):
    scenario.log_in(daemon, application)
    application.wait_text('"Connected"')
    press_in_second_menu(application, "Uninstall Quoxelin")
    application.wait_text("Administrator password is required")
    quit_by(application, way)
    assert_quits_in_order(application)


def test_opens_the_link_that_started_it(daemon):
    with started_by(daemon, LINK) as application:
        application.wait_log(AUTHENTICATES)
        assert_in_order(application.log(), LAUNCHES, "[App] Setting up Menu Bar...", AUTHENTICATES)
        application.wait(panel_visible=1)


def test_opens_two_links_that_arrived_before_it_ran(daemon):
    with started_by(daemon, LINK, LINK) as application:
        application.wait_log(AUTHENTICATES, count=2)


@pytest.mark.parametrize("events", [("quit",), ("quit", "quit"), ("quit", LINK), (LINK, "quit")])
def test_quits_by_an_event_that_arrived_before_it_ran(daemon, events):
    with started_by(daemon, *events) as application:
        assert_quits_in_order(application)
        assert_in_order(application.log(), LAUNCHES, "[App] Setting up Menu Bar...", TERMINATED)
