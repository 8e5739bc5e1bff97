"""What this user may not do, and what others may not do to this user's gateway."""

import os
import subprocess
import unittest
from pathlib import Path
from unittest import mock

import harness
from harness import EndToEndTest, Gateway, environment

PRIVILEGED_PORT = 104  # the registered port of DICOM (PS3.8, clause 9.1.1)
NOBODY = 65534


class Rights(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.assertEqual(os.geteuid(), 0, "only root can take rights away and speak as somebody else")

    def test_a_port_that_needs_rights_is_refused_with_one_sentence(self):
        # Given a gateway that may not bind ports below 1024
        first_free = int(Path("/proc/sys/net/ipv4/ip_unprivileged_port_start").read_text())
        self.assertGreater(first_free, PRIVILEGED_PORT, "this machine lets everybody bind low ports")
        command = ["setpriv", "--bounding-set", "-net_bind_service"]
        start = subprocess.Popen
        with mock.patch.object(harness.subprocess, "Popen", lambda line, **rest: start(command + line, **rest)):
            gateway = Gateway(self.folder, "http://127.0.0.1:9")
        self.addCleanup(gateway.end)

        # When
        ended = gateway.command("setup", "--ae-title", harness.TITLE, "--port", PRIVILEGED_PORT, "--no-bonjour",
                                check=False)

        # Then
        self.assertEqual(ended.returncode, 1)
        self.assertIn(f"Port {PRIVILEGED_PORT} needs rights that this user doesn't have", ended.stderr)
        self.assertTrue(gateway.status()["setup"]["required"])

        # And a port that everybody may use is taken afterwards
        gateway.set_up()

    def test_another_user_gets_no_answer_even_where_the_folder_stands_open(self):
        # Given a home whose folders let everybody in
        gateway = self.start_gateway("http://127.0.0.1:9")
        (control,) = [path for path in gateway.home.rglob("*") if path.is_socket() and "control" in path.name]
        os.chmod(control.parent, 0o755)
        os.chmod(control, 0o666)

        # When
        own = ask_as(os.geteuid(), control)
        strange = ask_as(NOBODY, control)

        # Then
        self.assertIn(b'"listener"', own)
        self.assertEqual(strange, b"")
        self.assertEqual(gateway.status()["listener"]["state"], "listening")


def ask_as(user, path):
    """What a process of that user's reads from the socket after asking for the status."""
    script = (f"import os, socket, sys\n"
              f"os.setgid({user}); os.setuid({user})\n"
              f"line = socket.socket(socket.AF_UNIX)\n"
              f"line.connect(sys.argv[1])\n"
              f"try:\n"
              f"    line.sendall(b'{{\"command\": \"status\", \"arguments\": {{}}}}\\n')\n"
              f"    sys.stdout.buffer.write(line.recv(65536))\n"
              f"except (BrokenPipeError, ConnectionResetError):\n"
              f"    pass\n")
    ended = subprocess.run(["python3", "-c", script, path.name], cwd=path.parent, capture_output=True,
                           env=environment(), timeout=harness.PATIENCE_SECONDS, check=False)
    if ended.returncode != 0:
        raise AssertionError(ended.stderr)
    return ended.stdout


if __name__ == "__main__":
    unittest.main(verbosity=2)
