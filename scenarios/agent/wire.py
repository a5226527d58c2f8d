# SPDX-License-Identifier: Apache-2.0
#
# A NETCONF client that hides nothing: framing by hand, so that tests can break it, and replies as they came.
"""Sessions over sockets, and what their messages mean."""
import re
import select
import socket
import time
from dataclasses import dataclass, field

from lxml import etree

BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"
CHUNKS = "urn:ietf:params:netconf:base:1.1"
END = b"]]>]]>"
REPLY_TIME_S = 60  # a bound for broken agents, not an expectation

HELLO = ('<hello xmlns="{}"><capabilities><capability>urn:ietf:params:netconf:base:1.0</capability>{}'
         '</capabilities></hello>')


def hello_text(base11=True):
    return HELLO.format(BASE, f"<capability>{CHUNKS}</capability>" if base11 else "")


class Ended(Exception):
    """The agent has closed the connection."""


def local(element):
    return etree.QName(element).localname


def elements(element):
    return [child for child in element if isinstance(child.tag, str)]


@dataclass
class RpcError:
    """An rpc-error; absent parts are empty. `info` has the names and texts of error-info in order."""
    type: str = ""
    tag: str = ""
    severity: str = ""
    app_tag: str = ""
    path: str = ""
    message: str = ""
    info: list = field(default_factory=list)

    @staticmethod
    def of(element):
        error = RpcError()
        for child in elements(element):
            name = local(child).removeprefix("error-").replace("-", "_")
            setattr(error, name, [(local(x), (x.text or "").strip()) for x in elements(child)] if name == "info"
                    else child.text or "")
        return error

    @property
    def bad_element(self):
        return dict(self.info).get("bad-element", "")


class Reply:
    def __init__(self, text):
        self.text = text
        self.root = etree.fromstring(text.encode(), etree.XMLParser(huge_tree=True))
        self.errors = [RpcError.of(child) for child in elements(self.root) if local(child) == "rpc-error"]
        self.ok = any(local(child) == "ok" for child in elements(self.root))

    @property
    def data(self):
        for child in elements(self.root):
            if local(child) == "data":
                return child
        raise AssertionError("no data in " + self.text)

    def leaves(self):
        """{path: text} of all leaves, entries of lists told apart by their keys."""
        return leaves_of(self.data)

    def has(self, text):
        return text in self.text


KEYS = {"interface-configuration": ["active", "interface-name"], "attenuator": ["name"], "ots-port": ["name"],
        "mtu": ["owner"], "raman-tx-power": ["raman-tx-power-instance"], "session": ["session-id"], "group": ["name"],
        "rule-list": ["name"], "rule": ["name"], "schema": ["identifier", "version", "format"],
        "ingress-channel-slice-attn": ["ingress-channel-slice-attn"]}


def leaves_of(root):
    leaves = {}

    def visit(element, path):
        for child in elements(element):
            name = local(child)
            step = f"{path}/{name}"
            below = elements(child)
            for key in KEYS.get(name, []) if below else []:
                value = next(((x.text or "") for x in below if local(x) == key), None)
                step += f"[{key}='{value}']" if value is not None else ""
            if below or (name in ("config", "data") and not child.text):
                visit(child, step)
            else:
                if step in leaves:  # a leaf-list's next value
                    step += f"[.='{child.text}']"
                leaves[step] = child.text or ""
    visit(root, "")
    return leaves


class Framing:
    """Both of RFC 6242's; `feed` bytes, take whole messages."""

    def __init__(self):
        self.chunked = False
        self.buffer = b""
        self._at = 0       # the buffer is framed up to here
        self._parts = []

    def wrap(self, text):
        data = text.encode() if isinstance(text, str) else text
        return b"\n#%d\n%s\n##\n" % (len(data), data) if self.chunked else data + END

    def next(self):
        if not self.chunked:
            end = self.buffer.find(END)
            if end < 0:
                return None
            message, self.buffer = self.buffer[:end], self.buffer[end + len(END):]
            return message.decode()
        while True:
            head = re.compile(rb"\n#(#|[1-9][0-9]{0,9})\n").match(self.buffer, self._at)
            if head is None:
                if len(self.buffer) - self._at > 13:
                    raise AssertionError(f"no chunk header: {self.buffer[self._at:self._at + 40]!r}")
                return None
            if head[1] == b"#":
                message = b"".join(self._parts)
                self.buffer, self._at, self._parts = self.buffer[head.end():], 0, []
                return message.decode()
            end = head.end() + int(head[1])
            if len(self.buffer) < end:
                return None
            self._parts.append(self.buffer[head.end():end])
            self._at = end


