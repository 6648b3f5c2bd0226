"""check_layers on trees made for it: what is allowed passes, and each kind of breach is reported by its line."""
import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
CHECK = os.path.join(ROOT, "tools", "check_layers")
TABLE = os.path.join(ROOT, "tools", "layers.txt")

GOOD_TREE = {
    "Platform/Support/Types.h": "#include <cstdint>\n",
    "Platform/Lumen/Reader.cpp": '#include "Platform/Support/Types.h"\n#include <expat.h>\n#include <QString>\n',
    "Platform/NAMES.md": "| `Types.h` |\n",
    "Cocoa2CarbonLib/Tool.h": '#include "Platform/Support/Types.h"\n',
    "Update/MsgProvider.h": "#include <cstdint>\n",
    "Update/helper/Helper.h": '#include "Cocoa2CarbonLib/Tool.h"\n',
    "Update/collect/Collect.h": '#include "Platform/Support/Types.h"\n',
    "Update/descriptor/Model.h": '#include "Update/collect/Collect.h"\n',
    "Update/ui/Window.h": '#include "Update/descriptor/Model.h"\n#include "Beside.h"\n',
    "Update/ui/Beside.h": "#pragma once\n",
    "Update/UpdateInter.h": '#include "Update/ui/Window.h"\n#include "Update/MsgProvider.h"\n',
    "TandemService/Host.cpp": '#include "Update/MsgProvider.h"\n#include <QApplication>\n#include <archive.h>\n',
    "WatchSelfUpdate/Main.cpp": '#include "Repair.h"\n#include <sys/stat.h>\n#include <string>\n',
    "WatchSelfUpdate/Repair.h": '#include "WatchSelfUpdate/Main.h"\n',
    "SelfRepairStarter/Main.cpp": '#include "WatchSelfUpdate/Hardening.h"\n#include <linux/magic.h>\n',
    "tests/Update/ModelTest.cpp": '#include "Update/descriptor/Model.h"\n#include <QTest>\n#include <curl/curl.h>\n',
}


def check(changes):
    """Runs the check on the good tree with `changes`. Returns its exit status and its output's lines."""
    with tempfile.TemporaryDirectory() as root:
        for path, text in {**GOOD_TREE, **changes}.items():
            full = os.path.join(root, path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w", encoding="utf-8") as file:
                file.write(text)
        done = subprocess.run([sys.executable, CHECK, root, TABLE], capture_output=True, text=True)
        return done.returncode, done.stdout.splitlines()


class CheckLayers(unittest.TestCase):
    def expect_breach(self, path, text, *parts):
        """The one file with `text` gives one breach, in its last line, that names all of `parts`."""
        status, lines = check({path: text})
        self.assertEqual(status, 1, lines)
        self.assertEqual(len(lines), 1, lines)
        self.assertTrue(lines[0].startswith(f"{path}:{len(text.splitlines())}: "), lines)
        for part in parts:
            self.assertIn(part, lines[0])

    def test_passes_a_tree_that_follows_the_table(self):
        status, lines = check({})
        self.assertEqual(status, 0, lines)

    def test_reports_an_include_that_runs_up(self):
        for path, header in (
                ("Platform/Carbon/Bad.cpp", "Cocoa2CarbonLib/Tool.h"),
                ("Cocoa2CarbonLib/Bad.cpp", "Update/helper/Helper.h"),
                ("Update/collect/Bad.cpp", "Update/descriptor/Model.h"),
                ("Update/descriptor/Bad.cpp", "Update/ui/Window.h"),
                ("Update/ui/Bad.cpp", "Update/UpdateInter.h"),
                ("Update/UpdateInter.cpp", "TandemService/Host.h")):
            self.expect_breach(path, f'#pragma once\n#include "{header}"\n', "may not include", header)

    def test_reports_an_include_that_runs_up_whatever_its_spelling(self):
        self.expect_breach("Update/collect/Bad.cpp", '#include "../ui/Window.h"\n', "Update/ui/Window.h")
        self.expect_breach("Update/collect/Bad.cpp", "  #  include <Update/ui/Window.h>\n", "Update/ui/Window.h")

    def test_reports_an_include_across(self):
        self.expect_breach("Update/download/Bad.cpp", '#include "Update/collect/Collect.h"\n', "may not include")

    def test_reports_third_party_headers_above_the_platform(self):
        for header in ("QString", "expat.h", "curl/curl.h", "glib.h", "gio/gio.h", "archive.h", "archive_entry.h",
                       "polkit/polkit.h", "QtCore/QString"):
            self.expect_breach("Update/ui/Bad.cpp", f"#include <{header}>\n", "third-party", header)
            self.expect_breach("Cocoa2CarbonLib/Bad.cpp", f"#include <{header}>\n", "third-party", header)

    def test_reports_the_host_including_more_of_the_plug_in(self):
        self.expect_breach("TandemService/Bad.cpp", '#include "Update/UpdateInter.h"\n', "may not include")

    def test_reports_the_helper_tool_including_ours_or_others(self):
        for include in ('"Platform/Support/Types.h"', '"Update/helper/Helper.h"', "<QString>", "<boost/any.hpp>"):
            self.expect_breach("WatchSelfUpdate/Bad.cpp", f"#include {include}\n", "WatchSelfUpdate")
            self.expect_breach("SelfRepairStarter/Bad.cpp", f"#include {include}\n", "SelfRepairStarter")

    def test_reports_a_platform_header_in_use_that_is_not_listed(self):
        status, lines = check({
            "Platform/Carbon/New.h": "#pragma once\n",
            "Update/helper/User.cpp": '#include "Platform/Carbon/New.h"\n'})
        self.assertEqual(status, 1)
        self.assertEqual(lines, ["Platform/Carbon/New.h:1: missing from Platform/NAMES.md"])

    def test_reports_a_third_party_header_in_a_public_platform_header(self):
        user = {"Update/helper/User.cpp": '#include "Platform/Support/Types.h"\n'}
        direct = {"Platform/Support/Types.h": "#pragma once\n#include <QString>\n"}
        through = {"Platform/Support/Types.h": '#include "Platform/Support/Deep.h"\n',
                   "Platform/Support/Deep.h": "#include <cstdint>\n\n#include <curl/curl.h>\n"}
        what = "public header of the platform brings third-party header"
        self.assertEqual(check(user | direct), (1, [f"Platform/Support/Types.h:2: {what} <QString> along"]))
        self.assertEqual(check(user | through), (1, [f"Platform/Support/Deep.h:3: {what} <curl/curl.h> along"]))

    def test_passes_a_third_party_header_in_a_private_platform_header(self):
        status, lines = check({
            "Platform/Lumen/ReaderInternal.h": "#include <QString>\n",
            "Platform/Lumen/Reader.cpp": '#include "Platform/Lumen/ReaderInternal.h"\n',
            "tests/Platform/ReaderTest.cpp": '#include "Platform/Lumen/ReaderInternal.h"\n'})
        self.assertEqual(status, 0, lines)

    def test_reports_a_tree_without_any_include_as_a_failure(self):
        with tempfile.TemporaryDirectory() as root:
            done = subprocess.run([sys.executable, CHECK, root, TABLE], capture_output=True)
            self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    unittest.main()
