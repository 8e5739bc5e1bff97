"""Rows about sending: from the index or the modality to a local cloud that doesn't wait for its disk."""

import contextlib
import re
import statistics
import subprocess
import threading
import time

from rig import (Failure, Gateway, Orthanc, PeakMemory, Row, await_true, cloud, count_in, login)
from receiving import send


class ForwardingOrthanc(Orthanc):
    """The peer, sending on by STOW-RS what has arrived since it last did. One image a request, from its scripts or its
    queue of jobs, takes it half a second each."""

    def __init__(self, stack, binaries, folder, address):
        server = {"Url": f"{address}/dicom-web/", "HttpHeaders": {"Authorization": f"Bearer {login(address)}"}}
        super().__init__(stack, binaries, folder,
                         {"Plugins": ["/usr/share/orthanc/plugins/libOrthancDicomWeb.so"],
                          "DicomWeb": {"Enable": True, "Servers": {"cloud": server}}})
        self._over = threading.Event()
        forwarder = threading.Thread(target=self._forward)
        forwarder.start()
        stack.callback(forwarder.join)
        stack.callback(self._over.set)

    def _forward(self):
        since = 0
        while not self._over.is_set():
            news = self.ask(f"/changes?since={since}&limit=1000")
            since = news["Last"]
            arrived = [one["ID"] for one in news["Changes"] if one["ChangeType"] == "NewInstance"]
            if arrived:
                self.ask("/dicom-web/servers/cloud/stow", {"Resources": arrived, "Synchronous": True})
            else:
                self._over.wait(0.02)


def gateway_on_the_way(stack, bench, address, compressed):
    """As a real site has it: defaults, with parallel transfers on."""
    gateway = Gateway(stack, bench.binaries, bench.fresh("way"), address)
    if not compressed:
        gateway.must("settings", "set", "quorinCloudCompressToLS", "false")
    gateway.must("settings", "set", "QuorinRetrieveMode", "1")
    gateway.sign_in()
    return gateway


def way_once(bench, folders, count, start):
    """Images a second from the modality to the cloud, and the receiver's peak memory."""
    with contextlib.ExitStack() as stack:
        address = stack.enter_context(cloud(bench.binaries, bench.fresh("cloud")))
        server = start(stack, address)
        with PeakMemory(server.pid) as peak:
            begin = time.monotonic()
            send(server.port, folders)
            await_true("uploading", lambda: count_in(address) >= count, 0.05)
            return count / (time.monotonic() - begin), peak.mib


def way_original(bench):
    """Uncompressed, as a real site has it, beside a peer that receives and forwards."""
    folders = bench.shares(bench.files, 1)
    ours, theirs = [], []
    for _ in range(bench.rounds):
        ours.append(way_once(bench, folders, bench.images,
                             lambda stack, address: gateway_on_the_way(stack, bench, address, compressed=False)))
        theirs.append(way_once(bench, folders, bench.images, lambda stack, address: ForwardingOrthanc(
            stack, bench.binaries, bench.fresh("forward"), address)))
    ratio = statistics.median(mine[0] / other[0] for mine, other in zip(ours, theirs))
    mine, other = ([statistics.median(column) for column in zip(*side)] for side in (ours, theirs))
    return [Row("modality to cloud, original, images/s", f"{mine[0]:.1f}", f"Orthanc {other[0]:.1f}", f"{ratio:.2f}",
                ">= 2.5"),
            Row("  peak memory of the tree, MiB", f"{mine[1]:.0f}", f"Orthanc {other[1]:.0f}",
                f"{mine[1] / other[1]:.2f}")]


def conversion_alone(bench, files):
    """Files a second that encoding and verifying alone do on two cores."""
    text = bench.run("quorin-upload-bench", "--conversion-only", str(files[0].parent))
    return float(re.search(r"^conversion alone, two at a time\s+([\d.]+) files/s$", text, re.M)[1])


def way_compressed(bench):
    """With JPEG-LS, the receiving included, beside encoding and verifying alone."""
    folder = bench.shares(bench.files, 4)[0]
    files = sorted(folder.iterdir())
    ratios, rates, alone_rates = [], [], []
    for _ in range(bench.rounds):
        rate = way_once(bench, [folder], len(files),
                        lambda stack, address: gateway_on_the_way(stack, bench, address, compressed=True))[0]
        alone = conversion_alone(bench, files)
        rates.append(rate)
        alone_rates.append(alone)
        ratios.append(rate / alone)
    size = sum(file.stat().st_size for file in files) / len(files) / 1e6
    return [Row("encode and verify, two at a time, files/s (MB/s)",
                f"{statistics.median(alone_rates):.1f} ({statistics.median(alone_rates) * size:.0f})"),
            Row("modality to cloud, JPEG-LS, images/s", f"{statistics.median(rates):.1f}",
                f"conversion alone {statistics.median(alone_rates):.1f}", f"{statistics.median(ratios):.2f}", ">= 0.85")]


def curl_rate(bench, files, at_once):
    """Files a second when curl posts the same bodies, one connection for each process."""
    with cloud(bench.binaries, bench.fresh("curl-cloud")) as address:
        token = login(address)
        bodies = bench.fresh("bodies")
        bodies.mkdir()
        configs = []
        for share in range(at_once):
            parts = []
            for file in files[share::at_once]:
                body = bodies / file.name
                body.write_bytes(b"--bench\r\nContent-Type: application/dicom\r\n\r\n" + file.read_bytes()
                                 + b"\r\n--bench--\r\n")
                parts.append(f'url = "{address}/dicom-web/studies"\ndata-binary = "@{body}"\n'
                             'header = "Content-Type: multipart/related; type=\\"application/dicom\\"; '
                             'boundary=bench"\nheader = "Accept: application/dicom+json"\nheader = "Expect:"\n'
                             f'header = "Authorization: Bearer {token}"\noutput = "/dev/null"\n'
                             'write-out = "%{http_code}\\n"\nsilent\n')
            configs.append(bodies / f"curl-{share}")
            configs[-1].write_text("next\n".join(parts), encoding="utf-8")
        begin = time.monotonic()
        running = [subprocess.Popen(["curl", "-K", str(config)], stdout=subprocess.PIPE, text=True)
                   for config in configs]
        codes = [code for one in running for code in one.communicate()[0].split()]
        took = time.monotonic() - begin
        if codes != ["200"] * len(files):
            raise Failure(f"curl: the cloud answered {sorted(set(codes))}")
        return len(files) / took


def upload(bench):
    """From the index to the cloud in each way of working, beside curl on one connection and on four."""
    share = bench.shares(bench.files, 4)[0]
    files = sorted(share.iterdir())
    found = {name.strip(): float(rate) for name, rate in
             re.findall(r"^(\S.*?)\s+([\d.]+) files/s$", bench.run("quorin-upload-bench", str(share)), re.M)}
    one, four = (statistics.median(curl_rate(bench, files, count) for _ in range(bench.rounds)) for count in (1, 4))
    beside = {"single, original": (one, ">= 0.8"), "parallel_file, original": (four, ">= 0.8")}
    rows = []
    for name, rate in found.items():
        if not name.startswith("import"):
            peer, goal = beside.get(name, (None, ""))
            rows.append(Row(f"upload {name}, files/s", f"{rate:.1f}", f"curl {peer:.1f}" if peer else "",
                            f"{rate / peer:.2f}" if peer else "", goal))
    return rows
