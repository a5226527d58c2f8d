// SPDX-License-Identifier: Apache-2.0
//
// The same work on several threads at once.
#pragma once

#include <thread>
#include <vector>

namespace zpf::test {

/** Threads at work; joined when it goes. */
class Threads {
public:
    /** Starts `work(0)` to `work(count - 1)`. */
    template <typename Work>
    Threads(std::size_t count, Work work)
    {
        threads_.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            threads_.emplace_back(work, i);
        }
    }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    ~Threads()
    {
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

private:
    std::vector<std::thread> threads_;
};

} // namespace zpf::test
