"""A cloud that is away, busy or refuses everything costs little, and all arrives once it takes images again."""

import http.client
import http.server
import json
import threading
import time
import unittest
from urllib.parse import urlsplit

from harness import EndToEndTest, await_true, identity_of, request, send

STORE = {"path": "/dicom-web/studies", "method": "POST"}
WIDEST = 8  # requests that may be on their way when the first refusal comes


class Proxy:
    """Stands before a cloud; `judge` may answer a request in its place, or cut it off.

    judge(method, path, body) gives nothing to let it pass, "cut", or status and headers of an answer.
    """

    def __init__(self, cloud_address, judge):
        cloud = urlsplit(cloud_address)

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def handle_one(self):
                body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
                verdict = judge(self.command, self.path, body)
                if verdict == "cut":
                    self.close_connection = True
                    self.connection.close()
                    return
                if verdict is not None:
                    status, headers = verdict
                    self.reply(status, headers, b"")
                    return
                onward = http.client.HTTPConnection(cloud.hostname, cloud.port)
                kept = {name: value for name, value in self.headers.items() if name.lower() != "host"}
                onward.request(self.command, self.path, body, kept)
                answer = onward.getresponse()
                content = answer.read()
                told = {name: answer.getheader(name) for name in ("Content-Type", "Content-Encoding")}
                self.reply(answer.status, {name: value for name, value in told.items() if value}, content)
                onward.close()

            do_GET = do_POST = do_PUT = do_DELETE = handle_one

            def reply(self, status, headers, content):
                self.send_response(status)
                for name, value in headers.items():
                    self.send_header(name, value)
                self.send_header("Content-Length", str(len(content)))
                self.end_headers()
                self.wfile.write(content)

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self._thread = threading.Thread(target=self._server.serve_forever)
        self._thread.start()
        self.address = f"http://127.0.0.1:{self._server.server_address[1]}"

    def end(self):
        self._server.shutdown()
        self._thread.join()
        self._server.server_close()


