"""The companion program beside the converter, on the same mapping."""

# What the made-up mapping has findings of; they are looked for all the same.
FOUND = "unit-address,coil-by-accident,overlapping-registers"


def measure(bench):
    program = bench.ruvex.parent.parent / "ctl/ruvexctl"
    if not program.exists():
        bench.report.not_measured("ruvexctl", f"not built beside {bench.ruvex.name}")
        return
    points = 100000 if bench.quick else 1000000
    bench.progress(f"ruvexctl, {points:,} points")
    convert = bench.convert(bench.mapping(points))
    mapping, nothing = convert.command[-2], bench.folder / "nothing"
    jobs = {"check": convert._replace(
                command=[program, "check", f"--ignore={FOUND}", mapping], product=nothing),
            "show": convert._replace(command=[program, "show", mapping], product=nothing)}
    runs = {name: [] for name in jobs}
    for _ in range(5):
        time, memory = convert.run()
        for name, job in jobs.items():
            own_time, own_memory = job.run()
            runs[name].append((own_time / time, own_memory / memory))
    for name, (times, peaks) in ((name, zip(*taken)) for name, taken in runs.items()):
        bench.report.limited(f"ruvexctl {name} / ruvex, {points:,} points", times, 3)
        bench.report.limited("  peak memory / ruvex", peaks, 1.5)
