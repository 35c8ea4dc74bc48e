#!/usr/bin/python3
"""What a row costs in PostgreSQL, beside the library called directly.

    bench/postgres_bench.py [BUILD] [--fingers N] [--rounds N] [--only PART...]

In a server of its own, with the extension of a build folder (default:
build/release). Times are those of the best round, what the server adds to the library's
time is the median of the rounds. What is done by one process is measured in the time
that it was on a processor, which other work on the machine changes little, and both on
the same one; the parallel scans in time passed, so they want an idle machine. Every
template is another finger: of copies, the processor would remember how their comparison
went.
"""

import argparse
import contextlib
import ctypes
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterator
from pathlib import Path
from statistics import median

import psycopg

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/support"))

from private_cluster import Cluster, private_cluster, staged  # noqa: E402

FORMATS = {"vxt": ("native", 2001), "iso": ("ISO", 2002), "ansi": ("ANSI", 2003)}
PARTS = ("rows", "processes", "others")
LEVEL = 7  # finds nothing, so that the library goes through all candidates
FAST_MODE, SECURITY_LEVEL = 301, 302


class Library:
    """Comparisons of one probe with all templates."""

    def __init__(self, build: Path) -> None:
        self.library = ctypes.CDLL(str(build / "src/libvxmkit.so.3"))
        self.matcher = ctypes.c_void_p()
        assert self.library.VXM_Create(ctypes.byref(self.matcher)) == 0
        self.set(SECURITY_LEVEL, LEVEL)

    def set(self, parameter: int, value: int) -> None:
        assert self.library.VXM_SetParameter(self.matcher, parameter,
                                             ctypes.byref(ctypes.c_int(value))) == 0

    def search(self, kind: int, probe: bytes, templates: list[bytes],
               fast: bool) -> Callable[[], None]:
        """One call of identification."""
        count = len(templates)
        pointers = (ctypes.c_char_p * count)(*templates)
        sizes = (ctypes.c_int * count)(*map(len, templates))
        found = ctypes.c_int()

        def run() -> None:
            self.library.VXM_SetTemplateType(self.matcher, kind)
            self.set(FAST_MODE, fast)
            status = self.library.VXM_Identify(self.matcher, probe, len(probe), pointers, sizes,
                                               count, 0, ctypes.byref(found))
            assert (status, found.value) == (0, -1), "the search ended early"

        return run

    def verify(self, kind: int, probe: bytes, templates: list[bytes],
               compare: bool) -> Callable[[], None]:
        """A verification for each template; or else the calls alone, without a matcher."""
        matcher = self.matcher if compare else None
        score, verified = ctypes.c_float(), ctypes.c_int()
        outputs = ctypes.byref(score), ctypes.byref(verified)

        def run() -> None:
            self.library.VXM_SetTemplateType(self.matcher, kind)
            call = self.library.VXM_VerifyEx
            for template in templates:
                call(matcher, probe, len(probe), template, len(template), *outputs)

        return run


def processor_time(server: int) -> float:
    """Of this process and a server's, which waits: of a process that runs, schedstat may be
    late by a tick of the kernel."""
    waiting = int(Path(f"/proc/{server}/schedstat").read_text().split()[0]) * 1e-9
    return time.process_time() + waiting


@contextlib.contextmanager
def one_processor(server: int) -> Iterator[None]:
    """This process and a server's; those of a virtual machine are not always alike."""
    all_of_them = os.sched_getaffinity(0)
    for pid in (0, server):
        os.sched_setaffinity(pid, {max(all_of_them)})
    yield
    for pid in (0, server):
        os.sched_setaffinity(pid, all_of_them)


def all_times(rounds: int, clock: Callable[[], float],
              runs: dict[str, Callable[[], object]]) -> dict[str, list[float]]:
    """Of all in turn, so that what disturbs one disturbs the others."""
    times: dict[str, list[float]] = {name: [] for name in runs}
    for _ in range(rounds):
        for name, run in runs.items():
            begin = clock()
            run()
            times[name].append(clock() - begin)
    return times


def best_times(rounds: int, clock: Callable[[], float],
               runs: dict[str, Callable[[], object]]) -> dict[str, float]:
    return {name: min(times) for name, times in all_times(rounds, clock, runs).items()}


