"""An archive of others': Orthanc with its DICOMweb plugin."""

import base64
import json
import subprocess

from harness import EMAIL, PASSWORD, await_true, end, environment, free_port, identity_of, request

PLUGIN = "/usr/share/orthanc/plugins/libOrthancDicomWeb.so"


class Orthanc:
    """One of its own: one user, HTTP on the loopback, no DICOM listener."""

    def __init__(self, folder):
        self._log = folder / "orthanc.log"
        port = free_port()
        self.address = f"http://127.0.0.1:{port}"
        self.root = self.address + "/dicom-web"
        (folder / "orthanc").mkdir()
        configuration = folder / "orthanc.json"
        configuration.write_text(json.dumps({
            "Name": "e2e", "StorageDirectory": str(folder / "orthanc"), "IndexDirectory": str(folder / "orthanc"),
            "Plugins": [PLUGIN], "HttpPort": port, "HttpBindAddresses": ["127.0.0.1"], "RemoteAccessAllowed": False,
            "DicomServerEnabled": False, "AuthenticationEnabled": True, "RegisteredUsers": {EMAIL: PASSWORD},
            "DicomWeb": {"Enable": True, "Root": "/dicom-web/"}}))
        with open(self._log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(["Orthanc", configuration], stdout=log, stderr=log, env=environment())
        await_true("Orthanc", self._answers, self.process)

    def _answers(self):
        try:
            return self.get("/system")
        except OSError:
            return None

    def get(self, path):
        user = base64.b64encode(f"{EMAIL}:{PASSWORD}".encode()).decode()
        status, _, body = request(self.address + path, headers={"Authorization": f"Basic {user}"})
        if status != 200:
            raise AssertionError(f"{path} was answered with {status}: {body!r}")
        return body

    def files(self, folder):
        """SOP instance UID -> its file, by Orthanc's own interface."""
        found = {}
        for key in json.loads(self.get("/instances")):
            file = folder / f"{key}.dcm"
            file.write_bytes(self.get(f"/instances/{key}/file"))
            found[identity_of(file)[2]] = file
        return found

    def end(self):
        end(self.process)
