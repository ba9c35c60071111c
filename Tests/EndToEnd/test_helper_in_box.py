"""Attacks on the privileged helper, which runs as root behind the stock system bus and polkit."""

import contextlib
import json
import os
import pathlib
import signal

import pytest

from support import stand_ins
from support.box import STRANGER, TESTER, wait_until
from support.helper import (ACTION, CALL, DAEMON, HELPER, INTERFACE, NAME, RESOURCES, TOOL, outcome,
                            run_go_tool, running_helper, waiting_polkit, without_polkit)
from support.stand_ins import calls

HOME = "/home/" + TESTER
APPLICATION_LOG = f"{HOME}/.local/share/Quoxelin/app.log"

# Sends many calls over one connection before it reads the first answer; counts the answers.
FLOOD = """
import json, sys
from gi.repository import Gio, GLib
count, path, arguments = int(sys.argv[1]), sys.argv[2], json.loads(sys.argv[3])
arguments = [text * (int(sys.argv[4]) if len(sys.argv) > 4 else 1) for text in arguments]
bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
loop, outcomes = GLib.MainLoop(), {}
def answered(bus, result):
    try:
        bus.call_finish(result)
        outcome = "replied"
    except GLib.Error as error:
        outcome = (Gio.DBusError.get_remote_error(error) or error.message).split(".")[-1]
    outcomes[outcome] = outcomes.get(outcome, 0) + 1
    if sum(outcomes.values()) == count:
        loop.quit()
for _ in range(count):
    bus.call("com.quoxelin.desktop.Helper", "/com/quoxelin/desktop/Helper",
             "com.quoxelin.desktop.HelperToolProtocol", "RunGoTool",
             GLib.Variant("(sas)", (path, arguments)), None, Gio.DBusCallFlags.NONE, 10000, None,
             answered)
loop.run()
print(json.dumps(outcomes))
"""


def flood(box, count, path, *arguments, times=1, user=TESTER):
    return json.loads(box.run("/usr/bin/python3", "-c", FLOOD, str(count), path,
                              json.dumps(arguments), str(times), user=user))


@contextlib.contextmanager
def changed(box, change, back):
    """Runs a test between two shell commands that run as root in the box."""
    box.run("sh", "-ec", change)
    try:
        yield
    finally:
        box.run("sh", "-ec", back)


@contextlib.contextmanager
def answering(box, answer, then, user=TESTER):
    """In this context polkit gives that answer about the helper."""
    box.answer(ACTION, user, answer)
    try:
        yield
    finally:
        box.answer(ACTION, user, then)


def test_it_is_started_by_the_first_caller_and_runs_the_program_with_a_clean_environment(box):
    assert running_helper(box)
    what, output = run_go_tool(box, DAEMON, "--help")
    assert what == "replied" and "usage" in output
    assert calls(box)[-1] == {
        "arguments": [DAEMON, "--help"],
        "environment": ["PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8"], "uid": 0}


def test_polkit_decides_who_may_use_it(box):
    before = len(calls(box))
    assert outcome(box, TOOL, "down", user=STRANGER) == "AccessDenied"
    with answering(box, "no", then="yes"):
        assert outcome(box, TOOL, "down") == "AccessDenied"
    assert len(calls(box)) == before
    assert outcome(box, TOOL, "down") == "replied"
    assert len(calls(box)) == before + 1
    assert outcome(box, TOOL, "down", user=STRANGER) == "AccessDenied"
    assert outcome(box, TOOL, "down", user="root") == "replied"


def test_it_refuses_all_callers_while_polkit_is_gone(box):
    with without_polkit(box):
        assert outcome(box, TOOL, "down") == "AccessDenied"
        assert outcome(box, TOOL, "down", user="root") == "AccessDenied"
    assert outcome(box, TOOL, "down") == "replied"


def test_a_caller_who_leaves_takes_the_question_back(box):
    with waiting_polkit(box) as asked, contextlib.ExitStack() as ends:
        caller = box.start("caller", *CALL, f"{INTERFACE}.RunGoTool", TOOL, '["up"]', user=TESTER)
        ends.callback(caller.end)
        wait_until(asked, "the helper to ask polkit")
        (method, question, command), = asked()
        assert (method, command) == ("CheckAuthorization", "quoxelin up")
        caller.end()
        wait_until(lambda: asked()[1:] == [["CancelCheckAuthorization", question]],
                   "the helper to take it back")
    assert outcome(box, TOOL, "down") == "replied"


@pytest.mark.parametrize("path", [
    "/bin/sh", "", "quoxelin", "./quoxelin", "Contents/Resources/quoxelin",
    f"{RESOURCES}/../Resources/quoxelin", f"/{TOOL}", f"{RESOURCES}//quoxelin", f"{TOOL}/", "/tmp/link",
    f"{HOME}/quoxelin", "/proc/self/exe"])
