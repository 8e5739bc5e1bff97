"""Datasets that no device should send: at least one of each kind of wrong that we know, made from one small image.

A kind is a function that yields a name, what makes the dataset from an identifier, and its transfer syntax. All that a dataset
holds of an identity begins with that identifier, so that no two of them are one instance unless a kind is about that.
"""

import random
import struct
import zlib

from odd_objects import CT, DELIMITER, EXPLICIT, IMPLICIT, JPEG_LS, RLE, element, padded, part10

BIG_ENDIAN = "1.2.840.10008.1.2.2"
DEFLATED = "1.2.840.10008.1.2.1.99"
JPEG = "1.2.840.10008.1.2.4.50"
JPEG_2000 = "1.2.840.10008.1.2.4.90"
UNDEFINED = 0xFFFFFFFF
SIDE = 32
CHARSET, CLASS, INSTANCE, NAME, STUDY, SERIES = 0x00080005, 0x00080016, 0x00080018, 0x00100010, 0x0020000D, 0x0020000E
SAMPLES, PHOTOMETRIC, PLANAR, FRAMES, ROWS, COLUMNS = 0x00280002, 0x00280004, 0x00280006, 0x00280008, 0x00280010, 0x00280011
ALLOCATED, STORED, HIGH, SIGNED, PIXELS = 0x00280100, 0x00280101, 0x00280102, 0x00280103, 0x7FE00010
LONG = ("OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV")
ITEM, ITEM_END = 0xFFFEE000, 0xFFFEE00D


def raw(tag, representation, value=b"", length=None, order="<"):
    """An element as it is told to be, right or wrong, in explicit encoding; texts aren't padded."""
    value = value.encode("latin-1") if isinstance(value, str) else value
    length = len(value) if length is None else length
    head = struct.pack(order + "HH", tag >> 16, tag & 0xFFFF) + representation.encode("latin-1")
    if representation in LONG:
        return head + struct.pack(order + "HI", 0, length) + value
    return head + struct.pack(order + "H", length & 0xFFFF) + value


def mark(tag, length=0):
    """An item or a delimiter."""
    return struct.pack("<HHI", tag >> 16, tag & 0xFFFF, length)


def short(number, order="<"):
    return struct.pack(order + "H", number & 0xFFFF)


