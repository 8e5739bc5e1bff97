"""Rows about a cloud that is far away: whether its link is filled."""

import contextlib
import time

from figures import spread
from receiving import send
from rig import Gateway, Row, await_true, cloud, count_in
from slow_link import SlowLink

ROUND_TRIP_SECONDS = 0.05
BITS_PER_SECOND = 100e6
PARALLEL = {"QuorinRetrieveMode": "1"}
WIDE = {"wadoLimit": "10", "quorinCloudBatchUploadCount": "32"}


def share_of_the_link(bench, folder, settings):
    """The part of the link's rate at which images that wait get into the cloud, from the sign-in on."""
    count = sum(1 for _ in folder.iterdir())
    with contextlib.ExitStack() as stack:
        address = stack.enter_context(cloud(bench.binaries, bench.fresh("far-cloud")))
        between = SlowLink(address, ROUND_TRIP_SECONDS, BITS_PER_SECOND)
        gateway = Gateway(stack, bench.binaries, bench.fresh("far"), stack.enter_context(between))
        for key, value in settings.items():
            gateway.must("settings", "set", key, value)
        send(gateway.port, [folder])
        await_true("receiving", lambda: gateway.images() >= count)
        gateway.sign_in()
        begin = time.monotonic()
        await_true("uploading", lambda: count_in(address) >= count, 0.01)
        took = time.monotonic() - begin
        return between.carried_there * 8 / took / BITS_PER_SECOND


WAYS = [("CT, original, one at a time", "ct", {"quorinCloudCompressToLS": "false"}, ""),
        ("CT, original", "ct", {**PARALLEL, "quorinCloudCompressToLS": "false"}, ">= 0.9"),
        ("MR, original", "mr", {**PARALLEL, "quorinCloudCompressToLS": "false"}, ">= 0.9"),
        ("MR, original, 10 requests of 32", "mr", {**PARALLEL, **WIDE, "quorinCloudCompressToLS": "false"}, ">= 0.9"),
        ("CT, JPEG-LS", "ct", PARALLEL, ""), ("CT, JPEG-LS, 10 requests of 32", "ct", {**PARALLEL, **WIDE}, "")]


def link(bench):
    """With parallel transfers on and as installed but for what a row names."""
    seen = {what: [] for what, *_ in WAYS}
    for _ in range(bench.rounds):
        for what, kind, settings, _ in WAYS:
            folder = bench.shares(bench.samples(kind, bench.images), 1)[0]
            seen[what].append(share_of_the_link(bench, folder, settings))
    return [Row(f"share of a link of 50 ms and 100 Mbit/s, {what}", spread(seen[what], 2), goal=goal,
                measured={"ours": seen[what]}) for what, _, _, goal in WAYS]
