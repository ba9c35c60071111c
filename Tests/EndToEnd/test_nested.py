"""The panel on KWin, which has a layer shell, and on Mutter, which has none: there the panel is a
window of the compositor's X server."""

import pytest

from support.application import Application
from support.nested import HEIGHT, WIDTH, Nested
from support.private_desktop import box, center, close_to

# One after the other on the same desktop.
pytestmark = pytest.mark.xdist_group("nested")

GAP = 5
ICON = (1000, 12)
BESIDE_EVERYTHING = (300, 600)


@pytest.fixture(scope="module", params=["kwin", "mutter"])
def desktop(request):
    with Nested(request.param) as running:
        yield running


@pytest.fixture
def application(desktop, daemon):
    before = len(desktop.items())
    with Application(daemon.socket, environment=desktop.environment) as running:
        running.wait_log("[State] HashiBus connected")
        desktop.await_that(lambda: len(desktop.items()) > before, "item of the tray")
        desktop.move(*ICON)
        desktop.activate_item(*ICON)
        running.wait_text('"Login Quoxelin"')
        yield running
    desktop.wait_no_card()


def test_the_panel_opens_in_its_size_and_place(desktop, application):
    seen = desktop.wait_stable_card()
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
    panel = desktop.wait_stable_card()
    desktop.click(*center(application.do("where", label="Switch Account")))
    application.wait_text('"Add Account"')
    desktop.await_that(lambda: desktop.wait_stable_card()[2] >= 2 * panel[2], "shown pop-over")
    desktop.keys("Escape")
    application.wait_text(without=('"Add Account"',))
    assert application.do("panel")["visible"]
    desktop.keys("Escape")
    application.wait(panel_visible=0)


def test_a_click_elsewhere_closes_the_panel(desktop, application):
    desktop.wait_stable_card()
    desktop.click(*BESIDE_EVERYTHING)
    application.wait(panel_visible=0)


def test_another_click_on_the_icon_closes_it(desktop, application):
    desktop.wait_stable_card()
    desktop.activate_item(*ICON)
    application.wait(panel_visible=0)
