"""The program with system services that are all absent at first and appear one by one. The buses
are private, and a recorder replaces each program that asks for a password or changes the
machine."""

import os
import signal
import subprocess
import time

import pytest

from support.accessibility import AccessibilityBus, until
from support.application import Application
from support.buses import HELPER, HELPER_METHODS, Bus, HungBus
from support.desktop import Desktop
from support.order import assert_in_order
from support.steered import DEADLINE

MISSING = [
    "[App] The session bus is not available: a second start is not noticed",
    "[App] The system bus is not available: nothing can be asked of the system's services",
    "[App] The tray is not available: the icon waits for it; starting the application again opens the"
    " panel",
    "[App] The notification server is not available: notifications are dropped",
    "[App] NetworkManager is not available: there can be no tunnel",
    "[App] polkit is not available: no authorization can be granted",
    "[App] PackageKit is not available: updates cannot be checked",
]

class RealApplication(Application):
    """The product, which accepts no commands."""

    program = "quoxelin-desktop"


@pytest.fixture
def buses():
    with Bus("session") as session, Bus("system") as system:
        yield session, system


@pytest.fixture
def recorded(tmp_path):
    """What pkexec was asked to run, one line each."""
    recorder = tmp_path / "bin" / "pkexec"
    recorder.parent.mkdir()
    recorder.write_text(f'#!/bin/sh\nprintf "%s\\n" "$*" >>{tmp_path}/recorded\nexit 126\n')
    recorder.chmod(0o755)
    return tmp_path / "recorded"


@pytest.fixture
def environment(buses, recorded):
    session, system = buses
    return session.environment | system.environment | {
        "PATH": f"{recorded.parent / 'bin'}:/usr/bin:/bin"}


@pytest.fixture
def started(daemon, environment):
    with RealApplication(daemon.socket, environment=environment) as application:
        yield application


@pytest.fixture
def session(started, buses):
    """The session bus, started after the application."""
    started.wait_log(MISSING[0])
    buses[0].start()
    started.wait_log("[App] The session bus is available")
    return buses[0]


def start_again(application, *arguments):
    """A second start in the same session: its exit code and all its output."""
    second = subprocess.run([*application.command, *arguments], env=application.environment,
                            cwd=application.home, capture_output=True, text=True, timeout=DEADLINE)
    return second.returncode, second.stdout + second.stderr


def test_starts_without_any_service_logs_it_and_quits_in_order(started):
    for line in MISSING:
        started.wait_log(line)
    entries = started.log()
    for line in MISSING:
        assert started.log_count(line) == 1
        assert_in_order(entries, "[App] Quoxelin Desktop App Launching...", line)
    started.send_signal(signal.SIGTERM)
    assert started.exit_code() == 0
    assert started.standard_error == ""
    assert started.log_count("[App] Quoxelin Desktop App terminated (quoxelind still running)") == 1


def test_logs_when_each_service_appears_and_disappears(started, buses):
    session, system = buses
    for line in MISSING:
        started.wait_log(line)
    session.start()
    started.wait_log("[App] The session bus is available")
    session.mock("org.freedesktop.Notifications", template="notification_daemon")
    started.wait_log("[App] The notification server is available")
    system.start()
    started.wait_log("[App] The system bus is available")
    for name, service, template in [
            ("org.freedesktop.PolicyKit1", "polkit", "polkitd"),
            ("org.freedesktop.PackageKit", "PackageKit", None),
            ("org.freedesktop.NetworkManager", "NetworkManager", "networkmanager")]:
        system.mock(name, template=template)
        started.wait_log(f"[App] {service} is available")
        system.end_mock(name)
        started.wait_log([line for line in MISSING if f" {service} " in line][0], count=2)
    assert started.end() == 0
    assert started.standard_error == ""


def test_works_as_soon_as_the_helper_and_the_notification_server_appear(
        started, buses, daemon, recorded):
    session, system = buses
    started.wait_log("[App] Helper not reachable. Retrying in 0.50 seconds (attempt 1/10)...")
    system.start()
    system.mock(*HELPER, methods=HELPER_METHODS)
    started.wait_log("[App] Helper is ready and reachable. Starting daemon...")
    started.wait_log("[State] HashiBus connected")
    system.wait_call(HELPER[0], "RunGoTool")
    session.start()
    session.mock("org.freedesktop.Notifications", template="notification_daemon")
    started.wait_log("[App] The notification server is available")
    daemon.jail("disk <b>not</b> encrypted")
    shown = session.wait_call("org.freedesktop.Notifications", "Notify", "Quoxelin")
    assert "com.quoxelin.desktop" in shown
    assert started.end() == 0
    # The bundle beside the program has no tunnel, so no installation was offered.
    assert not recorded.exists()


