"""A machine of its own within this one: files, users, processes, a system bus and polkit that nobody else sees.

To be made in name spaces of mounts and processes that end with it. Programs and libraries are this machine's, seen
read-only; whatever an installation writes to is the scratch machine's.
"""
import functools
import http.server
import os
import pwd
import shutil
import subprocess
import threading
import time

SEEN_OF_USR = ("bin", "lib", "lib32", "lib64", "libx32", "share")
OWN_OF_USR = ("/usr/share/polkit-1", "/usr/share/applications")
MERGED = ("bin", "lib", "lib32", "lib64", "libx32")
SYSTEM_USERS = ("root", "messagebus", "polkitd", "nobody")
# Named for what polkit does when they ask; the administrator is the one whose password it takes.
USERS = {"asked": 1000, "allowed": 1001, "refused": 1002, "keeper": 1003}
ADMINISTRATOR = "keeper"
PASSWORD = "tandem-admin"
PASSWORD_HASH = "$6$velmora$DkpEfr4hfQYbUYPQs6CSpDZ5a5vqe5bX/pxmZ92ahxeud8M8wLsq0TjOPeFVhcMpFfU6vTryQ4XswrRIt/Y9n/"
RULES = """polkit.addRule(function(action, subject) {
    if (subject.user == "allowed")
        return polkit.Result.YES;
    if (subject.user == "refused")
        return polkit.Result.NO;
});
"""
LIMIT_SECONDS = 20  # for whatever is waited for


def call(*words):
    subprocess.run(words, check=True, timeout=LIMIT_SECONDS, stdin=subprocess.DEVNULL)


def wait_until(holds, what):
    end = time.monotonic() + LIMIT_SECONDS
    while not holds():
        if time.monotonic() > end:
            raise TimeoutError(what)
        time.sleep(0.01)


