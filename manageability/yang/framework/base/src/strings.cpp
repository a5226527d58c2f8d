// SPDX-License-Identifier: Apache-2.0
//
// Named strings and bounded copies.
// Each string stands behind a small record that links it into a list of all live strings, so that a leak has a name.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "zpf/diagnostics.h"
#include "zpf/operations.h"
#include "zpf_base/strings.h"

namespace {

constexpr std::uint64_t kAlive = 0x5A50465354524E47;

/** In one block of memory: this record, the text with its terminator, the allocation name with its terminator. */
struct NamedString {
    std::uint64_t alive = kAlive; // tells a string of ours from any other pointer
    NamedString* older = nullptr;
    NamedString* younger = nullptr;
    std::size_t name_offset = 0; // from the text; 0: the text is its own name

    char* text() { return reinterpret_cast<char*>(this + 1); }
    const char* name() { return text() + name_offset; }
};

/** All live strings. Without a destructor, so that strings may outlive every other static object. */
struct Books {
    std::mutex lock;
    NamedString* youngest = nullptr;
    std::uint64_t allocated = 0;
    std::uint64_t freed = 0;

    void enter(NamedString* string)
    {
        const std::lock_guard guard{lock};
        string->older = youngest;
        if (youngest != nullptr) {
            youngest->younger = string;
        }
        youngest = string;
        ++allocated;
    }

    void strike_out(NamedString* string)
    {
        const std::lock_guard guard{lock};
        (string->younger != nullptr ? string->younger->older : youngest) = string->older;
        if (string->older != nullptr) {
            string->older->younger = string->younger;
        }
        ++freed;
    }
};

constinit Books books;

/** Reports a caller that handed over no usable destination. The caller has no context, so the line is an error line on
 * standard error. */
void complain(const char* caller, const char* what)
{
    static std::uint32_t slot = 0xFFFFFFFF;
    log_filter_emit(nullptr, 0, 0, 0, 0, 0, &slot, "ERR: ZPF: %s: %s", caller != nullptr ? caller : "(null)", what);
}

/** Copies what fits. A text that is cut is an answer that callers count on, not a fault: nothing is reported. */
void copy_within(char* dst, std::size_t size, const char* src)
{
    const std::size_t length = src != nullptr ? strnlen(src, size - 1) : 0;
    std::memmove(dst, src != nullptr ? src : "", length);
    dst[length] = '\0';
}

} // namespace

char* zpf_strdup(const char* text, const char* allocation_name)
{
    if (text == nullptr) {
        return nullptr;
    }
    const char* const name = allocation_name != nullptr ? allocation_name : "(unnamed)";
    const std::size_t text_bytes = std::strlen(text) + 1;
    const std::size_t name_bytes = name != text ? std::strlen(name) + 1 : 0;
    void* const block = std::malloc(sizeof(NamedString) + text_bytes + name_bytes);
    if (block == nullptr) {
        return nullptr;
    }
    auto* const string = new (block) NamedString;
    std::memcpy(string->text(), text, text_bytes);
    if (name_bytes > 0) {
        string->name_offset = text_bytes;
        std::memcpy(string->text() + text_bytes, name, name_bytes);
    }
    books.enter(string);
    return string->text();
}

void named_free(void* p)
{
    if (p == nullptr) {
        return;
    }
    NamedString* const string = static_cast<NamedString*>(p) - 1;
    if (string->alive != kAlive) {
        std::fputs("named_free: the pointer is no string of zpf_strdup, or was released before\n", stderr);
        std::abort();
    }
    books.strike_out(string);
    string->alive = 0;
    std::free(string);
}

void zpf_strings_count(zpf_string_counts* counts)
{
    const std::lock_guard guard{books.lock};
    *counts = {.live = books.allocated - books.freed, .allocated = books.allocated, .freed = books.freed};
}

void zpf_strings_visit(zpf_string_visitor visitor, void* arg)
{
    const std::lock_guard guard{books.lock};
    for (NamedString* string = books.youngest; string != nullptr; string = string->older) {
        visitor(arg, string->name(), string->text());
    }
}

void zpf_strcpy_s(const char* caller, char* dst, size_t size, const char* src)
{
    if (size == 0) {
        return;
    }
    if (dst == nullptr) {
        complain(caller, "copy without a destination");
        return;
    }
    copy_within(dst, size, src);
}

void zpf_strcat_s(const char* caller, char* dst, size_t size, const char* src)
{
    if (size == 0) {
        return;
    }
    if (dst == nullptr) {
        complain(caller, "append without a destination");
        return;
    }
    const std::size_t used = strnlen(dst, size);
    if (used == size) {
        complain(caller, "append to a text without an end");
        dst[size - 1] = '\0';
        return;
    }
    copy_within(dst + used, size - used, src);
}
