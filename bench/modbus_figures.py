"""The figures of Modbus TCP transactions, beside libmodbus."""
import os
import subprocess
from shutil import which

COUNT = 20000  # transactions of a sample
_PROCESSOR = min(os.sched_getaffinity(0))


def measure(bench):
    bench.progress("Modbus TCP transactions")
    sources = [path for module in ("modbus", "util")
               for path in (bench.source / "src" / module).rglob("*.cpp")]
    program, missing = bench.peer_program("modbus_peers", ["libmodbus"], sources)
    if program is None:
        bench.report.not_measured("Modbus TCP figures", missing)
        return
    pairs = (("ruvex", "ruvex"), ("libmodbus", "libmodbus"), ("libmodbus", "ruvex"))
    turns = [[_seconds(program, *pair, COUNT) for pair in pairs] for _ in range(bench.samples + 1)]
    own, both, master = zip(*turns[1:])
    bench.report.at_least("Modbus TCP transactions, libmodbus / ruvex",
                          [b / a for a, b in zip(own, both)], 1.3)
    bench.report.peer("  masters of one slave", [b / a for a, b in zip(own, master)])
    _system_calls(bench, program)


def _seconds(program, master, slave, count):
    """Both processes on one processor: waking another one can take longer than all the rest."""
    done = subprocess.run([program, master, slave, str(count)], capture_output=True, text=True,
                          check=True, preexec_fn=lambda: os.sched_setaffinity(0, {_PROCESSOR}))
    return float(done.stdout)


def _system_calls(bench, program):
    """Of the master's process; what does not grow with the transactions is not counted."""
    figure = "  system calls a transaction, master"
    if which("strace") is None:
        bench.report.not_measured(figure, "strace missing")
        return
    few, many = (_count_calls(bench, program, count) for count in (100, 1100))
    bench.report.limited(figure, [(many - few) / 1000], 3)


def _count_calls(bench, program, count):
    counts = bench.folder / "strace.out"
    subprocess.run(["strace", "-c", "-U", "calls,name", "-o", counts, program, "ruvex", "ruvex",
                    str(count)], capture_output=True, check=True)
    return next(int(line.split()[0]) for line in counts.read_text().splitlines()
                if line.endswith("total"))
