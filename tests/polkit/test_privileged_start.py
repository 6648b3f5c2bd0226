"""The start with administrator rights on a real system bus, with polkit's real daemon, pkexec and agents.

usage: test_privileged_start.py BUILD-FOLDER

An installed suite on a scratch machine, used by ordinary users. Needs root and its own name spaces, and is skipped
(status 77) where one of these, or a program, is not to be had.
"""
import os
import pwd
import shutil
import stat
import subprocess
import sys
import tarfile
import tempfile
import unittest

import scratch_machine
from agents import DismissingAgent, TextAgent, WaitingProgram
from scratch_machine import PASSWORD, USERS, ScratchMachine, processes_of, wait_until

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.join(HERE, "..", "..")
SKIPPED = 77
WHOLE_LIMIT_SECONDS = 100
NEEDED = ("/usr/bin/unshare", "/usr/bin/setpriv", "/usr/bin/mount", "/usr/bin/dbus-daemon",
          "/usr/share/dbus-1/system.conf", "/usr/bin/pkexec", "/usr/bin/pkcheck", "/usr/bin/pkaction",
          "/usr/bin/pkttyagent", "/usr/lib/polkit-1/polkitd")

ACTION = "com.velmora.tandem.selfrepair"
MESSAGE = ("Your Velmora products are about to be updated. Authentication is required to prepare the update helper.")
APP = "/Library/Application Support/Velmora/Tandem Service/TandemService.app/Contents"
BUNDLE = APP + "/PlugIns/Update.bundle"
STARTER = "/usr/libexec/velmora-tandem/SelfRepairStarter"
TOOL = ".cache/VelmoraWatchSelfUpdate/WatchSelfUpdate"
CANCELED, DENIED, NOT_EXECUTED = "status -60006\n", "status -60005\n", "status -60031\n"

MACHINE = None
PROBE = DISMISSER = None


def setUpModule():
    global PROBE, DISMISSER
    PROBE = MACHINE.place_program(os.path.join(BUILD, "tests", "polkit", "privileged_probe"))
    DISMISSER = MACHINE.place_program(os.path.join(BUILD, "tests", "polkit", "dismissing_agent"))
    with open(os.path.join(ROOT, "tests", "leaks.supp"), encoding="utf-8") as file:
        MACHINE.write("/etc/leaks.supp", file.read())
    MACHINE.start_bus()
    # polkit's daemon runs before the suite is installed.
    if MACHINE.run("asked", ["/usr/bin/pkaction", "--action-id", ACTION])[0] == 0:
        raise RuntimeError("the action is known before it was installed")
    # A mask of the caller's that would lock everybody else out changes nothing.
    subprocess.run([os.path.join(ROOT, "tools", "install_suite"), BUILD, MACHINE.root], check=True,
                   stdout=subprocess.DEVNULL, preexec_fn=lambda: os.umask(0o077))


VARIABLES = {"LD_LIBRARY_PATH": APP + "/Linux", "QT_QPA_PLATFORM": "offscreen",
             "LSAN_OPTIONS": "suppressions=/etc/leaks.supp:print_suppressions=0"}
REPAIR = ["repair", BUNDLE]
HELP_TOOL = ["help-tool"]


class OnTheMachine(unittest.TestCase):
    def setUp(self):
        MACHINE.make_homes()

    def probe(self, user, words, **variables):
        return MACHINE.run(user, [PROBE] + words, variables={**VARIABLES, **variables})

    def waiting_probe(self, words):
        program = WaitingProgram(MACHINE, "asked", [PROBE] + words, VARIABLES)
        self.addCleanup(program.process.kill)
        return program

    def asked_probe(self, words):
        """A probe that waits to begin, and the agent that will be asked for it."""
        program = self.waiting_probe(words)
        agent = TextAgent(MACHINE, "asked", program.process.pid)
        self.addCleanup(agent.end)
        return program, agent

    def tool_of(self, user):
        return MACHINE.path(f"/home/{user}/{TOOL}")

    def expect_repaired(self, user):
        info = os.lstat(self.tool_of(user))
        template = os.lstat(MACHINE.path(BUNDLE + "/Contents/Linux/WatchSelfUpdate"))
        self.assertEqual((info.st_uid, info.st_gid, oct(info.st_mode)), (0, 0, oct(0o104555)))
        self.assertEqual((info.st_size, int(info.st_mtime)), (template.st_size, int(template.st_mtime)))
        self.assertEqual(os.listdir(os.path.dirname(self.tool_of(user))), ["WatchSelfUpdate"])

    def expect_not_repaired(self, user):
        info = os.lstat(self.tool_of(user))
        self.assertEqual((info.st_uid, oct(info.st_mode)), (USERS[user], oct(0o100755)))
        self.assertEqual(os.listdir(os.path.dirname(self.tool_of(user))), ["WatchSelfUpdate"])


