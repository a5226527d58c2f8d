// SPDX-License-Identifier: Apache-2.0
//
// What zpfd is told when it is started.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "limits.hpp"

namespace zpf::agent {

struct Options {
    std::string store;
    bool relaxed = false;            ///< --sync relaxed
    std::vector<std::string> listen; ///< unix:PATH, ssh:ADDR:PORT, tls:ADDR:PORT
    std::string seed;
    std::vector<std::pair<std::string, std::string>> authorized_keys; ///< user, file
    std::vector<std::pair<std::string, std::string>> tls_users;       ///< fingerprint, user
    std::string tls_certificate;
    std::string tls_key;
    std::string tls_ca;
    std::string plugin_dir;
    std::vector<std::string> yang_dirs;
    std::vector<std::string> protocol_yang_dirs;
    std::string device = "sim";
    double slew_db_per_s = 0; ///< of the simulated attenuators; 0: at once
    int log_level = 2;        ///< 1 error, 2 info, 3 debug
    std::string mapping_log = "off";
    std::string trace_file;
    bool trace = false;
    unsigned threads = 2;
    bool keep_answers = true; ///< repeated reads are answered from memory while nothing has changed
    Limits limits;
};

struct ListenAddress {
    std::string kind;  ///< unix, ssh or tls
    std::string place; ///< path, or host
    uint16_t port = 0;
};

/// From the least to the most that makes sense.
template <typename Number>
struct NumberRange {
    Number least;
    Number most;
};

inline constexpr NumberRange<std::size_t> kSessionsRange{1, 65535};
inline constexpr NumberRange<std::size_t> kMessageBytesRange{1024, std::size_t{1} << 30U};
inline constexpr NumberRange<std::size_t> kUnsentBytesRange{1024, std::size_t{1} << 40U};
inline constexpr NumberRange<double> kSecondsRange{0.001, 86400};
inline constexpr NumberRange<double> kSlewRange{0, 1'000'000};

/// What is wrong with the value of an option; empty: it is a number in the range.
std::string complaint_of(const std::string& text, const NumberRange<std::size_t>& range);
std::string complaint_of(const std::string& text, const NumberRange<double>& range);

/// Throws std::invalid_argument.
ListenAddress parse_listen(const std::string& text);

} // namespace zpf::agent
