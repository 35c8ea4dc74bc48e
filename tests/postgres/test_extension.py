"""The extension of PostgreSQL in servers of its own: its regression tests, a gallery
over several servers as docs/large-galleries.md builds it, the loader, and faults.

Run as: test_extension.py BUILD_FOLDER
"""
import os
import sqlite3
import subprocess
import tempfile
import threading
import time
import unittest
from pathlib import Path

import psycopg

from extension_setup import HERE, documented, documented_blocks, load, set_up, vxm
from private_cluster import Cluster, configured

cluster: Cluster
fingers: Path  # a folder of them
folder: Path


def new_database(name: str, server: int = 0) -> str:
    with cluster.connect(server) as session:
        session.execute(f"CREATE DATABASE {name}")
    with cluster.connect(server, name) as session:
        session.execute("CREATE EXTENSION vxmkit")
    return cluster.dsn(server, name)


def finger(name: str) -> bytes:
    return (fingers / name).read_bytes()


def setUpModule() -> None:
    global cluster, fingers, folder
    cluster, fingers = set_up(3)
    folder = Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))


class Regression(unittest.TestCase):
    def test_regression(self) -> None:
        loaded = load(fingers, new_database("regress"), "--table", "fingers")
        self.assertEqual(loaded.returncode, 0, loaded.stderr)
        upgrade = configured("--sharedir").relative_to("/") / "extension/vxmkit--1.1--test.sql"
        (cluster.folder / "stage" / upgrade).write_text(
            "CREATE FUNCTION vxm_test() RETURNS integer LANGUAGE sql AS 'SELECT 1';\n")
        run = subprocess.run(
            [configured("--pgxs").parent.parent / "test/regress/pg_regress", "--use-existing",
             f"--inputdir={HERE}", f"--outputdir={folder}", f"--bindir={configured('--bindir')}",
             f"--host={cluster.folder}", "--port=5432", "--user=postgres", "--dbname=regress",
             "vxmkit", "servers"], capture_output=True, text=True)
        differences = folder / "regression.diffs"
        self.assertEqual(run.returncode, 0,
                         differences.read_text() if differences.exists() else run.stdout + run.stderr)


