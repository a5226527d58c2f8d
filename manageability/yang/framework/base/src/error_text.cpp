// SPDX-License-Identifier: Apache-2.0
//
// Texts of result codes, for operators.
// A code without a text of its own gets its number; such a text is made once and stays, so that callers may keep it.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <map>
#include <mutex>
#include <new>

#include "kelda/kelda.h"

namespace {

struct CodeText {
    qerrno code;
    const char* text;
};

constexpr std::array kTexts{
    CodeText{ZPF_RC_OK, "success"},
    CodeText{ZPF_RC_BAD_TREE, "malformed data tree"},
    CodeText{ZPF_RC_INVALID_ARGS, "invalid arguments"},
    CodeText{ZPF_RC_UNSUPPORTED_NODE, "node not supported by the device"},
    CodeText{ZPF_RC_KEY_MISSING, "list key missing or empty"},
    CodeText{ZPF_RC_KEY_DELETE, "list key cannot be deleted"},
    CodeText{ZPF_RC_INVALID_VALUE, "value not accepted by the device"},
    CodeText{ZPF_RC_SKIP_INSTANCE, "list instance skipped"},
    CodeText{ZPF_RC_AUGMENT_CREATE, "unknown augmenting node"},
    CodeText{KELDA_RC_NO_STORE, "data store not present"},
};

using NumberText = std::array<char, sizeof "unknown result code 0x00000000">;

/** The lasting text of a code's number. Map nodes never move; the map is never destroyed, since texts may be read while
 * the process ends. */
const char* number_text(qerrno code)
{
    static std::mutex lock;
    static auto& texts = *new std::map<qerrno, NumberText>;
    const std::lock_guard guard{lock};
    const auto [entry, is_new] = texts.try_emplace(code);
    if (is_new) {
        std::snprintf(entry->second.data(), entry->second.size(), "unknown result code 0x%08" PRIX32, code);
    }
    return entry->second.data();
}

} // namespace

const char* qerr_strerror(qerrno code)
{
    for (const CodeText& known : kTexts) {
        if (known.code == code) {
            return known.text;
        }
    }
    try {
        return number_text(code);
    } catch (const std::bad_alloc&) {
        return "unknown result code";
    }
}
