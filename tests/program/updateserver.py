"""An update server that answers as it is told and keeps every request as it came over the wire."""

import contextlib
import ctypes
import fcntl
import os
import socket
import socketserver
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


class UpdateServer(socketserver.ThreadingTCPServer):
    """`answers` maps a path to the bytes of a response, or to a function that is given the connection. A path that is
    missing gets a 404 with an empty body. Port 0 is any that is free. Use as a context manager."""

    allow_reuse_address = daemon_threads = True

    def __init__(self, answers, port=ADDRESS[1]):
        super().__init__((ADDRESS[0], port), Answer, bind_and_activate=False)
        self.answers = dict(answers)
        self.requests = []

    def __enter__(self):
        self.server_bind()
        self.server_activate()
        self.url = "http://{}:{}/".format(*self.server_address)
        threading.Thread(target=self.serve_forever, args=(0.02,), daemon=True).start()
        return self

    def __exit__(self, *_):
        self.shutdown()
        self.server_close()


class Answer(socketserver.BaseRequestHandler):
    def handle(self):
        connection, request = self.request, b""
        while not request.endswith(b"\r\n\r\n"):
            data = connection.recv(65536)
            if not data:
                return
            request += data
        self.server.requests.append(request)
        answer = self.server.answers.get(request.split(b" ")[1].decode(), page(b"", "404 Not Found"))
        with contextlib.suppress(OSError):
            if callable(answer):
                answer(connection)
            else:
                connection.sendall(answer)
                connection.shutdown(socket.SHUT_WR)
            connection.recv(65536)  # until the other side has had enough


def silent(_connection):
    """Accepts, reads the request, and never says a word."""
