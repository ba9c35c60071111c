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


def test_the_token_of_the_callback_is_nowhere_in_the_log(daemon, application):
    scenario.log_in(daemon, application)
    application.wait_log("[State] Authenticate called with token")
    application.wait_text('"Connected"')
    callback = daemon.wait_event("logged-in")["callback"]
    token = callback.partition("token=")[2]
    assert len(token) > 4
    assert token not in application.log_path.read_text("utf-8")


@pytest.mark.parametrize(
    "url",
    [
        "quoxelin://login/callback",
        "quoxelin://login/callback?token=",
        "quoxelin://login/callback?nonce=5",
        "https://login/callback?token=5",
    ],
)
def test_a_callback_without_a_token_does_nothing(daemon, application, url):
    application.wait_log("[State] Received HashiBus state: needsLogin")
    application.open_url(url)
    # Events are handled in order: this one comes after the callback.
    daemon.do("state", state="Stopped")
    application.wait_log("[State] Received HashiBus state: stopped")
    assert application.log_count("[State] Authenticate called with token") == 0
    assert bytes_of(daemon) == [wire.OBSERVE]


def test_a_callback_alone_asks_the_daemon_every_second(daemon, application):
    daemon.do("stall")
    application.open_url("quoxelin://login/callback?token=5")
    daemon.wait(requests=1, path="/localapi/v0/login")
    asked = bytes_of(daemon)
    # Every third poll reminds the daemon of the login before it asks for the status.
    assert asked[:3] == [wire.OBSERVE, wire.STATUS, wire.STATUS]
    daemon.wait(requests=3, path="/localapi/v0/status")
    times = [request.at for request in daemon.requests(path="/localapi/v0/status")]
    for first, second in zip(times, times[1:]):
        assert 0.95 <= second - first < 2.0
    # The answer alone logs in, without a notification.
    daemon.do("login")
    application.wait_text('"Connected"')
    assert application.log_count("[State] connect") == 1


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


def test_adds_an_account(daemon, application):
    application.wait_text('"Login Quoxelin"')
    application.press("Switch Account")
    application.wait_text('"Add Account"')
    application.press("Add Account")
    application.wait(urls=1)
    assert application.opened_urls() == [daemon.login_url()]
    asked = bytes_of(daemon)
    assert asked.index(wire.SWITCH_TO_EMPTY) < asked.index(wire.START_LOGIN)
    application.open_url(daemon.visit_login())
    application.wait_text('"Connected"')
    application.wait_log("[State] Got 3 profiles")
    assert_in_order(
        application.log(),
        "[State] addNewAccount called",
        "[State] Switched to empty profile, starting login flow",
        "[State] Got login URL for new account",
        "[State] connect",
        "[State] Got 3 profiles",
    )


def test_is_jailed_with_one_notification_and_released(logged_in):
    daemon, application = logged_in
    daemon.jail("  disk not encrypted\n")
    application.wait_text('"Blocked by Device Policy"', '"disk not encrypted"')
    application.wait(notifications=1)
    daemon.jail("  disk not encrypted\n")
    daemon.unjail()
    application.wait_text('"Connected"', without=("disk not encrypted",))
    delivered = application.do("notifications")["delivered"]
    assert [(one["title"], one["body"]) for one in delivered] == [
        ("Quoxelin", "デバイスポリシーを満たしていないため、通信がブロックされています")
    ]
    assert application.log_count("[State] node jailed: disk not encrypted") == 1


def test_logs_out_and_stays_logged_out(logged_in):
    daemon, application = logged_in
    before = last_index(daemon)
    application.press("More")
    application.wait_text('"Logout"')
    application.press("Logout")
    application.wait_text('"Login Quoxelin"')
    application.wait_log("[State] Received HashiBus state: needsLogin")
    called = application.wait_log("[State] logout called")
    refreshed = application.wait_log("[State] refreshProfiles called", after=called)
    application.wait_log("[State] Got 2 profiles", after=refreshed)
    asked = bytes_of(daemon, before)
    assert sorted(asked[:2]) == sorted([wire.WANT_STOPPED, wire.LOGOUT])
    assert wire.PROFILES in asked
    assert_in_order(
        application.log(),
        "[State] logout called",
        "[State] disconnect",
        f"[HashiBus] Logout request sent, bytes: {len(wire.LOGOUT)}",
    )
    application.wait_text('"Login Quoxelin"', without=("Email: ",))


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
