"""The figures of Modbus on the wire: ruvexctl poll and serve, beside programs over libmodbus."""
import contextlib
import os
import random
import re
import socket
import subprocess
import time

POINTS = 10000
HOSTS = ("127.0.0.1", "127.0.0.2", "127.0.0.3", "127.0.0.4")
MANY = 100000
BAUD = 19200


def measure(bench):
    program = bench.ruvex.parent.parent / "ctl/ruvexctl"
    if not program.exists():
        bench.report.not_measured("figures of the wire", f"not built beside {bench.ruvex.name}")
        return
    wire = _Wire(bench, program)
    wire.requests()
    wire.memory()
    peers, missing = bench.peer_program("wire_peers", ["libmodbus"], [])
    if peers is None:
        bench.report.not_measured("figures of the wire, beside libmodbus", missing)
        return
    wire.polling(peers)
    wire.serving(peers)
    wire.serial_line(peers)


class _Wire:
    """The programs, and a method for each group of figures."""

    def __init__(self, bench, program):
        self.bench, self.program, self.report = bench, program, bench.report

    def points(self, name, places):
        """A list with a register a point, each at one of `places`: unit, address."""
        path = self.bench.folder / f"{name}.csv"
        with path.open("w") as out:
            for number, (unit, address) in enumerate(places):
                out.write(f"L,0,Plant Supply Air Temperature {number},{unit},{400001 + address},"
                          f"16 Bit Unsigned Integer,ANALOG_INPUT,{number},DEGREES_CELCIUS,"
                          f"Sensor {number},0,0,0,0,0,0,0\n")
        return path

    @contextlib.contextmanager
    def serving_points(self, points, *options):
        """`ruvexctl serve` of a list, and the port at which it listens."""
        with socket.socket() as free:
            free.bind(("", 0))
            port = free.getsockname()[1]
        command = [self.program, "serve", f"--listen=127.0.0.1:{port}", *options, points]
        with _started(command) as (server, _):
            yield server.pid, port

    def poll(self, points, port, *options):
        return [self.program, "poll", f"--port={port}", "--format=csv", "--output=/dev/null",
                *options, points]

    def requests(self):
        """2,000 registers are read once: the requests that were sent, none of them in vain."""
        self.bench.progress("requests for 2,000 registers")
        ordered = [("127.0.0.1/1", address) for address in range(2000)]
        # Each third register has no point, and the lines stand in any order.
        scattered = [("127.0.0.1/1", address // 2 * 3 + address % 2) for address in range(2000)]
        random.Random(1).shuffle(scattered)
        for name, places, gap, least in (("in order", ordered, 0, 16),
                                         ("scattered, --gap=1", scattered, 1, 24)):
            points = self.points("requests", places)
            with self.serving_points(points, "--zero") as (_, port):
                told = subprocess.run(self.poll(points, port, "--block=125", f"--gap={gap}"),
                                      capture_output=True, text=True, check=True).stderr
            sent = int(re.search(r"2000 read; (\d+) requests", told).group(1))
            self.report.limited(f"requests for 2,000 registers {name}, --block=125", [sent], least)

    def memory(self):
        self.bench.progress(f"poll and serve, {MANY:,} points")
        places = [(f"127.0.0.1/{at // POINTS + 1}", at % POINTS) for at in range(MANY)]
        points = self.points("many", places)
        with self.serving_points(points) as (server, port):
            polling = _peak_of_a_round(self.poll(points, port, "--count=2", "--interval=600000"))
            serving = _peak_of(server)
        self.report.limited(f"poll, peak memory a point, {MANY:,} points", [polling / MANY], 3000)
        self.report.limited(f"serve, peak memory a point, {MANY:,} points", [serving / MANY], 1700)

    def polling(self, peers):
        one = self.points("one_host", [(f"{HOSTS[0]}/1", address) for address in range(POINTS)])
        four = self.points("four_hosts", [(f"{host}/1", address) for host in HOSTS
                                          for address in range(POINTS // len(HOSTS))])
        late = [f"--fault={host}/1=delay:1" for host in HOSTS]
        for hosts, points, least, count, options in (
                ("one host", one, 0.8, 100, ()),
                ("four hosts", four, 1, 100, ["--units-by=address"]),
                ("four hosts that take 1 ms", four, 2.5, 5, ["--units-by=address", *late])):
            self.bench.progress(f"polling {POINTS:,} points of {hosts}")
            with self.serving_points(points, *options) as (_, port):
                blocks = self.blocks(points, port)
                own = self.poll(points, port, f"--count={count}", "--interval=0")
                turns = self.turns(own, *([peers, job, blocks, str(count)]
                                          for job in ("read", "print")))
            self.report.at_least(f"points polled a second over libmodbus, {hosts}",
                                 [reading / ours for ours, reading, _ in turns], least)
            self.report.peer("  one that prints, too",
                             [printing / ours for ours, _, printing in turns])

    def blocks(self, points, port):
        """What poll plans to read, for the peer."""
        plan = subprocess.run([self.program, "poll", "--plan", points], capture_output=True,
                              text=True, check=True).stdout
        path = points.with_suffix(".blocks")
        with path.open("w") as out:
            for line in plan.splitlines()[1:-1]:
                unit, function, _, address, count, *_ = line.split()
                host, number = unit.split("/")
                out.write(f"{host} {port} {number} {function} {address} {count}\n")
        return path

    def turns(self, *commands):
        """The seconds of each command, whole processes that take turns; the first does not count."""
        samples = min(self.bench.samples, 9)
        return [tuple(map(_seconds, commands)) for _ in range(samples + 1)][1:]

    def serving(self, peers):
        self.bench.progress("serving 1, 10 and 100 clients")
        points = self.points("served", [("1", address) for address in range(1000)])
        with _on_one_processor(), self.serving_points(points) as (_, port), \
                _started([peers, "slave"]) as (_, slave):
            ports = (port, int(slave.rpartition(":")[2]))
            for clients, answers in ((1, 10000), (10, 40000), (100, 40000)):
                turns = [[_load(peers, port, clients, answers) for port in ports]
                         for _ in range(self.bench.samples + 1)]
                self.report.at_least(f"answers served a second over libmodbus, clients: {clients}",
                                     [theirs / ours for ours, theirs in turns[1:]], 1)

    def serial_line(self, peers):
        """The time that the plan says the line needs, over the time that polling has taken."""
        self.bench.progress("a serial line")
        points = self.points("line", [("1", address) for address in range(640)])
        plan = subprocess.run([self.program, "poll", "--plan", f"--line={BAUD},8E1", points],
                              capture_output=True, text=True, check=True).stdout
        needed = float(re.search(r"([\d.]+) s on the serial line", plan).group(1))
        with _started([peers, "line", str(BAUD)]) as (_, path):
            command = [self.program, "poll", f"--serial={path}", f"--line={BAUD},8E1",
                       "--output=/dev/null", points]
            times = [_seconds(command) for _ in range(4)]
        self.report.at_least(f"share of time in which a line of {BAUD} baud is busy",
                             [needed / taken for taken in times[1:]], 0.9)


@contextlib.contextmanager
def _started(command):
    """A process that prints "listening on PLACE" and goes on until it is ended here."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               text=True)
    try:
        line = process.stdout.readline()
        if not line.startswith("listening on "):
            raise subprocess.CalledProcessError(process.wait(), command)
        yield process, line.removeprefix("listening on ").strip()
    finally:
        process.terminate()
        process.communicate()


@contextlib.contextmanager
def _on_one_processor():
    """For processes that are started here: waking another one can take longer than all the rest."""
    processors = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {min(processors)})
    try:
        yield
    finally:
        os.sched_setaffinity(0, processors)


def _seconds(command):
    start = time.monotonic()
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return time.monotonic() - start


def _load(peers, port, clients, answers):
    done = subprocess.run([peers, "load", str(port), str(clients), str(answers)],
                          capture_output=True, text=True, check=True)
    return float(done.stdout)


def _peak_of(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) * 1024 for line in status if line.startswith("VmHWM"))


def _peak_of_a_round(command):
    """Of `ruvexctl poll` with several units, once it has told the sum of its first round."""
    process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
    try:
        for line in process.stderr:
            if " units: " in line:
                return _peak_of(process.pid)
        raise subprocess.CalledProcessError(process.wait(), command)
    finally:
        process.terminate()
        process.communicate()
