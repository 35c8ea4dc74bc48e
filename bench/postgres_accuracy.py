#!/usr/bin/python3
"""What the fast search in PostgreSQL misses, and what several fingers a person bring.

    bench/postgres_accuracy.py [BUILD] [--fingers N] [SYNTH_OPTION ...]

In a server of its own, with the extension of a build folder (default: build/release), on
fingers that `vxm synth` makes, four impressions of each; options that are not this
program's are handed to it. A genuine pair is of two
impressions of one finger; for the fusion, two fingers in a row are a person's, and an
impostor pair is of any impressions of two people.
"""

import argparse
import subprocess
import sys
import tempfile
from pathlib import Path

import psycopg

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/support"))

from private_cluster import private_cluster, staged  # noqa: E402

FORMATS = {"vxt": "native", "iso": "ISO", "ansi": "ANSI"}

# Of the genuine pairs at level 4, by each kind of comparison.
MISSED_PAIRS = """
SELECT count(*), count(*) FILTER (WHERE vxm_matches_fully(a.template, b.template)),
  count(*) FILTER (WHERE vxm_matches(a.template, b.template)),
  count(*) FILTER (WHERE vxm_matches(a.template, b.template, fast => false))
FROM finger a JOIN finger b USING (id) WHERE a.impression < b.impression"""

# Of the probes for which somebody else's row or a mate matches: whether the best of all
# other rows is among those that a fast search gathers at the most lenient level.
MISSED_BEST = """
WITH best AS MATERIALIZED (
  SELECT probe.template AS probe, (vxm_best(probe.template, row.place, row.template, 1, 4))[1].id
    ::integer AS place
  FROM finger probe JOIN finger row ON row.place <> probe.place GROUP BY probe.place, probe.template)
SELECT count(*), count(*) FILTER (WHERE NOT vxm_matches(best.probe, finger.template, 1))
FROM best JOIN finger USING (place)"""

# One finger, the sum of two, the best of two, of the pairs of impressions of two people, and
# of one.
FUSED = """
WITH people AS (SELECT (id + 1) / 2 AS person, impression, id % 2 AS finger, template FROM finger)
SELECT a.person = b.person, array_agg(vxm_score(a.template, b.template) ORDER BY finger)
FROM people a JOIN people b USING (finger)
WHERE a.person < b.person OR a.person = b.person AND a.impression < b.impression
GROUP BY a.person, b.person, a.impression, b.impression"""


def error_rates(pairs: list[tuple[bool, float]]) -> tuple[float, float, float]:
    """The equal error rate, and FNMR at an FMR of at most 0.1 % and of 0."""
    genuine = sum(mated for mated, _ in pairs)
    impostors = len(pairs) - genuine
    false_matches, matches = 0, 0
    equal, at_most, at_zero = (2.0, 0.0), 1.0, 1.0
    pairs.sort(key=lambda pair: -pair[1])
    for place, (mated, score) in enumerate(pairs):
        matches += mated
        false_matches += not mated
        if place + 1 < len(pairs) and pairs[place + 1][1] == score:
            continue  # a threshold lies between scores
        fmr, fnmr = false_matches / impostors, 1 - matches / genuine
        equal = min(equal, (abs(fmr - fnmr), (fmr + fnmr) / 2))
        at_most = min(at_most, fnmr) if fmr <= 0.001 else at_most
        at_zero = min(at_zero, fnmr) if fmr == 0 else at_zero
    return equal[1], at_most, at_zero


def report(session: psycopg.Connection, folder: Path, extension: str, title: str) -> None:
    session.execute("CREATE TABLE finger (place serial, id integer, impression integer, template bytea)")
    with session.cursor().copy("COPY finger (id, impression, template) FROM STDIN") as rows:
        for file in sorted(folder.glob(f"*.{extension}")):
            rows.write_row((*map(int, file.stem.split("_")), file.read_bytes()))
    pairs, full, fast, normal = session.execute(MISSED_PAIRS).fetchone()
    probes, missed = session.execute(MISSED_BEST).fetchone()
    print(f"{title}: of {pairs} genuine pairs at level 4 match\n"
          f"  in full {full}, in the fast search {fast}, in the normal one {normal}\n"
          f"  the best row is missed by the fast search for {missed} of {probes} probes")
    scores = session.execute(FUSED).fetchall()
    print(f"  two fingers: {sum(mated for mated, _ in scores)} genuine and "
          f"{sum(not mated for mated, _ in scores)} impostor pairs; EER, FMR1000, ZeroFMR in %")
    for name, fuse in (("one finger", lambda pair: pair[0]), ("best", max), ("sum", sum)):
        rates = error_rates([(mated, fuse(pair)) for mated, pair in scores])
        print(f"    {name:12}" + "".join(f"{100 * rate:8.2f}" for rate in rates))
    session.execute("DROP TABLE finger")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("build", nargs="?", type=Path, default=ROOT / "build/release")
    parser.add_argument("--fingers", type=int, default=200)
    options, synth_options = parser.parse_known_args()
    with tempfile.TemporaryDirectory() as folder, \
            private_cluster(*staged(options.build), 1, jit="off") as cluster, \
            cluster.connect() as session:
        subprocess.run([options.build / "apps/vxm/vxm", "synth", folder, "--seed", "7",
                        "--impressions", "4", "--format", "all", "--fingers", str(options.fingers),
                        *synth_options], check=True, stdout=subprocess.DEVNULL)
        session.execute("CREATE EXTENSION vxmkit")
        for extension, title in FORMATS.items():
            report(session, Path(folder), extension, title)


if __name__ == "__main__":
    main()
