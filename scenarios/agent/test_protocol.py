# SPDX-License-Identifier: Apache-2.0
#
# Messages as such: hello, framing, ids and attributes, what is malformed, what is unknown.
import socket
import threading
import unittest

import ncclients
from configs import *
from support import AgentTest
from wire import BASE, Ended, Framing, Wire, elements, hello_text, local

GET = f'<get-config><source><running/></source><filter type="subtree">{oc()}</filter></get-config>'


def rpc_text(operation, ident="1", more=""):
    return f'<rpc xmlns="{BASE}" message-id="{ident}"{more}>{operation}</rpc>'


class Hello(AgentTest):
    def raw(self):
        session = self.open(hello=False)
        session.take_hello()
        return session

    def test_the_agent_greets_first_with_a_session_id(self):
        session = self.raw()
        self.assertGreater(session.session_id, 0)
        self.assertIn("urn:ietf:params:netconf:base:1.1", session.capabilities)

    def test_capabilities_are_those_of_what_works(self):
        short = {c.split("?")[0].rsplit("capability:", 1)[-1] for c in self.session.capabilities if "capability:" in c}
        self.assertEqual(short, {"writable-running:1.0", "candidate:1.0", "confirmed-commit:1.1",
                                 "rollback-on-error:1.0", "validate:1.1", "xpath:1.0", "with-defaults:1.0",
                                 "notification:1.0", "interleave:1.0", "yang-library:1.1"})

    def test_a_client_of_base_1_0_is_served_with_its_framing(self):
        session = self.open(base11=False)
        self.assertEqual(session.ok(GET).leaves()[oc_path(BST2)], "9.5")
        self.assertTrue(session.edit(oc(attenuator(BST2, "3"))).ok)
        self.assertTrue(session.rpc("<close-session/>").ok)
        self.assertTrue(session.ended())

    def test_a_request_in_the_hello_s_packet_is_answered(self):
        for base11 in (False, True):
            with self.subTest(base11=base11):
                session = self.raw()
                framing = Framing()
                framing.chunked = base11
                session.send_raw((hello_text(base11) + "]]>]]>").encode() + framing.wrap(rpc_text(GET)))
                session.framing.chunked = base11
                self.assertEqual(session.reply().leaves()[oc_path(BST2)], "9.5")

    def test_a_message_in_single_bytes_is_understood(self):
        session = self.raw()
        session.stream.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4096)
        for byte in (hello_text() + "]]>]]>").encode():
            session.send_raw(bytes([byte]))
        session.framing.chunked = True
        for byte in session.framing.wrap(rpc_text(GET)):
            session.send_raw(bytes([byte]))
        self.assertEqual(session.reply().leaves()[oc_path(BST2)], "9.5")

    def test_a_message_in_chunks_of_one_byte_is_understood(self):
        session = self.open()
        session.send_raw(b"".join(b"\n#1\n%c" % byte for byte in rpc_text(GET).encode()) + b"\n##\n")
        self.assertEqual(session.reply().leaves()[oc_path(BST2)], "9.5")

    def test_what_is_no_hello_ends_the_session(self):
        for text in ("<nothing/>", "", "\x00\x01", rpc_text(GET), "<hello", "GET / HTTP/1.1\r\n\r\n",
                     f'<hello xmlns="{BASE}"/>', f'<hello xmlns="{BASE}"><capabilities/></hello>',
                     f'<hello xmlns="{BASE}"><capabilities><capability>urn:x</capability></capabilities></hello>',
                     hello_text().replace("</hello>", "<session-id>4</session-id></hello>")):
            with self.subTest(text):
                session = self.raw()
                session.send_raw(text.encode() + b"]]>]]>")
                self.assertTrue(session.ended())
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")


