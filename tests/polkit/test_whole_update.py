"""Whole updates by the installed service, for ordinary users, of a suite that root alone may change.

usage: test_whole_update.py BUILD-FOLDER
"""
import os
import shutil
import signal
import stat
import subprocess

import scratch_machine
import suite_machine
from agents import TextAgent, WaitingProgram
from scratch_machine import LIMIT_SECONDS, PASSWORD, USERS, processes_of, wait_until
from suite_machine import APP, BUNDLE, INSTALLER_MESSAGE, MESSAGE, REPAIR, ROOT, VARIABLES, OnTheMachine


class WholeUpdate(OnTheMachine):
    @classmethod
    def setUpClass(cls):
        cls.server, cls.site = scratch_machine.serve(cls.machine.make_folder("/stage/www"))
        os.symlink("..", cls.machine.path("/stage/root"))
        for number in USERS.values():
            cls.machine.make_folder(f"/run/user/{number}", 0o700, number)

    @classmethod
    def tearDownClass(cls):
        cls.server.shutdown()

    def setUp(self):
        super().setUp()
        for place in ("/Applications", "/Library/Frameworks", "/stage/www/downloads", "/stage/made"):
            shutil.rmtree(self.machine.path(place), ignore_errors=True)
        # The demo's suite; the places that are registered are the machine's.
        self.stage('stage_suite "$1" "$2" "$3"\n'
                   'sed -i "s|$1/root/|/|" "$support/Products/"*.plist\n'
                   'chown -R 0:0 "$1/root/Applications" "$1/root/Library"\n'
                   'chmod -R a+rX,go-w "$1/root/Applications" "$1/root/Library"')

    def stage(self, commands):
        """Runs commands of the demo's: $1 is the stage, $2 what was built, $3 the web server."""
        subprocess.run(["bash", "-euc", '. "$0/demo/suite.sh"; . "$0/demo/self_update.sh"\n' + commands,
                        ROOT, self.machine.path("/stage"), self.build, self.site],
                       check=True, stdout=subprocess.DEVNULL, env={**os.environ, "LC_ALL": "C.UTF-8"})

    def versions(self):
        text = ""
        for product in ("Velmora Sketch", "Velmora Table"):
            with open(self.machine.path(f"/Applications/{product}.app/Contents/Info.plist"), encoding="utf-8") as file:
                text += file.read().split("<key>CFBundleVersion</key><string>")[1].split("<")[0] + " "
        return text.strip()

    def service_of(self, user):
        return [APP + "/Linux/TandemService", "--update", "--unattended"], {
            **VARIABLES, "XDG_RUNTIME_DIR": f"/run/user/{USERS[user]}"}

    def end_at_question(self, answered):
        """Tells a service to end while a question is open, after so many were answered; gives what was asked."""
        program = WaitingProgram(self.machine, "asked", *self.service_of("asked"))
        self.addCleanup(program.process.kill)
        agent = TextAgent(self.machine, "asked", program.process.pid)
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
        self.assertIn(INSTALLER_MESSAGE, self.end_at_question(answered=1))
        self.expect_repaired("asked")

    def test_updates_what_root_alone_may_change(self):
        words, variables = self.service_of("allowed")
        status, output, errors = self.machine.run("allowed", words, variables={**variables, "SHELL": "/opt/own/shell"})
        self.assertEqual(status, 0, output + errors)
        self.assertEqual(self.versions(), "2.1.0.0 5.3.1.0")
        self.expect_repaired("allowed")
        info = os.lstat(self.machine.path("/Applications/Velmora Sketch.app/Contents/Resources/about.txt"))
        self.assertEqual((info.st_uid, stat.S_IMODE(info.st_mode)), (0, 0o644))


    @staticmethod
    def end_service(host):
        for process in processes_of(host):
            os.kill(process, signal.SIGKILL)
        wait_until(lambda: not processes_of(host), "the service stayed")

    def test_replaces_the_service_itself_and_its_tool_is_repaired_from_the_new_one(self):
        self.stage('support="$1/root/Library/Application Support/Velmora/Tandem Service"\n'
                   'publish_service_update "$1"')
        words, variables = self.service_of("allowed")
        host = words[0]
        self.addCleanup(self.end_service, host)
        # What is started again keeps the standard output.
        service = self.machine.start("allowed", words, variables=variables, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertEqual(service.wait(timeout=LIMIT_SECONDS), 0)
        wait_until(lambda: processes_of(host), "the service was not started again")
        for process in processes_of(host):
            with open(f"/proc/{process}/status", encoding="utf-8") as file:
                self.assertIn("\nUid:" + f"\t{USERS['allowed']}" * 4 + "\n", file.read())
        with open(self.machine.path(BUNDLE + "/Contents/Info.plist"), encoding="utf-8") as file:
            self.assertIn("<string>2.1.0.0</string>", file.read())
        self.machine.make_homes()
        self.assertEqual(self.probe("allowed", REPAIR), (0, "status 0\n", ""))
        self.expect_repaired("allowed")


if __name__ == "__main__":
    suite_machine.main(__file__)
