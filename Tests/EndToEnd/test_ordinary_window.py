"""The panel on Wayland with neither a layer shell nor an X server: an ordinary window. The compositor
chooses its place and does not tell the application."""

import pytest

from support.nested import Nested, opened
from support.private_desktop import box, close_to
from support.sim import Sim
from support.steps import row_at, see_the_panel_grow

# One after the other on the same desktop.
pytestmark = pytest.mark.xdist_group("ordinary window")


@pytest.fixture(scope="module", params=["weston", "mutter"])
def desktop(request):
    with Nested(request.param) as running:
        for name in ("DISPLAY", "XAUTHORITY"):
            running.environment.pop(name, None)
        yield running


@pytest.fixture
def connected(desktop, logged_in_daemon):
    with opened(desktop, logged_in_daemon) as application:
        application.wait_text('"Connected"', '"More"')
        yield application
    desktop.wait_no_card()


def click_row(desktop, application, label: str):
    """Finds the window on the screen. The row is highlighted once the compositor has reported the
    pointer."""
    card = desktop.wait_panel(application)
    panel, (x, y) = box(application.do("panel")), row_at(application, label)
    x, y = x + card[0] - panel[0], y + card[1] - panel[1]

    def is_highlighted():
        picture = desktop.picture()
        return picture.pixel(x, y) != picture.pixel(card[0] + 3, y)

    desktop.move(x, y)
    desktop.await_that(is_highlighted, "highlighted row")
    desktop.click(x, y)


def see_the_popover(desktop, application, panel):
    application.wait_text('"Logout"')
    seen = desktop.await_that(
        lambda: (card := desktop.wait_stable_card())[2] > 1.5 * panel[2] and card, "shown popover")
    assert seen[2] <= 2 * panel[2] + 10
    # It reaches from its row downward, or to the end of the screen.
    assert seen[3] > panel[3]


def see_the_panel_alone(desktop, application, panel):
    desktop.await_that(lambda: close_to(desktop.wait_stable_card(), panel), "panel alone")
    assert application.do("panel")["visible"]


def test_the_panel_has_its_natural_size_and_closes_by_escape(desktop, connected):
    panel = box(connected.do("panel"))
    assert panel[2] == 272
    desktop.wait_panel(connected)
    desktop.keys("Escape")
    connected.wait(panel_visible=0)


def test_the_open_panel_grows_downward_and_opens_popovers_beside_it(desktop, daemon):
    with opened(desktop, daemon) as application:
        application.wait_text('"Login Quoxelin"')
        see_the_panel_grow(desktop, application, daemon)
        panel = desktop.wait_panel(application)
        click_row(desktop, application, "More")
        see_the_popover(desktop, application, panel)
    desktop.wait_no_card()


def test_the_popover_is_beside_the_panel_which_stays_open_when_it_closes(desktop, connected):
    panel = desktop.wait_panel(connected)
    for _ in range(3):
        click_row(desktop, connected, "More")
        see_the_popover(desktop, connected, panel)
        desktop.keys("Escape")
        see_the_panel_alone(desktop, connected, panel)
        click_row(desktop, connected, "More")
        see_the_popover(desktop, connected, panel)
        desktop.click(panel[0] + panel[2] // 2, panel[1] + 4)
        see_the_panel_alone(desktop, connected, panel)


def test_the_popover_opens_by_the_keyboard_and_by_assistive_technology(desktop, connected):
    panel = desktop.wait_panel(connected)
    desktop.keys("Tab", "End", "Up", "Return")
    see_the_popover(desktop, connected, panel)
    desktop.keys("Left")
    see_the_panel_alone(desktop, connected, panel)
    connected.press("More")
    see_the_popover(desktop, connected, panel)


def test_another_click_on_the_icon_closes_everything(desktop, connected):
    panel = desktop.wait_panel(connected)
    click_row(desktop, connected, "More")
    see_the_popover(desktop, connected, panel)
    desktop.click_icon()
    connected.wait(panel_visible=0)
    desktop.wait_no_card()


def test_the_panel_closes_when_the_window_of_another_program_gets_the_focus(desktop, connected):
    with Sim("--logged-in") as sim, opened(desktop, sim) as other:
        connected.wait(panel_visible=0)
        desktop.keys("Escape")
        other.wait(panel_visible=0)
