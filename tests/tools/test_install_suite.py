"""install_suite and uninstall_suite below a folder of their own: what is placed and how, what polkit is told of the
starter, and what is left in the end."""
import os
import stat
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
BUILD = sys.argv.pop()
APP = "Library/Application Support/Velmora/Tandem Service/TandemService.app/Contents"
STARTER = "usr/libexec/velmora-tandem/SelfRepairStarter"
POLICY = "usr/share/polkit-1/actions/com.velmora.tandem.selfrepair.policy"
INSTALLER_POLICY = "usr/share/polkit-1/actions/com.velmora.tandem.install.policy"
PLACES = {
    f"{APP}/Info.plist": 0o644,
    f"{APP}/Linux/TandemService": 0o755,
    f"{APP}/Linux/installer": 0o755,
    f"{APP}/PlugIns/Update.bundle/Contents/Info.plist": 0o644,
    f"{APP}/PlugIns/Update.bundle/Contents/Linux/WatchSelfUpdate": 0o755,
    STARTER: 0o755,
    POLICY: 0o644,
    INSTALLER_POLICY: 0o644,
    "usr/sbin/installer": 0o755,
    "usr/share/applications/com.velmora.Daemon.desktop": 0o644,
    "etc/xdg/autostart/com.velmora.Daemon.desktop": 0o644,
}


def install(root):
    # A mask of the caller's that would lock everybody else out, or let everybody in, changes nothing.
    return subprocess.run([os.path.join(ROOT, "tools", "install_suite"), BUILD, root], capture_output=True, text=True,
                          check=True, preexec_fn=lambda: os.umask(0o007)).stdout


def uninstall(root):
    return subprocess.run([os.path.join(ROOT, "tools", "uninstall_suite"), root], capture_output=True, text=True,
                          check=True).stdout


def files_below(root):
    return sorted(os.path.relpath(os.path.join(folder, name), root)
                  for folder, _, names in os.walk(root) for name in names)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def read(path):
    with open(path, "rb") as file:
        return file.read()


