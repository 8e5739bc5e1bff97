"""The network between a gateway and its cloud, as bad as a test wants it: a TCP proxy of our own."""

import dataclasses
import random
import socket
import struct
import threading
import time

PIECE = 4096
LINGER = struct.pack("ii", 1, 0)  # a close that resets
PAGE = b"<!DOCTYPE html><title>Welcome</title><p>Please accept our terms to use this network.</p>"


@dataclasses.dataclass
class Weather:
    delay: float = 0  # seconds, of each piece
    rate: float = 0  # bytes a second of all connections together; 0 is as many as there are
    cut: int = 0  # a connection is reset after at most so many bytes
    hole: bool = False  # what is sent into it is gone, without a word
    forgets: bool = False  # and in the end both sides are told that nobody knows their connections any more
    portal: str = ""  # what someone else answers instead: "page" or "redirect"


FINE = Weather()


class Proxy:
    """Before a server of this machine. A connection that was in a hole stays dead when the weather is fine again."""

    def __init__(self, port, chance=None):
        self._port, self._chance = port, chance or random.Random()
        self._weather, self._links = FINE, []
        self._turn, self._free_at = threading.Lock(), 0
        self.cuts = self.swallowed = self.pages = 0
        self._server = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.port = self._server.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def close(self):
        try:
            self._server.shutdown(socket.SHUT_RDWR)  # or the thread waits on
        finally:
            self._server.close()
        for link in list(self._links):
            link.reset()

    def turn(self, weather):
        was, self._weather = self._weather, weather
        for link in [link for link in self._links if link.is_dead] if was.forgets else ():
            link.reset()

    def _accept(self):
        while True:
            try:
                client, _ = self._server.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(client,), daemon=True).start()

    def _serve(self, client):
        if self._weather.portal:
            self._welcome(client)
            return
        try:
            server = socket.create_connection(("127.0.0.1", self._port))
        except OSError:
            reset(client)
            client.close()
            return
        link = Link(client, server, self._chance.randint(1, self._weather.cut) if self._weather.cut else None)
        self._links.append(link)
        there = threading.Thread(target=self._pump, args=(link, client, server), daemon=True)
        there.start()
        self._pump(link, server, client)
        there.join()
        self._links.remove(link)
        client.close()
        server.close()

    def _pump(self, link, source, sink):
        try:
            while piece := source.recv(PIECE):
                self._pass(link, piece, sink)
            if not link.is_dead:
                sink.shutdown(socket.SHUT_WR)
        except OSError:
            link.reset()

    def _pass(self, link, piece, sink):
        weather = self._weather
        if weather.portal:
            link.reset()
            return
        if weather.hole or link.is_dead:
            link.is_dead = True
            self.swallowed += len(piece)
            return
        if weather.cut and link.left is None:
            link.left = self._chance.randint(1, weather.cut)
        if weather.cut and link.take(len(piece)):
            self.cuts += 1
            link.reset()
            return
        if weather.rate:
            self._await_turn(len(piece) / weather.rate)
        time.sleep(weather.delay)
        sink.sendall(piece)

    def _await_turn(self, seconds):
        with self._turn:
            self._free_at = max(self._free_at, time.monotonic()) + seconds
            wait = self._free_at - time.monotonic()
        time.sleep(max(0, wait))

    def _welcome(self, client):
        """What the Wi-Fi of a hotel says in the place of everyone."""
        self.pages += 1
        client.settimeout(5)
        try:
            client.recv(PIECE)
            head = ("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:9/welcome" if self._weather.portal == "redirect"
                    else "HTTP/1.1 200 OK")
            client.sendall(f"{head}\r\nContent-Type: text/html\r\nContent-Length: {len(PAGE)}\r\nConnection: close\r\n\r\n".encode() + PAGE)
            client.shutdown(socket.SHUT_WR)
            while client.recv(PIECE):
                pass
        except OSError:
            pass
        client.close()


class Link:
    """The two ends of one connection."""

    def __init__(self, client, server, left):
        self._ends = (client, server)
        self.left = left  # bytes until it is cut
        self.is_dead = False

    def take(self, count):
        """True when this is more than is left."""
        self.left -= count
        return self.left < 0

    def reset(self):
        self.is_dead = True
        for end in self._ends:
            reset(end)


def reset(end):
    try:
        end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, LINGER)
        end.shutdown(socket.SHUT_RD)  # wakes who reads it, and the close that follows resets
    except OSError:
        pass  # it has ended
