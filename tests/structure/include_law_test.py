"""Proves that the laws bite: small made-up trees, each with one breach."""

import tempfile
import unittest
from pathlib import Path

from include_law import breaches, circles

GOOD = {
    "include/vxmkit.h": "#include <stdint.h>\n#if defined(_WIN32)\n#endif\n",
    "src/platform/clock.h": "#ifdef __linux__\n#include <time.h>\n#endif\n",
    "src/engine/records.h": "#include <cstdint>\n// 0.5 new double\nA(const A&) = delete;\n",
    "src/engine/match.h": '#include "engine/records.h"\nint separator = 1\'000;\n',
    "src/templates/loader.h": '#include <vector>\n#include "engine/records.h"\n',
    "src/matcher/matcher.h": '#include "engine/records.h"\n#include "vxmkit.h"\n',
    "src/identify/search.cpp": '#include "matcher/matcher.h"\n#include "engine/match.h"\n',
    "src/api/entry.h": '#include "matcher/matcher.h"\n',
    "apps/tool.cpp": "#include <vxmkit.h>\n#include <iostream>\nfloat score;\n",
    "tests/engine/match_test.cpp": '#include "engine/match.h"\n',
}

# What is put into the good tree, and the beginning and a part of what is said.
BAD = (
    ("src/platform/clock.cpp", '#include "engine/match.h"', ":1: src/platform/ may not include"),
    ("src/engine/a.cpp", '\n#include "templates/loader.h"', ":2: src/engine/ may not include"),
    ("src/engine/a.cpp", "#include <vector>", "may not include <vector>"),
    ("src/engine/a.cpp", "#include <immintrin.h>", "may not include <immintrin.h>"),
    ("src/engine/a.cpp", "int x = 2 * 0.5;", "no floating point"),
    ("src/engine/a.cpp", "/* one\ntwo */ double x;", ":2: src/engine/ is to have no floating"),
    ("src/engine/a.cpp", "int* p = new int;", "no allocation"),
    ("src/engine/a.cpp", "throw 1;", "no exceptions"),
    ("src/engine/a.cpp", 'std::printf("x");', "no input, output or threads"),
    ("src/engine/a.cpp", "#if defined(__AVX2__)", "no condition on an OS or CPU"),
    ("src/engine/kernels/k.cpp", "float x;", "src/engine/kernels/ is to have no floating point"),
    ("src/templates/a.cpp", '#include "engine/match.h"', "may not include src/engine/match.h"),
    ("src/templates/a.cpp", "float x;", "no floating point"),
    ("src/identify/a.cpp", "#ifdef _WIN32", "no condition on an OS or CPU"),
    ("src/identify/a.cpp", '#include "api/entry.h"', "may not include src/api/entry.h"),
    ("src/matcher/a.cpp", '#include "engine/match.h"', "may not include src/engine/match.h"),
    ("src/api/a.cpp", '#include "tool.cpp"', "may not include apps/tool.cpp"),
    ("src/api/a.cpp", '#include "gone.h"', 'no file of the tree is "gone.h"'),
    ("apps/a.cpp", '#include "matcher/matcher.h"', "may not include src/matcher/matcher.h"),
    ("tests/api/tool_test.cpp", '#include "matcher/matcher.h"', "tests/api/ may not include"),
    ("include/other.h", "#include <vector>", "include/ may not include <vector>"),
    ("src/loose.cpp", "", "no law"),
    ("apps/Records.h", "", "has the name of"),
    ("tests/engine/unknown_test.cpp", "", "nothing in the tree has the stem unknown"),
)


def judge(tree: dict[str, str]) -> list[str]:
    with tempfile.TemporaryDirectory() as folder:
        for path, text in tree.items():
            file = Path(folder, path)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text, encoding="utf-8")
        return list(breaches(Path(folder)))


class IncludeLawTest(unittest.TestCase):
    def test_good_tree_passes(self) -> None:
        self.assertEqual(judge(GOOD), [])

    def test_each_breach_is_named(self) -> None:
        for path, text, said in BAD:
            with self.subTest(path=path, text=text):
                found = judge(GOOD | {path: text})
                self.assertEqual(len(found), 1, found)
                self.assertIn(said, found[0])

    def test_rooms_that_include_each_other_are_named(self) -> None:
        arrows = {"a": {"b": "a/1"}, "b": {"c": "b/1"}, "c": {"a": "c/1", "d": "c/1"}, "d": {}}
        self.assertEqual(list(circles(arrows)), ["c/1: leads round: a -> b -> c -> a"])
        arrows["c"].pop("a")
        self.assertEqual(list(circles(arrows)), [])


if __name__ == "__main__":
    unittest.main()
