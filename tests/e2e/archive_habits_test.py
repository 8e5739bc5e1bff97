"""Archives, proxies, issuers and clocks that aren't as they should be: one sentence each, nothing lost, no busy loop."""

import base64
import gzip
import json
import mmap
import re
import struct
import time
import unittest
import urllib.parse
import zlib
from pathlib import Path

from at_an_archive import AtAnArchive
from guarded_archive import Authority, Door
from harness import PROGRAMS, EndToEndTest, await_true, identity_of, parts_of, run, send
from odd_objects import identity_in
from openid_provider import CLIENT, SECRET, OpenIdProvider
from orthanc import Orthanc
from steered_archive import DICOM_JSON, JSON, SteeredArchive, SteeredTokens, referenced

ONE_SENTENCE = r"\A[A-Z][^\n]+\.\n\Z"
FEW = 30


class Habits(AtAnArchive):

    def names(self, files):
        return {identity_of(file)[2] for file in files}

    def test_an_archive_that_gives_images_other_identifiers_is_never_believed(self):
        # Given one that keeps each under a UID of its own, and says so
        def store(headers, body):
            instances = []
            for part in parts_of(headers["Content-Type"], body):
                study, series, instance = identity_in(part)
                instances.append(instance + ".7")
                self.archive.kept[instance + ".7"] = (study, series, part)
            return 200, DICOM_JSON, json.dumps(referenced(instances)).encode()
        self.archive.store = store
        self.set("basic", "--user", "ann")
        files = self.samples(ct=2)

        # When
        send(self.gateway, files)

        # Then nothing counts as sent, all stays here, and it isn't sent again and again
        told = self.gateway.await_status("both to be told", lambda s: sum(one["count"] for one in s["failures"]) == 2)
        self.assertEqual((told["counters"]["synced"], told["counters"]["images"]), (0, 2))
        self.assertLess(self.archive.count("POST"), FEW)

    def test_a_limit_by_count_is_met_by_smaller_requests_and_kept(self):
        # Given an archive that takes no more than two at once, and a gateway that sends eight
        store, most = self.archive.store, 2
        counts = []

        def store_few(headers, body):
            counts.append(len(parts_of(headers["Content-Type"], body)))
            return store(headers, body) if counts[-1] <= most else (413, "", b"")
        self.archive.store = store_few
        for key, value in (("quorinCloudBatchEnabled", "true"), ("quorinCloudBatchUploadCount", "8"),
                           ("QuorinRetrieveMode", "true"), ("quorinCloudCompressToLS", "false")):
            self.gateway.command("settings", "set", key, value)
        first, second = self.samples(ct=16), self.samples(seed=2, ct=12)  # fewer requests than a larger one is tried after

        # When
        send(self.gateway, first)
        self.gateway.await_received(first)
        self.set("basic", "--user", "ann")
        self.gateway.await_synced(first)

        # Then it was refused, and all went in smaller ones
        self.assertGreater(max(counts), most)
        self.assertEqual(set(self.archive.kept), self.names(first))

        # When as many wait at once after a restart (a few would go in requests of which nobody knows anything), then
        # none is refused
        self.gateway.end()
        counts.clear()
        self.start_again()
        self.gateway.command("sign-out")
        send(self.gateway, second)
        self.gateway.await_received(first + second)
        self.set("basic", "--user", "ann")
        self.gateway.await_synced(first + second)
        self.assertLessEqual(max(counts), most)

    def test_compressed_answers_are_read(self):
        # Given an archive that compresses whatever it says
        answer = self.archive.answer

        def compressed(method, path, headers, body):
            self.assertIn("gzip", headers["Accept-Encoding"])
            status, kind, content, *more = answer(method, path, headers, body)
            return status, kind, gzip.compress(content), *more, ("Content-Encoding", "gzip")
        self.archive.answer = compressed
        self.set("basic", "--user", "ann")
        files = self.samples(ct=3)

        # When
        send(self.gateway, files)
        self.gateway.await_synced(files)

        # Then
        self.assertEqual(set(self.archive.kept), self.names(files))

    def test_an_answer_that_grows_without_end_when_it_is_unpacked_is_let_go(self):
        # Given a gigabyte, in one piece, that comes as some megabytes
        self.set("basic", "--user", "ann")
        packer = zlib.compressobj(level=1, wbits=31)  # 31: as gzip
        packed = b"".join(packer.compress(bytes(1 << 20)) for _ in range(1024)) + packer.flush()
        self.archive.words = lambda _instances: (200, DICOM_JSON, packed, ("Content-Encoding", "gzip"))
        files = self.samples(ct=1)

        # When
        send(self.gateway, files)
        await_true("an upload", lambda: self.archive.count("POST"), self.gateway.process)
        told = self.gateway.await_status("the failure", lambda s: s["counters"]["notSynced"] == 1
                                         and (s["failures"] or s["waiting"]["awaited"]))
        status = Path(f"/proc/{self.gateway.process.pid}/status").read_text(encoding="utf-8")
        peak = int(re.search(r"VmHWM:\s*(\d+) kB", status)[1])

        # Then it took no such room, and the image goes once the archive is well
        self.assertLess(peak, 512 * 1024)
        self.assertEqual(told["counters"]["synced"], 0)
        self.archive.words = None
        self.gateway.command("upload")
        self.gateway.await_synced(files)

    def test_images_wait_while_the_issuer_is_away_and_go_when_it_is_back(self):
        # Given
        tokens = self.start_tokens()
        self.set_client(tokens)
        self.archive.guard = lambda method, headers: ((401, "", b"") if headers["Authorization"] == "Bearer token1"
                                                      else None)
        port = int(tokens.address.rpartition(":")[2])

        def cut(*_):
            raise ConnectionResetError
        tokens.answer = cut  # on connections that are still open
        tokens.end()
        files = self.samples(ct=2)

        # When
        send(self.gateway, files)
        held = self.gateway.await_status("them to be held back", lambda s: s["counters"]["notSynced"] == 2
                                         and "signInUnavailable" in json.dumps(s))

        # Then
        self.assertEqual([one["class"] for one in held["failures"]], ["signInUnavailable"])
        self.assertLess(len(self.archive.requests), FEW)

        # When it is back
        back = SteeredTokens("later", port)
        self.addCleanup(back.end)
        self.gateway.command("upload")
        self.gateway.await_synced(files)


