"""Rows about what is measured inside one process, and about a gateway that has nothing to do."""

import contextlib
import re
import shutil
import statistics
import time

from rig import Failure, Gateway, Row, accepts, await_true, memory_mib, processor_seconds, started, wake_ups

# What quorin-week-bench tells of a day, number by number.
WEEK_COLUMNS = ("day", "held", "let go", "index", "free", "log", "import", "longest import", "upload", "longest upload",
                "prune", "longest prune", "snapshots", "longest snapshots", "buckets", "longest buckets", "processor")


def idle(bench):
    """What a gateway that listens and has nothing to do takes, over two rounds of its slowest regular look."""
    seconds = 30
    with contextlib.ExitStack() as stack:
        gateway = Gateway(stack, bench.binaries, bench.fresh("idle"))
        time.sleep(3)
        before = wake_ups(gateway.pid), processor_seconds(gateway.pid)
        time.sleep(seconds)
        switches = (wake_ups(gateway.pid) - before[0]) * 10 / seconds
        share = (processor_seconds(gateway.pid) - before[1]) / seconds
        return [Row("idle memory of the tree, MiB", f"{memory_mib(gateway.pid):.0f}", goal="<= 45 MiB"),
                Row("idle wake-ups in 10 s", f"{switches:.0f}", goal="timers only"),
                Row("idle share of a core", f"{share:.2%}", goal="< 0.2 %")]


def index(bench):
    """The costs of the index at two sizes, as its own benchmark tells them."""
    rows = []
    for line in bench.run("quorin-index-bench", "10000", "1000000", "300").splitlines():
        found = re.match(r"(.+?)\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)\s+[\d.]+\s+[\d.]+\s+[\d.]+$", line)
        if found:
            name, small, large, ratio = found.groups()
            rows.append(Row(f"{name}, µs, 1,000,000 rows", large, f"10,000: {small}", ratio, "<= 1.15"))
        elif found := re.match(r"(snapshots of \d+ studies): ([\d.]+) ms", line):
            rows.append(Row(f"{found[1]}, ms", found[2], goal="<= 300 ms"))
    if not rows:
        raise Failure("quorin-index-bench printed no figures")
    return rows + prune(bench)


def prune(bench):
    """Letting go of what is uploaded, and what an import beside it waits for."""
    told = bench.run("quorin-index-bench", "--prune", "200000")
    count, seconds = re.search(r"prune of (\d+) rows .+: ([\d.]+) s", told).groups()
    waits = {when: found for when, *found in re.findall(
        r"^(without a|during the) prune: .+ median ([\d.]+), p99 ([\d.]+), longest ([\d.]+)$", told, re.M)}
    alone, beside = waits["without a"], waits["during the"]
    return [Row(f"retention of {count} images and files beside an importer, s", seconds),
            Row("  import meanwhile, ms (p99, longest)", f"{beside[0]} ({beside[1]}, {beside[2]})",
                f"alone {alone[0]} ({alone[1]}, {alone[2]})")]


def week(bench):
    """A tenth of a large site's week: what the index takes at its end, and its steps beside those of the first day."""
    days = [line.split() for line in bench.run("quorin-week-bench", "4000", "7", "30").splitlines()
            if re.match(r"\s*\d+\s+\d+ ", line)]
    if len(days) != 7:
        raise Failure("quorin-week-bench printed no figures")
    first, last = (dict(zip(WEEK_COLUMNS, re.findall(r"[\d.]+", " ".join(day)))) for day in (days[0], days[-1]))
    rows = [Row("a week of 4000 images a day, 30 days kept: the index at its end, MiB", last["index"],
                f"first day {first['index']}"),
            Row("  free pages in it; log, MiB", f"{last['free']}; {last['log']}", f"first day {first['free']}; {first['log']}")]
    for what, name in (("import, ms", "import"), ("upload of 8, ms", "upload"), ("an hour's retention, ms", "prune"),
                       ("snapshots of all studies, ms", "snapshots"), ("transfer buckets of a day, ms", "buckets"),
                       ("processor, ms an image", "processor")):
        rows.append(Row(f"  {what}", last[name], f"first day {first[name]}",
                        f"{float(last[name]) / float(first[name]):.2f}", "<= 1.15"))
    return rows


def state(bench):
    """What the live figures cost the main thread of a gateway with a large index."""
    goals = {"refresh the counters": "< 1 ms", "at 500 images/s": "<= 8 ms at most"}
    rows = []
    for line in bench.run("quorin-state-bench").splitlines():
        found = re.match(r"(.+?)\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)\s+\d+$", line)
        if found:
            name, median, p99, longest, processor = found.groups()
            goal = next((goal for start, goal in goals.items() if name.startswith(start)), "")
            rows.append(Row(f"{name}, ms (p99, longest; of processor)", f"{median} ({p99}, {longest}; {processor})", goal=goal))
    if not rows:
        raise Failure("quorin-state-bench printed no figures")
    return rows


