"""Assertions about the order of entries."""


def assert_in_order(entries, *expected):
    """Expects each of `expected` in `entries`, in this order; others may lie between them."""
    rest = iter(entries)
    for one in expected:
        assert any(entry == one for entry in rest), (
            f"{one!r} is missing, or too early, in:\n" + "\n".join(map(repr, entries))
        )
