"""The installed suite on a scratch machine, and what the tests on it share.

A test program there needs root and name spaces of its own, and is skipped (status 77) where one of these, or a
program, is not to be had.
"""
import os
import pwd
import subprocess
import sys
import tempfile
import unittest

import scratch_machine
from agents import TextAgent, WaitingProgram
from scratch_machine import USERS, ScratchMachine, wait_until

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
SKIPPED = 77
WHOLE_LIMIT_SECONDS = 100
NEEDED = ("/usr/bin/unshare", "/usr/bin/setpriv", "/usr/bin/mount", "/usr/bin/dbus-daemon",
          "/usr/share/dbus-1/system.conf", "/usr/bin/pkexec", "/usr/bin/pkcheck", "/usr/bin/pkaction",
          "/usr/bin/pkttyagent", "/usr/lib/polkit-1/polkitd")

ACTION = "com.velmora.tandem.selfrepair"
MESSAGE = ("Your Velmora products are about to be updated. Authentication is required to prepare the update helper.")
INSTALLER_MESSAGE = ("An update of a Velmora product is ready. Authentication is required to install it for all users "
                     "of this machine.")
APP = "/Library/Application Support/Velmora/Tandem Service/TandemService.app/Contents"
BUNDLE = APP + "/PlugIns/Update.bundle"
STARTER = "/usr/libexec/velmora-tandem/SelfRepairStarter"
TOOL = ".cache/VelmoraWatchSelfUpdate/WatchSelfUpdate"
CANCELED, DENIED, NOT_EXECUTED = "status -60006\n", "status -60005\n", "status -60031\n"
VARIABLES = {"LD_LIBRARY_PATH": APP + "/Linux", "QT_QPA_PLATFORM": "offscreen",
             "LSAN_OPTIONS": "suppressions=/etc/leaks.supp:print_suppressions=0"}
REPAIR = ["repair", BUNDLE]
HELP_TOOL = ["help-tool"]


class OnTheMachine(unittest.TestCase):
    machine = None
    build = None
    probe_program = None

    def setUp(self):
        self.machine.make_homes()

    def probe(self, user, words, **variables):
        return self.machine.run(user, [self.probe_program] + words, variables={**VARIABLES, **variables})

    def waiting_probe(self, words):
        program = WaitingProgram(self.machine, "asked", [self.probe_program] + words, VARIABLES)
        self.addCleanup(program.process.kill)
        return program

    def asked_probe(self, words):
        """A probe that waits to begin, and the agent that will be asked for it."""
        program = self.waiting_probe(words)
        agent = TextAgent(self.machine, "asked", program.process.pid)
        self.addCleanup(agent.end)
        return program, agent

    def tool_of(self, user):
        return self.machine.path(f"/home/{user}/{TOOL}")

    def expect_repaired(self, user):
        info = os.lstat(self.tool_of(user))
        template = os.lstat(self.machine.path(BUNDLE + "/Contents/Linux/WatchSelfUpdate"))
        self.assertEqual((info.st_uid, info.st_gid, oct(info.st_mode)), (0, 0, oct(0o104555)))
        self.assertEqual((info.st_size, int(info.st_mtime)), (template.st_size, int(template.st_mtime)))
        self.assertEqual(os.listdir(os.path.dirname(self.tool_of(user))), ["WatchSelfUpdate"])

    def expect_not_repaired(self, user):
        info = os.lstat(self.tool_of(user))
        self.assertEqual((info.st_uid, oct(info.st_mode)), (USERS[user], oct(0o100755)))
        self.assertEqual(os.listdir(os.path.dirname(self.tool_of(user))), ["WatchSelfUpdate"])


def reason_to_skip():
    """Why the machine cannot be made here; empty when it can."""
    if os.geteuid() != 0:
        return "needs root, to have users of its own"
    for program in NEEDED:
        if not os.path.exists(program):
            return f"needs {program}"
    for user in ("messagebus", "polkitd"):
        try:
            pwd.getpwnam(user)
        except KeyError:
            return f"needs the user {user}"
    with open("/proc/self/status", encoding="utf-8") as file:
        gains_none = "NoNewPrivs:\t1\n" in file.read()
    if gains_none or os.statvfs("/usr/bin/pkexec").f_flag & os.ST_NOSUID:
        return "needs programs to be able to gain rights (set-user-id)"
    mounts = ("mount -t tmpfs try /mnt && mkdir /mnt/bin && mount --bind /usr/bin /mnt/bin && "
              "mount -o remount,bind,ro /mnt/bin")
    attempt = subprocess.run(own_name_spaces(["/bin/sh", "-c", mounts]), capture_output=True, text=True, check=False,
                             timeout=scratch_machine.LIMIT_SECONDS)
    return "" if attempt.returncode == 0 else "needs name spaces and mounts of its own: " + attempt.stderr.strip()


def own_name_spaces(words):
    # Whatever ends this program, the name spaces and everything in them end with it.
    return ["/usr/bin/setpriv", "--pdeathsig", "KILL", "/usr/bin/unshare", "--mount", "--pid", "--fork", "--kill-child",
            "--mount-proc", "--"] + words


def run_apart(script, build):
    reason = reason_to_skip()
    if reason:
        print("skipped:", reason)
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        words = [sys.executable, os.path.abspath(script), "--on", folder, build]
        return subprocess.run(own_name_spaces(words), check=False, timeout=WHOLE_LIMIT_SECONDS).returncode


def prepare(build, folder):
    """Makes the machine, with polkit's daemon running before the suite is installed."""
    os.umask(0o022)
    machine = ScratchMachine(folder)
    OnTheMachine.machine = machine
    OnTheMachine.build = build
    OnTheMachine.probe_program = machine.place_program(os.path.join(build, "tests", "polkit", "privileged_probe"))
    with open(os.path.join(ROOT, "tests", "leaks.supp"), encoding="utf-8") as file:
        machine.write("/etc/leaks.supp", file.read())
    machine.start_bus()

    def knows_action():
        return machine.run("asked", ["/usr/bin/pkaction", "--action-id", ACTION])[0] == 0
    if knows_action():
        raise RuntimeError("the action is known before it was installed")
    # A mask of the caller's that would lock everybody else out changes nothing.
    subprocess.run([os.path.join(ROOT, "tools", "install_suite"), build, machine.root], check=True,
                   stdout=subprocess.DEVNULL, preexec_fn=lambda: os.umask(0o077))
    wait_until(knows_action, "polkit's daemon did not take the action")


def main(script):
    """Runs a test program, "SCRIPT BUILD-FOLDER", on a machine of its own."""
    build = os.path.abspath(sys.argv.pop())
    if sys.argv[1:2] != ["--on"]:
        sys.exit(run_apart(script, build))
    prepare(build, sys.argv[2])
    del sys.argv[1:3]
    unittest.main(verbosity=2)
