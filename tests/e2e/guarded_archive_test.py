"""The gateway in front of an archive that wants tokens or certificates: Orthanc behind nginx."""

import json
import subprocess
import unittest

from guarded_archive import CLIENT, CODE_CLIENT, SECRET, Authority, Door, Http2Door, TokenService
from harness import PROGRAMS, EndToEndTest, Gateway, await_true, end, environment, identity_of, send
from orthanc import Orthanc

ONE_SENTENCE = r"\A[A-Z][^\n]+\.\n\Z"


class GuardedTest(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)

    def open_door(self, **guards):
        door = Door(self.folder, self.orthanc, **guards)
        self.addCleanup(door.end)
        return door

    def there(self):
        return set(self.orthanc.files(self.folder))

    def assert_all_there(self, files):
        self.assertEqual(self.there(), {identity_of(file)[2] for file in files})


class TokenGuardedTest(GuardedTest):

    def setUp(self):
        super().setUp()
        self.tokens = TokenService()
        self.addCleanup(self.tokens.end)
        self.door = self.open_door(tokens=self.tokens)
        self.gateway = self.start_gateway(self.door.root, kind="dicomweb")


class BehindTokens(TokenGuardedTest):

    def sign_in(self, secret=SECRET, check=True, more=()):
        return self.gateway.command("archive", "set", "oauth2", "--issuer", self.tokens.issuer, "--client-id", CLIENT,
                                    *more, text_in=secret + "\n", check=check)

    def test_tokens_that_end_in_the_middle_of_a_run_cost_nothing(self):
        # Given
        self.tokens.lifetime = 4
        self.sign_in()
        first, second = self.samples(ct=6, mr=4), self.samples(seed=2, ct=6, mr=4)

        # When tokens end by themselves, and then all at once
        send(self.gateway, first)
        self.gateway.await_status("some uploads", lambda s: s["counters"]["synced"] > 0)
        self.tokens.end_all_tokens()
        send(self.gateway, second)
        self.gateway.await_synced(first + second)

        # Then
        self.assert_all_there(first + second)
        self.assertGreater(self.tokens.given, 1)

    def test_the_secret_is_seen_by_nobody_else(self):
        # Given
        self.sign_in(more=("--secret-in", "body"))
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then neither what is told, nor what is logged, nor the process itself shows it
        shown = self.gateway.command("archive", "show").stdout
        self.assertIn(f"Client id: {CLIENT}\n", shown)
        told = [shown, self.gateway.command("archive", "show", "--json").stdout, json.dumps(self.gateway.status()),
                self.gateway.said(), self.door.access_log.read_text()]
        told += [log.read_text(errors="replace") for log in self.gateway.home.rglob("*.log*") if log.is_file()]
        told += [log.read_text(errors="replace") for log in self.gateway.home.rglob("*.jsonl") if log.is_file()]
        for part in ("cmdline", "environ"):
            with open(f"/proc/{self.gateway.process.pid}/{part}", "rb") as file:
                told.append(file.read().decode(errors="replace"))
        self.assertGreater(len(told), 6)
        for text in told:
            self.assertNotIn("s3cret", text)

    def test_a_wrong_secret_is_told_in_one_sentence_and_signs_nobody_in(self):
        # When
        refused = self.sign_in(secret="wrong", check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertEqual(refused.stderr, "The sign-in service at 127.0.0.1 refused the client id or its secret.\n")
        self.assertFalse(self.gateway.status()["session"]["signedIn"])

    def test_images_wait_with_pauses_while_no_token_is_given_and_go_when_one_is(self):
        for seed, (manner, cause) in enumerate((("page", "signInUnavailable"), ("fault", "signInUnavailable"),
                                                ("refuses", "sessionEnded"))):
            with self.subTest(manner):
                # Given
                self.tokens.manner = "gives"
                self.sign_in()
                self.tokens.manner = manner
                self.tokens.end_all_tokens()
                before = self.tokens.asked
                sent = self.samples(seed=seed + 1, ct=3)
                had = self.gateway.status()["counters"]["synced"]

                # When
                send(self.gateway, sent)
                held = self.gateway.await_status(
                    "the uploads to be held back",
                    lambda s: s["counters"]["notSynced"] == 3 and cause in json.dumps(s))

                # Then nothing is lost, no file is blamed, and nobody runs in circles
                self.assertEqual(held["counters"]["synced"], had)
                self.assertLess(self.tokens.asked - before, 30)

                # When it is over
                self.tokens.manner = "gives"
                self.gateway.command("upload")
                self.gateway.await_status("all uploaded", lambda s: s["counters"]["synced"] == had + 3)
                self.assertLessEqual({identity_of(file)[2] for file in sent}, self.there())

    def test_a_token_is_asked_for_by_the_audience_that_its_service_wants(self):
        # Given
        self.tokens.audience = "archive of the site"

        # When
        refused = self.sign_in(check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertIn("does not know the audience that is asked for", refused.stderr)

        # When
        self.sign_in(more=("--audience", "archive of the site"))
        sent = self.samples(ct=1)
        send(self.gateway, sent)

        # Then
        self.gateway.await_synced(sent)
        self.assert_all_there(sent)

    def test_a_token_file_is_read_again_when_it_changes(self):
        # Given
        file = self.folder / "token"
        file.write_text(self.tokens.give())
        self.gateway.command("archive", "set", "token-file", "--file", file)
        first, second = self.samples(ct=2), self.samples(seed=2, ct=2)
        send(self.gateway, first)
        self.gateway.await_synced(first)

        # When
        self.tokens.end_all_tokens()
        file.write_text(self.tokens.give() + "\n")
        send(self.gateway, second)
        self.gateway.await_synced(first + second)

        # Then
        self.assert_all_there(first + second)

    def test_a_static_token_opens_the_archive(self):
        # Given
        self.gateway.command("archive", "set", "bearer", text_in=self.tokens.give() + "\n")
        sent = self.samples(ct=2)

        # When
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        self.assert_all_there(sent)

    def test_an_archive_is_tried_out_step_by_step(self):
        # Given
        self.sign_in()

        # When
        tried = self.gateway.command("archive", "test", "--json")

        # Then, and this archive deletes nothing by DICOMweb
        steps = {step["step"]: step for step in json.loads(tried.stdout)["steps"]}
        self.assertEqual({name: step["outcome"] for name, step in steps.items()},
                         {"name": "good", "connection": "good", "sign-in": "good", "query": "good", "store": "good",
                          "find": "good", "read back": "good", "delete": "remark"})
        self.assertEqual(len(self.there()), 1)
        study = identity_of(next(iter(self.orthanc.files(self.folder).values())))[0]
        self.assertIn(study, steps["delete"]["words"])

        # When nothing gives out tokens any more
        self.tokens.manner = "page"
        self.tokens.end_all_tokens()
        tried = self.gateway.command("archive", "test", check=False)

        # Then
        self.assertEqual(tried.returncode, 1)
        self.assertRegex(tried.stdout.splitlines()[-1], r"^failed  sign-in: A web page came from 127\.0\.0\.1 ")


class ByACode(TokenGuardedTest):
    """A person enters a code elsewhere and so lets the gateway in."""

    def ask_for_a_code(self, *words):
        """A command that waits, and the file into which it writes."""
        told = self.folder / "told"
        with open(told, "w", encoding="utf-8") as file:
            asking = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", self.gateway.home, "archive", "set", *words],
                                      stdout=file, stderr=file, env=environment())
        self.addCleanup(end, asking)
        await_true("the code", lambda: "WXYZ-1234" in told.read_text(), asking, self.gateway.process)
        return asking, told

    def first_code(self):
        return self.ask_for_a_code("device", "--issuer", self.tokens.issuer, "--client-id", CODE_CLIENT)

    def let_in(self):
        asking, told = self.first_code()
        self.tokens.person = "lets in"
        self.assertEqual(asking.wait(120), 0, told.read_text())

    def start_again(self):
        self.gateway.process.kill()
        self.gateway.process.wait()
        port = self.gateway.port
        self.gateway = Gateway(self.folder, self.door.root, "dicomweb")
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def test_images_wait_for_a_person_and_go_with_tokens_that_end_in_the_middle_of_a_run(self):
        # Given
        self.tokens.lifetime = 4
        self.tokens.hurried = 1
        first, second, third = (self.samples(seed=seed, ct=5, mr=3) for seed in (1, 2, 3))
        send(self.gateway, first)

        # When
        asking, told = self.first_code()
        self.assertIn("open https://login.example/code and enter the code WXYZ-1234 within 5 minutes.", told.read_text())
        self.assertEqual(self.gateway.await_received(first)["counters"]["synced"], 0)
        self.tokens.person = "lets in"
        self.assertEqual(asking.wait(120), 0, told.read_text())
        self.assertIn(f"You are now signed in as {CODE_CLIENT}.", told.read_text())
        self.gateway.await_synced(first)
        send(self.gateway, second)
        self.tokens.end_all_tokens()
        self.gateway.await_synced(first + second)

        # Then it goes on so after it was killed, and shows nothing twice
        self.start_again()
        self.tokens.end_all_tokens()
        send(self.gateway, third)
        self.gateway.await_synced(first + second + third)
        self.assert_all_there(first + second + third)
        self.assertGreater(self.tokens.renewals, 1)
        self.assertFalse(self.tokens.shown_twice)

    def test_what_comes_to_nothing_is_told_in_one_sentence(self):
        for person, words in (("denies", "was refused by whoever entered the code"), ("sleeps", "is over before")):
            with self.subTest(person):
                self.tokens.person = "waits"
                asking, told = self.first_code()
                self.tokens.person = person
                self.assertEqual(asking.wait(120), 1)
                sentence = told.read_text().splitlines()[-1]
                self.assertRegex(sentence + "\n", ONE_SENTENCE)
                self.assertIn(words, sentence)
                self.assertFalse(self.gateway.status()["session"]["signedIn"])

    def test_who_gives_up_waiting_signs_nobody_in(self):
        # Given
        asking, _ = self.first_code()

        # When
        end(asking)
        self.let_in()

        # Then the first one asks no more
        self.assertEqual(self.tokens.let_in, 1)
        self.assertTrue(self.gateway.status()["session"]["signedIn"])

    def test_a_session_that_its_service_ends_is_told_keeps_all_images_and_begins_again_without_being_set_up(self):
        # Given
        self.let_in()
        first, second = self.samples(ct=2), self.samples(seed=2, ct=3)
        send(self.gateway, first)
        self.gateway.await_synced(first)

        # When
        self.tokens.withdraw()
        before = self.tokens.renewals
        send(self.gateway, second)
        ended = self.gateway.await_status("the end of the session", lambda s: s["session"]["state"] == "ended"
                                          and s["counters"]["notSynced"] == 3)

        # Then it asked once, and a person is told what to do
        self.assertEqual(self.tokens.renewals - before, 1)
        self.assertEqual(ended["counters"]["synced"], 2)
        self.assertNotEqual(self.gateway.command("doctor", check=False).returncode, 0)
        shown = json.loads(self.gateway.command("archive", "show", "--json").stdout)
        self.assertEqual((shown["method"], shown["clientId"], shown["ended"]), ("device", CODE_CLIENT, True))

        # And a new code is all that it takes, after a restart, too
        self.start_again()
        self.tokens.person = "waits"
        asking, told = self.ask_for_a_code()
        self.tokens.person = "lets in"
        self.assertEqual(asking.wait(120), 0, told.read_text())
        self.gateway.await_synced(first + second)
        self.assert_all_there(first + second)
        self.assertFalse(self.tokens.shown_twice)


class BehindCertificates(GuardedTest):

    def setUp(self):
        super().setUp()
        self.authority = Authority(self.folder)
        self.door = self.open_door(authority=self.authority)
        self.gateway = self.start_gateway(self.door.root, kind="dicomweb",
                                          variables={"QUORIN_CLOUD_CA": str(self.authority.certificate)})

    def sign_in(self, certificate, key, check=True):
        return self.gateway.command("archive", "set", "none", "--certificate", certificate, "--key", key, check=check)

    def test_a_client_certificate_opens_the_archive(self):
        # Given that it isn't opened without one
        refused = self.gateway.command("archive", "set", "none", check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, ONE_SENTENCE)
        self.assertIn("certificate", refused.stderr)
        certificate, key = self.authority.issue("gateway one")
        self.sign_in(certificate, key)
        certificate.unlink()
        key.unlink()  # it is kept with the session
        sent = self.samples(ct=3)

        # When
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        self.assert_all_there(sent)
        shown = json.loads(self.gateway.command("archive", "show", "--json").stdout)
        self.assertEqual(shown["certificate"], "gateway one")
        tried = json.loads(self.gateway.command("archive", "test", "--json").stdout)
        self.assertIn("the certificate of archive by site authority", tried["steps"][1]["words"])

    def test_a_certificate_says_who_asks_for_tokens_too(self):
        # Given a service of tokens that knows its clients by their certificates
        tokens = TokenService()
        self.addCleanup(tokens.end)
        door = Door(self.folder, tokens, authority=self.authority, name="door-of-tokens")
        self.addCleanup(door.end)
        way = ("archive", "set", "oauth2", "--token-endpoint", door.address + "/realm/token", "--client-id", CLIENT,
               "--secret-in", "certificate")

        # When it sees none, one of a stranger, and the right one
        without = self.gateway.command(*way, check=False)
        stranger = self.gateway.command(*way, *self.certified("gateway two"), check=False)
        self.gateway.command(*way, *self.certified("gateway one"))
        sent = self.samples(ct=2)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        self.assertEqual(without.stderr, "A client that its certificate names needs one: --certificate FILE --key FILE.\n")
        self.assertEqual(stranger.stderr,
                         "The sign-in service at 127.0.0.1 refused the client id or its certificate.\n")
        self.assertEqual(tokens.given, 1)
        self.assert_all_there(sent)

    def test_a_service_of_tokens_that_wants_a_certificate_says_so(self):
        # Given
        tokens = TokenService()
        self.addCleanup(tokens.end)
        door = Door(self.folder, tokens, authority=self.authority, name="door-of-tokens")
        self.addCleanup(door.end)

        # When
        refused = self.gateway.command("archive", "set", "oauth2", "--token-endpoint", door.address + "/realm/token",
                                       "--client-id", CLIENT, text_in=SECRET + "\n", check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, ONE_SENTENCE)
        self.assertIn("sign-in service", refused.stderr)
        self.assertIn("did not accept the client certificate of this gateway, or wants one.", refused.stderr)

    def certified(self, name):
        certificate, key = self.authority.issue(name)
        return "--certificate", certificate, "--key", key

    def test_a_strangers_certificate_is_refused_in_one_sentence_and_nothing_is_lost(self):
        # Given
        self.sign_in(*self.authority.issue("gateway one"))
        other = self.folder / "other"
        other.mkdir()
        certificate, key = Authority(other).issue("stranger")

        # When
        refused = self.sign_in(certificate, key, check=False)

        # Then the one that was good stays
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, ONE_SENTENCE)
        self.assertIn("certificate", refused.stderr)
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

    def test_an_expired_certificate_and_a_key_of_another_are_told_before_anything_is_sent(self):
        good, good_key = self.authority.issue("gateway one")
        expired, expired_key = self.authority.issue("gateway two", days=-1)
        for certificate, key, words in ((expired, expired_key, "has expired"), (good, expired_key, "does not belong")):
            refused = self.sign_in(certificate, key, check=False)
            self.assertEqual(refused.returncode, 1)
            self.assertRegex(refused.stderr, ONE_SENTENCE)
            self.assertIn(words, refused.stderr)


