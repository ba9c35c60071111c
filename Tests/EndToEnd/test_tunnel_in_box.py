"""The VPN preferences and the tunnel on a real NetworkManager, one call at a time; see
Tests/EndToEnd/box/vpn_driver."""

import os
import random
import signal
import time

import pytest

from support.box import STRANGER, TESTER, wait_until
from support.stand_ins import fail_tunnel, hold_tunnel, tunnel_devices, tunnel_requests
from support.vpn_adapter import (PROVIDER, DOMAIN, INVALID, DISCONNECTED, CONNECTING, CONNECTED,
                                 DISCONNECTING, CONTROL, MODIFY, SAVED, Adapter)


def test_a_configuration_is_saved_found_changed_and_removed(box, adapter):
    assert adapter.call("load-all") == {"managers": []}
    adapter.do("new")
    assert adapter.call("load") == {}
    assert adapter.call("read") == {"enabled": False, "status": INVALID}
    assert adapter.call("start") | {"error-text": ""} == {
        "domain": DOMAIN, "code": 1, "error-text": "", "status": INVALID}
    assert adapter.call("save", **SAVED) == {}
    assert adapter.call("load") == {}
    adapter.expect("configuration")
    assert adapter.call("read") == SAVED | {"status": DISCONNECTED}
    with Adapter(box) as another:
        assert another.call("load-all") == {"managers": [SAVED | {"status": DISCONNECTED}]}
        assert adapter.call("save", description="Qu\u00f6xelin", sleep=True) == {}
        assert adapter.call("load") == {}
        adapter.expect("configuration")
        another.expect("configuration")
        changed = SAVED | {"description": "Qu\u00f6xelin", "sleep": True, "status": DISCONNECTED}
        assert another.call("load") == {} and another.call("read") == changed
        assert adapter.call("read") == changed
        assert another.call("remove") == {}
        another.expect("configuration")
        adapter.expect("configuration")
    assert adapter.call("read")["status"] == INVALID
    assert adapter.call("load")["code"] == 4
    assert adapter.call("save")["code"] == 4
    assert adapter.call("remove")["code"] == 4
    assert adapter.call("start")["code"] == 1
    assert adapter.call("load-all") == {"managers": []}


def test_a_configuration_belongs_to_its_user_and_starts_on_demand_only(box, adapter):
    adapter.save_new()
    shown = box.run("nmcli", "-t", "-f",
                    "connection.permissions,connection.autoconnect,vpn.service-type,vpn.data",
                    "connection", "show", SAVED["description"], user=TESTER)
    assert shown.splitlines() == [
        f"connection.permissions:user:{TESTER}", "connection.autoconnect:no",
        f"vpn.service-type:{PROVIDER}",
        "vpn.data:disconnect-on-sleep = no, enabled = yes, server-address = localhost"]
    with Adapter(box, user=STRANGER) as stranger:
        assert stranger.call("load-all") == {"managers": []}


def test_saving_an_unchanged_configuration_reports_no_change(adapter):
    adapter.save_new()
    assert adapter.call("save") == {}
    assert adapter.call("save", description="Another name") == {}
    adapter.expect("configuration")


def test_settings_that_the_application_does_not_know_are_kept(box, adapter):
    adapter.save_new()
    box.run("nmcli", "connection", "modify", "Quoxelin", "ipv4.never-default", "yes",
            "+vpn.data", "another=item", user=TESTER)
    adapter.expect("configuration")
    adapter.do("load")
    assert adapter.call("save", description="Renamed") == {}
    shown = box.run("nmcli", "-t", "-f", "ipv4.never-default,vpn.data", "connection", "show",
                    "Renamed", user=TESTER)
    assert shown.startswith("ipv4.never-default:yes\nvpn.data:another = item, ")


def test_lists_other_vpns_but_no_other_connections(box, adapter):
    box.run("nmcli", "connection", "add", "type", "vpn", "vpn-type", "org.example.vpn",
            "con-name", "Another's", "connection.permissions", f"user:{TESTER}", user=TESTER)
    adapter.expect("configuration")
    assert adapter.call("load-all") == {"managers": [
        {"description": "Another's", "enabled": True, "provider": "org.example.vpn",
         "sleep": False, "status": DISCONNECTED}]}


def test_the_tunnel_goes_up_and_down(box, adapter):
    adapter.save_new()
    adapter.connect()
    assert adapter.call("read")["status"] == CONNECTED
    assert tunnel_devices(box) == {"quoxelin0": ["100.64.0.1"]}
    assert "dev quoxelin0" in box.run("ip", "route", "get", "100.64.0.9")
    assert adapter.call("start") == {"status": CONNECTED}
    adapter.disconnect()
    wait_until(lambda: tunnel_devices(box) == {}, "the device to go")
    wait_until(lambda: tunnel_requests(box)[-2:] == ["connect", "disconnect"], "the plugin's end")


@pytest.mark.parametrize("_", range(3))
def test_a_program_that_ends_takes_the_tunnel_down(box, plugin, _):
    with Adapter(box) as adapter:
        adapter.save_new()
        adapter.connect()
        adapter.start_command("stop-and-exit")
        assert adapter.exit_code() == 0
    # NetworkManager drops requests whose sender has exited.
    wait_until(lambda: tunnel_devices(box) == {}, "the device to go")


def assert_no_tunnel(box) -> None:
    wait_until(lambda: "vpn" not in box.run("nmcli", "-t", "-f", "TYPE", "connection", "show",
                                            "--active"), "NetworkManager to end it")
    assert tunnel_devices(box) == {}


