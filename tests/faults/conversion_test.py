#!/usr/bin/env python3
"""Random images of every depth, sign, photometric interpretation and number of frames go up in compressed form: by another decoder each
has every bit that was sent, or it went up as it was.
"""

import collections
import concurrent.futures
import os
import random
import struct
import subprocess
import sys
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import odd_objects
from ledger import ROOT

QUICK, LONG, AT_ONCE = 120, 10_000, 120
PIXELS = b"\xe0\x7f\x10\x00"
LARGEST, LARGER = 40, 300  # rows and columns; one in twenty is larger
DECODER = "dcmdjpls"


def words(chance, count, allocated, depth, pattern):
    """Samples, as they lie in the file."""
    form, most = ("B", 256) if allocated == 8 else ("<H", 65536)
    width = allocated // 8
    match pattern:
        case "noise in all bits":
            return chance.randbytes(count * width)
        case "noise":
            values = [chance.getrandbits(depth) for _ in range(count)]
        case "slopes":
            step = chance.randrange(1, 1 << min(depth, 5))
            values = [(at * step >> 2) % (1 << depth) for at in range(count)]
        case "flat":
            values = [chance.getrandbits(depth)] * count
        case "edges":
            low, high = 0, (1 << depth) - 1
            values = [high if at // 7 % 2 else low for at in range(count)]
    return b"".join(struct.pack(form, value % most) for value in values)


PATTERNS = ("noise in all bits", "noise", "slopes", "flat", "edges")


class Image:
    """One of many."""

    def __init__(self, number, chance):
        self.instance = f"{ROOT}.31.{number}"
        side = LARGER if chance.random() < 0.05 else LARGEST
        rows, columns = chance.randint(1, side), chance.randint(1, side)
        frames = chance.choice((1, 1, 1, 2, 5))
        self.photometric = chance.choice(("MONOCHROME2", "MONOCHROME2", "MONOCHROME1", "RGB", "YBR_FULL"))
        samples = 1 if self.photometric.startswith("MONO") else 3
        self.allocated = 8 if samples == 3 else chance.choice((8, 16, 16))
        self.depth = self.allocated if samples == 3 else chance.randint(2, self.allocated)
        self.is_signed = samples == 1 and chance.random() < 0.4
        planar = chance.randrange(2) if samples == 3 else 0
        self.pattern = chance.choice(PATTERNS)
        area = rows * columns
        planes = [words(chance, area * samples, self.allocated, self.depth, self.pattern) for _ in range(frames)]
        more = [(0x00280002, "US", samples), (0x00280004, "CS", self.photometric), (0x00280010, "US", rows), (0x00280011, "US", columns),
                (0x00280100, "US", self.allocated), (0x00280101, "US", self.depth), (0x00280102, "US", self.depth - 1),
                (0x00280103, "US", int(self.is_signed)), (0x00280008, "IS", str(frames)),
                (0x7FE00010, "OW" if self.allocated == 16 else "OB", b"".join(planes))]
        more += [(0x00280006, "US", planar)] * (samples == 3)
        self.body = odd_objects.dataset(self.instance, study=f"{ROOT}.31", series=f"{ROOT}.31.0", more=more)
        if planar:  # it comes by pixel then
            planes = [bytes(plane[at % 3 * area + at // 3] for at in range(3 * area)) for plane in planes]
        self.pixels = b"".join(planes)


def pixels_in(body):
    """The value of native pixel data, the last element."""
    at = body.find(PIXELS)
    while at >= 0 and struct.unpack_from("<I", body, at + 8)[0] != len(body) - at - 12:
        at = body.find(PIXELS, at + 1)
    return body[at + 12:] if at >= 0 else None


class Conversion(unittest.TestCase):

    def setUp(self):
        self.machine, self.chance = FaultRig(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.machine.set("quorinCloudCompressToLS", "true")
        self.decoders = concurrent.futures.ThreadPoolExecutor(os.cpu_count())
        self.addCleanup(self.decoders.shutdown)
        self.known, self.converted = set(), collections.Counter()

    def send(self, images):
        sender = odd_objects.Sender(self.machine.port, rig.TITLE)
        for image in images:
            sender.store(image.body, image.instance)
        sender.release()

    def new_in_cloud(self, count):
        """So many files that weren't there before."""
        def new():
            found = set((self.machine.cloud_path / "instances").rglob("*.dcm")) - self.known
            return found if len(found) >= count else None
        found = rig.await_that(f"{count} images in the cloud", new)
        self.known |= found
        return found

    def check(self, image, file):
        held = file.read_bytes()
        if odd_objects.JPEG_LS.encode() not in held[:400]:
            self.assertTrue(odd_objects.dataset_of(held) == image.body, f"{image.instance} went up changed")
            self.converted["as they were"] += 1
            return
        plain = file.with_suffix(".plain")
        subprocess.run([DECODER, file, plain], check=True, env=rig.environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        decoded = pixels_in(odd_objects.dataset_of(plain.read_bytes()))
        plain.unlink()
        self.assertIsNotNone(decoded)
        what = f"{image.instance}: {image.photometric}, {image.depth} of {image.allocated} bits, {image.pattern}"
        self.assertTrue(decoded[:len(image.pixels)] == image.pixels and len(decoded) - len(image.pixels) in (0, 1), what)
        self.converted[image.photometric] += 1

    def test_random(self):
        count = LONG if is_long() else QUICK
        for first in range(0, count, AT_ONCE):
            images = {image.instance: image for image in (Image(first + at, self.chance) for at in range(min(AT_ONCE, count - first)))}
            self.send(images.values())
            files = {odd_objects.identity_in(file.read_bytes())[2]: file for file in self.new_in_cloud(len(images))}
            self.assertEqual(set(files), set(images))
            list(self.decoders.map(lambda each, images=images: self.check(images[each[0]], each[1]), files.items()))
        as_they_were = self.converted.pop("as they were", 0)
        self.assertGreater(self.converted.total(), count // 3, "too few were converted to show anything")
        self.assertEqual(set(self.converted) & {"MONOCHROME1", "MONOCHROME2", "RGB"}, {"MONOCHROME1", "MONOCHROME2", "RGB"})
        self.failed = False
        figure(f"{count} random images: {self.converted.total()} in compressed form, each with every bit by another decoder "
               f"({', '.join(f'{kind} {number}' for kind, number in sorted(self.converted.items()))}), {as_they_were} as they were")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
