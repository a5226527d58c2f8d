// SPDX-License-Identifier: Apache-2.0
//
// Owners of trace handles, and reading a ring in one go.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "zpf/diagnostics.h"
#include "zpf_base/trace.h"

namespace zpf::test {

struct CloseTrace {
    void operator()(zpf_trace_ring* ring) const noexcept { zpf_trace_ring_close(ring); }
    void operator()(zpf_trace_reader* reader) const noexcept { zpf_trace_reader_close(reader); }
};
using Ring = std::unique_ptr<zpf_trace_ring, CloseTrace>;
using Reader = std::unique_ptr<zpf_trace_reader, CloseTrace>;

/** Never null in a test that goes on: asserts on the result with the reason. */
inline Ring open_ring(const std::string& path, std::uint32_t slots)
{
    std::array<char, 512> why{};
    Ring ring{zpf_trace_ring_open(path.c_str(), slots, why.data(), why.size())};
    EXPECT_NE(ring, nullptr) << why.data();
    return ring;
}

inline Reader open_reader(const std::string& path)
{
    std::array<char, 512> why{};
    Reader reader{zpf_trace_reader_open(path.c_str(), why.data(), why.size())};
    EXPECT_NE(reader, nullptr) << why.data();
    return reader;
}

inline void write(const Ring& ring, const std::string& text)
{
    trace_ring_write(ring.get(), ZPF_TRACE_FLAGS, text.c_str());
}

/** Every line that can be read now, as text; "-2" stands for two lines lost. */
inline std::vector<std::string> read_all(const Reader& reader)
{
    std::vector<std::string> lines;
    zpf_trace_line line;
    std::uint64_t lost = 0;
    while (zpf_trace_reader_next(reader.get(), &line, &lost) == 1) {
        if (lost != 0) {
            lines.push_back("-" + std::to_string(lost));
        }
        lines.emplace_back(line.text);
    }
    return lines;
}

} // namespace zpf::test