def test_a_program_that_ends_while_it_starts_a_tunnel_leaves_none(box, plugin):
    """Ends at random instants of a start, half of them before NetworkManager can have answered.
    QUOXELIN_QUITS is the number of rounds."""
    instants = random.Random(4)
    with Adapter(box) as adapter:
        adapter.save_new()
    for _ in range(int(os.environ.get("QUOXELIN_QUITS", "25"))):
        instant = instants.uniform(0, instants.choice((0.004, 0.15)))
        with Adapter(box) as adapter:
            assert adapter.call("load-all")["managers"][0]["status"] == DISCONNECTED, "a late tunnel"
            adapter.start_command("start")
            time.sleep(instant)
            adapter.start_command("stop-and-exit")
            assert adapter.exit_code() == 0
        wait_until(lambda: tunnel_devices(box) == {}, f"the device to go after {instant} s")
    assert_no_tunnel(box)


@pytest.mark.parametrize("is_up", [False, True])
def test_a_tunnel_that_cannot_be_stopped_in_time_is_stopped_later(box, plugin, is_up):
    """While polkit does not answer, NetworkManager cannot answer either."""

    def answered_starts() -> int:
        return box.process("NetworkManager").output.read_text().count('op="connection-activate"')

    with Adapter(box) as adapter:
        adapter.save_new()
        if is_up:
            adapter.connect()
        before = answered_starts()
        box.process("polkit").send_signal(signal.SIGSTOP)
        try:
            adapter.start_command("start")
            adapter.do("read")
            adapter.start_command("stop-and-exit")
            assert adapter.exit_code() == 0
        finally:
            box.process("polkit").send_signal(signal.SIGCONT)
    if not is_up:
        wait_until(lambda: answered_starts() > before, "NetworkManager to answer the start")
    assert_no_tunnel(box)


def test_a_disabled_configuration_does_not_start(adapter):
    adapter.save_new(enabled=False)
    assert adapter.call("start") == {
        "domain": DOMAIN, "code": 2, "error-text": "The VPN connection is disabled",
        "status": DISCONNECTED}
    assert adapter.call("save", enabled=True) == {}
    # What was saved takes effect at once.
    assert adapter.call("start") == {"status": CONNECTING}
    wait_until(lambda: adapter.call("read")["status"] == CONNECTED, "the tunnel")


def test_a_tunnel_that_does_not_come_up_is_disconnected(box, adapter):
    adapter.save_new()
    fail_tunnel(box, 1)
    assert adapter.call("start") == {"status": CONNECTING}
    adapter.expect(CONNECTING, DISCONNECTED)
    assert adapter.call("failure")["error-text"] == (
        "NetworkManager's reason: service-start-failed")
    adapter.connect()
    adapter.disconnect()
    assert adapter.call("failure") == {}


def test_a_tunnel_is_stopped_while_it_comes_up(box, adapter):
    adapter.save_new()
    hold_tunnel(box, True)

    def is_asked_for() -> bool:
        # As in `connect`, a start may fail without a call of the plugin.
        if adapter.call("read")["status"] == DISCONNECTED:
            adapter.do("start")
        return "connect" in tunnel_requests(box)

    wait_until(is_asked_for, "the plugin to be asked")
    adapter.fresh()
    adapter.disconnect()


def test_a_start_without_an_answer_yet_is_stopped(box, adapter):
    adapter.save_new()
    adapter.send(b'{"do":"start","id":901}\n{"do":"stop","id":902}\n{"do":"read","id":903}\n')
    assert adapter.answer(901)["status"] == CONNECTING
    assert adapter.answer(903)["status"] == DISCONNECTING

    def is_over() -> bool:
        status = adapter.call("read")["status"]
        if status == CONNECTED:  # see `disconnect`
            adapter.do("stop")
        return status == DISCONNECTED

    wait_until(is_over, "its end")
    wait_until(lambda: "GENERAL.STATE" not in box.run("nmcli", "connection", "show", "Quoxelin"),
               "NetworkManager to end it, too")


def test_the_plugin_that_dies_takes_the_tunnel_down_and_comes_back(box, adapter):
    adapter.save_new()
    adapter.connect()
    for pid in box.pids(r"systemextension/Contents/nm-quoxelin-service"):
        os.kill(pid, signal.SIGKILL)
    adapter.expect(DISCONNECTED)
    adapter.connect()


def test_a_refused_start_ends_disconnected_and_a_refused_change_is_an_error(box, adapter):
    adapter.save_new()
    box.refuse(CONTROL)
    assert adapter.call("start") == {"status": CONNECTING}
    adapter.expect(CONNECTING, DISCONNECTED)
    assert adapter.call("failure") == {
        "domain": DOMAIN, "code": 3, "error-text": "Not authorized to control networking."}
    box.refuse(MODIFY)
    # An unchanged configuration needs no authorization.
    assert adapter.call("save") == {}
    refusal = {"domain": DOMAIN, "code": 5, "error-text": "Insufficient privileges"}
    assert adapter.call("save", description="Refused") == refusal
    assert adapter.call("remove") == refusal
    assert adapter.call("load") == {} and adapter.call("read")["description"] == "Quoxelin"
    adapter.do("new")
    assert adapter.call("save", place=1, **SAVED) == refusal
    assert adapter.call("read", place=1)["status"] == INVALID
    box.allow(CONTROL)
    box.allow(MODIFY)
    assert adapter.call("save", place=1, **SAVED) == {}
    adapter.expect("configuration")
    adapter.connect()
