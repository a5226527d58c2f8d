# SPDX-License-Identifier: Apache-2.0
#
# Starts that are refused, with a word about what to do; starts after a crash; the end on SIGTERM.
import os
import pathlib
import signal
import socket
import stat
import subprocess
import tempfile
import unittest

from configs import *
from support import NATIVE, ZPFD, Agent, AgentFailed, wait_until
from wire import Ended


class StartTest(unittest.TestCase):
    def agent(self, **options):
        agent = Agent(**options)
        self.addCleanup(agent.remove)
        return agent

    def assert_start_fails(self, agent, says, status=1):
        with self.assertRaises(AgentFailed) as failed:
            agent.start()
        agent.process = None
        self.assertEqual(failed.exception.status, status, failed.exception.log)
        self.assertRegex(failed.exception.log, says)

    def stopped(self):
        """An agent that has run once."""
        agent = self.agent()
        self.assertEqual(agent.stop(), 0)
        return agent


class Store(StartTest):
    def files(self, agent):
        return {path.name: path.read_bytes() for path in agent.store.iterdir() if path.suffix == ".mdb"}

    def test_a_damaged_store_stops_the_start_and_is_left_alone(self):
        for damage in ("zeros", "noise", "short", "empty"):
            with self.subTest(damage):
                agent = self.stopped()
                file = agent.store / "data.mdb"
                whole = file.read_bytes()
                file.write_bytes({"zeros": bytes(len(whole)), "noise": os.urandom(len(whole)), "short": whole[:5000],
                                  "empty": b""}[damage])
                before = self.files(agent)
                self.assert_start_fails(agent, "(?i)damage|not a store|corrupt|invalid|restore|empty|short|cut|check")
                self.assertEqual(self.files(agent)["data.mdb"], before["data.mdb"])

    def test_a_store_of_another_version_stops_the_start_and_is_left_alone(self):
        agent = self.stopped()
        file = agent.store / "data.mdb"
        other = file.read_bytes().replace(b"version2", b"version9")  # a record's name and its value
        self.assertIn(b"version9", other)
        file.write_bytes(other)
        self.assert_start_fails(agent, '(?i)version "9"')
        self.assertEqual(file.read_bytes(), other)

    def test_a_store_in_use_stops_a_second_agent(self):
        first = self.agent()
        second = self.agent(store=first.store, start=False)
        self.assert_start_fails(second, "(?i)in use|another")
        session = first.connect()
        self.addCleanup(session.close)
        self.assertEqual(session.get_config(oc())[oc_path(BST2)], "9.5")

    def test_a_store_that_is_a_file_or_beneath_one_is_refused(self):
        agent = self.agent(start=False)
        agent.store = agent.folder / "file"
        agent.store.write_text("mine")
        self.assert_start_fails(agent, "file")
        self.assertEqual(agent.store.read_text(), "mine")
        agent.store = agent.folder / "file" / "below"
        self.assert_start_fails(agent, "below")

    def test_a_read_only_store_is_refused(self):
        agent = self.stopped()
        for path in agent.store.iterdir():
            path.chmod(stat.S_IRUSR)
        agent.store.chmod(stat.S_IRUSR | stat.S_IXUSR)
        self.addCleanup(agent.store.chmod, stat.S_IRWXU)
        if os.geteuid() == 0:  # root passes over permissions; another user does not
            agent.folder.chmod(0o755)
            for path in [agent.store, *agent.store.iterdir(), agent.folder, agent.log_file]:
                os.chown(path, 65534, 65534)
            agent.preexec = lambda: os.setuid(65534)
        self.assert_start_fails(agent, "(?i)permission|read-only|written")

    def test_the_seed_counts_for_a_new_store_only(self):
        agent = self.agent()
        session = agent.connect()
        self.assertTrue(session.edit(native(op="delete")).ok)
        session.close()
        agent.stop()
        agent.start()
        session = agent.connect()
        self.addCleanup(session.close)
        self.assertEqual(session.get_config(native()), {})

    def test_an_edit_is_still_applied_after_a_restart(self):
        agent = self.agent()
        leaf = oc_path(BST2, "state/actual-attenuation/instant")
        for end in (agent.stop, agent.kill):
            session = agent.connect()
            self.assertTrue(session.edit(oc(attenuator(BST2, "5.5"))).ok)
            wait_until(lambda: session.get(oc())[leaf] == "5.5", "the attenuation before the end")
            session.close()
            end()
            agent.start()
            session = agent.connect()
            wait_until(lambda: session.get(oc()).get(leaf) == "5.5", "the attenuation after it", 10)
            session.close()

    def test_bad_seeds_are_refused_and_nothing_of_them_is_kept(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        base = '<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">{}</data>'
        for name, text in (("no-xml.xml", "nothing"), ("range.xml", base.format(controller("Ots0/0/0/0", 999))),
                           ("unknown.xml", base.format(f'<unknown xmlns="{IFMGR}"/>')), ("bad.json", "{"),
                           ("client.xml", base.format(oc(attenuator(BST2, "1.5"))))):
            with self.subTest(name):
                file = pathlib.Path(folder.name) / name
                file.write_text(text)
                agent = self.agent(seed=file, start=False)
                self.assert_start_fails(agent, name)
                agent.seed = NATIVE
                agent.start()
                session = agent.connect()
                self.assertEqual(session.get_config(native())[native_path("Ots0/0/0/2")], "95")
                session.close()
        missing = self.agent(seed=pathlib.Path(folder.name) / "missing.xml", start=False)
        self.assert_start_fails(missing, "missing.xml")

    def test_seeds_may_be_json(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        file = pathlib.Path(folder.name) / "seed.json"
        file.write_text('{"Quarn-KMT-VN-ifmgr-cfg:interface-configurations":{"interface-configuration":[{"active":"act",'
                        '"interface-name":"Ots0/0/0/2","Quarn-KMT-VN-controller-ots-cfg:ots":'
                        '{"ots-tx-voa-attenuation":42}}]}}')
        agent = self.agent(seed=file)
        session = agent.connect()
        self.addCleanup(session.close)
        self.assertEqual(session.get_config(oc())[oc_path(BST2)], "4.2")


class Addresses(StartTest):
    def test_bad_addresses_are_usage_errors(self):
        for address in ("", "nothing", "http:x", "ssh:127.0.0.1", "ssh:127.0.0.1:x", "ssh:127.0.0.1:70000", "unix:"):
            with self.subTest(address):
                done = subprocess.run([ZPFD, "--store", tempfile.gettempdir() + "/zpfd-never", "--listen", address],
                                      capture_output=True, text=True, timeout=60)
                self.assertEqual(done.returncode, 2, done.stderr)
                self.assertNotIn("ready", done.stdout)
                self.assertTrue(done.stderr)
        self.assertFalse(os.path.exists(tempfile.gettempdir() + "/zpfd-never"))

    def test_usage_errors_have_their_own_status(self):
        for arguments in ([], ["--store"], ["--colour"], ["--store", "x", "--log", "loud"],
                          ["--store", "x", "--authorized-keys", "nocolon"], ["--store", "x", "--device", "real"]):
            done = subprocess.run([ZPFD, *arguments], capture_output=True, text=True, timeout=60)
            self.assertEqual(done.returncode, 2, f"{arguments}: {done.stderr}")

    def test_numbers_without_sense_are_usage_errors_that_name_option_and_range(self):
        for option, value, most in (
                ("--hello-time", "nan", "86400"), ("--hello-time", "1e300", "86400"), ("--message-time", "0", "86400"),
                ("--unsent-time", "-1", "86400"), ("--max-sessions", "0", "65535"), ("--max-sessions", "-1", "65535"),
                ("--max-message", "0", "1073741824"), ("--max-message", "-1", "1073741824"),
                ("--max-message", "99999999999999999999", "1073741824"), ("--max-unsent", "-1", "1099511627776"),
                ("--slew", "nan", "1000000"), ("--slew", "-1", "1000000")):
            with self.subTest(f"{option} {value}"):
                # Should it be taken after all, the start ends at the address.
                done = subprocess.run([ZPFD, "--store", tempfile.gettempdir() + "/zpfd-never", "--listen", "nothing",
                                       option, value], capture_output=True, text=True, timeout=60)
                self.assertEqual(done.returncode, 2, done.stderr)
                self.assertRegex(done.stderr, f'{option}: "{value}" is no .*number from .* to {most}')

    def test_a_port_that_is_taken_stops_the_start(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            agent = self.agent(start=False, options=["--listen", f"ssh:127.0.0.1:{taken.getsockname()[1]}"])
            self.assert_start_fails(agent, "(?i)in use")

    def test_a_socket_that_another_agent_listens_on_stops_the_start(self):
        first = self.agent()
        second = self.agent(start=False)
        second.unix = first.unix
        self.assert_start_fails(second, "(?i)another agent")

    def test_a_file_in_the_socket_s_place_stops_the_start_and_stays(self):
        agent = self.agent(start=False)
        pathlib.Path(agent.unix).write_text("mine")
        self.assert_start_fails(agent, "netconf.sock")
        self.assertEqual(pathlib.Path(agent.unix).read_text(), "mine")

    def test_the_socket_of_a_killed_agent_is_taken_over(self):
        agent = self.agent()
        agent.kill()
        self.assertTrue(os.path.exists(agent.unix))
        agent.start()
        session = agent.connect()
        self.addCleanup(session.close)
        self.assertEqual(session.get_config(oc())[oc_path(BST2)], "9.5")

    def test_missing_plug_ins_and_models_stop_the_start(self):
        for option in ("--plugin-dir", "--yang-dir", "--protocol-yang-dir"):
            agent = self.agent(start=False, options=[option, "/nowhere"])
            with self.subTest(option), self.assertRaises(AgentFailed) as failed:
                agent.start()
            agent.process = None
            self.assertEqual(failed.exception.status, 1, failed.exception.log)

    def test_missing_keys_of_users_stop_the_start(self):
        agent = self.agent(start=False, options=["--listen", "ssh:127.0.0.1:0", "--authorized-keys", "ann:/nowhere/key"])
        self.assert_start_fails(agent, "/nowhere/key")

    def test_the_ready_line_names_every_place(self):
        agent = self.agent(users=["ann"])
        self.assertEqual(agent.ready, f"ready unix:{agent.unix} ssh:127.0.0.1:{agent.ssh_port}")
        self.assertGreater(agent.ssh_port, 0)

    def test_host_keys_are_made_once(self):
        agent = self.agent(users=["ann"])
        key = lambda: subprocess.run(["ssh-keyscan", "-p", str(agent.ssh_port), "127.0.0.1"], capture_output=True,
                                     text=True, timeout=60).stdout.split("\n")
        keys = lambda: sorted(line.split(" ", 1)[1] for line in key() if " ssh-" in line or " ecdsa-" in line)
        first = keys()
        self.assertTrue(first)
        agent.stop()
        agent.start()
        self.assertEqual(keys(), first)


class End(StartTest):
    def test_sigterm_ends_all_sessions_and_the_status_is_nought(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            agent = self.agent()
            sessions = [agent.connect() for _ in range(10)]
            os.kill(agent.process.pid, number)
            self.assertEqual(agent.process.wait(60), 0)
            for session in sessions:
                with self.assertRaises(Ended):
                    session.receive()
                session.close()

    def test_edits_that_wait_are_finished_before_the_end(self):
        agent = self.agent()
        session = agent.connect()
        self.addCleanup(session.close)
        for number in range(50):
            session.send(f"<edit-config><target><running/></target><config>{controller('Ots0/0/0/2', number)}</config>"
                         "</edit-config>")
        self.assertTrue(session.reply().ok)
        os.kill(agent.process.pid, signal.SIGTERM)
        acknowledged = 1
        try:
            while session.reply().ok:
                acknowledged += 1
        except Ended:
            pass
        self.assertEqual(agent.process.wait(60), 0)
        agent.process.stdout.close()
        agent.start()
        again = agent.connect()
        self.addCleanup(again.close)
        number = int(again.get_config(native())[native_path("Ots0/0/0/2")])
        self.assertGreaterEqual(number, acknowledged - 1)

    def test_a_client_that_does_not_read_cannot_hold_up_the_end(self):
        agent = self.agent()
        session = agent.connect()
        self.addCleanup(session.close)
        for _ in range(300):
            session.send("<get/>")
        os.kill(agent.process.pid, signal.SIGTERM)
        self.assertEqual(agent.process.wait(30), 0)

    def test_no_socket_is_left_behind(self):
        agent = self.agent()
        agent.stop()
        self.assertFalse(os.path.exists(agent.unix))

    def test_a_socket_that_another_agent_has_made_meanwhile_is_left_alone(self):
        agent = self.agent()
        os.unlink(agent.unix)
        with socket.socket(socket.AF_UNIX) as other:
            other.bind(agent.unix)
            agent.stop()
            self.assertTrue(os.path.exists(agent.unix))


class Streams(StartTest):
    def test_nothing_is_printed_into_files_when_standard_streams_are_closed(self):
        def close_streams():
            for stream in range(3):
                os.close(stream)

        agent = self.agent(start=False)
        agent.process = subprocess.Popen(agent.command(), stdout=subprocess.PIPE, preexec_fn=close_streams)
        wait_until(lambda: os.path.exists(agent.unix), "the agent's socket")
        session = agent.connect()
        self.addCleanup(session.close)
        self.assertTrue(session.get_config(oc()))
        for stream in range(3):
            self.assertEqual(os.readlink(f"/proc/{agent.process.pid}/fd/{stream}"), "/dev/null")
        os.kill(agent.process.pid, signal.SIGTERM)
        self.assertEqual(agent.process.wait(30), 0)
        for file in agent.store.iterdir():
            self.assertNotIn(b"ready unix:", file.read_bytes(), file)


if __name__ == "__main__":
    unittest.main()
