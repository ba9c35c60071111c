import os

import pytest

from support.application import Application
from support.sim import Sim

# What the tests fetch is on this machine, whatever proxy the environment names.
for name in ("http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"):
    os.environ.pop(name, None)


@pytest.fixture
def daemon():
    """A daemon to which nobody is logged in."""
    with Sim() as sim:
        yield sim


@pytest.fixture
def logged_in_daemon():
    """A daemon with both profiles logged in, the first one running."""
    with Sim("--logged-in") as sim:
        yield sim


@pytest.fixture
def application(daemon):
    """The application, following that daemon's notifications, its panel open."""
    with Application(daemon.socket) as running:
        running.wait_log("[State] HashiBus connected")
        running.show_panel()
        yield running
