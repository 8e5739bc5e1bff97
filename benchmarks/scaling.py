"""Rows about several gateways behind one balancer, which share this machine."""

import contextlib
import statistics
import sys
import time
from pathlib import Path

from receiving import send
from rig import Gateway, Row, await_true, cloud, count_in, free_port, started

sys.path.append(str(Path(__file__).resolve().parent.parent / "tests/e2e"))
from balancer import NAMES, Admin, configuration  # noqa: E402

SENDERS = 6


def start_balancer(stack, folder, gateways):
    """The port of a HAProxy before the gateways at these ports, once it has found them all."""
    folder.mkdir()
    port, recipe = free_port(), folder / "haproxy.cfg"
    recipe.write_text(configuration(port, gateways, folder / "admin.sock"), encoding="utf-8")
    stack.enter_context(started(["haproxy", "-db", "-f", str(recipe)], folder / "haproxy.log"))
    await_true("the balancer to find its gateways", Admin(folder / "admin.sock").all_are_up)
    return port


def take_once(bench, count, is_balanced):
    """Images a second until so many gateways have all in their indexes, and until all are in the one cloud."""
    folders = bench.shares(bench.files, SENDERS)
    with contextlib.ExitStack() as stack:
        address = stack.enter_context(cloud(bench.binaries, bench.fresh("cloud")))
        gateways = [Gateway(stack, bench.binaries, bench.fresh(name), address) for name in NAMES[:count]]
        for gateway in gateways:
            gateway.must("settings", "set", "quorinCloudCompressToLS", "false")
            gateway.sign_in()
        port = gateways[0].port
        if is_balanced:
            port = start_balancer(stack, bench.fresh("balancer"), [gateway.port for gateway in gateways])
        begin = time.monotonic()
        send(port, folders)
        await_true("indexing", lambda: sum(gateway.images() for gateway in gateways) >= len(bench.files))
        received = time.monotonic() - begin
        await_true("the uploads", lambda: count_in(address) >= len(bench.files))
        return len(bench.files) / received, len(bench.files) / (time.monotonic() - begin)


def scaling(bench):
    """What one, two and three take, in turns with one that stands alone."""
    ways = [(1, False), (1, True), (2, True), (3, True)]
    seen = {way: [] for way in ways}
    for _ in range(bench.rounds):
        for way in ways:
            seen[way].append(take_once(bench, *way))
    rows = []
    for what, column in (("receive", 0), ("receive and upload", 1)):
        for count, is_balanced in ways[1:]:
            rates = [rate[column] for rate in seen[count, is_balanced]]
            alone = [rate[column] for rate in seen[ways[0]]]
            ratio = statistics.median(mine / other for mine, other in zip(rates, alone))
            rows.append(Row(f"{what} CT, {SENDERS} associations, {count} behind a balancer, images/s",
                            f"{statistics.median(rates):.0f}", f"one alone {statistics.median(alone):.0f}",
                            f"{ratio:.2f}"))
    return rows
