"""Measures the gateway beside its peers and prints one table.

Every row is made by one function, which returns what it measured as `Row`s. Figures of a shared machine are noisy: ratios
are taken in one run on the same files, side by side in turns, as the median of several rounds. All of it runs in a network
of its own, which has nothing but a loopback: peers that can't be told to bind it reach nobody. What was measured is kept in
`results/`, too. With --against the same is done by another build, and the exit status tells whether this one is slower.
"""

import argparse
import contextlib
import ctypes
import fcntl
import json
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
import against
import face
import far
import inside
import receiving
import scaling
import sending
from rig import Bench, Failure

ROWS = {"receive-1": receiving.ct_on_one, "receive-4": receiving.ct_on_four, "receive-8": receiving.ct_on_eight,
        "receive-mr": receiving.mr_on_one, "receive-large": receiving.large_objects,
        "receive-busy": receiving.while_converting, "way": sending.way_original, "way-ls": sending.way_compressed,
        "upload": sending.upload, "link": far.link, "scaling": scaling.scaling,
        "away": absent.away, "refused": absent.refused, "codec": inside.codec, "idle": inside.idle, "face": face.face, "start": inside.start, "rebuild": inside.rebuild, "log": inside.log,
        "log-browser": inside.log_browser, "study-table": inside.study_table,
        "index": inside.index, "week": inside.week, "state": inside.state}

# Some minutes: what most changes touch, with fewer files.
QUICK_ROWS = ("receive-1", "receive-mr", "way", "way-ls", "upload", "codec", "idle")
QUICK_IMAGES, QUICK_ROUNDS = 100, 3
RESULTS = Path(__file__).resolve().parent / "results"

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


def print_table(lines):
    """The first line has the titles."""
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    for line in (lines[0], tuple("-" * width for width in widths), *lines[1:]):
        print("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |")


def as_json(rows, about):
    """A run's results: what is said of all of it, and its rows, each with the load meanwhile."""
    return {**about, "rows": [{"what": row.what.strip(), "ours": row.ours, "beside": row.peer, "ratio": row.ratio,
                               "goal": row.goal, "load": at, "measured": row.measured} for row, at in rows]}


def keep(results):
    """Writes results into a file of their own."""
    RESULTS.mkdir(exist_ok=True)
    file = RESULTS / f"{time.strftime('%Y-%m-%dT%H%M%SZ', time.gmtime())}.json"
    file.write_text(json.dumps(results, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")
    print(f"\nKept in {file}")


def measure(bench, names):
    """What was measured, each row with the load before and after it, and what could not be measured."""
    rows, failures = [], []
    for name in names:
        print(f"Measuring {name} ...", file=sys.stderr, flush=True)
        at = load()
        try:
            measured = ROWS[name](bench)
            rows += [(row, f"{at}-{load()}") for row in measured]
        except (Failure, OSError, subprocess.SubprocessError) as error:
            failures.append(f"{name}: {error}")
    return rows, failures


def tell_rows(bench, names, about):
    """Measures rows and prints them. \return the exit status."""
    rows, failures = measure(bench, names)
    print_table([("what", "ours", "beside", "ratio", "goal", "load"),
                 *((row.what, row.ours, row.peer, row.ratio, row.goal, at) for row, at in rows)])
    for failure in failures:
        print(f"Not measured: {failure}")
    keep(as_json(rows, {**about, "load_after": load()}))
    return 1 if failures else 0


def tell_comparison(bench, commit, theirs, about):
    """Compares with another build and prints it. \return the exit status: 1 where this tree is slower."""
    comparisons = against.compare(bench, theirs)
    print_table(against.table(comparisons, commit))
    keep({**about, "against": commit, "load_after": load(),
          "comparisons": [{"what": one.what.strip(), "bound": one.bound, "ours": one.ours, "theirs": one.theirs,
                           "slower": one.is_slower} for one in comparisons]})
    return 1 if any(one.is_slower for one in comparisons) else 0


def arguments():
    parser = argparse.ArgumentParser(prog="./bench", description="Measures the gateway beside its peers.")
    parser.add_argument("rows", nargs="*", help=f"which to measure, all without: {', '.join(ROWS)}")
    parser.add_argument("--binaries", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true",
                        help=f"within five minutes: {', '.join(QUICK_ROWS)}, {QUICK_IMAGES} files, {QUICK_ROUNDS} rounds")
    parser.add_argument("--against", metavar="COMMIT",
                        help="build that commit apart and compare; exit status 1 where this tree is slower")
    parser.add_argument("--images", type=int, help="CT samples of 0.5 MB")
    parser.add_argument("--rounds", type=int, help="how often a ratio is taken; the median counts")
    chosen = parser.parse_args()
    if unknown := set(chosen.rows) - set(ROWS):
        parser.error(f"unknown: {', '.join(sorted(unknown))}")
    if chosen.against and (chosen.rows or chosen.quick):
        parser.error("--against has rows of its own")
    chosen.rows = chosen.rows or (QUICK_ROWS if chosen.quick else tuple(ROWS))
    chosen.images = chosen.images or (QUICK_IMAGES if chosen.quick else 200 if chosen.against else 400)
    chosen.rounds = chosen.rounds or (QUICK_ROUNDS if chosen.quick else 7 if chosen.against else 5)
    return chosen


def main():
    chosen = arguments()
    with contextlib.ExitStack() as stack:
        theirs = stack.enter_context(against.built(chosen.against)) if chosen.against else None
        leave_the_network()
        begin, load_before = time.monotonic(), load()
        work = stack.enter_context(tempfile.TemporaryDirectory())
        bench = Bench(chosen.binaries, Path(work), chosen.images, chosen.rounds)
        about = {"at": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()), "machine": machine(),
                 "commit": against.git("describe", "--always", "--dirty", "--exclude", "*"), "images": chosen.images,
                 "rounds": chosen.rounds, "load_before": load_before}
        print(f"{about['at']}, {about['commit']}; {machine()}\n{chosen.images} CT files, {bench.bytes / 1e6:.0f} MB, "
              f"{chosen.rounds} rounds\n")
        status = (tell_comparison(bench, chosen.against, theirs, about) if theirs
                  else tell_rows(bench, chosen.rows, about))
        print(f"{time.monotonic() - begin:.0f} s; load average {load_before} before, {load()} after")
    return status


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Failure as failed:
        sys.exit(f"./bench: {failed}")