class InstallSuite(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = cls.folder.name
        os.chmod(cls.root, 0o755)
        cls.output = install(cls.root)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def status(self, place):
        return os.lstat(os.path.join(self.root, place))

    def test_places_everything_with_its_mode(self):
        for place, mode in PLACES.items():
            status = self.status(place)
            self.assertTrue(stat.S_ISREG(status.st_mode), place)
            self.assertEqual(oct(stat.S_IMODE(status.st_mode)), oct(mode), place)
            self.assertEqual(status.st_uid, os.geteuid(), place)

    def test_lets_nobody_else_change_a_folder_above_the_starter_and_the_tool(self):
        for place in (STARTER, f"{APP}/PlugIns/Update.bundle/Contents/Linux/WatchSelfUpdate"):
            folder = os.path.dirname(place)
            while folder:
                self.assertEqual(oct(stat.S_IMODE(self.status(folder).st_mode)), oct(0o755), folder)
                folder = os.path.dirname(folder)

    def test_says_what_it_placed(self):
        self.assertIn(f"placed {self.root}/{STARTER}\n", self.output)
        self.assertIn(f"placed {self.root}/{POLICY}\n", self.output)

    def test_starter_knows_the_template_where_it_is_installed(self):
        with open(os.path.join(self.root, STARTER), "rb") as file:
            self.assertIn(f"/{APP}/PlugIns/Update.bundle/Contents/Linux/WatchSelfUpdate\0".encode(), file.read())

    def test_platform_asks_for_the_starter_where_it_is_installed(self):
        with open(os.path.join(self.root, APP, "Linux", "libTandemPlatform.so"), "rb") as file:
            self.assertTrue(f"/{STARTER}\0".encode() in file.read())  # a failure need not print a library


class InstallAgain(unittest.TestCase):
    """Each with a folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name
        self.installer = os.path.join(self.root, "usr/sbin/installer")

    def test_keeps_another_installer(self):
        write(self.installer, "another one")
        for _ in range(2):
            self.assertIn(f"kept   {self.installer}\n", install(self.root))
            self.assertEqual(read(self.installer), b"another one")
            self.assertFalse(os.path.exists(os.path.join(self.root, INSTALLER_POLICY)))  # it is not spoken for
        self.assertIn(f"kept    {self.installer}\n", uninstall(self.root))
        self.assertEqual(files_below(self.root), ["usr/sbin/installer"])

    def test_replaces_the_installer_of_an_earlier_install(self):
        install(self.root)
        newest = read(self.installer)
        write(self.installer, "an earlier one, which worked in .velmora-install too")
        self.assertIn(f"placed {self.installer}\n", install(self.root))
        self.assertTrue(read(self.installer) == newest)  # a failure need not print a program

    def test_warns_of_a_folder_that_others_can_change(self):
        def warnings():
            return subprocess.run([os.path.join(ROOT, "tools", "install_suite"), BUILD, self.root], check=True,
                                  capture_output=True, text=True).stderr
        self.assertEqual(warnings(), "")
        folder = os.path.join(self.root, "Library/Application Support")
        for mode, is_open in ((0o775, True), (0o757, True), (0o1777, False)):
            os.chmod(folder, mode)
            self.assertEqual(warnings(), f"warning: others than root can change {folder}: ordinary users cannot update "
                             "the suite\n" if is_open else "", oct(mode))

    def test_uninstalls_everything_that_it_placed(self):
        install(self.root)
        output = uninstall(self.root)
        for place in (STARTER.rsplit("/", 1)[0], POLICY, INSTALLER_POLICY, "usr/sbin/installer", APP.rsplit("/", 1)[0]):
            self.assertIn(f"removed {self.root}/{place}\n", output)
        self.assertEqual(files_below(self.root), [])
        self.assertFalse(os.path.exists(os.path.join(self.root, "Library/Application Support/Velmora")))
        self.assertEqual(uninstall(self.root), "")

    def test_uninstalling_leaves_what_others_placed(self):
        install(self.root)
        others = ["Library/Application Support/Velmora/Tandem Service/Products/10-sketch.plist",
                  "usr/share/applications/other.desktop", "usr/share/polkit-1/actions/other.policy"]
        for place in others:
            write(os.path.join(self.root, place), "theirs")
        uninstall(self.root)
        self.assertEqual(files_below(self.root), sorted(others))


class PolicyFiles(unittest.TestCase):
    """What polkit ignores without a word when it is wrong."""

    @classmethod
    def setUpClass(cls):
        cls.actions = {}
        for folder, place, program in (("SelfRepairStarter", POLICY, STARTER),
                                       ("TandemService/package", INSTALLER_POLICY, "usr/sbin/installer")):
            with open(os.path.join(ROOT, folder, os.path.basename(place)), encoding="utf-8") as file:
                cls.actions[program] = ElementTree.fromstring(file.read().split("?>", 1)[1])

    def test_have_the_structure_that_polkit_reads(self):
        for config in self.actions.values():
            self.assertEqual(config.tag, "policyconfig")
            self.assertEqual([child.tag for child in config], ["vendor", "action"])
            action = config.find("action")
            self.assertEqual([child.tag for child in action], ["description", "message", "defaults", "annotate"])
            self.assertEqual([child.tag for child in action.find("defaults")],
                             ["allow_any", "allow_inactive", "allow_active"])

    def test_name_their_actions_and_ask_for_an_administrator_each_time(self):
        self.assertEqual([config.find("action").get("id") for config in self.actions.values()],
                         ["com.velmora.tandem.selfrepair", "com.velmora.tandem.install"])
        for config in self.actions.values():
            self.assertEqual({child.text for child in config.find("action/defaults")}, {"auth_admin"})

    def test_are_for_one_installed_program_each(self):
        for program, config in self.actions.items():
            annotations = config.findall("action/annotate")
            self.assertEqual([one.get("key") for one in annotations], ["org.freedesktop.policykit.exec.path"])
            self.assertEqual(annotations[0].text, "/" + program)

    def test_have_messages_that_name_the_product_and_no_file(self):
        for config in self.actions.values():
            message = config.find("action/message").text
            self.assertIn("Velmora", message)
            self.assertIn("update", message)
            self.assertNotIn("/", message)
            self.assertNotIn("SelfRepair", message)


if __name__ == "__main__":
    unittest.main()
