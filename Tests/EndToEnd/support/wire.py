"""The bytes of the application's requests, written out."""

OBSERVE = b"GET /localapi/v0/observe-hashi-bus HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n"
LOGOUT = b"POST /localapi/v0/logout HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n"
_EMPTY = b"Content-Length: 0\r\nConnection: close\r\n\r\n"
START_LOGIN = b"POST /localapi/v0/login HTTP/1.1\r\nHost: local-quoxelind.sock\r\n" + _EMPTY
PROFILES = b"GET /localapi/v0/profiles HTTP/1.1\r\nHost: local-quoxelind.sock\r\n" + _EMPTY
STATUS = PROFILES.replace(b"profiles", b"status")
WANT_RUNNING = (
    b"PATCH /localapi/v0/hatago HTTP/1.1\r\n"
    b"Host: local-quoxelind.sock\r\n"
    b"Content-Length: 42\r\n"
    b"Connection: close\r\n"
    b"Content-Type: application/json\r\n"
    b"\r\n"
    b'{"WantRunning":true,"WantRunningSet":true}'
)
WANT_STOPPED = WANT_RUNNING.replace(b"42", b"43").replace(b":true,", b":false,")


def switch_profile(encoded: bytes) -> bytes:
    return START_LOGIN.replace(b"login", b"profiles/switch?id=" + encoded)
