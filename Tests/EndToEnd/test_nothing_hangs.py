"""What blocks somewhere else leaves the panel alive and the way out open."""
import contextlib
import os
import signal
import socket
import threading
import time

import pytest

from support.application import Application
from support.steered import wait_until

HANGING = 64


def assert_answers(application):
    """The main thread performs a command within 100 ms. It may be late when the machine is busy."""
    def taken():
        began = time.monotonic()
        application.do("panel")
        return time.monotonic() - began

    wait_until(lambda: taken() < 0.1, "panel that answers")


def assert_ends(application):
    application.send_signal(signal.SIGTERM)
    assert application.exit_code(deadline=2) == 0


@pytest.fixture(params=["never opened", "never read"])
def stuck_log(request, tmp_path):
    """A folder whose log file takes no lines, as on a disk that hangs."""
    (tmp_path / "Quoxelin").mkdir()
    log = tmp_path / "Quoxelin" / "app.log"
    os.mkfifo(log)
    if request.param == "never opened":
        yield tmp_path
        return
    reader = os.open(log, os.O_RDONLY | os.O_NONBLOCK)
    writer = os.open(log, os.O_WRONLY | os.O_NONBLOCK)
    with contextlib.suppress(BlockingIOError):
        while True:
            os.write(writer, bytes(4096))
    yield tmp_path
    os.close(writer)
    os.close(reader)


@pytest.fixture
def unlogged(stuck_log, logged_in_daemon):
    with Application(logged_in_daemon.socket, environment={"XDG_DATA_HOME": str(stuck_log)}) as application:
        wait_until(lambda: application.do("panel"), "panel")
        application.do("click-status-item")
        application.wait_text('"Connected"')
        yield application


def test_a_log_that_cannot_be_written_does_not_hold_the_end_up(unlogged):
    assert_answers(unlogged)
    assert_ends(unlogged)


def uninstall(application):
    application.press("More")
    application.wait_text('"Uninstall Quoxelin"')
    application.press("Uninstall Quoxelin")
    application.wait_text("This will remove all credentials")
    application.start_command("press", label="Uninstall")


def test_a_log_that_cannot_be_written_does_not_hold_uninstalling_up(unlogged, stuck_log):
    uninstall(unlogged)
    assert unlogged.exit_code() == 0
    assert not (stuck_log / "Quoxelin").exists()


@pytest.fixture
def unanswered(daemon, application):
    """A logged-in application whose requests are never answered."""
    daemon.do("hang")
    # Every second press closes the accounts again.
    for press in [application.start_command("press", label="Switch Account") for _ in range(HANGING)]:
        application.answer(press)
    assert application.do("panel")["visible"]
    daemon.wait(requests=HANGING)
    daemon.notify(State="Running", NetMap={
        "SelfNode": {"Node": {"ID": 1, "UserID": 1, "Name": "laptop", "Addresses": ["100.64.0.4"]}},
        "UserProfiles": {"1": {"LoginName": "haru@example.com"}}})
    application.wait_text('"Connected"')
    return application


def test_logging_out_needs_no_answer_to_other_requests(unanswered, daemon):
    unanswered.press("More")
    unanswered.wait_text('"Logout"')
    unanswered.press("Logout")
    unanswered.wait_text('"Login Quoxelin"')
    daemon.wait(requests=1, path="/localapi/v0/logout")
    assert_answers(unanswered)
    assert_ends(unanswered)


def test_uninstalling_needs_no_answer_to_other_requests(unanswered):
    uninstall(unanswered)
    unanswered.wait_log("[State] Privileged cleanup completed")
    assert unanswered.exit_code() == 0


def resident(application):
    with open(f"/proc/{application.pid}/status") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))


@pytest.fixture
def followed(tmp_path):
    """An application, and the stream of notifications that it has asked for."""
    with socket.socket(socket.AF_UNIX) as server:
        server.bind(str(tmp_path / "d"))
        server.listen()
        with Application(str(tmp_path / "d")) as application:
            stream, _ = server.accept()
            with stream:
                stream.sendall(b"HTTP/1.1 200 OK\r\n\r\n")
                yield application, stream


def test_a_flood_of_notifications_stays_with_the_daemon(followed):
    application, stream = followed
    application.show_panel()
    before = resident(application)
    flood = threading.Thread(target=lambda: stream.sendall(b"{}\n" * 500_000))
    flood.start()
    while flood.is_alive():
        assert_answers(application)
    stream.sendall(b'{"State":"NeedsLogin"}\n')
    application.wait_log("[State] Received HashiBus state: needsLogin", deadline=60)
    assert resident(application) - before < 32 * 1024
    assert_ends(application)


def test_quitting_does_not_wait_for_notifications_in_the_queue(followed):
    application, stream = followed

    def send():
        with contextlib.suppress(OSError):
            while True:
                stream.sendall(b'{"State":"Running"}\n{"State":"Stopped"}\n' * 1_000)

    flood = threading.Thread(target=send)
    flood.start()
    application.wait_log("[State] Received HashiBus state: running")
    assert flood.is_alive()
    assert_ends(application)
    flood.join()
