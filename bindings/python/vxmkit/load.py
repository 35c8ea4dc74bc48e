"""Copies templates into a table of PostgreSQL: the files of a folder, or a SQLite gallery.

    python3 -m vxmkit.load SOURCE DSN [--table gallery] [--convert]

A file's id is its path below the folder. Of a SQLite gallery the table that has
columns id and template is copied, with its notes where it has a column note.

The table is made when it is not there. Rows go in by batches, each of them one
transaction; ids that are in already are passed over, so a load that ended early
goes on where it stopped when it is started again. Invalid templates are refused,
named on standard error, and do not stop the rest; so are records of forms that would be
misread, unless they are to be converted, to 500 dpi too.

Exit codes: 0 all templates are in, 2 the load could not go on, 3 it was stopped by Ctrl-C,
4 some templates were refused, and are named.
"""

import argparse
import itertools
import os
import sqlite3
import sys
from collections.abc import Callable, Iterator
from functools import partial
from pathlib import Path
from typing import Any, NamedTuple, Optional

try:
    import psycopg
    from psycopg import sql
    from tqdm import tqdm
except ModuleNotFoundError as missing:
    print(f"vxmkit.load: needs psycopg and tqdm; no {missing.name} here", file=sys.stderr)
    sys.exit(2)

from .host_program import DONE, LEFT_OUT, run_program
from .templates import misread

LARGEST_TEMPLATE = 65535
LARGEST_FILE = 1 << 24  # of a record with many views, of which one is taken

CREATE = """CREATE TABLE {table} (
  id text PRIMARY KEY,
  template bytea NOT NULL CHECK (vxm_valid(template)),
  note text)"""

# Checked and stored in one statement: a batch is one question to the server.
INSERT = """WITH incoming AS MATERIALIZED (
  SELECT id, template, note, vxm_valid(template) AS valid
  FROM unnest(%s::text[], %b::bytea[], %s::text[]) AS incoming (id, template, note)),
inserted AS (
  INSERT INTO {table} (id, template, note) SELECT id, template, note FROM incoming WHERE valid)
SELECT id FROM incoming WHERE NOT valid"""


class Failure(Exception):
    """Ends the load; its text is for the user."""


class Refusal(Exception):
    """Of one template; its text is for the user."""


class Entry(NamedTuple):
    id: str
    note: Optional[str]
    read: Callable[[], bytes]  # raises Refusal


class Source(NamedTuple):
    size: int
    entries: Iterator[Entry]


def read_file(path: Path) -> bytes:
    try:
        if path.stat().st_size > LARGEST_FILE:
            raise Refusal(f"has more than {LARGEST_FILE} bytes")
        return path.read_bytes()
    except OSError as error:
        raise Refusal(error.strerror) from error


def folder_source(folder: Path) -> Source:
    def stop(error: OSError) -> None:
        raise Failure(f"{error.filename}: {error.strerror}") from error

    names = sorted(os.path.relpath(os.path.join(parent, name), folder)
                   for parent, _, files in os.walk(folder, onerror=stop) for name in files)
    return Source(len(names), (Entry(name, None, partial(read_file, folder / name))
                               for name in names))


def stored_template(value: object) -> bytes:
    if not isinstance(value, bytes):
        raise Refusal("is not stored as bytes")
    return value


def sqlite_source(path: Path) -> Source:
    gallery = sqlite3.connect(f"{path.resolve().as_uri()}?mode=ro", uri=True)
    with_column = "SELECT name FROM pragma_table_info(tables.name) WHERE name ="
    found = gallery.execute(
        f"SELECT name, ({with_column} 'note') FROM sqlite_master AS tables WHERE type = 'table' "
        f"AND EXISTS ({with_column} 'id') AND EXISTS ({with_column} 'template')").fetchall()
    if len(found) != 1:
        raise Failure(f"{path}: {len(found)} tables have columns id and template, not one")
    table, note = found[0]
    table = '"' + table.replace('"', '""') + '"'
    count, = gallery.execute(f"SELECT count(*) FROM {table}").fetchone()
    rows = gallery.execute(f"SELECT id, template, {note or 'NULL'} FROM {table} ORDER BY id")
    return Source(count, (Entry(str(key), text, partial(stored_template, value))
                          for key, value, text in rows))


