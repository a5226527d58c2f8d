# SPDX-License-Identifier: Apache-2.0
#
# ncclient over SSH and, with a socket in place of its SSH channel, over the UNIX socket.
"""Managers of ncclient."""
import contextlib
import socket
import warnings

warnings.simplefilter("ignore")  # of its own use of the standard library
import ncclient.transport.ssh  # noqa: E402
from ncclient import manager  # noqa: E402
from ncclient.devices.default import DefaultDeviceHandler  # noqa: E402

# The library looks this often, in seconds, whether there is something to send.
ncclient.transport.ssh.TICK = 0.002

TIMEOUT_S = 60


class _Channel:
    """What the library uses of an SSH channel."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(path)

    def fileno(self):
        return self._socket.fileno()

    def recv(self, size):
        return self._socket.recv(size)

    def send(self, data):
        return self._socket.send(data)

    def send_ready(self):
        return True

    def close(self):
        self._socket.close()

    def is_active(self):
        return self._socket.fileno() >= 0


class UnixSession(ncclient.transport.ssh.SSHSession):
    def connect(self, path):
        self._channel = _Channel(path)
        self._transport = _Shutdown(self._channel)
        self._connected = True
        self._post_connect()
        self.parser = self._device_handler.get_xml_parser(self)


class _Shutdown:
    """Stands for the transport, which the library closes before it waits for its thread."""

    def __init__(self, channel):
        self._channel = channel
        self._open = True

    def is_active(self):
        return self._open

    def close(self):
        self._open = False
        with contextlib.suppress(OSError):
            self._channel._socket.shutdown(socket.SHUT_RDWR)


def over_unix(agent):
    handler = DefaultDeviceHandler()
    session = UnixSession(handler)
    session.connect(agent.unix)
    return manager.Manager(session, handler, timeout=TIMEOUT_S)


def over_ssh(agent, user):
    return manager.connect_ssh(host="127.0.0.1", port=agent.ssh_port, username=user,
                               key_filename=str(agent.folder / user), hostkey_verify=False, allow_agent=False,
                               look_for_keys=False, timeout=TIMEOUT_S)


def over_ssh_channel(agent, user):
    """A bare channel of the NETCONF subsystem, for a client of one's own. Close the transport after use."""
    import paramiko
    transport = paramiko.Transport(socket.create_connection(("127.0.0.1", agent.ssh_port)))
    key = paramiko.ECDSAKey.from_private_key_file(str(agent.folder / user))
    transport.connect(username=user, pkey=key)
    channel = transport.open_session()
    channel.invoke_subsystem("netconf")
    return transport, channel
