// SPDX-License-Identifier: Apache-2.0
//
// Files of public keys in OpenSSH's form: one key a line, `type base64 comment`.
#pragma once

#include "zpf_transport/transport.hpp"

namespace zpf::agent {

/**
 * Says whether one of the files of `user` lists the public key whose encoded form is `key_base64`. The files are read
 * anew. A file that others may write, or that cannot be read, lists nothing; lines with options before the key, which
 * would promise restrictions that nobody enforces here, are skipped. Both are reported at level 1.
 */
bool is_authorized(const std::vector<UserEntry>& files, std::string_view user, std::string_view key_base64,
                   const LogSink& log);

} // namespace zpf::agent
