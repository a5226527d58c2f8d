// SPDX-License-Identifier: Apache-2.0
//
// Threads for reads that are too long for the loop, each with a mapping context of its own.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <queue>
#include <thread>
#include <vector>

#include "mapper.hpp"
#include "reply_printer.hpp"

namespace zpf::agent {

/// What one thread needs to answer reads.
struct Lane {
    explicit Lane(const Mapping& mapping) : mapper(mapping), printer(mapping.yang()) {}
    Mapper mapper;
    ReplyPrinter printer;
};

class Pool {
public:
    using Job = std::function<void(Lane&)>; ///< must not throw

    Pool(const Mapping& mapping, unsigned threads);
    ~Pool();
    /// Finishes what is queued.
    void stop();
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    void submit(Job job);

private:
    void run();

    const Mapping& mapping_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::queue<Job> jobs_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace zpf::agent
