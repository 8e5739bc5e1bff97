"""What a sign-in at an archive is worth: whose word counts for whom, and what holds while it can't be had."""

import base64
import json
import os
import threading
import unittest

from at_an_archive import AtAnArchive
from harness import await_true, identity_of, send
from steered_archive import DICOM_JSON, SteeredArchive, referenced

PAGE = (200, "text/html", b"<html>Please sign in to this network</html>")
REFUSED = (401, "", b"")


def key_of(number):
    """A JSON Web Token that says who made it, and not for whom."""
    claims = json.dumps({"iss": "https://id.example", "aud": "archive", "jti": number}).encode()
    return f"e30.{base64.urlsafe_b64encode(claims).rstrip(b'=').decode()}.c2ln"


class WhoseArchive(AtAnArchive):

    def assert_kept_back(self, files):
        send(self.gateway, files)
        held = self.gateway.await_status("the image to be kept back",
                                         lambda s: "notComparable" in json.dumps(s["failures"]))
        self.assertEqual(held["counters"]["notSynced"], 1)

    def test_what_one_account_took_is_not_proven_by_what_another_holds(self):
        first, second = self.start_tokens(), self.start_tokens("other")
        ways = {"a token": (lambda: self.set("bearer", secret="one"), lambda: self.set("bearer", secret="two")),
                "a client": (lambda: self.set_client(first), lambda: self.set_client(second)),
                "a key that names nobody": (lambda: self.set("bearer", secret=key_of("one")),
                                            lambda: self.set("bearer", secret=key_of("two"))),
                "a name": (lambda: self.set("basic", "--user", "gateway"), lambda: self.set_client(first)),
                "nobody": (lambda: self.set("none"), lambda: self.set("bearer", secret="two"))}
        for seed, (name, (sign_in, sign_in_elsewhere)) in enumerate(ways.items(), start=1):
            with self.subTest(name):
                # Given an image that the first account holds
                files = self.samples(seed=seed, ct=1)
                self.archive.gives, self.archive.says_there = True, False
                sign_in()
                self.gateway.command("upload")
                send(self.gateway, files)
                self.gateway.await_status("all uploaded", lambda s: s["counters"]["notSynced"] == 0
                                          and s["counters"]["images"] == seed)

                # When the other account says that it has it, too, then nobody believes it
                self.be_of_somebody_else(files)
                sign_in_elsewhere()
                self.assert_kept_back(files)

    def test_a_token_that_was_fetched_anew_is_of_the_same_account(self):
        # Given
        tokens, files = self.start_tokens(), self.samples(ct=1)
        good = {"Bearer token1"}
        self.archive.guard = lambda _, headers: None if headers["Authorization"] in good else REFUSED
        self.set_client(tokens)
        send(self.gateway, files)
        self.gateway.await_synced(files)

        # When
        good.clear()
        good.add("Bearer token2")
        self.be_of_somebody_else(files)
        uploads = self.archive.count("POST")
        send(self.gateway, files)

        # Then what was stored by it is known for that
        await_true("another upload", lambda: self.archive.count("POST") > uploads + 1, self.gateway.process)
        self.gateway.await_synced(files)

    def test_a_token_that_has_ended_is_fetched_anew_where_the_archive_calls_that_not_permitted(self):
        # Given
        tokens, first, second = self.start_tokens(), self.samples(ct=1), self.samples(seed=2, ct=1)
        good = {"Bearer token1"}
        self.archive.guard = lambda _, headers: None if headers["Authorization"] in good else (403, "", b"")
        self.set_client(tokens)
        send(self.gateway, first)
        self.gateway.await_synced(first)

        # When
        good.clear()
        good.add("Bearer token2")
        send(self.gateway, second)

        # Then
        self.gateway.await_synced(first + second)

    def test_nothing_more_is_sent_for_nobody_after_a_sign_out(self):
        # Given an archive that asks nobody who they are
        files, is_sending, may_go_on = self.samples(ct=40), threading.Event(), threading.Event()
        self.addCleanup(may_go_on.set)
        self.set("basic", "--user", "ann")

        def hold(_):
            is_sending.set()
            may_go_on.wait(60)
        self.archive.when_sent = hold
        send(self.gateway, files)
        self.assertTrue(is_sending.wait(60))

        # When
        self.gateway.command("sign-out")
        may_go_on.set()

        # Then
        ended = self.gateway.await_status("the run to end", lambda s: not s["upload"]["running"])
        self.assertLess(ended["counters"]["synced"], 20)
        signed = [headers["Authorization"] for method, _, headers, _ in self.archive.requests if method == "POST"]
        self.assertNotIn(None, signed)

        # When
        self.set("basic", "--user", "ann")

        # Then
        self.gateway.await_synced(files)


