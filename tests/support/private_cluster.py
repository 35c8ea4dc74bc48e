"""PostgreSQL servers of a test's own: made in a folder below /tmp, reached by
sockets in it alone, with the extension as a build made it, and gone at the end."""

import contextlib
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from pathlib import Path

import psycopg

OWNER = "postgres"  # who runs the servers when root, whom they refuse, asks for them


def as_owner(*options: str) -> list[str]:
    if os.geteuid() != 0:
        return ["setpriv", *options]
    return ["setpriv", f"--reuid={OWNER}", f"--regid={OWNER}", "--clear-groups", *options]


def configured(question: str) -> Path:
    return Path(subprocess.check_output(["pg_config", question], text=True).strip())


class Cluster:
    """Some servers; `dsn(i)` leads to the i-th."""

    def __init__(self, folder: Path, settings: dict[str, object]) -> None:
        self.folder = folder
        self.settings = settings
        self.processes: list[subprocess.Popen[bytes]] = []

    def dsn(self, server: int, database: str = "postgres") -> str:
        return f"host={self.folder} port={5432 + server} user={OWNER} dbname={database}"

    def connect(self, server: int = 0, database: str = "postgres") -> psycopg.Connection:
        return psycopg.connect(self.dsn(server, database), autocommit=True)

    def start(self, server: int) -> None:
        data = self.folder / f"server{server}"
        log = self.folder / f"server{server}.log"
        options = {"listen_addresses": "", "unix_socket_directories": self.folder,
                   "extension_destdir": self.folder / "stage", "fsync": "off", **self.settings}
        # The servers end with this process, however it ends.
        with log.open("ab") as output:
            process = subprocess.Popen(
                [*as_owner("--pdeathsig=QUIT"), configured("--bindir") / "postgres", "-D", data,
                 "-p", str(5432 + server), *(f"-c{key}={value}" for key, value in options.items())],
                env={**os.environ, "LD_LIBRARY_PATH": str(self.folder / "lib")},
                cwd=self.folder, stdout=output, stderr=output)
        self.processes[server:server + 1] = [process]
        self.wait(server)

    def wait(self, server: int) -> None:
        """Until it takes connections."""
        for _ in range(300):
            with contextlib.suppress(psycopg.OperationalError):
                self.connect(server).close()
                return
            if self.processes[server].poll() is not None:
                break
            time.sleep(0.1)
        log = self.folder / f"server{server}.log"
        sys.exit(f"private_cluster: a server takes no connections:\n{log.read_text()}")

    def stop(self, server: int) -> None:
        self.processes[server].send_signal(signal.SIGINT)  # without waiting for sessions
        self.processes[server].wait()

    def stop_all(self) -> None:
        for process in self.processes:
            process.send_signal(signal.SIGQUIT)
        for process in self.processes:
            process.wait()


def staged(build: Path) -> tuple[Path, list[Path]]:
    """The extension of a build folder as installed, and where its libraries are."""
    stage = build / "postgres_stage"
    shutil.rmtree(stage, ignore_errors=True)
    subprocess.run(["cmake", "--install", build, "--component", "postgres"], check=True,
                   env={**os.environ, "DESTDIR": str(stage)}, stdout=subprocess.DEVNULL)
    return stage, [build / "src", build / "records"]


@contextlib.contextmanager
def private_cluster(tree: Path, libraries: list[Path], servers: int,
                    **settings: object) -> Iterator[Cluster]:
    """Runs servers with the extension that is installed below `tree`."""
    # Sockets have short paths, and the servers' owner must be able to read this.
    folder = Path(tempfile.mkdtemp(prefix="vxm-postgres-", dir="/tmp"))
    cluster = Cluster(folder, settings)
    try:
        shutil.copytree(tree / "usr", folder / "stage/usr")
        (folder / "lib").mkdir()
        for library in (file for each in libraries for file in each.glob("libvxm*.so.[0-9]")):
            shutil.copy(library, folder / "lib")
        if os.geteuid() == 0:
            subprocess.run(["chown", "-R", f"{OWNER}:{OWNER}", folder], check=True)
        initdb = configured("--bindir") / "initdb"
        for server in range(servers):
            subprocess.run([*as_owner(), initdb, "--auth=trust", "--no-sync", f"--username={OWNER}",
                            "--encoding=UTF8", "--locale=C", folder / f"server{server}"],
                           check=True, cwd=folder, stdout=subprocess.DEVNULL)
            cluster.start(server)
        yield cluster
    finally:
        cluster.stop_all()
        shutil.rmtree(folder)
