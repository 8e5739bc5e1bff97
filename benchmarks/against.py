"""Whether this tree is slower than a commit: both builds do the same few things in turns."""

import contextlib
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from figures import Comparison, quartiles, spread
from receiving import receive_once, send
from rig import Failure, Gateway, await_true, cloud, count_in, processor_seconds

TREE = Path(__file__).resolve().parent.parent
PROGRAMS = ["quorin-gateway", "quorin-dicom"]  # all else, the cloud too, is of this tree
CLOCK_BOUND, PROCESSOR_BOUND = 1.15, 1.10


def git(*arguments):
    done = subprocess.run(["git", "-C", str(TREE), *arguments], capture_output=True, text=True)
    if done.returncode != 0:
        raise Failure(f"git {arguments[0]}: {done.stderr.strip()}")
    return done.stdout.strip()


@contextlib.contextmanager
def built(commit):
    """The programs of a commit, built in a worktree of its own, which goes again. Gives their folder."""
    name = git("rev-parse", "--verify", "--end-of-options", f"{commit}^{{commit}}")
    with tempfile.TemporaryDirectory(prefix="quorin-bench-") as folder:
        tree = Path(folder) / "tree"
        git("worktree", "add", "--detach", "--quiet", str(tree), name)
        try:
            print(f"Building {git('log', '-1', '--format=%h %s', name)} ...", file=sys.stderr, flush=True)
            for command in (["cmake", "--preset", "release"], ["cmake", "--build", "--preset", "release", "--target", *PROGRAMS]):
                done = subprocess.run(command, cwd=tree, capture_output=True, text=True)
                if done.returncode != 0:
                    raise Failure(f"{commit} can't be built: {done.stdout[-2000:]}{done.stderr[-2000:]}")
            yield tree / "build/release/bin"
        finally:
            git("worktree", "remove", "--force", str(tree))


def receiving(kind, files):
    def once(bench, binaries):
        rate, processor, memory = receive_once(bench, gateway_of(binaries), files(bench), 1)
        return [1000 / rate, processor, memory]
    return [(f"receive {kind}, ms an image", CLOCK_BOUND), ("  processor, ms an image", PROCESSOR_BOUND),
            ("  peak memory of the tree, MiB", PROCESSOR_BOUND)], once


def gateway_of(binaries):
    """A gateway of other programs than the bench's own."""
    return lambda stack, _own, folder: Gateway(stack, binaries, folder)


def uploading(what, compressed, share):
    """From the sign-in, with images waiting, until the cloud has them all."""
    def once(bench, binaries):
        folder = bench.shares(bench.files, share)[0]
        count = sum(1 for _ in folder.iterdir())
        with contextlib.ExitStack() as stack:
            address = stack.enter_context(cloud(bench.binaries, bench.fresh("cloud")))
            gateway = Gateway(stack, binaries, bench.fresh("upload"), address)
            gateway.must("settings", "set", "quorinCloudCompressToLS", str(compressed).lower())
            gateway.must("settings", "set", "QuorinRetrieveMode", "1")
            send(gateway.port, [folder])
            await_true("receiving", lambda: gateway.images() >= count)
            before, begin = processor_seconds(gateway.pid), time.monotonic()
            gateway.sign_in()
            await_true("uploading", lambda: count_in(address) >= count, 0.01)
            took = time.monotonic() - begin
            return [took * 1000 / count, (processor_seconds(gateway.pid) - before) * 1000 / count]
    return [(f"upload {what}, ms an image", CLOCK_BOUND), ("  processor, ms an image", PROCESSOR_BOUND)], once


MEASURES = [receiving("CT", lambda bench: bench.files), receiving("MR", lambda bench: bench.samples("mr", bench.images)),
            uploading("original", False, 1), uploading("JPEG-LS", True, 2)]


def compare(bench, theirs):
    """Each measure by both builds in turns; who begins changes, so that neither always meets a warm machine."""
    comparisons = []
    for titles, once in MEASURES:
        print(f"Measuring {titles[0][0].split(',')[0]} ...", file=sys.stderr, flush=True)
        seen = {bench.binaries: [], theirs: []}
        for turn in range(bench.rounds):
            for binaries in (bench.binaries, theirs) if turn % 2 == 0 else (theirs, bench.binaries):
                seen[binaries].append(once(bench, binaries))
        for (what, bound), ours, others in zip(titles, zip(*seen[bench.binaries]), zip(*seen[theirs])):
            comparisons.append(Comparison(what, bound, list(ours), list(others)))
    return comparisons


def table(comparisons, commit):
    """The lines of a table of comparisons, titles first."""
    lines = [("what (less is better)", "this tree", commit, "ratio (quartiles)", "at most", "")]
    for one in comparisons:
        low, median, high = quartiles(one.ratios)
        lines.append((one.what, spread(one.ours, 2), spread(one.theirs, 2), f"{median:.2f} ({low:.2f}-{high:.2f})",
                      f"{one.bound:.2f}", "slower" if one.is_slower else ""))
    return lines
