// SPDX-License-Identifier: Apache-2.0
//
// Replaces operator new for the whole program. In a file of its own, so that the compiler cannot inline half of a pair.
#include "counted_new.hpp"

#include <cstdlib>
#include <new>

namespace zpf::test {

constinit thread_local std::size_t news_of_thread = 0;
constinit thread_local bool refuse_news = false;

} // namespace zpf::test

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    ++zpf::test::news_of_thread;
    return zpf::test::refuse_news ? nullptr : std::malloc(size);
}

void* operator new(std::size_t size)
{
    ++zpf::test::news_of_thread;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc{};
    }
    return memory;
}

void* operator new[](std::size_t size)
{
    return ::operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++zpf::test::news_of_thread;
    return zpf::test::refuse_news ? nullptr : std::malloc(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
