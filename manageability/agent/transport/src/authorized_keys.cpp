// SPDX-License-Identifier: Apache-2.0
//
// Keys are compared in their encoded form, which names type and curve as well; so nothing of a file reaches a key
// parser.
#include "authorized_keys.hpp"

#include "log_text.hpp"
#include "state_file.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace zpf::agent {

namespace {

constexpr mode_t kWritableByOthers = 0022;

constexpr std::array<std::string_view, 7> kKeyTypes{"ssh-ed25519",
                                                    "ssh-rsa",
                                                    "ecdsa-sha2-nistp256",
                                                    "ecdsa-sha2-nistp384",
                                                    "ecdsa-sha2-nistp521",
                                                    "sk-ssh-ed25519@openssh.com",
                                                    "sk-ecdsa-sha2-nistp256@openssh.com"};

std::string_view next_word(std::string_view& line)
{
    constexpr std::string_view kBlank = " \t\r";
    line.remove_prefix(std::min(line.find_first_not_of(kBlank), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(kBlank));
    line.remove_prefix(word.size());
    return word;
}

bool lists(std::string_view text, std::string_view key_base64, const std::string& path, const LogSink& log)
{
    for (size_t number = 1; !text.empty(); ++number) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::string_view type = next_word(line);
        if (type.empty() || type.front() == '#') {
            continue;
        }
        if (std::find(kKeyTypes.begin(), kKeyTypes.end(), type) == kKeyTypes.end()) {
            say(log, 1, path, ":", std::to_string(number),
                ": skipped, not a public key of a known type (options before the key are not supported)");
        } else if (next_word(line) == key_base64) {
            return true;
        }
    }
    return false;
}

} // namespace

bool is_authorized(const std::vector<UserEntry>& files, std::string_view user, std::string_view key_base64,
                   const LogSink& log)
{
    for (const auto& [name, path] : files) {
        if (name != user) {
            continue;
        }
        try {
            const auto text = read_file(path, kWritableByOthers);
            if (!text) {
                say(log, 1, path, ": no such file; nobody logs in by it");
            } else if (lists(*text, key_base64, path, log)) {
                return true;
            }
        } catch (const std::runtime_error& error) {
            say(log, 1, error.what(), "; nobody logs in by it");
        }
    }
    return false;
}

} // namespace zpf::agent