def test_it_runs_nothing_at_another_path(box, path):
    box.run("ln", "-sf", TOOL, "/tmp/link", user=TESTER)
    box.run("cp", TOOL, f"{HOME}/quoxelin", user=TESTER)
    before = len(calls(box))
    assert outcome(box, path, "down") == "InvalidArgs"
    assert outcome(box, path, "down", user="root") == "InvalidArgs"
    assert len(calls(box)) == before


@pytest.mark.parametrize("call", [
    [DAEMON], [DAEMON, "up", "--state=/etc/shadow"], [DAEMON, "--help", "up"], [DAEMON, "down"],
    [DAEMON, "up", "--conductor-host", "--signal-host=x"], [DAEMON, "up", "--conductor-host", "a b"],
    [DAEMON, "up", "--conductor-host", "$(reboot)"], [DAEMON, "up", "--conductor-host"],
    [DAEMON, "up", "--signal-host", "a", "--conductor-host", "b"], [TOOL], [TOOL, "login"],
    [TOOL, "up", "--operator=tester"], [TOOL, "down", ""], [TOOL, "status", "-json=true", "-x"]])
def test_it_passes_no_argument_that_the_application_does_not_send(box, call):
    before = len(calls(box))
    assert outcome(box, *call) == "InvalidArgs"
    assert len(calls(box)) == before


ALTERED = {
    "a link in place of the program": (
        f"mv {TOOL} {TOOL}.real; ln -s quoxelin.real {TOOL}", f"mv {TOOL}.real {TOOL}"),
    "a link to another user's program": (
        f"mv {TOOL} /usr/lib/real; ln -s {HOME}/quoxelin {TOOL}", f"mv /usr/lib/real {TOOL}"),
    "a link in place of a folder": (
        f"mv {RESOURCES} {RESOURCES}.real; ln -s Resources.real {RESOURCES}",
        f"rm {RESOURCES}; mv {RESOURCES}.real {RESOURCES}"),
    "a link in place of the bundle": (
        "mv /usr/lib/quoxelin-desktop /usr/lib/real; ln -s real /usr/lib/quoxelin-desktop",
        "rm /usr/lib/quoxelin-desktop; mv /usr/lib/real /usr/lib/quoxelin-desktop"),
    "a program that a group can write": (f"chmod g+w {TOOL}", f"chmod g-w {TOOL}"),
    "a program that all can write": (f"chmod o+w {TOOL}", f"chmod o-w {TOOL}"),
    "another user's program": (f"chown tester {TOOL}", f"chown root {TOOL}"),
    "a program with a set-id bit": (f"chmod u+s {TOOL}", f"chmod u-s {TOOL}"),
    "a folder that a group can write": (f"chmod g+w {RESOURCES}", f"chmod g-w {RESOURCES}"),
    "a folder above that all can write": ("chmod o+w,+t /usr/lib", "chmod o-w,-t /usr/lib"),
    "another user's folder": (f"chown tester {RESOURCES}", f"chown root {RESOURCES}"),
    "a script": (f"mv {TOOL} {TOOL}.real; printf '#!/bin/sh\\nid\\n' >{TOOL}; chmod 755 {TOOL}",
                 f"mv {TOOL}.real {TOOL}"),
    "a pipe": (f"mv {TOOL} {TOOL}.real; mkfifo -m 755 {TOOL}", f"rm {TOOL}; mv {TOOL}.real {TOOL}"),
    "nothing": (f"mv {TOOL} {TOOL}.real", f"mv {TOOL}.real {TOOL}"),
}


@pytest.mark.parametrize("what", ALTERED)
def test_it_refuses_a_program_that_was_changed(box, what):
    before = len(calls(box))
    with changed(box, *ALTERED[what]):
        assert outcome(box, TOOL, "down") == "Failed"
    assert len(calls(box)) == before
    assert outcome(box, TOOL, "down") == "replied"


def test_a_flood_of_calls_is_cut_off_and_leaves_room_for_others(box):
    outcomes = flood(box, 1000, DAEMON, "--help")
    assert outcomes.pop("LimitsExceeded") > 0
    assert outcomes.pop("replied") > 0
    assert not outcomes
    with answering(box, "yes", then="no", user=STRANGER):
        assert outcome(box, TOOL, "down", user=STRANGER) == "replied"
    assert outcome(box, TOOL, "down") == "replied"


def test_a_flood_of_refused_calls_ends_neither_helper_nor_service(box):
    running = running_helper(box)
    outcomes = flood(box, 1000, "/bin/sh", "-c", "id")
    assert set(outcomes) <= {"InvalidArgs", "LimitsExceeded"}
    assert outcome(box, TOOL, "down") == "replied"
    assert box.pids(f"^{HELPER}") == running


