"""Starts quoxelind-sim, steers it and reads its output; see docs/simulation.md."""

import os
import pathlib
import re
import shutil
import tempfile
import urllib.request

from .steered import DEADLINE, SteeredProcess, SteeringError

SimError = SteeringError

# The login page is on this machine, so no proxy may be used.
browser = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def build_directory() -> pathlib.Path:
    """The directory of the programs: QUOXELIN_BUILD_DIR, or build/release of this checkout."""
    root = pathlib.Path(__file__).resolve().parents[3]
    return root / os.environ.get("QUOXELIN_BUILD_DIR", "build/release")


class Request:
    """One request as quoxelind-sim received it; `bytes` holds all its bytes."""

    def __init__(self, record: dict):
        self.index: int = record["index"]
        self.at: float = record["at"]
        self.complete: bool = record["complete"]
        self.method: str = record["method"]
        self.target: str = record["target"]
        self.headers: list[tuple[str, str]] = [tuple(field) for field in record["headers"]]
        self.body: str = record["body"]
        self.bytes: bytes = record["bytes"].encode("latin-1")

    def __repr__(self):
        return f"<Request {self.index} {self.method} {self.target}>"


class Sim(SteeredProcess):
    """A running quoxelind-sim on a private socket.

        with Sim("--logged-in") as sim:
            sim.jail("disk not encrypted")
            sim.wait(requests=1, path="/localapi/v0/profiles")
    """

    def __init__(self, *options: str, socket: str | os.PathLike | None = None):
        self._directory = None
        if socket is None:
            # The test's directory may have too long a path for a Unix address.
            self._directory = tempfile.mkdtemp(prefix="qxsim-")
            socket = os.path.join(self._directory, "d.sock")
        self.socket = str(socket)
        super().__init__([build_directory() / "quoxelind-sim", "--socket", self.socket, *options])
        try:
            self.web: str = self.wait_event("listening")["web"]
        except SimError:
            self.end()
            raise

    def __enter__(self):
        return self

    def __exit__(self, failure, *_):
        was_running = self.is_running()
        code = self.end()
        if was_running and code != 0 and failure is None:
            raise SimError(f"quoxelind-sim ended with exit code {code}: {self.standard_error}")

    def end(self) -> int:
        try:
            return super().end()
        finally:
            if self._directory:
                shutil.rmtree(self._directory, ignore_errors=True)

    # Steering; `wait` knows requests (with method, path), observers, connections, state.

    def notify(self, **notification) -> dict:
        """Sends every observer a notification with these members."""
        return self.do("notify", notification=notification)

    def raw(self, data: bytes, **members) -> dict:
        """Sends every observer these bytes; split and pause send them in pieces."""
        return self.do("raw", bytes=data.decode("latin-1"), **members)

    def answer_request(self, path: str, **members) -> dict:
        """Answers requests for a path with status, json, text, ..."""
        return self.do("answer", path=path, **members)

    def answer_raw(self, path: str, data: bytes, **members) -> dict:
        """Answers requests for a path with exactly these bytes."""
        return self.do("answer-raw", path=path, bytes=data.decode("latin-1"), **members)

    def jail(self, reason: str | None = None) -> dict:
        return self.do("jail", reason=reason)

    def unjail(self) -> dict:
        return self.do("unjail")

    def login_url(self) -> str | None:
        return self.do("login-url")["url"]

    def status(self) -> dict:
        return self.do("status")

    def requests(self, **members) -> list[Request]:
        """The received requests in order; since, method and path filter them."""
        return [Request(record) for record in self.do("requests", **members)["requests"]]

    def visit_login(self) -> str:
        """Logs in like a browser, button included, and returns the callback URL."""
        url = self.login_url()
        if url is None:
            raise SimError("no login waits for its completion")
        with browser.open(url, timeout=DEADLINE) as page:
            if '<form method="post">' not in page.read().decode():
                raise SimError("the login page has no button")
        with browser.open(url, data=b"", timeout=DEADLINE) as page:
            found = re.fullmatch(r"0; url=(quoxelin://\S+)", page.headers["Refresh"] or "")
        if not found:
            raise SimError("the login page does not lead back into the application")
        return found[1]
