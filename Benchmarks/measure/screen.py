"""Sees what an X server shows as soon as it changes, and clicks without another program."""

import queue
import select
import threading
import time
from typing import Callable, NamedTuple

from Xlib import X, display
from Xlib.ext import damage, xtest

Area = tuple[int, int, int, int]


class Change(NamedTuple):
    """A rectangle that was drawn, and when this program heard of it (time.monotonic)."""

    at: float
    x: int
    y: int
    width: int
    height: int

    def touches(self, area: Area) -> bool:
        x, y, width, height = area
        return (self.x < x + width and x < self.x + self.width
                and self.y < y + height and y < self.y + self.height)


class Watch:
    """Collects the server's damage events for the whole screen."""

    def __init__(self, name: str):
        self._display = display.Display(name)
        self._display.damage_query_version()
        self._display.screen().root.damage_create(damage.DamageReportRawRectangles)
        self._display.sync()
        self._pointer = display.Display(name)
        self._changes: queue.SimpleQueue[Change] = queue.SimpleQueue()
        self._ends = threading.Event()
        self._reader = threading.Thread(target=self._read)

    def __enter__(self):
        self._reader.start()
        return self

    def __exit__(self, *_):
        self._ends.set()
        self._reader.join()
        self._display.close()
        self._pointer.close()

    def _read(self):
        while not self._ends.is_set():
            select.select([self._display], [], [], 0.2)
            at = time.monotonic()
            for _ in range(self._display.pending_events()):
                area = self._display.next_event().area
                self._changes.put(Change(at, area.x, area.y, area.width, area.height))

    def forget(self):
        """Drops the changes so far."""
        while not self._changes.empty():
            self._changes.get()

    def next_in(self, area: Area, holds: Callable[[], bool], patience: float = 10) -> float | None:
        """When the first change in the area came after which the condition holds; None if none did."""
        end = time.monotonic() + patience
        while (left := end - time.monotonic()) > 0:
            try:
                change = self._changes.get(timeout=left)
            except queue.Empty:
                return None
            if change.touches(area) and holds():
                return change.at
        return None

    def move(self, x: int, y: int):
        self._pointer.screen().root.warp_pointer(x, y)
        self._pointer.sync()

    def click(self) -> float:
        """Presses and releases the first button, and returns when."""
        at = time.monotonic()
        xtest.fake_input(self._pointer, X.ButtonPress, 1)
        xtest.fake_input(self._pointer, X.ButtonRelease, 1)
        self._pointer.flush()
        return at
