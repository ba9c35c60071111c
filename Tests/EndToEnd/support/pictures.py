"""Reads screenshots."""

import pathlib
import re
import struct
import zlib

LIGHTNESS = bytes(value >= 0xE4 for value in range(256))
# At least forty light pixels beside each other: a card, not a letter or the pointer.
RUN = re.compile(rb"\x01{120,}")


class Picture:
    """A picture with three bytes per pixel."""

    def __init__(self, width: int, height: int, pixels: bytes):
        self.width, self.height, self._pixels = width, height, pixels

    @classmethod
    def read(cls, path: pathlib.Path) -> "Picture":
        """In the format PPM."""
        _, size, _, pixels = path.read_bytes().split(b"\n", 3)
        return cls(*map(int, size.split()), pixels)

    def rows(self) -> bytes:
        return self._pixels

    def row(self, y: int) -> bytes:
        return self._pixels[y * self.width * 3:(y + 1) * self.width * 3]

    def pixel(self, x: int, y: int) -> bytes:
        return self.row(y)[x * 3:x * 3 + 3]

    def around(self, x: int, y: int, reach: int) -> list[bytes]:
        return [self.row(row)[(x - reach) * 3:(x + reach) * 3] for row in range(y - reach, y + reach)]

    def light_area(self, before: "Picture", begin: int = 0,
                   end: int | None = None) -> tuple[int, int, int, int] | None:
        """x, y, width and height of what is light only in this picture, between two columns."""
        columns = slice(3 * begin, end and 3 * end)
        left, right, rows = self.width, 0, []
        for y in range(self.height):
            if self.row(y) == before.row(y):
                continue
            row = self.row(y)[columns]
            light, was_light = (int.from_bytes(part.translate(LIGHTNESS), "big")
                                for part in (row, before.row(y)[columns]))
            runs = list(RUN.finditer((light & ~was_light).to_bytes(len(row), "big")))
            if runs:
                rows.append(y)
                left = min(left, begin + runs[0].start() // 3)
                right = max(right, begin + runs[-1].end() // 3)
        return (left, rows[0], right - left, rows[-1] + 1 - rows[0]) if rows else None

    def save(self, path: pathlib.Path, x: int, y: int, width: int, height: int):
        """Writes that part as PNG."""
        def chunk(kind: bytes, data: bytes) -> bytes:
            return (struct.pack(">I", len(data)) + kind + data
                    + struct.pack(">I", zlib.crc32(kind + data)))
        rows = b"".join(b"\0" + self.row(y + row)[3 * x:3 * (x + width)] for row in range(height))
        path.write_bytes(b"\x89PNG\r\n\x1a\n"
                         + chunk(b"IHDR", struct.pack(">2I5B", width, height, 8, 2, 0, 0, 0))
                         + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))
