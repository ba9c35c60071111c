"""The table that scripts/bench prints: what ours costs beside a reference."""

import math
from typing import Callable, NamedTuple

from support.steered import SteeringError

HEADINGS = ("measured", "ours", "reference", "beside", "ratio", "at most", "met")


class Row(NamedTuple):
    """`ours` and `reference` have the same unit. Without `at_most` the row only informs; with `gap`,
    the reason, it was not measured."""

    name: str
    ours: float = 0
    reference: float = 0
    unit: str = ""
    beside: str = ""
    at_most: float | None = None
    gap: str | None = None

    @property
    def ratio(self) -> float:
        if self.reference:
            return self.ours / self.reference
        return math.inf if self.ours else 0

    @property
    def verdict(self) -> str:
        if self.gap:
            return "not measured"
        if self.at_most is None:
            return "-"
        return "yes" if self.ratio <= self.at_most else "no"

    def cells(self) -> tuple[str, ...]:
        if self.gap:
            return (self.name, "-", "-", self.gap, "-", number(self.at_most), self.verdict)
        # One more digit than a limit has, so that a ratio just above it does not look equal.
        return (self.name, amount(self.ours, self.unit), amount(self.reference, self.unit), self.beside,
                "-" if math.isinf(self.ratio) else f"{self.ratio:.3g}", number(self.at_most), self.verdict)


def collect(parts: dict[str, Callable[[], list[Row]]]) -> list[Row]:
    """The rows of all parts. One that waits in vain stays in the table with what it waited for."""
    rows = []
    for name, measure in parts.items():
        try:
            rows += measure()
        except (TimeoutError, SteeringError) as failure:
            rows.append(Row(name, gap=str(failure)))
    return rows


def number(value: float | None) -> str:
    return "-" if value is None else f"{value:g}"


def amount(value: float, unit: str) -> str:
    digits = 0 if value >= 1000 or value == int(value) else max(0, 2 - math.floor(math.log10(abs(value))))
    return f"{value:,.{digits}f} {unit}".strip()


def render(rows: list[Row]) -> str:
    """A table that is also Markdown."""
    lines = [HEADINGS, *(row.cells() for row in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    texts = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |"
             for line in lines]
    texts.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(texts)


def summary(rows: list[Row]) -> str:
    verdicts = [row.verdict for row in rows]
    return (f"{verdicts.count('yes')} met, {verdicts.count('no')} not met, "
            f"{verdicts.count('not measured')} not measured")
