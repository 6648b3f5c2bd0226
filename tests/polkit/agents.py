"""Users who are asked for an administrator's password: at a terminal, or in a window that they close."""
import fcntl
import os
import select
import subprocess
import termios
import time

import scratch_machine
from scratch_machine import LIMIT_SECONDS, USERS


class WaitingProgram:
    """A program that an agent is there for before it begins: a shell waits, and becomes the program."""

    def __init__(self, machine, user, words, variables=None):
        self.process = machine.start(user, ["/bin/sh", "-c", 'read -r line; exec "$@"', "sh"] + words, variables,
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def begin(self):
        self.process.stdin.write("begin\n")
        self.process.stdin.flush()

    def finish(self):
        return scratch_machine.finish(self.process)


class TextAgent:
    """pkttyagent on a terminal of its own, for one process."""

    def __init__(self, machine, user, process):
        self._terminal, other_end = os.openpty()
        os.fchown(other_end, USERS[user], USERS[user])
        reading, writing = os.pipe()
        self.agent = machine.start(
            user, ["/usr/bin/pkttyagent", "--process", str(process), "--notify-fd", str(writing)],
            before=take_terminal, stdin=other_end, stdout=other_end, stderr=other_end, pass_fds=[writing])
        os.close(other_end)
        os.close(writing)
        os.read(reading, 1)  # the end of the file: the agent is registered, or has ended
        os.close(reading)
        self.text = ""

    def wait_for_question(self):
        """Reads until the password is asked for. Input that comes before the echo is off would be thrown away."""
        asked = self.text.count("Password: ")
        end = time.monotonic() + LIMIT_SECONDS
        while self.text.count("Password: ") == asked or termios.tcgetattr(self._terminal)[3] & termios.ECHO:
            if time.monotonic() > end:
                raise TimeoutError("no question: " + self.text)
            self._read()

    def answer(self, password):
        os.write(self._terminal, password.encode() + b"\n")

    def wait_for(self, text):
        end = time.monotonic() + LIMIT_SECONDS
        while text not in self.text:
            if time.monotonic() > end:
                raise TimeoutError(f"no {text!r}: {self.text}")
            self._read()

    def _read(self):
        if select.select([self._terminal], [], [], 0.01)[0]:
            self.text += os.read(self._terminal, 4096).decode()

    def end(self):
        self.agent.kill()
        self.agent.wait()
        os.close(self._terminal)


class DismissingAgent:
    """An agent whose user dismisses every question."""

    def __init__(self, machine, program, user, process):
        self._agent = machine.start(user, [program, str(process)], {"ASAN_OPTIONS": "detect_leaks=0"},
                                    stdout=subprocess.PIPE, text=True)
        if self._agent.stdout.readline() != "registered\n":
            raise RuntimeError("the agent is not registered")

    def end(self):
        """Ends the agent; gives the action and the message of each question that it had, a line each."""
        self._agent.kill()
        return self._agent.communicate()[0]


def take_terminal():
    os.setsid()
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)
