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
QUIET = 0.5  # seconds; where no file is touched for so long, nothing settles any more


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

    def command_until(self, gives_up, *arguments, said=""):
        """A person's command; None where the person gave up before it had ended."""
        asked = subprocess.Popen([rig.program("quorin-gateway"), "--home", self.home, *arguments], env=rig.environment(),
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        end = time.monotonic() + rig.PATIENCE
        while not gives_up():
            try:
                output, error = asked.communicate(said, timeout=0.02)
                return subprocess.CompletedProcess(asked.args, asked.returncode, output, error)
            except subprocess.TimeoutExpired:
                said = None  # which it has
            if time.monotonic() > end:
                asked.kill()
                raise AssertionError(f"{arguments[0]} took longer than {rig.PATIENCE} seconds")
        asked.kill()
        asked.communicate()
        return None

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
        self._fails_for_ever, self._struck_at = "--fail-on" in strike, None
        self._said, self._said_at = 0, time.monotonic()
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

    def is_beyond_hope(self):
        """What fails for ever has failed for a while: nobody waits any longer for what is under way."""
        if self._fails_for_ever and self._struck_at is None and self.struck():
            self._struck_at = time.monotonic()
        return self._struck_at is not None and time.monotonic() > self._struck_at + PASSING

    def is_quiet(self):
        """No file has been touched for a while, as far as this counts, and as those who ask here could see."""
        said, now = os.path.getsize(self._path), time.monotonic()
        if said != self._said:
            self._said, self._said_at = said, now
        return now > self._said_at + QUIET

    def has_killed(self):
        return self.struck() is not None and self.process.poll() is not None

    def stop(self):
        """The gateway goes on, untraced."""
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait(SETTLING)


def seed():
    """What QUORIN_FAULT_SEED says, or a new one; printed, so that a run can be repeated. From here on SIGTERM fails the test under
    way, which clears up."""
    signal.signal(signal.SIGTERM, end)
    given = os.environ.get("QUORIN_FAULT_SEED")
    number = int(given) if given else int.from_bytes(os.urandom(4), "little")
    print(f"QUORIN_FAULT_SEED={number}", flush=True)
    return number


def end(*_):
    raise AssertionError("ended by a signal")


def is_long():
    """True for every point, False for a sample of them."""
    return os.environ.get("QUORIN_FAULTS") == "long"


def share(points, quick, chance):
    """What is played: all points in the long run, or so many of them by chance as QUORIN_FAULT_POINTS says; else a quick sample."""
    points = list(points)
    most = int(os.environ.get("QUORIN_FAULT_POINTS", len(points))) if is_long() else quick
    return points if most >= len(points) else [points[at] for at in sorted(chance.sample(range(len(points)), most))]


def figure(text):
    """Says what was done, in a line that the long run's table is made of."""
    print(f"figure: {text}", flush=True)


class Sweep:
    """Many points, one after the other. A failure is told at once and ends none of the others, and a sweep that is ended by a
    signal ends behind its point and says what it did.
    """

    TELLING = 60  # seconds between two lines about how far it is

    def __init__(self, name, of=""):
        self.name = name
        self.of = of
        self.struck, self.played, self.wrong = 0, 0, []

    def play(self, points, play, fresh=lambda: None):
        """Plays each; counts those for which that is true. `fresh` makes anew what a failure has left in disorder."""
        points, ended, begun = list(points), [], time.monotonic()
        before = {number: signal.signal(number, lambda *_: ended.append(True)) for number in (signal.SIGTERM, signal.SIGINT)}
        told = begun
        try:
            for point in points:
                try:
                    self.struck += bool(play(point))
                except Exception as failure:  # pylint: disable=broad-exception-caught
                    self.wrong.append(f"{type(failure).__name__}: {failure}")
                    print(f"{self.name}: FAILED: {self.wrong[-1]}", flush=True)
                    fresh()
                self.played += 1
                if ended:
                    break
                if time.monotonic() > told + self.TELLING:
                    told = time.monotonic()
                    print(f"{self.name}: {self.played} of {len(points)} points, {len(self.wrong)} failed", flush=True)
        finally:
            for number, handler in before.items():
                signal.signal(number, handler)
        if ended:
            self.wrong.append(f"ended by a signal before {len(points) - self.played} points were played")
        figure(f"{self.name}: struck at {self.struck} of {len(points)} points{self.of}, {self.played} played in "
               f"{time.monotonic() - begun:.0f} s, {len(self.wrong) - bool(ended)} failed")
        return self

    def end(self, least):
        """Raises where one failed, or fewer were struck: the order of what threads do differs, and with it the number of calls."""
        if self.wrong:
            raise AssertionError("\n".join(self.wrong))
        if self.struck < least:
            raise AssertionError(f"{self.name}: only {self.struck} points were struck, and not {least}")
