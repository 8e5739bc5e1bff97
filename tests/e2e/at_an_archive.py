"""A gateway whose cloud is an archive that a test steers."""

from harness import EndToEndTest, Gateway, identity_of
from steered_archive import SteeredArchive, SteeredTokens


class AtAnArchive(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.archive = SteeredArchive()
        self.addCleanup(self.archive.end)
        self.gateway = self.start_gateway(self.archive.address, kind="dicomweb")

    def start_tokens(self, name="token"):
        tokens = SteeredTokens(name)
        self.addCleanup(tokens.end)
        return tokens

    def set(self, *words, secret="s3cret", check=True):
        return self.gateway.command("archive", "set", *words, text_in=secret + "\n", check=check)

    def set_client(self, tokens, *more):
        return self.set("oauth2", "--token-endpoint", tokens.endpoint, "--client-id", "gateway", *more)

    def session(self):
        return self.gateway.status()["session"]

    def start_again(self):
        port = self.gateway.port
        self.gateway = Gateway(self.folder, self.archive.address, "dicomweb")
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def be_of_somebody_else(self, files):
        """The archive holds other versions of what these say that they are, and gives none out."""
        self.archive.gives = False
        self.archive.says_there = True
        for file in files:
            study, series, instance = identity_of(file)
            self.archive.kept[instance] = (study, series, b"another version")
