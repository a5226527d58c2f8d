// SPDX-License-Identifier: Apache-2.0
//
// `zpf trace`: the lines of a trace ring, newest last.
// Writers change the file through memory, which the system announces to nobody: new lines are looked for at intervals.
#include "cmd_trace.hpp"

#include <array>
#include <ctime>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "signals_blocked.hpp"
#include "trace_format.hpp"
#include "zpf_base/trace.h"

namespace zpf::cli {
namespace {

constexpr timespec kLookInterval{.tv_sec = 0, .tv_nsec = 50'000'000};
constexpr timespec kAtOnce{};
constexpr std::uint32_t kPatienceCalls = 4;  // a writer gets 200 ms to finish a line while we follow
constexpr std::size_t kLinesPerBatch = 1000; // between two looks for a signal

enum Status { kDone = 0, kNoOutput = 1, kUsage = 2, kBadFile = 3 };

struct CloseReader {
    void operator()(zpf_trace_reader* reader) const noexcept { zpf_trace_reader_close(reader); }
};
using Reader = std::unique_ptr<zpf_trace_reader, CloseReader>;

/** Lines that pass the filter, as they are printed. */
class Lines {
public:
    Lines(Reader reader, const TraceOptions& options) : reader_{std::move(reader)}, options_{options} {}

    /** How many lines were ever written. */
    std::uint64_t written() const { return zpf_trace_reader_position(reader_.get()); }

    /** How many of them were read or are gone. */
    std::uint64_t passed() const { return passed_; }

    /** Reads one line into `text`, which stays empty when the filter drops it. False when there is none at present. */
    bool next(std::string& text)
    {
        zpf_trace_line line;
        std::uint64_t lost = 0;
        text.clear();
        if (zpf_trace_reader_next(reader_.get(), &line, &lost) == 0) {
            return false;
        }
        lost_ += lost;
        passed_ = line.sequence + 1;
        if (std::string_view{line.text}.find(options_.grep) != std::string_view::npos) {
            text = options_.json ? trace_json(line, lost_) : lost_text(lost_) + trace_text(line);
            lost_ = 0;
        }
        return true;
    }

    void wait_for_unfinished() { zpf_trace_reader_set_patience(reader_.get(), kPatienceCalls); }

private:
    Reader reader_;
    const TraceOptions& options_;
    std::uint64_t passed_ = 0;
    std::uint64_t lost_ = 0; // before the next line that is printed
};

/** Prints what is there now. A ring in use may grow faster than it is read: what comes meanwhile is left out. */
void print_present(Lines& lines, const TraceOptions& options, std::ostream& out)
{
    const std::uint64_t end = lines.written();
    std::deque<std::string> newest;
    std::string text;
    while (lines.passed() < end && lines.next(text)) {
        if (text.empty()) {
            continue;
        }
        if (!options.last) {
            out << text;
            continue;
        }
        newest.push_back(std::move(text));
        if (newest.size() > *options.last) {
            newest.pop_front();
        }
    }
    for (const std::string& line : newest) {
        out << line;
    }
    out.flush();
}

/** Prints new lines until one of the signals comes; they are blocked, so that a batch is never cut short. */
void print_new(Lines& lines, const TraceOptions& options, const sigset_t& signals, std::ostream& out)
{
    bool is_at_end = true;
    std::string text;
    while (out && (!options.goes_on || options.goes_on()) &&
           sigtimedwait(&signals, nullptr, is_at_end ? &kLookInterval : &kAtOnce) < 0) {
        std::size_t count = 0;
        while (count < kLinesPerBatch && lines.next(text)) {
            out << text;
            ++count;
        }
        is_at_end = count < kLinesPerBatch;
        out.flush();
    }
}

} // namespace

int run_trace(const TraceOptions& options, std::ostream& out, std::ostream& err)
{
    if (options.file.empty()) {
        err << "zpf trace: which file?\n";
        return kUsage;
    }
    std::array<char, 512> why{};
    Reader reader{zpf_trace_reader_open(options.file.c_str(), why.data(), why.size())};
    if (reader == nullptr) {
        err << "zpf trace: " << why.data() << '\n';
        return kBadFile;
    }
    Lines lines{std::move(reader), options};
    std::optional<SignalsBlocked> blocked;
    if (options.follow) {
        blocked.emplace();
    }
    print_present(lines, options, out);
    if (options.follow) {
        lines.wait_for_unfinished();
        print_new(lines, options, blocked->signals(), out);
    }
    if (!out) {
        err << "zpf trace: the output cannot be written\n";
        return kNoOutput;
    }
    return kDone;
}

} // namespace zpf::cli