class BehindAProxyThatAsksForItsOwnSignIn(EndToEndTest):

    def test_images_wait_and_the_proxy_is_named(self):
        # Given a proxy on the way to an archive elsewhere
        archive = SteeredArchive()
        self.addCleanup(archive.end)
        gateway = self.start_gateway("http://archive.invalid/dicom-web", kind="dicomweb", variables={
            "http_proxy": archive.address, "no_proxy": "", "QUORIN_CLOUD_ALLOW_HTTP": "1"})
        gateway.command("archive", "set", "none")
        archive.guard = lambda _method, _headers: (407, "text/html", b"<html>Who are you?</html>",
                                                   ("Proxy-Authenticate", 'Basic realm="site"'))
        files = self.samples(ct=2)

        # When
        refused = gateway.command("archive", "set", "none", check=False)
        send(gateway, files)
        held = gateway.await_status("them to be held back", lambda s: s["counters"]["notSynced"] == 2
                                    and archive.count("POST"))

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, ONE_SENTENCE)
        self.assertIn("proxy", refused.stderr)
        self.assertEqual(held["counters"]["synced"], 0)
        self.assertLess(len(archive.requests), FEW)

        # When it lets them pass
        archive.guard = lambda _method, _headers: None
        gateway.command("upload")
        gateway.await_synced(files)


