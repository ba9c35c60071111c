"""What scripts/bench makes of its figures. Measures nothing."""
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "Benchmarks"), str(ROOT / "Tests/EndToEnd")]

from measure.growth import script  # noqa: E402
from measure.library import unused  # noqa: E402
from measure.relay import renamed  # noqa: E402
from measure.table import Row, collect, render, summary  # noqa: E402


@pytest.mark.parametrize(
    "ours, reference, at_most, verdict",
    [(2.0, 1.0, 2.0, "yes"), (2.001, 1.0, 2.0, "no"), (0, 0, 1, "yes"), (1, 0, 1, "no"), (9, 1, None, "-")],
)
def test_a_row_is_met_up_to_its_limit(ours, reference, at_most, verdict):
    assert Row("row", ours, reference, "ms", "beside", at_most).verdict == verdict


def test_a_ratio_just_above_its_limit_does_not_look_equal():
    row = Row("size", 1_877_360, 1_800_000, "bytes", "1.8 MB", 1)
    assert row.cells() == ("size", "1,877,360 bytes", "1,800,000 bytes", "1.8 MB", "1.04", "1", "no")


def test_what_was_not_measured_stays_in_the_table_with_its_reason():
    rows = [Row("start", gap="nm-applet is not installed", at_most=0.5), Row("log", 1, 2, "ns", "x", 1)]
    table = render(rows)
    assert "nm-applet is not installed" in table and "not measured" in table
    assert summary(rows) == "1 met, 0 not met, 1 not measured"


def test_a_part_that_waits_in_vain_does_not_end_the_others():
    def fail():
        raise TimeoutError("a click changed nothing")

    rows = collect({"click": fail, "log": lambda: [Row("log", 1, 2, "ns", "x", 1)]})
    assert [row.verdict for row in rows] == ["not measured", "yes"]
    assert rows[0].gap == "a click changed nothing"


def test_a_library_is_unused_if_nothing_else_takes_a_symbol_from_it():
    log = "".join(f"calling init: /lib/lib{name}.so\n" for name in ("a", "b", "c"))
    log += "calling init: /usr/lib/libd.so\nopening file=/usr/lib/libd.so [0]; direct_opencount=1\n"
    log += "binding file /bin/x [0] to /lib/liba.so [0]: normal symbol `f'\n"
    log += "binding file /lib/libb.so [0] to /lib/libb.so [0]: normal symbol `g'\n"
    assert unused(log) == {"/lib/libb.so", "/lib/libc.so"}


def test_only_the_name_of_the_users_own_machine_changes():
    line = b'{"NetMap":{"SelfNode":{"Node":{"ID":1,"Name":"a"}},"Peers":[{"Node":{"Name":"a"}}]}}'
    assert renamed(line, "b") == line.replace(b'"ID":1,"Name":"a"', b'"ID":1,"Name":"b"')
    with pytest.raises(ValueError):
        renamed(b'{"State":"Running"}', "b")


def test_the_picture_has_every_curve():
    text = script({"peers": [(10, 0.5), (100, 5)], "lines": [(1, 2)]}, pathlib.Path("out.svg"))
    assert 'title "peers", ' in text and 'title "lines"\n' in text
    assert text.endswith("10 0.5\n100 5\ne\n1 2\ne\n")


@pytest.mark.parametrize("arguments", [["nonsense"], ["--nonsense"], ["desktop", "nonsense"]])
def test_bad_arguments_print_the_usage(arguments):
    done = subprocess.run([ROOT / "scripts/bench", *arguments], capture_output=True, text=True, timeout=60)
    assert done.returncode == 2
    assert "usage: scripts/bench" in done.stderr