class Bench:
    def __init__(self, session: psycopg.Connection, library: Library, rounds: int) -> None:
        self.session = session
        self.library = library
        self.rounds = rounds

    def query(self, text: str, probe: bytes) -> Callable[[], object]:
        return lambda: self.session.execute(text, {"probe": probe}).fetchone()

    def fill(self, table: str, templates: list[bytes], storage: str = "") -> None:
        self.session.execute(f"CREATE TABLE {table} (id text, template bytea); {storage}")
        with self.session.cursor().copy(f"COPY {table} FROM STDIN") as rows:
            for number, template in enumerate(templates):
                rows.write_row((str(number), template))
        self.session.execute(f"VACUUM ANALYZE {table}")

    def row_costs(self, table: str, kind: int, probe: bytes, templates: list[bytes]) -> None:
        """Of each kind of comparison beside the library's own."""
        server = self.session.info.backend_pid
        library = {
            "fast": self.library.search(kind, probe, templates, True),
            "normal": self.library.search(kind, probe, templates, False),
            "full": self.library.verify(kind, probe, templates, True)}
        calls = self.library.verify(kind, probe, templates, False)
        queries = {
            "vxm_search, fast": f"vxm_search(%(probe)b, id, template, {LEVEL}, false, true)",
            "vxm_matches, fast": f"count(*) FILTER (WHERE vxm_matches(%(probe)b, template, {LEVEL}))",
            "vxm_search_report, fast": "vxm_search_report(%(probe)b, id, template, "
                                   f"{LEVEL}, false, true)",
            "vxm_search, normal": f"vxm_search(%(probe)b, id, template, {LEVEL}, false, false)",
            "vxm_matches, normal":
                f"count(*) FILTER (WHERE vxm_matches(%(probe)b, template, {LEVEL}, fast => false))",
            "vxm_best, full": "vxm_best(%(probe)b, id, template, 3)",
            "vxm_matches_fully, full":
                f"count(*) FILTER (WHERE vxm_matches_fully(%(probe)b, template, {LEVEL}))",
            "vxm_score, full": "count(*) FILTER (WHERE vxm_score(%(probe)b, template) > 0.9)",
            "vxm_valid,": "count(*) FILTER (WHERE NOT vxm_valid(template))",
            "vxm_info,": "count(*) FILTER (WHERE (vxm_info(template)).minutiae < 0)",
            "length(template),": "count(*) FILTER (WHERE length(template) < 0)",
            "count(*),": "count(*)"}
        runs: dict[str, Callable[[], object]] = {}
        for name, text in queries.items():
            mode = name.partition(", ")[2]
            if mode and mode not in runs:  # beside what it is compared with
                runs[mode] = library[mode]
            runs[name] = self.query(f"SELECT {text} FROM {table}", probe)
        with one_processor(server):
            times = all_times(self.rounds, lambda: processor_time(server), {**runs, "calls": calls})
        times["full"] = [full - call for full, call in zip(times["full"], times.pop("calls"))]
        for name, seconds in times.items():
            function, _, mode = name.partition(", ")
            label = function.rstrip(",") if name in queries else f"library, {name}"
            print(f"  {label:22}{mode:8}{min(seconds) / len(templates) * 1e6:8.2f} us", end="")
            if mode:
                more = median(its / own for its, own in zip(seconds, times[mode])) - 1
                print(f"{more:+8.1%}", end="")
            print()

    def storage_costs(self, probe: bytes, templates: list[bytes]) -> None:
        """Of native templates that are longer than PostgreSQL leaves alone."""
        large = [b"".join(templates[i:i + 8])[:3000] for i in range(len(templates) - 8)]
        settings = {
            "default": "",
            "default, lz4": "ALTER TABLE {} ALTER template SET COMPRESSION lz4",
            "EXTERNAL": "ALTER TABLE {} ALTER template SET STORAGE EXTERNAL",
            "EXTERNAL, toast_tuple_target": "ALTER TABLE {} ALTER template SET STORAGE EXTERNAL; "
                                            "ALTER TABLE {} SET (toast_tuple_target = 8160)"}
        server = self.session.info.backend_pid
        print(f"native, {len(large)} templates of 3000 bytes, by storage settings")
        for number, (name, setting) in enumerate(settings.items()):
            table = f"stored{number}"
            self.fill(table, large, setting.format(table, table))
            best = best_times(self.rounds, lambda: processor_time(server), {name: self.query(
                f"SELECT count(*) FILTER (WHERE vxm_matches(%(probe)b, template, {LEVEL})) "
                f"FROM {table}", probe)})
            size, = self.session.execute(f"SELECT pg_table_size('{table}')").fetchone()
            print(f"  {name:30}{best[name] / len(large) * 1e6:8.2f} us, "
                  f"{size / len(large):.0f} bytes a row")
            self.session.execute(f"DROP TABLE {table}")

    def speed_up(self, table: str, probe: bytes) -> None:
        for function, settings, rounds in (("vxm_search", f"{LEVEL}, false, true", 10),
                                           ("vxm_best", "3", 3)):
            text = f"SELECT {function}(%(probe)b, id, template, {settings}) FROM {table}"

            def with_workers(count: int, text: str = text) -> Callable[[], object]:
                def run() -> None:
                    self.session.execute(f"SET max_parallel_workers_per_gather = {count}")
                    self.query(text, probe)()
                return run

            times = best_times(self.rounds * rounds, time.perf_counter,
                               {"1": with_workers(0), "2": with_workers(1)})
            print(f"  {function}: 1 process {times['1']:.3f} s, 2 processes {times['2']:.3f} s: "
                  f"{times['1'] / times['2']:.2f} x")
        self.session.execute("SET max_parallel_workers_per_gather = 0")

    def two_servers(self, cluster: Cluster, probe: bytes, templates: list[bytes]) -> None:
        """Searches of both parts, and what it takes to fill them through the front."""
        self.session.execute("CREATE EXTENSION postgres_fdw; "
                             "CREATE TABLE whole (id text, template bytea) PARTITION BY HASH (id)")
        for part in (0, 1):
            with cluster.connect(1 + part) as remote:
                remote.execute("CREATE EXTENSION vxmkit; CREATE TABLE new (id text, template bytea)")
                Bench(remote, self.library, 0).fill("part", templates)
            self.session.execute(
                f"CREATE SERVER s{part} FOREIGN DATA WRAPPER postgres_fdw OPTIONS (host "
                f"'{cluster.folder}', port '{5433 + part}', dbname 'postgres', extensions 'vxmkit', "
                f"async_capable 'true'); CREATE USER MAPPING FOR postgres SERVER s{part}; "
                f"CREATE FOREIGN TABLE part{part} PARTITION OF whole FOR VALUES WITH (MODULUS 2, "
                f"REMAINDER {part}) SERVER s{part} OPTIONS (table_name 'part'); "
                f"CREATE FOREIGN TABLE new{part} (id text, template bytea) SERVER s{part} "
                "OPTIONS (table_name 'new')")
        self.session.execute("SET plan_cache_mode = force_generic_plan")
        condition = f"WHERE vxm_matches(%(probe)b, template, {LEVEL})"
        best = "SELECT vxm_best(%(probe)b, id, template, 3) FROM"
        times = best_times(self.rounds, time.perf_counter, {
            name: self.query(text, probe) for name, text in {
                "one part by predicate": f"SELECT count(id) FROM part0 {condition}",
                "both parts by predicate": f"SELECT count(id) FROM whole {condition}",
                "both parts, best of each": f"SELECT sum(cardinality(vxm_best)) FROM ({best} part0 "
                                            f"UNION ALL {best} part1) AS parts",
                "best of the whole": f"{best} whole"}.items()})
        self.session.execute("ALTER SERVER s0 OPTIONS (ADD fetch_size '10000'); "
                             "ALTER SERVER s1 OPTIONS (ADD fetch_size '10000')")
        times |= best_times(self.rounds, time.perf_counter, {
            "the same, fetch_size 10000": self.query(f"{best} whole", probe)})
        print(f"two servers with {len(templates)} native templates each")
        for name, seconds in times.items():
            print(f"  {name:30}{seconds:8.3f} s")
        new = templates[:10000]

        def insert() -> None:
            with self.session.transaction():
                self.session.execute(
                    "INSERT INTO new0 SELECT n, t FROM unnest(%b::bytea[]) WITH ORDINALITY AS u (t, n)",
                    [new])

        def copy() -> None:
            with self.session.cursor().copy("COPY new0 FROM STDIN") as rows:
                for number, template in enumerate(new):
                    rows.write_row((str(number), template))

        def copy_there() -> None:
            with cluster.connect(1) as remote, remote.cursor().copy("COPY new FROM STDIN") as rows:
                for number, template in enumerate(new):
                    rows.write_row((str(number), template))

        times = best_times(self.rounds, time.perf_counter, {
            "INSERT": insert, "COPY": copy, "COPY on the server itself": copy_there})
        self.session.execute("ALTER SERVER s0 OPTIONS (ADD batch_size '1000')")
        times |= best_times(self.rounds, time.perf_counter, {
            "INSERT, batch_size 1000": insert, "COPY, batch_size 1000": copy})
        for name, seconds in times.items():
            print(f"  {name:30}{seconds / len(new) * 1e6:8.1f} us a row")


