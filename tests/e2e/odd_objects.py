"""Objects that aren't as they should be, and a sender that says of them whatever it is told to (PS3.5, 3.7, 3.8, 3.10)."""

import socket
import struct

CT = "1.2.840.10008.5.1.4.1.1.2"
EXPLICIT = "1.2.840.10008.1.2.1"
IMPLICIT = "1.2.840.10008.1.2"
JPEG_LS = "1.2.840.10008.1.2.4.80"
RLE = "1.2.840.10008.1.2.5"
DELIMITER = struct.pack("<HHI", 0xFFFE, 0xE0DD, 0)


def padded(text, padding=b"\0"):
    raw = text.encode("latin-1") if isinstance(text, str) else text
    return raw + padding * (len(raw) % 2)


def element(tag, representation, value, explicit=True):
    """One element in little endian; texts are padded."""
    if isinstance(value, int):
        raw = struct.pack("<H", value)
    else:
        raw = padded(value, b"\0" if representation in ("UI", "OB", "OW") else b" ")
    head = struct.pack("<HH", tag >> 16, tag & 0xFFFF)
    if not explicit:
        return head + struct.pack("<I", len(raw)) + raw
    if representation in ("OB", "OW", "SQ", "UN", "UT"):
        return head + representation.encode() + struct.pack("<HI", 0, len(raw)) + raw
    return head + representation.encode() + struct.pack("<H", len(raw)) + raw


