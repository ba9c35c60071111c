"""From the start of the program to the first notification, byte for byte and line by line."""
import datetime

from support import wire
from support.application import Application
from support.order import assert_in_order
from support.sim import Sim


def test_local_time_follows_the_time_zone(daemon):
    with Application(daemon.socket, environment={"TZ": "Asia/Tokyo"}) as application:
        line = application.wait_log("[State] HashiBus connected")
        now = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=9)))
        assert abs(now.replace(tzinfo=None) - line.at) < datetime.timedelta(seconds=30)


def test_a_daemon_without_an_account_is_asked_for_the_stream_only(daemon, application):
    application.wait_log("[State] Received HashiBus state: needsLogin")
    application.wait_text('"Login Quoxelin"')
    assert [request.bytes for request in daemon.requests()] == [wire.OBSERVE]


def test_connects_when_the_daemon_is_logged_in():
    with Sim("--logged-in") as daemon, Application(daemon.socket) as application:
        application.show_panel()
        application.wait_log("[State] daemon WantRunning=true")
        application.wait_text('"Connected"')
        application.wait_log("[State] Got 2 profiles")
        requests = [request.bytes for request in daemon.requests()]
        assert requests[0] == wire.OBSERVE
        # Two queues: either may be first.
        assert sorted(set(requests[1:])) == sorted([wire.PROFILES, wire.WANT_RUNNING])
        assert requests.count(wire.WANT_RUNNING) == 1
        assert_in_order(
            application.log(),
            "[State] HashiBus connected",
            "[State] Received HashiBus state: running",
            "[State] refreshProfiles called",
            "[State] connect",
            "[VPN] Tunnel start initiated successfully",
            "[VPN] Status changed: NEVPNStatus(rawValue: 3)",
        )