class SeveralServers(unittest.TestCase):
    """The gallery of the document: a front, two servers with parts."""

    @classmethod
    def setUpClass(cls) -> None:
        cls.dsn = f"host={cluster.folder} user=postgres dbname=gallery"
        for server in (1, 2):
            with cluster.connect(server) as session:
                session.execute("CREATE DATABASE gallery")
            with cluster.connect(server, "gallery") as session:
                session.execute(documented("A gallery"))
        with cluster.connect() as session:
            session.execute("CREATE DATABASE gallery")
        cls.front = cls.enterClassContext(cluster.connect(0, "gallery"))
        cls.front.execute(documented(
            "On the front", **{f"host 'db{i}'": f"host '{cluster.folder}', port '{5433 + i}'"
                               for i in (0, 1)}, **{"user 'front'": "user 'postgres'"}))
        loaded = load(fingers, cluster.dsn(0, "gallery"))
        assert loaded.returncode == 0, loaded.stderr

    def ask(self, title: str, probe: str) -> list[tuple]:
        return self.front.execute(documented(title), {"p1": finger(probe)}).fetchall()

    def test_parts_hold_all(self) -> None:
        counts = [self.front.execute(f"SELECT count(*) FROM {part}").fetchone()[0]
                  for part in ("gallery", "gallery_0", "gallery_1")]
        self.assertEqual(counts[0], 37)
        self.assertTrue(0 < counts[1] < 37 and counts[1] + counts[2] == 37, counts)

    def test_best_over_all_parts(self) -> None:
        for title in ("The best three", "The best three of all servers"):
            found = [name for name, _ in self.ask(title, "003_1.vxt")]
            self.assertEqual((len(found), found[:2]), (3, ["003_1.vxt", "003_2.vxt"]))

    def test_all_over_all_parts(self) -> None:
        for title in ("All that match", "Most that match on all servers, fast"):
            found = self.ask(title, "003_1.iso")
            self.assertEqual(sorted(found), [("003_1.iso",), ("003_2.iso",)])

    def test_logs_hold_no_templates(self) -> None:
        """Of no documented query, also when another server fails."""
        servers = [self.enterContext(cluster.connect(i, "gallery")) for i in range(3)]
        logging = ["ALTER SYSTEM SET log_statement = 'all'", "ALTER SYSTEM SET log_duration = on"]
        for server in servers:
            for statement in logging + documented("No templates in the logs").split(";")[:-1]:
                server.execute(statement)
        time.sleep(0.2)  # until all have read their settings
        probe = finger("001_1.vxt")
        queries = {title: text for title, text in documented_blocks().items() if "%(p1)s" in text
                   and "psql" not in title} | {
            "an invalid row": "INSERT INTO gallery VALUES ('bad', %(p1)s || ''::bytea), "
                              "('worse', substr(%(p1)s, 1, 600)), ('worst', substr(%(p1)s, 1, 500))"}
        servers[0].execute(documented("Fingers of people"))

        def ask(fails: bool) -> None:
            for title, query in queries.items():
                fingers_of = "bytea[]" in query
                values = {"p1": [probe] if fingers_of else probe, "p2": [1] if fingers_of else 0,
                          "p3": "nobody"}
                with self.subTest(title=title, fails=fails):
                    try:
                        servers[0].execute(query, values)
                        self.assertFalse(fails)
                    except psycopg.Error as error:
                        self.assertTrue(fails or isinstance(error, psycopg.errors.CheckViolation))

        ask(fails=False)
        queries = {title: text for title, text in queries.items()
                   if not title.startswith(("The plan", "A person"))}
        servers[1].execute("ALTER TABLE gallery RENAME TO away")
        ask(fails=True)
        servers[1].execute("ALTER TABLE away RENAME TO gallery")
        logs = "".join((cluster.folder / f"server{i}.log").read_text() for i in range(3))
        self.assertGreater(logs.count("vxm_matches_fully("), 4)
        secret = probe[100:116].hex()
        self.assertNotIn(secret, logs)
        # Without the settings it would be found.
        servers[0].execute("SET plan_cache_mode = auto; SET log_error_verbosity = 'default'")
        servers[1].execute("ALTER TABLE gallery RENAME TO away")
        with self.assertRaises(psycopg.errors.UndefinedTable):
            servers[0].execute(documented("All that match"), {"p1": probe})
        servers[1].execute("ALTER TABLE away RENAME TO gallery")
        self.assertIn(secret, (cluster.folder / "server0.log").read_text())

    def test_going_on_without_a_server(self) -> None:
        count = "SELECT count(*) FROM gallery WHERE vxm_matches(%s, template)"
        cluster.stop(2)
        with self.assertRaisesRegex(psycopg.errors.SqlclientUnableToEstablishSqlconnection,
                                    'could not connect to server "shard1"'):
            with cluster.connect(0, "gallery") as session:
                session.execute(count, [finger("001_1.vxt")])
        self.front.execute(documented("Going on without a server"))
        self.assertEqual(len(self.front.execute("SELECT id FROM gallery").fetchall()),
                         len(self.front.execute("SELECT id FROM gallery_0").fetchall()))
        cluster.start(2)
        self.front.execute(documented("When it is back"))
        self.assertEqual(self.front.execute(count, [finger("001_1.vxt")]).fetchone(), (2,))


