"""Searches in PostgreSQL against the library itself, and what ends them.

Run as: test_search.py BUILD_FOLDER
"""
import ctypes
import random
import threading
import time
import unittest
from pathlib import Path

import psycopg

from extension_setup import build, documented, load, set_up
from private_cluster import Cluster

cluster: Cluster
fingers: Path


def setUpModule() -> None:
    global cluster, fingers
    cluster, fingers = set_up(1)
    with cluster.connect() as session:
        session.execute("CREATE EXTENSION vxmkit; CREATE TABLE rows (id integer, template bytea)")


def read(name: str) -> bytes:
    return (fingers / name).read_bytes()


def fill(session: psycopg.Connection, templates: list[bytes]) -> None:
    session.execute("TRUNCATE rows")
    with session.cursor().copy("COPY rows FROM STDIN") as copy:
        for row in enumerate(templates):
            copy.write_row(row)


class Answers(unittest.TestCase):
    def test_prefixes_and_mutations(self) -> None:
        """The answer for each row is the library's, whatever lies in the others."""
        random.seed(7)
        kinds = {2001: "vxt", 2002: "iso", 2003: "ansi"}
        rows = [b"FMR", b"FMR\0 20\0\1\1"]
        for suffix in kinds.values():
            whole = [read(f"001_{i}.{suffix}") for i in (1, 2)]
            rows += [whole[1][:size] for size in range(len(whole[1]) + 1)]
            for _ in range(2000):
                row = bytearray(random.choice(whole))
                for _ in range(random.choice((1, 1, 2, 8))):
                    # Mostly where counts and lengths are.
                    place = random.choice((random.randrange(32), random.randrange(len(row))))
                    row[place] = random.choice((0, 1, 255, random.randrange(256)))
                rows.append(bytes(row[:random.choice((len(row), random.randrange(len(row)))) or 1]))
        library = ctypes.CDLL(str(build / "src/libvxmkit.so.3"))
        matcher, score = ctypes.c_void_p(), ctypes.c_float()
        self.assertEqual(library.VXM_Create(ctypes.byref(matcher)), 0)

        def library_finds(probe: bytes, row: bytes) -> tuple[bool, bool, bool]:
            """In the staged comparison, in the full one, and whether it takes the row at all;
            nothing of that for what it would misread."""
            if row[:4] == b"FMR\0" and row[4:8] != b" 20\0"[:len(row) - 4]:
                return False, False, False
            found, verified = ctypes.c_int(-1), ctypes.c_int(0)
            library.VXM_Identify(matcher, probe, len(probe), (ctypes.c_char_p * 1)(row),
                                 (ctypes.c_int * 1)(len(row)), 1, 0, ctypes.byref(found))
            status = library.VXM_VerifyEx(matcher, probe, len(probe), row, len(row),
                                          ctypes.byref(score), ctypes.byref(verified))
            return status == 0 and found.value == 0, status == 0 and verified.value == 1, status == 0

        with cluster.connect() as session:
            fill(session, rows)
            for kind, suffix in kinds.items():
                library.VXM_SetTemplateType(matcher, kind)
                probe = read(f"001_1.{suffix}")
                answers = [library_finds(probe, row) for row in rows]
                for query, expected in (
                        ("SELECT id FROM rows WHERE vxm_matches(%b, template)", 0),
                        ("SELECT id FROM rows WHERE vxm_matches_fully(%b, template)", 1),
                        ("SELECT id::integer FROM "
                         "unnest((SELECT vxm_best(%b, id, template, 9999, 4) FROM rows))", 1),
                        ("SELECT id FROM rows WHERE (vxm_info(template)).format = "
                         "(vxm_info(%b)).format", 2),
                        ("SELECT unnest(vxm_search(%b, id::text, template))::integer FROM rows", 0)):
                    with self.subTest(kind=suffix, query=query):
                        self.assertEqual({row for row, in session.execute(query, [probe])},
                                         {i for i, answer in enumerate(answers) if answer[expected]})
                self.assertGreater(sum(answer[0] for answer in answers), 500)


class Upgrade(unittest.TestCase):
    def test_with_data(self) -> None:
        with cluster.connect() as session:
            session.execute("CREATE DATABASE old")
        answers = ("SELECT probe.id, vxm_score(probe.template, row.template), found.id FROM "
                   "gallery AS probe, gallery AS row, found WHERE probe.id = '001_1.vxt' AND "
                   "row.id = '001_2.vxt' ORDER BY 3")
        with cluster.connect(0, "old") as session:
            session.execute("CREATE EXTENSION vxmkit VERSION '1.0'")
            loaded = load(fingers, cluster.dsn(0, "old"))
            self.assertEqual(loaded.returncode, 0, loaded.stderr)
            session.execute(
                "CREATE INDEX ON gallery (((vxm_info(template)).format)); "
                "CREATE VIEW found AS SELECT id FROM gallery WHERE vxm_matches("
                "(SELECT template FROM gallery WHERE id = '001_1.iso'), template)")
            before = session.execute(answers).fetchall()
            self.assertEqual(len(before), 2)
            session.execute(documented("After such a release"))
            self.assertEqual(session.execute(answers).fetchall(), before)
            with self.assertRaises(psycopg.errors.CheckViolation):
                session.execute("INSERT INTO gallery VALUES ('bad', 'no template')")
            best, = session.execute("SELECT vxm_best(template, 1, template, 1) FROM gallery "
                                    "WHERE id = '001_1.iso'").fetchone()
            self.assertIn("(1,", str(best))


