"""The panel on KWin, which has a layer shell, and on Mutter, which has none: there the panel is a
window of the compositor's X server."""

import pytest

from support.nested import HEIGHT, ICON, WIDTH, Nested, opened
from support.private_desktop import box, center, close_to
from support.scenario import log_in
from support.steps import (choose_a_folder_and_open_the_panel_above, row_at,
                           see_the_panel_grow, shown_alert)

# One after the other on the same desktop.
pytestmark = pytest.mark.xdist_group("nested")

GAP = 5
BESIDE_EVERYTHING = (300, 600)


@pytest.fixture(scope="module", params=["kwin", "mutter"])
def desktop(request):
    with Nested(request.param) as running:
        yield running


@pytest.fixture
def application(desktop, daemon):
    with opened(desktop, daemon) as running:
        running.wait_text('"Login Quoxelin"')
        yield running
    desktop.wait_no_card()


def test_the_panel_opens_in_its_size_and_place(desktop, application):
    seen = desktop.wait_panel(application)
    assert close_to(seen, box(application.do("panel")))
    x, y, width, height = seen
    assert abs(width - 272) <= 3 and height < HEIGHT // 2
    if desktop.compositor == "kwin":
        # Below the pointer.
        assert abs(x + width // 2 - ICON[0]) <= 2 and abs(y - ICON[1] - GAP - 1) <= 2
    else:
        # Where an icon is that is on no bar remains unknown: in the tray's usual corner.
        assert abs(WIDTH - GAP - (x + width)) <= 2 and abs(y - GAP) <= 2


def test_the_pop_over_opens_beside_it_and_escape_closes_first_it_and_then_the_panel(
        desktop, application):
    panel = desktop.wait_panel(application)
    desktop.click(*row_at(application, "Switch Account"))
    application.wait_text('"Add Account"')
    desktop.await_that(lambda: desktop.wait_stable_card()[2] >= 2 * panel[2], "shown pop-over")
    desktop.keys("Escape")
    application.wait_text(without=('"Add Account"',))
    assert application.do("panel")["visible"]
    desktop.keys("Escape")
    application.wait(panel_visible=0)


def test_a_click_elsewhere_closes_the_panel(desktop, application):
    desktop.wait_panel(application)
    desktop.click(*BESIDE_EVERYTHING)
    application.wait(panel_visible=0)


def test_another_click_on_the_icon_closes_it(desktop, application):
    desktop.wait_panel(application)
    desktop.activate_item(*ICON)
    application.wait(panel_visible=0)


def test_the_open_panel_grows_downward_when_the_user_logs_in(desktop, application, daemon):
    see_the_panel_grow(desktop, application, daemon)
    assert close_to(desktop.wait_stable_card(), box(application.do("panel")))


def test_the_alert_is_at_the_panel_and_escape_cancels_it(desktop, application, daemon):
    log_in(daemon, application)
    application.wait_text('"Connected"', '"More"')
    with shown_alert(desktop, application) as (panel, cancel):
        # Beside it, or in its middle.
        x, y = center(cancel)
        assert panel[0] - panel[2] < x < panel[0] + panel[2] and panel[1] < y < panel[1] + panel[3]


def test_the_panel_makes_room_for_the_folder_chooser(desktop, application, daemon):
    log_in(daemon, application)
    application.wait_text('"Connected"', '"More"')
    choose_a_folder_and_open_the_panel_above(
        desktop, application, lambda: desktop.shows_window("Export Logs"))
