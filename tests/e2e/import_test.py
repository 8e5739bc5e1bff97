"""What an operator imports by command is what the cloud gives back, and the sources stay as they were."""

import hashlib
import io
import json
import os
import signal
import subprocess
import unittest
import zipfile

from failing_disk import FailingDisk
from harness import PROGRAMS, EndToEndTest, await_true, environment, identity_of, run


def zip_of(files):
    """The bytes of a zip that holds these contents by their names."""
    packed = io.BytesIO()
    with zipfile.ZipFile(packed, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in files.items():
            archive.writestr(name, content)
    return packed.getvalue()


def state_of(folder):
    """Every file below a folder with its content and the time of its last change."""
    return {path.relative_to(folder): (hashlib.sha256(path.read_bytes()).hexdigest(), path.stat().st_mtime_ns)
            for path in sorted(folder.rglob("*")) if path.is_file()}


class Import(EndToEndTest):

    def records(self, gateway, action):
        logs = gateway.home / "Application Support" / "QuorinGateway" / "Logs"
        lines = [json.loads(line) for log in logs.glob("*.jsonl") for line in log.read_text().splitlines()]
        return [line for line in lines if line["action"] == action]

    def import_json(self, gateway, *paths):
        ended = gateway.command("import", "--json", *paths, check=False)
        return ended, json.loads(ended.stdout)

    def test_a_folder_with_everything_is_imported_uploaded_and_left_alone(self):
        # Given
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        gateway.sign_in()
        plain, in_zip, in_inner, in_upper = self.samples(ct=2, mr=2)
        chosen = self.folder / "chosen"
        (chosen / "deep").mkdir(parents=True)
        plain.rename(chosen / "deep" / "image")
        inner = zip_of({"a/b/c.dcm": in_inner.read_bytes()})
        (chosen / "outer.zip").write_bytes(zip_of({"inner.zip": inner, "../../d.dcm": in_zip.read_bytes()}))
        (chosen / "UPPER.ZIP").write_bytes(zip_of({"e.dcm": in_upper.read_bytes()}))
        (chosen / "readme.txt").write_text("no image")
        (chosen / "deep" / "loop").symlink_to(chosen)
        before = state_of(chosen)
        wanted = {identity_of(file)[2] for file in (chosen / "deep" / "image", in_zip, in_inner, in_upper)}

        # When: by a relative path, from elsewhere
        ended = subprocess.run([PROGRAMS / "quorin-gateway", "--home", gateway.home, "import", "--json", "chosen"],
                               cwd=self.folder, env=environment(), capture_output=True, text=True, check=False)

        # Then
        self.assertEqual(ended.returncode, 0, ended.stderr)
        summary = json.loads(ended.stdout)
        self.assertEqual((summary["candidateFiles"], summary["importedFiles"], summary["skippedFiles"]), (5, 4, 1))
        self.assertEqual([reason["reason"] for reason in summary["skipped"]], ["not_dicom"])
        gateway.await_status("four uploaded images", lambda s: s["counters"]["synced"] == 4)
        self.assertEqual(set(cloud.instances()), wanted)
        self.assertEqual(state_of(chosen), before)
        self.assertFalse((self.folder / "d.dcm").exists())
        self.assertEqual(list((gateway.home / "tmp").glob("QuorinGatewayManualImport-*")), [])
        [record] = self.records(gateway, "import_succeeded")
        self.assertEqual(record["details"], {"trigger": "manual_upload", "selected_items": "1", "candidate_files": "5",
                                             "imported_files": "4", "skipped_files": "1"})

    def test_bad_archives_fail_alone_and_in_words(self):
        # Given
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        [image] = self.samples(ct=1)
        damaged = self.folder / "damaged.zip"
        damaged.write_bytes(zip_of({"a.dcm": image.read_bytes()})[:-40])
        locked = self.folder / "locked.zip"
        run("zip", "-q", "-j", "-P", "secret", locked, image)

        # When
        ended, summary = self.import_json(gateway, damaged, locked, image, self.folder / "missing.dcm")

        # Then
        self.assertEqual(ended.returncode, 1)
        self.assertIn("may be images", ended.stderr)
        self.assertEqual(summary["importedFiles"], 1)
        self.assertEqual({reason["reason"]: reason["files"] for reason in summary["skipped"]},
                         {"damaged_archive": 1, "protected_archive": 1, "unreadable": 1})

        # When: the damaged one alone, for people
        ended = gateway.command("import", damaged, check=False)

        # Then
        self.assertEqual(ended.returncode, 1)
        self.assertIn("damaged", ended.stdout)
        self.assertEqual([r["details"]["reason"] for r in self.records(gateway, "import_failed")], ["no_files_found"])

    def test_without_an_instance_it_says_so(self):
        ended = run(PROGRAMS / "quorin-gateway", "--home", self.folder / "nobody", "import", "x", check=False)

        self.assertEqual(ended.returncode, 3)

    def test_an_interrupt_stops_the_batch_and_keeps_what_is_imported(self):
        # Given: far more than is imported before the interrupt
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        [image] = self.samples(ct=1)
        chosen = self.folder / "chosen"
        chosen.mkdir()
        for number in range(20000):
            os.link(image, chosen / f"{number}.dcm")

        # When
        client = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", gateway.home, "import", "--json", chosen],
                                  env=environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(client.kill)
        gateway.await_status("the first image", lambda s: s["counters"]["images"] > 0)
        client.send_signal(signal.SIGINT)
        out, said = client.communicate(timeout=60)

        # Then
        summary = json.loads(out)
        self.assertEqual(client.returncode, 1)
        self.assertIn("stopped", said)
        self.assertTrue(summary["stopped"])
        self.assertGreater(summary["importedFiles"], 0)
        self.assertLess(summary["importedFiles"], 20000)
        self.assertEqual(len(list(chosen.iterdir())), 20000)
        [record] = self.records(gateway, "import_succeeded")
        self.assertEqual(record["details"]["reason"], "stopped")

    def on_a_dead_share(self, call):
        """A gateway that is importing from a share whose answer to such a call doesn't come, and the client that asked."""
        disk = FailingDisk(self.folder)
        gateway = self.start_gateway(self.start_cloud().address, variables=disk.variables())
        self.addCleanup(disk.heal)
        share = self.folder / "share"
        share.mkdir()
        for sample in self.samples(ct=3):
            sample.rename(share / sample.name)
        disk.silence(call, f"{share}/*")
        client = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", gateway.home, "import", "--json", share],
                                  env=environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(client.kill)
        await_true("the look at the share", lambda: disk.failures() >= 1, gateway.process)
        return gateway, disk, share, client

    def check_that_a_stop_frees_the_next(self, call):
        gateway, disk, share, client = self.on_a_dead_share(call)
        before = sorted(share.iterdir())

        # When: something from elsewhere is to be imported, and the first import is stopped
        [other] = self.samples(mr=1)
        waiting = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", gateway.home, "import", "--json", other],
                                   env=environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(waiting.kill)
        await_true("the second import", lambda: len(self.records(gateway, "import_attempted")) == 2, gateway.process)
        client.send_signal(signal.SIGINT)

        # Then: both have ended, though the share is as dead as before
        stopped = json.loads(client.communicate(timeout=60)[0])
        self.assertEqual((stopped["stopped"], stopped["importedFiles"]), (True, 0))
        self.assertEqual(json.loads(waiting.communicate(timeout=60)[0])["importedFiles"], 1)
        self.assertEqual(gateway.status()["listener"]["state"], "listening")

        # When: the share is back
        disk.heal()

        # Then: what was left behind brings nothing, and the next import all
        ended, summary = self.import_json(gateway, share)
        self.assertEqual((ended.returncode, summary["importedFiles"]), (0, 3))
        self.assertEqual(gateway.status()["counters"]["images"], 4)
        self.assertEqual(sorted(share.iterdir()), before)
        await_true("no copies", lambda: not list((gateway.home / "tmp").glob("QuorinGatewayManualImport-*")), gateway.process)

    def test_a_stop_frees_the_next_import_where_a_share_lists_nothing(self):
        self.check_that_a_stop_frees_the_next("stat")

    def test_a_stop_frees_the_next_import_where_a_file_is_not_read(self):
        self.check_that_a_stop_frees_the_next("read")

    def test_a_share_that_is_dead_does_not_hold_up_the_end(self):
        gateway, _, _, client = self.on_a_dead_share("open")

        gateway.process.terminate()

        self.assertEqual(gateway.process.wait(60), 0)
        client.communicate(timeout=60)

    def test_the_next_start_sweeps_what_a_killed_import_left(self):
        # Given: an archive that takes a while
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        [image] = self.samples(ct=1)
        content = image.read_bytes()
        archive = self.folder / "large.zip"
        with zipfile.ZipFile(archive, "w", zipfile.ZIP_STORED) as packed:
            for number in range(300):
                packed.writestr(f"{number}.dcm", content)
        temporary = gateway.home / "tmp"
        client = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", gateway.home, "import", archive],
                                  env=environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(client.kill)
        await_true("a temporary root", lambda: list(temporary.glob("QuorinGatewayManualImport-*")), gateway.process)

        # When
        gateway.process.kill()
        gateway.process.wait()
        self.assertNotEqual(client.wait(60), 0)
        again = self.restarted(gateway, cloud)

        # Then
        await_true("the sweep", lambda: not list(temporary.glob("QuorinGatewayManualImport-*")), again.process)
        ended, summary = self.import_json(again, archive)
        self.assertEqual((ended.returncode, summary["importedFiles"]), (0, 300))

    def restarted(self, gateway, cloud):
        again = type(gateway)(self.folder, cloud.address)
        self.addCleanup(again.end)
        return again


if __name__ == "__main__":
    unittest.main(verbosity=2)
