"""Rows about a cloud that is away or never wants an image: what waiting costs, and whom it keeps waiting."""

import contextlib
import json
import re
import subprocess
import time
import urllib.request

from receiving import send
from rig import EMAIL, PASSWORD, Gateway, Row, await_true, cloud, count_in, free_port, processor_seconds, started

WATCHED_SECONDS = 60
LONGEST_PAUSE_SECONDS = 300
REFUSED = 10_000
CANNOT_UNDERSTAND = 0xC000  # PS3.4, table GG.4-1


def log_lines(folder):
    for file in folder.rglob("gateway-transfer-*.jsonl"):
        yield from file.read_text(encoding="utf-8").splitlines()


def is_of_the_absence(line):
    """Not a line that each received image and each request for a run has anyway."""
    event = json.loads(line)
    return event["category"] in ("send", "uploadQueue") and event["action"] not in ("upload_run_requested",
                                                                                  "upload_run_requeued")


def away(bench):
    """The first minute without a cloud, in which pauses are shortest, while images wait; and the log of a day, whose
    runs are a longest pause apart but for these first ones."""
    with contextlib.ExitStack() as stack:
        folder, port = bench.fresh("away"), free_port()
        data = bench.fresh("away-cloud")
        data.mkdir()
        address = f"http://127.0.0.1:{port}"
        with started([str(bench.binaries / "quorin-cloud"), "--listen", f"127.0.0.1:{port}", "--data", str(data / "data"),
                      "--user", f"{EMAIL}:{PASSWORD}", "--no-sync"], data / "cloud.log"):
            await_true("the start of the cloud", lambda: "listening on " in (data / "cloud.log").read_text())
            gateway = Gateway(stack, bench.binaries, folder, address)
            gateway.sign_in()
        send(gateway.port, bench.shares(bench.files, 1))
        await_true("receiving", lambda: gateway.images() >= bench.images)
        before, begin = processor_seconds(gateway.pid), time.monotonic()
        time.sleep(WATCHED_SECONDS)
        share = (processor_seconds(gateway.pid) - before) / (time.monotonic() - begin)
        lines = [line for line in log_lines(folder) if is_of_the_absence(line)]
        tried = sum('"upload_attempt_started"' in line for line in lines)
        runs = sum('"upload_run_started"' in line for line in lines)
        logged = sum(len(line) + 1 for line in lines)
        a_day = logged + logged / runs * 86_400 / LONGEST_PAUSE_SECONDS
        return [Row(f"a minute without a cloud, {bench.images} images waiting: uploads tried", f"{tried}"),
                Row("  log of the absence, kB (of a day, MB)", f"{logged / 1e3:.1f} ({a_day / 1e6:.1f})", goal="<= 10 MB"),
                Row("  share of a core", f"{share:.2%}", goal="< 1 %")]


def refused(bench):
    """How long one fresh image takes to the cloud beside files that it has refused for good."""
    with contextlib.ExitStack() as stack:
        address = stack.enter_context(cloud(bench.binaries, bench.fresh("refusing")))
        files = bench.samples("report", REFUSED, "--seed", "7")
        gateway = Gateway(stack, bench.binaries, bench.fresh("refused"), address)
        gateway.must("settings", "set", "QuorinRetrieveMode", "1")
        gateway.sign_in()
        ask(address, "refuse-instances", {"sopInstanceUIDs": instances_of(files), "failureReason": CANNOT_UNDERSTAND,
                                          "count": None})
        gateway.must("import", str(files[0].parent))
        await_true("the refusals", lambda: gateway.counters()["failed"] >= REFUSED, 0.5)
        begin = time.monotonic()
        send(gateway.port, bench.shares(bench.files[:1], 1))
        await_true("the fresh image", lambda: count_in(address) >= 1, 0.005)
        took = time.monotonic() - begin
        return [Row(f"a fresh image beside {REFUSED} refused ones: from its sender to the cloud, s", f"{took:.2f}",
                    goal="at once")]


def instances_of(files):
    """The SOP instance UIDs of files."""
    told = subprocess.run(["dcmdump", "+P", "0008,0018", "+F", *map(str, files)], capture_output=True, text=True, check=True)
    return re.findall(r"^\(0008,0018\) UI \[([\d.]+)\]", told.stdout, re.MULTILINE)


def ask(address, what, body):
    urllib.request.urlopen(urllib.request.Request(f"{address}/control/{what}", json.dumps(body).encode(),
                                                  {"Content-Type": "application/json"}), timeout=30).close()
