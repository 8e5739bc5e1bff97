"""An archive of others' behind a door of others': Orthanc behind nginx, which asks for tokens or certificates.

Who gives out the tokens and checks them is a small service of this file: client credentials (RFC 6749 4.4) and codes that
a person enters (RFC 8628), with a configuration that names its endpoints (OpenID Connect Discovery 4).
"""

import base64
import json
import os
import secrets
import signal
import subprocess
import threading
import time
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path

from harness import EMAIL, PASSWORD, await_true, end, environment, free_port, run

CLIENT = "gateway-one"
SECRET = "s3cret-of-the-client & more"
CODE_CLIENT = "gateway-by-code"
DEVICE_GRANT = "urn:ietf:params:oauth:grant-type:device_code"


class TokenService:
    """Gives out tokens and tells nginx which of them are good."""

    def __init__(self):
        self.lifetime = 300
        self.given = 0  # how many tokens were given out
        self.asked = 0  # how often somebody asked for one
        self.manner = "gives"  # "gives", "refuses", "page" or "fault"
        self.audience = None  # for whom a token has to be asked
        self.person = "waits"  # whoever is to enter the code; "waits", "lets in", "denies" or "sleeps"
        self.hurried = 0  # how many more questions for the code it calls too many
        self.let_in = 0  # how many codes were entered and taken up
        self.renewals = 0  # how many tokens were asked for by one that renews them
        self.shown_twice = False  # such a token was, which many a service takes for a theft
        self._renewing = None  # the one that is good
        self._good = {}  # token -> when it ends
        self._server = ThreadingHTTPServer(("127.0.0.1", 0), self._handler())
        self.port = self._server.server_address[1]
        self.address = f"http://127.0.0.1:{self.port}"
        self.issuer = self.address + "/realm"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def _handler(self):
        service = self

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                if self.path == "/realm/.well-known/openid-configuration":
                    return self._answer(200, {"issuer": service.issuer, "token_endpoint": service.issuer + "/token",
                                              "device_authorization_endpoint": service.issuer + "/device"})
                scheme, _, token = self.headers.get("Authorization", "").partition(" ")
                return self._answer(204 if scheme == "Bearer" and service.is_good(token) else 401)

            def do_POST(self):
                form = urllib.parse.parse_qs(self.rfile.read(int(self.headers.get("Content-Length", 0))).decode())
                service.asked += 1
                if service.manner == "page":
                    return self._answer(200, None, b"<html>Please sign in to this network</html>", "text/html")
                if service.manner == "fault":
                    return self._answer(503, {})
                if form.get("client_id") == [CODE_CLIENT]:
                    return self._answer(*service.answer_code_client(self.path, form))
                if service.manner == "refuses" or not self._is_known(form):
                    return self._answer(401, {"error": "invalid_client"})
                if service.audience and form.get("audience") != [service.audience]:
                    return self._answer(400, {"error": "invalid_target"})
                return self._answer(200, {"access_token": service.give(), "token_type": "Bearer",
                                          "expires_in": service.lifetime})

            def _is_known(self, form):
                if "X-Certified" in self.headers and "client_secret" not in form:
                    return (self.headers["X-Certified"], form["client_id"][0]) == ("CN=gateway one", CLIENT)
                if "client_secret" in form:
                    return (form["client_id"][0], form["client_secret"][0]) == (CLIENT, SECRET)
                pair = base64.b64decode(self.headers.get("Authorization", "").partition(" ")[2]).decode()
                return [urllib.parse.unquote_plus(part) for part in pair.split(":")] == [CLIENT, SECRET]

            def _answer(self, status, record=None, body=b"", kind="application/json"):
                body = json.dumps(record).encode() if record is not None else body
                self.send_response(status)
                if body:
                    self.send_header("Content-Type", kind)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        return Handler

    def answer_code_client(self, path, form):
        """Status and record for a client that has no secret."""
        if path.endswith("/device"):
            return 200, {"device_code": "of the device", "user_code": "WXYZ-1234", "expires_in": 300, "interval": 1,
                         "verification_uri": "https://login.example/code"}
        if form["grant_type"] == [DEVICE_GRANT]:
            return self._answer_code(form)
        self.renewals += 1
        if form["refresh_token"] != [self._renewing]:
            self.shown_twice = self.shown_twice or self._renewing is not None
            return 400, {"error": "invalid_grant"}
        return self._grant()

    def _answer_code(self, form):
        if self.hurried:
            self.hurried -= 1
            return 400, {"error": "slow_down"}
        refusals = {"waits": "authorization_pending", "denies": "access_denied", "sleeps": "expired_token"}
        if form["device_code"] != ["of the device"] or self.person in refusals:
            return 400, {"error": refusals.get(self.person, "invalid_grant")}
        self.let_in += 1
        return self._grant()

    def _grant(self):
        self._renewing = secrets.token_urlsafe(32)
        return 200, {"access_token": self.give(), "token_type": "Bearer", "expires_in": self.lifetime,
                     "refresh_token": self._renewing}

    def withdraw(self):
        """The person's word counts no more."""
        self._renewing = None
        self.end_all_tokens()

    def give(self):
        token = secrets.token_urlsafe(32)
        self.given += 1
        self._good[token] = time.monotonic() + self.lifetime
        return token

    def is_good(self, token):
        return self._good.get(token, 0) > time.monotonic()

    def end_all_tokens(self):
        self._good.clear()

    def end(self):
        self._server.shutdown()
        self._server.server_close()


