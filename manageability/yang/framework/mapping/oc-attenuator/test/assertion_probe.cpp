// SPDX-License-Identifier: Apache-2.0
//
// The C library's end of a failed assertion, taken over while a probe waits for one. Jumping out of it is sound here:
// no function of the plug-in keeps anything that would have to be released. A test's own call must not either, so
// it looks its function up beforehand.
#include "assertion_probe.hpp"

#include <csetjmp>
#include <cstdlib>
#include <dlfcn.h>

namespace {

std::jmp_buf way_back;
std::optional<test::Assertion> caught;
bool waits = false;

} // namespace

extern "C" [[noreturn]] __attribute__((visibility("default"))) void
__assert_fail(const char* assertion, const char* file, unsigned line, const char* function) noexcept
{
    if (waits) {
        waits = false;
        caught = test::Assertion{assertion, file, line, function};
        std::longjmp(way_back, 1);
    }
    using Real = void(const char*, const char*, unsigned, const char*);
    reinterpret_cast<Real*>(dlsym(RTLD_NEXT, "__assert_fail"))(assertion, file, line, function);
    std::abort();
}

namespace test {

std::optional<Assertion> failed_assertion(const std::function<void()>& call)
{
    caught.reset();
    waits = true;
    if (setjmp(way_back) == 0) {
        call();
        waits = false;
    }
    return caught;
}

} // namespace test
