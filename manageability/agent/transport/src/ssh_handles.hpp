// SPDX-License-Identifier: Apache-2.0
//
// Owners of libssh's handles.
#pragma once

#include <libssh/callbacks.h>
#include <libssh/libssh.h>
#include <libssh/server.h>

#include <memory>

namespace zpf::agent {

struct SshFree {
    void operator()(ssh_bind bind) const noexcept { ssh_bind_free(bind); }
    void operator()(ssh_session session) const noexcept { ssh_free(session); }
    void operator()(ssh_event event) const noexcept { ssh_event_free(event); }
    void operator()(ssh_key key) const noexcept { ssh_key_free(key); }
    void operator()(char* text) const noexcept { ssh_string_free_char(text); }
};

using SshBind = std::unique_ptr<ssh_bind_struct, SshFree>;
using SshSession = std::unique_ptr<ssh_session_struct, SshFree>;
using SshEvent = std::unique_ptr<ssh_event_struct, SshFree>;
using SshKey = std::unique_ptr<ssh_key_struct, SshFree>;
using SshText = std::unique_ptr<char, SshFree>;

} // namespace zpf::agent
