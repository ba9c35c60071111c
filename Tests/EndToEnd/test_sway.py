"""The panel on a Wayland compositor with a layer shell: real pointer, real keys, screenshots."""

import contextlib
import time

import pytest

from support.application import Application
from support.private_desktop import box, close_to
from support.steps import (choose_a_folder_and_open_the_panel_above, row_at,
                           see_the_panel_grow, shown_alert)
from support.sway import Sway

# One after the other on the same desktop.
pytestmark = pytest.mark.xdist_group("sway")

CARD_WIDTH = 272
GAP = 5
CHOOSER = "Export Logs — Quoxelin"
HOST = "minas-laptop.hoshizora.quoxelin.example"
BESIDE_EVERYTHING = (300, 600)


@pytest.fixture(scope="module")
def desktop():
    with Sway() as running:
        yield running


@contextlib.contextmanager
def started(desktop, daemon):
    with Application(daemon.socket, environment=desktop.environment) as application:
        application.wait_log("[State] HashiBus connected")
        desktop.wait_icon()
        # Wherever the last test left it, the pointer is not over the icon.
        desktop.seat.move(*BESIDE_EVERYTHING)
        yield application
    desktop.wait_no_card()


@pytest.fixture
def application(desktop, daemon):
    with started(desktop, daemon) as application:
        yield application


@pytest.fixture
def connected(desktop, logged_in_daemon):
    """The panel of a connected user, open."""
    with started(desktop, logged_in_daemon) as application:
        desktop.click_icon()
        application.wait_text('"Connected"', '"More"')
        yield application


def assert_in_place(desktop, application, output: int = 0):
    """The card is where the application believes it to be: below the bar, at the tray's end."""
    seen = desktop.wait_panel(application)
    assert close_to(seen, box(application.do("panel")))
    x, y, width, height = seen
    assert abs(width - CARD_WIDTH) <= 3
    assert abs(y - (desktop.bar_height() + GAP)) <= 2
    assert abs((output + 1) * desktop.width - GAP - (x + width)) <= 2
    return seen


def test_a_click_on_the_icon_opens_the_panel_below_the_bar_with_the_focus_in_it(
        desktop, application):
    desktop.click_icon()
    application.wait(panel_visible=1)
    assert_in_place(desktop, application)
    assert desktop.ordinary_windows() == []
    desktop.seat.keys("Tab", "Down", "Return")
    application.wait_text('"Add Account"')


def test_the_open_panel_grows_downward_when_the_user_logs_in(desktop, application, daemon):
    desktop.click_icon()
    application.wait_text('"Login Quoxelin"')
    see_the_panel_grow(desktop, application, daemon)
    assert_in_place(desktop, application)


def open_popover(desktop, application, panel, row: str, inside: str):
    """Clicks the row, and checks that panel and pop-over are side by side."""
    top = application.do("where", label=row)["y"]
    desktop.seat.click(*row_at(application, row))
    application.wait_text(f'"{inside}"')
    seen = desktop.await_that(lambda: (card := desktop.wait_stable_card())[2] > panel[2] and card,
                              "shown pop-over")
    assert seen[0] + seen[2] == panel[0] + panel[2]
    assert 2 * CARD_WIDTH - 6 <= seen[2] <= 2 * CARD_WIDTH + 10
    content = application.do("where", label=inside)
    assert content["x"] + content["width"] <= panel[0]
    assert seen[1] <= top <= seen[1] + seen[3]


def test_a_pop_over_opens_beside_its_row_and_closes_by_escape(desktop, connected):
    panel = assert_in_place(desktop, connected)
    open_popover(desktop, connected, panel, "More", "Logout")
    desktop.seat.keys("Escape")
    desktop.await_that(lambda: close_to(desktop.wait_stable_card(), panel), "end of the pop-over")
    desktop.seat.keys("Escape")
    connected.wait(panel_visible=0)


