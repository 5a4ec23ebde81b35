// Finds out which files a device that measures has, from the names in its directory.
#pragma once

#include "host/DirectoryWalk.h"
#include "host/areas/SensorPlan.h"

#include <algorithm>
#include <tuple>

namespace zel {

/// Makes a plan of the names of a directory. What no table names is left out.
template<class... Kind> class SensorListing {
public:
    explicit SensorListing(SensorPlan<Kind...> &plan) : m_plan(plan) {}

    /// 0, or the errno that kept the names from being read.
    int read(ScopedDescriptor directory) {
        m_plan.channels = {};
        std::get<0>(m_plan.channels).resize(1); // the device itself
        DirectoryRoom<4096> room;
        DirectoryWalk walk(std::move(directory), room);
        if (!walk.isOpen())
            return EBADF;
        while (const char *name = walk.next())
            (note<Kind>(name) || ...);
        std::apply([](auto &...list) { (sort(list), ...); }, m_plan.channels);
        return walk.error();
    }

private:
    // Sample: temp1_crit_alarm
    // Takes the number behind the prefix away, and the underscore; false when the name is not of that form.
    static bool takeNumber(std::string_view prefix, std::string_view &name, std::uint64_t &number) {
        if (!name.starts_with(prefix))
            return false;
        const char *first = name.data() + prefix.size();
        const auto [end, error] = std::from_chars(first, name.data() + name.size(), number);
        if (error != std::errc() || number > SENSOR_NUMBER_AT_MOST)
            return false;
        name.remove_prefix(static_cast<std::size_t>(end - name.data()));
        if (!name.empty() && name.front() != '_')
            return false;
        name.remove_prefix(name.empty() ? 0 : 1);
        return true;
    }

    // True when the kind has this file.
    template<class Row> bool note(std::string_view name) {
        constexpr std::string_view prefix = ChannelKind<Row>::PREFIX;
        std::uint64_t number = 0;
        if constexpr (requires { ChannelKind<Row>::SENSOR_PREFIXES; })
            return noteOther<Row>(name);
        if (!prefix.empty() && !takeNumber(prefix, name, number))
            return false;
        constexpr std::span<const SensorAttribute<Row>> attributes = ChannelKind<Row>::ATTRIBUTES;
        static_assert(attributes.size() <= SENSOR_ATTRIBUTES_AT_MOST);
        const auto found = std::find_if(attributes.begin(), attributes.end(),
                                        [name](const SensorAttribute<Row> &each) { return each.name == name; });
        if (found == attributes.end())
            return false;
        if (Channel<Row> *channel = channelOf<Row>(number))
            channel->present.set(static_cast<std::size_t>(found - attributes.begin()));
        return true;
    }

    // What is only there to be written to says nothing.
    template<class Row> bool noteOther(std::string_view name) {
        constexpr std::string_view writeOnly = "reset_history";
        std::vector<Channel<Row>> &list = std::get<std::vector<Channel<Row>>>(m_plan.channels);
        for (const std::string_view prefix : ChannelKind<Row>::SENSOR_PREFIXES) {
            std::string_view attribute = name;
            std::uint64_t number = 0;
            if (!takeNumber(prefix, attribute, number) || attribute.empty() || attribute == writeOnly ||
                name.size() > SENSOR_FILE_AT_MOST || list.size() == SENSOR_CHANNELS_AT_MOST)
                continue;
            Channel<Row> &channel = list.emplace_back();
            channel.row.sensor = name.substr(0, name.size() - attribute.size() - 1);
            channel.row.attribute = attribute;
            channel.present.set(0);
            return true;
        }
        return false;
    }

    template<class Row> Channel<Row> *channelOf(std::uint64_t number) {
        std::vector<Channel<Row>> &list = std::get<std::vector<Channel<Row>>>(m_plan.channels);
        const auto found =
            std::find_if(list.begin(), list.end(), [number](const auto &each) { return each.number == number; });
        if (found != list.end())
            return &*found;
        if (list.size() == SENSOR_CHANNELS_AT_MOST)
            return nullptr;
        list.emplace_back();
        list.back().number = number;
        return &list.back();
    }

    template<class Row> static void sort(std::vector<Channel<Row>> &list) {
        std::sort(list.begin(), list.end(), [](const auto &one, const auto &other) {
            if constexpr (requires { ChannelKind<Row>::SENSOR_PREFIXES; })
                return std::tie(one.row.sensor, one.row.attribute) < std::tie(other.row.sensor, other.row.attribute);
            else
                return one.number < other.number;
        });
    }

    SensorPlan<Kind...> &m_plan;
};

} // namespace zel
