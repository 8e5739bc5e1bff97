#!/usr/bin/env python3
"""Three gateways behind one address share nothing but the cloud: one is killed and one drained while senders work."""

import shutil
import signal
import subprocess
import threading
import unittest

from balancer import NAMES, Admin, configuration
from harness import TITLE, EndToEndTest, Gateway, await_true, end, environment, free_port, run, value_of

SENDERS = 4
BATCHES = 6  # associations of one sender
BATCH = 4  # images of one association


class Balancer(Admin):
    """A real one, running."""

    def __init__(self, folder, gateways):
        super().__init__(folder / "admin.sock")
        self.port = free_port()
        recipe = folder / "haproxy.cfg"
        recipe.write_text(configuration(self.port, [gateway.port for gateway in gateways], folder / "admin.sock"),
                          encoding="utf-8")
        run("haproxy", "-c", "-q", "-f", recipe)
        self._log = open(folder / "haproxy.log", "w", encoding="utf-8")
        self.process = subprocess.Popen(["haproxy", "-db", "-f", recipe], stdout=self._log, stderr=self._log,
                                        env=environment())

    def end(self):
        end(self.process)
        self._log.close()


class Sender(threading.Thread):
    """A modality: sends one association after the other, and sends again what wasn't answered with success."""

    def __init__(self, port, batches):
        super().__init__()
        self._port = port
        self._batches = batches
        self.acknowledged = []
        self.failures = 0
        self.done = 0

    def run(self):
        for batch in self._batches:
            while self.failures < 10 and not self._is_taken(batch):
                self.failures += 1
            self.acknowledged += batch
            self.done += 1

    def _is_taken(self, batch):
        return run("dcmsend", "--decompress-never", "-aec", TITLE, "127.0.0.1", self._port, *batch,
                   check=False).returncode == 0


class ScalingTest(EndToEndTest):
    def gateways(self, cloud):
        """Three, set alike by one file."""
        made = []
        for name in NAMES:
            (self.folder / name).mkdir()
            gateway = Gateway(self.folder / name, cloud.address)
            self.addCleanup(gateway.end)
            made.append(gateway)
        settings = self.folder / "site.json"
        made[0].command("settings", "set", "quorinCloudCompressToLS", "false")
        made[0].command("settings", "set", "wadoLimit", "4")
        made[0].command("settings", "export", settings)
        for gateway in made:
            gateway.command("settings", "import", settings)
            gateway.set_up()
            gateway.sign_in()
            self.assertEqual(gateway.command("settings", "get", "wadoLimit").stdout, "4\n")
        return made

    def senders(self, port):
        files = self.samples(mr=SENDERS * BATCHES * BATCH)
        batches = [files[at:at + BATCH] for at in range(0, len(files), BATCH)]
        return files, [Sender(port, batches[at::SENDERS]) for at in range(SENDERS)]

    def test_nothing_acknowledged_is_lost_when_one_is_killed_and_one_drained(self):
        # Given
        cloud = self.start_cloud()
        gateways = self.gateways(cloud)
        balancer = Balancer(self.folder, gateways)
        self.addCleanup(balancer.end)
        await_true("all to be up", balancer.all_are_up, balancer.process)
        files, senders = self.senders(balancer.port)

        # When one is killed and another is drained while senders work
        for sender in senders:
            sender.start()
        await_true("a third of the work", lambda: sum(each.done for each in senders) >= SENDERS * BATCHES // 3)
        gateways[0].process.send_signal(signal.SIGKILL)
        await_true("half of the work", lambda: sum(each.done for each in senders) >= SENDERS * BATCHES // 2)
        balancer.tell("set server gateways/two state drain")
        drained_at = int(balancer.servers()["two"]["stot"])
        for sender in senders:
            sender.join()

        # Then senders have seen one failed association each at most, and the drained one got no other
        self.assertLessEqual(max(sender.failures for sender in senders), 1, "failed associations of one sender")
        servers = balancer.servers()
        self.assertLessEqual(int(servers["two"]["stot"]) - drained_at, 1, "one may have been on its way")
        self.assertNotEqual(servers["one"]["status"], "UP")
        self.assertGreater(int(servers["three"]["stot"]), 0)

        # And when the killed one comes back, all that was acknowledged is in the cloud
        port = gateways[0].port
        gateways[0] = Gateway(self.folder / NAMES[0], cloud.address)
        self.addCleanup(gateways[0].end)
        gateways[0].await_status("the listener", lambda told: told["listener"]["state"] == "listening")
        self.assertEqual(gateways[0].command("settings", "get", "ListenerSettings.port").stdout, f"{port}\n")
        acknowledged = {value_of(file, "0008,0018") for sender in senders for file in sender.acknowledged}
        self.assertEqual(len(acknowledged), len(files))
        await_true("all in the cloud", lambda: acknowledged <= set(cloud.instances()), cloud.process)
        await_true("the first to be up again", lambda: balancer.servers()["one"]["status"] == "UP", balancer.process)

    def test_settings_are_taken_all_or_none(self):
        # Given
        gateway = self.start_gateway(self.start_cloud().address)
        settings = self.folder / "site.json"
        gateway.command("settings", "export", settings)
        shutil.copy(settings, self.folder / "bad.json")
        bad = self.folder / "bad.json"
        bad.write_text(bad.read_text().replace('"wadoLimit": "2"', '"wadoLimit": "3"')
                       .replace('"quorinCloudCompressToLS": "true"', '"quorinCloudCompressToLS": "false"'))
        self.assertNotEqual(bad.read_text(), settings.read_text())
        self.assertNotIn("deviceId", settings.read_text())

        # When
        refused = gateway.command("settings", "import", bad, check=False)
        taken = gateway.command("settings", "import", settings)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertEqual(refused.stderr, "wadoLimit must be one of 2, 4, 6, 8, 10. Nothing was changed.\n")
        self.assertEqual(gateway.command("settings", "get", "quorinCloudCompressToLS").stdout, "true\n")
        self.assertEqual(taken.stdout, "All settings stood as the file has them.\n")


if __name__ == "__main__":
    unittest.main()