class InstalledAction(OnTheMachine):
    def test_is_known_to_a_daemon_that_ran_before(self):
        def describes():
            status, text, _ = MACHINE.run("asked", ["/usr/bin/pkaction", "--verbose", "--action-id", ACTION])
            self.text = text
            return status == 0
        wait_until(describes, "polkit did not take the action")
        lines = [line.split(": ", 1) for line in self.text.splitlines() if ": " in line]
        facts = {name.strip(): value.strip() for name, value in lines}
        self.assertEqual(facts["message"], MESSAGE)
        self.assertEqual(facts["vendor"], "Velmora")
        self.assertEqual({facts["implicit any"], facts["implicit inactive"], facts["implicit active"]}, {"auth_admin"})
        self.assertEqual(facts["annotation"], "org.freedesktop.policykit.exec.path -> " + STARTER)


class WithoutAQuestion(OnTheMachine):
    def test_an_allowed_user_gets_the_tool_repaired(self):
        self.assertEqual(self.probe("allowed", REPAIR), (0, "status 0\n", ""))
        self.expect_repaired("allowed")
        # Once more, with a tool that looks OK and is root's.
        self.assertEqual(self.probe("allowed", REPAIR), (0, "status 0\n", ""))
        self.expect_repaired("allowed")

    def test_a_refused_user_does_not(self):
        self.assertEqual(self.probe("refused", REPAIR)[:2], (0, DENIED))
        self.expect_not_repaired("refused")

    def test_nobody_is_asked_where_there_is_no_agent(self):
        status, output, errors = self.probe("asked", REPAIR)
        self.assertEqual((status, output), (0, DENIED))
        self.assertIn("No authentication agent found.", errors)
        self.expect_not_repaired("asked")

    def test_the_help_tool_says_as_whom_it_runs_or_gives_its_status(self):
        self.assertEqual(self.probe("allowed", HELP_TOOL), (0, "root\n", ""))
        for user in ("asked", "refused"):
            self.assertEqual(self.probe(user, HELP_TOOL)[:2], (1, "Status: -60005\n"), user)

    def test_a_variable_that_pkexec_does_not_like_changes_nothing(self):
        for name, value in (("SHELL", "/opt/own/shell"), ("DISPLAY", "/tmp/display:0"), ("XAUTHORITY", "/tmp/a..b"),
                            ("LANGUAGE", "de/en"), ("TERM", "own/terminal")):
            self.assertEqual(self.probe("allowed", REPAIR, **{name: value}), (0, "status 0\n", ""), name)
            self.assertEqual(self.probe("allowed", HELP_TOOL, **{name: value}), (0, "root\n", ""), name)

    def test_a_tool_that_differs_is_refused(self):
        place = "/home/allowed/WatchSelfUpdate"
        shutil.copy("/usr/bin/id", MACHINE.path(place))
        os.chown(MACHINE.path(place), USERS["allowed"], USERS["allowed"])
        self.assertEqual(self.probe("allowed", ["execute", place, "--self-repair"]),
                         (0, NOT_EXECUTED, "SelfRepairStarter: the tool differs from the installed one\n"))
        info = os.lstat(MACHINE.path(place))
        self.assertEqual((info.st_uid, oct(info.st_mode)), (USERS["allowed"], oct(0o100755)))

    def test_another_users_tool_is_refused(self):
        self.probe("refused", REPAIR)
        # Not as a child of the first process, which pkexec takes for an orphan.
        status, _, errors = MACHINE.run("allowed", ["/bin/sh", "-c", '/usr/bin/pkexec "$@"; exit $?', "sh", STARTER,
                                                    f"/home/refused/{TOOL}", "--self-repair"])
        self.assertEqual((status, errors),
                         (112, "SelfRepairStarter: the tool's folder does not belong to the caller\n"))
        self.expect_not_repaired("refused")

    def test_the_repaired_tool_starts_for_its_user(self):
        self.probe("allowed", REPAIR)
        self.assertEqual(MACHINE.run("allowed", [f"/home/allowed/{TOOL}"])[0], 66)  # there is no marker beside it
        status, _, errors = MACHINE.run("allowed", [f"/home/allowed/{TOOL}", "--other"])
        self.assertEqual((status, errors), (64, "usage: WatchSelfUpdate [--self-repair]\n"))

    def test_other_tools_have_a_pipe_no_input_and_none_of_the_users_variables(self):
        self.assertEqual(self.probe("allowed", ["execute", "/usr/bin/readlink", "/proc/self/fd/0"])[1],
                         "/dev/null\nstatus 0\n")
        self.assertEqual(self.probe("allowed", ["execute", "/usr/bin/seq", "100000"])[1],
                         "".join(f"{number}\n" for number in range(1, 100001)) + "status 0\n")
        names = [line.split("=")[0] for line in self.probe(
            "allowed", ["execute", "/usr/bin/env"], OWN="1")[1].splitlines()[:-1]]
        self.assertEqual(sorted(names), ["HOME", "LOGNAME", "PATH", "PKEXEC_UID", "USER"])
        self.assertEqual(self.probe("allowed", ["execute", "/usr/bin/false"])[1], "status 0\n")

    def test_an_opened_package_is_installed_where_root_alone_may_change_things(self):
        contents = MACHINE.make_folder("/tmp/X.pkg/Contents")
        with tarfile.open(contents + "/Archive.pax.gz", "w:gz", format=tarfile.PAX_FORMAT) as archive:
            archive.add(os.path.join(ROOT, "README.md"), "Manual/read me")
        target = MACHINE.make_folder("/opt/suite")
        for user, installed in (("refused", False), ("allowed", True)):
            words = ["open", "/tmp/X.pkg", "/opt/suite"]
            self.assertEqual(self.probe(user, words, SHELL="/opt/own/shell")[:2], (0, "status 0\n"), user)
            self.assertEqual(os.path.exists(target + "/Manual/read me"), installed, user)
        self.assertEqual(os.lstat(target + "/Manual/read me").st_uid, 0)

    def test_without_the_starter_pkexec_starts_the_tool_itself(self):
        os.rename(MACHINE.path(STARTER), MACHINE.path(STARTER + ".away"))
        self.addCleanup(os.rename, MACHINE.path(STARTER + ".away"), MACHINE.path(STARTER))
        self.assertEqual(self.probe("allowed", REPAIR), (0, "status 0\n", ""))
        self.expect_repaired("allowed")


