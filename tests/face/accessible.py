"""What assistive tools see of the programs on a desktop: AT-SPI over D-Bus, without a library between."""

import re
from dataclasses import dataclass

from gi.repository import Gio, GLib

ACCESSIBLE = "org.a11y.atspi.Accessible"
PATIENCE_MS = 10_000
STATES = {1: "active", 4: "checked", 8: "enabled", 11: "focusable", 12: "focused", 16: "modal",
          23: "selected", 25: "showing", 30: "visible"}  # AtspiStateType, those that are asked for
CONNECT = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION


class Gone(Exception):
    """The widget, or its program, isn't there any more."""


@dataclass(frozen=True)
class Place:
    """Where something is on the screen."""
    x: int
    y: int
    width: int
    height: int

    @property
    def middle(self):
        return self.x + self.width // 2, self.y + self.height // 2


class Widget:
    """One accessible object; everything is asked anew each time."""

    def __init__(self, bus, name, path):
        self._bus = bus
        self._name = name
        self._path = path

    def __eq__(self, other):
        return (self._name, self._path) == (other._name, other._path)

    def __hash__(self):
        return hash((self._name, self._path))

    def __repr__(self):
        try:
            return f'{self.role} "{self.name}"'
        except Gone:
            return "a widget that is gone"

    def _call(self, interface, method, arguments=None):
        try:
            return self._bus.call_sync(self._name, self._path, interface, method, arguments, None,
                                       Gio.DBusCallFlags.NONE, PATIENCE_MS, None).unpack()
        except GLib.Error as error:
            raise Gone(error.message) from None

    def _property(self, interface, name):
        return self._call("org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (interface, name)))[0]

    @property
    def name(self):
        return self._property(ACCESSIBLE, "Name")

    @property
    def description(self):
        return self._property(ACCESSIBLE, "Description")

    @property
    def role(self):
        return self._call(ACCESSIBLE, "GetRoleName")[0]

    @property
    def states(self):
        low, high = self._call(ACCESSIBLE, "GetState")[0]
        bits = low | high << 32
        return {word for bit, word in STATES.items() if bits >> bit & 1}

    @property
    def interfaces(self):
        return {one.rsplit(".", 1)[1] for one in self._call(ACCESSIBLE, "GetInterfaces")[0]}

    @property
    def place(self):
        return Place(*self._call("org.a11y.atspi.Component", "GetExtents", GLib.Variant("(u)", (0,)))[0])

    @property
    def text(self):
        return self._call("org.a11y.atspi.Text", "GetText", GLib.Variant("(ii)", (0, -1)))[0]

    def set_text(self, text):
        """As assistive tools do that write for a person, at once."""
        self._call("org.a11y.atspi.EditableText", "SetTextContents", GLib.Variant("(s)", (text,)))

    @property
    def value(self):
        return self._property("org.a11y.atspi.Value", "CurrentValue")

    @property
    def children(self):
        return [Widget(self._bus, name, path) for name, path in self._call(ACCESSIBLE, "GetChildren")[0]]

    def walk(self, into=lambda widget: True):
        """This one and all below it, in reading order; what dies meanwhile is left out."""
        yield self
        try:
            below = self.children if into(self) else []
        except Gone:
            return
        for child in below:
            yield from child.walk(into)

    def on_screen(self):
        """All below this one that are shown, with their role and name."""
        for widget in self.walk(lambda one: one.role != "table"):
            try:
                if "showing" in widget.states:
                    yield widget, widget.role, widget.name
            except Gone:
                continue

    def find(self, name, role=None):
        """The first shown widget whose whole name fits the pattern, or None."""
        for widget, its_role, its_name in self.on_screen():
            if (role is None or its_role == role) and re.fullmatch(name, its_name, re.S):
                return widget
        return None

    def words(self):
        """The names of all that is shown, for messages of tests."""
        return [f"{role}: {name}" for _, role, name in self.on_screen() if name]


class Accessibility:
    """The accessibility bus of a session."""

    def __init__(self, session_address):
        session = Gio.DBusConnection.new_for_address_sync(session_address, CONNECT, None, None)
        address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                    Gio.DBusCallFlags.NONE, PATIENCE_MS, None).unpack()[0]
        self._bus = Gio.DBusConnection.new_for_address_sync(address, CONNECT, None, None)
        self._session = session

    def programs(self):
        root = Widget(self._bus, "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
        return root.children

    def windows(self):
        """The top windows of all programs."""
        found = []
        for program in self.programs():
            try:
                found += program.children
            except Gone:
                continue
        return found

    def close(self):
        self._bus.close_sync(None)
        self._session.close_sync(None)