@pytest.mark.parametrize("call", [
    (1, TOOL, ["x"] * 1000), (10 * 1024 * 1024, TOOL, ["x"]), (1, "/" + "x" * 100000, ["up"]),
    (2000, DAEMON, ["up", "--conductor-host", "x"])])
def test_huge_arguments_are_refused(box, call):
    times, path, arguments = call
    running = running_helper(box)
    assert flood(box, 3, path, *arguments, times=times) == {"InvalidArgs": 3}
    assert outcome(box, TOOL, "down") == "replied"
    assert box.pids(f"^{HELPER}") == running


def test_no_other_program_can_take_its_name_or_replace_it(box):
    refused = box.try_run(
        "gdbus", "call", "--system", "--dest", "org.freedesktop.DBus", "--object-path",
        "/org/freedesktop/DBus", "--method", "org.freedesktop.DBus.RequestName", NAME, "0",
        user=TESTER)
    assert "AccessDenied" in refused.stderr
    assert box.try_run(HELPER, user=TESTER).returncode == 1
    assert box.try_run(HELPER, "--bundle=/tmp").returncode == 1


def test_a_started_daemon_keeps_running(box):
    what, output = run_go_tool(box, DAEMON, "up")
    assert what == "replied" and "quoxelind is up" in output
    daemon, = box.pids(stand_ins.DAEMON)
    # The uninstaller ends the daemon by this name.
    assert pathlib.Path(f"/proc/{daemon}/comm").read_text() == "quoxelind\n"
    assert "runs already" in run_go_tool(box, DAEMON, "up")[1]
    helper, = running_helper(box)
    os.kill(helper, signal.SIGTERM)
    wait_until(lambda: helper not in box.pids(f"^{HELPER}"), "the helper's end")
    assert box.pids(stand_ins.DAEMON) == [daemon]
    assert "runs already" in run_go_tool(box, DAEMON, "up")[1]


PLIST = "/usr/lib/quoxelin-desktop/Contents/Info.plist"


def test_the_servers_are_those_of_the_installed_bundle(box):
    named = "s|<key>QXConductorURL</key>|&<string>https://c.example.com/?a\\&amp;b</string><key>Old</key>|"
    there = ["--conductor-host", "https://c.example.com/?a&b"]
    assert outcome(box, DAEMON, "up", *there) == "InvalidArgs"
    with changed(box, f"cp -p {PLIST} {PLIST}.real; sed -i '{named}' {PLIST}", f"mv {PLIST}.real {PLIST}"):
        assert outcome(box, DAEMON, "up", *there) == "replied"
        assert calls(box)[-1]["arguments"] == [DAEMON, "up", *there]
        assert outcome(box, DAEMON, "up") == "InvalidArgs"
        assert outcome(box, DAEMON, "up", there[0], "https://evil.example.com/") == "InvalidArgs"
        with changed(box, f"chown tester {PLIST}", f"chown root {PLIST}"):
            assert outcome(box, DAEMON, "up", *there) == "Failed"
    assert outcome(box, DAEMON, "up") == "replied"


@contextlib.contextmanager
def application(box):
    """Runs the installed application as an ordinary user; yields its process and a log wait."""
    box.run("rm", "-f", APPLICATION_LOG)
    process = box.start("application", "/usr/bin/quoxelin-desktop", user=TESTER,
                        environment={"QT_QPA_PLATFORM": "offscreen"})

    def logged(text):
        wait_until(lambda: text in box.read(APPLICATION_LOG), f"{text!r} in the log")

    try:
        yield process, logged
    finally:
        process.end()


def test_the_application_starts_the_daemon_and_disconnects_when_it_quits(box):
    before = len(calls(box))
    with application(box) as (process, logged):
        logged("Helper is ready and reachable. Starting daemon...")
        logged("quoxelind up output: quoxelind ")
        assert process.end() == 0
    made = [(call["arguments"], call["uid"]) for call in calls(box)[before:]]
    assert made == [([DAEMON, "--help"], 0), ([DAEMON, "up"], 0), ([TOOL, "down"], 0)]


def test_the_application_starts_with_the_session(box):
    entry = f"{HOME}/.config/autostart/com.quoxelin.desktop.desktop"
    box.run("rm", "-rf", f"{HOME}/.config", f"{HOME}/.local/share/Quoxelin", user=TESTER)
    with application(box) as (_, logged):
        logged("Registered app as login item (status: 1)")
    assert "Exec=/usr/bin/quoxelin-desktop" in box.read(entry)
    with application(box) as (_, logged):
        logged("Helper is ready")
    assert "login item" not in box.read(APPLICATION_LOG)


def test_the_application_logs_that_polkit_refused(box):
    before = len(calls(box))
    with answering(box, "no", then="yes"), application(box) as (_, logged):
        logged("[XPC]")
        logged("Error: Not authorized.")
    assert len(calls(box)) == before
