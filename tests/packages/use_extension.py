"""The extension of an unpacked Debian package in a server: use_extension.py TREE LIBRARIES"""
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from private_cluster import private_cluster  # noqa: E402

tree, libraries = map(Path, sys.argv[1:])
with private_cluster(tree, [libraries], 1) as cluster, cluster.connect() as session:
    session.execute("CREATE EXTENSION vxmkit")
    print(*session.execute("SELECT 'PostgreSQL has ' || vxm_version()").fetchone())