class Messages(AgentTest):
    def send(self, text):
        self.session.send_raw(self.session.framing.wrap(text))
        return self.session.reply()

    def test_ids_and_attributes_come_back_as_they_were(self):
        for ident in ("101", "", "a b&amp;c", "&lt;x&gt;", "ü" * 100, "x" * 4000):
            with self.subTest(ident):
                reply = self.send(rpc_text(GET, ident, ' xmlns:ex="urn:example:x" ex:user-id="fred" plain="1"'))
                self.assertEqual(reply.root.get("{urn:example:x}user-id"), "fred")
                self.assertEqual(reply.root.get("plain"), "1")
                self.assertIn(f'message-id="{ident}"', reply.text)

    def test_errors_carry_them_as_well(self):
        reply = self.send(rpc_text("<no-such/>", "77", ' plain="1"'))
        self.assertTrue(reply.errors)
        self.assertEqual((reply.root.get("message-id"), reply.root.get("plain")), ("77", "1"))

    def test_a_missing_message_id_is_told(self):
        reply = self.send(f'<rpc xmlns="{BASE}">{GET}</rpc>')
        self.assert_refused(reply, "missing-attribute", type="rpc",
                            info=[("bad-attribute", "message-id"), ("bad-element", "rpc")])

    def test_an_rpc_with_a_prefix_an_xml_declaration_and_comments_is_understood(self):
        text = ('<?xml version="1.0" encoding="UTF-8"?>\n<!-- a comment -->\n'
                f'<nc:rpc xmlns:nc="{BASE}" message-id="5"><!-- inside --><nc:get-config><nc:source><nc:running/>'
                f'</nc:source><nc:filter nc:type="subtree">{oc()}</nc:filter></nc:get-config></nc:rpc>')
        reply = self.send(text)
        self.assertEqual(reply.leaves()[oc_path(BST2)], "9.5")
        self.assertEqual(reply.root.get("message-id"), "5")

    def test_malformed_messages_are_refused_and_the_session_goes_on(self):
        for text in ("<rpc", "<rpc/>", "no xml at all", "<a><b></a></b>", rpc_text(GET) + "<more/>",
                     f'<rpc xmlns="urn:example:other" message-id="1">{GET}</rpc>', rpc_text("<get>&nothing;</get>"),
                     f'<not-rpc xmlns="{BASE}" message-id="1">{GET}</not-rpc>', rpc_text("<get attr></get>"), "\xff"):
            with self.subTest(text):
                self.assert_refused(self.send(text), "malformed-message", type="rpc")
                self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")

    def test_attributes_that_are_not_well_formed_are_refused_and_not_echoed(self):
        self.assertEqual(self.send(rpc_text(GET)).leaves()[oc_path(BST2)], "9.5")  # known by now, but for its attributes
        for attributes in ('message-id="&foo;"', 'message-id="a<b"', 'message-id="&#1;"', 'message-id="\x01"',
                           'message-id="1" message-id="1"', 'message-id="1" a="2" a="3"', 'message-id="1" x:y="z"',
                           'message-id="1"a="2"', 'message-id="1" xmlns:x="u" xmlns:z="u" x:y="1" z:y="2"',
                           b'message-id="\xff"', b'message-id="\xc0\xaf"'):
            with self.subTest(attributes):
                data = attributes if isinstance(attributes, bytes) else attributes.encode()
                text = b'<rpc xmlns="%s" %s>%s</rpc>' % (BASE.encode(), data, GET.encode())
                reply = self.send(text)  # read as XML
                self.assert_refused(reply, "malformed-message", type="rpc")
                self.assertEqual(dict(reply.root.attrib), {})

    def test_nothing_is_changed_by_a_request_whose_attributes_are_not_well_formed(self):
        edit = f"<edit-config><target><running/></target><config>{oc(attenuator(BST2, '3'))}</config></edit-config>"
        self.assert_refused(self.send(rpc_text(edit, "&foo;")), "malformed-message", type="rpc")
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")

    def test_a_client_of_base_1_0_is_not_told_of_malformed_messages_by_that_name(self):
        session = self.open(base11=False)
        session.send_raw(session.framing.wrap("<rpc"))
        self.assert_refused(session.reply(), "operation-failed", type="rpc")

    def test_messages_that_are_no_correct_rpc_are_counted_by_themselves(self):
        session = self.open()
        for text in ("<rpc", f'<not-rpc xmlns="{BASE}" message-id="1">{GET}</not-rpc>', f'<rpc xmlns="{BASE}">{GET}</rpc>'):
            session.send_raw(session.framing.wrap(text))
            self.assertTrue(session.reply().errors)
        entries = session.ok(f'<get><filter type="subtree"><netconf-state xmlns="{MONITORING}"><sessions/>'
                             "</netconf-state></filter></get>").data[0][0]
        leaves = [{local(leaf): leaf.text for leaf in elements(entry)} for entry in elements(entries)]
        own = next(each for each in leaves if each["session-id"] == str(session.session_id))
        self.assertEqual((own["in-rpcs"], own["in-bad-rpcs"]), ("1", "3"))

    def test_operations_that_are_not_there_are_refused(self):
        self.assert_refused(self.session.rpc("<restart/>"), "operation-not-supported", info=[("bad-element", "restart")])
        self.assert_refused(self.session.rpc('<reboot xmlns="urn:example:x"/>'), "unknown-namespace",
                            info=[("bad-element", "reboot"), ("bad-namespace", "urn:example:x")])
        self.assert_refused(self.session.rpc(f'<nothing xmlns="{AGENT}"/>'), "operation-not-supported")

    def test_none_and_two_operations_are_refused(self):
        self.assertTrue(self.session.rpc("").errors)
        self.assertTrue(self.session.rpc(GET + GET).errors)

    def test_unknown_parameters_are_refused(self):
        for operation, bad in (("<close-session><x/></close-session>", "x"), ("<get><colour/></get>", "colour"),
                               ("<commit><when/></commit>", "when"), ("<lock><target><running/></target><x/></lock>", "x")):
            self.assert_refused(self.session.rpc(operation), "unknown-element", info=[("bad-element", bad)])

    def test_pipelined_requests_are_answered_in_their_order(self):
        count = 2000
        edits = (lambda n: f"<edit-config><target><running/></target><config>{controller('Ots0/0/0/2', n % 200)}</config>"
                 "</edit-config>")
        stream = b"".join(self.session.framing.wrap(rpc_text(edits(n) if n % 10 == 0 else GET, f"m{n}"))
                          for n in range(count))
        sender = threading.Thread(target=self.session.send_raw, args=(stream,))
        sender.start()
        for n in range(count):
            reply = self.session.reply()
            self.assertEqual(reply.root.get("message-id"), f"m{n}")
            if n % 10:  # a read sees the edit before it
                self.assertEqual(float(reply.leaves()[oc_path(BST2)]), (n - n % 10) % 200 / 10)
        sender.join()

    def test_close_session_in_a_pipeline_is_the_last_that_is_answered(self):
        session = self.open()
        session.send_raw(session.framing.wrap(rpc_text(GET, "a")) + session.framing.wrap(rpc_text("<close-session/>", "b"))
                         + session.framing.wrap(rpc_text(GET, "c")))
        self.assertEqual([session.reply().root.get("message-id") for _ in range(2)], ["a", "b"])
        with self.assertRaises(Ended):
            session.reply()

    def test_a_device_s_characters_survive_both_ways(self):
        text = "Tür &amp; &lt;Tor&gt; – 光 \U0001f4a1 \"quoted\" 'and'"
        self.assertTrue(self.session.edit(native(interface("Ots0/0/0/0", f"<description>{text}</description>"))).ok)
        value = self.session.get_config(native())[native_path("Ots0/0/0/0", "description")]
        self.assertEqual(value, text.replace("&amp;", "&").replace("&lt;", "<").replace("&gt;", ">"))

    def test_keys_with_quotes_slashes_and_blanks_are_kept_apart(self):
        names = ["a'b", 'a"b', "a/b", "a,b", "a=b", "a%2Fb", "a b", "[x]", "é", "."]
        for name in names:
            self.assertTrue(self.session.edit(native(interface(name, f"<description>d{name}</description>"))).ok, name)
        leaves = self.session.get_config(native())
        for name in names:
            self.assertEqual(leaves[native_path(name, "description")], "d" + name)
            one = self.session.get_config(native(f"<interface-configuration><active>act</active><interface-name>{name}"
                                                 "</interface-name></interface-configuration>"))
            self.assertEqual({path for path in one if not path.endswith(("/active", "/interface-name"))},
                             {native_path(name, "description")})


class OverSsh(AgentTest):
    users = ("ann",)

    def test_a_bare_ssh_channel_is_served_like_the_socket(self):
        transport, channel = ncclients.over_ssh_channel(self.agent, "ann")
        self.addCleanup(transport.close)
        session = Wire(channel)
        self.assertEqual(session.get_config(oc())[oc_path(BST2)], "9.5")
        self.assertTrue(session.rpc("<close-session/>").ok)
        self.assertTrue(session.ended())

    def test_the_user_of_the_key_is_the_user_of_the_session(self):
        transport, channel = ncclients.over_ssh_channel(self.agent, "ann")
        self.addCleanup(transport.close)
        session = Wire(channel)
        text = session.ok(f'<get><filter type="subtree"><netconf-state xmlns="{MONITORING}"><sessions/></netconf-state>'
                          "</filter></get>").text
        self.assertRegex(text, rf"<session-id>{session.session_id}</session-id><transport[^>]*>[a-z]+:netconf-ssh"
                         "</transport><username>ann</username><source-host>127.0.0.1</source-host>")


if __name__ == "__main__":
    unittest.main()
