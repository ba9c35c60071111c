import os

import pytest

from support import box as boxes
from support.application import Application
from support.sim import Sim, build_directory
from support.vpn_adapter import adapter, plugin

# Everything that the tests fetch is on this machine, so do not use a proxy.
for name in ("http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"):
    os.environ.pop(name, None)


@pytest.fixture
def daemon():
    """A daemon without a logged-in user."""
    with Sim() as sim:
        yield sim


@pytest.fixture
def logged_in_daemon():
    """A daemon with both profiles logged in and the first one running."""
    with Sim("--logged-in") as sim:
        yield sim


@pytest.fixture
def application(daemon):
    """The application with its panel open, following that daemon's notifications."""
    with Application(daemon.socket) as running:
        running.wait_log("[State] HashiBus connected")
        running.show_panel()
        yield running


@pytest.fixture(scope="module")
def box():
    """A separate machine with the product and running system services, shared by a file's tests."""
    if reason := boxes.why_not():
        pytest.fail(f"no box on this machine: {reason}")
    with boxes.Box(boxes.HERE / "install", build_directory()) as box:
        box.start_services()
        yield box


# Tests that need a box are skipped on machines that do not allow one. The summary says so
# prominently; with CI=true it is a failure.
left_out = pytest.StashKey[list]()


@pytest.hookimpl(tryfirst=True)  # xdist reads the marks
def pytest_collection_modifyitems(config, items):
    config.stash[left_out] = []
    need = [item for item in items if "box" in item.fixturenames]
    if not need or os.environ.get("CI") == "true" or not boxes.why_not():
        for item in need:
            # Tests of one box must run in order in one of the processes that share the tests.
            item.add_marker(pytest.mark.xdist_group(item.path.name))
        return
    config.stash[left_out] = [item.nodeid for item in need]
    config.hook.pytest_deselected(items=need)
    items[:] = [item for item in items if item not in need]


def pytest_sessionfinish(session):
    if hasattr(session.config, "workeroutput"):
        session.config.workeroutput["left out"] = session.config.stash.get(left_out, [])


@pytest.hookimpl(optionalhook=True)
def pytest_testnodedown(node):
    """Called when a test process ends; all of them have skipped the same tests."""
    node.config.stash[left_out] = getattr(node, "workeroutput", {}).get("left out", [])


def pytest_terminal_summary(terminalreporter, config):
    missing = config.stash.get(left_out, [])
    if not missing:
        return
    terminalreporter.section("NOT TESTED", sep="!", red=True)
    terminalreporter.line(f"No box on this machine: {boxes.why_not()}.")
    terminalreporter.line(f"{len(missing)} tests against the real system services were left out:")
    for name in missing:
        terminalreporter.line(f"  {name}")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    report = (yield).get_result()
    if report.failed and isinstance(box := item.funcargs.get("box"), boxes.Box):
        for name, text in box.logs().items():
            report.sections.append((f"{name} in the box", text[-8000:]))
