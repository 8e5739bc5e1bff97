"""An archive that keeps what it is sent and has habits to be set, and a service that gives out its tokens."""

import json
import re
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from harness import parts_of
from odd_objects import identity_in

BOUNDARY = "archive"
JSON, DICOM_JSON = "application/json", "application/dicom+json"


def referenced(instances, warning=None):
    """The answer of the standard to instances that are stored (PS3.18, 10.5.3)."""
    more = {"00081196": {"vr": "US", "Value": [warning]}} if warning else {}
    return {"00081199": {"vr": "SQ", "Value": [{"00081155": {"vr": "UI", "Value": [instance]}, **more}
                                               for instance in instances]}}


class Service:
    """Answers requests on a port of its own, each by what `answer` returns: status, content type, body, headers."""

    def __init__(self, port=0):
        self.requests = []  # method, path, headers, body
        service = self

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def any(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                request = (self.command, self.path, self.headers, body)
                service.requests.append(request)
                status, kind, answer, *headers = service.answer(*request)
                self.send_response(status)
                if kind:
                    self.send_header("Content-Type", kind)
                for name, value in headers:
                    self.send_header(name, value)
                self.send_header("Content-Length", str(len(answer)))
                self.end_headers()
                self.wfile.write(answer)

            do_GET = do_POST = do_DELETE = any  # the names are those of the base class

            def log_message(self, *_):
                pass

        self._server = ThreadingHTTPServer(("127.0.0.1", port), Handler)
        self._server.handle_error = lambda *_: None  # of a peer that was killed
        self.address = f"http://127.0.0.1:{self._server.server_address[1]}"
        threading.Thread(target=self._server.serve_forever, args=(0.05,), daemon=True).start()

    def answer(self, method, path, headers, body):
        raise NotImplementedError

    def count(self, method, path=""):
        return sum(each[0] == method and path in each[1] for each in self.requests)

    def end(self):
        self._server.shutdown()
        self._server.server_close()


class SteeredArchive(Service):

    def __init__(self):
        super().__init__()
        self.kept = {}  # instance -> (study, series, file)
        self.gives = True  # images back
        self.says_there = False  # of whatever it is sent, without keeping it
        self.words = None  # its answer to an upload, by the instances that came, without keeping them
        self.guard = lambda method, headers: None  # an answer in place of what is right
        self.when_sent = lambda headers: None  # called for each upload
        self.stores_later = False  # what it is sent goes into `later`, and it says 202 alone
        self.later = {}

    def answer(self, method, path, headers, body):
        refusal = self.guard(method, headers)
        if refusal:
            return refusal
        if method == "POST":
            return self.store(headers, body)
        return (204, "", b"") if method == "DELETE" else self.look(path)

    def store(self, headers, body):
        self.when_sent(headers)
        sent = [(identity_in(part), part) for part in parts_of(headers["Content-Type"], body)]
        instances = [instance for (_, _, instance), _ in sent]
        if self.words:
            return self.words(instances)
        if self.says_there:
            return 202, DICOM_JSON, json.dumps(referenced(instances, warning=45070)).encode()
        for (study, series, instance), part in sent:
            (self.later if self.stores_later else self.kept)[instance] = (study, series, part)
        if self.stores_later:
            return 202, "", b""
        return 200, DICOM_JSON, json.dumps(referenced(instances)).encode()

    def look(self, path):
        if found := re.search(r"SOPInstanceUID=([\d.]+)", path):
            kept = self.kept.get(found[1])
            return self.entries({found[1]: kept} if kept else {})
        if found := re.search(r"/instances/([\d.]+)$", path):
            return self.give(self.kept.get(found[1]))
        if found := re.search(r"/studies/([\d.]+)/series/([\d.]+)/instances", path):
            return self.entries({instance: kept for instance, kept in self.kept.items() if kept[:2] == found.groups()})
        return self.entries({})

    def give(self, kept):
        if not self.gives or not kept:
            return (404 if self.gives else 501), "", b""
        body = (f"--{BOUNDARY}\r\nContent-Type: application/dicom\r\n\r\n".encode() + kept[2]
                + f"\r\n--{BOUNDARY}--\r\n".encode())
        return 200, f'multipart/related; type="application/dicom"; boundary={BOUNDARY}', body

    @staticmethod
    def entries(kept):
        return 200, DICOM_JSON, json.dumps([
            {tag: {"vr": "UI", "Value": [uid]} for tag, uid in
             (("00080018", instance), ("0020000D", study), ("0020000E", series))}
            for instance, (study, series, _) in kept.items()]).encode()


class SteeredTokens(Service):
    """Gives out tokens that begin with a name, one after the other; `manner` replaces its answers."""

    def __init__(self, name="token", port=0):
        super().__init__(port)
        self.name, self.lifetime, self.given = name, 300, 0
        self.manner = None
        self.issuer = f"{self.address}/realm"
        self.endpoint = f"{self.issuer}/token"  # as it publishes it

    def answer(self, method, path, headers, body):
        if method == "GET":
            return 200, JSON, json.dumps({"issuer": self.issuer, "token_endpoint": self.endpoint}).encode()
        if self.manner:
            return self.manner
        self.given += 1
        return 200, JSON, json.dumps({"access_token": f"{self.name}{self.given}", "token_type": "Bearer",
                                      "expires_in": self.lifetime}).encode()