class BesidesASignIn(AtAnArchive):

    KEY = "k3y: of the site"

    def scatter(self):
        """Queries and retrieval at places of their own; each place wants a header, and does what is its own alone."""
        asking, giving = SteeredArchive(), SteeredArchive()
        for place, method in ((self.archive, "POST"), (asking, "GET"), (giving, "GET")):
            place.kept = self.archive.kept
            place.guard = lambda asked, headers, method=method: (
                None if headers["X-Api-Key"] == self.KEY and asked in (method, "DELETE") else REFUSED)
        self.addCleanup(asking.end)
        self.addCleanup(giving.end)
        return asking, giving

    def test_each_request_goes_to_its_own_root_and_carries_the_headers(self):
        # Given
        asking, giving = self.scatter()
        headers = self.folder / "headers"
        headers.write_text(f"X-Api-Key: {self.KEY}\n")

        # When
        self.set("bearer", "--query-root", f"{asking.address}/qido", "--retrieve-root", f"{giving.address}/wado",
                 "--header-file", headers)
        headers.unlink()
        tried = json.loads(self.gateway.command("archive", "test", "--json").stdout)

        # Then
        self.assertEqual({step["outcome"] for step in tried["steps"]}, {"good"}, tried)
        self.assertEqual(asking.count("GET", "/qido/studies"), asking.count("GET"))
        self.assertGreater(giving.count("GET", "/wado/studies/"), 0)
        self.gateway.end()
        self.start_again()
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)
        self.assertLessEqual({identity_of(file)[2] for file in sent}, set(self.archive.kept))

        # And nobody is told the value
        exported = self.folder / "settings.json"
        self.gateway.command("settings", "export", exported)
        shown = self.gateway.command("archive", "show").stdout
        self.assertIn("Headers: X-Api-Key\n", shown)
        self.assertIn(f"Root of queries: {asking.address}/qido\n", shown)
        for told in (shown, self.gateway.said(), json.dumps(self.gateway.status()), exported.read_text(),
                     self.gateway.command("logs").stdout):
            self.assertNotIn("k3y", told)

        # When it is all at one place again
        self.archive.guard = lambda *_: None
        self.set("--no-roots", "--no-headers")

        # Then
        asked = asking.count("GET")
        self.gateway.command("archive", "test")
        self.assertEqual(asking.count("GET"), asked)
        self.assertNotIn("X-Api-Key", str(self.archive.requests[-1][2]))

    def test_headers_that_cannot_be_sent_are_told_in_one_sentence(self):
        for text, words in (("no header", "holds no headers"), ("Host: x", "is set by the gateway itself"),
                            ("X Y: z", "A header needs a name")):
            headers = self.folder / "headers"
            headers.write_text(text)
            refused = self.set("none", "--header-file", headers, check=False)
            self.assertNotEqual(refused.returncode, 0)
            self.assertRegex(refused.stderr, r"\A[A-Z][^\n]+\.\n\Z")
            self.assertIn(words, refused.stderr)

    def test_what_the_archive_repeats_is_told_without_what_is_secret(self):
        # Given
        headers = self.folder / "headers"
        headers.write_text(f"X-Api-Key: {self.KEY}\n")
        self.set("bearer", "--header-file", headers)

        # When
        self.archive.guard = lambda _, shown: (400, "application/problem+json", json.dumps(
            {"detail": f"Not with {shown['Authorization']} and {shown['X-Api-Key']}."}).encode())

        # Then
        told = self.gateway.command("archive", "test", check=False).stdout
        self.assertIn("Not with Bearer … and ….", told)

    def send_in_batches(self):
        for key, value in (("quorinCloudBatchEnabled", "true"), ("quorinCloudBatchUploadCount", "8"),
                           ("QuorinRetrieveMode", "true"), ("quorinCloudCompressToLS", "false")):
            self.gateway.command("settings", "set", key, value)

    def test_a_limit_of_a_moment_is_unlearnt(self):
        # Given an archive that took no two images at once, for a moment
        limit, size = 800_000, 525_000
        self.archive.guard = lambda method, headers: (
            (413, "", b"") if method == "POST" and int(headers["Content-Length"]) > limit else None)
        self.send_in_batches()
        first, second = self.samples(ct=4), self.samples(seed=2, ct=24)
        send(self.gateway, first)
        self.gateway.await_received(first)
        self.set("none")
        self.gateway.await_synced(first)

        # When
        self.archive.guard = lambda *_: None
        self.archive.requests.clear()
        send(self.gateway, second)
        self.gateway.await_synced(first + second)

        # Then
        sizes = [len(body) for method, _, _, body in self.archive.requests if method == "POST"]
        self.assertGreater(max(sizes), 1.5 * size, sizes)

    def test_the_size_that_is_refused_is_known_after_a_restart(self):
        # Given an archive that takes no more than two of these at once
        refused = []
        limit = 3 * 525_000

        def guard(method, headers):
            if method == "POST" and int(headers["Content-Length"]) > limit:
                refused.append(headers["Content-Length"])
                return 413, "", b""
            return None
        self.archive.guard = guard
        self.send_in_batches()
        first, second = self.samples(ct=16), self.samples(seed=2, ct=12)  # fewer requests than a larger one is tried after
        send(self.gateway, first)
        self.gateway.await_received(first)
        self.set("none")
        self.gateway.await_synced(first)
        self.assertGreater(len(refused), 0)

        # When
        self.gateway.end()
        refused.clear()
        self.start_again()
        send(self.gateway, second)
        self.gateway.await_synced(first + second)

        # Then
        self.assertEqual(refused, [])


