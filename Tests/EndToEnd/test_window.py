"""The real windows on a real X server: tray icon, panel, mouse and keyboard."""

import signal
import time

import pytest

from support.application import Application
from support.desktop import HEIGHT, ICONS, WIDTH, Desktop
from support.late_watcher import LateWatcher
from support.scenario import log_in
from support.steps import row_at

BESIDE_EVERYTHING = (300, 600)


@pytest.fixture
def desktop():
    with Desktop() as running:
        yield running


@pytest.fixture
def application(desktop, daemon):
    with Application(daemon.socket, environment=desktop.environment) as running:
        running.wait_log("[State] HashiBus connected")
        yield running


@pytest.fixture(params=["trayer", "xfce4-panel"])
def tray(request, desktop):
    """A tray that runs before the application starts."""
    desktop.start_tray(request.param)
    return request.param


@pytest.fixture
def opened(tray, desktop, application):
    """The panel, opened by a click on the icon."""
    desktop.wait_icon(tray)
    open_panel(desktop, application, tray)
    # The daemon's first state moves the rows.
    application.wait_text('"Login Quoxelin"')
    return application


def open_panel(desktop, application, tray):
    """Clicks the icon and waits until the panel is visible."""
    desktop.click_icon(tray)
    application.wait(panel_visible=1)

    def is_painted():
        place = panel_place(application)
        # It is at 0,0 for a moment while the window manager takes it over.
        return place["y"] > 0 and desktop.shows_card_at(place["x"] + place["width"] // 2, place["y"] + 4)

    desktop.await_that(is_painted, "painted panel")


def panel_place(application) -> dict:
    return application.do("panel")


def assert_wholly_on_screen(place):
    assert place["x"] >= 0 and place["y"] >= 0
    assert place["x"] + place["width"] <= WIDTH
    assert place["y"] + place["height"] <= HEIGHT


def test_a_click_on_the_icon_opens_the_panel_beside_it(tray, desktop, opened):
    place = panel_place(opened)
    assert_wholly_on_screen(place)
    # Below the bar, which is 24 or 32 high.
    assert 24 <= place["y"] <= 45


@pytest.mark.parametrize("bar, icon", [("0x1a1a1a", 0xF2), ("0xf0f0f0", 0x32)])
def test_the_icon_can_be_seen_on_a_dark_and_on_a_light_bar(desktop, application, bar, icon):
    desktop.start_tray("trayer", options=("--transparent", "true", "--alpha", "0", "--tint", bar))
    # Its thin lines are blended with the bar, its dot is not.
    desktop.await_that(
        lambda: any(abs(sum(color) - 3 * icon) <= 9 for color in desktop.icon_pixels("trayer")),
        "color of the icon for that bar")


def test_a_click_on_the_icon_closes_the_open_panel_and_the_next_opens_it_again(tray, desktop, opened):
    for _ in range(2):
        desktop.click_icon(tray)
        opened.wait(panel_visible=0)
        # No late report of the click reopens it.
        time.sleep(0.3)
        assert not panel_place(opened)["visible"]
        open_panel(desktop, opened, tray)


@pytest.mark.parametrize("button", [1, 3])
def test_a_click_elsewhere_closes_the_panel(tray, desktop, opened, button):
    desktop.click(*BESIDE_EVERYTHING, button)
    opened.wait(panel_visible=0)


def test_a_click_inside_the_panel_leaves_it_open(desktop, opened, tray):
    place = panel_place(opened)
    desktop.click(place["x"] + place["width"] // 2, place["y"] + 3)
    desktop.click(place["x"] + place["width"] // 2, place["y"] + 3, button=3)
    time.sleep(0.3)
    assert panel_place(opened)["visible"], opened.standard_error


def test_the_pointer_marks_the_row_below_it(desktop, opened, tray):
    x, y = row_at(opened, "Login Quoxelin")
    corner = x - 120, y - 8
    desktop.await_that(lambda: desktop.shows_card_at(*corner), "painted row")
    desktop.move(x, y)
    desktop.await_that(lambda: not desktop.shows_card_at(*corner), "mark of the row")
    desktop.move(*BESIDE_EVERYTHING)
    desktop.await_that(lambda: desktop.shows_card_at(*corner), "end of the mark")


def test_a_click_on_login_opens_the_browser(desktop, opened, tray, daemon):
    desktop.click(*row_at(opened, "Login Quoxelin"))
    desktop.await_that(desktop.opened_urls, "browser")
    assert desktop.opened_urls() == [daemon.login_url()]


def test_a_link_opens_after_the_library_for_it_is_repaired(desktop, daemon, tmp_path):
    (tmp_path / "libgio-2.0.so.0").touch()
    desktop.start_tray("trayer")
    environment = desktop.environment | {"LD_LIBRARY_PATH": str(tmp_path)}
    with Application(daemon.socket, environment=environment) as application:
        application.wait_log("[State] HashiBus connected")
        desktop.wait_icon("trayer")
        open_panel(desktop, application, "trayer")
        application.wait_text('"Login Quoxelin"')
        application.press("Login Quoxelin")
        # It waits for the login to be completed, so it has tried to open the link.
        desktop.await_that(lambda: daemon.requests(path="/localapi/v0/status"), "poll for the login")
        assert desktop.opened_urls() == []
        (tmp_path / "libgio-2.0.so.0").unlink()
        application.press("Login Quoxelin")
        desktop.await_that(desktop.opened_urls, "browser")
        assert desktop.opened_urls() == [daemon.login_url()]


def test_the_account_switcher_opens_beside_the_panel_and_closes_by_a_click_outside(
        desktop, opened, tray):
    desktop.click(*row_at(opened, "Switch Account"))
    opened.wait_text('"Add Account"')
    switcher = opened.do("where", label="Add Account")
    assert_wholly_on_screen(switcher)
    panel = panel_place(opened)
    assert (switcher["x"] >= panel["x"] + panel["width"]
            or switcher["x"] + switcher["width"] <= panel["x"])
    desktop.click(panel["x"] + panel["width"] // 2, panel["y"] + 3)
    opened.wait_text(without=('"Add Account"',))
    assert panel_place(opened)["visible"], opened.standard_error


def test_escape_closes_the_popover_and_then_the_panel(desktop, opened, tray):
    desktop.click(*row_at(opened, "Switch Account"))
    opened.wait_text('"Add Account"')
    desktop.keys("Escape")
    opened.wait_text(without=('"Add Account"',))
    assert panel_place(opened)["visible"], opened.standard_error
    desktop.keys("Escape")
    opened.wait(panel_visible=0)


def test_the_keyboard_walks_the_rows_and_acts(desktop, opened, tray):
    desktop.keys("Tab", "Down", "Return")
    opened.wait_text('"Add Account"')
    desktop.keys("Escape")
    opened.wait_text(without=('"Add Account"',))
    desktop.keys("Down", "Return")
    assert opened.exit_code() == 0
    assert opened.log()[-1] == "[App] Quoxelin Desktop App terminated (quoxelind still running)"


def test_the_icons_menu_quits(desktop, application, tray):
    desktop.wait_icon(tray)
    without_menu = desktop.around_icon(tray)
    desktop.click_icon(tray, button=3)
    desktop.await_that(lambda: desktop.around_icon(tray) != without_menu, "menu")
    desktop.keys("Up", "Return")
    assert application.exit_code() == 0


def test_the_icons_tool_tip_tells_the_connections_state(desktop, daemon, application):
    desktop.start_tray("xfce4-panel")
    desktop.wait_icon("xfce4-panel")
    assert desktop.tool_tip() == "Quoxelin"
    open_panel(desktop, application, "xfce4-panel")
    application.wait_text('"Login Quoxelin"')
    log_in(daemon, application)
    desktop.await_that(lambda: desktop.tool_tip() == "Quoxelin: Connected", "tool tip with the state")
    application.press("Disconnect")
    desktop.await_that(lambda: desktop.tool_tip() == "Quoxelin: Disconnected", "changed tool tip")


def test_an_embedded_icon_shows_its_tool_tip_below_the_pointer(desktop, logged_in_daemon):
    desktop.start_tray("trayer")
    with Application(logged_in_daemon.socket, environment=desktop.environment) as application:
        desktop.wait_icon("trayer")
        below = desktop.around_icon("trayer")

        def tip_tells(text: str) -> bool:
            """An open one keeps its text, so the pointer comes anew, and moves, which Qt waits for."""
            x, y = ICONS["trayer"]
            desktop.move(*BESIDE_EVERYTHING)
            desktop.await_that(lambda: not application.do("text")["texts"], "end of the tool tip")
            desktop.move(x - 3, y)
            time.sleep(0.1)
            desktop.move(x, y)
            end = time.monotonic() + 3
            while not (shown := application.do("text")["texts"]) and time.monotonic() < end:
                time.sleep(0.05)
            return shown == [text]

        desktop.await_that(lambda: tip_tells("Quoxelin: Connected"), "tool tip with the state")
        desktop.await_that(lambda: desktop.around_icon("trayer") != below, "tool tip on the screen")
        application.do("drop-vpn")
        desktop.await_that(lambda: tip_tells("Quoxelin: Disconnected"), "changed tool tip")


@pytest.mark.parametrize("kind", ["trayer", "xfce4-panel"])
def test_the_icon_appears_in_a_late_tray_and_again_when_the_tray_restarts(
        desktop, application, kind):
    application.wait_log("[App] Setting up Menu Bar...")
    for _ in range(3):
        desktop.start_tray(kind)
        desktop.wait_icon(kind)
        open_panel(desktop, application, kind)
        desktop.click(*BESIDE_EVERYTHING)
        application.wait(panel_visible=0)
        desktop.end_tray(kind)
        desktop.wait_no_icon(kind)


def test_a_tray_of_both_kinds_shows_one_icon_even_if_the_bus_is_slow(desktop, application):
    with LateWatcher(desktop.environment["DBUS_SESSION_BUS_ADDRESS"]) as watcher:
        with watcher.coming():
            desktop.start_tray("trayer")
            # If the icon were embedded at once, the toolkit would now ask the bus for other trays.
            time.sleep(0.2)
        desktop.await_that(lambda: watcher.items, "icon")
        time.sleep(1)
        assert len(watcher.items) == 1


def test_a_click_elsewhere_soon_after_a_late_report_of_a_click_closes_the_panel(desktop, application):
    desktop.start_tray("xfce4-panel")
    desktop.wait_icon("xfce4-panel")
    desktop.activate_item()
    application.wait(panel_visible=1)
    desktop.click(*BESIDE_EVERYTHING)
    application.wait(panel_visible=0)


def test_a_click_opens_the_panel_however_long_after_it_its_press_is_reported(desktop, application):
    desktop.start_tray("xfce4-panel")
    desktop.wait_icon("xfce4-panel")
    # The application hears of both at once, and then of the click first.
    application.send_signal(signal.SIGSTOP)
    desktop.click(*BESIDE_EVERYTHING)
    desktop.activate_item()
    desktop.screen.grab()
    application.send_signal(signal.SIGCONT)
    # A server that is so slow that showing the panel takes longer than a click.
    for _ in range(10):
        time.sleep(0.2)
        desktop.screen.ungrab()
        time.sleep(0.002)
        desktop.screen.grab()
    desktop.screen.ungrab()
    application.wait(panel_visible=1)
    time.sleep(0.3)
    assert panel_place(application)["visible"]


def test_a_late_report_of_a_click_opens_the_panel_at_the_icon_and_not_at_the_last_press(
        desktop, application):
    desktop.start_tray("xfce4-panel")
    desktop.wait_icon("xfce4-panel")
    open_panel(desktop, application, "xfce4-panel")
    opened = panel_place(application)
    desktop.click(*BESIDE_EVERYTHING)
    application.wait(panel_visible=0)
    desktop.move(*ICONS["xfce4-panel"])
    desktop.activate_item()
    application.wait(panel_visible=1)
    opened_again = panel_place(application)
    assert (opened_again["x"], opened_again["y"]) == (opened["x"], opened["y"])


def test_two_applications_do_not_disturb_each_other(desktop, daemon, tray):
    with Application(daemon.socket, environment=desktop.environment) as first:
        desktop.wait_icon(tray)
        open_panel(desktop, first, tray)
        with Application(daemon.socket, environment=desktop.environment) as second:
            second.wait_log("[State] HashiBus connected")
            assert not panel_place(second)["visible"]
        assert panel_place(first)["visible"]