class WithAQuestion(OnTheMachine):
    def test_shows_the_actions_message_and_takes_the_password(self):
        program, agent = self.asked_probe(REPAIR)
        program.begin()
        agent.wait_for_question()
        self.assertIn(f"AUTHENTICATING FOR {ACTION} ", agent.text)
        self.assertIn(MESSAGE + "\r\n", agent.text)
        self.assertIn("Authenticating as: Keeper (keeper)\r\n", agent.text)
        self.expect_not_repaired("asked")
        agent.answer(PASSWORD)
        self.assertEqual(program.finish(), (0, "status 0\n", ""))
        self.expect_repaired("asked")

    def test_the_help_tool_runs_once_the_password_was_given(self):
        program, agent = self.asked_probe(HELP_TOOL)
        program.begin()
        agent.wait_for_question()
        self.assertIn("/usr/bin/id", agent.text)
        agent.answer(PASSWORD)
        self.assertEqual(program.finish()[:2], (0, "root\n"))

    def test_a_wrong_password_is_a_refusal(self):
        program, agent = self.asked_probe(REPAIR)
        program.begin()
        agent.wait_for_question()
        agent.answer("wrong")
        self.assertEqual(program.finish()[:2], (0, DENIED))
        self.expect_not_repaired("asked")

    def test_a_dismissed_question_is_a_cancellation(self):
        for words, action, expected in ((REPAIR, ACTION, CANCELED), (
                ["execute", "/usr/bin/id"], "org.freedesktop.policykit.exec", CANCELED), (
                HELP_TOOL, "org.freedesktop.policykit.exec", "Status: -60006\n")):
            program = self.waiting_probe(words)
            agent = DismissingAgent(MACHINE, DISMISSER, "asked", program.process.pid)
            program.begin()
            output = program.finish()[1]
            questions = agent.end().splitlines()
            self.assertEqual((output, questions[0]), (expected, action))
            if action == ACTION:
                self.assertEqual(questions, [ACTION, MESSAGE])
                self.expect_not_repaired("asked")

    def ended_meanwhile(self, end):
        """What a repair gives when `end` is called while its question is open."""
        program, agent = self.asked_probe(REPAIR)
        program.begin()
        agent.wait_for_question()
        end(program, agent)
        result = program.finish()
        wait_until(lambda: not processes_of("/usr/bin/pkexec"), "pkexec stayed")
        self.expect_not_repaired("asked")
        return result

    def test_an_agent_that_ends_is_a_refusal(self):
        self.assertEqual(self.ended_meanwhile(lambda _, agent: agent.agent.kill())[:2], (0, DENIED))

    def test_a_daemon_that_ends_is_a_refusal(self):
        def end_daemon(_program, _agent):
            for process in processes_of("/usr/lib/polkit-1/polkitd"):
                os.kill(process, 15)
        self.assertEqual(self.ended_meanwhile(end_daemon)[:2], (0, DENIED))

    def test_the_question_ends_with_the_program_that_asks(self):
        self.assertEqual(self.ended_meanwhile(lambda program, _: program.process.kill())[0], -9)


