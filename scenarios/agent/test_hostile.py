# SPDX-License-Identifier: Apache-2.0
#
# Clients that mean ill or are broken. Whatever one of them does, the agent lives, its memory stays bounded, and others
# are served meanwhile and afterwards.
import contextlib
import os
import socket
import threading
import time
import unittest

import ncclients
from configs import *
from support import AgentTest, wait_until
from wire import BASE, END, Ended, Wire, hello_text

MIB = 1024 * 1024
GET = f'<get-config><source><running/></source><filter type="subtree">{oc()}</filter></get-config>'
NONSENSE_BYTES = int(os.environ.get("ZPF_NONSENSE_BYTES", 1024 * MIB))


def rpc(inner, ident="1"):
    return f'<rpc xmlns="{BASE}" message-id="{ident}">{inner}</rpc>'


class HostileTest(AgentTest):
    options = ("--message-time", "1", "--hello-time", "2", "--unsent-time", "3", "--max-message", str(4 * MIB),
               "--max-unsent", str(8 * MIB), "--max-sessions", "200")
    MOST_KIB = int(os.environ.get("ZPF_MOST_MIB", 96)) * 1024  # resident, also at the worst moment; the limits above admit it

    def tearDown(self):
        self.assertTrue(self.agent.alive(), self.agent.log()[-2000:])
        self.assert_serves()
        self.assertLess(self.agent.resident_kib(), self.MOST_KIB)

    def assert_serves(self):
        with contextlib.closing(self.agent.connect()) as other:
            self.assertEqual(other.get_config(oc())[oc_path(BST2)], "9.5")

    def raw(self):
        """A connection of which the agent has heard nothing yet."""
        stream = socket.socket(socket.AF_UNIX)
        stream.connect(self.agent.unix)
        self.addCleanup(stream.close)
        return stream

    def pour(self, stream, data, size):
        """Sends `size` bytes of repeated `data`, or as many as the agent takes. Returns how many."""
        sent = 0
        stream.settimeout(60)
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            while sent < size:
                sent += stream.send(data)
        return sent

    @staticmethod
    def drain(session):
        """Reads and forgets until the end."""
        with contextlib.suppress(OSError):
            while session.stream.recv(1 << 20):
                pass

    def assert_ended(self, stream):
        stream.settimeout(60)
        with contextlib.suppress(ConnectionResetError):
            while stream.recv(1 << 16):
                pass


class HalfAMessage(HostileTest):
    def test_its_sender_is_dropped_in_time_and_others_go_on_meanwhile(self):
        halves = (b"\n#100\n<rpc", b"\n#1", b"\n", b"\n#3\n<rp\n#", b"\n#5\n<rpc/")
        victims = [self.open() for _ in halves]
        for victim, half in zip(victims, halves):
            victim.send_raw(half)
        for _ in range(50):
            self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")
        for victim in victims:
            self.assertTrue(victim.ended())

    def test_a_client_that_always_has_a_message_begun_is_not_dropped(self):
        session = self.open()
        text = session.framing.wrap(rpc(GET))
        half = len(text) // 2
        session.send_raw(text[:half])
        end = time.monotonic() + 3  # three times as long as one message may take
        while time.monotonic() < end:
            session.send_raw(text[half:] + text[:half])
            self.assertTrue(session.reply().has("9.5"))

    def test_an_idle_session_is_not_dropped(self):
        idle = self.open()
        half = self.open()
        half.send_raw(b"\n#100\n<rpc")
        self.assertTrue(half.ended())  # the time for a message has passed for the idle session, too
        self.assertEqual(idle.get_config(oc())[oc_path(BST2)], "9.5")

    def test_no_hello_is_waited_for_in_vain(self):
        silent = self.raw()
        half = self.raw()
        half.sendall(hello_text().encode()[:30])
        self.assert_serves()
        self.assert_ended(silent)
        self.assert_ended(half)


