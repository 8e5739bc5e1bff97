"""A service of others' that gives out tokens: the oidc-provider of npm, and a person at its pages."""

import html.parser
import http.cookiejar
import subprocess
import urllib.parse
import urllib.request
from pathlib import Path

from harness import await_true, end, environment, request

FOLDER = Path(__file__).parent / "openid"
CLIENT, SECRET = "gateway-one", "s3cret-of-the-client"
CODE_CLIENT = "gateway-by-code"


class OpenIdProvider:

    def __init__(self, folder, lifetime):
        self._log = folder / "openid.log"
        with open(self._log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(["node", FOLDER / "provider.mjs", str(lifetime)], stdout=log,
                                            stderr=subprocess.DEVNULL, env=environment())
        self.port = int(await_true("the provider", self._log.read_text, self.process))
        self.issuer = f"http://127.0.0.1:{self.port}"

    def withdraw(self):
        """What the person has granted counts no more."""
        status, _, _ = request(self.issuer + "/withdraw")
        if status != 204:
            raise AssertionError(f"the withdrawal was answered with {status}")

    def revocations(self):
        """How many sign-ins were taken back by the gateway itself."""
        return int(request(self.issuer + "/revocations")[2])

    def end(self):
        end(self.process)


class _Form(html.parser.HTMLParser):
    """The first form of a page."""

    def __init__(self, page):
        super().__init__()
        self.action, self.fields = None, {}
        self.feed(page)

    def handle_starttag(self, tag, attributes):
        told = dict(attributes)
        if tag == "form" and self.action is None:
            self.action = told.get("action", "")
        if tag == "input" and told.get("name"):
            self.fields[told["name"]] = told.get("value", "")


def enter_code(address, code, name):
    """A person opens the address, enters the code, signs in by name, and says yes to all that is asked."""
    browser = urllib.request.build_opener(urllib.request.HTTPCookieProcessor(http.cookiejar.CookieJar()))
    answers = {"user_code": code, "login": name, "password": "any"}
    with browser.open(address, timeout=60) as page:
        where, shown = page.url, page.read().decode()
    for _ in range(8):
        form = _Form(shown)
        if form.action is None:
            return shown
        fields = {field: answers.get(field, value) for field, value in form.fields.items()}
        with browser.open(urllib.parse.urljoin(where, form.action), urllib.parse.urlencode(fields).encode(),
                          timeout=60) as page:
            where, shown = page.url, page.read().decode()
    raise AssertionError(f"the pages don't end: {shown}")