def open_source(path: Path) -> Source:
    if path.is_dir():
        return folder_source(path)
    if path.is_file():
        return sqlite_source(path)
    raise Failure(f"{path}: neither a folder nor a file")


def as_it_is(entry: Entry) -> bytes:
    data = entry.read()
    if why := misread(data, by="--convert or vxm convert"):
        raise Refusal(f"is {why}")
    return data


def converted(entry: Entry) -> bytes:
    from .records import RecordError, matchable  # need numpy and the library of records

    try:
        data, done = matchable(entry.read())
    except RecordError as error:
        raise Refusal(f"cannot be converted: {error}") from error
    if done:
        tqdm.write(f"{entry.id}: {done}", file=sys.stderr)
    return data


def load_batch(server: psycopg.Connection[Any], table: sql.Identifier, batch: list[Entry],
               read: Callable[[Entry], bytes], refuse: Callable[[str, str], None]) -> int:
    """Stores what is valid and not there yet, and tells how many rows that were."""
    known = {row[0] for row in server.execute(
        sql.SQL("SELECT id FROM {table} WHERE id = ANY(%s)").format(table=table),
        [[entry.id for entry in batch]])}
    ids, templates, notes = [], [], []
    for entry in batch:
        if entry.id in known:
            continue
        try:
            data = read(entry)
            if len(data) > LARGEST_TEMPLATE:
                raise Refusal(f"has more than {LARGEST_TEMPLATE} bytes")
        except Refusal as refusal:
            refuse(entry.id, str(refusal))
            continue
        ids.append(entry.id)
        templates.append(data)
        notes.append(entry.note)
    invalid = server.execute(sql.SQL(INSERT).format(table=table), [ids, templates, notes]).fetchall()
    for key, in invalid:
        refuse(key, "is not a valid template")
    return len(ids) - len(invalid)


def load(source: Source, server: psycopg.Connection[Any], table: sql.Identifier, batch_size: int,
         read: Callable[[Entry], bytes] = as_it_is) -> int:
    """Loads all of a source; gives the number of templates refused."""
    refused = added = 0

    def refuse(key: str, why: str) -> None:
        nonlocal refused
        refused += 1
        tqdm.write(f"{key}: {why}", file=sys.stderr)

    # Asked first: a role that may only add rows may not even try to make tables.
    known = server.execute("SELECT to_regclass(%s)", [table.as_string(server)]).fetchone()
    if known == (None,):
        server.execute(sql.SQL(CREATE).format(table=table))
    with tqdm(total=source.size, unit=" templates", disable=None) as progress:
        while batch := list(itertools.islice(source.entries, batch_size)):
            with server.transaction():
                added += load_batch(server, table, batch, read, refuse)
            progress.update(len(batch))
    print(f"{added} added, {source.size - added - refused} already there, {refused} refused")
    return refused


def copy_all() -> int:
    parser = argparse.ArgumentParser(
        prog="vxmkit.load", description="Copy templates into a table of PostgreSQL.",
        epilog="Exit codes: 0 all templates are in, 2 the load could not go on, 3 it was stopped by "
               "Ctrl-C, 4 some were refused.")
    parser.add_argument("source", type=Path, help="folder of template files, or SQLite gallery")
    parser.add_argument("dsn", help="database to load into, such as 'host=db1 dbname=gallery'")
    parser.add_argument("--table", default="gallery", help="[SCHEMA.]TABLE (default: gallery)")
    parser.add_argument("--batch", type=int, default=1000, help="rows a transaction (default: 1000)")
    parser.add_argument("--convert", action="store_true",
                        help="convert records of other forms and resolutions, and say so")
    options = parser.parse_args()
    if options.batch < 1:
        parser.error("--batch must be 1 or more")
    try:
        source = open_source(options.source)
        with psycopg.connect(options.dsn, autocommit=True) as server:
            table = sql.Identifier(*options.table.split("."))
            read = converted if options.convert else as_it_is
            return LEFT_OUT if load(source, server, table, options.batch, read) else DONE
    except psycopg.errors.UndefinedFunction:
        raise Failure("the database has no extension vxmkit: CREATE EXTENSION vxmkit") from None


def main() -> int:
    return run_program("vxmkit.load", copy_all,
                       (Failure, psycopg.Error, sqlite3.Error, UnicodeError, OSError, ImportError))


if __name__ == "__main__":
    sys.exit(main())
