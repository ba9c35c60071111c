"""The application on the product's own host, from launch to quit; scripts/run-macos runs it."""
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "EndToEnd"))

from support import scenario  # noqa: E402
from support.application import Application  # noqa: E402
from support.order import assert_in_order  # noqa: E402
from support.sim import Sim  # noqa: E402


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

    application.press("More")
    application.wait_text('"Export Logs"')
    application.press("Export Logs")
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


@pytest.mark.parametrize("way", ["end-session", "quit"])
def test_quits_in_order(application, way):
    application.start_command(way)
    assert application.exit_code() == 0
    assert application.log()[-1] == "[App] Quoxelin Desktop App terminated (quoxelind still running)"