class ScratchMachine:
    """`root` is an empty folder that the machine's file system is mounted on."""

    def __init__(self, root):
        self.root = root
        call("mount", "-t", "tmpfs", "-o", "mode=755", "machine", root)
        self._make_usr()
        self._make_etc()
        for place in ("/run/dbus", "/var/lib", "/usr/sbin", "/usr/libexec"):
            self.make_folder(place)
        self.make_folder("/root", mode=0o700)
        self.make_folder("/tmp", mode=0o1777)
        os.symlink("/run", self.path("/var/run"))
        call("mount", "-t", "proc", "proc", self.make_folder("/proc"))
        call("mount", "--rbind", "/dev", self.make_folder("/dev"))
        self._bus = None

    def path(self, place):
        """Where this program finds a place of the machine."""
        return self.root + place

    def make_folder(self, place, mode=0o755, owner=0):
        path = self.path(place)
        os.makedirs(path, exist_ok=True)
        os.chmod(path, mode)
        os.chown(path, owner, owner)
        return path

    def write(self, place, text, mode=0o644, owner=0):
        os.makedirs(os.path.dirname(self.path(place)), exist_ok=True)
        with open(self.path(place), "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(self.path(place), mode)
        os.chown(self.path(place), owner, owner)

    def place_program(self, source):
        """Copies a program to where every user of the machine can start it."""
        place = "/usr/local/bin/" + os.path.basename(source)
        self.make_folder("/usr/local/bin")
        shutil.copy(source, self.path(place))
        os.chmod(self.path(place), 0o755)
        return place

    def make_homes(self):
        """Gives every user an empty home."""
        for name, number in USERS.items():
            shutil.rmtree(self.path("/home/" + name), ignore_errors=True)
            self.make_folder("/home/" + name, 0o700, number)

    def _make_usr(self):
        for name in SEEN_OF_USR:
            if os.path.isdir("/usr/" + name):
                path = self.make_folder("/usr/" + name)
                call("mount", "--bind", "/usr/" + name, path)
                call("mount", "-o", "remount,bind,ro", path)
        for name in MERGED:
            if os.path.islink("/" + name):
                os.symlink(os.readlink("/" + name), self.path("/" + name))
        for place in OWN_OF_USR:
            if os.path.isdir(place):
                call("mount", "-t", "tmpfs", "-o", "mode=755", "own", self.path(place))
                call("cp", "-a", place + "/.", self.path(place))

    def _make_etc(self):
        self.make_folder("/etc")
        for name in ("ld.so.cache", "fonts", "login.defs", "security"):
            if os.path.exists("/etc/" + name):
                call("cp", "-a", "/etc/" + name, self.path("/etc/"))
        for kind in ("auth", "account", "password", "session", "session-noninteractive"):
            options = " nodelay" if kind == "auth" else ""
            self.write("/etc/pam.d/common-" + kind, f"{kind.split('-')[0]} required pam_unix.so{options}\n")
        self.write("/etc/nsswitch.conf", "passwd: files\ngroup: files\nshadow: files\n")
        self.write("/etc/shells", "/bin/sh\n/bin/bash\n")
        self.write("/etc/machine-id", "0123456789abcdef0123456789abcdef\n")
        self.write("/etc/polkit-1/rules.d/10-by-name.rules", RULES)
        self._make_users()
        self.make_homes()

    def _make_users(self):
        entries = [(user.pw_name, user.pw_uid, user.pw_gid, user.pw_dir)
                   for user in map(pwd.getpwnam, SYSTEM_USERS)]
        entries += [(name, number, number, "/home/" + name) for name, number in USERS.items()]
        self.write("/etc/passwd", "".join(
            f"{name}:x:{user}:{group}:{name.title()}:{home}:/bin/bash\n" for name, user, group, home in entries))
        self.write("/etc/group", f"sudo:x:900:{ADMINISTRATOR}\n" + "".join(
            f"{name}:x:{group}:\n" for name, _, group, _ in entries))
        self.write("/etc/shadow", "".join(
            f"{name}:{PASSWORD_HASH if name == ADMINISTRATOR else '*'}:19000:0:99999:7:::\n"
            for name, _, _, _ in entries), mode=0o640)

    def start(self, user, words, variables=None, before=None, **options):
        """Starts a program as a user; the options are those of subprocess.Popen."""
        number = USERS.get(user, 0)
        environment = {"HOME": "/home/" + user if number else "/root", "USER": user, "LOGNAME": user,
                       "PATH": "/usr/bin:/bin", "SHELL": "/bin/bash", "LANG": "C.UTF-8", **(variables or {})}

        def become():
            if before:
                before()
            os.chroot(self.root)
            os.chdir("/")
            os.setgroups([])
            os.setgid(number)
            os.setuid(number)

        return subprocess.Popen(words, env=environment, preexec_fn=become, **options)

    def start_bus(self):
        """Starts the system bus, which starts polkit's daemon when somebody asks for it."""
        reading, writing = os.pipe()
        with open(self.path("/var/bus.log"), "ab") as log:
            self._bus = self.start("root", ["/usr/bin/dbus-daemon", "--system", "--nofork", "--nopidfile", "--nosyslog",
                                            f"--print-address={writing}"], pass_fds=[writing], stderr=log)
        os.close(writing)
        with os.fdopen(reading) as file:
            if not file.readline():
                raise RuntimeError("the system bus did not start")

    def run(self, user, words, **options):
        """Runs a program to its end; gives its status, standard output and standard error."""
        process = self.start(user, words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             text=True, **options)
        return finish(process)


def finish(process):
    """Waits for a started program; gives its status, standard output and standard error."""
    try:
        output, errors = process.communicate(timeout=LIMIT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        raise
    return process.returncode, output, errors


def processes_of(program):
    """The running processes, by number, whose first word is `program`."""
    found = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/cmdline", "rb") as file:
                if file.read().split(b"\0")[0] == program.encode():
                    found.append(int(name))
        except OSError:
            pass  # it ended meanwhile
    return found


class QuietFiles(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


def serve(folder):
    """Serves a folder on a free port of loopback; gives the server and its address."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(QuietFiles, directory=folder))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server, f"http://127.0.0.1:{server.server_address[1]}"
