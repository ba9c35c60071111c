"""What users do with the open panel, and what they see then, on any desktop with a compositor."""

import contextlib
import time

from .private_desktop import box, center, close_to
from .scenario import log_in


def row_at(application, label: str) -> tuple[int, int]:
    """The middle of the row on the screen."""
    return center(application.do("where", label=label))


def see_the_panel_grow(desktop, application, daemon):
    """Logs in. The upper edge stays in place."""
    low = desktop.wait_panel(application)
    log_in(daemon, application)
    application.wait_text('"Connected"')
    high = desktop.wait_panel(application, low[3] + 100)
    assert close_to(high[:3], low[:3])


@contextlib.contextmanager
def shown_alert(desktop, application):
    """Begins to uninstall, tells where the panel is and where the button that cancels it, and
    presses Escape."""
    panel, before = desktop.wait_panel(application), desktop.picture()
    application.press("More")
    application.wait_text('"Uninstall Quoxelin"')
    application.press("Uninstall Quoxelin")

    def cancel():
        place = application.do("where", label="Cancel")
        around = center(place), 8
        seen, was = (picture.around(*around[0], around[1]) for picture in (desktop.picture(), before))
        return place if seen != was else None

    desktop.await_that(cancel, "alert that is shown")
    desktop.wait_stable_card()
    place = cancel()
    yield panel, place
    desktop.keys("Escape")
    desktop.await_that(
        lambda: desktop.picture().around(*center(place), 8) == before.around(*center(place), 8)
        and close_to(desktop.wait_stable_card(), panel), "end of the alert")
    assert application.do("panel")["visible"]


def choose_a_folder_and_open_the_panel_above(desktop, application, is_chooser_shown):
    """The panel makes room for the chooser, but opens above it. Escape is for what is above."""
    desktop.wait_panel(application)
    # Compositors let a window come to the front that has been used.
    application.press("More")
    application.wait_text('"Export Logs"')
    desktop.wait_stable_card()
    desktop.click(*row_at(application, "Export Logs"))
    desktop.await_that(is_chooser_shown, "folder chooser")
    application.wait(panel_visible=0)
    before = desktop.picture()
    desktop.click_icon()
    application.wait(panel_visible=1)
    x, y, width, height = box(application.do("panel"))
    desktop.await_that(lambda: desktop.picture().pixel(x + 100, y + 3) != before.pixel(x + 100, y + 3)
                       or desktop.picture().row(y + height) != before.row(y + height), "panel")
    # The chooser does not take the keyboard back.
    time.sleep(0.5)
    assert is_chooser_shown()
    desktop.keys("Escape")
    application.wait(panel_visible=0)
    assert is_chooser_shown()
    # The chooser has the keyboard again.
    desktop.keys("Escape")
    desktop.await_that(lambda: not is_chooser_shown(), "end of the folder chooser")
