"""Lets the calls on chosen files fail, in a built program and in all that it starts; see tests/failing_disk."""

import errno
import mmap
import struct

from harness import PROGRAMS

TEXT_BYTES = 4096


class FailingDisk:
    """Healthy until it is told otherwise; told at any moment."""

    def __init__(self, folder):
        self._path = folder / "failing-disk"
        self._path.write_bytes(bytes(2 * TEXT_BYTES))
        with open(self._path, "r+b") as file:
            self._control = mmap.mmap(file.fileno(), 2 * TEXT_BYTES)

    def variables(self):
        """What a program needs in its environment."""
        library = PROGRAMS / "failing_disk.so"
        if not library.exists():
            raise AssertionError(f"{library} isn't built")
        return {"LD_PRELOAD": str(library), "FAILING_DISK": str(self._path)}

    def fail(self, call, pattern, code=errno.EIO, times=None):
        """One rule: so many such calls on paths that match fail; all of them when no number is given."""
        rule = f"{call} {code} {'-' if times is None else times} {pattern}\n".encode()
        self._control[TEXT_BYTES:] = bytes(TEXT_BYTES)
        # The first byte comes last, so that nobody reads half a rule.
        self._control[1:TEXT_BYTES] = rule[1:].ljust(TEXT_BYTES - 1, b"\0")
        self._control[0:1] = rule[0:1]

    def silence(self, call, pattern):
        """Such calls on paths that match wait until the disk is healed, as on a share that is dead."""
        self.fail(call, pattern, 0)

    def strike(self, call, pattern, number):
        """Whoever makes the call of that number on such paths is killed before it; failures() counts the calls."""
        self.fail(call, pattern, -1, number)

    def coarsen(self, pattern, seconds):
        """Files whose paths match keep multiples of so many seconds as their times."""
        self.fail("grain", pattern, seconds)

    def heal(self):
        self._control[0:1] = b"\0"

    def failures(self):
        """How many calls have failed since the rule was given."""
        return struct.unpack_from("<Q", self._control, TEXT_BYTES)[0]
