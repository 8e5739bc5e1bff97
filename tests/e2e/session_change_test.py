"""A session that ends, or gives way to another one, in the midst of an upload."""

import base64
import json
import threading
import unittest

from at_an_archive import AtAnArchive
from harness import TITLE
from odd_objects import Sender, dataset
from steered_archive import DICOM_JSON, referenced


def account_in(headers):
    """Who signed in by name; nothing for nobody."""
    pair = headers["Authorization"]
    return base64.b64decode(pair.split()[1]).decode().split(":")[0] if pair else None


class WhileAnotherSignsIn(AtAnArchive):
    """Ann's session ends in the midst of an upload. The archive holds another version of her image for everybody
    else, says so, and gives none out."""

    UID = "1.2.7.1"

    def setUp(self):
        super().setUp()
        self.anns, self.others = {}, {self.UID: ("1.2.9", "1.2.9.1", b"another version")}
        self.asks_for_ann, self.is_held, self.may_go_on = None, threading.Event(), threading.Event()
        self.addCleanup(self.may_go_on.set)
        self.archive.gives = False
        self.archive.guard = self.turn_to
        self.set("basic", "--user", "ann")

    def turn_to(self, _, headers):
        is_ann = account_in(headers) == "ann"
        self.archive.kept = self.anns if is_ann else self.others
        self.archive.says_there = not is_ann

    def store(self, shade):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(dataset(self.UID, shade=shade), self.UID)
        sender.release()

    def hold(self, *_):
        if not self.is_held.is_set():
            self.is_held.set()
            self.may_go_on.wait(60)

    def go_on_as(self, account):
        self.assertTrue(self.is_held.wait(60))
        if account:
            self.set("basic", "--user", account)
        else:
            self.gateway.command("sign-out")
        self.may_go_on.set()

    def await_kept_back(self, before=0):
        kept = self.gateway.await_status("the image to be kept back",
                                         lambda s: "notComparable" in json.dumps(s["failures"]))
        self.assertEqual((kept["counters"]["synced"], kept["counters"]["notSynced"]), (before, 1))

    def posts_of(self):
        return [account_in(headers) for method, _, headers, _ in self.archive.requests if method == "POST"]

    def drop_ann_s_image(self):
        """It is taken, and never stored: nobody's look may find it."""
        self.archive.words = lambda instances: (202, "", b"") if self.posts_of()[-1] == "ann" else (
            202, DICOM_JSON, json.dumps(referenced(instances, warning=45070)).encode())
        self.archive.when_sent = self.hold

    def test_what_another_s_archive_holds_does_not_prove_what_was_sent_before(self):
        self.drop_ann_s_image()
        self.store(shade=1)

        self.go_on_as("bob")

        self.await_kept_back()
        self.assertEqual(set(self.posts_of()), {"ann", "bob"})

    def test_what_anybody_may_see_does_not_prove_what_was_sent_before_a_sign_out(self):
        self.drop_ann_s_image()
        self.store(shade=1)

        self.go_on_as(None)

        ended = self.gateway.await_status("the run to end", lambda s: not s["upload"]["running"])
        self.assertEqual((ended["counters"]["synced"], ended["counters"]["notSynced"]), (0, 1))
        self.assertEqual(set(self.posts_of()), {"ann"})

    def hold_a_look(self):
        """Two versions went to ann's, so that each further one is looked for before it is sent."""
        self.store(shade=1)
        self.gateway.await_status("the first to be sent", lambda s: s["counters"]["synced"] == 1)
        self.store(shade=2)
        self.await_kept_back()
        looked = self.archive.look

        def look(path):
            if path.endswith(f"/instances/{self.UID}"):
                self.hold()
            return looked(path)
        self.archive.look = look
        self.store(shade=3)

    def test_nothing_goes_out_for_nobody_after_a_look_that_began_before_a_sign_out(self):
        self.hold_a_look()

        self.go_on_as(None)

        ended = self.gateway.await_status("the run to end", lambda s: not s["upload"]["running"])
        self.assertEqual((ended["counters"]["synced"], ended["counters"]["notSynced"]), (0, 1))
        self.assertEqual(set(self.posts_of()), {"ann"})


if __name__ == "__main__":
    unittest.main(verbosity=2)
