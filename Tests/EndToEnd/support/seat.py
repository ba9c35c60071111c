"""A pointer and a keyboard for a Wayland compositor without devices, through the two protocols for
virtual ones. Speaks the wire format itself, so nothing must be built."""

import array
import os
import socket
import struct
import time

from .steered import DEADLINE, SteeringError

KEYMAP = b"""xkb_keymap {
xkb_keycodes { include "evdev+aliases(qwerty)" };
xkb_types { include "complete" };
xkb_compat { include "complete" };
xkb_symbols { include "pc+us+inet(evdev)" };
};\0"""
KEYS = {"Escape": 1, "Tab": 15, "Return": 28, "Home": 102, "Up": 103, "Page_Up": 104, "Left": 105,
        "Right": 106, "End": 107, "Down": 108}
BUTTONS = {1: 0x110, 3: 0x111}

# Objects and the numbers of their requests.
DISPLAY, REGISTRY = 1, 2
SYNC, GET_REGISTRY, BIND, CREATE = 0, 1, 0, 0
MOVE_TO, BUTTON, FRAME = 1, 2, 4
KEYMAP_REQUEST, KEY = 0, 1


class Seat:
    """Coordinates are those of the layout of all screens, which is `width` by `height`."""

    def __init__(self, display: str, width: int, height: int):
        self.width, self.height = width, height
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(DEADLINE)
        self._socket.connect(display)
        self._received = b""
        self._last = REGISTRY
        self._globals: dict[str, int] = {}
        self._send(DISPLAY, GET_REGISTRY, struct.pack("=I", REGISTRY))
        self._roundtrip()
        seat = self._bind("wl_seat")
        self._pointer = self._create(self._bind("zwlr_virtual_pointer_manager_v1"), seat)
        self._keyboard = self._create(self._bind("zwp_virtual_keyboard_manager_v1"), seat)
        keymap = os.memfd_create("keymap")
        os.write(keymap, KEYMAP)
        self._send(self._keyboard, KEYMAP_REQUEST, struct.pack("=II", 1, len(KEYMAP)), keymap)
        os.close(keymap)
        self._roundtrip()

    def close(self):
        self._socket.close()

    def move(self, x: int, y: int):
        """By way of the next point, because a pointer that is already there would not move."""
        for place in (x - 1 if x else 1, x):
            self._send(self._pointer, MOVE_TO,
                       struct.pack("=IIIII", _now(), place, y, self.width, self.height))
            self._frame()

    def click(self, x: int, y: int, button: int = 1):
        self.move(x, y)
        for pressed in (1, 0):
            self._send(self._pointer, BUTTON, struct.pack("=III", _now(), BUTTONS[button], pressed))
            self._frame()

    def keys(self, *names: str):
        for name in names:
            for pressed in (1, 0):
                self._send(self._keyboard, KEY, struct.pack("=III", _now(), KEYS[name], pressed))
                self._roundtrip()
            time.sleep(0.03)

    def _frame(self):
        self._send(self._pointer, FRAME, b"")
        self._roundtrip()

    def _new(self) -> int:
        self._last += 1
        return self._last

    def _bind(self, interface: str) -> int:
        if interface not in self._globals:
            raise SteeringError(f"the compositor has no {interface}")
        new = self._new()
        self._send(REGISTRY, BIND, struct.pack("=I", self._globals[interface]) + _text(interface)
                   + struct.pack("=II", 1, new))
        return new

    def _create(self, manager: int, seat: int) -> int:
        new = self._new()
        self._send(manager, CREATE, struct.pack("=II", seat, new))
        return new

    def _send(self, target: int, request: int, arguments: bytes, descriptor: int | None = None):
        message = struct.pack("=II", target, (8 + len(arguments)) << 16 | request) + arguments
        rights = [] if descriptor is None else [
            (socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [descriptor]))]
        self._socket.sendmsg([message], rights)

    def _roundtrip(self):
        """Returns when the compositor has handled all requests."""
        done = self._new()
        self._send(DISPLAY, SYNC, struct.pack("=I", done))
        while True:
            sender, event, arguments = self._receive()
            if sender == done:
                return
            if sender == DISPLAY and event == 0:
                raise SteeringError(f"protocol error: {arguments!r}")
            if sender == REGISTRY and event == 0:
                name, length = struct.unpack_from("=II", arguments)
                self._globals[arguments[8:8 + length - 1].decode()] = name

    def _receive(self) -> tuple[int, int, bytes]:
        while len(self._received) < 8 or len(self._received) < self._size():
            more = self._socket.recv(65536)
            if not more:
                raise SteeringError("the compositor has ended")
            self._received += more
        size = self._size()
        sender, head = struct.unpack_from("=II", self._received)
        arguments, self._received = self._received[8:size], self._received[size:]
        return sender, head & 0xFFFF, arguments

    def _size(self) -> int:
        return struct.unpack_from("=I", self._received, 4)[0] >> 16


def _now() -> int:
    return int(time.monotonic() * 1000) & 0xFFFFFFFF


def _text(text: str) -> bytes:
    data = text.encode() + b"\0"
    return struct.pack("=I", len(data)) + data + b"\0" * (-len(data) % 4)
