"""Measures the gateway beside its peers and prints one table.

Every row is made by one function, which returns what it measured as `Row`s. Figures of a shared machine are noisy: ratios
are taken in one run on the same files, side by side in turns, as the median of several rounds. All of it runs in a network
of its own, which has nothing but a loopback: peers that can't be told to bind it reach nobody.
"""

import argparse
import ctypes
import fcntl
import os
import platform
import re
import socket
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import absent
import face
import inside
import receiving
import sending
from rig import Bench, Failure

ROWS = {"receive-1": receiving.ct_on_one, "receive-4": receiving.ct_on_four, "receive-8": receiving.ct_on_eight,
        "receive-mr": receiving.mr_on_one, "receive-large": receiving.large_objects,
        "receive-busy": receiving.while_converting, "way": sending.way_original, "way-ls": sending.way_compressed,
        "upload": sending.upload,
        "away": absent.away, "refused": absent.refused, "codec": inside.codec, "idle": inside.idle, "face": face.face, "start": inside.start, "log": inside.log,
        "log-browser": inside.log_browser, "study-table": inside.study_table,
        "index": inside.index, "state": inside.state}

CLONE_NEWUSER, CLONE_NEWNET = 0x10000000, 0x40000000  # sched.h
SIOCSIFFLAGS, IFF_UP = 0x8914, 0x1  # linux/sockios.h, net/if.h


def leave_the_network():
    """Goes into a network namespace of its own and switches its loopback on."""
    user, group = os.getuid(), os.getgid()
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(CLONE_NEWNET if user == 0 else CLONE_NEWUSER | CLONE_NEWNET) != 0:
        raise OSError(ctypes.get_errno(), "this system lets nobody have a network of their own")
    if user != 0:
        Path("/proc/self/setgroups").write_text("deny", encoding="ascii")
        Path("/proc/self/gid_map").write_text(f"0 {group} 1", encoding="ascii")
        Path("/proc/self/uid_map").write_text(f"0 {user} 1", encoding="ascii")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", IFF_UP))


def machine():
    model = next((line.split(":", 1)[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                  if line.startswith("model name")), platform.machine())
    memory = int(re.search(r"MemTotal:\s+(\d+)", Path("/proc/meminfo").read_text())[1]) / 1024 / 1024
    return f"{os.cpu_count()} x {model}, {memory:.0f} GiB, Linux {platform.release().split('-')[0]}"


def load():
    return f"{os.getloadavg()[0]:.1f}"


def print_table(rows):
    titles = ("what", "ours", "beside", "ratio", "goal", "load")
    lines = [titles, *((row.what, row.ours, row.peer, row.ratio, row.goal, at) for row, at in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(titles))]
    lines.insert(1, tuple("-" * width for width in widths))
    for line in lines:
        print("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |")


def main():
    parser = argparse.ArgumentParser(prog="./bench", description="Measures the gateway beside its peers.")
    parser.add_argument("rows", nargs="*", help=f"which to measure, all without: {', '.join(ROWS)}")
    parser.add_argument("--binaries", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--images", type=int, default=400, help="CT samples of 0.5 MB")
    parser.add_argument("--rounds", type=int, default=3, help="how often a ratio is taken; the median counts")
    chosen = parser.parse_args()
    if unknown := set(chosen.rows) - set(ROWS):
        parser.error(f"unknown: {', '.join(sorted(unknown))}")
    leave_the_network()
    rows, failures = [], []
    begin, load_before = time.monotonic(), load()
    with tempfile.TemporaryDirectory() as work:
        bench = Bench(chosen.binaries, Path(work), chosen.images, chosen.rounds)
        for name in chosen.rows or ROWS:
            print(f"Measuring {name} ...", file=sys.stderr, flush=True)
            at = load()
            try:
                measured = ROWS[name](bench)
                rows += [(row, f"{at}-{load()}") for row in measured]
            except (Failure, OSError, subprocess.SubprocessError) as error:
                failures.append(f"{name}: {error}")
    print(f"{time.strftime('%Y-%m-%d %H:%M UTC', time.gmtime())}; {machine()}")
    print(f"{chosen.images} CT files, {bench.bytes / 1e6:.0f} MB, {chosen.rounds} rounds, "
          f"{time.monotonic() - begin:.0f} s; load average {load_before} before, {load()} after\n")
    print_table(rows)
    for failure in failures:
        print(f"Not measured: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
