# SPDX-License-Identifier: Apache-2.0
#
# An agent of a test's own: its store, sockets and keys in a temporary folder, ended by its process id.
"""Starting and stopping agents. Paths come from the environment: ZPFD, ZPF, ZPF_SOURCE_DIR."""
import contextlib
import os
import pathlib
import select
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from wire import Wire

ZPFD = os.environ["ZPFD"]
SOURCE = pathlib.Path(os.environ.get("ZPF_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
GOLDEN = SOURCE / "scenarios" / "golden"
NATIVE = GOLDEN / "native.xml"
START_TIME_S = 60  # far beyond what a start takes, also under a sanitizer


class AgentFailed(Exception):
    """The agent did not start; `status` is its exit status, `log` what it wrote to standard error."""

    def __init__(self, status, log):
        super().__init__(f"exit status {status}\n{log}")
        self.status = status
        self.log = log


class Agent:
    """A running agent.

    unix: path of its UNIX socket; ssh_port: port of its SSH server on 127.0.0.1, when there is one.
    """

    def __init__(self, seed=NATIVE, users=(), options=(), store=None, start=True, folder=None, preexec=None):
        self.folder = pathlib.Path(folder or tempfile.mkdtemp(prefix="zpfd-"))
        self.store = pathlib.Path(store) if store else self.folder / "store"
        self.unix = str(self.folder / "netconf.sock")
        self.seed = seed
        self.users = list(users)
        self.options = list(options)
        self.preexec = preexec
        self.process = None
        self.ssh_port = None
        self.ready = ""
        self.log_file = self.folder / "log"
        for user in self.users:
            make_key(self.folder / user)
        if start:
            try:
                self.start()
            except Exception:
                self.remove()
                raise

    def command(self):
        command = [ZPFD, "--store", str(self.store), "--listen", "unix:" + self.unix]
        if self.seed:
            command += ["--seed", str(self.seed)]
        if self.users:
            command += ["--listen", "ssh:127.0.0.1:0"]
        for user in self.users:
            command += ["--authorized-keys", f"{user}:{self.folder / user}.pub"]
        return command + self.options

    def start(self):
        """Returns once the agent has printed its ready line; raises AgentFailed when it ends instead."""
        with open(self.log_file, "ab") as log:
            begin = log.tell()
            self.process = subprocess.Popen(self.command(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log,
                                            preexec_fn=self.preexec)
        line = self._first_line()
        if not line.startswith("ready"):
            status = self._reap(START_TIME_S)
            raise AgentFailed(status, self.log_file.read_bytes()[begin:].decode(errors="replace"))
        self.ready = line.strip()
        for place in self.ready.split()[1:]:
            if place.startswith("ssh:"):
                self.ssh_port = int(place.rsplit(":", 1)[1])

    def _first_line(self):
        """What it prints first; nothing when it ends."""
        line = b""
        deadline = time.monotonic() + START_TIME_S
        while not line.endswith(b"\n"):
            if not select.select([self.process.stdout], [], [], max(0, deadline - time.monotonic()))[0]:
                self.kill()
                raise AgentFailed(None, "no ready line in time\n" + self.log())
            byte = os.read(self.process.stdout.fileno(), 1)
            if not byte:
                break
            line += byte
        return line.decode()

    def log(self):
        return self.log_file.read_text(errors="replace") if self.log_file.exists() else ""

    def connect(self, **options):
        """A session over the UNIX socket."""
        return Wire.to_unix(self.unix, **options)

    def resident_kib(self):
        for line in pathlib.Path(f"/proc/{self.process.pid}/status").read_text().splitlines():
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
        raise AssertionError("the agent has no resident memory: it has ended")

    def alive(self):
        return self.process is not None and self.process.poll() is None

    def _reap(self, timeout_s):
        try:
            status = self.process.wait(timeout_s)
        finally:
            if self.process.poll() is None:
                os.kill(self.process.pid, signal.SIGKILL)
                self.process.wait()
            self.process.stdout.close()
        return status

    def stop(self):
        """Ends the agent in order. Returns its exit status."""
        os.kill(self.process.pid, signal.SIGTERM)
        status = self._reap(30)
        self.process = None
        return status

    def kill(self):
        os.kill(self.process.pid, signal.SIGKILL)
        self._reap(30)
        self.process = None

    def remove(self):
        if self.process is not None:
            if self.process.poll() is None:
                self.kill()
            else:
                self.process.stdout.close()
        # Agents are killed more often than they end, so that their exit status does not tell of a data race.
        found = self.log().find("Sanitizer:")
        told = self.log()[found - 100:found + 4000] if found >= 0 else ""
        shutil.rmtree(self.folder, ignore_errors=True)
        assert not told, told


def make_key(path):
    subprocess.run(["ssh-keygen", "-q", "-t", "ecdsa", "-N", "", "-f", str(path)], check=True, stdin=subprocess.DEVNULL)


@contextlib.contextmanager
def running(**options):
    agent = Agent(**options)
    try:
        yield agent
    finally:
        agent.remove()


def wait_until(condition, what, timeout_s=30):
    """Looks again and again, for what nothing tells of. Fails when it does not come."""
    deadline = time.monotonic() + timeout_s
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError("did not come: " + what)
        time.sleep(0.01)


class AgentTest(unittest.TestCase):
    """Test case with one agent for the whole class; its configuration is that of its file before each test."""

    seed = NATIVE
    users = ()
    options = ()
    extra_config = ""  # beside that of the file, in every test

    @classmethod
    def setUpClass(cls):
        cls.agent = Agent(seed=cls.seed, users=cls.users, options=cls.options)
        cls.addClassCleanup(cls.agent.remove)
        cls.start_config = seed_config(cls.seed) + cls.extra_config

    def setUp(self):
        self.session = self.open()
        self.session.ok(f"<copy-config><target><running/></target><source><config>{self.start_config}</config></source>"
                        "</copy-config>")

    def open(self, **options):
        """A session over the UNIX socket, closed when the test ends."""
        session = self.agent.connect(**options)
        self.addCleanup(session.close)
        return session

    def assert_refused(self, reply, tag, **parts):
        """Checks the first error of a reply; parts are type, app_tag, path, message, info (names and texts)."""
        self.assertTrue(reply.errors, f"not refused: {reply.text}")
        error = reply.errors[0]
        self.assertEqual(error.tag, tag, error)
        for name, value in parts.items():
            self.assertEqual(getattr(error, name), value, error)
        return error


def seed_config(file):
    """The configuration in a file of native data, as text."""
    from lxml import etree
    root = etree.parse(str(file)).getroot()
    return "".join(etree.tostring(top, encoding="unicode", with_tail=False) for top in root
                   if isinstance(top.tag, str) and etree.QName(top).localname != "ots-oper")
