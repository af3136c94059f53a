"""The figures of base64, beside OpenSSL."""
import subprocess
from shutil import which


def measure(bench):
    bench.progress("base64")
    program, missing = _build(bench)
    if program is None:
        bench.report.not_measured("base64 figures", missing)
        return
    for job in ("encode", "decode"):
        done = subprocess.run([program, job, str(bench.samples + 1)], capture_output=True,
                              text=True, check=True)
        turns = [tuple(map(float, line.split())) for line in done.stdout.splitlines()]
        bench.report.at_least(f"base64 {job} 24 KB, OpenSSL / ruvex",
                              [theirs / own for theirs, own in turns[1:]], 1)


def _build(bench):
    if which("g++") is None or which("pkg-config") is None:
        return None, "g++ or pkg-config missing"
    flags = subprocess.run(["pkg-config", "--cflags", "--libs", "libcrypto"], capture_output=True,
                           text=True, check=False)
    if flags.returncode != 0:
        return None, "libcrypto missing"
    program = bench.folder / "util_peers"
    modules = [bench.source / "src/util" / f"{name}.cpp" for name in ("base64", "bar", "str")]
    subprocess.run(["g++", "-std=c++20", "-O3", "-flto", f"-I{bench.source / 'src'}", "-o", program,
                    bench.source / "bench/util_peers.cpp", *modules, *flags.stdout.split()],
                   check=True)
    return program, None
