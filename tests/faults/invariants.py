"""What must hold of a home and a cloud after a fault, a restart and a while; judged without any code of the gateway's."""

import collections
import pathlib
import re
import time
import urllib.request

from fault_rig import rig  # first: it says where the others are
from ledger import CANARY, ROOT
from odd_objects import dataset_of

KEPT_OF_THE_INBOX = {".part", ".rejected"}
KEPT_OF_PART = {"order", ".lock", ".id"}


def check(fault_rig, ledger, sent=None):
    """Raises AssertionError with all that doesn't hold; `sent` are the datasets that another cloud than the local one keeps."""
    wrong = [*images(fault_rig, ledger, cloud_files(fault_rig) if sent is None else sent), *leftovers(fault_rig), *index(fault_rig), *canaries(fault_rig)]
    if wrong:
        raise AssertionError("\n".join(wrong))


def stored_files(fault_rig):
    """Path within the store -> dataset, without a header that may be there."""
    found = {}
    for file in fault_rig.store.glob("[0-9]*/*"):
        held = file.read_bytes()
        found[str(file.relative_to(fault_rig.store))] = dataset_of(held) if held[128:132] == b"DICM" else held
    return found


def cloud_files(fault_rig):
    """The datasets that the cloud has on its disk."""
    return {dataset_of(file.read_bytes()) for file in (fault_rig.cloud_path / "instances").rglob("*.dcm")}


def picture(fault_rig):
    """What is stored, the rows, and the paths of files that are on their way out, as they were at one moment: the gateway goes on removing
    former versions while it is looked at, so a look that something moved under is taken again."""
    end = time.monotonic() + 60
    while True:
        said = known(fault_rig)
        try:
            stored = stored_files(fault_rig)
        except FileNotFoundError:
            stored = None
        if stored is not None and known(fault_rig) == said:
            return stored, *said
        if time.monotonic() > end:
            raise AssertionError("the store doesn't come to rest")


def known(fault_rig):
    """The rows, and the paths of files that are on their way out."""
    rows = fault_rig.asked("SELECT originalSOPInstanceUID, pathString, syncState FROM DicomImage")
    leaving = {path for path, in fault_rig.asked("SELECT pathString FROM SupersededFile "
                                                 "UNION SELECT pathString FROM PendingRemoval")}
    return rows, leaving


def images(fault_rig, ledger, sent):
    """Every acknowledged instance is there as it was sent, rows and files belong together, and what is said to be sent is."""
    stored, rows, leaving = picture(fault_rig)
    named = {path for _, path, _ in rows}
    by_instance = {instance: stored.get(path) for instance, path, _ in rows}
    ever_sent = {body for bodies in [*ledger.acceptable.values(), *ledger.unanswered.values(), ledger.former]
                 for body in bodies}
    for instance, bodies in ledger.acceptable.items():
        if by_instance.get(instance) not in bodies and not sent.intersection(bodies):
            yield f"lost: {instance} is neither in the store nor in the cloud as it was acknowledged"
        if instance in by_instance and by_instance[instance] not in bodies:
            yield f"the row of {instance} stands for another version than the last acknowledged"
    for path in named - set(stored):
        yield f"a row without its file: {path}"
    for path in set(stored) - named - leaving:
        yield f"a file without a row: {path}"
    for path, body in stored.items():
        if body not in ever_sent:
            yield f"nobody sent what is stored in {path}"
    for instance, path, state in rows:
        if state == 1 and stored.get(path) not in sent:
            yield f"called sent, and the cloud doesn't have it: {instance}"


def leftovers(fault_rig):
    """No temporary file is there."""
    inbox, home = fault_rig.inbox, fault_rig.home_path
    places = [(inbox, KEPT_OF_THE_INBOX), (inbox / ".part", KEPT_OF_PART), (inbox / ".rejected", set()),
              (fault_rig.store / ".incoming", set()), (home / "tmp", {"converted"}), (home / "tmp" / "converted", set())]
    for folder, kept in places:
        for found in folder.glob("*"):
            if found.name not in kept:
                yield f"left over: {found.relative_to(home)}"


def index(fault_rig):
    """The index is whole, nobody's work is marked as under way, and its tallies are what its rows say."""
    found = fault_rig.asked("PRAGMA integrity_check")
    if found != [("ok",)]:
        yield f"the index is damaged: {found}"
    if fault_rig.asked("SELECT 1 FROM DicomImage WHERE syncState = 3"):
        yield "a row is left in progress"
    yield from tallies(fault_rig)


def tallies(fault_rig):
    rows = fault_rig.asked("SELECT series, syncState, createDate, uploadDate FROM DicomImage")
    series = {pk: study for pk, study in fault_rig.asked("SELECT pk, study FROM Series")}
    of_series, of_study, slots = (collections.defaultdict(lambda: [0] * 4) for _ in range(3))
    for pk, state, received, sent in rows:
        for counts in (of_series[pk], of_study[series[pk]]):
            counts[0] += 1
            if state:
                counts[state] += 1
        slots[received // 300000][0] += 1
        if state == 1 and sent is not None:
            slots[sent // 300000][1] += 1
    columns = "imageCount, syncedCount, failedCount, inProgressCount"
    for table, counted in (("Series", of_series), ("Study", of_study)):
        for pk, *known in fault_rig.asked(f"SELECT pk, {columns} FROM {table}"):
            if known != counted[pk]:
                yield f"the tallies of {table} {pk} are {known}, and its rows say {counted[pk]}"
    [ledger] = fault_rig.asked("SELECT studyCount, seriesCount, imageCount, syncedCount, failedCount FROM Ledger")
    [studies] = fault_rig.asked("SELECT count(*) FROM Study")
    recounted = (studies[0], len(series), len(rows), sum(row[1] == 1 for row in rows), sum(row[1] == 2 for row in rows))
    if ledger != recounted:
        yield f"the ledger says {ledger}, and the rows say {recounted}"
    yield from activity(fault_rig, "Activity", "slot", slots)
    hours = collections.defaultdict(lambda: [0] * 4)
    for slot, (received, sent, *_) in slots.items():
        hours[slot // 12][0] += received
        hours[slot // 12][1] += sent
    yield from activity(fault_rig, "ActivityHour", "hour", hours)


def activity(fault_rig, table, time, counted):
    known = {at: [received, sent] for at, received, sent in
             fault_rig.asked(f"SELECT {time}, received, sent FROM {table} WHERE received <> 0 OR sent <> 0")}
    if known != {at: counts[:2] for at, counts in counted.items() if any(counts[:2])}:
        yield f"{table} says {known}, and the rows say {dict(counted)}"


def canaries(fault_rig):
    """Nothing of a patient is told outside store, inbox and index: not in a log, nor to who lists processes."""
    wanted = (CANARY.encode(), ROOT.encode())
    home = fault_rig.home_path
    files = [fault_rig.said_path]
    files += [file for file in home.rglob("*") if file.is_file()
              and file.relative_to(home).parts[0] not in ("Documents", "index")]
    for process in rig.session_members(fault_rig.gateway.process.pid):
        files += [pathlib.Path(f"/proc/{process}/{name}") for name in ("cmdline", "environ")]
    for file in files:
        try:
            told = file.read_bytes()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if any(word in told for word in wanted):
            yield f"{file} tells of a patient"
    for address in re.findall(r"Metrics are served at (http://\S+)\.", fault_rig.said_path.read_text("utf-8", "replace"))[-1:]:
        with urllib.request.urlopen(address, timeout=rig.PATIENCE) as answer:
            if any(word in answer.read() for word in wanted):
                yield "the metrics tell of a patient"
