// SPDX-License-Identifier: Apache-2.0
//
// The ports of the simulated device over time.
#include "plant.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "zpf_device/simulation.hpp"

namespace zpf::device {

namespace {

constexpr std::string_view kAttenuation = "tx-voa-attenuation";
constexpr std::array kAttenuators{"Ots0/0/0/0", "Ots0/0/0/2"};

std::optional<int> number(const std::optional<std::string>& text)
{
    int value = 0;
    if (!text) {
        return std::nullopt;
    }
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    return error == std::errc{} && end == text->data() + text->size() ? std::optional(value) : std::nullopt;
}

} // namespace

Plant::Plant(double slew_tenths_per_s) : slew_tenths_per_s_(slew_tenths_per_s)
{
    for (const char* name : kAttenuators) {
        ports_[name];
    }
}

void Plant::power_up(std::span<const Reading> first, Time now)
{
    for (auto& [name, port] : ports_) {
        port.reading_tenths.reset();
        port.motion.reset();
        port.others.clear();
    }
    for (const Reading& reading : first) {
        Port& port = ports_[reading.port];
        for (const auto& [leaf, value] : reading.leaves) {
            if (leaf == kAttenuation) {
                port.reading_tenths = number(value);
            } else {
                port.others.emplace_back(leaf, value);
            }
        }
    }
    powered_ = true;
    for (auto& [name, port] : ports_) {
        const bool always = std::find(kAttenuators.begin(), kAttenuators.end(), name) != kAttenuators.end();
        if (!port.reading_tenths && (always || port.configured_tenths)) {
            port.reading_tenths = port.configured_tenths.value_or(0);
        }
        port.fault = fault_of(name);
        port.report_at = now + port.fault.delay;
    }
}

Plant::Port& Plant::port_named(const std::string& name, Time now)
{
    const auto [found, is_new] = ports_.try_emplace(name);
    if (is_new) {
        found->second.fault = fault_of(name);
        news(found->second, now);
    }
    return found->second;
}

void Plant::add_port(const std::string& port, Time now)
{
    port_named(port, now);
}

void Plant::configure(const std::string& name, std::optional<int> tenths, Time now)
{
    Port& port = port_named(name, now);
    port.configured_tenths = tenths;
    if (!powered_) {
        return;
    }
    if (tenths) {
        move_to(port, *tenths, now);
    } else {
        stop_moving(port, now);
    }
}

void Plant::set_slew(double tenths_per_s, Time now)
{
    for (auto& [name, port] : ports_) {
        if (port.motion) {
            port.motion->from_tenths = position(*port.motion, now);
            port.motion->since = now;
        }
    }
    slew_tenths_per_s_ = tenths_per_s;
    for (auto& [name, port] : ports_) {
        if (port.motion && slew_tenths_per_s_ <= 0) {
            advance(port, now);
        }
    }
}

ReadingFault Plant::fault_of(const std::string& name) const
{
    const auto found = faults_.find(name);
    return found == faults_.end() ? ReadingFault{} : found->second;
}

void Plant::set_reading_faults(std::map<std::string, ReadingFault> faults, Time now)
{
    faults_ = std::move(faults);
    for (auto& [name, port] : ports_) {
        const bool was_unreadable = port.fault.unreadable;
        port.fault = fault_of(name);
        if (port.fault.unreadable != was_unreadable) {
            port.report_at = now; // that a port cannot be read, or can be again, is known at once
        } else if (port.report_at) {
            port.report_at = std::min(*port.report_at, now + port.fault.delay);
        }
    }
}

void Plant::move_to(Port& port, int tenths, Time now)
{
    if (!port.reading_tenths || slew_tenths_per_s_ <= 0) {
        port.motion.reset();
        read_as(port, tenths, now);
        return;
    }
    const double from = port.motion ? position(*port.motion, now) : *port.reading_tenths;
    const Time next_step = port.motion ? port.motion->next_step : now + Simulation::kStep;
    port.motion = Motion{from, now, tenths, next_step};
}

void Plant::stop_moving(Port& port, Time now)
{
    if (port.motion) {
        const int here = static_cast<int>(std::lround(position(*port.motion, now)));
        port.motion.reset();
        read_as(port, here, now);
    }
}

double Plant::position(const Motion& motion, Time now) const
{
    const double distance = motion.target_tenths - motion.from_tenths;
    const double passed_s = std::chrono::duration<double>(now - motion.since).count();
    if (slew_tenths_per_s_ <= 0 || passed_s * slew_tenths_per_s_ >= std::abs(distance)) {
        return motion.target_tenths;
    }
    return motion.from_tenths + std::copysign(passed_s * slew_tenths_per_s_, distance);
}

void Plant::advance(Port& port, Time now)
{
    const double here = position(*port.motion, now);
    const bool there = here == port.motion->target_tenths;
    while (port.motion->next_step <= now) { // steps that were missed are not made up for
        port.motion->next_step += Simulation::kStep;
    }
    if (there) {
        port.motion.reset();
    }
    read_as(port, static_cast<int>(std::lround(here)), now);
}

void Plant::read_as(Port& port, int tenths, Time now)
{
    if (port.reading_tenths != tenths) {
        port.reading_tenths = tenths;
        news(port, now);
    }
}

void Plant::news(Port& port, Time now)
{
    if (!port.report_at && !port.fault.unreadable) {
        port.report_at = now + port.fault.delay;
    }
}

std::vector<Reading> Plant::take_due(Time now)
{
    std::vector<Reading> due;
    for (auto& [name, port] : ports_) {
        if (port.motion && port.motion->next_step <= now) {
            advance(port, now);
        }
        if (!powered_ || !port.report_at || *port.report_at > now) {
            continue;
        }
        port.report_at.reset();
        Reading& reading = due.emplace_back(Reading{name, port.others});
        if (port.reading_tenths) {
            reading.leaves.emplace_back(kAttenuation, std::to_string(*port.reading_tenths));
        }
        if (port.fault.unreadable) {
            for (auto& [leaf, value] : reading.leaves) {
                value.reset();
            }
        }
    }
    return due;
}

std::optional<Plant::Time> Plant::next_event() const
{
    std::optional<Time> next;
    const auto consider = [&next](Time at) { next = next ? std::min(*next, at) : at; };
    for (const auto& [name, port] : ports_) {
        if (port.motion) {
            consider(port.motion->next_step);
        }
        if (powered_ && port.report_at) {
            consider(*port.report_at);
        }
    }
    return next;
}

} // namespace zpf::device
