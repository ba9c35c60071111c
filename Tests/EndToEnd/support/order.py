"""Asserts about what came in which order."""


def assert_in_order(entries, *expected):
    """Each of `expected` is among `entries`, in this order; others may stand between."""
    rest = iter(entries)
    for one in expected:
        assert any(entry == one for entry in rest), (
            f"{one!r} is missing, or too early, in:\n" + "\n".join(map(repr, entries))
        )