class Documented(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        with cluster.connect() as session:
            session.execute("CREATE DATABASE documented")
        cls.dsn = cluster.dsn(0, "documented")
        cls.session = cls.enterClassContext(cluster.connect(0, "documented"))
        cls.session.execute(documented("A gallery"))

    def test_several_fingers_a_person(self) -> None:
        self.session.execute(documented("Fingers of people"))
        for i in range(6):
            self.session.execute("INSERT INTO person_finger VALUES (%s, %s, %b)",
                                 [f"person {i // 2}", i % 2, read(f"00{i + 1}_1.iso")])
        values = {"p1": [read("003_2.iso"), read("004_2.iso")], "p2": [0, 1], "p3": "person 1"}
        one, = self.session.execute(documented("A person's fingers, one to one"), values)
        single = [self.session.execute("SELECT vxm_score(%b, %b)", [
            read(f"{name}_2.iso"), read(f"{name}_1.iso")]).fetchone()[0] for name in ("003", "004")]
        self.assertAlmostEqual(one[0], sum(single), 5)
        self.assertEqual(one[1], max(single))
        many = self.session.execute(documented("A person's fingers, one to many"), values).fetchall()
        self.assertEqual((len(many), many[0]), (3, ("person 1", *one)))

    def test_converted_rows(self) -> None:
        """That came into the table before they were refused."""
        with self.session.transaction(force_rollback=True):
            self.session.execute("ALTER TABLE gallery DROP CONSTRAINT gallery_template_check")
            for name, form in ("001_1.iso", "iso-2011"), ("001_1.ansi", "ansi-2009"):
                self.session.execute("INSERT INTO gallery VALUES (%s, vxm_convert(%b, %s)), (%s, %b)",
                                     [name, read(name), form, form, read(name)])
            self.session.execute(documented("Records of later editions, converted"))
            self.assertEqual(self.session.execute(
                "SELECT count(DISTINCT template) FROM gallery WHERE vxm_valid(template)").fetchone(), (2,))

    def test_pieces(self) -> None:
        load(fingers, self.dsn)
        self.session.execute("INSERT INTO gallery SELECT id || n, template FROM gallery, "
                             "generate_series(1, 20) AS n")
        piece = documented("A piece of a search").replace("10000", "3")
        pages, = self.session.execute("SELECT pg_relation_size('gallery') / 8192").fetchone()
        self.assertGreater(pages, 30)
        found = [row for page in range(0, pages, 3)
                 for row in self.session.execute(piece, {"p1": read("001_1.iso"), "p2": page})]
        self.assertEqual(len(set(found)), len(found))
        self.assertEqual(len(found), 42)
        plan = self.session.execute("EXPLAIN " + piece, {"p1": b"", "p2": 0}).fetchone()
        self.assertIn("Tid Range Scan", plan[0])


class Interrupts(unittest.TestCase):
    def test_crowded_rows(self) -> None:
        """Templates that take longest to compare, and all match."""
        minutiae = b"".join(
            ((10 + 2 * (i % 14)) << 30 | (10 + 2 * (i // 14)) << 20 | 90 << 7).to_bytes(5, "big")
            for i in range(196))
        crowded = bytes((0x45, 196, 0x80 | 20, 20, 0, 0)) + b"VX" + minutiae + bytes(400)
        with cluster.connect() as session, cluster.connect() as other:
            fill(session, [crowded] * 1000)
            self.assertEqual(session.execute("SELECT vxm_valid(%b)", [crowded]).fetchone(), (True,))
            for query in ("SELECT vxm_search(%b, id::text, template, 4, false, false) FROM rows",
                          "SELECT vxm_best(%b, id, template, 3) FROM rows",
                          "SELECT count(*) FROM rows WHERE vxm_matches(%b, template, fast => false)"):
                for end in ("timeout", "terminate"):
                    with self.subTest(query=query, end=end), cluster.connect() as searching:
                        begin = time.monotonic()
                        if end == "timeout":
                            searching.execute("SET statement_timeout = 500")
                        else:
                            threading.Timer(0.5, lambda pid: other.execute(
                                "SELECT pg_terminate_backend(%s)", [pid]),
                                [searching.info.backend_pid]).start()
                        with self.assertRaises(psycopg.OperationalError):
                            searching.execute(query, [crowded])
                        # A second at the most on a machine of its own; of 20 and more in all.
                        self.assertLess(time.monotonic() - begin, 4)


if __name__ == "__main__":
    unittest.main()
