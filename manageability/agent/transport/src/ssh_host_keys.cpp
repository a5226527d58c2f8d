// SPDX-License-Identifier: Apache-2.0
//
// Made on first start, and the same ones at every start after it.
#include "ssh_host_keys.hpp"

#include "state_file.hpp"

#include <stdexcept>

namespace zpf::agent {

namespace {

struct Kind {
    const char* file;
    ssh_keytypes_e type;
};

constexpr Kind kKinds[] = {{"ssh_host_ed25519_key", SSH_KEYTYPE_ED25519},
                           {"ssh_host_ecdsa_key", SSH_KEYTYPE_ECDSA_P256}};

std::string new_key(const Kind& kind)
{
    ssh_key raw = nullptr;
    const int made = ssh_pki_generate(kind.type, 0, &raw);
    const SshKey key{raw};
    char* raw_text = nullptr;
    if (made != SSH_OK || ssh_pki_export_privkey_base64(key.get(), nullptr, nullptr, nullptr, &raw_text) != SSH_OK) {
        throw std::runtime_error(std::string{kind.file} + ": a host key cannot be generated");
    }
    const SshText text{raw_text};
    return text.get();
}

SshKey load(const std::string& path, const Kind& kind)
{
    constexpr mode_t kOpenToOthers = 0077;
    auto text = read_file(path, kOpenToOthers);
    if (!text) {
        write_new_file(path, new_key(kind));
        text = read_file(path, kOpenToOthers); // another process may have been first
    }
    ssh_key raw = nullptr;
    if (!text || ssh_pki_import_privkey_base64(text->c_str(), nullptr, nullptr, nullptr, &raw) != SSH_OK) {
        throw std::runtime_error(path +
                                 ": is no private key without a passphrase; restore it, or remove it to have a new one "
                                 "made, which clients will have to accept anew");
    }
    return SshKey{raw};
}

} // namespace

std::vector<SshKey> load_host_keys(const std::string& folder)
{
    std::vector<SshKey> keys;
    for (const Kind& kind : kKinds) {
        keys.push_back(load(folder + '/' + kind.file, kind));
    }
    return keys;
}

} // namespace zpf::agent
