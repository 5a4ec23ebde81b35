// What is known of a device that measures: which files it has, and what its names and limits are. And the reading of
// it, which works on no more than a plan, so that a call that hangs can do it.
//
// A device is a directory below a class of sysfs. It holds channels of several kinds ("temp1", "fan2"), each a row; the
// first kind is that of the device itself, with one row always.
#pragma once

#include "host/areas/SensorAttribute.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <bitset>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

namespace zel {

inline constexpr std::size_t SENSOR_ATTRIBUTES_AT_MOST = 96; // of one kind of row
inline constexpr std::size_t SENSOR_CHANNELS_AT_MOST = 1024; // of one kind on a device
inline constexpr std::uint64_t SENSOR_NUMBER_AT_MOST = 9999;
inline constexpr std::size_t SENSOR_FILE_AT_MOST = 95; // characters of a name

template<class Row> struct Channel {
    Row row;
    std::uint64_t number = 0;
    std::bitset<SENSOR_ATTRIBUTES_AT_MOST> present = {}; // by ChannelKind<Row>::ATTRIBUTES
};

template<class... Kind> struct SensorPlan {
    using Channels = std::tuple<std::vector<Channel<Kind>>...>;

    FileIdentity identity;
    bool inDevice = false;     // the files are in the directory "device" of the device: chips before kernel 3.13
    std::string name, device;  // of a chip: see host/areas/HwmonNames.h
    Channels channels;         // with names and limits
    std::size_t described = 0; // how many of the files that are read now and then were read
};

/// What a call answers.
template<class... Kind> struct SensorAnswer {
    std::shared_ptr<const SensorPlan<Kind...>> plan;
    std::vector<Number> numbers; // what is read in each sample, in the order of the plan
    std::vector<Reading<std::string>> texts;
    int error = 0; // the first failure, and its file
    std::string file;

    void note(int failure, std::string_view name) {
        if (error != 0 || failure == 0)
            return;
        error = failure;
        file = name;
    }
};

/// Why a sensor gives nothing: EAGAIN and EBUSY say that there is no value yet, ENODATA that there is none.
inline Absence sensorAbsence(int error) {
    if (error == EAGAIN || error == EBUSY)
        return Absence::NotYet;
    return error == ENODATA || error == ENOMEDIUM ? Absence::Unsupported : absenceOf(error);
}

/// Calls use(channel, attribute, index) for each file of the plan that is read at `when`, in a fixed order.
template<class Channels, class Use> void forEachFile(Channels &channels, WhenRead when, Use &&use) {
    const auto ofKind = [&]<class Row>(auto &list, std::span<const SensorAttribute<Row>> attributes) {
        for (auto &channel : list) {
            for (std::size_t index = 0; index < attributes.size(); ++index) {
                if (channel.present[index] && attributes[index].when == when)
                    use(channel, attributes[index]);
            }
        }
    };
    std::apply(
        [&](auto &...list) { (ofKind(list, ChannelKind<std::decay_t<decltype(list.front().row)>>::ATTRIBUTES), ...); },
        channels);
}

/// The name of a file: "temp1_input", "pwm1", "type".
class SensorFileName {
public:
    SensorFileName(std::string_view prefix, std::uint64_t number, std::string_view attribute) {
        char *end = std::copy(prefix.begin(), prefix.end(), m_text);
        if (!prefix.empty())
            end = std::to_chars(end, end + 20, number).ptr;
        if (!prefix.empty() && !attribute.empty())
            *end++ = '_';
        end = std::copy(attribute.begin(), attribute.end(), end);
        m_length = static_cast<std::size_t>(end - m_text);
    }
    SensorFileName(std::string_view sensor, std::string_view attribute) {
        char *end = std::copy(sensor.begin(), sensor.end(), m_text);
        *end++ = '_';
        end = std::copy(attribute.begin(), attribute.end(), end);
        m_length = static_cast<std::size_t>(end - m_text);
    }
    std::string_view text() const { return {m_text, m_length}; }

private:
    char m_text[SENSOR_FILE_AT_MOST + 1]; // prefixes and attributes are those of the tables, names of files no longer
    std::size_t m_length = 0;
};

template<class Row> SensorFileName fileOf(const Channel<Row> &channel, const SensorAttribute<Row> &attribute) {
    return {ChannelKind<Row>::PREFIX, channel.number, attribute.name};
}

/// Of a kind that takes what no other does.
template<class Row>
requires requires {
    ChannelKind<Row>::SENSOR_PREFIXES;
}
SensorFileName fileOf(const Channel<Row> &channel, const SensorAttribute<Row> &) {
    return {channel.row.sensor, channel.row.attribute};
}

/// Reads the files of one device.
template<class... Kind> class SensorFiles {
public:
    using Plan = SensorPlan<Kind...>;
    using Answer = SensorAnswer<Kind...>;

    SensorFiles(DeviceAttributes &files, Answer &answer) : m_files(files), m_answer(answer) {}

    /// What is read in each sample.
    void measure(const Plan &plan) {
        forEachFile(plan.channels, EACH_SAMPLE, [this](const auto &channel, const auto &attribute) {
            const int error = read(fileOf(channel, attribute).text());
            if (!attribute.isText()) {
                m_answer.numbers.push_back(number(error, attribute.scale));
                return;
            }
            m_answer.texts.emplace_back(sensorAbsence(error));
            if (error == 0)
                takeAttributeText(m_files.text(), m_answer.texts.back());
        });
    }

    /// Names, limits and alarms, as many as can be read until `end`, from where the plan says on.
    void describe(Plan &plan, std::chrono::steady_clock::time_point end) {
        std::size_t place = 0;
        bool late = false;
        forEachFile(plan.channels, NOW_AND_THEN, [&](auto &channel, const auto &attribute) {
            if (place++ < plan.described || late)
                return;
            const int error = read(fileOf(channel, attribute).text());
            std::visit([&](auto member) { take(error, attribute.scale, channel.row.*member); }, attribute.member);
            ++plan.described;
            late = std::chrono::steady_clock::now() >= end;
        });
    }

private:
    int read(std::string_view file) {
        const int error = m_files.read(file);
        const Absence absence = sensorAbsence(error);
        if (absence != Absence::Unsupported && absence != Absence::NotYet)
            m_answer.note(error, file);
        return error;
    }

    Number number(int error, const Scale &scale) const {
        if (error != 0)
            return sensorAbsence(error);
        const char *cursor = m_files.text().data();
        const Number value = takeInteger(cursor);
        if (!value && scale.maybeNumber)
            return Absence::Unsupported;
        if (value && *value < 0 && scale.counts)
            return Absence::Malformed;
        return value ? Number(*value * scale.factor / scale.divisor) : value;
    }

    void take(int error, const Scale &scale, Number &reading) const { reading = number(error, scale); }
    void take(int error, const Scale &, Count &reading) const {
        reading = error == 0 ? attributeNumber(m_files.text().data()) : Count(sensorAbsence(error));
    }
    void take(int error, const Scale &, Reading<std::string> &reading) const {
        if (error == 0)
            takeAttributeText(m_files.text(), reading);
        else
            reading.clear(sensorAbsence(error));
    }
    void take(int error, const Scale &, std::string &text) const {
        if (error == 0)
            text = trimmed(m_files.text());
    }

    DeviceAttributes &m_files;
    Answer &m_answer;
};

/// How many files of the plan are read now and then.
template<class Channels> std::size_t filesToDescribe(const Channels &channels) {
    std::size_t count = 0;
    forEachFile(channels, NOW_AND_THEN, [&count](const auto &, const auto &) { ++count; });
    return count;
}

/// Takes the numbers and texts of an answer into the rows that its plan describes.
template<class Channels, class Answer> void takeMeasured(const Answer &answer, Channels &channels) {
    std::size_t number = 0, text = 0;
    const auto take = [&]<class T>(T &reading) {
        if constexpr (std::is_same_v<T, Number>) {
            reading = answer.numbers[number++];
        } else if constexpr (std::is_same_v<T, Count>) {
            const Number &value = answer.numbers[number++];
            reading = !value       ? Count(value.absence())
                      : *value < 0 ? Count(Absence::Unsupported)
                                   : Count(static_cast<std::uint64_t>(*value));
        } else if constexpr (std::is_same_v<T, Reading<std::string>>) {
            reading.assign(answer.texts[text++]);
        }
    };
    forEachFile(channels, EACH_SAMPLE, [&](auto &channel, const auto &attribute) {
        std::visit([&](auto member) { take(channel.row.*member); }, attribute.member);
    });
}

/// Takes the values away that are read at `when`.
template<class Channels> void loseFiles(Channels &channels, WhenRead when, Absence reason) {
    const auto lose = [reason]<class T>(T &reading) {
        if constexpr (!std::is_same_v<T, std::string>)
            reading.clear(reason);
    };
    forEachFile(channels, when, [&](auto &channel, const auto &attribute) {
        std::visit([&](auto member) { lose(channel.row.*member); }, attribute.member);
    });
}

} // namespace zel
