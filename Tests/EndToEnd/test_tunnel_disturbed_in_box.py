"""What the VPN adapter does when NetworkManager, the bus or the network goes away and comes back."""

import json
import os
import signal

import pytest

from support.box import wait_until
from support.stand_ins import tunnel_devices
from support.vpn_adapter import DOMAIN, DISCONNECTED, CONNECTING, CONNECTED, SAVED

ABSENT = {"domain": DOMAIN, "code": 5, "error-text": "NetworkManager is not running"}


def test_network_manager_stops_and_starts_again(box, adapter):
    adapter.save_new()
    adapter.connect()
    box.process("NetworkManager").end()
    adapter.expect(DISCONNECTED)
    assert adapter.call("load-all") == ABSENT
    assert adapter.call("load") == ABSENT
    assert adapter.call("save") == ABSENT
    assert adapter.call("start") == ABSENT | {"code": 3, "status": DISCONNECTED}
    adapter.do("stop")
    box.start_network_manager()
    adapter.expect("configuration", DISCONNECTED)
    # The same manager as before.
    assert adapter.call("load") == {} and adapter.call("read") == SAVED | {"status": DISCONNECTED}
    adapter.connect()
    adapter.disconnect()


@pytest.mark.parametrize("operation", ["save", "remove", "start", "new"])
def test_network_manager_dies_before_it_has_answered(box, adapter, operation):
    adapter.save_new()
    members = {"description": "Another name"} if operation == "save" else {}
    if operation == "new":
        adapter.do("new")
        operation, members = "save", SAVED | {"place": 1}
    box.process("NetworkManager").send_signal(signal.SIGSTOP)
    try:
        command = adapter.start_command(operation, **members)
        # Comes after the command, so the command has been sent.
        adapter.do("read")
    finally:
        box.process("NetworkManager").end(signal.SIGKILL)
    answer = adapter.own(adapter.answer(command))
    if operation == "start":
        adapter.expect(CONNECTING, DISCONNECTED)
    else:
        assert (answer["domain"], answer["code"]) == (DOMAIN, 5)
        adapter.expect(DISCONNECTED)
    box.start_network_manager()
    if operation == "start":
        adapter.outcome(CONNECTED)
    else:
        adapter.expect("configuration", DISCONNECTED)


def test_a_tunnel_comes_back_with_network_manager(box, adapter):
    adapter.save_new()
    adapter.connect()
    box.process("NetworkManager").end()
    adapter.outcome(DISCONNECTED)
    box.start_network_manager()
    adapter.outcome(CONNECTED)
    assert tunnel_devices(box) == {"quoxelin0": ["100.64.0.1"]}
    # A tunnel that was stopped stays down.
    adapter.disconnect()
    box.process("NetworkManager").end()
    box.start_network_manager()
    adapter.expect("configuration", DISCONNECTED)
    assert tunnel_devices(box) == {}


def test_a_tunnel_comes_back_with_the_network(box, adapter):
    adapter.save_new()
    adapter.connect()
    box.run("nmcli", "connection", "down", "base")
    adapter.fresh()
    box.run("nmcli", "connection", "up", "base")
    wait_until(lambda: adapter.call("read")["status"] == CONNECTED and
               tunnel_devices(box) == {"quoxelin0": ["100.64.0.1"]}, "the tunnel")


def test_a_new_configuration_is_created_once_however_long_saving_takes(box, adapter):
    adapter.do("new")
    box.process("polkit").send_signal(signal.SIGSTOP)
    try:
        saves = [adapter.start_command("save", **SAVED) for _ in range(3)]
        adapter.do("load")
    finally:
        box.process("polkit").send_signal(signal.SIGCONT)
    for save in saves:
        assert adapter.own(adapter.answer(save)) == {}
    assert len(adapter.call("load-all")["managers"]) == 1


def test_the_bus_stops_and_starts_again(box, adapter):
    adapter.save_new()
    for name in ("dbus", "NetworkManager", "polkit"):
        box.process(name).end(signal.SIGKILL)
    adapter.expect(DISCONNECTED)
    assert adapter.call("load-all") == ABSENT
    box.start_services()
    adapter.expect("configuration", DISCONNECTED)
    assert adapter.call("load-all") == {"managers": [SAVED | {"status": DISCONNECTED}]}
    adapter.connect()


def test_pending_requests_are_answered_when_the_adapter_is_destroyed(adapter):
    adapter.save_new()
    adapter.send(b"".join(
        json.dumps({"do": name, "id": 900 + place}).encode() + b"\n"
        for place, name in enumerate(("save", "load-all", "stop", "remove", "end"))))
    for place in range(5):
        assert adapter.answer(900 + place)["ok"]
    assert adapter.call("load")["code"] == 4
    assert adapter.fresh() == []


def test_an_idle_adapter_sleeps(box, adapter):
    adapter.save_new()
    adapter.connect()

    def switches() -> int:
        """How often its threads went to sleep and were woken up, in total."""
        total = 0
        for task in os.scandir(f"/proc/{adapter.pid}/task"):
            with open(f"{task.path}/status", encoding="ascii") as status:
                total += sum(int(line.split()[1]) for line in status if "ctxt_switches" in line)
        return total

    # Lets NetworkManager settle, then waits one second by another process's clock.
    wait_until(lambda: (switches(), box.run("sleep", "1"))[0] == switches(),
               "a second without a wake-up")
