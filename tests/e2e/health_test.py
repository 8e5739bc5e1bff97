"""Operators see how the gateway does, over the network and over its Unix socket, whatever its peers and its disk do."""

import http.client
import re
import socket
import threading
import unittest
from contextlib import closing

from harness import PATIENCE_SECONDS, EndToEndTest, await_true, free_port, request, send

NOBODY = "http://127.0.0.1:9"  # an address where no cloud answers
SLOW_PEERS = 150  # more than the gateway serves at a time


class UnixConnection(http.client.HTTPConnection):
    """HTTP over a Unix socket."""

    def __init__(self, path):
        super().__init__("localhost", timeout=PATIENCE_SECONDS)
        self._path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(self.timeout)
        self.sock.connect(str(self._path))


class ServiceManager:
    """Hears what the gateway tells a service manager, until it is made deaf: the gateway's main loop then waits for it."""

    def __init__(self, path):
        self.path = path
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(str(path))
        self._socket.settimeout(0.05)
        self._hears = threading.Event()
        self._hears.set()
        self._ends = False
        self._thread = threading.Thread(target=self._listen)
        self._thread.start()

    def _listen(self):
        while not self._ends:
            self._hears.wait()
            try:
                self._socket.recv(4096)
            except TimeoutError:
                pass

    def make_deaf(self):
        self._hears.clear()

    def listen_again(self):
        self._hears.set()

    def close(self):
        self._ends = True
        self._hears.set()
        self._thread.join()
        self._socket.close()


