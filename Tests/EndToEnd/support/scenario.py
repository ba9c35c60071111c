"""A user's actions from login to quitting. The demo shows them, and a test checks them."""

from collections.abc import Callable

from .application import Application
from .sim import Sim
from .steered import wait_until

JAIL_REASON = "Disk encryption is off on this device."


def play(sim: Sim, application: Application, show: Callable[[str], None]) -> None:
    """Leads the application through its states, and calls `show` in each with its name."""
    application.wait_log("[State] HashiBus connected")
    application.show_panel()
    application.wait_text('"Login Quoxelin"')
    show("1-logged-out")

    log_in(sim, application)
    application.wait_text('"Connected"')
    show("2-connected")

    sim.jail(JAIL_REASON)
    application.wait_text('"Blocked by Device Policy"', JAIL_REASON)
    show("3-jailed")
    sim.unjail()
    application.wait_text('"Connected"')

    sim.do("refuse")
    sim.do("close-connections")
    application.wait_log("[HashiBus] Connection failed, retrying in 3s...")
    show("4-daemon-gone")
    sim.do("accept")
    application.wait_log("[State] HashiBus connected", count=2)
    application.wait_text('"Connected"')
    show("5-daemon-back")

    application.press("More")
    application.wait_text('"Logout"')
    show("6-more")
    application.press("Logout")
    application.wait_text('"Login Quoxelin"')
    show("7-logged-out-again")


def log_in(sim: Sim, application: Application) -> None:
    """Logs in like a user: the panel's row, the page in the browser, the callback."""
    application.press("Login Quoxelin")
    wait_until(sim.login_url, "login")
    application.open_url(sim.visit_login())
