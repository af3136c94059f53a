"""Clients that do their worst to ruvexctl serve, and one that wants its answers.

flood.py PROGRAM...: PROGRAM is ruvexctl and what starts it.

Nobody reads what serve prints until the end. Then every line is there, or counted as dropped.
"""
import atexit
import contextlib
import os
import re
import resource
import signal
import socket
import struct
import subprocess
import sys
import time

REGISTERS = 120
READ = struct.pack(">HHHBBHH", 1, 0, 6, 1, 3, 0, REGISTERS)
FLOOD = READ * 20000
MOST_CLIENTS = 1020
MOST_MEMORY_KB = 16000


class Server:
    def __init__(self, program):
        with open("flood.csv", "w", encoding="ascii") as out:
            for at in range(1, REGISTERS + 1):
                out.write(f"l,0,{50 * 'P'},1,4{at:04},16 Bit Unsigned Integer,ANALOG_VALUE,{at},"
                          "VOLTS,t,0\n")
        # What a sanitizer keeps of freed memory is not the program's.
        options = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
        self.process = subprocess.Popen(
            [*program, "serve", "--listen=127.0.0.1:0", "--writes=accept", "--trace",
             f"--max-clients={MOST_CLIENTS}", "flood.csv"],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0,
            env={**os.environ, "ASAN_OPTIONS": options})
        atexit.register(self.process.kill)
        self.port = int(self.process.stdout.readline().rsplit(b":", 1)[1])
        self.proc = f"/proc/{self.process.pid}"

    def connect(self, most_unread=None):
        client = socket.socket()
        if most_unread:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, most_unread)
        client.settimeout(10)
        client.connect(("127.0.0.1", self.port))
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return client

    def descriptors(self):
        return len(os.listdir(f"{self.proc}/fd"))

    def memory_kb(self):
        with open(f"{self.proc}/status", encoding="ascii") as status:
            return int(re.search(r"VmHWM:\s*(\d+)", status.read())[1])


class GoodClient:
    """Writes all registers and reads them back."""

    def __init__(self, server):
        self.peer, self.turns, self.wrong, self.waits = server.connect(), 0, 0, []

    def ask(self, pdu):
        start = time.monotonic()
        self.peer.sendall(struct.pack(">HHHB", self.turns, 0, len(pdu) + 1, 1) + pdu)
        number, _, length, _ = struct.unpack(">HHHB", self.peer.recv(7, socket.MSG_WAITALL))
        answer = self.peer.recv(length - 1, socket.MSG_WAITALL)
        self.waits.append(time.monotonic() - start)
        self.wrong += number != self.turns
        return answer

    def turn(self):
        self.turns += 1
        words = struct.pack(f">{REGISTERS}H", *range(self.turns, self.turns + REGISTERS))
        wrote = self.ask(struct.pack(">BHHB", 16, 0, REGISTERS, 2 * REGISTERS) + words)
        self.wrong += wrote != struct.pack(">BHH", 16, 0, REGISTERS)
        self.wrong += self.ask(READ[7:]) != bytes([3, 2 * REGISTERS]) + words


def is_turned_away(client):
    try:
        return client.recv(1) == b""
    except ConnectionError:
        return True


def send_without_reading(client, data):
    client.setblocking(False)
    try:
        client.send(data)
    except (BlockingIOError, ConnectionError):
        pass


def attack(server, good):
    """Everything at once, a turn of the good client after each step; the connections left open."""
    peers = []
    floods = [server.connect(most_unread=4096) for _ in range(10)]

    def flood():
        for peer in floods:
            send_without_reading(peer, FLOOD)
        good.turn()

    flood()
    slow = [server.connect() for _ in range(5)]
    for at in range(3 * len(READ)):
        for peer in slow:
            peer.send(READ[at % len(READ):][:1])
        flood()
    print("a byte at a time:", {peer.recv(9, socket.MSG_WAITALL) for peer in slow} ==
          {struct.pack(">HHHBBB", 1, 0, 2 * REGISTERS + 3, 1, 3, 2 * REGISTERS)})
    broken = [READ[:2] + b"\1" + READ[3:], READ[:4] + b"\0\1" + READ[6:], b"\xff" * 300,
              READ[:4] + b"\1\0" + READ[6:]]
    for data in broken * 5:
        with server.connect() as client:
            client.send(data)
            good.turn()
            assert is_turned_away(client)
    while len(peers) + len(slow) + len(floods) + 1 < MOST_CLIENTS:
        peers.append(server.connect())
        peers[-1].send(READ[:1 + len(peers) % 11])
        if len(peers) % 20 == 0:
            good.turn()
    crowd = [server.connect() for _ in range(50)]
    print("too many are turned away:", all(map(is_turned_away, crowd)))
    for _ in range(50):
        flood()
    for peer in [*floods, *peers, *slow, *crowd]:
        peer.close()


def late_answers_are_right(server, good):
    """Of a client that asks until the server waits for it, if it ever does, and only then reads."""
    with server.connect(most_unread=4096) as peer:
        peer.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4096)
        peer.settimeout(1)
        sent = 0
        with contextlib.suppress(TimeoutError):
            while sent < 5 * len(FLOOD):
                sent += peer.send(FLOOD[sent % len(READ):])
        good.turn()
        peer.settimeout(10)
        words = struct.pack(f">{REGISTERS}H", *range(good.turns, good.turns + REGISTERS))
        head = struct.pack(">HHHBBB", 1, 0, 2 * REGISTERS + 3, 1, 3, 2 * REGISTERS)
        with peer.makefile("rb") as reader:
            answers = [reader.read(len(head + words)) for _ in range(sent // len(READ))]
        return all(answer.startswith(head) for answer in answers) and answers[-1] == head + words


def lines_told(text, pattern):
    """Lines of a pattern, and those that were dropped."""
    dropped = re.findall(r"^lines that nobody was there to read: (\d+)$", text, re.MULTILINE)
    return len(re.findall(pattern, text, re.MULTILINE)) + sum(map(int, dropped)), bool(dropped)


def end(server, good):
    server.process.send_signal(signal.SIGTERM)
    out, errors = (text.decode() for text in server.process.communicate(timeout=60))
    requests = int(re.search(r"^requests: (\d+)", out, re.MULTILINE)[1])
    print("written:", lines_told(out, "^written: ") == (good.turns * REGISTERS, True))
    print("traced:", lines_told(errors, r"^127\.0\.0\.1:\d+: unit 1: |^ruvexctl: more than") ==
          (requests + 1, True))
    print("status:", server.process.returncode, *re.findall("Sanitizer.*", errors))


def main():
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(most, 4096), most))
    server = Server(sys.argv[1:])
    good = GoodClient(server)
    good.turn()
    descriptors, memory = server.descriptors(), server.memory_kb()
    attack(server, good)
    for _ in range(50):
        good.turn()
    grown = server.memory_kb() - memory
    print("wrong answers:", good.wrong)
    # A machine that is busy with other work is forgiven a few.
    waits = sorted(good.waits)
    is_prompt = waits[-10] < 1 and waits[-1] < 10
    print("each within a second:", is_prompt)
    print("memory is bounded:", grown < MOST_MEMORY_KB)
    print("descriptors are given back:", server.descriptors() == descriptors)
    if not is_prompt or grown >= MOST_MEMORY_KB:
        print(f"{good.turns} turns, {grown} kB, waits of", *waits[-10:], file=sys.stderr)
    print("answers that are read late:", late_answers_are_right(server, good))
    end(server, good)


main()
