"""Devices that lie to ruvexctl poll, and the judge of what it has believed.

liars.py tcp|rtu|gone|damaged PROGRAM...: PROGRAM is ruvexctl and what starts it.

The right values of a request are new ones each time, so every other value is a lie: that of another
address, of another unit and of an earlier time. A row that was read has to hold those of a request
that was made between the beginning and the end of its reading.
"""
import asyncio
import collections
import csv
import datetime
import io
import itertools
import os
import random
import struct
import sys
import time
import tty
import zlib

LIE = 0xFFFF  # the bits in which a wrong word differs
chance = random.Random(7)


class Request:
    """What was asked for, and the words that are right. Those of bits are 0 or 1."""

    def __init__(self, number, device, code, first, count):
        self.device, self.code, self.first, self.count = device, code, first, count
        self.time = time.time()
        mask = 1 if code < 3 else 0xFFFF
        self.words = [zlib.crc32(b"%d %d" % (number, at)) & mask for at in range(count)]

    def pdu(self, change=0, more=0, code=0):
        """The answer, all words wrong with a change, of so many more words."""
        code = code or self.code
        mask = 1 if self.code < 3 else 0xFFFF
        words = [word ^ change & mask for word in self.words]
        words = words + [1] * more if more >= 0 else words[:more]
        if self.code < 3:
            bits = sum(bit << at for at, bit in enumerate(words))
            data = bits.to_bytes((len(words) + 7) // 8, "little")
        else:
            data = struct.pack(">%dH" % len(words), *words)
        return bytes([code, len(data)]) + data


class Log:
    def __init__(self):
        self.requests = collections.defaultdict(list)
        self.count = 0

    def note(self, device, code, first, count):
        self.count += 1
        request = Request(self.count, device, code, first, count)
        for at in range(count):
            self.requests[device, code, first + at].append(request)
        return request

    def is_right(self, row):
        """Whether the words of a row are those of a request of its time."""
        end = datetime.datetime.fromisoformat(row["time"].replace("Z", "+00:00")).timestamp()
        begin = end - int(row["ms"]) / 1000
        place = int(row["wire_address"])
        words = [int(word, 16) for word in row["raw"].split()]
        return any(begin - 0.003 <= request.time <= end + 0.002 and
                   request.words[place - request.first:][:len(words)] == words
                   for request in self.requests[row["unit"], int(row["function"]), place])


def points(device, coils):
    """The list of a device: blocks with holes between them, in three tables."""
    rows = []
    for block in range(5):
        rows += [(f"0{769 + 20 * block + at:04}", "16 Bit Unsigned Integer", "BINARY_INPUT")
                 for at in range(coils)]
        for at in range(1 + block % 3):
            rows += [(f"3{101 + 20 * block + 2 * at:04}", "32 Bit Unsigned Integer HI/LO",
                      "ANALOG_INPUT"),
                     (f"4{1 + 20 * block + at:04}", "16 Bit Unsigned Integer", "ANALOG_INPUT")]
    return "".join(f"L,0,P,{device},{reference},{kind},{what},{number},NO_UNITS,0,0,0,0,0,0,0,0\n"
                   for number, (reference, kind, what) in enumerate(rows))


def write_list(path, devices, coils):
    with open(path, "w", encoding="ascii") as out:
        out.writelines(points(device, coils) for device in devices)


async def polled(program, timeout, *options):
    """The rows of a poll."""
    process = await asyncio.create_subprocess_exec(
        *program, "poll", "--force", "--format=csv", f"--timeout={timeout * 1000:.0f}",
        *options, stdout=asyncio.subprocess.PIPE, stderr=asyncio.subprocess.DEVNULL)
    out, _ = await process.communicate()
    return list(csv.DictReader(io.StringIO(out.decode())))


def wrong_ones(log, rows):
    return [row for row in rows if row["status"] == "ok" and not log.is_right(row)]


def judge(log, rows, least, statuses):
    wrong, count = wrong_ones(log, rows), collections.Counter(row["status"] for row in rows)
    missing, are_most_read = sorted(set(statuses) - set(count)), 2 * count["ok"] > len(rows)
    print("requests:", f"{least} or more" if log.count >= least else log.count)
    print("rows with a value that is wrong:", len(wrong))
    print("most rows were read:", are_most_read)
    print("statuses that never came:", *missing)
    if wrong or missing or not are_most_read:
        print(log.count, *sorted(count.items()), *wrong[:3], file=sys.stderr)


# Modbus/TCP.

TCP_TIMEOUT = 0.08


def tcp(number, unit, pdu, more=0, protocol=0):
    return struct.pack(">HHHB", number & 0xFFFF, protocol, len(pdu) + 1 + more, unit) + pdu


def tcp_others(number, unit, asked):
    """Answers to other questions, of which none will be asked soon: it would be believed."""
    wrong = asked.pdu(LIE)
    return [tcp(number - 1, unit, wrong), tcp(number ^ 0x80, unit, wrong),
            tcp(number, unit + 1, wrong),
            tcp(number, unit, asked.pdu(LIE, code=asked.code ^ 7)),
            tcp(number, unit, asked.pdu(LIE, more=16)),
            tcp(number, unit, wrong[:1] + bytes([wrong[1] ^ 6]) + wrong[2:])]


def rubbish(most):
    return bytes(chance.randrange(1, 256) for _ in range(chance.randrange(1, most)))


async def tcp_lie(writer, number, unit, asked):
    """Answers with a lie; False when the connection is to be closed."""
    right = tcp(number, unit, asked.pdu())
    others = tcp_others(number, unit, asked)
    wrong = tcp(number, unit, asked.pdu(LIE))
    told = chance.choice([
        # The right answer is there.
        [right + right], [right + wrong], others + [right],
        [right + rubbish(40)], [right[at:at + 1] for at in range(len(right))],
        [right[:5], right[5:]], [others[0] + right[:9], right[9:]],
        # It is not.
        [chance.choice(others)], [tcp(number, unit, wrong[7:], chance.choice([-2, -1, 1, 2]))],
        [rubbish(20) + wrong], [tcp(number, unit, wrong[7:], protocol=1)],
        [right[:chance.randrange(len(right))], None], [None], [], ["late", right]])
    for piece in told:
        if piece is None:
            return False
        if piece == "late":
            await asyncio.sleep(1.4 * TCP_TIMEOUT)
        elif not writer.is_closing():
            writer.write(piece)
            await asyncio.sleep(0)
    return True


async def serve_tcp(log, reader, writer):
    host = writer.get_extra_info("sockname")[0]
    try:
        while True:
            number, _, _, unit, code, first, count = struct.unpack(
                ">HHHBBHH", await reader.readexactly(12))
            asked = log.note(f"{host}/{unit}", code, first, count)
            if chance.random() < 0.8:
                writer.write(tcp(number, unit, asked.pdu()))
            elif not await tcp_lie(writer, number, unit, asked):
                break
    except (asyncio.IncompleteReadError, ConnectionError):
        pass
    writer.close()


async def tell_tcp(program):
    log = Log()
    server = await asyncio.start_server(lambda *ends: serve_tcp(log, *ends), "0.0.0.0", 0)
    port = server.sockets[0].getsockname()[1]
    hosts = [f"127.0.0.{number}" for number in range(1, 41)]
    write_list("tcp.csv", [f"{host}/{unit}" for host in hosts for unit in (1, 2, 3)], 1)
    rows, retries = [], 0
    while log.count < 10000:
        rows += await polled(program, TCP_TIMEOUT, f"--port={port}", f"--retries={retries}",
                             "--count=2", "--interval=0", "tcp.csv")
        retries = 1 - retries
    judge(log, rows, 10000, ["ok", "timeout", "corrupt", "stale", "closed"])


# Modbus RTU. An answer of a line has no number: one that is later than twice the time-out may be
# taken for another, so this time is not too short, and such an answer is not sent.

RTU_TIMEOUT = 0.08


def rtu(unit, pdu, damage=0):
    rest = 0xFFFF
    for byte in bytes([unit]) + pdu:
        rest ^= byte
        for _ in range(8):
            rest = rest >> 1 ^ (0xA001 if rest & 1 else 0)
    return bytes([unit]) + pdu + struct.pack("<H", rest ^ damage)


def rtu_lie(unit, asked, heard):
    """What is sent in place of the answer, in pieces; a number is a pause."""
    right, wrong = rtu(unit, asked.pdu()), asked.pdu(LIE)
    others = [rtu(unit + 1, wrong), rtu(unit, asked.pdu(LIE, code=asked.code ^ 7)),
              rtu(unit, asked.pdu(LIE, more=16)),
              rtu(unit, wrong, damage=chance.randrange(1, 65536)),
              rtu(unit, wrong)[:-chance.randrange(1, 5)], heard, rtu(unit, wrong[:1] + right[2:-2])]
    middle = chance.randrange(1, len(right))
    return chance.choice([
        # The right answer is there.
        [right[:middle], 0.003, right[middle:]], [heard + right], [heard, 0.003, right],
        [rubbish(9), 0.003, right],
        [rtu(unit + 1, wrong) + right], [right + rtu(unit, wrong)],
        [right[at:at + 1] for at in range(len(right))],
        # It is not.
        [chance.choice(others)], [chance.choice(others)], [rubbish(30)], [],
        [1.3 * RTU_TIMEOUT, right]])


async def serve_rtu(log, line):
    heard = asyncio.Queue()
    asyncio.get_running_loop().add_reader(line, lambda: heard.put_nowait(os.read(line, 999)))
    request = b""
    while True:
        request += await heard.get()
        while len(request) >= 8:
            unit, code, first, count = struct.unpack(">BBHH", request[:6])
            asked = log.note(str(unit), code, first, count)
            is_honest = chance.random() < 0.75
            right = [rtu(unit, asked.pdu())]
            for piece in right if is_honest else rtu_lie(unit, asked, request[:8]):
                if isinstance(piece, float):
                    await asyncio.sleep(piece)
                elif time.time() - asked.time < 1.8 * RTU_TIMEOUT:
                    os.write(line, piece)
            request = request[8:]


def terminal():
    """The end of a device, and the path of the other one, which stays open."""
    own, other = os.openpty()
    tty.setraw(other)
    return own, os.ttyname(other)


async def tell_rtu(program):
    log = Log()
    lines, polls, serving = [terminal() for _ in range(7)], [], []
    for number, (end, path) in enumerate(lines):
        # A request for 17 coils there looks like its own answer.
        write_list(f"{number}.csv", range(30 * number + 1, 30 * number + 6, 2), 17)
        serving.append(asyncio.create_task(serve_rtu(log, end)))
        polls.append(polled(program, RTU_TIMEOUT, f"--serial={path}", "--line=115200,8N1",
                            f"--retries={number % 2}", f"{number}.csv"))
    rows = [row for rows in await asyncio.gather(*polls) for row in rows]
    judge(log, rows, 200, ["ok", "timeout", "corrupt"])


# Devices that are gone for some rounds.

class Gone:
    """Devices that answer two rounds, then do not, and then do again."""

    def __init__(self):
        self.log, self.rounds, self.servers, self.port = Log(), collections.Counter(), {}, 0

    def is_gone(self, device, first):
        """Whether it is in its third or fourth round, each of which begins at address 0."""
        self.rounds[device] += first == 0
        return self.rounds[device] in (3, 4)

    async def open(self, host):
        self.servers[host] = await asyncio.start_server(self.serve, host, self.port)
        self.port = self.servers[host].sockets[0].getsockname()[1]

    async def refuse_for_a_while(self, host):
        self.servers[host].close()
        await asyncio.sleep(0.3)
        await self.open(host)

    async def serve(self, reader, writer):
        host = writer.get_extra_info("sockname")[0]
        while head := await reader.read(12):
            number, _, _, unit, code, first, count = struct.unpack(">HHHBBHH", head)
            asked = self.log.note(f"{host}/{unit}", code, first, count)
            is_gone = host != "127.0.0.1" and self.is_gone(host, first)
            if is_gone and host == "127.0.0.2":
                self.rounds[host] = 5
                asyncio.create_task(self.refuse_for_a_while(host))
                break
            if not is_gone:
                writer.write(tcp(number, unit, asked.pdu()))
        writer.close()

    def hear(self, line):
        unit, code, first, count = struct.unpack(">BBHH", os.read(line, 8)[:6])
        asked = self.log.note(str(unit), code, first, count)
        if unit != 2 or not self.is_gone(unit, first):
            os.write(line, rtu(unit, asked.pdu()))

    def tell(self, rows):
        for device in sorted({row["unit"] for row in rows}):
            first = [row["status"] for row in rows
                     if row["unit"] == device and row["wire_address"] == "0"]
            print(f"{device}:", *(status for status, _ in itertools.groupby(first)))
        print("rows with a value that is wrong:", *wrong_ones(self.log, rows))


async def tell_gone(program):
    gone = Gone()
    hosts = [f"127.0.0.{host}" for host in (1, 2, 3)]
    for host in hosts:
        await gone.open(host)
    line, path = terminal()
    asyncio.get_running_loop().add_reader(line, gone.hear, line)
    with open("gone.csv", "w", encoding="ascii") as out:
        for number, device in enumerate([1, 2, 3, *(f"{host}/1" for host in hosts)]):
            for reference in (1, 2, 40):
                out.write(f"L,0,P,{device},4{reference:04},16 Bit Unsigned Integer,ANALOG_INPUT,"
                          f"{50 * number + reference},NO_UNITS,0,0,0,0,0,0,0,0\n")
    gone.tell(await polled(program, 0.25, f"--serial={path}", f"--port={gone.port}", "--retries=0",
                           "--line=115200,8N1", "--count=8", "--interval=80", "gone.csv"))


# A line that damages each first answer.

async def tell_damaged(program):
    log = Log()
    line, path = terminal()

    def hear():
        unit, code, first, count = struct.unpack(">BBHH", os.read(line, 8)[:6])
        asked = log.note(str(unit), code, first, count)
        os.write(line, rtu(unit, asked.pdu(), damage=log.count % 2))

    asyncio.get_running_loop().add_reader(line, hear)
    write_list("damaged.csv", [1], 1)
    process = await asyncio.create_subprocess_exec(
        *program, "poll", f"--serial={path}", "--timeout=200", "--gap=20", "--line=115200,8N1",
        "damaged.csv", stdout=asyncio.subprocess.DEVNULL)
    await process.wait()


async def main():
    tell = {"tcp": tell_tcp, "rtu": tell_rtu, "gone": tell_gone, "damaged": tell_damaged}
    await tell[sys.argv[1]](sys.argv[2:])

asyncio.run(main())