class WithAClockThatIsOff(EndToEndTest):

    def setUp(self):
        super().setUp()
        with open(self.folder / "clock", "w+b") as file:
            file.write(bytes(8))
            file.flush()
            self._offset = mmap.mmap(file.fileno(), 8)
        self.archive, self.tokens = SteeredArchive(), SteeredTokens()
        for each in (self.archive, self.tokens):
            self.addCleanup(each.end)
        self.gateway = self.start_gateway(self.archive.address, kind="dicomweb", variables={
            "LD_PRELOAD": str(PROGRAMS / "moved_clock.so"), "MOVED_CLOCK": str(self.folder / "clock")})

    def test_a_signed_statement_of_another_time_is_told_as_the_clocks(self):
        # Given a service that looks at the time in a statement
        answer = self.tokens.answer

        def look_at_time(method, path, headers, body):
            statement = urllib.parse.parse_qs(body.decode())["client_assertion"][0].split(".")[1]
            claims = json.loads(base64.urlsafe_b64decode(statement + "=" * (-len(statement) % 4)))
            is_now = abs(claims["iat"] - time.time()) < 60
            return answer(method, path, headers, body) if is_now else (401, JSON, b'{"error": "invalid_client"}')
        self.tokens.answer = look_at_time
        key = self.folder / "key.pem"
        run("openssl", "genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", key)
        way = ("archive", "set", "oauth2", "--token-endpoint", self.tokens.endpoint, "--client-id", "gateway",
               "--secret-in", "assertion", "--secret-file", key)

        # When the clock is an hour fast
        self._offset[:] = struct.pack("q", 3600)
        refused = self.gateway.command(*way, check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, ONE_SENTENCE)
        self.assertIn("clock", refused.stderr)

        # When it is right, and is off again once a token is there
        self._offset[:] = bytes(8)
        self.gateway.command(*way)
        self._offset[:] = struct.pack("q", 3600)
        files = self.samples(ct=2)
        send(self.gateway, files)

        # Then the token is as good as it was
        self.gateway.await_synced(files)
        self.assertEqual(self.tokens.given, 1)


class WithCertificates(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.authority = Authority(self.folder)

    def open_door(self, **guards):
        door = Door(self.folder, self.orthanc, authority=self.authority, **guards)
        self.addCleanup(door.end)
        self.gateway = self.start_gateway(door.root, kind="dicomweb",
                                          variables={"QUORIN_CLOUD_CA": str(self.authority.certificate)})
        return door

    def certified(self):
        certificate, key = self.authority.issue("gateway one")
        return "--certificate", certificate, "--key", key

    def test_an_archives_own_certificate_that_ends_holds_images_back_until_it_has_another(self):
        # Given
        door = self.open_door()
        way = ("archive", "set", "none", *self.certified())
        self.gateway.command(*way)
        self.authority.issue("archive", days=-1)
        door.read_again()
        refused = await_true("the other certificate", lambda: self.told(way), door.process)
        files = self.samples(ct=2)

        # When
        send(self.gateway, files)
        held = self.gateway.await_status("them to be held back", lambda s: s["counters"]["notSynced"] == 2
                                         and s["failures"])

        # Then
        self.assertRegex(refused, ONE_SENTENCE)
        self.assertIn("expired", refused)
        self.assertEqual([(one["class"], one["code"]) for one in held["failures"]], [("notSecure", 60)])
        self.assertEqual(self.gateway.command("archive", "test", check=False).returncode, 1)
        self.assertLess(door.error_log.read_text().count("SSL_do_handshake"), FEW)

        # When there is another one
        self.authority.issue("archive")
        door.read_again()
        self.gateway.command("upload")
        self.gateway.await_synced(files)

    def told(self, way):
        """What a sign-in was refused with, if it was."""
        return self.gateway.command(*way, check=False).stderr

    def test_a_client_certificate_and_tokens_together_open_the_archive(self):
        # Given
        provider = OpenIdProvider(self.folder, 60)
        self.addCleanup(provider.end)
        self.open_door(tokens=provider)
        way = ("archive", "set", "oauth2", "--issuer", provider.issuer, "--client-id", CLIENT)
        secret = SECRET + "\n"

        # When there is the token alone, the certificate alone, and both
        without = self.gateway.command(*way, text_in=secret, check=False)
        alone = self.gateway.command("archive", "set", "none", *self.certified(), check=False)
        self.gateway.command(*way, *self.certified(), text_in=secret)
        files = self.samples(ct=3)
        send(self.gateway, files)
        self.gateway.await_synced(files)

        # Then
        self.assertRegex(without.stderr, ONE_SENTENCE)
        self.assertIn("certificate", without.stderr)
        self.assertRegex(alone.stderr, ONE_SENTENCE)
        self.assertEqual(set(self.orthanc.files(self.folder)), {identity_of(file)[2] for file in files})


if __name__ == "__main__":
    unittest.main(verbosity=2)
