"""A small desktop of one's own: X server, window manager, tray, session bus with assistive technology; a hand
that clicks and types in it, and eyes that take pictures."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from accessible import Accessibility, Gone

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "e2e"))
from harness import PATIENCE_SECONDS, await_true  # noqa: E402

SCREEN = (1600, 1200)
SERVICE = "/usr/share/dbus-1/services/org.a11y.Bus.service"
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <servicedir>{folder}/services</servicedir>
  <policy context="default">
    <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
  </policy>
</busconfig>
"""
MANAGER = """<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew></focus>
  <desktops><number>1</number><popupTime>0</popupTime></desktops>
  <mouse><context name="Client">
    <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
  </context></mouse>
</openbox_config>
"""


class Desktop:
    """Owner: a test, which closes it. Nothing of the user's own session is touched."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="face-"))
        self._started = []
        self._pictures = Path(os.environ.get("QUORIN_FACE_PICTURES") or self.folder / "pictures")
        self._pictures.mkdir(parents=True, exist_ok=True)
        self.locale = "C.UTF-8"  # of programs that are started from now on
        self.scale = 1  # of what they draw
        self.home = self.folder / "person"
        self.home.mkdir()
        self._variables = {"HOME": str(self.home), "XDG_RUNTIME_DIR": str(self.folder), "NO_AT_BRIDGE": "1", "GDK_BACKEND": "x11",
                           "XDG_CONFIG_HOME": str(self.folder / "config"),
                           "XDG_CACHE_HOME": str(self.folder / "cache"),
                           "XDG_DATA_HOME": str(self.folder / "data")}
        self._make_opener()
        self._start_screen()
        self._start_bus()
        self._start_manager_and_tray()
        self.accessibility = Accessibility(self._variables["DBUS_SESSION_BUS_ADDRESS"])

    @property
    def variables(self):
        """What a program of this desktop finds in its environment."""
        return self._variables | {"QT_QPA_PLATFORM": "xcb", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                                  "QT_SCALE_FACTOR": str(self.scale), "QT_IM_MODULE": "none", "LC_ALL": self.locale}

    def start(self, *command, variables=None, **more):
        """A program of this desktop, with all that it starts in a group of its own."""
        kept = {name: value for name, value in os.environ.items()
                if name not in ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS")}
        log = open(self.folder / f"{Path(str(command[0])).name}.log", "ab")
        with log:
            process = subprocess.Popen([str(part) for part in command], env=kept | self._variables | (variables or {}),
                                       stdout=more.pop("stdout", log), stderr=log, start_new_session=True, **more)
        self._started.append(process)
        return process

    def close(self):
        if hasattr(self, "accessibility"):
            self.accessibility.close()
        for process in reversed(self._started):
            try:
                os.killpg(process.pid, signal.SIGTERM)
                process.wait(PATIENCE_SECONDS)
            except ProcessLookupError:
                process.wait()
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _make_opener(self):
        """What programs hand files and folders to; keeps the names."""
        opener = self.folder / "bin/xdg-open"
        opener.parent.mkdir()
        opener.write_text(f'#!/bin/sh\necho "$1" >>{self.folder}/opened\n', encoding="utf-8")
        opener.chmod(0o755)
        self._variables["PATH"] = f"{opener.parent}:{os.environ['PATH']}"

    def opened(self):
        """What programs asked the desktop to open."""
        names = self.folder / "opened"
        return names.read_text(encoding="utf-8").splitlines() if names.exists() else []

    def _start_screen(self):
        reading, writing = os.pipe()
        server = self.start("Xvfb", "-displayfd", writing, "-screen", "0", f"{SCREEN[0]}x{SCREEN[1]}x24",
                            "-nolisten", "tcp", "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as told:
            number = told.readline().strip()  # written when it is ready
        if not number:
            raise AssertionError(f"the X server ended with {server.wait()}")
        self._variables["DISPLAY"] = f":{number}"

    def _start_bus(self):
        """Only the accessibility service can be started by the bus: no key ring, no portal."""
        services = self.folder / "services"
        services.mkdir()
        shutil.copy(SERVICE, services)
        config = self.folder / "bus.conf"
        config.write_text(BUS.format(folder=self.folder), encoding="utf-8")
        self._variables["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.folder}/bus"
        bus = self.start("dbus-daemon", f"--config-file={config}", "--nofork", "--nosyslog")
        await_true("the session bus", lambda: (self.folder / "bus").exists(), bus)

    def _start_manager_and_tray(self):
        config = self.folder / "manager.xml"
        config.write_text(MANAGER, encoding="utf-8")
        manager = self.start("openbox", "--sm-disable", "--config-file", config)
        await_true("the window manager", lambda: self._xdotool("get_num_desktops", check=False) == "1", manager)
        tray = self.start("trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "28",
                          "--tint", "0x202020")
        await_true("the tray", lambda: self.window_ids("--class", "trayer"), tray)

    # The hand

    def _xdotool(self, *arguments, check=True):
        ended = subprocess.run(["xdotool", *[str(part) for part in arguments]], capture_output=True, text=True,
                               env=dict(os.environ) | self._variables, timeout=PATIENCE_SECONDS)
        if check and ended.returncode != 0:
            raise AssertionError(f"xdotool {arguments}: {ended.stderr}")
        return ended.stdout.strip()

    def window_ids(self, *search):
        """The shown windows that xdotool's search finds."""
        return self._xdotool("search", "--onlyvisible", *search, check=False).split()

    def geometry(self, window_id):
        """x, y, width, height of a window."""
        told = dict(re.findall(r"^(\w+)=(-?\d+)$", self._xdotool("getwindowgeometry", "--shell", window_id), re.M))
        return tuple(int(told[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def minimize(self, window_id):
        """As a desktop does whose key for that is pressed."""
        self._xdotool("windowminimize", window_id)

    def click(self, target, button=1):
        """Presses on a widget's middle, or at a point."""
        x, y = target if isinstance(target, tuple) else self._middle(target)
        self._xdotool("mousemove", x, y, "click", button)

    def click_often(self, target, times):
        """Clicks on a widget's middle, some 150 ms apart."""
        x, y = self._middle(target)
        self._xdotool("mousemove", x, y, "click", "--repeat", times, "--delay", 150, 1)

    def point_at(self, target):
        x, y = target if isinstance(target, tuple) else self._middle(target)
        self._xdotool("mousemove", x, y)

    def drag(self, start, end):
        """Takes what is under the first point to the second, in small steps as a hand does."""
        self._xdotool("mousemove", *start, "mousedown", 1)
        steps = 20
        for step in range(1, steps + 1):
            point = [a + (b - a) * step // steps for a, b in zip(start, end)]
            self._xdotool("mousemove", *point)
        return lambda: self._xdotool("mouseup", 1)

    def keys(self, *names):
        """Presses keys, one after the other, wherever the keyboard's focus is."""
        self._xdotool("key", "--clearmodifiers", *names)

    def write(self, text):
        self._xdotool("type", "--clearmodifiers", "--delay", 1, text)

    def _middle(self, widget):
        """In the screen's own dots: programs tell assistive tools of those that they count in."""
        x, y = self._settled(widget).middle
        return x * self.scale, y * self.scale

    def _settled(self, widget):
        """Where a widget is once it doesn't move any more."""
        last = []

        def rests():
            last.append(widget.place)
            return len(last) > 1 and last[-1] == last[-2] and last[-1].width > 0
        await_true(f"{widget} to be in its place", rests)
        return last[-1]

    # The eyes

    def window(self, title):
        """The window of that title, once it is shown."""
        def shown():
            for window in self.accessibility.windows():
                try:
                    if window.name == title and "showing" in window.states:
                        return window
                except Gone:
                    continue
            return None
        return await_true(f"the window “{title}”", shown)

    def window_with(self, name):
        """A shown window that shows something of that name (a pattern), or None."""
        for window in self.accessibility.windows():
            try:
                if "showing" in window.states and window.find(name):
                    return window
            except Gone:
                continue
        return None

    def see(self, within, name, role=None, *processes):
        """The widget of that name (a pattern), once it is shown."""
        try:
            return await_true(f"{role or 'something'} “{name}”", lambda: within.find(name, role), *processes)
        except AssertionError as failure:
            self.picture("failure")
            raise AssertionError(f"{failure}; shown are: " + "; ".join(within.words())) from None

    def see_gone(self, within, name, role=None):
        await_true(f"“{name}” to go", lambda: within.find(name, role) is None)

    def picture(self, name):
        """Takes the whole screen."""
        file = self._pictures / f"{name}.png"
        subprocess.run(["import", "-window", "root", file], check=True, env=dict(os.environ) | self._variables,
                       timeout=PATIENCE_SECONDS)
        return file
