"""check_words on a repository made for it."""
import os
import subprocess
import sys
import tempfile
import unittest

CHECK = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "check_words")


def check(files):
    with tempfile.TemporaryDirectory() as root:
        subprocess.run(["git", "init", "-q", root], check=True)
        for path, text in files.items():
            with open(os.path.join(root, path), "w", encoding="utf-8") as file:
                file.write(text)
        subprocess.run(["git", "-C", root, "add", "-A"], check=True)
        done = subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True)
        return done.returncode, done.stdout.splitlines()


class CheckWords(unittest.TestCase):
    def test_passes_clean_files(self):
        clean = {"a.cpp": "x" * 110 + "\n", "b.md": "y" * 200 + "\n\ttab\n", "c.h": "int mastodons; // ü" + "ü" * 91}
        self.assertEqual(check(clean), (0, []))

    def test_reports_long_lines_and_tabs_in_cpp_only(self):
        self.assertEqual(check({"a.cpp": "\n" + "x" * 111}), (1, ["a.cpp:2: 111 columns"]))
        self.assertEqual(check({"a.h": "\tint a;\n"}), (1, ["a.h:1: tab"]))

    def test_reports_each_marker_of_unfinished_work(self):
        for first, second in (("TO", "DO"), ("FIX", "ME"), ("XX", "X"), ("HA", "CK")):
            self.assertEqual(check({"note.md": f"a {first}{second}: later\n"}), (1, ["note.md:1: marker of unfinished work"]))


if __name__ == "__main__":
    unittest.main()