def log(bench):
    """What a caller of the log pays, and reading it back."""
    text = bench.run("quorin-log-bench")
    rate, median, tail = re.search(r"events at (\d+) a second: caller ([\d.]+) us median, ([\d.]+) us p95",
                                   text).groups()
    read = float(re.search(r"events read: ([\d.]+) us each", text)[1])
    return [Row(f"log, µs a call at {rate} events/s (p95)", f"{median} ({tail})", goal="<= 5 µs"),
            Row("log, reading back, s for each 1,000,000 lines", f"{read:.2f}", goal="<= 2 s")]


def study_table(bench):
    """The window of the local studies with 100,000 of them."""
    text = bench.run("quorin-browser-bench")
    opened, = re.search(r"^open: (\d+) ms", text, re.MULTILINE).groups()
    worst = {what: max(int(spent) for spent in re.findall(rf"^{what} .*: (\d+) ms", text, re.MULTILINE))
             for what in ("search", "sort")}
    return [Row("study table of 100,000 rows, opened, ms", opened, goal="<= 300 ms"),
            Row("  slowest search, whatever is selected, ms", str(worst["search"]), goal="<= 50 ms"),
            Row("  slowest sorting, whatever is selected, ms", str(worst["sort"]), goal="<= 150 ms")]


def log_browser(bench):
    """Opening and filtering a million lines."""
    text = bench.run("quorin-log-browser-bench")
    opened, spent, memory = re.search(
        r"lines opened: (\d+) ms, (\d+) ms of processor, (\d+) MiB", text).groups()
    filters = [(float(spent), what) for what, spent in
               re.findall(r"^filter (.+): [\d.]+ ms, ([\d.]+) ms of processor", text, re.MULTILINE)]
    slowest, what = max(filters)
    again, = re.search(r"read again, 1 more: ([\d.]+) ms", text).groups()
    return [Row("log browser, 1,000,000 lines opened, s (of processor)",
                f"{int(opened) / 1000:.2f} ({int(spent) / 1000:.2f})", goal="<= 2 s"),
            Row("  memory of the rows, MiB", memory),
            Row(f"  slowest filter ({what}), ms of processor", f"{slowest:.1f}", goal="<= 100 ms"),
            Row("  read again with one line more, ms", again)]


def codec(bench):
    """What one core encodes, and encodes and verifies, beside CharLS as it is packaged."""
    rows = []
    for name, ours, peer, verified, plain in re.findall(
            r"^(.+?): encode ([\d.]+) MB/s, CharLS ([\d.]+) MB/s, encode and verify ([\d.]+) MB/s, "
            r"without AVX2 ([\d.]+) MB/s$",
            bench.run("quorin-codec-bench"), re.M):
        peer = float(peer)
        narrow = "8 bits" in name
        rows += [Row(what, mb, f"CharLS {peer:.1f}", f"{float(mb) / peer:.2f}", goal) for what, mb, goal in [
            (f"encode {name}, one core, MB/s", ours, ">= 3" if narrow else ">= 4"),
            ("  encode and verify, MB/s", verified, ">= 1.3" if narrow else ">= 1.8"),
            ("  encode without AVX2, MB/s", plain, ">= 2.1")]]
    if not rows:
        raise Failure("quorin-codec-bench printed no figures")
    return rows


def start(bench):
    """From the start of the program to a listener, with 1,000,000 images in its index."""
    home = bench.fresh("large")
    with contextlib.ExitStack() as stack:
        first = Gateway(stack, bench.binaries, home)
        command, port = first.start_command, first.port
    bench.run("quorin-index-bench", "--make", "1000000", str(home / "home"))
    took = []
    for _ in range(bench.rounds):
        begin = time.monotonic()
        with started(command, home / "again.log"):
            await_true("the listener", lambda: accepts(port), 0.005)
            took.append(time.monotonic() - begin)
    return [Row("start to listening, 1,000,000 images, s", f"{statistics.median(took):.2f}", goal="< 0.7 s")]


def rebuild(bench):
    """The index made anew from the file store: its files parsed and recorded by the gateway's start, beside its listener."""
    count = len(bench.files)
    home = bench.fresh("rebuilt")
    with contextlib.ExitStack() as stack:
        gateway = Gateway(stack, bench.binaries, home)
        gateway.must("import", str(bench.files[0].parent))
    rates = []
    for _ in range(bench.rounds):
        shutil.rmtree(home / "home" / "index")
        begin = time.monotonic()
        with started(gateway.start_command, home / "again.log"):
            await_true("the index to be whole", lambda: gateway.is_answering() and gateway.images() == count, 0.05)
            rates.append(count / (time.monotonic() - begin))
    return [Row("index made anew from the store, CT files a second", f"{statistics.median(rates):.0f}", goal=">= 1,000")]
