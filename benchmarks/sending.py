"""Rows about sending: from the index or the modality to a local cloud that doesn't wait for its disk."""

import contextlib
import re
import statistics
import subprocess
import threading
import time

from figures import median_ratio, spread
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
    (rates, memory), (other_rates, other_memory) = (list(map(list, zip(*side))) for side in (ours, theirs))
    return [Row("modality to cloud, original, images/s", spread(rates), f"Orthanc {spread(other_rates)}",
                f"{median_ratio(rates, other_rates):.2f}", ">= 2.5", {"ours": rates, "orthanc": other_rates}),
            Row("  peak memory of the tree, MiB", spread(memory), f"Orthanc {spread(other_memory)}",
                f"{median_ratio(memory, other_memory):.2f}", "", {"ours": memory, "orthanc": other_memory})]


def conversion_alone(bench, files):
    """Files a second that encoding and verifying alone do on two cores."""
    text = bench.run("quorin-upload-bench", "--conversion-only", str(files[0].parent))
    return float(re.search(r"^conversion alone, two at a time\s+([\d.]+) files/s$", text, re.M)[1])


def way_compressed(bench):
    """With JPEG-LS, the receiving included, beside encoding and verifying alone."""
    folder = bench.shares(bench.files, 4)[0]
    files = sorted(folder.iterdir())
    rates, alone_rates = [], []
    for _ in range(bench.rounds):
        rates.append(way_once(bench, [folder], len(files), lambda stack, address: gateway_on_the_way(
            stack, bench, address, compressed=True))[0])
        alone_rates.append(conversion_alone(bench, files))
    size = sum(file.stat().st_size for file in files) / len(files) / 1e6
    return [Row("encode and verify, two at a time, files/s (MB/s)",
                f"{spread(alone_rates)} ({statistics.median(alone_rates) * size:.0f})", measured={"ours": alone_rates}),
            Row("modality to cloud, JPEG-LS, images/s", spread(rates), f"conversion alone {spread(alone_rates)}",
                f"{median_ratio(rates, alone_rates):.2f}", ">= 0.85", {"ours": rates, "alone": alone_rates})]


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


def upload_rates(bench, share):
    """Files a second from the index to the cloud, by way of working."""
    told = bench.run("quorin-upload-bench", str(share))
    return {name.strip(): float(rate) for name, rate in re.findall(r"^(\S.*?)\s+([\d.]+) files/s$", told, re.M)
            if not name.startswith("import")}


def upload(bench):
    """From the index to the cloud in each way of working, in turns with curl on one connection and on four."""
    share = bench.shares(bench.files, 4)[0]
    files = sorted(share.iterdir())
    ours, curl = {}, {"single, original": [], "parallel_file, original": []}
    for _ in range(bench.rounds):
        for name, rate in upload_rates(bench, share).items():
            ours.setdefault(name, []).append(rate)
        for (_, rates), connections in zip(curl.items(), (1, 4)):
            rates.append(curl_rate(bench, files, connections))
    return [upload_row(name, rates, curl.get(name)) for name, rates in ours.items()]


def upload_row(name, rates, peer):
    what = f"upload {name}, files/s"
    if not peer:
        return Row(what, spread(rates), measured={"ours": rates})
    return Row(what, spread(rates), f"curl {spread(peer)}", f"{median_ratio(rates, peer):.2f}", ">= 0.9",
               {"ours": rates, "curl": peer})
