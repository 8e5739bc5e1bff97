"""Makes a running process try a system call, as code that a hostile peer brought into it would: the kernel's answer is about that very
process and nothing that only resembles it. Knows x86-64 alone, and needs the rights of root, since helpers let nobody else in.
"""

import ctypes
import os
import signal
import struct
import time

ATTACH, DETACH, STEP, GET_REGISTERS, SET_REGISTERS = 16, 17, 9, 12, 13
NUMBERS = {"getpid": 39, "socket": 41, "socketpair": 53, "clone": 56, "execve": 59, "kill": 62, "truncate": 76, "chmod": 90, "chown": 92, "ptrace": 101,
           "tgkill": 234, "openat": 257, "unlinkat": 263, "renameat": 264, "prlimit64": 302, "process_vm_readv": 310}
ORDER = ("r15 r14 r13 r12 rbp rbx r11 r10 r9 r8 rax rcx rdx rsi rdi orig_rax rip cs eflags rsp ss fs_base gs_base ds es fs gs").split()
ARGUMENTS = ("rdi", "rsi", "rdx", "r10", "r8", "r9")
CALL = b"\x0f\x05"  # the instruction
NO_CALL = 2 ** 64 - 1
BELOW = 2048  # bytes under the stack's end, which nobody uses
PATIENCE = 30

LIBRARY = ctypes.CDLL(None, use_errno=True)
LIBRARY.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]


class Intruder:
    """Inside a process, stopped where it waits; lets it go on at the end as if nothing had been."""

    def __init__(self, process):
        self._process = process

    def __enter__(self):
        end = time.monotonic() + PATIENCE
        while True:
            self._ask(ATTACH)
            os.waitpid(self._process, 0x40000000)  # of any kind of child
            self._before = self._registers()
            if self._read(self._before["rip"] - len(CALL), len(CALL)) == CALL:
                return self
            self._ask(DETACH)
            if time.monotonic() > end:
                raise AssertionError(f"process {self._process} never waits in a call")
            time.sleep(0.01)

    def __exit__(self, *_):
        self._set(self._before)
        self._ask(DETACH)

    def call(self, name, *arguments):
        """What the kernel answers: a number, negative for an error. Texts are given by their place in memory."""
        place, values = self._before["rsp"] - BELOW, []
        for argument in arguments:
            if isinstance(argument, (str, bytes, os.PathLike)):
                text = os.fsencode(argument) + b"\0"
                place -= len(text)
                self._write(place, text)
                values.append(place)
            else:
                values.append(argument % 2 ** 64)
        registers = dict(self._before, rax=NUMBERS[name], orig_rax=NO_CALL, rip=self._before["rip"] - len(CALL))
        registers.update(zip(ARGUMENTS, values))
        self._set(registers)
        self._ask(STEP)
        _, status = os.waitpid(self._process, 0x40000000)
        if not os.WIFSTOPPED(status) or os.WSTOPSIG(status) != signal.SIGTRAP:
            raise AssertionError(f"process {self._process} answered {name} with {status:#x}")
        return ctypes.c_long(self._registers()["rax"]).value

    def _ask(self, request, data=None):
        if LIBRARY.ptrace(request, self._process, None, data) != 0:
            raise OSError(ctypes.get_errno(), f"ptrace {request} of {self._process}")

    def _registers(self):
        room = ctypes.create_string_buffer(8 * len(ORDER))
        self._ask(GET_REGISTERS, room)
        return dict(zip(ORDER, struct.unpack(f"{len(ORDER)}Q", room.raw)))

    def _set(self, registers):
        self._ask(SET_REGISTERS, ctypes.create_string_buffer(struct.pack(f"{len(ORDER)}Q", *(registers[name] for name in ORDER))))

    def _read(self, place, length):
        with open(f"/proc/{self._process}/mem", "rb", buffering=0) as memory:
            memory.seek(place)
            return memory.read(length)

    def _write(self, place, content):
        with open(f"/proc/{self._process}/mem", "r+b", buffering=0) as memory:
            memory.seek(place)
            memory.write(content)
