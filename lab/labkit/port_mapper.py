"""Becomes rpcbind, listening on loopback only.

Its own -h option aborts when the netconfig lists two inet transports, so it is handed ready sockets instead.
"""
import os
import socket

SOCKET_FILE = "/run/rpcbind.sock"


def main():
    local = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    local.bind(SOCKET_FILE)
    os.chmod(SOCKET_FILE, 0o666)
    tcp = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    tcp.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    tcp.bind(("127.0.0.1", 111))
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    udp.bind(("127.0.0.1", 111))
    for listener in (local, tcp):
        listener.listen(128)
    sockets = [listener.detach() for listener in (local, tcp, udp)]
    ready = [os.dup2(os.dup(fd), 100 + number) for number, fd in enumerate(sockets)]
    for number, fd in enumerate(ready):
        os.dup2(fd, 3 + number)  # the first descriptor that socket activation hands over is 3
        os.close(fd)
    os.environ.update(LISTEN_FDS=str(len(ready)), LISTEN_PID=str(os.getpid()))
    os.execvp("rpcbind", ["rpcbind", "-f", "-w"])


if __name__ == "__main__":
    main()