def test_a_second_start_hands_over_and_exits(started, session):
    assert start_again(started, "quoxelin://callback?token=abc") == (0, "")
    started.wait_log("[State] Authenticate called with token")
    assert start_again(started) == (0, "")
    assert started.log_count("[App] Quoxelin Desktop App Launching...") == 1
    assert started.end() == 0


def test_without_a_tray_a_second_start_opens_the_panel(daemon, buses, recorded):
    _, system = buses
    with Desktop() as desktop:
        environment = desktop.environment | system.environment
        environment["PATH"] = f"{recorded.parent / 'bin'}:{environment['PATH']}"
        with RealApplication(daemon.socket, environment=environment) as application:
            application.wait_log(MISSING[2])
            assert not desktop.shows_window_of(application.pid)
            assert start_again(application) == (0, "")
            desktop.await_that(lambda: desktop.shows_window_of(application.pid), "panel")
            desktop.start_tray("trayer")
            application.wait_log("[App] The tray is available")
            desktop.wait_icon("trayer")


def test_a_user_who_may_not_use_the_helper_reads_what_to_check(daemon, buses, recorded):
    _, system = buses
    system.start()
    system.mock(*HELPER, methods=HELPER_METHODS)
    # It allows nothing.
    system.mock("org.freedesktop.PolicyKit1", template="polkitd")
    with Desktop() as desktop, AccessibilityBus(desktop) as assistive:
        environment = assistive.environment | system.environment
        environment["PATH"] = f"{recorded.parent / 'bin'}:{environment['PATH']}"
        with RealApplication(daemon.socket, environment=environment) as application:
            application.wait_log(MISSING[2])
            assert start_again(application) == (0, "")
            until(lambda: assistive.application().find(
                "The background service does not run, or you are not allowed to use it. "
                "An administrator can check it with: systemctl status quoxelin-helper"), "guidance")
            # No settings of a Linux desktop have anything to allow.
            assert not assistive.application().find("Enable Helper (Login Items)")


def test_simulated_instances_are_independent_of_each_other_and_of_it(session, daemon):
    with Application(daemon.socket, environment=session.environment) as first, \
            Application(daemon.socket, environment=session.environment) as second:
        for application in (first, second):
            application.wait_log("[State] HashiBus connected")
            assert application.log_count("[App] The system bus is available") == 0


def test_a_first_instance_that_does_not_answer_is_ignored(started, session):
    started.send_signal(signal.SIGSTOP)
    try:
        code, said = start_again(started, "quoxelin://callback?token=abc")
    finally:
        started.send_signal(signal.SIGCONT)
    assert code == 1
    assert said.startswith("quoxelin-desktop: the running application does not answer: ")


def test_hanging_buses_neither_delay_the_icon_nor_leak(daemon, recorded):
    with HungBus("session") as session, HungBus("system") as system, Desktop() as desktop:
        environment = desktop.environment | session.environment | system.environment
        environment["PATH"] = f"{recorded.parent / 'bin'}:{environment['PATH']}"
        desktop.start_tray("trayer")
        with RealApplication(daemon.socket, environment=environment) as application:
            desktop.wait_icon("trayer")
            closed = desktop.around_icon("trayer")

            def seconds_until(opened):
                """How long after a click the panel is open or closed."""
                desktop.click_icon("trayer")
                began = time.monotonic()
                desktop.await_that(lambda: (desktop.around_icon("trayer") != closed) == opened,
                                   "panel that answers", deadline=1)
                return time.monotonic() - began

            used = []
            for attempt in range(1, 7):
                application.wait_log(
                    f"[App] Helper not reachable. Retrying in {0.5 * 1.5 ** (attempt - 1):.2f} seconds"
                    f" (attempt {attempt}/10)...")
                # A busy machine may delay one of them.
                slowest = [max(seconds_until(opened) for opened in (True, False)) for _ in range(3)]
                assert min(slowest) < 0.1
                used.append([len(os.listdir(f"/proc/{application.pid}/{kind}"))
                             for kind in ("task", "fd")])
            assert used[-1] == used[0]
            application.send_signal(signal.SIGTERM)
            assert application.exit_code(deadline=2) == 0