def dataset(instance, study="1.2.9", series="1.2.9.1", name="Doe^Jane", explicit=True, shade=0, more=()):
    """A small CT image; without an instance UID where that is None. Of what is `more`, tags may be there twice."""
    elements = [(0x00080016, "UI", CT)]
    if instance is not None:
        elements.append((0x00080018, "UI", instance))
    elements += [(0x00080020, "DA", "20260102"), (0x00080060, "CS", "CT"), (0x00100010, "PN", name),
                 (0x00100020, "LO", "P1"), (0x0020000D, "UI", study), (0x0020000E, "UI", series),
                 (0x00200013, "IS", "1"), (0x00280002, "US", 1), (0x00280004, "CS", "MONOCHROME2"),
                 (0x00280010, "US", 32), (0x00280011, "US", 32), (0x00280100, "US", 16), (0x00280101, "US", 12),
                 (0x00280102, "US", 11), (0x00280103, "US", 0),
                 (0x7FE00010, "OW", b"".join(struct.pack("<H", (at // 32 + shade) % 4096) for at in range(1024)))]
    elements = [each for each in elements if each[0] not in {tag for tag, *_ in more}] + list(more)
    elements.sort(key=lambda each: each[0])
    return b"".join(element(*each, explicit=explicit) for each in elements)


def item(*elements):
    """An item of a sequence in explicit little endian."""
    body = b"".join(element(*each) for each in elements)
    return struct.pack("<HHI", 0xFFFE, 0xE000, len(body)) + body


def with_fragments(body, *fragments):
    """The dataset with these fragments in place of its native pixel data, and an empty offset table."""
    head = body[:body.rindex(b"\xe0\x7f\x10\x00OW")]
    items = b"".join(struct.pack("<HHI", 0xFFFE, 0xE000, len(each)) + each for each in (b"", *fragments))
    return head + struct.pack("<HH2sHI", 0x7FE0, 0x0010, b"OB", 0, 0xFFFFFFFF) + items + DELIMITER


def part10(body, instance, transfer_syntax=EXPLICIT, ascending=True):
    """A file; its header names the instance it is told, or none where that is None."""
    header = [element(0x00020002, "UI", CT)]
    if instance is not None:
        header.append(element(0x00020003, "UI", instance))
    header.append(element(0x00020010, "UI", transfer_syntax))
    if not ascending:
        header.reverse()
    group = b"".join(header)
    return bytes(128) + b"DICM" + element(0x00020000, "UL", struct.pack("<I", len(group))) + group + body


def dataset_of(file):
    """The bytes behind the header of a file, which must be in order."""
    if file[128:132] != b"DICM":
        raise AssertionError("no DICOM file")
    at = 132
    while at < len(file) and file[at:at + 2] == b"\x02\x00":
        if file[at + 4:at + 6] == b"OB":
            at += 12 + struct.unpack_from("<I", file, at + 8)[0]
        else:
            at += 8 + struct.unpack_from("<H", file, at + 6)[0]
    return file[at:]


def identity_in(file):
    """Study, series and instance of a file with explicit representations, by its bytes."""
    body = dataset_of(file)

    def uid(tag):
        at = body.index(struct.pack("<HH", tag >> 16, tag & 0xFFFF) + b"UI")
        length = struct.unpack_from("<H", body, at + 6)[0]
        return body[at + 8:at + 8 + length].rstrip(b"\0").decode()

    return tuple(uid(tag) for tag in (0x0020000D, 0x0020000E, 0x00080018))


def received(file):
    """The dataset of a file that the listener or a worker wrote: behind a header of known length, whatever it is (PS3.10, 7.1)."""
    return file[144 + struct.unpack_from("<I", file, 140)[0]:]


class Sender:
    """One association about CT images; each store says in its command what it is told."""

    def __init__(self, port, called, transfer_syntax=EXPLICIT, calling="ODD"):
        self._socket = socket.create_connection(("127.0.0.1", port), timeout=60)
        context = (b"\x01\0\0\0" + self._item(0x30, CT) + self._item(0x40, transfer_syntax))
        body = (struct.pack(">HH16s16s32x", 1, 0, called.encode().ljust(16), calling.encode().ljust(16))
                + self._item(0x10, "1.2.840.10008.3.1.1.1") + self._item(0x20, context)
                + self._item(0x50, struct.pack(">BBHI", 0x51, 0, 4, 16384) + self._item(0x52, "1.2.3.4")))
        self._send(1, body)
        kind, answer = self._receive()
        if kind != 2 or b"\x21\0\0" not in answer:
            self.close()
            raise AssertionError(f"the association was answered with {kind}")
        self._message = 0

    def store(self, body, instance):
        """Sends a dataset under the instance that the command names, None for none; must be answered with success."""
        status = self.ask_to_store(body, instance)
        if status != 0:
            raise AssertionError(f"the store was answered with {status:04x}")

    def ask_to_store(self, body, instance):
        """The same; the status that it was answered with."""
        self._message += 1
        fields = [(0x0002, padded(CT)), (0x0100, struct.pack("<H", 1)), (0x0110, struct.pack("<H", self._message)),
                  (0x0700, struct.pack("<H", 0)), (0x0800, struct.pack("<H", 1))]
        if instance is not None:
            fields.append((0x1000, padded(instance)))
        group = b"".join(struct.pack("<HHI", 0, number, len(value)) + value for number, value in fields)
        self._data(3, struct.pack("<HHII", 0, 0, 4, len(group)) + group)
        for at in range(0, len(body), 8000):
            self._data(2 if at + 8000 >= len(body) else 0, body[at:at + 8000])
        kind, answer = self._receive()
        status = answer.find(struct.pack("<HHI", 0, 0x0900, 2))
        if kind != 4 or status < 0:
            raise AssertionError(f"the store was answered with PDU {kind}: {answer!r}")
        return struct.unpack_from("<H", answer, status + 8)[0]

    def release(self):
        self._send(5, bytes(4))
        self._receive()
        self.close()

    def close(self):
        self._socket.close()

    @staticmethod
    def _item(kind, value):
        raw = value.encode() if isinstance(value, str) else value
        return struct.pack(">BBH", kind, 0, len(raw)) + raw

    def _data(self, control, piece):
        self._send(4, struct.pack(">IBB", len(piece) + 2, 1, control) + piece)

    def _send(self, kind, body):
        self._socket.sendall(struct.pack(">BBI", kind, 0, len(body)) + body)

    def _exactly(self, count):
        got = b""
        while len(got) < count:
            piece = self._socket.recv(count - len(got))
            if not piece:
                raise AssertionError("the listener closed the connection")
            got += piece
        return got

    def _receive(self):
        kind, _, length = struct.unpack(">BBI", self._exactly(6))
        return kind, self._exactly(length)
