"""on-a-connection.py EXPECTED MASTER [EMULATOR...]: a device that closes its connections

The device answers the master's requests: with a value; with half a value and the end of the connection;
with a value; that it is busy, and the end of the connection; with a value. What the master prints is
compared with the file EXPECTED.
"""
import socket
import struct
import subprocess
import sys
import threading

listener = socket.create_server(("127.0.0.1", 0))


def answer(tid, body):
    return tid + struct.pack(">HH", 0, len(body)) + body


def value(number):
    return b"\x01\x04\x04" + struct.pack(">f", number)


def serve():
    script = [(value(21.5), None, False), (value(0.5), 9, True), (value(22.5), None, False),
              (b"\x01\x84\x06", None, True), (value(23.5), None, False)]
    while script:
        peer, _ = listener.accept()
        closes = False
        while script and not closes:
            request = peer.recv(512)
            body, size, closes = script.pop(0)
            peer.sendall(answer(request[:2], body)[:size])
        peer.close()


threading.Thread(target=serve, daemon=True).start()
expected, master, emulator = sys.argv[1], sys.argv[2], sys.argv[3:]
run = subprocess.run([*emulator, master, "127.0.0.1", str(listener.getsockname()[1]), "4"],
                     capture_output=True, timeout=60)
sys.stdout.buffer.write(run.stdout)
sys.exit(run.returncode != 0 or run.stdout != open(expected, "rb").read())
