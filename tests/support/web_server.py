#!/usr/bin/env python3
"""A web server for tests: answers well, badly and not at all, by the path that it is asked for.

usage: web_server.py [CERTIFICATE KEY]

Serves on 127.0.0.1 and [::1] (one port), HTTPS with a certificate. Writes the port in a line, then obeys lines on
its standard input and answers each with lines: "requests" (a number, then that many requests), "forget", "release".
Ends at the end of its input, so it never outlives the test. The paths are described in web_server.h.
"""
import base64
import hashlib
import os
import socket
import ssl
import sys
import threading
from urllib.parse import unquote, unquote_to_bytes, urlsplit

PERIOD = 65521
PATTERN = bytes((i * 131 + (i >> 8) * 17) & 255 for i in range(PERIOD))
BLOCK = PATTERN * 16
MODIFIED = "Sun, 06 Nov 1994 08:49:37 GMT"
CLOSE_BY_RESET = b"\1\0\0\0\0\0\0\0"  # linger on, for no time

lock = threading.Lock()
requests = []
counts = {}
released = threading.Event()
left = threading.Event()
ending = threading.Event()


def content(first, end):
    """The bytes of a file from one place to another, in pieces."""
    while first < end:
        begin = first % PERIOD
        piece = BLOCK[begin:begin + min(end - first, len(BLOCK) - begin)]
        yield piece
        first += len(piece)


class Request:
    def __init__(self, line, headers, body):
        self.line = line
        self.headers = headers
        self.body = body
        self.verb, target = (line.split(" ") + ["", ""])[:2]
        # Whoever takes the server for a proxy names it whole.
        if target.startswith("http://"):
            parts = urlsplit(target)
            target = parts.path + ("?" + parts.query if parts.query else "")
        path, _, self.query = target.partition("?")
        self.parts = path.split("/")[1:]

    def header(self, name):
        return next((value for key, value in self.headers if key.lower() == name), None)

    def offset(self):
        """N of "Range: bytes=N-"."""
        value = self.header("range") or ""
        return int(value[6:-1]) if value.startswith("bytes=") and value[6:-1].isdigit() else 0


class Connection:
    def __init__(self, stream, number):
        self.stream = stream
        self.number = number
        self.buffer = b""

    def fill(self):
        more = self.stream.recv(65536)
        self.buffer += more
        return bool(more)

    def read_request(self):
        while b"\r\n\r\n" not in self.buffer:
            if not self.fill() or self.buffer[0] < 32:
                return None  # gone, or no request: the other side speaks TLS to a plain server
        head, _, self.buffer = self.buffer.partition(b"\r\n\r\n")
        lines = head.decode("latin-1").split("\r\n")
        headers = [tuple(part.strip() for part in line.split(":", 1)) for line in lines[1:]]
        size = int(next((value for key, value in headers if key.lower() == "content-length"), 0))
        while len(self.buffer) < size:
            if not self.fill():
                return None
        body, self.buffer = self.buffer[:size], self.buffer[size:]
        with lock:
            requests.append("\t".join([str(self.number)] + lines + [f"\vbody: {body.decode('latin-1')}"]))
        return Request(lines[0], headers, body)

    def send(self, data):
        self.stream.sendall(data)

    def head(self, status, *lines):
        text = f"HTTP/1.1 {status} Test\r\n" + "".join(line + "\r\n" for line in lines) + "\r\n"
        self.send(text.encode("latin-1"))

    def answer(self, status, body, *lines):
        text = f"HTTP/1.1 {status} Test\r\nContent-Length: {len(body)}\r\n"
        self.send((text + "".join(line + "\r\n" for line in lines) + "\r\n").encode("latin-1") + body)

    def say_goodbye(self):
        """As TLS wants it before a connection ends."""
        if isinstance(self.stream, ssl.SSLSocket):
            self.stream.settimeout(1)
            self.stream.unwrap()

    def hang(self):
        """Until the other side goes or the server ends."""
        self.stream.settimeout(0.2)
        while not ending.is_set():
            try:
                if not self.stream.recv(65536):
                    return
            except TimeoutError:
                pass

    def file(self, request, size, stop=None, ranges=True):
        """A file of a size. `stop`: how many bytes of the answer's body come. True where all did."""
        first = request.offset() if ranges else 0
        if first >= size and first > 0:
            self.answer(416, b"", f"Content-Range: bytes */{size}")
            return True
        lines = [f"Content-Length: {size - first}", f"Last-Modified: {MODIFIED}"]
        if first:
            self.head(206, *lines, f"Content-Range: bytes {first}-{size - 1}/{size}")
        else:
            self.head(200, *lines)
        if request.verb == "HEAD":
            return True
        end = size if stop is None else min(size, first + stop)
        for piece in content(first, end):
            self.send(piece)
        return end == size