class OneServer(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        with cluster.connect() as session:
            session.execute("CREATE DATABASE one")
        cls.dsn = cluster.dsn(0, "one")
        cls.session = cls.enterClassContext(cluster.connect(0, "one"))
        cls.session.execute(documented("A gallery"))

    def setUp(self) -> None:
        self.session.execute("TRUNCATE gallery")

    def test_roles(self) -> None:
        roles, = documented("Roles").split("COMMIT;\n")[:-1]
        self.session.execute(roles)
        with cluster.connect(0, "one") as other:  # nobody may call it before it is revoked
            self.assertEqual(other.execute("SELECT to_regproc('search_gallery')").fetchone(), (None,))
        self.session.execute("COMMIT")
        with self.assertRaises(psycopg.errors.InvalidBinaryRepresentation):
            self.session.execute("SELECT search_gallery('no template')")
        load(fingers, self.dsn)
        search = "SELECT search_gallery(%s)"
        for role, statement, allowed in (
                ("gallery_match", search, True), ("gallery_match", "SELECT id FROM gallery", False),
                ("gallery_enroll", "SELECT id FROM gallery", True),
                ("gallery_enroll", "INSERT INTO gallery VALUES ('new', %s)", True),
                ("gallery_enroll", "SELECT template FROM gallery", False),
                ("gallery_enroll", search, False)):
            with self.subTest(role=role, statement=statement):
                self.session.execute(f"SET ROLE {role}")
                try:
                    rows = self.session.execute(
                        statement, [finger("001_1.ansi")] if "%s" in statement else [])
                    if statement == search:
                        self.assertEqual(sorted(rows.fetchall()), [("001_1.ansi",), ("001_2.ansi",)])
                    self.assertTrue(allowed)
                except psycopg.errors.InsufficientPrivilege:
                    self.assertFalse(allowed)
                finally:
                    self.session.execute("RESET ROLE")

    def test_other_documented_statements(self) -> None:
        load(fingers, self.dsn)
        for title in ("Cores", "After a load", "Faulty templates of a table without the check",
                      "After such a release"):
            for statement in documented(title).split(";")[:-1]:
                self.session.execute(statement)

    def test_psql(self) -> None:
        load(fingers, self.dsn)
        blocks = [documented(title).replace("%(p1)s", "$1").replace("probe.vxt", "001_1.vxt")
                  for title in ("A probe from a file, in psql", "A probe in a variable of psql")]
        run = subprocess.run(["psql", "-AtX", self.dsn], input="".join(blocks), text=True,
                             cwd=fingers, capture_output=True)
        self.assertRegex(run.stdout, r"001_1.vxt\|0.\d+\n001_2.vxt\|0.1346\n.*\n(.*\n)?ROLLBACK\n"
                                     r"001_[12].vxt\n001_[12].vxt\n$", run.stderr)

    def test_loader_refuses_and_resumes(self) -> None:
        source = folder / "mixed"
        (source / "below").mkdir(parents=True)
        (source / "below/good.vxt").write_bytes(finger("001_1.vxt"))
        (source / "cut.iso").write_bytes(finger("001_1.iso")[:-1])
        (source / "large").write_bytes(bytes(70000))
        vxm("convert", fingers / "001_2.ansi", source / "later", "--to", "ansi-2009", "--resolution", 394)
        (source / "version").write_bytes(finger("001_1.iso").replace(b" 20", b" 10", 1))
        (source / "gone").symlink_to("nowhere")
        first = load(source, self.dsn)
        self.assertEqual(first.returncode, 4)
        self.assertEqual(first.stdout, "1 added, 0 already there, 5 refused\n")
        self.assertEqual(sorted(first.stderr.splitlines()),
                         ["cut.iso: is not a valid template", "gone: No such file or directory",
                          "large: has more than 65535 bytes",
                          "later: is a record of a later form, which the matcher would misread: "
                          "convert it by --convert or vxm convert",
                          "version: is a record of an unknown version"])
        (source / "a_new.ansi").write_bytes(finger("001_1.ansi"))
        second = load(source, self.dsn, "--batch", 1, "--convert")
        self.assertEqual(second.stdout, "2 added, 1 already there, 4 refused\n")
        self.assertIn("later: ansi-2009 converted to ansi-2004, 394 x 394", second.stderr)
        self.assertEqual(
            self.session.execute("SELECT id, (vxm_info(template)).format FROM gallery ORDER BY 1")
            .fetchall(), [("a_new.ansi", "ANSI 378"), ("below/good.vxt", "native"), ("later", "ANSI 378")])

    def test_loader_reads_sqlite(self) -> None:
        path = folder / "gallery.sqlite"
        gallery = sqlite3.connect(path)
        gallery.execute("CREATE TABLE enrolled (id, type INTEGER, template BLOB, note TEXT)")
        gallery.executemany("INSERT INTO enrolled VALUES (?, 2001, ?, ?)", [
            ("a", finger("001_1.vxt"), "left thumb"), (7, finger("001_2.vxt"), None),
            ("b", b"", None), ("c", "text", None)])
        gallery.commit()
        loaded = load(path, self.dsn)
        self.assertEqual(loaded.stdout, "2 added, 0 already there, 2 refused\n", loaded.stderr)
        self.assertEqual(self.session.execute("SELECT id, note FROM gallery ORDER BY 1").fetchall(),
                         [("7", None), ("a", "left thumb")])

    def test_loader_failures(self) -> None:
        for arguments, message in (
                ((folder / "none", self.dsn), "neither a folder nor a file"),
                ((fingers / "001_1.iso", self.dsn), "file is not a database"),
                ((fingers, self.dsn + "x"), 'database "onex" does not exist'),
                ((fingers, cluster.dsn(0)), "CREATE EXTENSION vxmkit")):
            with self.subTest(message=message):
                failed = load(*arguments)
                self.assertEqual(failed.returncode, 2)
                self.assertRegex(failed.stderr, message)
                self.assertNotIn("Traceback", failed.stderr)


class Faults(unittest.TestCase):
    """What ends a search must leave session and server as they were."""

    # Hours of comparisons.
    LONG = ("SELECT count(*) FROM fingers a, fingers b, generate_series(1, 1000000) AS n "
            "WHERE vxm_matches(a.template, b.template, fast => n > 0)")
    SHORT = "SELECT vxm_search(%s, id, template) FROM fingers"

    @classmethod
    def setUpClass(cls) -> None:
        dsn = new_database("faults")
        loaded = load(fingers, dsn, "--table", "fingers")
        assert loaded.returncode == 0, loaded.stderr

    def connect(self) -> psycopg.Connection:
        return self.enterContext(cluster.connect(0, "faults"))

    def check(self, session: psycopg.Connection) -> None:
        found, = session.execute(self.SHORT, [finger("002_1.vxt")]).fetchone()
        self.assertEqual(sorted(found), ["002_1.vxt", "002_2.vxt"])

    def test_timeout_ends_a_scan(self) -> None:
        session = self.connect()
        session.execute("SET statement_timeout = 300")
        with self.assertRaises(psycopg.errors.QueryCanceled):
            session.execute(self.LONG)
        session.execute("SET statement_timeout = 0")
        self.check(session)

    def test_ended_and_killed_backends(self) -> None:
        for end in ("SELECT pg_terminate_backend(%s)", None):
            with self.subTest(end=end):
                session = self.connect()
                pid = session.info.backend_pid
                error: list[BaseException] = []

                def search() -> None:
                    try:
                        session.execute(self.LONG)
                    except psycopg.OperationalError as caught:
                        error.append(caught)

                thread = threading.Thread(target=search)
                thread.start()
                other = self.connect()
                while not other.execute("SELECT 1 FROM pg_stat_activity WHERE pid = %s AND "
                                        "state = 'active'", [pid]).fetchone():
                    time.sleep(0.05)
                if end:
                    other.execute(end, [pid])
                else:
                    os.kill(pid, 9)
                thread.join()
                self.assertTrue(error)
                if not end:  # the server ends all other sessions before it starts again
                    with self.assertRaises(psycopg.OperationalError):
                        while other.execute("SELECT 1"):
                            time.sleep(0.05)
                cluster.wait(0)
                self.check(self.connect())

    def test_many_connections(self) -> None:
        errors: list[BaseException] = []

        def search() -> None:
            try:
                with cluster.connect(0, "faults") as session:
                    for _ in range(5):
                        self.check(session)
            except BaseException as caught:  # noqa: BLE001: shown by the test
                errors.append(caught)

        threads = [threading.Thread(target=search) for _ in range(40)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(errors, [])


if __name__ == "__main__":
    unittest.main()
