"""The figures of the XML parser and the configuration reader, beside other libraries."""
import subprocess
from shutil import which

SIZES = (("1 MB", 900, 40), ("20 MB", 17900, 4))  # points of the document, runs in one process
LIBRARIES = (("expat", 4), ("libxml2", 1.8))


def measure(bench):
    figures = _Figures(bench)
    if figures.program is None:
        bench.report.not_measured("XML figures", figures.missing)
        return
    for name, points, repeat in SIZES:
        bench.progress(f"XML documents of {name}")
        document = figures.document(points)
        figures.parse(name, document, repeat)
    figures.read("20 MB", document)
    figures.instructions("1 MB", figures.document(SIZES[0][1]))
    figures.growth()


class _Figures:
    def __init__(self, bench):
        self.bench = bench
        sources = [path for module in ("xml", "cfg")
                   for path in (bench.source / "src" / module).glob("*.cpp")]
        self.program, self.missing = bench.peer_program(
            "xml_peers", ["expat", "libxml-2.0", "pugixml"], sources)

    def document(self, points):
        """A whole document in the written format, around the units of a mapping."""
        path = self.bench.folder / f"{points}.document.xml"
        if not path.exists():
            units = self.bench.convert(self.bench.mapping(points))
            units.run()
            path.write_bytes(b'<?xml version="1.0"?>\r\n\t<yax_cfg name="Bench" instance="1">\r\n' +
                             units.product.read_bytes() + b"</yax_cfg>\r\n")
        return path

    def seconds(self, job, document, repeat):
        done = subprocess.run([self.program, job, document, str(repeat)], capture_output=True,
                              text=True, check=True)
        return float(done.stdout)

    def in_turn(self, jobs, document, repeat):
        """Samples of each job; the jobs take turns, and the first turn does not count."""
        turns = [[self.seconds(job, document, repeat) for job in jobs]
                 for _ in range(self.bench.samples + 1)]
        return list(zip(*turns[1:]))

    def parse(self, name, document, repeat):
        own, *others = self.in_turn(["parse-ruvex", *(f"parse-{library}" for library, _ in LIBRARIES)],
                                    document, repeat)
        for (library, limit), times in zip(LIBRARIES, others):
            self.bench.report.at_least(f"parse {name}, {library} / ruvex",
                                       [other / time for other, time in zip(times, own)], limit)

    def read(self, name, document):
        own, other = self.in_turn(["read-ruvex", "read-pugixml"], document, 1)
        self.bench.report.at_least(f"read {name} into records, pugixml / ruvex",
                                   [b / a for a, b in zip(own, other)], 2.5)

    def instructions(self, name, document):
        figure = f"parse {name}, instructions a byte"
        if which("valgrind") is None:
            self.bench.report.not_measured(figure, "valgrind missing")
            return
        totals = [self._count(document, repeat) for repeat in (1, 2)]
        self.bench.report.limited(figure, [(totals[1] - totals[0]) / document.stat().st_size], 12)

    def _count(self, document, repeat):
        profile = self.bench.folder / "callgrind.out"
        subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}",
                        self.program, "parse-ruvex", document, str(repeat)],
                       capture_output=True, check=True)
        return next(int(line.split()[1]) for line in profile.read_text().splitlines()
                    if line.startswith("totals:"))

    def growth(self):
        """The time of a document over that of one half its size: 2 is linear."""
        if self.bench.quick:
            self.bench.report.not_measured("parse, twice the size", "--quick")
            return
        self.bench.progress("XML documents of doubling size")
        shapes = {
            "content run": (100_000_000, lambda n: b"<a>" + b"x" * n + b"</a>"),
            "attribute": (100_000_000, lambda n: b'<a b="' + b"x" * n + b'"/>'),
            "attributes": (1_000_000, lambda n: b"<a" + b' b="1"' * n + b"/>"),
            "siblings": (1_000_000, lambda n: b"<a>" + b"<b/>" * n + b"</a>"),
            "nesting": (5_000_000, lambda n: b"<a>" * n + b"</a>" * n),
        }
        for shape, (largest, make) in shapes.items():
            times = []
            for size in (largest // 8, largest // 4, largest // 2, largest):
                path = self.bench.folder / "growing.xml"
                path.write_bytes(make(size))
                times.append(min(self.seconds("parse-ruvex", path, 1) for _ in range(3)))
            steps = [large / small for small, large in zip(times, times[1:])]
            self.bench.report.limited(f"parse {largest:,} {shape}, twice the size", steps, 2.5)