class WholeUpdate(OnTheMachine):
    """The installed service updates a suite that root alone may change, for an ordinary user."""

    @classmethod
    def setUpClass(cls):
        cls.server, cls.site = scratch_machine.serve(MACHINE.make_folder("/stage/www"))
        os.symlink("..", MACHINE.path("/stage/root"))
        for number in USERS.values():
            MACHINE.make_folder(f"/run/user/{number}", 0o700, number)

    @classmethod
    def tearDownClass(cls):
        cls.server.shutdown()

    def setUp(self):
        super().setUp()
        for place in ("/Applications", "/Library/Frameworks", "/stage/www/downloads", "/stage/made"):
            shutil.rmtree(MACHINE.path(place), ignore_errors=True)
        # The demo's suite; the places that are registered are the machine's.
        subprocess.run(["bash", "-euc", '. "$0/demo/suite.sh"; stage_suite "$1" "$2" "$3"\n'
                        'sed -i "s|$1/root/|/|" "$support/Products/"*.plist\n'
                        'chown -R 0:0 "$1/root/Applications" "$1/root/Library"\n'
                        'chmod -R a+rX,go-w "$1/root/Applications" "$1/root/Library"',
                        ROOT, MACHINE.path("/stage"), BUILD, self.site], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "LC_ALL": "C.UTF-8"})

    def versions(self):
        text = ""
        for product in ("Velmora Sketch", "Velmora Table"):
            with open(MACHINE.path(f"/Applications/{product}.app/Contents/Info.plist"), encoding="utf-8") as file:
                text += file.read().split("<key>CFBundleVersion</key><string>")[1].split("<")[0] + " "
        return text.strip()

    def service_of(self, user):
        return [APP + "/Linux/TandemService", "--update", "--unattended"], {
            **VARIABLES, "XDG_RUNTIME_DIR": f"/run/user/{USERS[user]}"}

    def end_at_question(self, answered):
        """Tells a service to end while a question is open, after so many were answered; gives what was asked."""
        program = WaitingProgram(MACHINE, "asked", *self.service_of("asked"))
        self.addCleanup(program.process.kill)
        agent = TextAgent(MACHINE, "asked", program.process.pid)
        self.addCleanup(agent.end)
        program.begin()
        agent.wait_for_question()
        for _ in range(answered):
            agent.answer(PASSWORD)
            agent.wait_for_question()
        program.process.terminate()
        self.assertEqual(program.finish()[0], 3)
        wait_until(lambda: not processes_of("/usr/bin/pkexec"), "pkexec stayed")
        self.assertEqual(self.versions(), "2.0.4.0 5.3.0.12")
        return agent.text

    def test_a_service_that_is_told_to_end_withdraws_its_question(self):
        self.assertIn(MESSAGE, self.end_at_question(answered=0))
        self.expect_not_repaired("asked")

    def test_a_service_that_is_told_to_end_withdraws_its_installers_question(self):
        self.assertIn("/usr/sbin/installer", self.end_at_question(answered=1))
        self.expect_repaired("asked")

    def test_updates_what_root_alone_may_change(self):
        words, variables = self.service_of("allowed")
        status, output, errors = MACHINE.run("allowed", words, variables={**variables, "SHELL": "/opt/own/shell"})
        self.assertEqual(status, 0, output + errors)
        self.assertEqual(self.versions(), "2.1.0.0 5.3.1.0")
        self.expect_repaired("allowed")
        info = os.lstat(MACHINE.path("/Applications/Velmora Sketch.app/Contents/Resources/about.txt"))
        self.assertEqual((info.st_uid, stat.S_IMODE(info.st_mode)), (0, 0o644))


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


def run_apart():
    reason = reason_to_skip()
    if reason:
        print("skipped:", reason)
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        words = [sys.executable, os.path.abspath(__file__), "--on", folder, BUILD]
        return subprocess.run(own_name_spaces(words), check=False, timeout=WHOLE_LIMIT_SECONDS).returncode


if __name__ == "__main__":
    BUILD = os.path.abspath(sys.argv.pop())
    if sys.argv[1:2] != ["--on"]:
        sys.exit(run_apart())
    os.umask(0o022)
    MACHINE = ScratchMachine(sys.argv[2])
    del sys.argv[1:3]
    unittest.main(verbosity=2)
