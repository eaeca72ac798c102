// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/cost.hpp"

#include <algorithm>
#include <numeric>
#include <set>

#include "dfdctl/coverage/matrix.hpp"

namespace dfdctl::coverage {

namespace {

using dfd::watch::Via;
using observe::Event;
using observe::Observation;

/// How often an event happened: repetitions are kept once.
std::uint64_t times_of(const Observation &seen, std::size_t event) {
    std::uint64_t times = 1;
    for (const observe::Repeat &repeat : seen.repeats) {
        if (event >= repeat.first && event < repeat.first + repeat.count) {
            times *= repeat.times;
        }
    }
    return times;
}

Traffic &traffic_with(std::vector<Traffic> &all, const Event &event) {
    const std::uint16_t addr = event.via == Via::i2c ? event.addr : std::uint16_t{0};
    const auto found = std::ranges::find_if(all, [&](const Traffic &traffic) {
        return traffic.via == event.via && traffic.device == event.text && traffic.addr == addr;
    });
    return found != all.end()
               ? *found
               : all.emplace_back(Traffic{.via = event.via, .device = event.text, .addr = addr});
}

void add(Cost &cost, const Observation &seen) {
    for (std::size_t i = 0; i < seen.events.size(); ++i) {
        const Event &event = seen.events[i];
        const std::uint64_t times = times_of(seen, i);
        if (event.kind == Event::Kind::pause) {
            cost.pause_us += times * event.number;
        }
        if (event.kind != Event::Kind::transfer || event.via == Via::file_exists) {
            continue;
        }
        Traffic &traffic = traffic_with(cost.traffic, event);
        (event.is_write ? traffic.writes : traffic.reads) += times;
        traffic.bytes += times * event.len;
        if (event.via == Via::i2c) {
            traffic.bits += times * i2c_bits(event.is_write, event.offset_bytes, event.len);
        }
    }
}

}  // namespace

std::uint64_t Cost::transfers() const {
    return std::accumulate(
        traffic.begin(), traffic.end(), std::uint64_t{0},
        [](std::uint64_t sum, const Traffic &one) { return sum + one.reads + one.writes; });
}

std::uint64_t Cost::bytes() const {
    return std::accumulate(traffic.begin(), traffic.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const Traffic &one) { return sum + one.bytes; });
}

std::uint64_t Cost::bus_us(std::uint32_t i2c_khz) const {
    const std::uint64_t bits =
        std::accumulate(traffic.begin(), traffic.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const Traffic &one) { return sum + one.bits; });
    return microseconds(bits, i2c_khz);
}

Cost monitoring_pass(std::span<const Cell> cells) {
    std::set<std::string_view> driver_names;
    for (const Cell &cell : cells) {
        if (const Name name = split_name(cell.call->name); name.prefix == "drv") {
            driver_names.insert(name.base);
        }
    }
    Cost cost;
    for (const Cell &cell : cells) {
        const Name name = split_name(cell.call->name);
        const bool is_called = cell.call->is_polled && cell.state == State::answers &&
                               (name.prefix == "drv" || !driver_names.contains(name.base));
        if (is_called) {
            ++cost.calls;
            add(cost, cell.pass);
        }
    }
    std::ranges::sort(cost.traffic, [](const Traffic &a, const Traffic &b) {
        return std::tie(a.via, a.device, a.addr) < std::tie(b.via, b.device, b.addr);
    });
    return cost;
}

std::uint64_t i2c_bits(bool is_write, int offset_bytes, std::uint32_t len) {
    constexpr std::uint64_t kByte = 9;
    constexpr std::uint64_t kStart = 1;
    constexpr std::uint64_t kStop = 1;
    const std::uint64_t address_and_offset = kByte * (1 + static_cast<std::uint64_t>(offset_bytes));
    // Data that is read follows a second address.
    const std::uint64_t turn = is_write ? 0 : kStart + kByte;
    return kStart + address_and_offset + turn + kByte * len + kStop;
}

std::uint64_t microseconds(std::uint64_t bits, std::uint32_t i2c_khz) {
    constexpr std::uint64_t kUsPerMs = 1000;
    return (bits * kUsPerMs + i2c_khz / 2) / i2c_khz;
}

}  // namespace dfdctl::coverage