class Health(EndToEndTest):

    def start(self, cloud_address=NOBODY, **more):
        self.gateway = self.start_gateway(cloud_address, options=("--metrics", "127.0.0.1:0"), **more)
        self.address = re.search(r"Metrics are served at (http://\S+)/metrics\.", self.gateway.said()).group(1)

    def health(self):
        status, _, body = request(f"{self.address}/healthz")
        return status, body.decode()

    def over_unix_socket(self, path):
        with closing(UnixConnection(self.gateway.home / "run" / "health.socket")) as connection:
            connection.request("GET", path)
            answer = connection.getresponse()
            return answer.status, answer.read().decode()

    def metrics(self):
        """Name with labels -> value."""
        status, headers, body = request(f"{self.address}/metrics")
        self.assertEqual(status, 200)
        self.assertTrue(headers["Content-Type"].startswith("text/plain; version=0.0.4"))
        lines = [line for line in body.decode().splitlines() if not line.startswith("#")]
        return {name: float(value) for name, value in (line.rsplit(" ", 1) for line in lines)}

    def await_health(self, expected):
        return await_true(f"health {expected}", lambda: self.health()[0] == expected and self.health(),
                          self.gateway.process)

    def test_counters_move_with_the_images_of_a_modality(self):
        # Given
        cloud = self.start_cloud()
        self.start(cloud.address)
        self.gateway.sign_in()
        before = self.metrics()
        sent = self.samples(ct=4, us=1, us_frames=4)

        # When
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        after = await_true("the end of the run", lambda: (told := self.metrics()) and
                           told["quorin_gateway_upload_running"] == 0 and told, self.gateway.process)
        gained = {name: after[name] - before[name] for name in after if name in before}
        self.assertEqual(gained["quorin_gateway_images_received_total"], 5)
        self.assertEqual(gained["quorin_gateway_images_uploaded_total"], 5)
        self.assertEqual(gained["quorin_gateway_synced_images"], 8, "each frame counts")
        self.assertEqual(gained["quorin_gateway_synced_instances"], 5, "as the archive counts")
        self.assertEqual(self.gateway.status()["counters"]["instances"],
                         {"total": 5, "synced": 5, "notSynced": 0, "failed": 0})
        # The gateway's files have a meta header of its own (PS3.10, clause 7.1); the rest is the modality's.
        self.assertAlmostEqual(gained["quorin_gateway_received_bytes_total"], sum(file.stat().st_size for file in sent),
                               delta=500 * len(sent))
        self.assertGreater(gained["quorin_gateway_uploaded_bytes_total"], 0)
        self.assertGreaterEqual(gained["quorin_gateway_associations_total"], 1)
        for name, value in {"listener_up": 1, "index_up": 1, "signed_in": 1, "healthy": 1, "main_loop_up": 1,
                            "unsent_images": 0, "oldest_unsent_image_age_seconds": 0}.items():
            self.assertEqual(after["quorin_gateway_" + name], value, name)
        self.assertGreater(after['quorin_gateway_free_bytes{folder="store"}'], 0)

    def test_images_that_wait_are_told_with_their_age(self):
        # Given
        self.start()
        sent = self.samples(ct=2)

        # When
        send(self.gateway, sent)
        self.gateway.await_received(sent)

        # Then
        told = self.metrics()
        self.assertEqual(told["quorin_gateway_unsent_images"], 2)
        self.assertGreater(told["quorin_gateway_oldest_unsent_image_age_seconds"], 0)

    def test_the_unix_socket_tells_the_same(self):
        self.start()

        self.assertEqual(self.over_unix_socket("/healthz")[0], 200)
        self.assertIn("\nquorin_gateway_listener_up 1\n", self.over_unix_socket("/metrics")[1])

    def test_a_listener_whose_port_is_taken_is_ill_until_it_has_another(self):
        # Given
        self.start()
        self.assertEqual(self.await_health(200), (200, f"The listener runs on port {self.gateway.port}.\n"))

        # When
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen(1)
            port = taken.getsockname()[1]
            self.gateway.command("settings", "set", "ListenerSettings.port", port)
            _, sentence = self.await_health(503)
            sentence = await_true("the reason", lambda: "port" in self.health()[1] and self.health()[1])

            # Then
            self.assertTrue(sentence.startswith("The listener doesn't run: "), sentence)
            self.assertIn(str(port), sentence)
            self.assertEqual(self.metrics()["quorin_gateway_listener_up"], 0)
            self.assertGreaterEqual(self.metrics()["quorin_gateway_listener_failures_total"], 1)
        self.gateway.command("settings", "set", "ListenerSettings.port", free_port())
        self.await_health(200)

    def test_a_listener_that_was_switched_off_is_not_ill(self):
        # Given
        self.start()

        # When
        self.gateway.command("settings", "set", "ListenerSettings.isEnabled", "false")

        # Then
        await_true("the listener's end", lambda: self.metrics()["quorin_gateway_listener_up"] == 0)
        self.assertEqual(self.health(), (200, "The listener is switched off in the settings.\n"))

    def test_a_wedged_main_loop_is_told_instead_of_hanging(self):
        # Given
        manager = ServiceManager(self.folder / "notify")
        self.addCleanup(manager.close)
        self.start(variables={"NOTIFY_SOCKET": str(manager.path), "WATCHDOG_USEC": "4000"})
        self.await_health(200)

        # When
        manager.make_deaf()

        # Then
        self.assertEqual(self.await_health(503), (503, "The main loop of the gateway doesn't answer.\n"))
        told = self.metrics()
        self.assertEqual(told["quorin_gateway_main_loop_up"], 0)
        self.assertEqual(told["quorin_gateway_healthy"], 0)
        self.assertEqual(told["quorin_gateway_listener_up"], 1, "as of the last figures")
        manager.listen_again()
        self.await_health(200)

    def test_slow_peers_keep_nobody_out(self):
        # Given
        self.start()
        host, port = self.address.removeprefix("http://").split(":")
        peers = [socket.create_connection((host, int(port))) for _ in range(SLOW_PEERS)]
        for peer in peers:
            self.addCleanup(peer.close)

        # When
        for letter in b"GET /hea":
            for peer in peers:
                try:
                    peer.send(bytes([letter]))
                except OSError:
                    pass  # hung up on already

            # Then
            self.assertEqual(self.health()[0], 200)
        self.assertEqual(self.over_unix_socket("/healthz")[0], 200)

    def test_a_gateway_whose_metrics_port_is_taken_still_takes_images(self):
        # Given
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen(1)

            # When
            self.gateway = self.start_gateway(
                NOBODY, options=("--metrics", f"127.0.0.1:{taken.getsockname()[1]}"))

        # Then
        self.assertIn("No metrics are served over the network. ", self.gateway.said())
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.assertEqual(self.over_unix_socket("/healthz")[0], 200)


if __name__ == "__main__":
    unittest.main()
