"""Floods, huge messages and unanswered questions do not keep the helper from serving other users.
docs/security.md has the figures of longer runs."""

import os
import pathlib
import signal

import pytest

from support import stand_ins
from support.box import STRANGER, TESTER, wait_until
from support.helper import (ATTACKER, CALL, DAEMON, HELPER, INTERFACE, NAME, TOOL, Attack, attack, descriptors,
                            memory, outcome, running_helper, system_log, waiting_polkit)
from support.stand_ins import calls

# The seconds of a flood. Use QUOXELIN_FLOOD=30 to measure.
SECONDS = float(os.environ.get("QUOXELIN_FLOOD", "3"))


def percentile(times, share=0.95):
    return times[int(len(times) * share)]


def serves(box):
    return [outcome(box, TOOL, "down", user=user) for user in ("root", TESTER)] == ["replied"] * 2


def end_helper(box, helper, number=signal.SIGTERM):
    os.kill(helper, number)
    wait_until(lambda: helper not in box.pids(f"^{HELPER}"), "the helper's end")


@pytest.mark.parametrize("kind", ["descriptors", "small", "large"])
def test_a_refused_users_flood_does_not_delay_others(box, kind):
    helper, = running_helper(box)
    options = {
        "descriptors": {"connections": 30, "path": "/bin/sh", "descriptors": True},
        "small": {"connections": 30, "path": TOOL, "arguments": ["down"]},
        "large": {"connections": 8, "path": "/bin/sh", "size": 2 * 1024 * 1024},
    }[kind]
    before = descriptors(helper)
    with Attack(box, STRANGER, "flood", **({"arguments": [], "seconds": SECONDS} | options)) as flood:
        others = [Attack(box, user, "honest", seconds=SECONDS, program=TOOL, arguments=["down"])
                  for user in ("root", TESTER)]
        found = [other.result() for other in others]
        assert flood.result()["sent"] > 0
    print(kind, memory(helper), [(one["outcomes"], percentile(one["times"]), percentile(one["bus"]))
                                 for one in found])
    for one in found:
        assert set(one["outcomes"]) == {"replied"}
        assert percentile(one["times"]) < 1 + percentile(one["bus"])
    assert serves(box)
    assert running_helper(box) == [helper]
    wait_until(lambda: descriptors(helper) <= before, "the flood's descriptors to go")
    assert pathlib.Path(f"/proc/{helper}/task/{helper}/children").read_text() == ""


def test_no_answer_is_lost_when_the_helpers_queue_is_full(box):
    with waiting_polkit(box) as asked:
        caller = box.start("caller", *CALL, f"{INTERFACE}.RunGoTool", TOOL, '["down"]', user=TESTER)
        wait_until(asked, "the helper to ask polkit")
        helper, = running_helper(box)
        os.kill(helper, signal.SIGSTOP)
        try:
            flood = attack(box, STRANGER, "flood", connections=8, seconds=5, path="/bin/sh", arguments=[],
                           size=2 * 1024 * 1024)
            # The bus keeps 127 MiB for a connection.
            assert flood["sent"] > 80
            box.process("waiting-polkit").send_signal(signal.SIGUSR1)
            wait_until(lambda: asked()[-1] == ["answered"], "polkit to answer")
        finally:
            os.kill(helper, signal.SIGCONT)
        assert caller.exit_code() == 0
    assert serves(box)


def test_a_users_flood_over_many_connections_refuses_no_other_user(box):
    options = {"connections": 12, "seconds": SECONDS, "path": TOOL, "arguments": ["down"]}
    with Attack(box, TESTER, "flood", **options):
        found = attack(box, "root", "honest", seconds=SECONDS, program=TOOL, arguments=["down"])
    assert set(found["outcomes"]) == {"replied"}
    wait_until(lambda: outcome(box, TOOL, "down") == "replied", "the user's own turn")


def test_the_largest_messages_take_no_extra_memory(box):
    helper, = running_helper(box)
    pathlib.Path(f"/proc/{helper}/clear_refs").write_text("5")
    found = attack(box, STRANGER, "huge")
    print(found)
    assert set(found.values()) <= {"InvalidArgs", "AccessDenied", None}
    assert found["many empty strings"] == found["many signatures"] == "InvalidArgs"
    assert running_helper(box) == [helper]
    peak = memory(helper)[1]
    print("peak", peak)
    assert peak < 80
    wait_until(lambda: memory(helper)[0] < 16, "the memory to be given back", 5)
    assert serves(box)


def test_it_takes_no_descriptors(box):
    assert attack(box, TESTER, "call", descriptors=True, program=TOOL, arguments=["down"]) == ["AccessDenied"]


@pytest.mark.parametrize("call", [
    {"path": "/"}, {"interface": ""}, {"interface": "org.freedesktop.DBus.Properties"},
    {"interface": "org.freedesktop.DBus.ObjectManager"}])