# Each answers whether the connection may go on.

def plain(connection, request, size):
    return connection.file(request, int(size))


def no_range(connection, request, size):
    return connection.file(request, int(size), ranges=False)


def broken(connection, request, size, stop):
    return connection.file(request, int(size), int(stop))


def broken_once(connection, request, size, stop):
    with lock:
        counts[request.line] = counts.get(request.line, 0) + 1
        is_first = counts[request.line] == 1
    return connection.file(request, int(size), int(stop) if is_first else None)


def reset(connection, request, size, stop):
    connection.file(request, int(size), int(stop))
    connection.stream.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, CLOSE_BY_RESET)
    return False


def stall(connection, request, size, stop):
    if not connection.file(request, int(size), int(stop)):
        connection.hang()
    return False


def stall_headers(connection, _):
    connection.send(b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n")
    connection.hang()
    return False


def gate(connection, _, size, stop):
    connection.head(200, f"Content-Length: {size}")
    for piece in content(0, int(stop)):
        connection.send(piece)
    released.wait()
    for piece in content(int(stop), int(size)):
        connection.send(piece)
    return True


def gate_break(connection, _, size, stop):
    connection.head(200, f"Content-Length: {size}")
    for piece in content(0, int(stop)):
        connection.send(piece)
    released.wait()
    return False


def gate_headers(connection, request, size):
    released.wait()
    return connection.file(request, int(size))


def redirect(connection, _, count, *rest):
    target = "/" + "/".join(rest)
    if int(count) > 1:
        target = f"/redirect/{int(count) - 1}{target}"
    connection.answer(302, b"elsewhere", f"Location: {target}")
    return True


def redirect_to(connection, request):
    connection.answer(302, b"elsewhere", f"Location: {unquote(request.query)}")
    return True


def leave(connection, _):
    """In a way that lets nothing more be written to it, not even a good-bye."""
    connection.answer(200, b"soon")
    released.wait()
    connection.stream.shutdown(socket.SHUT_WR)
    connection.stream.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, CLOSE_BY_RESET)
    connection.stream.close()
    left.set()
    return False


def wait_for_leave(connection, _):
    left.wait()
    connection.answer(200, b"gone")
    return True


def loop(connection, _):
    connection.answer(302, b"again", "Location: /loop")
    return True


def status(connection, _, code):
    if code in ("204", "304"):
        connection.head(int(code))
    else:
        connection.answer(int(code), b"status")
    return True


def long(connection, _, size, extra):
    body = b"".join(content(0, int(size) + int(extra)))
    connection.send(f"HTTP/1.1 200 OK\r\nContent-Length: {size}\r\n\r\n".encode() + body)
    connection.hang()
    return False


def wrong_range(connection, request, size):
    first = request.offset() + 1
    connection.head(206, f"Content-Length: {int(size) - first}",
                    f"Content-Range: bytes {first}-{int(size) - 1}/{size}")
    for piece in content(first, int(size)):
        connection.send(piece)
    return True


def chunked(connection, _, size):
    connection.head(200, "Transfer-Encoding: chunked", "Content-Length: 3", "Trailer: X-Trailer")
    for piece in content(0, int(size)):
        for begin in range(0, len(piece), 10000):
            part = piece[begin:begin + 10000]
            connection.send(f"{len(part):x}\r\n".encode() + part + b"\r\n")
    connection.send(b"0\r\nX-Trailer: yes\r\n\r\n")
    return True


def endless(start, more):
    def serve_it(connection, _):
        connection.send(start)
        while not ending.is_set():
            connection.send(more)
        return False
    return serve_it


def raw(connection, _, *rest):
    connection.send(unquote_to_bytes("/".join(rest)))
    connection.say_goodbye()
    return False


def raw_cut(connection, _, *rest):
    connection.send(unquote_to_bytes("/".join(rest)))
    return False


def auth(connection, request, user, password):
    token = base64.b64encode(f"{unquote(user)}:{unquote(password)}".encode()).decode()
    if request.header("authorization") == f"Basic {token}":
        connection.answer(200, b"welcome")
    else:
        connection.answer(401, b"who are you", 'WWW-Authenticate: Basic realm="test"')
    return True


