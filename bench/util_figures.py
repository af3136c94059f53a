"""The figures of base64, beside OpenSSL."""
import subprocess


def measure(bench):
    bench.progress("base64")
    sources = [bench.source / "src/util" / f"{name}.cpp" for name in ("base64", "bar", "str")]
    program, missing = bench.peer_program("util_peers", ["libcrypto"], sources)
    if program is None:
        bench.report.not_measured("base64 figures", missing)
        return
    for job in ("encode", "decode"):
        done = subprocess.run([program, job, str(bench.samples + 1)], capture_output=True,
                              text=True, check=True)
        turns = [tuple(map(float, line.split())) for line in done.stdout.splitlines()]
        bench.report.at_least(f"base64 {job} 24 KB, OpenSSL / ruvex",
                              [theirs / own for theirs, own in turns[1:]], 1)
