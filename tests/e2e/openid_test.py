"""The gateway, an archive and a service of tokens that are all others': Orthanc behind nginx, which asks an OpenID provider."""

import re
import subprocess
import unittest

from guarded_archive import Door
from harness import PROGRAMS, EndToEndTest, await_true, end, environment, identity_of, send
from openid_provider import CLIENT, CODE_CLIENT, SECRET, OpenIdProvider, enter_code
from orthanc import Orthanc

LIFETIME_SECONDS = 4


class BehindAnOpenIdProvider(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.provider = OpenIdProvider(self.folder, LIFETIME_SECONDS)
        self.addCleanup(self.provider.end)
        self.door = Door(self.folder, self.orthanc, tokens=self.provider)
        self.addCleanup(self.door.end)
        self.gateway = self.start_gateway(self.door.root, kind="dicomweb")

    def send_while_tokens_end(self):
        """Images one after the other, until the archive has refused a token that had ended."""
        sent = []

        def one_more():
            files = self.samples(seed=len(sent) + 1, ct=1)
            send(self.gateway, files)
            sent.extend(files)
            self.gateway.await_synced(sent)
            return len(sent) > 3 and self.seen_tokens() > 1
        await_true("another token", one_more, self.gateway.process)
        there = set(self.orthanc.files(self.folder))
        self.assertEqual(there, {identity_of(file)[2] for file in sent})
        return sent

    def seen_tokens(self):
        """How many different tokens the door has let in with an image."""
        return len({line.split()[-1] for line in self.door.access_log.read_text().splitlines()
                    if re.match(r'"POST /dicom-web/studies [^"]*" 200 Bearer ', line)})

    def test_a_client_signs_in_by_itself_with_tokens_that_end_in_the_middle(self):
        self.gateway.command("archive", "set", "oauth2", "--issuer", self.provider.issuer, "--client-id", CLIENT,
                             text_in=SECRET + "\n")
        self.send_while_tokens_end()

    def let_in_by_a_code(self):
        told = self.folder / "told"
        with open(told, "w", encoding="utf-8") as file:
            asking = subprocess.Popen(
                [PROGRAMS / "quorin-gateway", "--home", self.gateway.home, "archive", "set", "device", "--issuer",
                 self.provider.issuer, "--client-id", CODE_CLIENT, "--scope", "openid offline_access"],
                stdout=file, stderr=file, env=environment())
        self.addCleanup(end, asking)
        address, code = await_true("the code", lambda: re.search(r"open (\S+) and enter the code (\S+)", told.read_text()),
                                   asking, self.gateway.process).groups()
        enter_code(address, code, "ann")
        self.assertEqual(asking.wait(120), 0, told.read_text())

    def test_who_signs_out_takes_the_sign_in_back_at_the_provider(self):
        # Given
        self.let_in_by_a_code()
        self.assertEqual(self.provider.revocations(), 0)

        # When
        self.gateway.command("sign-out")

        # Then
        await_true("the provider to hear of it", lambda: self.provider.revocations() == 1, self.gateway.process,
                   self.provider.process)

    def test_a_person_lets_it_in_by_a_code_and_takes_it_back(self):
        # Given
        self.let_in_by_a_code()
        sent = self.send_while_tokens_end()

        # When
        self.provider.withdraw()
        more = self.samples(seed=100, ct=2)
        send(self.gateway, more)

        # Then
        held = self.gateway.await_status("the end of the session", lambda s: s["session"]["state"] == "ended"
                                         and s["counters"]["notSynced"] == 2)
        self.assertEqual(held["counters"]["synced"], len(sent))


if __name__ == "__main__":
    unittest.main(verbosity=2)
