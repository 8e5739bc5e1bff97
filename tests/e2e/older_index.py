"""An index as an earlier version of the gateway has left it, with the rows of one of this version."""

import pathlib
import shutil
import sqlite3

VERSION = 2
MADE_BY_IT = pathlib.Path(__file__).resolve().parents[2] / "src/index/testing/data/version_2.sqlite"


def make_older(path):
    """Of an index that no gateway has open; what is younger than its columns is lost."""
    path = pathlib.Path(path)
    present = path.with_name("present.sqlite")
    with sqlite3.connect(path) as index:
        index.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    index.close()
    for name in (f"{path.name}-wal", f"{path.name}-shm"):
        path.with_name(name).unlink(missing_ok=True)
    path.rename(present)
    shutil.copyfile(MADE_BY_IT, path)
    path.chmod(0o600)
    with sqlite3.connect(path) as index:
        index.execute("ATTACH ? AS present", (str(present),))
        take_rows(index)
    index.close()
    present.unlink()


def take_rows(index):
    """The triggers would count what is counted."""
    triggers = index.execute("SELECT name, sql FROM main.sqlite_master WHERE type = 'trigger'").fetchall()
    for name, _ in triggers:
        index.execute(f"DROP TRIGGER {name}")
    tables = [name for name, in index.execute("SELECT name FROM main.sqlite_master WHERE type = 'table'")]
    for table in tables:
        columns = ", ".join(f'"{row[1]}"' for row in index.execute(f"PRAGMA main.table_info({table})"))
        index.execute(f"DELETE FROM main.{table}")
        index.execute(f"INSERT INTO main.{table} ({columns}) SELECT {columns} FROM present.{table}")
    for _, sql in triggers:
        index.execute(sql)


def version_of(path):
    """After a look at the whole of it; a write-ahead log beside it counts."""
    index = sqlite3.connect(path, timeout=10)
    try:
        [(whole,)] = index.execute("PRAGMA integrity_check").fetchall()
        if whole != "ok":
            raise AssertionError(f"{path} is damaged: {whole}")
        return index.execute("PRAGMA user_version").fetchone()[0]
    finally:
        index.close()