def private_memory(pid: int) -> int:
    text = Path(f"/proc/{pid}/smaps_rollup").read_text()
    return sum(int(line.split()[1]) for line in text.splitlines() if line.startswith("Private_Dirty"))


def first_use(cluster: Cluster, probe: bytes) -> None:
    def connect_and(text: str) -> Callable[[], None]:
        def run() -> None:
            with cluster.connect() as session:
                session.execute(text, {"probe": probe})
        return run

    times = best_times(20, time.perf_counter, {
        "connect": connect_and("SELECT %(probe)b"), "use": connect_and("SELECT vxm_valid(%(probe)b)")})
    print(f"first use in a session: {(times['use'] - times['connect']) * 1e3:.1f} ms", end="")
    with cluster.connect() as session:
        session.execute("SELECT %(probe)b", {"probe": probe})
        before = private_memory(session.info.backend_pid)
        session.execute("SELECT vxm_score(%(probe)b, %(probe)b)", {"probe": probe})
        print(f", {(private_memory(session.info.backend_pid) - before) / 1024:.1f} MB")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("build", nargs="?", type=Path, default=ROOT / "build/release")
    parser.add_argument("--fingers", type=int, default=100000, help="as many rows has a table")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", choices=PARTS, nargs="+", default=PARTS,
                        help="what a row costs, what two processes gain, storage settings and "
                             "several servers")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name, \
            private_cluster(*staged(options.build), 3, shared_buffers="1GB", jit="off",
                            max_parallel_workers_per_gather=0) as cluster:
        folder = Path(name)
        for target, fingers, seed in (("gallery", options.fingers, 7), ("probes", 1, 8)):
            subprocess.run([options.build / "apps/vxm/vxm", "synth", folder / target, "--fingers",
                            str(fingers), "--impressions", "1", "--seed", str(seed), "--format",
                            "all"], check=True, stdout=subprocess.DEVNULL)
        with cluster.connect() as session:
            # A prepared statement would keep its plan, whatever the workers are set to.
            session.prepare_threshold = None
            session.execute("CREATE EXTENSION vxmkit")
            bench = Bench(session, Library(options.build), options.rounds)
            for extension, (title, kind) in FORMATS.items():
                files = sorted((folder / "gallery").glob(f"*.{extension}"))
                templates = [file.read_bytes() for file in files]
                probe = next((folder / "probes").glob(f"*.{extension}")).read_bytes()
                mean = sum(map(len, templates)) // len(templates)
                print(f"{title}, {len(templates)} templates of {mean} bytes on average")
                bench.fill(extension, templates, f"ALTER TABLE {extension} SET (parallel_workers = 1)")
                if "rows" in options.only:
                    bench.row_costs(extension, kind, probe, templates)
                if "processes" in options.only:
                    bench.speed_up(extension, probe)
                session.execute(f"DROP TABLE {extension}")
                if extension == "vxt" and "others" in options.only:
                    bench.storage_costs(probe, templates[:10000])
                    bench.two_servers(cluster, probe, templates)
                    first_use(cluster, probe)


if __name__ == "__main__":
    main()