class Authority:
    """Signs certificates: its own, a server's for 127.0.0.1, and those of clients."""

    def __init__(self, folder):
        self._folder = folder / "authority"
        self._folder.mkdir()
        self.certificate = self._folder / "authority.pem"
        self._key = self._folder / "authority.key"
        run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "30",
            "-subj", "/CN=site authority", "-keyout", self._key, "-out", self.certificate)

    def issue(self, name, days=60, extension="subjectAltName=IP:127.0.0.1"):
        """The files of a certificate and of its key."""
        key, asked, made = (self._folder / f"{name}.{kind}" for kind in ("key", "csr", "pem"))
        extensions = self._folder / f"{name}.ext"
        extensions.write_text(extension + "\n")
        run("openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={name}",
            "-keyout", key, "-out", asked)
        run("openssl", "x509", "-req", "-in", asked, "-CA", self.certificate, "-CAkey", self._key, "-CAcreateserial",
            "-days", str(days), "-extfile", extensions, "-out", made)
        return made, key


class Door:
    """nginx before an Orthanc, whose own sign-in it does itself, or before a service of tokens, which it tells whose
    certificate it saw. With a token service it lets in who has a good token; with an authority it speaks TLS and lets in
    who shows a certificate that the authority has signed."""

    def __init__(self, folder, behind, tokens=None, authority=None, name="nginx"):
        self._folder = folder / name
        self._folder.mkdir()
        port = free_port()
        pair = base64.b64encode(f"{EMAIL}:{PASSWORD}".encode()).decode()
        guard = f"""
            auth_request /check;""" if tokens else ""
        check = f"""
        location = /check {{
            internal;
            proxy_pass http://127.0.0.1:{tokens.port}/check;
            proxy_pass_request_body off;
            proxy_set_header Content-Length "";
        }}""" if tokens else ""
        secure = ""
        if authority:
            certificate, key = authority.issue("archive" if name == "nginx" else name)
            secure = f"""
        ssl_certificate {certificate};
        ssl_certificate_key {key};
        ssl_client_certificate {authority.certificate};
        ssl_verify_client on;"""
        told = (f'Authorization "Basic {pair}"' if not isinstance(behind, TokenService)
                else "X-Certified $ssl_client_s_dn")
        paths = "\n".join(f"    {kind}_temp_path {self._folder}/{kind};"
                          for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        configuration = self._folder / "nginx.conf"
        # As root, nginx would give its work to somebody who can't enter this folder.
        whose = "user root root;" if os.geteuid() == 0 else ""
        configuration.write_text(f"""
daemon off;
{whose}
pid {self._folder}/pid;
error_log {self._folder}/error.log info;
events {{}}
http {{
    log_format shown '"$request" $status $http_authorization';
    access_log {self._folder}/access.log shown;
{paths}
    server {{
        listen 127.0.0.1:{port}{" ssl" if authority else ""};
        client_max_body_size 0;{secure}{check}
        location / {{{guard}
            proxy_pass {behind.address};
            proxy_set_header {told};
            proxy_set_header Host $http_host;
        }}
    }}
}}
""")
        self.address = f"{'https' if authority else 'http'}://127.0.0.1:{port}"
        self.root = self.address + "/dicom-web"
        self.access_log = self._folder / "access.log"
        self.error_log = self._folder / "error.log"  # with the handshakes that came to nothing
        self.process = subprocess.Popen(["/usr/sbin/nginx", "-c", configuration, "-e", self._folder / "error.log"],
                                        env=environment())
        await_true("nginx", (self._folder / "pid").exists, self.process)

    def read_again(self):
        """The certificate may be another one."""
        self.process.send_signal(signal.SIGHUP)

    def end(self):
        end(self.process)


class Http2Door:
    """A proxy before an Orthanc that speaks TLS and HTTP/2, and refuses whoever doesn't, and bodies that are larger."""

    def __init__(self, folder, orthanc, authority, limit="Infinity"):
        self._log = folder / "http2.log"
        pair = base64.b64encode(f"{EMAIL}:{PASSWORD}".encode()).decode()
        certificate, key = authority.issue("http2")
        with open(self._log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                ["node", Path(__file__).parent / "openid" / "http2_only.mjs", certificate, key,
                 urllib.parse.urlsplit(orthanc.address).netloc, f"Basic {pair}", str(limit)],
                stdout=log, stderr=subprocess.DEVNULL, env=environment())
        port = int(await_true("the proxy", self._log.read_text, self.process))
        self.root = f"https://127.0.0.1:{port}/dicom-web"

    def end(self):
        end(self.process)
