"""A SOCKS 4, 4a and 5 (RFC 1928, 1929) proxy on the loopback: PORT LOG [VERSION [USER PASSWORD]].

Of each connection that it passes on it logs "SOCKS<version> <target is a name or an address> <user or ->". With
VERSION it speaks only that one, with a user and a password only to who knows them.
"""
import socket
import socketserver
import sys
import threading

port, log = int(sys.argv[1]), sys.argv[2]
only = int(sys.argv[3]) if len(sys.argv) > 3 else 0
login = sys.argv[4:6]


def pump(source, target):
    try:
        while data := source.recv(65536):
            target.sendall(data)
        target.shutdown(socket.SHUT_WR)
    except OSError:
        pass


class Handler(socketserver.BaseRequestHandler):
    def take(self, count):
        data = self.request.recv(count, socket.MSG_WAITALL)
        if len(data) < count:
            raise ConnectionError
        return data

    def text(self):
        data = b""
        while (byte := self.take(1)) != b"\0":
            data += byte
        return data.decode()

    def version4(self):
        self.take(1)
        number = int.from_bytes(self.take(2), "big")
        address = self.take(4)
        user = self.text()
        named = address[:3] == b"\0\0\0"
        host = self.text() if named else socket.inet_ntoa(address)
        return host, number, named, user, b"\0\x5a" + bytes(6)

    def version5(self):
        methods = self.take(self.take(1)[0])
        wanted = 2 if login else 0
        self.request.sendall(bytes([5, wanted if wanted in methods else 255]))
        user = ""
        if wanted not in methods:
            raise ConnectionError
        if login:
            self.take(1)
            user = self.take(self.take(1)[0]).decode()
            password = self.take(self.take(1)[0]).decode()
            self.request.sendall(b"\1\0" if [user, password] == login else b"\1\1")
            if [user, password] != login:
                raise ConnectionError
        kind = self.take(4)[3]
        host = self.take(self.take(1)[0]).decode() if kind == 3 else socket.inet_ntoa(self.take(4))
        return host, int.from_bytes(self.take(2), "big"), kind == 3, user, b"\5\0\0\1" + bytes(6)

    def handle(self):
        try:
            version = self.take(1)[0]
            if version not in (4, 5) or (only and version != only):
                return
            host, number, named, user, answer = self.version5() if version == 5 else self.version4()
            other = socket.create_connection((host, number))
        except (ConnectionError, OSError):
            return
        with open(log, "a", encoding="utf-8") as file:
            file.write(f"SOCKS{version} {'name' if named else 'address'} {user or '-'}\n")
        with other:
            self.request.sendall(answer)
            thread = threading.Thread(target=pump, args=(other, self.request), daemon=True)
            thread.start()
            pump(self.request, other)
            thread.join()


class Server(socketserver.ThreadingTCPServer):
    allow_reuse_address = True
    daemon_threads = True


Server(("127.0.0.1", port), Handler).serve_forever()
