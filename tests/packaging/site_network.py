"""What stands between a gateway and its archive at a site: a proxy, and a door that speaks TLS. Both on the loopback."""

import re
import socket
import ssl
import threading


def _pass_on(source, target):
    """Until one of them hangs up, which the other one is told."""
    try:
        while piece := source.recv(65536):
            target.sendall(piece)
    except OSError:
        pass
    for end in source, target:
        try:
            end.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # it has hung up itself


class _Station:
    """Listens, and joins each caller to another place. Owner: a test, which ends it."""

    def __init__(self):
        self._listening = socket.create_server(("127.0.0.1", 0))
        self.port = self._listening.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                caller, _ = self._listening.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(caller,), daemon=True).start()

    def _serve(self, caller):
        with caller:
            try:
                self._join(*self._answer(caller))
            except (OSError, ValueError):
                pass  # the caller gave up, or has no business here

    @staticmethod
    def _join(caller, port):
        with caller, socket.create_connection(("127.0.0.1", port)) as other:
            onward = threading.Thread(target=_pass_on, args=(caller, other), daemon=True)
            onward.start()
            _pass_on(other, caller)
            onward.join()

    def end(self):
        self._listening.shutdown(socket.SHUT_RDWR)
        self._listening.close()


class Door(_Station):
    """Speaks TLS with a certificate, and passes on what it hears."""

    def __init__(self, certificate, key, behind):
        self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self._context.load_cert_chain(certificate, key)
        self._behind = behind
        super().__init__()

    def _answer(self, caller):
        return self._context.wrap_socket(caller, server_side=True), self._behind


class Proxy(_Station):
    """Knows where one name is (RFC 9110, clause 9.3.6), and no other."""

    def __init__(self, name, port):
        self._name = name
        self._port = port
        self.asked = []  # the names that it was asked for
        super().__init__()

    def _answer(self, caller):
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            piece = caller.recv(1)
            if not piece:
                raise ValueError("the caller hung up")
            head += piece
        wanted = re.match(rb"CONNECT (\S+):443 HTTP/1\.1\r\n", head)
        self.asked.append(wanted[1].decode() if wanted else head.decode())
        if self.asked[-1] != self._name:
            caller.sendall(b"HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n")
            raise ValueError("nobody of that name")
        caller.sendall(b"HTTP/1.1 200 Connection established\r\n\r\n")
        return caller, self._port