def digest(connection, request, user, password):
    def md5(text):
        return hashlib.md5(text.encode()).hexdigest()
    given = request.header("authorization") or ""
    fields = dict((part.strip().split("=", 1) + [""])[:2] for part in given.removeprefix("Digest ").split(","))
    fields = {key: value.strip('"') for key, value in fields.items()}
    wanted = md5(":".join([md5(f"{unquote(user)}:test:{unquote(password)}"), "nonce",
                           md5(f"{request.verb}:{fields.get('uri', '')}")]))
    if given.startswith("Digest ") and fields.get("response") == wanted:
        connection.answer(200, b"welcome")
    else:
        connection.answer(401, b"who are you", 'WWW-Authenticate: Digest realm="test", nonce="nonce"')
    return True


def echo(connection, request, *_):
    text = request.line + "\r\n" + "".join(f"{key}: {value}\r\n" for key, value in request.headers) + "\r\n"
    connection.answer(200, b"" if request.verb == "HEAD" else text.encode("latin-1") + request.body)
    return True


def slow(connection, _, size, step, wait_ms):
    connection.head(200, f"Content-Length: {size}")
    for first in range(0, int(size), int(step)):
        for piece in content(first, min(int(size), first + int(step))):
            connection.send(piece)
        if ending.wait(int(wait_ms) / 1000):
            return False
    return True


ANSWERS = {
    "plain": plain,
    "norange": no_range,
    "break": broken,
    "break-once": broken_once,
    "reset": reset,
    "stall": stall,
    "stall-headers": stall_headers,
    "gate": gate,
    "gate-break": gate_break,
    "gate-headers": gate_headers,
    "redirect": redirect,
    "redirect-to": redirect_to,
    "leave": leave,
    "wait-for-leave": wait_for_leave,
    "loop": loop,
    "status": status,
    "long": long,
    "wrong-range": wrong_range,
    "chunked": chunked,
    "endless-headers": endless(b"HTTP/1.1 200 OK\r\n", (b"X-More: " + b"y" * 100 + b"\r\n") * 100),
    "endless-header-line": endless(b"HTTP/1.1 200 OK\r\nX-More: ", b"y" * 10000),
    "endless-trailers": endless(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n",
                                (b"X-More: " + b"y" * 100 + b"\r\n") * 100),
    "endless-1xx": endless(b"", b"HTTP/1.1 103 Early Hints\r\nX-More: yes\r\n\r\n" * 100),
    "raw": raw,
    "raw-cut": raw_cut,
    "auth": auth,
    "digest": digest,
    "echo": echo,
    "slow": slow,
}


def serve(stream, number, context):
    try:
        if context:
            stream = context.wrap_socket(stream, server_side=True)
        with stream:
            connection = Connection(stream, number)
            while request := connection.read_request():
                if request.verb == "CONNECT":
                    connection.answer(403, b"no way")
                    continue
                answer = ANSWERS.get(request.parts[0])
                if not answer:
                    connection.answer(404, b"no such path")
                elif not answer(connection, request, *request.parts[1:]):
                    break
    except (OSError, ValueError, TypeError, IndexError):
        stream.close()  # the other side has gone, or asked for nonsense


def accept(listener, context):
    while True:
        stream, _ = listener.accept()
        stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        with lock:
            number = counts["connections"] = counts.get("connections", 0) + 1
        threading.Thread(target=serve, args=(stream, number, context), daemon=True).start()


def main():
    context = None
    if len(sys.argv) > 2:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(sys.argv[1], sys.argv[2])
    first = socket.create_server(("127.0.0.1", 0), backlog=512)
    listeners = [first]
    try:
        listeners.append(socket.create_server(("::1", first.getsockname()[1]), family=socket.AF_INET6))
    except OSError:
        pass  # a machine without it
    for listener in listeners:
        threading.Thread(target=accept, args=(listener, context), daemon=True).start()
    print(first.getsockname()[1], flush=True)
    for line in sys.stdin:
        command = line.strip()
        with lock:
            if command == "requests":
                print(len(requests))
                for request in requests:
                    print(request.encode("unicode_escape").decode("ascii"))
            elif command == "forget":
                requests.clear()
        if command == "release":
            released.set()
        if command != "requests":
            print("done")
        sys.stdout.flush()
    ending.set()
    os._exit(0)


main()