class Wire:
    """One session. Notifications that come between replies are kept in `notifications`."""

    def __init__(self, stream, base11=True, hello=True):
        self.stream = stream
        self.framing = Framing()
        self.notifications = []
        self.ids = 0
        self.session_id = 0
        self.capabilities = []
        if hello:
            self.greet(base11)

    @staticmethod
    def to_unix(path, **options):
        stream = socket.socket(socket.AF_UNIX)
        stream.connect(path)
        return Wire(stream, **options)

    def greet(self, base11=True):
        self.send_raw(self.framing.wrap(hello_text(base11)))
        self.take_hello()
        self.framing.chunked = base11

    def take_hello(self):
        hello = etree.fromstring(self.receive().encode())
        for child in elements(hello):
            if local(child) == "session-id":
                self.session_id = int(child.text)
            else:
                self.capabilities = [x.text for x in elements(child)]
        return hello

    def send_raw(self, data):
        self.stream.sendall(data)

    def receive(self, timeout_s=REPLY_TIME_S):
        """The next message. Raises Ended, TimeoutError."""
        deadline = time.monotonic() + timeout_s
        while (message := self.framing.next()) is None:
            left = deadline - time.monotonic()
            if left <= 0:
                raise TimeoutError("no message in time")
            # A timeout of the socket's would hold for another thread that sends, too.
            if not select.select([self.stream], [], [], left)[0]:
                continue
            try:
                data = self.stream.recv(1 << 18)
            except (ConnectionResetError, BrokenPipeError) as error:
                raise Ended from error
            if not data:
                raise Ended
            self.framing.buffer += data
        return message

    def send(self, operation, attributes=""):
        self.ids += 1
        message = f'<rpc xmlns="{BASE}" message-id="{self.ids}"{attributes}>{operation}</rpc>'
        self.send_raw(self.framing.wrap(message))
        return str(self.ids)

    def reply(self, timeout_s=REPLY_TIME_S):
        while True:
            message = self.receive(timeout_s)
            if message.startswith("<notification"):
                self.notifications.append(etree.fromstring(message.encode()))
            else:
                return Reply(message)

    def rpc(self, operation, attributes="", timeout_s=REPLY_TIME_S):
        sent = self.send(operation, attributes)
        reply = self.reply(timeout_s)
        assert reply.root.get("message-id") == sent, f"reply to another request: {reply.text[:200]}"
        return reply

    def ok(self, operation):
        """A request that has to succeed; returns its reply."""
        reply = self.rpc(operation)
        if reply.errors:
            raise AssertionError(f"refused: {reply.errors}")
        return reply

    def edit(self, config, target="running", options=""):
        return self.rpc(f"<edit-config><target><{target}/></target>{options}<config>{config}</config></edit-config>")

    def get_config(self, inner="", source="running"):
        """Leaves of a get-config; `inner` is a subtree filter's content, "" for none."""
        subtree = f'<filter type="subtree">{inner}</filter>' if inner else ""
        return self.ok(f"<get-config><source><{source}/></source>{subtree}</get-config>").leaves()

    def get(self, inner=""):
        subtree = f'<filter type="subtree">{inner}</filter>' if inner else ""
        return self.ok(f"<get>{subtree}</get>").leaves()

    def notification(self, name=None, timeout_s=REPLY_TIME_S):
        """The next notification, or the next of that name; others before it are dropped."""
        while True:
            while self.notifications:
                content = elements(self.notifications.pop(0))[1]
                if name is None or local(content) == name:
                    return content
            message = self.receive(timeout_s)
            assert message.startswith("<notification"), message[:200]
            self.notifications.append(etree.fromstring(message.encode()))

    def ended(self, timeout_s=REPLY_TIME_S):
        """True once the agent has closed the connection; what comes before is passed over."""
        try:
            while True:
                self.receive(timeout_s)
        except Ended:
            return True
        except TimeoutError:
            return False

    def close(self):
        self.stream.close()
