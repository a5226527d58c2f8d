// SPDX-License-Identifier: Apache-2.0
//
// What the agent asks of the device: take configuration, and report readings as they change.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zpf::device {

/**
 * One difference of the device's configuration. The views belong to the caller and are good during apply() only.
 *
 * `key` is the leaf's path as the store keeps it: list keys behind '=', separated by commas, percent-encoded:
 * /config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=act,Ots0%2F0%2F0%2F2/
 * Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation (one line).
 */
struct Change {
    std::string_view key;
    std::optional<std::string_view> before; ///< nothing: the leaf is new
    std::optional<std::string_view> after;  ///< nothing: the leaf is deleted
};

/// Why the device did not take a change.
struct Refusal {
    std::string key; ///< of the change that is to blame
    std::string message;
    bool no_answer = false; ///< the device did not answer within the limit
};

/// Readings of one port, by leaf name of its operational data.
struct Reading {
    std::string port; ///< as in "Ots0/0/0/2"
    /// Such as "tx-voa-attenuation", in tenths of a dB. A missing value could not be read.
    std::vector<std::pair<std::string, std::optional<std::string>>> leaves;

    bool operator==(const Reading&) const = default;
};

/// A device. apply() is called by one thread at a time; start() and stop() by the owner, not during an apply().
class Driver {
public:
    virtual ~Driver() = default;

    /// Takes all of the changes or none, and says why not. Blocks for at most `limit`, about.
    virtual std::optional<Refusal> apply(std::span<const Change> changes, std::chrono::milliseconds limit) = 0;

    /// Called with the ports that have news, each with all of its leaves, by one thread that belongs to the driver.
    /// Must not call the driver. The span is good during the call.
    using Report = std::function<void(std::span<const Reading>)>;

    /**
     * Begins to report: all ports once, then each port that changes.
     * @param first readings to begin with, from seed data or an earlier run; used during the call only
     */
    virtual void start(std::span<const Reading> first, Report report) = 0;

    /// Ends reporting: no report is running or comes after it returns. Nothing happens if reporting never began.
    virtual void stop() = 0;
};

} // namespace zpf::device
