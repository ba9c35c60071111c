"""The link to the daemon comes and goes, in real seconds."""
from support import wire
from support.application import Application
from support.order import assert_in_order
from support.sim import Sim

# A busy machine may wake a thread late, never early.
PAUSE = 3.0
LATE = 1.0


def seconds_between(first, second):
    return (second.at - first.at).total_seconds()


def test_retries_every_three_seconds_while_there_is_no_daemon(tmp_path):
    with Application(str(tmp_path / "nobody.sock")) as application:
        attempts = [
            application.wait_log("[HashiBus] Connection failed, retrying in 3s...", count=count)
            for count in (1, 2, 3)
        ]
        for first, second in zip(attempts, attempts[1:]):
            # Both times are truncated to milliseconds.
            assert PAUSE - 0.002 <= seconds_between(first, second) < PAUSE + LATE
        assert application.log_count("[HashiBus] Connected to socket") == 0


def test_a_closed_stream_is_opened_again_after_three_seconds(daemon, application):
    daemon.do("close-streams")
    ended = application.wait_log("[HashiBus] EOF")
    again = application.wait_log("[HashiBus] Connected to socket", count=2)
    assert PAUSE - 0.002 <= seconds_between(ended, again) < PAUSE + LATE
    application.wait_log("[State] HashiBus connected", count=2)
    assert_in_order(
        application.log(),
        "[HashiBus] Connected to socket",
        "[State] HashiBus connected",
        "[HashiBus] EOF",
        "[HashiBus] Connected to socket",
    )
    assert application.log_count("[State] HashiBus disconnected: nil") == 1
    daemon.wait(requests=2, path="/localapi/v0/observe-hashi-bus")
    assert [request.bytes for request in daemon.requests()] == [wire.OBSERVE] * 2


def test_a_restarted_daemon_is_found_again(tmp_path):
    path = tmp_path / "d.sock"
    with Sim("--logged-in", socket=path) as first, Application(str(path)) as application:
        application.show_panel()
        application.wait_text('"Connected"')
        first.end()
        application.wait_log("[State] HashiBus disconnected: nil")
        # The last known state stays on the screen.
        application.wait_text('"Connected"')
        with Sim(socket=path):
            application.wait_log("[State] Received HashiBus state: needsLogin")
            application.wait_text('"Login Quoxelin"')


def test_a_chunked_stream_is_read_line_by_line():
    with Sim() as daemon:
        daemon.do("stream", chunked=True)
        with Application(daemon.socket) as application:
            application.wait_log("[State] Received HashiBus state: needsLogin")
            daemon.jail("no screen lock")
            daemon.do("state", state="Stopped")
            application.wait_log("[State] Received HashiBus state: stopped")
