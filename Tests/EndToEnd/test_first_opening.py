"""The first opening of the panel under X11: in its size and place at once, wherever the tray is and
whatever manages the windows. QUOXELIN_OPENINGS says how often each combination is tried."""

import os
import time

import pytest

from support.application import Application
from support.desktop import HEIGHT, WIDTH, Desktop
from support.sim import Sim

OPENINGS = int(os.environ.get("QUOXELIN_OPENINGS", "1"))
# With the line at its edge.
BAR, GAP, CARD_WIDTH = 33, 5, 272
# The middle of the first icon in the bar at each edge.
ICONS = {"top": (17, 16), "bottom": (17, HEIGHT - 16), "left": (16, 17), "right": (WIDTH - 16, 17)}


@pytest.fixture(scope="module")
def connected_daemon():
    with Sim("--logged-in") as sim:
        yield sim


def shown_card(desktop, before, columns=(0, None)):
    """Waits for the card, watches it for a while, and returns its place and size if these never
    changed. The border is not light, so it is one point larger."""
    def card():
        return desktop.screen.picture(desktop.width, desktop.height).light_area(before, *columns)
    seen = [desktop.await_that(card, "card")]
    end = time.monotonic() + 0.4
    while time.monotonic() < end:
        seen.append(card())
    x, y, width, height = seen[-1]
    assert set(seen) == {(x, y, width, height)}
    return x - 1, y - 1, width + 2, height + 2


def still_picture(desktop):
    """The screen once the tray has drawn the icon."""
    def unchanged():
        first = desktop.screen.picture(desktop.width, desktop.height)
        time.sleep(0.15)
        second = desktop.screen.picture(desktop.width, desktop.height)
        return second if second.rows() == first.rows() else None
    return desktop.await_that(unchanged, "screen that does not change")


def opened_for_the_first_time(desktop, daemon, icon, late_compositor=False, lowest=300,
                              columns=(0, None)):
    # The tray marks the icon under the pointer.
    desktop.move(*icon)
    with Application(daemon.socket, environment=desktop.environment) as application:
        application.wait_log("[State] Got 2 profiles")
        desktop.wait_item()
        if late_compositor:
            desktop.screen.own("_NET_WM_CM_S0")
        before = still_picture(desktop)
        desktop.click(*icon)
        shown = shown_card(desktop, before, columns)
        place = application.do("panel")
        if late_compositor:
            # Only a compositor can show shadows.
            width, height = desktop.panel_window_size()
            assert width > place["width"] and height > place["height"]
    assert shown == (place["x"], place["y"], place["width"], place["height"])
    assert shown[2] == CARD_WIDTH and shown[3] > lowest
    return shown


@pytest.mark.parametrize("window_manager", ["openbox", "xfwm4", None])
@pytest.mark.parametrize("edge", list(ICONS))
def test_is_in_size_and_place_at_once(connected_daemon, window_manager, edge):
    with Desktop(window_manager) as desktop:
        desktop.start_tray("xfce4-panel", edge)
        for _ in range(OPENINGS):
            # Without a window manager a bar at the side changes its length.
            columns = {"left": (BAR, None), "right": (0, WIDTH - BAR)}.get(edge, (0, None))
            x, y, width, height = opened_for_the_first_time(
                desktop, connected_daemon, ICONS[edge], columns=columns)
            if edge == "top":
                assert (x, y) == (GAP, BAR + GAP)
            elif edge == "bottom":
                assert (x, y + height) == (GAP, HEIGHT - BAR - GAP)
            elif edge == "left":
                assert x == BAR + GAP and 0 < y < 60
            else:
                assert x + width == WIDTH - BAR - GAP and 0 < y < 60


def test_is_on_the_screen_of_the_icon(connected_daemon):
    with Desktop(width=2 * WIDTH, monitors=(WIDTH, WIDTH)) as desktop:
        desktop.start_tray("xfce4-panel")
        for _ in range(OPENINGS):
            place = opened_for_the_first_time(desktop, connected_daemon, (WIDTH + 17, 16))
            assert place[:2] == (WIDTH + GAP, BAR + GAP)


def test_knows_of_a_compositor_that_came_after_the_application(connected_daemon):
    for _ in range(OPENINGS):
        with Desktop() as desktop:
            desktop.start_tray("xfce4-panel")
            place = opened_for_the_first_time(desktop, connected_daemon, ICONS["top"],
                                              late_compositor=True)
            assert place[:2] == (GAP, BAR + GAP)


def test_stays_on_a_screen_that_is_lower_than_the_content(connected_daemon):
    with Desktop(width=640, height=360) as desktop:
        # Shadows need room, too.
        desktop.screen.own("_NET_WM_CM_S0")
        desktop.start_tray("xfce4-panel")
        x, y, _, height = opened_for_the_first_time(desktop, connected_daemon, (17, 16),
                                                    lowest=200)
        assert (x, y) == (GAP, BAR + GAP)
        assert y + height < 360


def test_what_opens_it_without_a_click_opens_it_at_the_icon_or_in_the_trays_corner(connected_daemon):
    with Desktop() as desktop:
        desktop.start_tray("xfce4-panel")
        desktop.move(700, 350)
        with Application(connected_daemon.socket, environment=desktop.environment) as application:
            application.wait_log("[State] Got 2 profiles")
            desktop.wait_item()

            before = desktop.screen.picture(desktop.width, desktop.height)

            def place_after_callback():
                application.open_url("quoxelin://login/callback?token=5")
                x, y, _, _ = shown_card(desktop, before)
                desktop.keys("Escape")
                application.wait(panel_visible=0)
                return x, y

            assert place_after_callback() == (WIDTH - GAP - CARD_WIDTH, BAR + GAP)
            desktop.click(17, 16)
            application.wait(panel_visible=1)
            desktop.click(17, 16)
            application.wait(panel_visible=0)
            desktop.move(700, 350)
            assert place_after_callback() == (GAP, BAR + GAP)
