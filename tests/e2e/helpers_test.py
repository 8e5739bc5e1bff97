"""A helper program that is killed or answers no more costs its own work alone: the gateway starts it again and waits
for none."""

import os
import re
import signal
import socket
import time
import unittest

from harness import TITLE, EndToEndTest, await_true, free_port, request, run, send

NOBODY = "http://127.0.0.1:9"  # an address where no cloud answers


def stat_of(process):
    """State and parent of a process; nothing when it is gone."""
    try:
        with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
            return file.read().rsplit(")", 1)[1].split()[:2]
    except (FileNotFoundError, ProcessLookupError):
        return None


def children_of(parent, role=None):
    """The processes that one has started, dead ones too unless a role is asked for."""
    found = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        stat = stat_of(name)
        if not stat or int(stat[1]) != parent:
            continue
        try:
            with open(f"/proc/{name}/cmdline", "rb") as file:
                words = file.read().split(b"\0")
        except (FileNotFoundError, ProcessLookupError):
            continue
        if role is None or role.encode() in words:
            found.append(int(name))
    return found


class Helpers(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.gateway = self.start_gateway(NOBODY, options=("--metrics", "127.0.0.1:0"))
        self.health = re.search(r"Metrics are served at (http://\S+)/metrics\.", self.gateway.said()).group(1) + "/healthz"

    def listener(self):
        return await_true("the listener's process", lambda: children_of(self.gateway.process.pid, "scp"))[0]

    def echoes(self, port):
        return run("echoscu", "-to", "2", "-aec", TITLE, "127.0.0.1", port, check=False).returncode == 0

    def logged(self, action, **details):
        """The records of an action whose details say this."""
        told = self.gateway.command("logs", "--json").stdout.splitlines()
        return [line for line in told if f'"{action}"' in line
                and all(f'"{key}":"{value}"' in line.replace(": ", ":") for key, value in details.items())]

    def test_a_killed_listener_takes_associations_again_within_two_seconds(self):
        samples = self.samples(ct=4)
        send(self.gateway, samples[:2])
        killed = self.listener()

        os.kill(killed, signal.SIGKILL)
        began = time.monotonic()
        await_true("an association", lambda: self.echoes(self.gateway.port), self.gateway.process)
        took = time.monotonic() - began
        send(self.gateway, samples[2:])

        self.gateway.await_received(samples)
        self.assertNotEqual(self.listener(), killed)
        self.assertTrue(await_true("the log", lambda: self.logged("listener_stopped", reason="process_ended")))
        self.assertTrue(self.logged("listener_start_succeeded", reason="after_interruption"))
        self.assertEqual(self.logged("listener_start_failed"), [])
        print(f"associations again after {took:.2f} s")

    def test_a_stopped_listener_is_replaced(self):
        stopped = self.listener()

        os.kill(stopped, signal.SIGSTOP)

        await_true("another listener", lambda: children_of(self.gateway.process.pid, "scp") not in ([], [stopped]))
        await_true("an association", lambda: self.echoes(self.gateway.port), self.gateway.process)
        self.assertTrue(await_true(
            "the log", lambda: self.logged("listener_stopped", reason="process_gave_no_sign_of_life")))
        self.assertIsNone(stat_of(stopped), "reaped")

    def test_a_change_of_port_waits_for_no_stopped_listener(self):
        os.kill(self.listener(), signal.SIGSTOP)
        port = free_port()

        self.gateway.command("setup", "--ae-title", TITLE, "--port", port, "--no-bonjour")

        # Answered by the main loop, long before anybody has given the stopped process up.
        self.assertIn(request(self.health)[0], (200, 503))
        await_true("an association", lambda: self.echoes(port), self.gateway.process)

    def test_the_settings_change_twice_while_the_listener_hangs(self):
        os.kill(self.listener(), signal.SIGSTOP)

        for title in "FIRST", "SECOND":
            self.gateway.command("settings", "set", "ListenerSettings.aeTitle", title)

        await_true("an association", lambda: self.echoes(self.gateway.port), self.gateway.process)
        self.assertFalse(self.logged("listener_start_failed"))

    def test_the_port_is_free_when_the_gateway_has_ended_also_where_the_listener_hangs(self):
        listener = self.listener()
        for hangs in False, True:
            with self.subTest(hangs=hangs):
                if hangs:
                    os.kill(listener, signal.SIGSTOP)
                self.gateway.end()
                self.assertEqual(self.gateway.process.returncode, 0)
                self.assertTrue(self.logged("listener_stopped", had_active_listener="true"), "it waited for nobody")
                with socket.socket() as successor:
                    successor.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                    successor.bind(("127.0.0.1", self.gateway.port))
                    successor.listen()
                if not hangs:
                    self.gateway = self.start_gateway(NOBODY)
                    listener = self.listener()

    def test_an_idle_worker_that_ended_leaves_no_dead_process(self):
        samples = self.samples(ct=1)
        send(self.gateway, samples)
        self.gateway.await_received(samples)

        for worker in await_true("a worker", lambda: children_of(self.gateway.process.pid, "worker")):
            os.kill(worker, signal.SIGKILL)

        await_true("no dead process", lambda: not [
            child for child in children_of(self.gateway.process.pid) if (stat_of(child) or "X")[0] == "Z"])
        self.assertEqual(children_of(self.gateway.process.pid, "worker"), [])


if __name__ == "__main__":
    unittest.main()
