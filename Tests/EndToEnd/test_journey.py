"""What users do, from the first login to the logout, with the real program."""
import pytest

from support import scenario, wire
from support.application import Application
from support.order import assert_in_order
from support.sim import Sim


def bytes_of(daemon, since=0):
    return [request.bytes for request in daemon.requests() if request.index > since]


def last_index(daemon):
    return max((request.index for request in daemon.requests()), default=0)


@pytest.fixture
def logged_in():
    with Sim("--logged-in") as daemon, Application(daemon.socket) as application:
        application.show_panel()
        application.wait_text('"Connected"')
        application.wait_log("[State] Got 2 profiles")
        application.wait_log("[State] daemon WantRunning=true")
        yield daemon, application


def test_logs_in_through_the_browser_and_connects(daemon, application):
    application.wait_text('"Login Quoxelin"')
    application.press("Login Quoxelin")
    application.wait(urls=1)
    assert application.opened_urls() == [daemon.login_url()]
    assert bytes_of(daemon)[:2] == [wire.OBSERVE, wire.START_LOGIN]

    application.open_url(daemon.visit_login())
    shown = application.wait_text('"Connected"', '"Disconnect"', without=('"Login Quoxelin"',))
    for text in ("Name: ", "Email: ", "DNS: ", "Quoxelin IPv4: 100.", "Quoxelin IPv6: fd"):
        assert text in shown
    application.wait_log("[State] daemon WantRunning=true")
    application.wait_log("[VPN] Status changed: NEVPNStatus(rawValue: 3)")
    assert_in_order(
        application.log(),
        "[State] Received HashiBus state: needsLogin",
        "[State] Authenticate called with token",
        "[State] connect",
        "[VPN] Starting VPN tunnel (current status: 1)",
        "[VPN] Tunnel start initiated successfully",
        "[VPN] Status changed: NEVPNStatus(rawValue: 2)",
        "[VPN] Status changed: NEVPNStatus(rawValue: 3)",
    )
    assert application.log_count("[State] connect") == 1
    assert wire.WANT_RUNNING in bytes_of(daemon)


def test_disconnects_and_connects_again(logged_in):
    daemon, application = logged_in
    before = last_index(daemon)
    application.press("Disconnect")
    application.wait_log("[State] daemon WantRunning=false")
    application.wait_text('"Disconnected"', '"Connect"')
    application.press("Connect")
    application.wait_log("[State] daemon WantRunning=true", count=2)
    application.wait_text('"Connected"', '"Disconnect"')
    assert bytes_of(daemon, before) == [wire.WANT_STOPPED, wire.WANT_RUNNING]


def test_switches_profiles_at_once_and_confirms_it(logged_in):
    daemon, application = logged_in
    profiles = daemon.status()["profiles"]["profiles"]
    other = next(profile for profile in profiles if not profile["is_current"])
    before = last_index(daemon)
    application.press("More")
    application.wait_text(other["name"])
    application.press(other["name"])
    application.wait_log("[State] Profile switch successful")
    daemon.wait(requests=1, method="POST", path="/localapi/v0/profiles/switch")
    application.wait_text("Email: " + other["user_email"])
    assert wire.switch_profile(other["id"].encode()) in bytes_of(daemon, before)
    assert_in_order(
        application.log(),
        "[State] switchProfile to " + other["id"],
        "[State] Profile switch successful",
        "[State] refreshProfiles called",
        "[State] Got 2 profiles",
    )


def test_the_demo_scenario_completes(daemon, application, tmp_path):
    shown = []

    def show(state):
        application.snapshot(tmp_path / f"{state}.png")
        shown.append((tmp_path / f"{state}.png").read_bytes())

    scenario.play(daemon, application, show)
    assert len(shown) >= 7
    for picture in shown:
        assert picture.startswith(b"\x89PNG\r\n\x1a\n") and len(picture) > 2000
    assert len(set(shown)) >= 4
