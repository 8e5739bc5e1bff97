"""What senders were told, kept by the test that sent: nothing in it comes from the gateway."""

import odd_objects

CANARY = "CANARY"
ROOT = "1.2.826.0.1.3680043.2.1143.7"  # of all identifiers here, so that they can be looked for


class Version:
    """One dataset that was sent under an instance, and a person's data in it that nobody else may tell; by `extra` bytes larger."""

    def __init__(self, number, shade=0, study=1, extra=0):
        self.instance = f"{ROOT}.{study}.{number}"
        self.study = f"{ROOT}.{study}"
        self.body = odd_objects.dataset(
            self.instance, study=self.study, series=f"{self.study}.0", name=f"{CANARY}^{number}", shade=shade,
            more=((0x00100020, "LO", f"{CANARY}-ID"), (0x00080050, "SH", f"{CANARY}-ACC"),
                  *[(0x00091010, "UN", b"Z" * extra)] * (extra > 0)))


class Ledger:
    """Instance UID -> what may be kept of it: the version that was last acknowledged, or one that was sent after it."""

    def __init__(self):
        self.acceptable = {}  # of acknowledged instances
        self.unanswered = {}  # of those that never were
        self.former = []  # versions that a later one has taken the place of
        self.pruned = set()  # instances that retention may have let go of here
        self.answers = []  # the status of each answer

    def answered(self, version):
        self.former += self.acceptable.get(version.instance, [])
        self.acceptable[version.instance] = [version.body]
        self.unanswered.pop(version.instance, None)

    def not_answered(self, version):
        known = self.acceptable.get(version.instance)
        if known is None:
            known = self.unanswered.setdefault(version.instance, [])
        known.append(version.body)

    def send(self, port, called, versions):
        """One association; what comes after the first version without an answer isn't sent. True when all were answered."""
        try:
            sender = odd_objects.Sender(port, called, calling=f"{CANARY}AE")
        except (OSError, AssertionError):
            return False
        for version in versions:
            try:
                status = sender.ask_to_store(version.body, version.instance)
            except (OSError, AssertionError):
                self.not_answered(version)
                sender.close()
                return False
            self.answers.append(status)
            if status == 0:
                self.answered(version)
            else:
                self.not_answered(version)
        try:
            sender.release()
        except (OSError, AssertionError):
            sender.close()
        return True
