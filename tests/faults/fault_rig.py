"""A gateway and a cloud to strike at: homes to start from, the tracer that strikes, and waiting for what comes of it."""

import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parent / "crash"), str(HERE.parent / "e2e")]

import rig  # noqa: E402  pylint: disable=wrong-import-position

SETTLING = 60  # seconds; what takes longer has failed
PASSING = 2  # seconds; what fails for ever gets this long to settle all the same


class FaultRig(rig.Rig):
    """A gateway that sends originals, so that what the cloud has can be compared byte for byte."""

    def __init__(self):
        super().__init__()
        self.move_home(self.home)
        self.cloud_path = pathlib.Path(self.path("cloud"))
        self.said_path = pathlib.Path(self.path("gateway.log"))

    def move_home(self, home):
        """Before anything is there."""
        self.home = home
        self.home_path = pathlib.Path(home)

    def keep(self):
        """Puts home and cloud, whose programs have ended, where return_to_kept() finds them."""
        for name in ("home", "cloud"):
            os.rename(self.path(name), self.path(f"kept-{name}"))

    def return_to_kept(self):
        """In the same place, since a home knows the folders that it has received in."""
        self.kill()
        for name in ("home", "cloud"):
            shutil.rmtree(self.path(name), ignore_errors=True)
            shutil.copytree(self.path(f"kept-{name}"), self.path(name),
                            ignore=lambda _, names: [each for each in names if each.endswith(".socket")])
        self.said_path.unlink(missing_ok=True)

    def kill(self):
        for program in (self.gateway, self.cloud):
            if program:
                program.kill()

    # What runs

    def gateway_arguments(self):
        return [rig.program("quorin-gateway"), "--home", self.home, "--bind", "127.0.0.1", "--cloud", self.address,
                "--headless", "--metrics", "127.0.0.1:0"]

    def launch_gateway(self):
        self.gateway = rig.Program(self.gateway_arguments(), self.said_path)

    def set_up(self):
        super().set_up()
        self.set("quorinCloudCompressToLS", "false")

    def set(self, key, value):
        changed = self.command("settings", "set", key, value)
        if changed.returncode != 0:
            raise AssertionError(f"{key} = {value}: {changed.stderr}")

    def restart(self):
        """What a supervisor does after the worst."""
        self.gateway.kill()
        if self.cloud.ended():
            self.start_cloud()
        self.start_gateway()

    def stop(self):
        """An orderly end of both."""
        for program in (self.gateway, self.cloud):
            program.process.send_signal(signal.SIGTERM)
        for program in (self.gateway, self.cloud):
            program.process.wait(SETTLING)

    # What is there

    @property
    def inbox(self):
        return self.home_path / "Documents" / "Import"

    @property
    def store(self):
        return self.home_path / "Documents" / "Pavan Data"

    def asked(self, sql, *values):
        """The rows of the index, read beside a gateway that may be running; none where there is no index yet."""
        path = self.home_path / "index" / "QuorinGateway.sqlite"
        if not path.exists():
            return []
        index = sqlite3.connect(f"file:{path}?mode=ro", uri=True, timeout=10)
        try:
            return index.execute(sql, values).fetchall()
        finally:
            index.close()

    def change(self, sql, *values):
        """Changes the index of a gateway that isn't running."""
        with sqlite3.connect(self.home_path / "index" / "QuorinGateway.sqlite") as index:
            index.execute(sql, values)
        index.close()

    def waiting(self):
        """The files that were received, and aren't taken in."""
        return [file for file in self.inbox.glob("*.dcm") if file.is_file()]

    def is_settled(self, ledger):
        """True when all that was acknowledged is taken in, and all that was taken in is sent."""
        known = {row[0] for row in self.asked("SELECT originalSOPInstanceUID FROM DicomImage")} | ledger.pruned
        return (set(ledger.acceptable) <= known and not self.waiting()
                and not self.asked("SELECT 1 FROM DicomImage WHERE syncState IS NOT 1 LIMIT 1"))

    def await_settled(self, ledger, seconds=SETTLING):
        end = time.monotonic() + seconds
        while not self.is_settled(ledger):
            if time.monotonic() > end:
                raise AssertionError(f"not settled after {seconds} s: {self.unsettled(ledger)}")
            self.gateway.check()
            time.sleep(0.02)

    def unsettled(self, ledger):
        rows = self.asked("SELECT originalSOPInstanceUID, syncState, pathString, notBefore FROM DicomImage")
        failures = self.asked("SELECT pathString, failureClass, failureCode FROM UploadFailure")
        lacking = set(ledger.acceptable) - {row[0] for row in rows}
        return f"not in the index: {lacking}; in the inbox: {self.waiting()}; rows: {rows}; failures: {failures}"


class Tracer:
    """Counts a rig's calls on files and strikes at one of them; see step_tracer.cpp."""

    def __init__(self, fault_rig, *strike, all_calls=False, launch=False):
        """Of a gateway that runs, or, with launch, of one that is started by this."""
        self._path = fault_rig.path("calls")
        options = ["--below", fault_rig.home, "--but", f"{fault_rig.home}/Application Support", *map(str, strike)]
        if all_calls:
            options.append("--all")
        if launch:
            what = ["--", *fault_rig.gateway_arguments()]
        else:
            what = ["--session", str(fault_rig.gateway.process.pid)]
        with open(self._path, "wb") as calls, open(fault_rig.said_path, "ab") as said:
            self.process = subprocess.Popen([rig.program("step_tracer"), *options, *what], stdout=calls, stderr=said,
                                            stdin=subprocess.DEVNULL, env=rig.environment())
        rig.await_that("the tracer", lambda: self._lines() or self.process.poll() is not None)
        if not self._lines():
            raise AssertionError(f"the tracer ended with {self.process.returncode}")
        self.session = int(self._lines()[0].split()[1])

    def _lines(self):
        with open(self._path, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()

    def calls(self):
        """What was counted: the text of each call."""
        return [line.split(" ", 1)[1] for line in self._lines() if line[0].isdigit()]

    def struck(self):
        """The call that it struck at; None while it hasn't."""
        lines = self._lines()
        return lines[lines.index("hit") - 1] if "hit" in lines else None

    def has_killed(self):
        return self.struck() is not None and self.process.poll() is not None

    def stop(self):
        """The gateway goes on, untraced."""
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait(SETTLING)


def seed():
    """What QUORIN_FAULT_SEED says, or a new one; printed, so that a run can be repeated."""
    given = os.environ.get("QUORIN_FAULT_SEED")
    number = int(given) if given else int.from_bytes(os.urandom(4), "little")
    print(f"QUORIN_FAULT_SEED={number}", flush=True)
    return number


def is_long():
    """True for every point, False for a sample of them."""
    return os.environ.get("QUORIN_FAULTS") == "long"


def figure(text):
    """Says what was done, in a line that the long run's table is made of."""
    print(f"figure: {text}", flush=True)
