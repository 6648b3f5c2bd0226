"""The start with administrator rights on a real system bus, with polkit's real daemon, pkexec and agents.

usage: test_privileged_start.py BUILD-FOLDER
"""
import os
import shutil
import tarfile

import suite_machine
from agents import DismissingAgent
from scratch_machine import PASSWORD, USERS, processes_of, wait_until
from suite_machine import (ACTION, CANCELED, DENIED, HELP_TOOL, MESSAGE, NOT_EXECUTED, REPAIR, ROOT, STARTER,
                           TOOL, OnTheMachine)


class InstalledAction(OnTheMachine):
    def test_is_what_polkit_took(self):
        status, text, _ = self.machine.run("asked", ["/usr/bin/pkaction", "--verbose", "--action-id", ACTION])
        self.assertEqual(status, 0)
        lines = [line.split(": ", 1) for line in text.splitlines() if ": " in line]
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
        shutil.copy("/usr/bin/id", self.machine.path(place))
        os.chown(self.machine.path(place), USERS["allowed"], USERS["allowed"])
        self.assertEqual(self.probe("allowed", ["execute", place, "--self-repair"]),
                         (0, NOT_EXECUTED, "SelfRepairStarter: the tool differs from the installed one\n"))
        info = os.lstat(self.machine.path(place))
        self.assertEqual((info.st_uid, oct(info.st_mode)), (USERS["allowed"], oct(0o100755)))

    def test_another_users_tool_is_refused(self):
        self.probe("refused", REPAIR)
        # Not as a child of the first process, which pkexec takes for an orphan.
        words = ["/bin/sh", "-c", '/usr/bin/pkexec "$@"; exit $?', "sh", STARTER, f"/home/refused/{TOOL}",
                 "--self-repair"]
        status, _, errors = self.machine.run("allowed", words)
        self.assertEqual((status, errors),
                         (112, "SelfRepairStarter: the tool's folder does not belong to the caller\n"))
        self.expect_not_repaired("refused")

    def test_the_repaired_tool_starts_the_host_again_with_the_users_rights_alone(self):
        self.probe("allowed", REPAIR)
        home, number = "/home/allowed", USERS["allowed"]
        folder = os.path.dirname(f"{home}/{TOOL}")
        self.machine.make_folder(home + "/Host.app/Contents/Linux", owner=number)
        self.machine.write(home + "/Host.app/Contents/Info.plist", "", owner=number)
        self.machine.write(home + "/Host.app/Contents/Linux/TandemService",
                      "#!/bin/sh\n(id -u; id -ru; grep ^CapEff: /proc/self/status; env; echo end) > ~/said\n",
                      mode=0o755, owner=number)
        self.machine.write(folder + "/20071023TwoParams.txt", f"/no/longer/there\0{home}/Host.app\0", owner=number)
        self.assertEqual(self.machine.run("allowed", [f"{home}/{TOOL}"], variables={"VELMORA_ROOT": "/tmp"})[0], 0)

        def said():
            try:
                with open(self.machine.path(home + "/said"), encoding="utf-8") as file:
                    return file.read()
            except FileNotFoundError:
                return ""
        wait_until(lambda: said().endswith("end\n"), "the host was not started")
        self.assertEqual(said().splitlines()[:3], [str(number), str(number), "CapEff:\t0000000000000000"])
        self.assertNotIn("VELMORA_ROOT", said())
        self.assertEqual(os.listdir(self.machine.path(folder)), ["WatchSelfUpdate"])

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
        contents = self.machine.make_folder("/tmp/X.pkg/Contents")
        with tarfile.open(contents + "/Archive.pax.gz", "w:gz", format=tarfile.PAX_FORMAT) as archive:
            archive.add(os.path.join(ROOT, "README.md"), "Manual/read me")
        target = self.machine.make_folder("/opt/suite")
        for user, installed in (("refused", False), ("allowed", True)):
            words = ["open", "/tmp/X.pkg", "/opt/suite"]
            self.assertEqual(self.probe(user, words, SHELL="/opt/own/shell")[:2], (0, "status 0\n"), user)
            self.assertEqual(os.path.exists(target + "/Manual/read me"), installed, user)
        self.assertEqual(os.lstat(target + "/Manual/read me").st_uid, 0)

    def test_without_the_starter_pkexec_starts_the_tool_itself(self):
        os.rename(self.machine.path(STARTER), self.machine.path(STARTER + ".away"))
        self.addCleanup(os.rename, self.machine.path(STARTER + ".away"), self.machine.path(STARTER))
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
        dismisser = self.machine.place_program(os.path.join(self.build, "tests", "polkit", "dismissing_agent"))
        for words, action, expected in ((REPAIR, ACTION, CANCELED), (
                ["execute", "/usr/bin/id"], "org.freedesktop.policykit.exec", CANCELED), (
                HELP_TOOL, "org.freedesktop.policykit.exec", "Status: -60006\n")):
            program = self.waiting_probe(words)
            agent = DismissingAgent(self.machine, dismisser, "asked", program.process.pid)
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


if __name__ == "__main__":
    suite_machine.main(__file__)
