"""How long the panel takes to show what the daemon sends. Counted is the time of its thread, and of
several times the least: other programs slow it down through the caches that they share with it."""

import pytest

from support.application import surroundings
from support.sim import build_directory
from support.steered import SteeredProcess


@pytest.fixture
def panel(tmp_path):
    program = SteeredProcess([build_directory() / "panel-states"], env=surroundings(tmp_path))
    try:
        yield program
    finally:
        program.end()


def milliseconds(answer: dict) -> float:
    return answer["microseconds"] / 1000


@pytest.mark.parametrize("state", ["more", "switch-account"])
def test_a_thousand_accounts_that_arrive_in_an_open_popover_are_shown_within_100_ms(panel, state):
    costs = []
    for _ in range(10):
        panel.do("show", state=state)
        costs.append(milliseconds(panel.do("accounts", count=1000)))
    assert min(costs) < 100


@pytest.mark.parametrize("field", ["name", "host", "addresses", "reason"])
@pytest.mark.parametrize("piece", ["x", "word ", "line\n", "許可", "a-b.c:d/"])
def test_a_text_of_100_000_characters_is_shown_within_10_ms(panel, field, piece):
    text = "fd7a::" + piece * (100_000 // len(piece))
    costs = []
    for _ in range(5):
        panel.do("show", state="jailed")
        costs.append(milliseconds(panel.do("long_text", field=field, text=text)))
    assert min(costs) < 10
