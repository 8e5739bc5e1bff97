"""Rows about the windows, on a display of their own with a window manager."""

import contextlib
import os
import re
import socket
import struct
import subprocess
import time

from rig import TITLE, Failure, Gateway, Row, await_true, memory_mib, processor_seconds, started, wake_ups

SECONDS = 10


def display(stack, folder):
    """Starts an X server on a free display, with a window manager that manages. Gives the display's name."""
    folder.mkdir()
    reading, writing = os.pipe()
    server = stack.enter_context(subprocess.Popen(
        ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1600x1200x24", "-nolisten", "tcp", "-noreset"],
        pass_fds=[writing], stderr=subprocess.DEVNULL))
    stack.callback(server.terminate)
    os.close(writing)
    with os.fdopen(reading) as told:
        name = f":{int(told.readline())}"
    managing = folder / "managing"
    environment = {**os.environ, "DISPLAY": name}
    stack.enter_context(started(["openbox", "--sm-disable", "--startup", f"touch {managing}"], folder / "manager.log",
                                environment))
    await_true("the window manager", managing.exists)
    return name


@contextlib.contextmanager
def open_association(port):
    """A peer that has an association and sends nothing."""
    def item(kind, content):
        return struct.pack(">BBH", kind, 0, len(content)) + content

    context = item(0x20, b"\x01\0\0\0" + item(0x30, b"1.2.840.10008.5.1.4.1.1.2") + item(0x40, b"1.2.840.10008.1.2.1"))
    body = (struct.pack(">HH", 1, 0) + TITLE.encode().ljust(16) + b"BENCH".ljust(16) + bytes(32)
            + item(0x10, b"1.2.840.10008.3.1.1.1") + context
            + item(0x50, item(0x51, struct.pack(">I", 16384)) + item(0x52, b"1.2.3")))
    with socket.create_connection(("127.0.0.1", port)) as peer:
        peer.sendall(struct.pack(">BBI", 1, 0, len(body)) + body)
        if peer.recv(1) != b"\x02":
            raise Failure("the gateway took no association")
        yield


def face(bench):
    """What the dashboard takes of a core: at rest, with arrows that move, and out of sight."""
    with contextlib.ExitStack() as stack:
        name = display(stack, bench.fresh("display"))
        gateway = Gateway(stack, bench.binaries, bench.fresh("face"), display=name)
        environment = {**os.environ, "DISPLAY": name}

        def on_windows(*action):
            return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Quorin Gateway$", *action],
                                  env=environment, capture_output=True, check=False).returncode == 0

        def share():
            time.sleep(3)  # what opening and closing leave to do
            before = processor_seconds(gateway.pid), wake_ups(gateway.pid)
            time.sleep(SECONDS)
            return (processor_seconds(gateway.pid) - before[0]) / SECONDS, wake_ups(gateway.pid) - before[1]

        gateway.must()  # a second start brings the first one's dashboard to the front
        await_true("the dashboard", on_windows)
        at_rest, turns = share()
        memory = memory_mib(gateway.pid)
        with open_association(gateway.port):
            flowing, _ = share()
            if not on_windows("windowminimize", "%@"):
                raise Failure("the dashboard can't be minimised")
            hidden, _ = share()
        busy = subprocess.run([bench.binaries / "quorin-face-bench", str(SECONDS)], capture_output=True, text=True,
                              env={**environment, "QT_QPA_PLATFORM": "xcb"}, check=True).stdout
        tail, longest, told = re.search(r"p99 ([\d.]+), longest ([\d.]+), share ([\d.]+)%", busy).groups()
    return [Row("dashboard at rest, share of a core", f"{at_rest:.2%}", goal="< 0.2 %"),
            Row(f"  wake-ups in {SECONDS} s", f"{turns}", goal="timers only"),
            Row("  memory of the tree, MiB", f"{memory:.0f}"),
            Row("dashboard with arrows flowing, share of a core", f"{flowing:.2%}", goal="< 3 %"),
            Row("dashboard minimised while an association is open", f"{hidden:.2%}", goal="nothing"),
            Row("dashboard at 500 images/s: an event, ms of processor (p99)", f"{longest} ({tail})",
                goal="<= 8 ms at most"),
            Row("  share of a core", f"{told} %")]