class NeverReads(HostileTest):
    def test_a_client_that_never_reads_takes_bounded_memory_and_is_dropped(self):
        deaf = self.open()
        text = b"".join(deaf.framing.wrap(rpc("<get/>")) for _ in range(200))
        poured = threading.Thread(target=self.pour, args=(deaf.stream, text, 256 * MIB))
        poured.start()
        worst = 0
        while poured.is_alive():
            worst = max(worst, self.agent.resident_kib())
            self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")
            poured.join(0.02)
        self.assertLess(worst, self.MOST_KIB)
        wait_until(lambda: "is ended" in self.agent.log(), "the end of the session")

    def test_a_subscriber_that_never_reads_is_dropped_and_others_are_told(self):
        deaf = self.open()
        deaf.ok(SUBSCRIBE.format(""))
        listener = self.open()
        listener.ok(SUBSCRIBE.format('<filter type="xpath" xmlns:n="urn:ietf:params:xml:ns:yang:ietf-netconf-notifications" '
                                     f'select="/n:netconf-session-end[n:session-id={deaf.session_id}]"/>'))
        deadline = time.monotonic() + 60
        count = 0
        ended = False
        while not ended and time.monotonic() < deadline:
            for _ in range(50):
                self.session.edit(controller("Ots0/0/0/0", count % 200))
                count += 1
            with contextlib.suppress(TimeoutError):
                listener.notification("netconf-session-end", timeout_s=0.001)
                ended = True
        self.assertTrue(ended, f"not dropped after {count} events")


