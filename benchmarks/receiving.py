"""Rows about receiving: from a sender's start until every image is durable and in the index."""

import contextlib
import statistics
import subprocess
import time

from figures import median_ratio, spread
from rig import (PROMPT, TITLE, BareLoop, Failure, Gateway, Orthanc, PeakMemory, Row, await_true, cloud,
                 processor_seconds)


def send(port, folders):
    """One `dcmsend` a folder, at once; returns when all have ended."""
    senders = [subprocess.Popen(["dcmsend", "-aec", TITLE, "--scan-directories", "127.0.0.1", str(port), str(folder)],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=PROMPT)
               for folder in folders]
    if any([sender.wait() for sender in senders]):
        raise Failure("dcmsend failed")


def receive_once(bench, kind, files, associations):
    """Images a second, processor milliseconds an image and peak MiB, until all are indexed."""
    folders = bench.shares(files, associations)
    with contextlib.ExitStack() as stack:
        server = kind(stack, bench.binaries, bench.fresh("receive"))
        before = processor_seconds(server.pid)
        with PeakMemory(server.pid) as peak:
            begin = time.monotonic()
            send(server.port, folders)
            await_true("indexing", lambda: server.images() >= len(files))
            took = time.monotonic() - begin
        spent = processor_seconds(server.pid) - before
        return len(files) / took, spent * 1000 / len(files), peak.mib


def receive(bench, name, files, associations, goals):
    """Receive, import and index, in turns with Orthanc and with the bare loop."""
    kinds = {"ours": Gateway, "orthanc": Orthanc, "bare": BareLoop}
    seen = {who: [] for who in kinds}
    for _ in range(bench.rounds):
        for who, kind in kinds.items():
            seen[who].append(receive_once(bench, kind, files, associations))
    rates, spent, memory = ({who: [turn[figure] for turn in turns] for who, turns in seen.items()} for figure in range(3))
    middle = {who: statistics.median(values) for who, values in rates.items()}
    rate_goal, bare_goal, processor_goal = goals
    plural = "s" if associations > 1 else ""
    # The memory of an image's own size belongs to the receiver; what the tree takes without one is the rest.
    return [Row(f"receive {name}, {associations} association{plural}, images/s", spread(rates["ours"]),
                f"Orthanc {middle['orthanc']:.0f}", f"{median_ratio(rates['ours'], rates['orthanc']):.2f}", rate_goal, rates),
            Row("  beside one fsync a file and nothing else", spread(rates["ours"]),
                f"bare loop {spread(rates['bare'])}", f"{median_ratio(rates['ours'], rates['bare']):.2f}", bare_goal, rates),
            beside_both("  processor, ms an image", spent, 2, processor_goal),
            beside_both("  peak memory of the tree, MiB", memory, 0, "<= 90 MiB")]


def beside_both(what, figures, digits, goal):
    """A row of what is the better the less of it there is."""
    ours, orthanc, bare = (statistics.median(figures[who]) for who in ("ours", "orthanc", "bare"))
    return Row(what, spread(figures["ours"], digits), f"Orthanc {orthanc:.{digits}f}, bare {bare:.{digits}f}",
               f"{ours / orthanc:.2f}", goal, figures)


def ct_on_one(bench):
    return receive(bench, "CT", bench.files, 1, (">= 1.8", ">= 0.8", "<= 1.3 ms"))


def ct_on_four(bench):
    return receive(bench, "CT", bench.files, 4, (">= 2.2", "", "<= 1.3 ms"))


def ct_on_eight(bench):
    return receive(bench, "CT", bench.files, 8, (">= 2.2", "", "<= 1.3 ms"))


def mr_on_one(bench):
    return receive(bench, "MR", bench.samples("mr", bench.images), 1, ("", "", "<= 0.9 ms"))


def large_objects(bench):
    """Loops of 52 MB and radiographs of 18 MB: the memory must not follow their size."""
    loops = bench.samples("us", 4, "--us-frames", "200")
    plates = bench.samples("dx", 12)
    return (receive(bench, "US of 200 frames", loops, 1, ("", "", ""))
            + receive(bench, "DX", plates, 1, ("", "", "")))


def while_converting(bench):
    """What receiving loses while the images of a moment ago are converted and uploaded."""
    ratios, quiet_rates, busy_rates = [], [], []
    folders = bench.shares(bench.files, 1)
    for _ in range(bench.rounds):
        quiet = receive_once(bench, Gateway, bench.files, 1)[0]
        with contextlib.ExitStack() as stack:
            address = stack.enter_context(cloud(bench.binaries, bench.fresh("cloud")))
            gateway = Gateway(stack, bench.binaries, bench.fresh("busy"), address)
            gateway.sign_in()
            begin = time.monotonic()
            send(gateway.port, folders)
            await_true("indexing", lambda: gateway.images() >= bench.images)
            busy = bench.images / (time.monotonic() - begin)
        quiet_rates.append(quiet)
        busy_rates.append(busy)
        ratios.append(busy / quiet)
    return [Row("receive CT while converting and uploading, images/s", spread(busy_rates), f"alone {spread(quiet_rates)}",
                f"{statistics.median(ratios):.2f}", "> 0.8", {"ours": busy_rates, "alone": quiet_rates})]
