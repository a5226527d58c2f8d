// SPDX-License-Identifier: Apache-2.0
//
// The readers' threads.
#include "pool.hpp"

namespace zpf::agent {

Pool::Pool(const Mapping& mapping, unsigned threads) : mapping_(mapping)
{
    for (unsigned i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { run(); });
    }
}

Pool::~Pool()
{
    stop();
}

void Pool::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

void Pool::submit(Job job)
{
    {
        const std::lock_guard lock(mutex_);
        jobs_.push(std::move(job));
    }
    wake_.notify_one();
}

void Pool::run()
{
    Lane lane(mapping_);
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        if (jobs_.empty()) {
            return;
        }
        const Job job = std::move(jobs_.front());
        jobs_.pop();
        lock.unlock();
        job(lane);
        lock.lock();
    }
}

} // namespace zpf::agent
