"""Every program and library in every package that was made: hardened, and with no
needs beyond those of the table below.

    shipped_files.py FOLDER
"""

import fnmatch
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "structure"))

from exported_names import WINDOWS_LIBRARIES  # noqa: E402
from hardening import CHECKED, is_binary, lacks, needs  # noqa: E402

C = {"libc.so.6", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"}
CXX = C | {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6"}
OURS = {"libvxmkit.so.3", "vxmkit.dll"}
# Calls nothing of which the compiler knows the sizes.
NOTHING_TO_CHECK = {"vxmkit.so"}
# By package, the files in it and what each may need.
SHIPPED = {
    "libvxmkit3_*.deb": {"libvxmkit.so.3.*": CXX},
    "libvxmkit-dev_*.deb": {},
    "vxmkit-tools_*.deb": {"vxm": CXX | OURS | {"libsqlite3.so.0"}, "vxm-explain": CXX},
    "postgresql-*-vxmkit_*.deb": {"vxmkit.so": C | OURS},
    "vxmkit-*-windows-x86_64.zip": {"vxmkit.dll": WINDOWS_LIBRARIES,
                                    "vxm.exe": WINDOWS_LIBRARIES | OURS,
                                    "vxm-explain.exe": WINDOWS_LIBRARIES},
    "vxmkit-*-linux_*.whl": {"libvxmkit.so.3": CXX, "vxm-explain": CXX},
}


def unpack(package: Path, folder: Path) -> None:
    if package.suffix == ".deb":
        subprocess.run(["dpkg-deb", "-x", package, folder], check=True)
    else:
        zipfile.ZipFile(package).extractall(folder)


def faults(package: Path, expected: dict[str, set[str]], folder: Path) -> list[str]:
    found = []
    unmet = set(expected)
    for path in sorted(folder.rglob("*")):
        if path.is_symlink() or not path.is_file() or not is_binary(path):
            continue
        name = next((each for each in expected if fnmatch.fnmatch(path.name, each)), None)
        if name is None:
            found.append(f"{path.name}: not in the table")
            continue
        unmet.discard(name)
        found += [f"{path.name}: lacks {what}" for what in lacks(path, fortified=True)
                  if not (what == CHECKED and path.name in NOTHING_TO_CHECK)]
        found += [f"{path.name}: needs {each}" for each in set(needs(path)) - expected[name]]
    return found + [f"{name}: missing" for name in sorted(unmet)]


def main() -> int:
    packages = Path(sys.argv[1])
    wrong = []
    for pattern, expected in SHIPPED.items():
        matching = list(packages.glob(pattern))
        if len(matching) != 1:
            wrong.append(f"{pattern}: {len(matching)} files")
        for package in matching:
            with tempfile.TemporaryDirectory() as folder:
                unpack(package, Path(folder))
                wrong += [f"{package.name}: {fault}"
                          for fault in faults(package, expected, Path(folder))]
    known = {file for pattern in SHIPPED for file in packages.glob(pattern)}
    wrong += [f"{file.name}: no package of the table" for file in packages.iterdir()
              if file not in known and file.suffix != ".sha256"]
    print("\n".join(wrong) or f"{len(known)} packages: every program and library is hardened")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
