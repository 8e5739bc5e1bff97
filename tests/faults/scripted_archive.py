"""An archive that keeps what it is sent, knows what it keeps, and answers one upload at a time as a test wants it to."""

import http.server
import json
import re
import socket
import struct
import threading
import time

from harness import parts_of
from odd_objects import dataset_of, identity_in

BOUNDARY = "archive"
LINGER = struct.pack("ii", 1, 0)  # a close that resets


class Script:
    """What becomes of the next upload: is it kept, and what is answered; without a body, what is right."""

    def __init__(self, status=200, kind="", body=None, keeps=True, headers=(), cut=None, slow=False):
        self.status, self.kind, self.body, self.keeps = status, kind, body, keeps
        self.headers, self.cut, self.slow = headers, cut, slow
        self.was_played = threading.Event()


def referenced(identity):
    """The answer of the standard to one instance that was stored (PS3.18, 10.5.3)."""
    study, series, instance = identity
    return {"00081199": {"vr": "SQ", "Value": [{
        "00081150": {"vr": "UI", "Value": ["1.2.840.10008.5.1.4.1.1.2"]}, "00081155": {"vr": "UI", "Value": [instance]},
        "00081190": {"vr": "UR", "Value": [f"http://x/studies/{study}/series/{series}/instances/{instance}"]}}]}}


class Archive:
    """On a port of its own; ends with the test."""

    def __init__(self):
        self.kept = {}  # instance -> (study, series, file)
        self.script = None
        self.credentials = 0  # how many requests came with some
        archive = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):  # the name is that of the base class
                archive.note(self)
                archive.answer_query(self)

            def do_POST(self):
                archive.note(self)
                archive.take(self)

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.handle_error = lambda *_: None  # of a peer that was killed
        self.address = f"http://127.0.0.1:{self._server.server_address[1]}"
        threading.Thread(target=self._server.serve_forever, args=(0.05,), daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()

    def note(self, request):
        self.credentials += "Authorization" in request.headers

    def datasets(self):
        return {dataset_of(file) for _, _, file in self.kept.values()}

    def take(self, request):
        script = self.script if self.script and not self.script.was_played.is_set() else Script()
        if script.cut == "before":
            self.reset(request)
            script.was_played.set()
            return
        body = request.rfile.read(int(request.headers["Content-Length"]))
        sent = [(identity_in(part), part) for part in parts_of(request.headers["Content-Type"], body)]
        if script.keeps:
            for (study, series, instance), part in sent:
                self.kept[instance] = (study, series, part)
        if script.cut == "answer":
            self.reset(request)
        elif script.body is None:
            self.send(request, Script(200, "application/dicom+json", json.dumps(referenced(sent[0][0])).encode()))
        else:
            self.send(request, script)
        script.was_played.set()

    def send(self, request, script):
        request.send_response(script.status)
        for name, value in script.headers:
            request.send_header(name, value)
        if script.kind:
            request.send_header("Content-Type", script.kind)
        request.send_header("Content-Length", str(len(script.body)))
        request.end_headers()
        half = len(script.body) // 2
        try:
            request.wfile.write(script.body[:half])
            if script.slow:
                time.sleep(1)
            if script.cut == "body":
                self.reset(request)
                return
            request.wfile.write(script.body[half:])
        except OSError:
            pass  # whoever asked has heard enough

    @staticmethod
    def reset(request):
        request.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, LINGER)
        request.connection.shutdown(socket.SHUT_RD)
        request.close_connection = True

    def answer_query(self, request):
        path = request.path
        if found := re.search(r"SOPInstanceUID=([\d.]+)", path):
            kept = self.kept.get(found[1])
            answer = [entry(found[1], kept)] if kept and f"/studies/{kept[0]}/" in path else []
        elif found := re.search(r"/instances/([\d.]+)$", path):
            self.give(request, self.kept.get(found[1]))
            return
        elif found := re.search(r"/studies/([\d.]+)/series/([\d.]+)/instances", path):
            answer = [entry(instance, kept) for instance, kept in self.kept.items() if kept[:2] == found.groups()][:1]
        else:
            answer = []
        self.send(request, Script(200, "application/dicom+json", json.dumps(answer).encode()))

    def give(self, request, kept):
        if not kept:
            self.send(request, Script(404, body=b""))
            return
        body = (f"--{BOUNDARY}\r\nContent-Type: application/dicom\r\n\r\n".encode() + kept[2]
                + f"\r\n--{BOUNDARY}--\r\n".encode())
        self.send(request, Script(200, f'multipart/related; type="application/dicom"; boundary={BOUNDARY}', body))


def entry(instance, kept):
    study, series, _ = kept
    return {tag: {"vr": "UI", "Value": [uid]} for tag, uid in
            (("00080018", instance), ("0020000D", study), ("0020000E", series))}
