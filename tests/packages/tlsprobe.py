"""A proxy that notes which hosts are asked for, and the first bytes that they are sent."""

import socket
import threading


class Proxy:
    """Accepts every CONNECT and reads the beginning of what follows. Listens on this machine only."""

    def __init__(self):
        self.requests = []  # of pairs: the host and port, and the bytes
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.address = f"http://127.0.0.1:{self.socket.getsockname()[1]}"
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return  # closed
            with connection:
                connection.settimeout(20)
                request = connection.recv(4096).decode(errors="replace").split()
                connection.sendall(b"HTTP/1.1 200 OK\r\n\r\n")
                self.requests.append((request[1], connection.recv(5)))

    def close(self):
        self.socket.close()
