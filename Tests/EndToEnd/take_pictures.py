#!/usr/bin/env python3
"""Takes the pictures of the panel on several desktops: take_pictures.py DIRECTORY. The build is
QUOXELIN_BUILD_DIR, build/release by default."""
import contextlib
import pathlib
import sys
import time

from support.application import Application
from support.desktop import ICONS, WIDTH, Desktop
from support.nested import Nested
from support.sim import Sim
from support.sway import Sway

SIZE = 620, 620


@contextlib.contextmanager
def x11(window_manager, tray):
    with Desktop(window_manager) as desktop:
        desktop.start_tray(tray)
        yield desktop, lambda: desktop.click(*ICONS[tray]), lambda: desktop.screen.picture(
            desktop.width, desktop.height), 0 if tray == "xfce4-panel" else WIDTH - SIZE[0]


@contextlib.contextmanager
def sway():
    with Sway() as desktop:
        yield desktop, desktop.click_icon, desktop.picture, desktop.width - SIZE[0]


@contextlib.contextmanager
def nested(compositor):
    with Nested(compositor) as desktop:
        def click():
            desktop.move(1200, 12)
            desktop.activate_item(1200, 12)
        yield desktop, click, desktop.picture, 1280 - SIZE[0]


def main(directory: pathlib.Path):
    desktops = {"openbox": lambda: x11("openbox", "trayer"),
                "xfce": lambda: x11("xfwm4", "xfce4-panel"), "sway": sway,
                "kwin": lambda: nested("kwin"), "mutter": lambda: nested("mutter")}
    for name, desktop in desktops.items():
        with Sim("--logged-in") as sim, desktop() as (running, click, picture, left), Application(
                sim.socket, environment=running.environment) as application:
            application.wait_log("[State] Got 2 profiles")
            time.sleep(1)  # until the icon is drawn
            click()
            application.wait_text('"Connected"', '"More"')
            application.press("More")
            application.wait_text('"Logout"')
            time.sleep(0.5)
            picture().save(directory / f"{name}.png", left, 0, *SIZE)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
