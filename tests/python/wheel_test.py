"""The wheel: installed alone, it brings its library and vxm-explain along."""
import os
import subprocess
import sys
from pathlib import Path

TREE = Path(__file__).parents[2]


def test_installed_wheel_works_by_itself(fingers: Path, tmp_path: Path) -> None:
    library = Path(os.environ["VXMKIT_LIBRARY"]).with_name("libvxmkit.so.3")
    second = Path(os.environ["VXMRECORDS_LIBRARY"]).with_name("libvxmrecords.so.1")
    subprocess.run([TREE / "scripts/wheel", tmp_path, library, second, os.environ["VXM_EXPLAIN"]],
                   check=True)
    wheel, = tmp_path.glob("vxmkit-*-py3-none-manylinux_*.whl")
    subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-index", "--no-deps",
                    "--disable-pip-version-check", "--target", tmp_path / "site", wheel],
                   check=True)
    script = ("import vxmkit, vxmkit.library; m = vxmkit.Matcher();"
              "print(m.version.split()[-1], vxmkit.library.load()._name)")

    def python(*arguments: object) -> str:
        return subprocess.run([sys.executable, *map(str, arguments)], cwd=tmp_path / "site",
                              capture_output=True, text=True, check=True,
                              env={"PYTHONPATH": "."}).stdout

    version, loaded = python("-c", script).split()
    assert wheel.name.split("-")[1] in version
    assert Path(loaded).parent == tmp_path / "site/vxmkit"
    told = python("-c", "import sys; from vxmkit import records;"
                  "print(records.tell_form(open(sys.argv[1], 'rb').read()).text)",
                  fingers / "001_1.iso")
    assert told.strip() == "iso-2005"
    python("-m", "vxmkit.draw", fingers / "001_1.iso", "-o", tmp_path / "one.png")
    assert (tmp_path / "one.png").exists()