class WhileItCannotBeHad(AtAnArchive):

    def test_status_tells_a_sign_in_that_cannot_be_had_from_one_that_is_good(self):
        # Given
        tokens = self.start_tokens()
        tokens.lifetime = 2
        self.set_client(tokens)
        self.assertEqual(self.session()["state"], "signedIn")

        # When
        tokens.manner = PAGE
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        held = self.gateway.await_status("it to be told", lambda s: s["session"]["state"] == "signInUnavailable")

        # Then it is told whose fault that is
        self.assertIn("A web page came from 127.0.0.1", held["session"]["trouble"])
        self.assertTrue(self.gateway.await_status("the archive to be there", lambda s: s["cloud"]["online"]))
        self.assertIn("Sign-in of gateway can't be had since", self.gateway.command("status").stdout)

        # When it is over, then nobody has to do anything
        tokens.manner = None
        self.gateway.await_synced(sent)
        self.gateway.await_status("all to be well", lambda s: s["session"]["state"] == "signedIn")

    def test_a_pipe_in_place_of_a_tokens_file_holds_nobody_up(self):
        # Given
        file, pipe = self.folder / "token", self.folder / "pipe"
        os.mkfifo(pipe)
        refused = self.set("token-file", "--file", pipe, check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertIn("is no ordinary file", refused.stderr)
        file.write_text("good")
        self.set("token-file", "--file", file)

        # When
        file.unlink()
        os.mkfifo(file)
        sent = self.samples(ct=2)
        send(self.gateway, sent)
        self.gateway.await_status("the uploads to be held back",
                                  lambda s: "signInUnavailable" in json.dumps([s["failures"], s["waiting"]]))

        # Then
        file.unlink()
        file.write_text("good")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_an_issuer_is_asked_again_after_the_address_that_it_named_has_failed(self):
        # Given a gateway that started while the issuer named a wrong address
        tokens, sent = self.start_tokens(), self.samples(ct=2)
        right = tokens.endpoint
        self.set("oauth2", "--issuer", tokens.issuer, "--client-id", "gateway")
        self.gateway.end()
        tokens.endpoint = "http://127.0.0.1:9/gone"
        self.start_again()
        send(self.gateway, sent)
        self.gateway.await_status("the uploads to be held back",
                                  lambda s: "signInUnavailable" in json.dumps([s["failures"], s["waiting"]]))

        # When
        tokens.endpoint = right

        # Then
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_a_kept_sign_in_that_cannot_be_read_sends_nothing_and_nobodys(self):
        # Given an archive that takes images from everybody, and a session that a later version has kept
        self.set("bearer", secret="t0ken")
        kept = next(self.gateway.home.glob("*.token"))
        session = kept.read_bytes()
        self.gateway.end()
        kept.write_bytes(session.replace(b"bearer", b"telepathy"))
        self.start_again()
        sent = self.samples(ct=2)

        # When
        send(self.gateway, sent)
        held = self.gateway.await_status("the images to wait", lambda s: s["counters"]["notSynced"] == 2
                                         and s["session"]["state"] == "signInUnavailable")

        # Then
        self.assertIn("can't be read by this version", held["session"]["trouble"])
        self.gateway.command("upload")
        self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"] == "signInUnavailable")
        self.assertEqual(self.archive.count("POST"), 0)
        self.assertIn(b"telepathy", kept.read_bytes())

        # When the version that kept it is back
        self.gateway.end()
        kept.write_bytes(session)
        self.start_again()

        # Then
        self.gateway.await_synced(sent)

    def test_a_sign_in_that_is_not_known_yet_is_not_replaced_by_half_of_another(self):
        # Given a place for sessions that doesn't answer
        self.set_client(self.start_tokens())
        kept = next(self.gateway.home.glob("*.token"))
        session = kept.read_bytes()
        self.gateway.end()
        kept.unlink()
        kept.mkdir()
        self.start_again()
        self.assertEqual(self.session()["state"], "notKnownYet")

        # When
        refused = self.set("--no-certificate", check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertIn("isn't known yet", refused.stderr)
        kept.rmdir()
        kept.write_bytes(session)
        self.gateway.await_status("the session", lambda s: s["session"]["label"] == "gateway")
        self.assertEqual(kept.read_bytes(), session)


def failed(instances, reason):
    """Each instance in FailedSOPSequence (0008,1198) with this reason."""
    return {"00081198": {"vr": "SQ", "Value": [{"00081155": {"vr": "UI", "Value": [instance]},
                                                "00081197": {"vr": "US", "Value": [reason]}} for instance in instances]}}


def xml_of_failures(instances, reason):
    """The same in the XML of PS3.19, A.1."""
    items = "".join(f'<Item number="{number}"><DicomAttribute tag="00081155" vr="UI"><Value number="1">{instance}</Value>'
                    f'</DicomAttribute><DicomAttribute tag="00081197" vr="US"><Value number="1">{reason}</Value>'
                    "</DicomAttribute></Item>" for number, instance in enumerate(instances, start=1))
    return f'<NativeDicomModel><DicomAttribute tag="00081198" vr="SQ">{items}</DicomAttribute></NativeDicomModel>'


NAMELESS_FAILURE = (b'<NativeDicomModel><DicomAttribute tag="00081198" vr="SQ"><Item number="1"><DicomAttribute tag="00081197" '
                    b'vr="US"><Value number="1">272</Value></DicomAttribute><DicomAttribute tag="00090097" vr="LT" '
                    b'privateCreator="ARCHIVE"><Value number="1">there already</Value></DicomAttribute></Item>'
                    b"</DicomAttribute></NativeDicomModel>")

# How archives say of an instance that they have one of its UID already; docs/archives.md says whose words these are.
THERE_ALREADY = {
    "nothing but success": lambda those: (200, DICOM_JSON, json.dumps(referenced(those)).encode()),
    "45070, all of them": lambda those: (409, DICOM_JSON, json.dumps(failed(those, 45070)).encode()),
    "45070 as a warning": lambda those: (202, DICOM_JSON, json.dumps(referenced(those, warning=45070)).encode()),
    "0111H in XML": lambda those: (409, "application/dicom+xml", xml_of_failures(those, 0x0111).encode()),
    "0110H in XML": lambda those: (409, "application/dicom+xml", xml_of_failures(those, 0x0110).encode()),
    "0110H, and no name": lambda _: (409, "application/dicom+xml", NAMELESS_FAILURE),
    "a bare conflict": lambda _: (409, "", b""),
    "a conflict in other words": lambda _: (409, "application/json", b'{"error":{"code":409,"status":"ALREADY_EXISTS"}}'),
}


class InOtherWords(AtAnArchive):

    def test_an_image_that_is_there_already_is_proven_by_a_look_whatever_words_say_so(self):
        for seed, (name, words) in enumerate(THERE_ALREADY.items(), start=1):
            with self.subTest(name):
                # Given an archive that has this very image from elsewhere
                self.archive.words = words
                sent = self.samples(seed=seed, ct=1)
                study, series, instance = identity_of(sent[0])
                self.archive.kept[instance] = (study, series, sent[0].read_bytes())

                # When
                self.set("none")
                send(self.gateway, sent)

                # Then
                self.gateway.await_status("it to be uploaded", lambda s: s["counters"]["synced"] == seed
                                          and s["counters"]["notSynced"] == 0)
                self.gateway.command("sign-out")

    def test_another_image_of_that_name_is_never_taken_for_it(self):
        self.archive.gives = False
        for seed, (name, words) in enumerate(list(THERE_ALREADY.items())[1:], start=1):
            with self.subTest(name):
                # Given an archive that has another image under this name, and doesn't give it out
                self.archive.words = words
                sent = self.samples(seed=seed, ct=1)
                study, series, instance = identity_of(sent[0])
                self.archive.kept[instance] = (study, series, b"another version")

                # When
                self.set("none")
                send(self.gateway, sent)

                # Then
                held = self.gateway.await_status(
                    "it to be kept back", lambda s: sum(f["count"] for f in s["failures"]
                                                        if f["class"] == "notComparable") == seed)
                self.assertEqual(held["counters"]["synced"], 0)


class BrokenOff(AtAnArchive):

    def test_a_bare_conflict_proves_nothing_of_an_upload_that_was_killed(self):
        # Given an upload that is killed before it has arrived
        is_sending, may_go_on = threading.Event(), threading.Event()
        self.addCleanup(may_go_on.set)

        def hold(_):
            is_sending.set()
            may_go_on.wait(180)
            return 500, "", b""
        self.archive.words = hold
        sent = self.samples(ct=1)
        self.set("none")
        send(self.gateway, sent)
        self.assertTrue(is_sending.wait(180))
        self.gateway.process.kill()
        self.gateway.process.wait()

        # When the archive, which gives nothing out, has a colleague's version, and takes no other
        self.be_of_somebody_else(sent)
        self.archive.words = THERE_ALREADY["a bare conflict"]
        may_go_on.set()
        self.start_again()

        # Then
        held = self.gateway.await_status("it to be kept back", lambda s: "notComparable" in json.dumps(s["failures"]))
        self.assertEqual(held["counters"]["synced"], 0)


class StoringLater(AtAnArchive):

    def start_with(self, files):
        """The archive has taken them, and shows none."""
        self.archive.stores_later = True
        self.set("none")
        send(self.gateway, files)
        return self.gateway.await_status("all to be taken", lambda s: s["waiting"]["awaited"] == len(files))

    def test_what_is_stored_later_waits_without_having_failed_and_is_sent_once(self):
        # Given
        sent = self.samples(ct=3)
        held = self.start_with(sent)
        self.assertEqual((held["counters"]["failed"], held["counters"]["notSynced"], held["failures"]), (0, 3, []))
        self.assertIn("files that the cloud has taken and doesn't show yet", self.gateway.command("status").stdout)
        examined = self.gateway.command("doctor", check=False).stdout
        self.assertIn("3 sent, waiting for the cloud's confirmation: ", examined)
        self.assertNotIn("not sent", examined)
        self.assertNotIn("tried again later", examined)

        # When it is killed, and the archive has stored in between
        self.gateway.process.kill()
        self.gateway.process.wait()
        self.archive.kept |= self.archive.later
        self.start_again()
        self.gateway.command("upload")

        # Then
        self.gateway.await_synced(sent)
        self.assertEqual(self.archive.count("POST"), 3)

    def test_what_is_shown_later_and_is_another_version_is_kept(self):
        theirs = self.samples(seed=9, ct=1)[0].read_bytes()
        for seed, (gives, word) in enumerate(((True, "anotherVersionInCloud"), (False, "notComparable")), start=1):
            with self.subTest(word):
                # Given an archive that has taken an image, and has lost it
                sent = self.samples(seed=seed, ct=1)
                self.start_with(sent)

                # When a version comes to it that a colleague has sent
                study, series, instance = identity_of(sent[0])
                self.archive.gives = gives
                self.archive.kept[instance] = (study, series, theirs)
                self.gateway.command("upload")

                # Then
                held = self.gateway.await_status("it to be kept back", lambda s: word in json.dumps(s["failures"]))
                self.assertEqual(held["counters"]["synced"], 0)

    def test_what_never_comes_is_sent_again(self):
        # Given an archive that loses what it takes
        sent = self.samples(ct=1)
        self.start_with(sent)
        self.archive.stores_later = False

        # When it is looked for in vain, twice
        def look():
            self.gateway.command("upload")
            return self.archive.count("POST") > 1
        await_true("another upload", look, self.gateway.process)

        # Then
        self.gateway.await_synced(sent)
        self.assertEqual(len(self.archive.kept), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
