"""HAProxy with the configuration that the packages bring, on loopback; whoever uses it starts and ends the process."""

import socket
from pathlib import Path

RECIPE = Path(__file__).resolve().parents[2] / "packaging/haproxy/haproxy.cfg"
NAMES = ("one", "two", "three")


def configuration(port, gateways, admin_socket):
    """The recipe with places of its own: its port, those of up to three gateways, and where it is told things."""
    recipe = RECIPE.read_text(encoding="utf-8")
    changes = {"0.0.0.0:11112": f"127.0.0.1:{port}", "/run/haproxy/admin.sock": str(admin_socket),
               "inter 10s fastinter 1s": "inter 500ms fastinter 200ms"}
    for place, name in enumerate(NAMES):
        server = f"    server {name} 10.0.0.1{place + 1}:11112 check\n"
        changes[server] = f"    server {name} 127.0.0.1:{gateways[place]} check\n" if place < len(gateways) else ""
    for words, others in changes.items():
        if words not in recipe:
            raise AssertionError(f"the recipe has no {words}")
        recipe = recipe.replace(words, others)
    return recipe


class Admin:
    """What a running HAProxy is told and asked, by its admin socket."""

    def __init__(self, admin_socket):
        self._socket = admin_socket

    def tell(self, words):
        with socket.socket(socket.AF_UNIX) as line:
            line.connect(str(self._socket))
            line.sendall(words.encode() + b"\n")
            told = b""
            while block := line.recv(65536):
                told += block
        return told.decode()

    def servers(self):
        """Name -> what HAProxy tells of it."""
        lines = self.tell("show stat").splitlines()
        titles = lines[0].lstrip("# ").split(",")
        rows = [dict(zip(titles, line.split(","))) for line in lines[1:] if line.startswith("gateways,")]
        return {row["svname"]: row for row in rows if row["svname"] in NAMES}

    def all_are_up(self):
        """True once it listens and every gateway has answered its checks."""
        return self._socket.exists() and all(server["status"] == "UP" for server in self.servers().values())
