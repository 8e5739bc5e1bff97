"""What an administrator meets in the first half hour: homes of others, clouds that are kept, sentences that can be typed."""

import http.server
import json
import os
import pwd
import re
import shlex
import socket
import subprocess
import threading
import unittest
from pathlib import Path

from harness import (EMAIL, PASSWORD, PROGRAMS, TITLE, Cloud, EndToEndTest, Gateway, await_true, environment,
                     free_port, run)

GATEWAY = PROGRAMS / "quorin-gateway"
NOBODY = "http://127.0.0.1:9"  # an address where no cloud answers


class FirstHalfHour(EndToEndTest):
    def gateway(self, *arguments, variables=None, check=False):
        ended = subprocess.run([str(part) for part in (GATEWAY, "--home", self.folder / "home", *arguments)],
                               capture_output=True, text=True, env=environment() | (variables or {}), timeout=180)
        if check:
            self.assertEqual(ended.returncode, 0, ended.stderr)
        return ended

    def start(self, *options, variables=None):
        """A gateway that is told its cloud by these options alone."""
        gateway = Gateway.__new__(Gateway)
        gateway.home = self.folder / "home"
        gateway._log = self.folder / "gateway.log"
        with open(gateway._log, "w", encoding="utf-8") as log:
            gateway.process = subprocess.Popen([GATEWAY, "--home", gateway.home, "--bind", "127.0.0.1", "--headless", *options],
                                               stdout=log, stderr=log, env=environment() | (variables or {}))
        self.addCleanup(gateway.end)
        gateway.await_status("an answer", lambda status: True)
        return gateway

    def test_the_cloud_of_a_sign_in_is_that_of_the_next_start(self):
        cloud = self.start_cloud()
        first = self.start("--cloud", cloud.address, "--cloud-kind", "quorin")
        first.set_up()
        self.assertIn(f"kept in a file in {self.folder}/home", first.sign_in().stdout)
        first.end()

        second = self.start()
        second.await_status("the session", lambda status: status["session"]["signedIn"])
        self.assertEqual(second.status()["cloud"]["baseUrl"], cloud.address)
        second.end()

        third = self.start("--cloud", NOBODY)
        self.assertIn(f"goes to {NOBODY} (quorin), as the command line or the environment says; the settings keep "
                      f"{cloud.address}", third.said())
        refused = third.command("sign-in", "--cloud", cloud.address, "--email", EMAIL, text_in=PASSWORD + "\n", check=False)
        self.assertEqual((refused.returncode, NOBODY in refused.stderr), (2, True), refused.stderr)

    def test_setup_without_a_gateway_keeps_the_cloud_and_says_what_to_start(self):
        told = self.gateway("--cloud", NOBODY, "--cloud-kind", "dicomweb", "setup", "--ae-title", TITLE, "--port", free_port(),
                            "--no-bonjour", check=True).stdout
        self.assertIn("Once the gateway runs", told)
        self.assertIn(f"--home {self.folder}/home", told)
        for key, value in ("QuorinAPI.BaseURL", NOBODY), ("QuorinAPI.Kind", "dicomweb"):
            self.assertEqual(self.gateway("settings", "get", key, check=True).stdout, value + "\n")

    def test_an_address_or_a_kind_that_is_none_ends_the_start(self):
        self.gateway("--bind", "127.0.0.1", "setup", "--ae-title", TITLE, "--port", free_port(), "--no-bonjour", check=True)
        for options, variables in ((("--cloud", "ftp://pacs.example"), {}), ((), {"QUORIN_CLOUD_URL": "pacs"}),
                                   ((), {"QUORIN_CLOUD_URL": NOBODY, "QUORIN_CLOUD_KIND": "s3"})):
            ended = self.gateway(*options, "--headless", variables=variables)
            self.assertEqual(ended.returncode, 2, ended.stderr)
            self.assertRegex(ended.stderr, "is not a web address|is unknown")

    def test_status_fails_where_the_listener_does(self):
        gateway = self.start("--cloud", NOBODY)
        gateway.set_up()
        self.assertEqual(gateway.command("status", check=False).returncode, 0)
        gateway.end()
        with socket.socket() as taken:
            taken.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            taken.bind(("127.0.0.1", gateway.port))
            taken.listen()
            again = self.start("--cloud", NOBODY)
            again.await_status("the failure", lambda status: status["listener"]["state"] == "failed")
            self.assertEqual(again.command("status", check=False).returncode, 1)
            self.assertFalse(again.status()["listener"]["asItShouldBe"])

    def test_a_private_authority_is_a_setting_that_the_refusal_names(self):
        key, certificate = self.folder / "key.pem", self.folder / "certificate.pem"
        run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=site", "-addext",
            "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate)
        cloud = Cloud(self.folder, options=("--tls", certificate, key))
        self.addCleanup(cloud.end)
        refused = self.start("--cloud", cloud.address)
        refused.set_up()
        told = refused.await_status("the refusal", lambda status: status["cloud"]["lastError"])["cloud"]["lastError"]
        setting = re.search(r"in the setting (\S+)\.", told)[1]
        self.assertIn("next start", refused.command("settings", "set", setting, certificate).stdout)
        refused.end()

        gateway = self.start()
        gateway.sign_in()
        self.assertTrue(gateway.status()["cloud"]["online"])

    def test_a_proxy_is_a_setting(self):
        address, asked = self.web_server()
        self.gateway("settings", "set", "QuorinAPI.Proxy", address, check=True)
        # Nothing but the proxy can know this name.
        gateway = self.start("--cloud", "http://pacs.invalid/dicom-web", "--cloud-kind", "dicomweb",
                             variables={"QUORIN_CLOUD_ALLOW_HTTP": "1"})
        await_true("the proxy to be asked", lambda: asked, gateway.process)
        self.assertIn("http://pacs.invalid/dicom-web/studies", asked[0][0])

    def test_an_archive_may_want_no_sign_in(self):
        address, asked = self.web_server()
        first = self.start("--cloud", address + "/dicom-web", "--cloud-kind", "dicomweb")
        first.set_up()
        self.assertIn("signed in as guest", first.command("sign-in", "--no-auth").stdout)
        first.end()
        second = self.start()
        second.await_status("the session", lambda status: status["session"]["signedIn"])
        self.assertGreater(len(asked), 1)
        self.assertEqual([headers["Authorization"] for _, headers in asked if "Authorization" in headers], [])
        self.assertEqual(second.command("sign-in", check=False).returncode, 2)

    def test_only_an_archive_may_want_no_sign_in(self):
        gateway = self.start("--cloud", self.start_cloud().address)
        gateway.set_up()
        refused = gateway.command("sign-in", "--no-auth", check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertIn("dicomweb", refused.stderr)

    def web_server(self):
        """A server that has nothing: its address, and what it is asked, each with its headers."""
        asked = []

        class Server(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                asked.append((self.path, dict(self.headers)))
                self.send_response(204)
                self.end_headers()

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        return f"http://127.0.0.1:{server.server_address[1]}", asked

    def test_the_log_keeps_to_its_limit_where_one_is_set(self):
        logs = self.folder / "home/Application Support/QuorinGateway/Logs"
        logs.mkdir(parents=True)
        for day in range(1, 29):
            (logs / f"gateway-transfer-202001{day:02}-000000-0badcafe.jsonl").write_bytes(b"\n" * (2 << 20))
        first = self.start("--cloud", NOBODY)
        first.set_up()
        first.await_status("the log's size", lambda status: status["log"]["bytes"] > 56 << 20)
        self.assertIsNone(first.status()["log"]["limitBytes"])
        first.command("settings", "set", "GatewayLogLimitMiB", "50")
        first.end()

        second = self.start()
        second.await_status("the limit", lambda status: 0 < status["log"]["bytes"] <= status["log"]["limitBytes"] == 50 << 20)
        kept = sorted(path.name for path in logs.iterdir())
        self.assertIn("gateway-transfer-20200128", kept[-3])
        self.assertNotIn("20200101", kept[0])
        self.assertIn("listener_start_requested", second.command("logs", "--since", "1d").stdout)

    def test_json_has_its_schema_and_suggestions_can_be_typed(self):
        alone = self.gateway("status")
        self.assertEqual(alone.returncode, 3)
        words = shlex.split(alone.stderr.split("with: ", 1)[1])
        self.assertEqual(words, ["quorin-gateway", "--home", str(self.folder / "home"), "--headless"])
        for arguments in (("settings", "list"), ("settings", "get", "wadoLimit"), ("doctor",)):
            self.assertEqual(json.loads(self.gateway(*arguments, "--json").stdout)["schema"], 1, arguments)

    def test_who_works_in_the_home_of_another_is_told_whose_it_is(self):
        owner, home = "root", Path("/root")
        if os.geteuid() == 0:
            owner, home = "nobody", self.folder / "home"
            home.mkdir()
            os.chown(home, pwd.getpwnam(owner).pw_uid, -1)
        for command in ("status",), ("--headless",), ("settings", "list"):
            ended = subprocess.run([GATEWAY, "--home", home, *command], capture_output=True, text=True, env=environment(),
                                   timeout=180)
            self.assertEqual(ended.returncode, 1)
            self.assertIn(f"sudo -u {owner} quorin-gateway --home {home} status", ended.stderr)
        if os.geteuid() == 0:
            self.assertEqual(list(home.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
