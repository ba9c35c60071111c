"""The VPN adapter on a real NetworkManager, through Tests/EndToEnd/box/vpn_driver."""

import pytest

from support.box import TESTER, SteeredInBox, wait_until
from support.sim import build_directory
from support.stand_ins import fail_tunnel, hold_tunnel

PROVIDER = "com.quoxelin.desktop.PacketTunnel"
DOMAIN = "NEVPNErrorDomain"
INVALID, DISCONNECTED, CONNECTING, CONNECTED, DISCONNECTING = 0, 1, 2, 3, 5
CONTROL = "org.freedesktop.NetworkManager.network-control"
MODIFY = "org.freedesktop.NetworkManager.settings.modify.own"
SAVED = {"description": "Quoxelin", "enabled": True, "provider": PROVIDER, "server": "localhost",
         "sleep": False}


class Adapter(SteeredInBox):
    """The adapter; the operations use its first manager."""

    def __init__(self, box, user=TESTER):
        super().__init__(box, build_directory() / "vpn-driver", user=user)
        self.wait_event("ready")
        # After this it knows all connections and reports changes.
        self.do("load-all")
        self._seen = len(self.events)
        self._last = None

    def call(self, name: str, **members) -> dict:
        """The answer's own members; empty if there is nothing to report."""
        return self.own(self.do(name, **members))

    @staticmethod
    def own(answer: dict) -> dict:
        return {key: value for key, value in answer.items() if key not in ("ok", "do", "id")}

    def fresh(self) -> list:
        """The notifications since the last call: statuses, or "configuration"."""
        told = self.events[self._seen:]
        self._seen += len(told)
        return [event["status"] if event["event"] == "status" else "configuration"
                for event in told]

    def expect(self, *notifications) -> None:
        """Waits for exactly these notifications since the last call. NetworkManager's end is
        reported with the status of that moment, so before or after the end of a tunnel or a start.
        Ignores a status that was reported just before."""
        told = []

        def is_all() -> bool:
            for one in self.fresh():
                before = told[-1] if told else self._last
                if one == "configuration" or one != before:
                    told.append(one)
            return len(told) >= len(notifications)

        wait_until(is_all, f"{notifications} in {told}")
        assert told == list(notifications)
        self._last = told[-1]

    def save_new(self, **members) -> None:
        self.do("new")
        assert self.call("save", **(SAVED | members)) == {}
        assert self.call("load") == {}
        self.expect("configuration")

    def outcome(self, *last: int) -> list:
        """Waits for one of these statuses and returns all notifications up to it."""
        told = []
        wait_until(lambda: told.extend(self.fresh()) or told and told[-1] in last,
                   f"one of {last} in {told}")
        self._last = told[-1]
        return told

    def connect(self) -> None:
        """NetworkManager sometimes fails a start right after a stop. Like the application, this
        tries again."""

        def is_up() -> bool:
            assert self.call("start") == {"status": CONNECTING}
            told = self.outcome(CONNECTED, DISCONNECTED)
            assert told in ([CONNECTING, CONNECTED], [CONNECTING, DISCONNECTED])
            return told[-1] == CONNECTED

        wait_until(is_up, "the tunnel")

    def disconnect(self) -> None:
        """Changes in one turn of the event loop are reported once."""
        self.do("stop")
        assert self.outcome(DISCONNECTED) in ([DISCONNECTING, DISCONNECTED], [DISCONNECTED])


@pytest.fixture
def plugin(box):
    """The tunnel's plugin is installed, and nothing has been saved or requested yet."""
    box.run("/usr/libexec/quoxelin-desktop/install-extension")
    box.path("/run/stand-ins/tunnel.log").unlink(missing_ok=True)
    yield box
    if not box.process("NetworkManager").is_running():
        box.start_network_manager()
    box.allow(CONTROL)
    box.allow(MODIFY)
    fail_tunnel(box, 0)
    hold_tunnel(box, False)
    for line in box.run("nmcli", "-t", "-f", "TYPE,UUID", "connection").splitlines():
        if line.startswith("vpn:"):
            box.run("nmcli", "connection", "delete", line.removeprefix("vpn:"))


@pytest.fixture
def adapter(plugin):
    with Adapter(plugin) as running:
        yield running
        assert running.is_running(), running.standard_error
        assert running.standard_error == ""
