"""Every program and library in every package that was made: hardened, and with no
needs beyond those of the table below. And every link of the pages in it leads somewhere.

    shipped_files.py FOLDER
"""

import fnmatch
import re
import subprocess
import sys
import tarfile
import tempfile
import zipfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "structure"))

from exported_names import WINDOWS_LIBRARIES  # noqa: E402
from hardening import CHECKED, is_binary, lacks, needs  # noqa: E402

C = {"libc.so.6", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"}
CXX = C | {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6"}
OURS = {"libvxmkit.so.3", "vxmkit.dll"}
# What is compiled into programs, and so comes with its license.
COMPILED_IN = {"LICENSE.CLI11", "LICENSE.nlohmann-json"}
# Call nothing of which the compiler knows the sizes.
NOTHING_TO_CHECK = {"vxmkit.so", "libvxmrecords.so.1", "libvxmrecords.so.1.0.0"}
WHEEL = {"libvxmkit.so.3": CXX, "libvxmrecords.so.1": CXX, "vxm-explain": CXX}
# By architecture, what programs need for their galleries.
DEBIAN = {"amd64": {"libsqlite3.so.0"}, "arm64": set()}
# By package, the files in it and what each may need.
SHIPPED = {
    **{f"libvxmkit3_*_{each}.deb": {"libvxmkit.so.3.*": CXX, "libvxmrecords.so.1.*": CXX}
       for each in DEBIAN},
    **{f"libvxmkit-dev_*_{each}.deb": {} for each in DEBIAN},
    **{f"vxmkit-tools_*_{each}.deb": {"vxm": CXX | OURS | sqlite, "vxm-explain": CXX}
       for each, sqlite in DEBIAN.items()},
    "postgresql-*-vxmkit_*.deb": {"vxmkit.so": C | OURS | {"libvxmrecords.so.1"}},
    "vxmkit-doc_*.deb": {},
    "vxmkit-*-windows-x86_64.zip": {"vxmkit.dll": WINDOWS_LIBRARIES,
                                    "vxmrecords.dll": WINDOWS_LIBRARIES,
                                    "vxm.exe": WINDOWS_LIBRARIES | OURS,
                                    "vxm-explain.exe": WINDOWS_LIBRARIES},
    "vxmkit-*-manylinux_*_x86_64.whl": WHEEL,
    "vxmkit-*-manylinux_*_aarch64.whl": WHEEL,
    "vxmkit-*-win_amd64.whl": {"vxmkit.dll": WINDOWS_LIBRARIES,
                               "vxmrecords.dll": WINDOWS_LIBRARIES,
                               "vxm-explain.exe": WINDOWS_LIBRARIES},
    "vxmkit-*.tar.gz": {},
    "vxmkit-[0-9]*.tgz": {},
    "vxmkit-page-*.zip": {},
}


def unpack(package: Path, folder: Path) -> None:
    if package.suffix == ".deb":
        subprocess.run(["dpkg-deb", "-x", package, folder], check=True)
    elif package.suffix in (".gz", ".tgz"):
        tarfile.open(package).extractall(folder)
    else:
        zipfile.ZipFile(package).extractall(folder)


def dead_links(folder: Path) -> list[str]:
    """Links of the pages in a package that lead to none of its files."""
    return [f"{page.name}: no {link}" for page in folder.rglob("*.md")
            for link in re.findall(r"\]\((?!https?:|#)([^)#\s]+)", page.read_text(encoding="utf-8"))
            if not (page.parent / link).exists()]


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
    there = {path.name for path in folder.rglob("LICENSE*")}
    if "vxm-explain" in {name.removesuffix(".exe") for name in expected}:
        found += [f"{name}: missing" for name in COMPILED_IN - there]
    return found + [f"{name}: missing" for name in sorted(unmet)] + dead_links(folder)


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