def test_a_press_in_the_panel_closes_the_pop_over_only(desktop, application):
    desktop.click_icon()
    application.wait_text('"Switch Account"')
    panel = assert_in_place(desktop, application)
    open_popover(desktop, application, panel, "Switch Account", "Add Account")
    desktop.seat.click(panel[0] + panel[2] // 2, panel[1] + 3)
    desktop.await_that(lambda: close_to(desktop.wait_stable_card(), panel), "end of the pop-over")


@pytest.mark.parametrize("pops_over", [False, True], ids=["panel", "pop-over"])
@pytest.mark.parametrize("button", [1, 3])
@pytest.mark.parametrize("place", [BESIDE_EVERYTHING, (600, 8)], ids=["desktop", "bar"])
def test_a_click_elsewhere_closes_everything(desktop, application, place, button, pops_over):
    desktop.click_icon()
    application.wait_text('"Switch Account"')
    if pops_over:
        desktop.seat.click(*row_at(application, "Switch Account"))
        application.wait_text('"Add Account"')
    desktop.seat.click(*place, button)
    application.wait(panel_visible=0)
    desktop.wait_no_card()


def test_a_press_on_the_shadow_is_elsewhere(desktop, application):
    desktop.click_icon()
    application.wait(panel_visible=1)
    x, y, _, height = desktop.wait_stable_card()
    desktop.seat.click(x - 8, y + height // 2)
    application.wait(panel_visible=0)


def test_clicks_on_the_icon_open_and_close_the_panel(desktop, application):
    for _ in range(2):
        desktop.click_icon()
        application.wait(panel_visible=1)
        assert_in_place(desktop, application)
        desktop.click_icon()
        application.wait(panel_visible=0)
        desktop.wait_no_card()
        time.sleep(0.3)
        assert not application.do("panel")["visible"]


def test_the_alert_is_beside_the_panel_and_escape_cancels_it(desktop, connected):
    assert_in_place(desktop, connected)
    with shown_alert(desktop, connected) as (panel, cancel):
        seen = desktop.wait_stable_card()
        assert seen[0] + seen[2] == panel[0] + panel[2] and desktop.ordinary_windows() == []
        assert seen[0] <= cancel["x"] and cancel["x"] + cancel["width"] <= panel[0]
        assert seen[1] <= cancel["y"] and cancel["y"] + cancel["height"] <= seen[1] + seen[3]


def test_the_folder_chooser_is_an_ordinary_window_that_the_panel_makes_room_for(desktop, connected):
    choose_a_folder_and_open_the_panel_above(
        desktop, connected, lambda: desktop.ordinary_windows() == [CHOOSER])


def test_a_value_that_is_cut_is_whole_in_a_tool_tip_beside_the_panel(desktop, connected):
    panel = assert_in_place(desktop, connected)
    x, y = row_at(connected, f"Copy DNS: {HOST}")
    # The border, then a gap, then the tip, whose upper edge is at the pointer.
    beside = panel[0] - 20, y + 6
    before = desktop.picture().pixel(*beside)
    shown = connected.do("text")["texts"]
    desktop.seat.move(x, y)
    desktop.await_that(lambda: len(connected.do("text")["texts"]) > len(shown), "tool tip")
    # Lines break at spaces.
    assert "".join(connected.do("text")["texts"][-1].split()) == f"DNS:{HOST}"
    desktop.await_that(lambda: desktop.picture().pixel(*beside) != before, "shown tool tip")
    assert desktop.ordinary_windows() == []


def test_what_opens_the_panel_without_a_click_opens_it_where_the_icon_was_clicked_or_in_the_corner(
        desktop, application):
    application.open_url("quoxelin://login/callback?token=5")
    application.wait(panel_visible=1)
    assert_in_place(desktop, application)
    desktop.seat.keys("Escape")
    application.wait(panel_visible=0)
    desktop.click_icon()
    application.wait(panel_visible=1)
    desktop.seat.click(*BESIDE_EVERYTHING)
    application.wait(panel_visible=0)
    application.open_url("quoxelin://login/callback?token=5")
    application.wait(panel_visible=1)
    assert_in_place(desktop, application)


def test_a_bar_below_has_the_panel_above_it(daemon):
    with Sway(bar="bottom") as desktop, started(desktop, daemon) as application:
        desktop.click_icon()
        application.wait_text('"Login Quoxelin"')
        x, y, width, height = desktop.wait_panel(application)
        assert abs(desktop.height - desktop.bar_height() - GAP - (y + height)) <= 2
        assert abs(desktop.width - GAP - (x + width)) <= 2


def test_the_panel_is_sharp_and_in_place_on_the_second_screen_at_scale_2(logged_in_daemon):
    with Sway(outputs=2, scale=2) as desktop, started(desktop, logged_in_daemon) as application:
        # One icon in each bar.
        for output in (1, 0):
            desktop.click_icon(output)
            application.wait_text('"Connected"')
            assert_in_place(desktop, application, output)
            # The picture has lines of one device pixel, which an enlarged one has not.
            picture = desktop.picture()
            x, y, width, height = box(application.do("panel"))
            rows = [picture.row(2 * row)[6 * x:6 * (x + width)] for row in range(y, y + height)]
            next_rows = [picture.row(2 * row + 1)[6 * x:6 * (x + width)]
                         for row in range(y, y + height)]
            assert rows != next_rows
            desktop.seat.click(output * desktop.width + 100, 300)
            application.wait(panel_visible=0)