class Nonsense(HostileTest):
    def test_a_gigabyte_of_it_is_thrown_away(self):
        shapes = {"before the hello": (b"", os.urandom(MIB)),
                  "text before the hello": (b"", b"x" * MIB),
                  "after the hello": (hello_text().encode() + END, os.urandom(MIB)),
                  "zeros after a hello": (hello_text().encode() + END, bytes(MIB)),
                  "base 1.0 text": (hello_text(False).encode() + END, b"<a>" * (MIB // 3)),
                  "a huge chunk": (hello_text().encode() + END + b"\n#4294967295\n", b"<a>" * (MIB // 3)),
                  "endless small chunks": (hello_text().encode() + END, b"\n#3\n<a>" * (MIB // 8))}
        for name, (start, data) in shapes.items():
            with self.subTest(name):
                stream = self.raw()
                begin = time.monotonic()
                with contextlib.suppress(BrokenPipeError, ConnectionResetError):
                    stream.sendall(start)
                self.pour(stream, data, NONSENSE_BYTES)
                self.assertLess(time.monotonic() - begin, 60)
                self.assertLess(self.agent.resident_kib(), self.MOST_KIB)
                self.assert_serves()
                stream.close()

    def test_a_gigabyte_of_wrong_messages_is_answered_in_bounded_memory(self):
        session = self.open()
        text = session.framing.wrap("<x/>" + " " * 8192) * 100
        reader = threading.Thread(target=self.drain, args=(session,))
        reader.start()
        worst = 0
        for _ in range(NONSENSE_BYTES // len(text)):
            session.stream.sendall(text)
            worst = max(worst, self.agent.resident_kib())
        self.assert_serves()
        session.stream.shutdown(socket.SHUT_RDWR)
        reader.join()
        self.assertLess(worst, self.MOST_KIB)

    def test_wrong_chunk_headers_end_their_session(self):
        for header in (b"\n#0\n", b"\n#-1\n", b"\n#x\n", b"\n#01\n", b"\n#99999999999999999999\n", b"#5\n<rpc/", b"\n#+5\n",
                       b"\n# 5\n", b"\n##\n", b"\n#4294967296\n", b"garbage", b"\r\n#5\r\n", END):
            with self.subTest(header):
                session = self.open()
                session.send_raw(header)
                self.assertTrue(session.ended())

    def test_an_endless_hello_ends_its_session(self):
        stream = self.raw()
        sent = self.pour(stream, b"<hello xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'><capabilities>" + b" " * 65536,
                         64 * MIB)
        self.assertLess(sent, 64 * MIB)


class Xml(HostileTest):
    def refused(self, text):
        """A message that must be refused, or end its session."""
        session = self.open()
        session.send_raw(session.framing.wrap(text))
        try:
            reply = session.reply()
        except Ended:
            return
        self.assertTrue(reply.errors, reply.text[:300])
        self.assertTrue(session.rpc(GET).has("9.5"))

    def test_deep_nesting_is_refused(self):
        for depth in (1000, 20000, 500000):
            with self.subTest(depth):
                begin = time.monotonic()
                self.refused(rpc("<a>" * depth + "</a>" * depth))
                self.refused(rpc("<get><filter>" + f'<a xmlns="{IFMGR}">' + "<b>" * depth + "</b>" * depth
                                 + "</a></filter></get>") if depth > 1000 else rpc("<a>" * depth))
                self.refused(rpc(f"<edit-config><target><running/></target><config>"
                                 f'<interface-configurations xmlns="{IFMGR}">' + "<x>" * depth + "</x>" * depth +
                                 "</interface-configurations></config></edit-config>"))
                self.assertLess(time.monotonic() - begin, 60)

    def test_entities_are_not_expanded(self):
        laughs = "".join(f'<!ENTITY l{n} "{f"&l{n - 1};" * 10}">' for n in range(1, 10))
        self.refused(f'<!DOCTYPE rpc [<!ENTITY l0 "lol">{laughs}]>' + rpc("<get>&l9;</get>"))
        self.refused('<!DOCTYPE rpc [<!ENTITY x SYSTEM "file:///etc/passwd">]>' + rpc("<get>&x;</get>"))
        self.assertLess(self.agent.resident_kib(), self.MOST_KIB)

    def test_a_message_over_the_limit_ends_its_session(self):
        session = self.open()
        text = session.framing.wrap(rpc("<get>" + " " * (5 * MIB) + "</get>"))
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            session.send_raw(text)
        self.assertTrue(session.ended())

    def test_a_message_under_the_limit_is_served(self):
        reply = self.session.rpc(f"<!--{'x' * 3 * MIB}-->{GET}")
        self.assertEqual(reply.leaves()[oc_path(BST2)], "9.5")

    def test_many_attributes_and_namespaces_are_no_burden(self):
        begin = time.monotonic()
        declared = "".join(f' xmlns:p{n}="urn:x:{n}"' for n in range(20000))
        self.session.send(GET, declared)
        self.assert_refused(self.session.reply(), "malformed-message", type="rpc")
        self.assertTrue(self.session.rpc(GET, declared[:1000].rpartition(" ")[0]).has("9.5"))
        attributes = "".join(f' a{n}="1"' for n in range(20000))
        reply = self.session.rpc(f"<get{attributes}/>")
        self.assertLess(time.monotonic() - begin, 60)

    def test_bytes_that_are_no_utf_8_are_refused(self):
        for data in (b"\xff\xfe", b"\xc3\x28", b"\xed\xa0\x80", b"\x00", b"\xf5\x80\x80\x80"):
            session = self.open()
            message = rpc(f"<edit-config><target><running/></target><config>"
                          f"{native(interface('Ots0/0/0/0', '<description>@</description>'))}</config></edit-config>")
            session.send_raw(session.framing.wrap(message.encode().replace(b"@", data)))
            with contextlib.suppress(Ended):
                self.assertTrue(session.reply().errors, data)
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/0", "description")], "b0")

    def test_costly_xpath_ends_in_time(self):
        begin = time.monotonic()
        select = "//*" * 6 + "[count(//*) &gt; 0]" * 3
        self.session.rpc(f'<get><filter type="xpath" select="{select}"/></get>')
        self.session.rpc(f'<get><filter type="xpath" select="{"(" * 5000}1{")" * 5000}"/></get>')
        self.assertLess(time.monotonic() - begin, 60)


class Many(HostileTest):
    def test_connections_beyond_the_limit_are_turned_away_and_come_back_later(self):
        before = len(os.listdir(f"/proc/{self.agent.process.pid}/fd"))
        streams = [self.raw() for _ in range(300)]
        turned_away = 0
        for stream in streams:
            stream.settimeout(60)
            try:
                turned_away += stream.recv(1) == b""
            except ConnectionResetError:
                turned_away += 1
        self.assertEqual(turned_away, 300 - (200 - 1))  # one session is the test's own
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")
        for stream in streams:
            stream.close()
        wait_until(lambda: len(os.listdir(f"/proc/{self.agent.process.pid}/fd")) <= before, "the descriptors")
        self.assert_serves()

    def test_sessions_that_come_and_go_leave_nothing_behind(self):
        def cycle(count):
            for _ in range(count):
                with contextlib.closing(self.agent.connect()) as session:
                    session.rpc(GET)
        cycle(500)
        before = self.agent.resident_kib()
        cycle(3000)
        self.assertLess(self.agent.resident_kib(), before + 4096)

    def test_connections_that_are_dropped_at_once_do_no_harm(self):
        for _ in range(2000):
            stream = socket.socket(socket.AF_UNIX)
            stream.connect(self.agent.unix)
            stream.close()
        self.assert_serves()

    def test_a_client_that_leaves_in_the_middle_of_its_replies(self):
        for _ in range(50):
            session = self.agent.connect()
            session.send_raw(session.framing.wrap(rpc("<get/>")) * 20)
            session.close()
        self.assert_serves()


class OverSsh(HostileTest):
    users = ("ann",)

    def channel(self):
        transport, channel = ncclients.over_ssh_channel(self.agent, "ann")
        self.addCleanup(transport.close)
        return channel

    def tcp(self):
        stream = socket.create_connection(("127.0.0.1", self.agent.ssh_port))
        self.addCleanup(stream.close)
        return stream

    def assert_serves(self):
        super().assert_serves()
        transport, channel = ncclients.over_ssh_channel(self.agent, "ann")
        with contextlib.closing(transport):
            self.assertEqual(Wire(channel).get_config(oc())[oc_path(BST2)], "9.5")

    def test_half_a_message_is_dropped_in_time(self):
        victim = Wire(self.channel())
        victim.send_raw(b"\n#100\n<rpc")
        self.assert_serves()
        self.assertTrue(victim.ended())

    def test_a_client_that_never_reads_takes_bounded_memory(self):
        deaf = Wire(self.channel())
        deaf.stream.settimeout(5)
        with contextlib.suppress(OSError):
            for _ in range(4000):
                deaf.stream.sendall(deaf.framing.wrap(rpc("<get/>")) * 10)
        self.assert_serves()

    def test_garbage_in_place_of_a_key_exchange_is_dropped(self):
        for data in (os.urandom(100000), b"GET / HTTP/1.1\r\n\r\n", b"SSH-2.0-x\r\n" + os.urandom(100000), b"SSH-1.5-x\r\n"):
            stream = self.tcp()
            with contextlib.suppress(OSError):
                stream.sendall(data)
            self.assert_ended(stream)

    def test_connections_that_say_nothing_do_not_keep_others_out(self):
        silent = [self.tcp() for _ in range(100)]
        self.assert_serves()
        for stream in silent:
            stream.close()

    def test_strangers_and_wrong_keys_are_turned_away(self):
        import paramiko
        other = paramiko.ECDSAKey.generate()
        for user, key in (("ann", other), ("bob", other)):
            transport = paramiko.Transport(self.tcp())
            self.addCleanup(transport.close)
            with self.assertRaises(paramiko.SSHException):
                transport.connect(username=user, pkey=key)
        transport = paramiko.Transport(self.tcp())
        self.addCleanup(transport.close)
        with self.assertRaises(paramiko.SSHException):
            transport.connect(username="ann", password="ann")


if __name__ == "__main__":
    unittest.main()