class BehindHttp2Alone(GuardedTest):

    def start(self, limit="Infinity"):
        authority = Authority(self.folder)
        door = Http2Door(self.folder, self.orthanc, authority, limit)
        self.addCleanup(door.end)
        self.gateway = self.start_gateway(door.root, kind="dicomweb",
                                          variables={"QUORIN_CLOUD_CA": str(authority.certificate)})
        self.gateway.command("archive", "set", "none")

    def test_a_proxy_that_speaks_nothing_else_takes_images_of_any_size(self):
        # Given
        self.start()
        sent = self.samples(ct=4, mr=2, us=1, us_frames=40)

        # When
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        self.assert_all_there(sent)

    def test_a_refusal_of_a_body_that_it_does_not_read_is_taken_for_one(self):
        # Given
        large, small = self.samples(seed=1, us=1, us_frames=40), self.samples(seed=2, mr=2)
        self.start(limit=2 * max(file.stat().st_size for file in small))

        # When
        send(self.gateway, large + small)

        # Then
        self.gateway.await_status("the small ones", lambda s: s["counters"]["synced"] == len(small))
        told = self.gateway.await_status("a refusal", lambda s: s["failures"])
        self.assertEqual([(one["class"], one["code"]) for one in told["failures"]], [("tooLarge", 413)])


if __name__ == "__main__":
    unittest.main(verbosity=2)
