"""What a gateway is busy with when a fault strikes. Each prepares a home once, acts, and may clear up after the restart."""

import shutil

from fault_rig import FaultRig, rig
from ledger import Ledger, Version
from odd_objects import part10
from older_index import VERSION, make_older, version_of

DAY_MS = 24 * 3600 * 1000
OLD = 40 * DAY_MS


class Scenario:
    """A name, how to begin, what is done under the fault, and when that is over."""

    launches = False  # whether the act is the start of the gateway

    @property
    def name(self):
        return type(self).__name__.lower()

    def prepare(self, fault_rig, ledger):
        """Brings a gateway that runs to where the act begins."""

    def change_home(self, fault_rig, ledger):
        """What is done to the prepared home while no gateway runs."""

    def act(self, fault_rig, ledger, gives_up):
        """May be cut short at any moment. A person waits until gives_up()."""

    def is_over(self, fault_rig, ledger):
        return fault_rig.is_settled(ledger)

    def check_home(self, fault_rig, calls_failed):
        """What must hold when all has ended, before anything starts again."""

    def ask_again(self, fault_rig, ledger):
        """What a sender or a person does after the restart where the act was cut short."""
        fault_rig.command("upload")


class Receive(Scenario):
    """From the association to the cloud; one of two instances comes a second time with other pixels."""

    def __init__(self):
        self.versions = [Version(1), Version(2), Version(1, shade=1)]

    def act(self, fault_rig, ledger, gives_up):
        ledger.send(fault_rig.port, rig.TITLE, self.versions)

    def ask_again(self, fault_rig, ledger):
        """A modality sends again what wasn't acknowledged, and is served."""
        left = [version for version in self.versions if version.instance not in ledger.acceptable]
        if not ledger.send(fault_rig.port, rig.TITLE, left):
            raise AssertionError("what was cut off could not be sent again")
        super().ask_again(fault_rig, ledger)


class Import(Scenario):
    """A person brings in a folder."""

    def __init__(self):
        self.versions = [Version(1), Version(2)]

    def folder(self, fault_rig):
        folder = fault_rig.home_path.parent / "CANARY-folder"
        folder.mkdir(exist_ok=True)
        for number, version in enumerate(self.versions):
            (folder / f"{number}.dcm").write_bytes(part10(version.body, version.instance))
        return folder

    def act(self, fault_rig, ledger, gives_up):
        for version in self.versions:
            ledger.not_answered(version)
        ended = fault_rig.command_until(gives_up, "import", str(self.folder(fault_rig)))
        if ended and ended.returncode == 0:
            for version in self.versions:
                ledger.answered(version)

    def ask_again(self, fault_rig, ledger):
        again = fault_rig.command("import", str(self.folder(fault_rig)))
        if again.returncode != 0:
            raise AssertionError(f"the import could not be done again: {again.stderr}{again.stdout}")
        for version in self.versions:
            ledger.answered(version)
        super().ask_again(fault_rig, ledger)


class Upload(Scenario):
    """A sign-in lets go what has waited: marks, requests, results."""

    def prepare(self, fault_rig, ledger):
        fault_rig.command("sign-out")
        if not ledger.send(fault_rig.port, rig.TITLE, [Version(1), Version(2), Version(3)]):
            raise AssertionError("could not be sent")
        rig.await_that("the import", lambda: len(fault_rig.asked("SELECT 1 FROM DicomImage")) == 3
                       and not fault_rig.waiting())

    def act(self, fault_rig, ledger, gives_up):
        fault_rig.command_until(gives_up, "sign-in", "--email", rig.EMAIL, said=rig.PASSWORD + "\n")

    def ask_again(self, fault_rig, ledger):
        fault_rig.sign_in()
        super().ask_again(fault_rig, ledger)


class Prune(Scenario):
    """A start lets go of two old images of three."""

    launches = True
    aged = [Version(1), Version(2)]

    def prepare(self, fault_rig, ledger):
        ledger.send(fault_rig.port, rig.TITLE, [*self.aged, Version(3, study=2)])
        fault_rig.await_settled(ledger)
        fault_rig.set("GatewayAutoDelete", "30-days")

    def change_home(self, fault_rig, ledger):
        ledger.pruned = {version.instance for version in self.aged}
        for version in self.aged:
            fault_rig.change("UPDATE DicomImage SET uploadDate = uploadDate - ?1, createDate = createDate - ?1 "
                             "WHERE originalSOPInstanceUID = ?2", OLD, version.instance)

    def is_over(self, fault_rig, ledger):
        return (len(fault_rig.asked("SELECT 1 FROM DicomImage")) == 1
                and not fault_rig.asked("SELECT 1 FROM PendingRemoval"))

    def ask_again(self, fault_rig, ledger):
        rig.await_that("the cleanup", lambda: self.is_over(fault_rig, ledger))