class Away(EndToEndTest):

    def start(self, address):
        self.gateway = self.start_gateway(address)
        self.gateway.sign_in()

    def proxy(self, judge):
        proxy = Proxy(self.cloud.address, judge)
        self.addCleanup(proxy.end)
        return proxy

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()

    def actions(self):
        """How often each action stands in the log."""
        counts = {}
        for file in self.gateway.home.rglob("gateway-transfer-*.jsonl"):
            for line in file.read_text(encoding="utf-8").splitlines():
                action = json.loads(line)["action"]
                counts[action] = counts.get(action, 0) + 1
        return counts

    def stores(self):
        """Upload requests that the cloud has seen."""
        counts = json.loads(request(f"{self.cloud.address}/control/counts")[2])
        return sum(count for name, count in counts["requests"].items()
                   if name.startswith("POST ") and name.endswith("/studies"))

    def await_pause(self, cause):
        return self.gateway.await_status(f"a pause for {cause}", lambda s: s["waiting"]["pausedBy"] == cause)

    def test_a_cloud_that_takes_no_connection_is_tried_a_few_times_while_sixty_images_arrive(self):
        # Given
        self.start(self.cloud.address)
        self.cloud.end()
        sent = self.samples(ct=60)

        # When
        for file in sent[:20]:
            send(self.gateway, [file])
        send(self.gateway, sent[20:])
        self.gateway.await_received(sent)
        self.await_pause("notReachable")

        # Then
        actions = self.actions()
        self.assertLess(actions["upload_attempt_started"], 60, actions)
        self.assertLess(actions["upload_candidate_selected"], 60, actions)
        self.assertLess(actions.get("upload_run_started", 0), 30, actions)
        self.assertEqual(actions["upload_run_started"], actions["upload_run_finished"], actions)
        self.assertIn("uploads pause until", self.gateway.command("status").stdout)
        # And nobody has to ask for what waits
        self.cloud.restart()
        self.gateway.await_synced(sent)

    def test_a_cloud_that_asks_to_be_left_alone_is_left_alone_until_a_person_wants_it_otherwise(self):
        # Given
        self.start(self.cloud.address)
        self.cloud.steer("faults", **STORE, count=None, status=429, headers={"Retry-After": "300"})
        sent = self.samples(ct=50)

        # When
        send(self.gateway, sent[:40])
        self.await_pause("tooManyRequests")
        for file in sent[40:]:
            send(self.gateway, [file])
        self.gateway.await_received(sent)

        # Then
        self.assertLessEqual(self.stores(), WIDEST)
        self.assertGreater(self.gateway.status()["waiting"]["pausedUntil"],
                           time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() + 60)))
        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_a_cloud_that_points_elsewhere_pauses_all_and_blames_no_file_in_turn(self):
        # Given a portal that wants a sign-in of its own, or an archive that has moved
        self.start(self.cloud.address)
        self.cloud.steer("faults", **STORE, count=None, status=302, headers={"Location": "https://portal.example/"})
        sent = self.samples(ct=40)

        # When
        send(self.gateway, sent[:30])
        self.await_pause("unexpectedAnswer")
        for file in sent[30:]:
            send(self.gateway, [file])
        self.gateway.await_received(sent)

        # Then the others have failed nothing, and nobody was sent after them
        self.assertLessEqual(self.stores(), WIDEST)
        self.assertLessEqual(sum(entry["count"] for entry in self.gateway.status()["failures"]), WIDEST)
        self.assertIn("Something else answered", self.gateway.command("status").stdout)
        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_an_address_where_nobody_takes_images_is_tried_with_one_of_them(self):
        # Given a proxy whose service is away
        self.start(self.cloud.address)
        self.cloud.steer("faults", **STORE, count=None, status=404)
        sent = self.samples(ct=40)

        # When
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.await_pause("noImageService")

        # Then
        self.assertLessEqual(self.stores(), 4 * WIDEST)  # and as many questions without an image
        self.assertIn("uploads pause until", self.gateway.command("status").stdout)
        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_what_would_meet_every_image_is_tried_with_one_of_them(self):
        # Given
        self.start(self.cloud.address)
        sent = self.samples(ct=30)
        self.cloud.steer("faults", **STORE, count=None, status=503)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.await_pause("tooManyRequests")

        for status, cause in ((507, "storageUsedUp"), (403, "notPermitted"), (401, "sessionEnded")):
            with self.subTest(status=status):
                # When
                self.cloud.steer("faults/clear")
                self.cloud.steer("faults", **STORE, count=None, status=status)
                before = self.stores()
                self.gateway.command("upload")
                self.await_pause(cause)

                # Then
                self.assertLessEqual(self.stores() - before, WIDEST)

        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_a_cloud_that_had_no_room_gets_its_images_by_itself_once_it_has(self):
        # Given
        self.start(self.cloud.address)
        self.cloud.steer("faults", **STORE, count=None, status=507)
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.await_pause("storageUsedUp")

        # When
        self.cloud.steer("faults/clear")

        # Then
        self.gateway.await_synced(sent)

    def test_one_image_that_is_cut_off_keeps_no_other_waiting(self):
        # Given
        sent = self.samples(ct=12)
        cut_off = identity_of(sent[-1])[2].encode()
        self.assertEqual(len([file for file in sent if identity_of(file)[2].encode().startswith(cut_off)]), 1)
        proxy = self.proxy(lambda method, path, body:
                           "cut" if method == "POST" and path.endswith("/studies") and cut_off in body else None)
        self.start(proxy.address)

        # When
        send(self.gateway, sent)

        # Then
        last = self.gateway.await_status("all others", lambda s: s["counters"]["synced"] == len(sent) - 1)
        self.assertEqual(last["counters"]["notSynced"], 1)
        more = self.samples(seed=2, ct=3)
        send(self.gateway, more)
        self.gateway.await_status("what came later",
                                  lambda s: s["counters"]["synced"] == len(sent) + len(more) - 1)
        waiting = self.gateway.await_status("the one that waits", lambda s: s["waiting"]["files"] == 1)
        self.assertIsNotNone(waiting["waiting"]["nextTryAt"])

    def test_a_proxy_that_allows_some_requests_a_time_is_used_as_far_as_it_goes(self):
        # Given
        allowed, window = 20, 10.0
        lock = threading.Lock()
        seen = {"begin": time.monotonic(), "used": 0, "refused": 0}

        def judge(method, path, _):
            if method != "POST" or not path.endswith("/studies"):
                return None
            with lock:
                if time.monotonic() - seen["begin"] > window:
                    seen.update(begin=time.monotonic(), used=0)
                seen["used"] += 1
                if seen["used"] <= allowed:
                    return None
                seen["refused"] += 1
                return 429, {"Retry-After": str(int(window - (time.monotonic() - seen["begin"])) + 1)}

        proxy = self.proxy(judge)
        self.start(proxy.address)
        sent = self.samples(ct=60)

        # When
        send(self.gateway, sent)

        # Then
        self.gateway.await_synced(sent)
        self.assertLessEqual(seen["refused"], 12 * WIDEST)

    def test_refused_images_wait_and_say_so_while_a_new_one_goes_at_once(self):
        # Given
        self.start(self.cloud.address)
        refused = self.samples(ct=20)
        self.cloud.steer("refuse-instances", sopInstanceUIDs=[identity_of(file)[2] for file in refused],
                         failureReason=0xA900, count=None)
        send(self.gateway, refused)
        waiting = self.gateway.await_status("twenty that wait", lambda s: s["waiting"]["files"] == 20)
        attempts = self.actions()["upload_attempt_started"]

        # When
        fresh = self.samples(seed=2, ct=1)
        send(self.gateway, fresh)
        self.gateway.await_status("the new one", lambda s: s["counters"]["synced"] == 1)

        # Then
        self.assertIsNotNone(waiting["waiting"]["nextTryAt"])
        self.assertLess(self.actions()["upload_attempt_started"] - attempts, 20)
        self.assertIn("tried again later: ", self.gateway.command("doctor", check=False).stdout)
        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.gateway.await_synced(refused + fresh)

    def test_a_session_that_the_cloud_ended_while_images_wait_is_told_everywhere(self):
        # Given
        self.start(self.cloud.address)
        self.cloud.steer("faults", **STORE, count=None, status=503)
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.await_pause("tooManyRequests")
        self.assertEqual(json.loads(self.gateway.command("doctor", "--json", check=False).stdout)["findings"], [])

        # When
        self.cloud.steer("tokens/expire")
        self.gateway.await_status("an ended session", lambda s: s["session"]["state"] == "ended")

        # Then
        told = self.gateway.command("doctor", "--json", check=False)
        self.assertEqual(told.returncode, 1)
        findings = {finding["kind"]: finding["count"] for finding in json.loads(told.stdout)["findings"]}
        self.assertEqual(findings, {"noSession": 3})
        await_true("a line on standard error", lambda: "the cloud ended it at" in self.gateway.said())
        self.cloud.steer("faults/clear")
        self.gateway.sign_in()
        self.gateway.await_synced(sent)
        self.assertEqual(self.gateway.command("doctor").returncode, 0)


if __name__ == "__main__":
    unittest.main()