def pixels(order="<"):
    return b"".join(short((at // SIDE) * 50, order) for at in range(SIDE * SIDE))


def elements(uid, order="<"):
    """Tag -> bytes of a small CT image."""
    texts = ((CLASS, "UI", CT), (INSTANCE, "UI", uid), (0x00080020, "DA", "20260102"), (0x00080060, "CS", "CT"),
             (NAME, "PN", "CANARY^ODD"), (0x00100020, "LO", "CANARY-ID"), (STUDY, "UI", f"{uid}.1"),
             (SERIES, "UI", f"{uid}.2"), (0x00200013, "IS", "1"), (PHOTOMETRIC, "CS", "MONOCHROME2"))
    numbers = ((SAMPLES, 1), (ROWS, SIDE), (COLUMNS, SIDE), (ALLOCATED, 16), (STORED, 12), (HIGH, 11), (SIGNED, 0))
    made = {tag: raw(tag, kind, padded(text, b"\0" if kind == "UI" else b" "), order=order) for tag, kind, text in texts}
    made |= {tag: raw(tag, "US", short(number, order), order=order) for tag, number in numbers}
    return made | {PIXELS: raw(PIXELS, "OW", pixels(order), order=order)}


def image(uid, changes=None, order="<"):
    """The image with other bytes in place of some elements, None for none, or with further ones."""
    made = elements(uid, order) | (changes or {})
    return b"".join(made[tag] for tag in sorted(made) if made[tag] is not None)


def changed(tag, what):
    """What makes the image with other bytes for an element; `what` may ask for the identifier."""
    return lambda uid: image(uid, {tag: what(uid) if callable(what) else what})


def lengths():
    lies = (0, 1, 3, 5, 0x7FFE, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, UNDEFINED)
    places = ((0x00080060, "CS"), (NAME, "PN"), (SERIES, "UI"), (ROWS, "US"), (0x00091010, "UN"), (0x00400275, "SQ"),
              (0x0040A160, "UT"), (PIXELS, "OW"))
    for tag, kind in places:
        for lie in lies:
            if kind in LONG or lie <= 0xFFFF:
                yield f"{tag:08x} of length {lie:x}", changed(tag, raw(tag, kind, bytes(8), lie)), EXPLICIT


def cuts():
    whole = len(image("1.2.3"))
    for at in (1, 4, 7, 8, 20, 60, 100, 150, 200, 250, 300, 330, 350, 370, 390, 400, 420, whole - 2048, whole - 1000, whole - 1):
        yield f"cut at {at}", lambda uid, at=at: image(uid)[:at], EXPLICIT


def nested(depth, closed=True, defined=False, kind="SQ"):
    """A sequence in a sequence in a sequence."""
    if defined:
        body = b""
        for _ in range(depth):
            body = raw(0x00400275, kind, mark(ITEM, len(body)) + body)
        return body
    opened = raw(0x00400275, kind, length=UNDEFINED) + mark(ITEM, UNDEFINED)
    return opened * depth + (mark(ITEM_END) + DELIMITER) * depth * closed


def nesting():
    for depth in (1, 10, 63, 64, 65, 200, 5000, 100_000):
        yield f"{depth} deep", changed(0x00400275, nested(depth)), EXPLICIT
        yield f"{depth} deep, never closed", changed(0x00400275, nested(depth, closed=False)), EXPLICIT
        yield f"{depth} deep in unknown", changed(0x00400275, nested(depth, kind="UN")), EXPLICIT
    for depth in (1, 64, 65, 1000):
        yield f"{depth} deep, of known length", changed(0x00400275, nested(depth, defined=True)), EXPLICIT
    odd = {"a delimiter without a sequence": DELIMITER, "the end of no item": mark(ITEM_END), "an item in no sequence": mark(ITEM, 8) + bytes(8),
           "a sequence of no items": raw(0x00400275, "SQ", bytes(16)),
           "an item longer than its sequence": raw(0x00400275, "SQ", mark(ITEM, 4000) + bytes(8)),
           "an item's end inside": raw(0x00400275, "SQ", mark(ITEM, 8) + mark(ITEM_END)),
           "ten thousand items": raw(0x00400275, "SQ", mark(ITEM) * 10_000),
           "pixels in an item": raw(0x00400275, "SQ", mark(ITEM, 12) + raw(PIXELS, "OW")),
           "fragments in an item": raw(0x00400275, "SQ", length=UNDEFINED) + mark(ITEM, UNDEFINED) + raw(
               PIXELS, "OB", length=UNDEFINED) + mark(ITEM, 4) + bytes(4) + DELIMITER + mark(ITEM_END) + DELIMITER}
    for name, what in odd.items():
        yield name, changed(0x00400275, what), EXPLICIT


def tags():
    for tag, kind, text in ((INSTANCE, "UI", ".9"), (STUDY, "UI", ".8"), (SERIES, "UI", ".7"), (NAME, "PN", "CANARY^TWO")):
        for first in (True, False):
            def twice(uid, tag=tag, kind=kind, text=text, first=first):
                other, own = element(tag, kind, uid + text), elements(uid)[tag]
                return image(uid, {tag: other + own if first else own + other})
            yield f"{tag:08x} twice, the other {'first' if first else 'last'}", twice, EXPLICIT
    for tag, number in ((ROWS, 7), (ALLOCATED, 8), (SAMPLES, 3)):
        yield f"{tag:08x} twice", changed(tag, lambda _, tag=tag, number=number: raw(tag, "US", short(SIDE)) + raw(
            tag, "US", short(number))), EXPLICIT
    yield "pixels twice", lambda uid: image(uid) + raw(PIXELS, "OW", bytes(2048)), EXPLICIT
    yield "all of it backwards", lambda uid: b"".join(each for _, each in sorted(elements(uid).items(), reverse=True)), EXPLICIT
    for tag in (0x00000000, 0x00000100, 0x00001000, 0x00010001, 0x00020000, 0x00020003, 0x00020010, 0x00040600, 0x00080000,
                0x00100000, 0x7FE00000, 0x7FDFFFFF, 0x7FE00001, 0x7FE00008, 0x7FE00009, 0xFFFAFFFA, 0xFFFCFFFC, 0xFFFEE000,
                0xFFFFFFFF, 0x0028FFFF):
        for kind in ("UL", "UN", "OB"):
            yield f"{tag:08x} as {kind}", changed(tag, raw(tag, kind, b"\xff\xff\xff\x7f")), EXPLICIT
    yield "a hundred thousand elements", changed(0x00090010, b"".join(
        raw(0x00091000 + at % 0xF000, "LO", b"ab") for at in range(100_000))), EXPLICIT
    yield "one text of four megabytes", changed(0x0040A160, raw(0x0040A160, "UT", b"CANARY" * 700_000)), EXPLICIT
    yield "a command's elements in front", lambda uid: raw(0, "UL", struct.pack("<I", 4)) + image(uid), EXPLICIT
    yield "a header's elements in front", lambda uid: element(0x00020003, "UI", f"{uid}.77") + image(uid), EXPLICIT
    yield "a whole file", lambda uid: part10(image(uid), uid), EXPLICIT
    yield "a file in a file", lambda uid: part10(part10(image(uid), uid), f"{uid}.5"), EXPLICIT


def fragments(*pieces, table=b"", closed=True):
    items = b"".join(mark(ITEM, len(each)) + each for each in (table, *pieces))
    return raw(PIXELS, "OB", length=UNDEFINED) + items + DELIMITER * closed


def jpeg(rows=SIDE, columns=SIDE, kind=0xC0, depth=8):
    """What looks like a picture from outside, and is none."""
    return (b"\xff\xd8\xff" + bytes((kind,)) + struct.pack(">HBHHB", 11, depth, rows, columns, 1) + b"\1\x11\0"
            + b"\xff\xda" + struct.pack(">HB", 8, 1) + b"\1\0\0\0\0" + bytes(20) + b"\xff\xd9")


def run_lengths(segments=2, offsets=(64, 70)):
    return struct.pack("<16I", segments, *offsets, *(0,) * (15 - len(offsets))) + b"\x81\0" * 40


def encapsulated():
    tables = {"none": b"", "one": struct.pack("<I", 0), "far": struct.pack("<I", 1 << 30), "descending": struct.pack("<2I", 500, 0),
              "odd": b"abc", "many": struct.pack("<I", 0) * 5000, "all ones": b"\xff" * 8}
    pieces = {"none": (), "empty": (b"",), "odd": (b"abc",), "two for one": (jpeg(), jpeg()), "many": (b"ab",) * 5000,
              "a picture": (jpeg(),), "a huge picture": (jpeg(65535, 65535),), "no rows": (jpeg(0, SIDE),),
              "JPEG-LS": (jpeg(kind=0xF7),), "huge JPEG-LS": (jpeg(65535, 65535, 0xF7, 16),), "noise": (bytes(range(256)) * 8,),
              "runs": (run_lengths(),), "runs beyond": (run_lengths(2, (64, 1 << 31)),), "too many runs": (run_lengths(4_000_000),),
              "JPEG 2000": (b"\xff\x4f\xff\x51" + struct.pack(">HH8IH", 41, 0, *(UNDEFINED,) * 8, 1) + b"\x0f\1\1",)}
    for syntax in (JPEG, JPEG_LS, RLE, JPEG_2000):
        for name, what in pieces.items():
            yield f"{syntax}: {name}", changed(PIXELS, fragments(*what)), syntax
        yield f"{syntax}: not encapsulated", image, syntax
    for name, table in tables.items():
        yield f"offset table: {name}", changed(PIXELS, fragments(jpeg(), table=table)), JPEG
        yield f"offset table and frames: {name}", lambda uid, table=table: image(uid, {
            FRAMES: raw(FRAMES, "IS", b"3 "), PIXELS: fragments(jpeg(), jpeg(), table=table)}), JPEG_LS
    ends = {"never closed": fragments(jpeg(), closed=False), "cut": fragments(jpeg())[:-20],
            "a fragment of undefined length": fragments()[:-8] + mark(ITEM, UNDEFINED) + jpeg() + DELIMITER,
            "a fragment beyond the end": fragments()[:-8] + mark(ITEM, 1 << 30) + jpeg() + DELIMITER,
            "no item": raw(PIXELS, "OB", length=UNDEFINED) + jpeg(), "elements behind": fragments(jpeg()) + raw(0xFFFCFFFC, "OB", bytes(8)),
            "words": fragments(jpeg()).replace(b"OB", b"OW", 1), "an item's end": fragments()[:-8] + mark(ITEM_END) + DELIMITER}
    for name, what in ends.items():
        yield f"fragments: {name}", changed(PIXELS, what), JPEG_LS
        yield f"fragments, said to be native: {name}", changed(PIXELS, what), EXPLICIT


def charsets():
    sets = ("", "ISO_IR 192", "ISO_IR 100", "GB18030", "GBK", "ISO 2022 IR 87", "\\ISO 2022 IR 87\\ISO 2022 IR 149", "ISO_IR 999", "\\" * 40,
            "ISO 2022 IR 6" * 100, "\0\0", "%n%n%s", "ISO_IR 192\\ISO_IR 192")
    names = (b"\x1b$B\x30\x21", b"\xff\xfe\xc0\x80", b"\x1b" * 9, b"\x81\\\x81^", b"\0CANARY\0", b"^" * 5000, b"\xf0\x9f\x98\x80" * 30)
    for charset in sets:
        for name in names:
            yield f"{charset[:20]!r} with {name[:6]!r}", lambda uid, charset=charset, name=name: image(uid, {
                CHARSET: element(CHARSET, "CS", charset), NAME: raw(NAME, "PN", padded(name))}), EXPLICIT


def representations():
    for kind in ("ZZ", "  ", "\0\0", "ob", "O\xff", "UN", "OD", "SV", "OV", "UC", "AT", "FD", "SQ", "%s"):
        for tag in (0x00091010, NAME, ROWS, STUDY):
            value = bytes(6) if tag != STUDY else b"1.2.34"
            yield f"{tag:08x} as {kind!r}", changed(tag, raw(tag, kind, value)), EXPLICIT
    yield "private without a creator", changed(0x00091010, raw(0x00091010, "LO", b"ab")), EXPLICIT
    yield "a creator of no length", changed(0x00090010, raw(0x00090010, "LO")), EXPLICIT


def ends():
    """Pixel data that ends before its length says so, with and without all that is needed of it."""
    for bits in (8, 12, 15, 16):
        for cut in (1, 8, 9, 60):
            yield f"{cut} bytes of pixels of {bits} bits cut off", lambda uid, bits=bits, cut=cut: image(
                uid, {ALLOCATED: raw(ALLOCATED, "US", short(bits))})[:-cut], EXPLICIT


def encodings():
    def implicit(uid):
        return b"".join(struct.pack("<HHI", tag >> 16, tag & 0xFFFF, len(value)) + value for tag, value in (
            (CLASS, padded(CT)), (INSTANCE, padded(uid)), (STUDY, padded(f"{uid}.1")), (ROWS, short(SIDE)), (PIXELS, pixels())))

    def big(uid):
        return image(uid, order=">")

    def half(uid):
        return image(uid)[:200] + image(uid, order=">")[200:]
    made = {"implicit": implicit, "explicit": image, "big-endian": big, "half of each": half}
    for name, make in made.items():
        for syntax in (EXPLICIT, IMPLICIT, BIG_ENDIAN, DEFLATED, JPEG_LS, "1.2.3.4.5.6.7"):
            yield f"{name} said to be {syntax}", make, syntax


def deflated(body, level=9):
    squeezed = zlib.compressobj(level, zlib.DEFLATED, -15)
    return squeezed.compress(body) + squeezed.flush()


def bomb(uid):
    """Far more than a gigabyte comes out of this."""
    squeezed = zlib.compressobj(9, zlib.DEFLATED, -15)
    zeros = bytes(1 << 20)
    made = squeezed.compress(image(uid, {PIXELS: raw(PIXELS, "OW", length=1300 << 20)}))
    return made + b"".join(squeezed.compress(zeros) for _ in range(1300)) + squeezed.flush()


def squeezed():
    made = {"as it should be": lambda uid: deflated(image(uid)), "with a header": lambda uid: zlib.compress(image(uid)),
            "cut": lambda uid: deflated(image(uid))[:-30], "with bits flipped": lambda uid: deflated(image(uid))[:60] + b"\xff" * 40,
            "twice": lambda uid: deflated(deflated(image(uid))), "nested": lambda uid: deflated(image(uid, {0x00400275: nested(200_000)})),
            "of an odd end": lambda uid: deflated(image(uid)) + b"\0", "with more behind": lambda uid: deflated(image(uid)) + bytes(999),
            "not squeezed": lambda uid: deflated(image(uid), 0), "a bomb": bomb,
            "a bomb of elements": lambda uid: deflated(image(uid, {0x00090010: raw(0x00091000, "LO", b"ab") * 8_000_000}))}
    for name, make in made.items():
        yield f"deflated, {name}", make, DEFLATED


def pictures():
    for length in (0, 1, 2, 1024, 2047, 2049, 4096, 1 << 20):
        yield f"{length} bytes of pixels", changed(PIXELS, raw(PIXELS, "OW", bytes(length))), EXPLICIT
    for tag in (ROWS, COLUMNS, SAMPLES, ALLOCATED, STORED, HIGH, SIGNED, PLANAR):
        for number in (0, 1, 2, 3, 7, 9, 15, 17, 24, 32, 64, 255, 0x7FFF, 0xFFFF):
            yield f"{tag:08x} = {number}", changed(tag, raw(tag, "US", short(number))), EXPLICIT
        yield f"{tag:08x} missing", changed(tag, None), EXPLICIT
        yield f"{tag:08x} of four values", changed(tag, raw(tag, "US", short(SIDE) * 4)), EXPLICIT
    for text in ("", "RGB ", "YBR_FULL_422", "PALETTE COLOR ", "MONOCHROME1 ", "HSV ", "%s%n", "A" * 500, "MONOCHROME2\\RGB ", "\0\0"):
        yield f"photometric {text[:12]!r}", changed(PHOTOMETRIC, raw(PHOTOMETRIC, "CS", text)), EXPLICIT
    for text in ("0 ", "-1", "2 ", "2147483647", "2147483648", "99999999999999999999", "1\\2 ", "", "abc ", "1e9 ", " 1  ", "\0001"):
        yield f"frames {text!r}", changed(FRAMES, raw(FRAMES, "IS", text)), EXPLICIT
    yield "as large as can be", lambda uid: image(uid, {
        ROWS: raw(ROWS, "US", b"\xff\xff"), COLUMNS: raw(COLUMNS, "US", b"\xff\xff"), SAMPLES: raw(SAMPLES, "US", b"\3\0"),
        PHOTOMETRIC: raw(PHOTOMETRIC, "CS", "RGB "), FRAMES: raw(FRAMES, "IS", "2147483647"), PIXELS: raw(PIXELS, "OW", length=0xFFFFFFFE)}), EXPLICIT
    yield "floats beside pixels", changed(0x7FE00008, raw(0x7FE00008, "OF", bytes(4096))), EXPLICIT
    yield "pixels elsewhere", changed(0x00287FE0, raw(0x00287FE0, "UR", "http://127.0.0.1:1/CANARY ")), EXPLICIT
    yield "pixels as text", changed(PIXELS, raw(PIXELS, "UT", bytes(2048))), EXPLICIT


def identifiers():
    texts = ("{}" + ".1" * 40, "{}" + "7" * 1000, "{}" + "7" * 60_000, "", "\0\0", " ", "{}\0.5", "{} .5", " {}", "{}\0\0\0", "{}\\{}.6", "{}/..",
             "../{}", "{}\n.5", "{}\r\n\r\n", '{}"', "{}%2e", "{}\xe4", "{}<a>", "{}.007", "{}..5", "{}.", "CANARY{}", "\x1b[2J{}", "{}?a=b&c#d")
    for tag in (CLASS, INSTANCE, STUDY, SERIES):
        for text in texts:
            yield f"{tag:08x} {text[:14]!r}", changed(tag, lambda uid, tag=tag, text=text: raw(
                tag, "UI", padded(text.format(uid, uid).encode("latin-1")))), EXPLICIT
        yield f"{tag:08x} missing", changed(tag, None), EXPLICIT
    yield "none at all", lambda uid: image(uid, {tag: None for tag in (CLASS, INSTANCE, STUDY, SERIES)}), EXPLICIT
    yield "a directory's class", changed(CLASS, element(CLASS, "UI", "1.2.840.10008.1.3.10")), EXPLICIT


def tails():
    ends = {"a zero": b"\0", "zeros": bytes(5000), "ones": b"\xff" * 5000, "seven bytes": b"\1" * 7, "half an element": b"\xfc\xff\xfc\xffOB",
            "padding": raw(0xFFFCFFFC, "OB", bytes(600)), "an element of a lower group": raw(NAME, "PN", b"CANARY^BEHIND "),
            "a delimiter": DELIMITER, "a web page": b"<html>CANARY</html>", "a megabyte": bytes(1 << 20)}
    for name, end in ends.items():
        yield f"{name} behind", lambda uid, end=end: image(uid) + end, EXPLICIT
        yield f"{name} behind fragments", lambda uid, end=end: image(uid, {PIXELS: fragments(jpeg())}) + end, JPEG_LS
    yield "another image behind", lambda uid: image(uid) + image(f"{uid}.3"), EXPLICIT


def strangers():
    made = {"nothing": b"", "a byte": b"\x08", "eight zeros": bytes(8), "a megabyte of zeros": bytes(1 << 20), "text": b"CANARY was here. " * 99,
            "a web page": b"<!DOCTYPE html><title>CANARY</title>", "a PDF": b"%PDF-1.7\n" + bytes(range(256)), "a ZIP": b"PK\3\4" + bytes(300),
            "a program": b"\x7fELF" + bytes(300), "DICM alone": bytes(128) + b"DICM", "ones": b"\xff" * 999, "PK and fragments": fragments(b"PK"),
            "a PNG": b"\x89PNG\r\n\x1a\n" + bytes(40), "a picture": jpeg(), "one element": raw(ROWS, "US", b"\1\0")}
    for name, what in made.items():
        yield f"not DICOM: {name}", lambda _, what=what: what, EXPLICIT


KINDS = (lengths, cuts, nesting, tags, encapsulated, charsets, representations, encodings, squeezed, pictures, identifiers, tails, ends, strangers)


def known():
    """All kinds of wrong: name, what makes it, transfer syntax."""
    for kind in KINDS:
        yield from kind()


def mutants(chance, count):
    """Some of them, with bytes changed, cut out, added or taken from another."""
    everyone = [each for each in known() if each[2] != DEFLATED and "thousand" not in each[0]]
    for number in range(count):
        name, make, syntax = chance.choice(everyone)
        _, other, _ = chance.choice(everyone)
        yield f"mutant {number} of {name}", lambda uid, make=make, other=other, state=chance.random(): mutant(
            make(uid), other(uid), state), syntax


def mutant(body, other, state):
    chance, body = random.Random(state), bytearray(body)
    for _ in range(chance.randint(1, 4)):
        at = chance.randrange(len(body) + 1)
        match chance.randrange(4):
            case 0:
                body[at:at + 1] = chance.choice((b"\0", b"\xff", b"\x7f", chance.randbytes(1)))
            case 1:
                del body[at:at + chance.randint(1, 12)]
            case 2:
                body[at:at] = chance.randbytes(chance.randint(1, 12))
            case 3:
                start = chance.randrange(len(other) + 1)
                body[at:at + chance.randint(0, 40)] = other[start:start + chance.randint(1, 200)]
    return bytes(body)


def headers():
    """Whole files with a header that no writer should make: name, what makes the file."""
    def file(length=None, **told):
        def make(uid):
            held = {0x00020002: ("UI", CT), 0x00020003: ("UI", uid), 0x00020010: ("UI", EXPLICIT)}
            held |= {int(tag, 16): each for tag, each in told.items()}
            group = b"".join(element(tag, *each) for tag, each in sorted(held.items()) if each)
            size = raw(0x00020000, "UL", struct.pack("<I", len(group) if length is None else length))
            return bytes(128) + b"DICM" + size + group + image(uid)
        return make
    for length in (0, 1, 8, 1000, 0x7FFFFFFF, UNDEFINED):
        yield f"a header that says {length} bytes", file(length)
    for tag in ("00020002", "00020003", "00020010"):
        for text in (None, ("UI", ""), ("UI", "\0\0"), ("UI", "1" * 5000), ("UI", "CANARY\n%s"), ("UN", b"\0\0"), ("SQ", b"")):
            yield f"a header with {tag} = {text and (text[0], text[1][:8])}", file(**{tag: text})
    for syntax in (DEFLATED, BIG_ENDIAN, IMPLICIT, JPEG_LS, RLE, JPEG):
        yield f"a header that says {syntax}", file(**{"00020010": ("UI", syntax)})
    yield "no header", image
    yield "a preamble and no header", lambda uid: bytes(128) + b"DICM" + image(uid)
    yield "no preamble", lambda uid: part10(image(uid), uid)[132:]
    yield "two headers", lambda uid: part10(part10(image(uid), uid)[132:], uid)
    yield "a header alone", lambda uid: part10(b"", uid)
    yield "half a header", lambda uid: part10(b"", uid)[:170]
    yield "a header in disorder", lambda uid: part10(image(uid), uid, ascending=False)