class Repair(Scenario):
    """The doctor takes up a set aside file and one whose rows are gone."""

    def prepare(self, fault_rig, ledger):
        ledger.send(fault_rig.port, rig.TITLE, [Version(1), Version(2, study=2)])
        fault_rig.await_settled(ledger)

    def change_home(self, fault_rig, ledger):
        fault_rig.change("DELETE FROM DicomImage WHERE originalSOPInstanceUID = ?", Version(1).instance)
        aside = fault_rig.inbox / ".rejected"
        aside.mkdir(exist_ok=True)
        late = Version(3)
        (aside / "0123abcd-quorin-00000000000000000000000000000001-1.dcm").write_bytes(part10(late.body, late.instance))
        ledger.answered(late)

    def act(self, fault_rig, ledger, gives_up):
        fault_rig.command_until(gives_up, "doctor", "--repair")

    def ask_again(self, fault_rig, ledger):
        # What the doctor finds again it can say of files that are under way just now.
        def is_mended():
            fault_rig.command("doctor", "--repair")
            return fault_rig.is_settled(ledger)
        rig.await_that("the repair", is_mended)


class Start(Scenario):
    """The start after a kill: files in the inbox, rows in progress, a stored file without rows, an unfinished one."""

    launches = True

    def prepare(self, fault_rig, ledger):
        fault_rig.command("sign-out")
        ledger.send(fault_rig.port, rig.TITLE, [Version(1), Version(2)])
        rig.await_that("the import", lambda: len(fault_rig.asked("SELECT 1 FROM DicomImage")) == 2
                       and not fault_rig.waiting())
        fault_rig.sign_in()
        fault_rig.await_settled(ledger)

    def change_home(self, fault_rig, ledger):
        fault_rig.change("UPDATE DicomImage SET syncState = 3, uploadDate = NULL WHERE originalSOPInstanceUID = ?",
                         Version(1).instance)
        received = Version(3)
        name = "quorin-00000000000000000000000000000001-1"
        (fault_rig.inbox / f"{name}.dcm").write_bytes(part10(received.body, received.instance))
        (fault_rig.inbox / ".part" / f"{name.replace('-1', '-2')}.part").write_bytes(b"cut")
        (fault_rig.store / ".incoming" / "00000000000000000000000000000001.dcm").write_bytes(b"cut")
        ledger.answered(received)


class Renew(Scenario):
    """A start in an incoming folder that a person has made anew, for one that is gone for good."""

    launches = True

    def prepare(self, fault_rig, ledger):
        ledger.send(fault_rig.port, rig.TITLE, [Version(1)])
        fault_rig.await_settled(ledger)

    def change_home(self, fault_rig, ledger):
        shutil.rmtree(fault_rig.inbox)
        (fault_rig.inbox / ".part").mkdir(parents=True)

    def check_home(self, fault_rig, calls_failed):
        """Whoever couldn't look into it could not see that it was empty, and tells the one before as missing; a person makes it anew."""
        if calls_failed:
            self.change_home(fault_rig, None)

    def is_over(self, fault_rig, ledger):
        return listens(fault_rig)

    def ask_again(self, fault_rig, ledger):
        if not ledger.send(fault_rig.port, rig.TITLE, [Version(2)]):
            raise AssertionError("the new folder takes nothing in")
        found = fault_rig.command("doctor", "--json").stdout
        if "inboxoutofsight" in found.lower():
            raise AssertionError(f"the new folder isn't taken for the one before: {found}")
        super().ask_again(fault_rig, ledger)


class Migrate(Scenario):
    """A start brings an index of the version before forward, and keeps a copy of it."""

    launches = True

    def prepare(self, fault_rig, ledger):
        ledger.send(fault_rig.port, rig.TITLE, [Version(1), Version(2)])
        fault_rig.await_settled(ledger)
        fault_rig.command("sign-out")
        ledger.send(fault_rig.port, rig.TITLE, [Version(3)])
        rig.await_that("the import", lambda: len(fault_rig.asked("SELECT 1 FROM DicomImage")) == 3
                       and not fault_rig.waiting())

    def change_home(self, fault_rig, ledger):
        make_older(self.index(fault_rig))

    @staticmethod
    def index(fault_rig):
        return fault_rig.home_path / "index" / "QuorinGateway.sqlite"

    def is_over(self, fault_rig, ledger):
        return listens(fault_rig)

    def check_home(self, fault_rig, calls_failed):
        """Index and copy are whole; there may be no copy where it could not be written."""
        index = self.index(fault_rig)
        former = index.with_name(f"{index.name}.former")
        if version_of(index) == VERSION or (calls_failed and not former.exists()):
            return
        if not former.exists() or version_of(former) != VERSION:
            raise AssertionError("the index has been brought forward without a copy")

    def ask_again(self, fault_rig, ledger):
        fault_rig.sign_in()
        super().ask_again(fault_rig, ledger)
        left = {file.name for file in self.index(fault_rig).parent.glob("*.former*")}
        if left - {f"{self.index(fault_rig).name}.former"}:
            raise AssertionError(f"left over: {left}")


def listens(fault_rig):
    return (fault_rig.status() or {"listener": {}})["listener"].get("state") == "listening"


def prepared(scenario):
    """A home and a cloud where the act begins, ended in an orderly way, and what senders were told there."""
    fault_rig, ledger = FaultRig(), Ledger()
    try:
        fault_rig.set_up()
        scenario.prepare(fault_rig, ledger)
        fault_rig.stop()
        scenario.change_home(fault_rig, ledger)
        fault_rig.keep()
    except BaseException:
        fault_rig.close(True)
        raise
    return fault_rig, ledger


ALL = {scenario().name: scenario for scenario in (Receive, Import, Upload, Prune, Repair, Start, Renew, Migrate)}
