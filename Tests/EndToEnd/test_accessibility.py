"""What a screen reader gets to know, over the real accessibility bus."""

import os
import pathlib

import pytest

from support.accessibility import AccessibilityBus, until
from support.application import Application
from support.desktop import Desktop
from support.sim import build_directory
from support.steered import SteeredProcess

GOLDEN = pathlib.Path(__file__).parents[1] / "Golden/Accessibility"


@pytest.fixture(scope="module")
def desktop():
    with Desktop() as running:
        yield running


@pytest.fixture
def bus(desktop):
    with AccessibilityBus(desktop) as running:
        yield running


@pytest.fixture
def panel(bus):
    """The panel alone, in one of the states of the golden texts."""
    program = SteeredProcess([build_directory() / "panel-states"], env=bus.environment)
    try:
        yield program
    finally:
        program.end()


def test_every_state_is_read_as_its_golden_text_says(bus, panel):
    """QUOXELIN_REBASELINE=1 writes the texts anew."""
    names = panel.do("states")["names"]
    assert len(names) >= 49
    dumps = {}
    for name in names:
        panel.do("show", state=name)
        dumps[name] = "".join(window.dump() + "\n" for window in bus.application().children())
    if os.environ.get("QUOXELIN_REBASELINE"):
        GOLDEN.mkdir(exist_ok=True)
        for name, dump in dumps.items():
            (GOLDEN / f"{name}.txt").write_text(dump)
    assert dumps == {file.stem: file.read_text() for file in GOLDEN.glob("*.txt")}


def test_nothing_is_reported_where_nothing_changed(bus, panel):
    def events_of(name: str) -> list[str]:
        panel.do("show", state=name)
        return bus.take_events()

    names = panel.do("states")["names"]
    changes = {name: events_of(name) for name in names}
    # Most states differ by more than a color from the one before.
    assert sum(map(bool, changes.values())) > len(names) / 2
    for name in names:
        events_of(name)
        # The window system reports a new window a little later.
        repeated = [events_of(name) for _ in range(10)]
        assert [] in repeated, f"{name}: {repeated[-1]}"


def test_a_change_of_the_connection_is_announced_once(bus, panel):
    panel.do("show", state="disconnected")
    until(bus.application, "panel")
    panel.do("show", state="connecting")
    panel.do("show", state="connected")
    panel.do("show", state="hover-quit")
    panel.do("show", state="jailed")
    bus.wait_announcement("Blocked by Device Policy")
    assert bus.announcements == ["Connecting...", "Connected", "Blocked by Device Policy"]


def test_a_screen_reader_walks_the_application(desktop, bus, logged_in_daemon):
    desktop.start_tray("trayer")
    with Application(logged_in_daemon.socket, environment=bus.environment) as application:
        application.wait_log("[State] HashiBus connected")
        desktop.wait_icon("trayer")
        desktop.click_icon("trayer")
        application.wait(panel_visible=1)
        application.wait_text('"More"')
        window = until(lambda: bus.application().find("Quoxelin"), "window")
        names = [child.name for child in window.children()]
        assert names[-2:] == ["More", "Quit Quoxelin"]
        assert names.index("Check for Updates...") < names.index("More")
        window.find("More").press()
        logout = until(lambda: bus.application().find("Logout"), "popover")
        assert logout.role == "push button"
        popover = window.children()[-1]
        assert (popover.role, popover.name) == ("dialog", "More")
        logout.press()
        until(lambda: bus.application().find("Login Quoxelin"), "logged out panel")
        names = [child.name for child in window.children()]
        assert names == ["Login Quoxelin", "Switch Account", "Quit Quoxelin"]
