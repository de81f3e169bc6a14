"""An update server that answers as it is told and keeps every request as it came over the wire."""

import ctypes
import fcntl
import os
import socket
import struct
import threading

ADDRESS = ("127.0.0.1", 47800)


def enter_own_network():
    """Gives this process and its children a loopback interface of their own, so that tests that use the server's fixed
    port run side by side. To be called before there are threads."""
    user, new_user, new_network = os.getuid(), 0x10000000, 0x40000000
    if ctypes.CDLL(None).unshare(new_network if user == 0 else new_user | new_network) != 0:
        raise RuntimeError("the system grants no network namespace")
    if user != 0:
        with open("/proc/self/uid_map", "w", encoding="ascii") as file:
            file.write(f"{user} {user} 1")
    set_flags, up = 0x8914, 1
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh22x", b"lo", up))


def page(body, status="200 OK", headers=()):
    """A whole response, as a real server would send it."""
    lines = [f"HTTP/1.0 {status}", f"Content-Length: {len(body)}", *headers]
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


class UpdateServer:
    """`answers` maps a path to the bytes of a response, or to a function that is given the connection. A path that is
    missing gets a 404 with an empty body. Port 0 is any that is free. Use as a context manager."""

    def __init__(self, answers, port=ADDRESS[1]):
        self._port = port
        self.answers = dict(answers)
        self.requests = []

    def __enter__(self):
        self._listener = socket.create_server((ADDRESS[0], self._port), backlog=20, reuse_port=False)
        self.url = "http://{}:{}/".format(*self._listener.getsockname())
        self._open = []
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        for connection in self._open:
            connection.close()
        self._thread.join()

    def paths(self):
        return [request.split(b" ")[1].decode() for request in self.requests]

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._open.append(connection)
            threading.Thread(target=self._answer, args=(connection,), daemon=True).start()

    def _answer(self, connection):
        request = b""
        while b"\r\n\r\n" not in request:
            data = connection.recv(65536)
            if not data:
                return
            request += data
        self.requests.append(request)
        answer = self.answers.get(request.split(b" ")[1].decode(), page(b"", "404 Not Found"))
        try:
            if callable(answer):
                answer(connection)
            else:
                connection.sendall(answer)
                connection.shutdown(socket.SHUT_WR)
                connection.recv(65536)
                connection.close()
        except OSError:
            pass


def silent(_connection):
    """Accepts, reads the request, and never says a word."""