def test_the_bus_delivers_nothing_but_its_messages(box, call):
    assert attack(box, TESTER, "call", program=TOOL, arguments=["down"], **call) == ["AccessDenied"]


@pytest.mark.parametrize("user, outcome", [(TESTER, ""), (STRANGER, "AccessDenied")])
def test_the_user_is_that_of_the_connection_even_if_its_process_has_ended(box, user, outcome):
    assert attack(box, user, "call", program=TOOL, arguments=["down"], orphan=True) == [outcome]


def test_a_user_without_an_account_does_not_reach_the_bus(box):
    done = box.try_run("setpriv", "--reuid=100000", "--clear-groups", "/usr/bin/python3", "-c", ATTACKER,
                       "call", "{}")
    assert done.returncode == 1 and "The bus hangs up." in done.stderr


def test_how_it_is_started_does_not_matter(box):
    end_helper(box, *running_helper(box))
    nowhere = "unix:path=/nowhere"
    box.start("by-hand", "/bin/sh", "-c", f"exec {HELPER} <&- >&- 2>&-", environment={
        "DBUS_SYSTEM_BUS_ADDRESS": nowhere, "DBUS_STARTER_ADDRESS": nowhere, "PATH": "/nowhere"})
    box.wait_name(NAME)
    assert outcome(box, DAEMON, "--help") == "replied"
    assert calls(box)[-1]["environment"] == ["PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8"]


def test_unanswered_questions_delay_only_the_user_who_is_asked(box):
    with waiting_polkit(box) as asked:
        options = {"connections": 4, "seconds": 0.5, "path": TOOL, "arguments": ["up"]}
        with Attack(box, STRANGER, "flood", **options) as flood:
            assert flood.result()["sent"] > 64
        assert outcome(box, TOOL, "status", "-json=true", user="root") == "replied"
        assert outcome(box, TOOL, "status", "-json=true") == "replied"
        wait_until(lambda: len([one for one in asked() if one[0] == "CancelCheckAuthorization"]) ==
                   len([one for one in asked() if one[2:] == ["quoxelin up"]]),
                   "the questions of who has gone to be taken back")
    assert serves(box)


def test_a_program_runs_on_when_the_helper_ends(box):
    holds, ended = (f"{stand_ins.FOLDER}/tool-{what}" for what in ("holds", "ended"))
    for number in (signal.SIGTERM, signal.SIGKILL):
        box.path(ended).unlink(missing_ok=True)
        box.write(holds, "")
        helper, = running_helper(box)
        caller = box.start(f"caller-{number}", *CALL, f"{INTERFACE}.RunGoTool", TOOL, '["up"]', user=TESTER)
        wait_until(lambda: box.pids(f"^{TOOL} up"), "the program")
        assert outcome(box, DAEMON, "--help") == "replied"
        end_helper(box, helper, number)
        assert caller.exit_code() == 1
        assert outcome(box, DAEMON, "--help") == "replied"
        assert box.pids(f"^{TOOL} up")
        box.path(holds).unlink()
        wait_until(lambda: box.read(ended), "the program to end by itself")


def test_the_log_has_every_run_and_no_flood_hides_another_users_attempt(box):
    # Counts of earlier refusals are lost when their helper exits.
    end_helper(box, *running_helper(box))
    with system_log(box) as lines:
        assert outcome(box, TOOL, "down") == "replied"
        wait_until(lambda: len(lines()) == 2, "the run in the log")
        begin, end = lines()
        who = "user 4321 (:1."
        assert begin.startswith(who) and ") runs quoxelin down: process " in begin
        assert end.startswith(who) and end.endswith(") ran quoxelin down: exit code 0")

        attack(box, TESTER, "call", count=100, program="/bin/x\nnew line", arguments=[])
        outcome(box, TOOL, "down", user=STRANGER)
        assert len([line for line in lines() if line.startswith("refused user 4321")]) == 20
        assert "refused user 4322" in lines()[-1] and "Asked for: quoxelin down" in lines()[-1]
        assert all("/bin/x\\x0anew line" in line for line in lines()[2:-1])
        end_helper(box, *running_helper(box))
        wait_until(lambda: "refused user 4321 80 more times" in lines(), "the count at the end")


def test_when_the_bus_ends_the_helper_does_and_the_daemon_does_not(box):
    assert outcome(box, DAEMON, "up") == "replied"
    daemon = box.pids(stand_ins.DAEMON)
    assert daemon and running_helper(box)
    for name in ("NetworkManager", "polkit", "dbus"):
        box.process(name).end()
    wait_until(lambda: not box.pids(f"^{HELPER}"), "the helper's end")
    assert box.pids(stand_ins.DAEMON) == daemon
    box.start_bus()
    box.start_polkit()
    assert serves(box)
