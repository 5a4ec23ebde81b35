// The devices of one class that measure, each asked by a bounded call: one that hangs costs one thread, and the others
// are there.
//
// `Device` says which class it is:
//
//   Plan                                          SensorPlan of its kinds of rows
//   DIRECTORY, PREFIX, PART, SUBJECT              of its class, of the names in it, and of its bounded calls
//   MAY_BE_IN_DEVICE                              whether the files may be in the directory "device" of a device
//   introduce(class link, device, files, plan)    what a new device is called
//   describe(files, plan)                         what no single file says
//   nameRow(row, DeviceNames, number of channel)  what tells rows apart
#pragma once

#include "host/areas/AreaReader.h"
#include "host/areas/SensorListing.h"
#include "host/areas/SensorPlan.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceTable.h"
#include "host/source/NamedDirectory.h"
#include "host/source/Refresh.h"

#include <utility>

namespace zel {

/// How long names, limits and alarms hold, and how long reading them may take within one sample: a slow chip is
/// described in several.
inline constexpr std::chrono::seconds SENSOR_DETAIL_PERIOD{30};
inline constexpr std::chrono::milliseconds SENSOR_DETAIL_TIME{100};

/// What a device is called.
struct DeviceNames {
    const std::string &directory; // of its class
    const std::string &label;     // no other device has it
    const std::string &device;    // that it is part of
};

template<class... Kind> SensorAnswer<Kind...> answerOf(const SensorPlan<Kind...> &);
template<class Plan> using AnswerTo = decltype(answerOf(std::declval<Plan>()));

/// Reads a device of a class.
template<class Device> class SensorDeviceReading {
public:
    using Plan = typename Device::Plan;
    using Answer = AnswerTo<Plan>;

    SensorDeviceReading(const HostDirectory &root, const std::string &name, Answer &answer)
        : m_root(root), m_name(name), m_answer(answer), m_files(root, Device::DIRECTORY, name) {}

    /// As `known` says, which may be null; where names and limits are asked for too, those that can be read within
    /// `time`. 0, or the errno that kept the directory of the device from being opened.
    int read(std::shared_ptr<const Plan> known, bool describe, std::chrono::nanoseconds time) {
        const std::string link(Device::MAY_BE_IN_DEVICE ? m_files.link("") : "");
        if (const int error = m_files.hold(); error != 0)
            return error;
        std::shared_ptr<Plan> made;
        if (known == nullptr || known->identity != m_files.identity())
            made = makePlan(link);
        else if (describe)
            made = std::make_shared<Plan>(*known);
        DeviceAttributes &place = placeOf(made ? *made : *known);
        SensorFiles reading(place, m_answer);
        reading.measure(made ? *made : *known);
        if (made) {
            if (made->described == filesToDescribe(made->channels))
                made->described = 0;
            Device::describe(place, *made);
            reading.describe(*made, std::chrono::steady_clock::now() + time);
            known = std::move(made);
        }
        m_answer.plan = std::move(known);
        return 0;
    }

private:
    std::shared_ptr<Plan> makePlan(std::string_view link) {
        auto plan = std::make_shared<Plan>();
        plan->identity = m_files.identity();
        plan->inDevice = Device::MAY_BE_IN_DEVICE && !m_files.has("name");
        m_answer.note(SensorListing(*plan).read(placeOf(*plan).names()), "");
        loseFiles(plan->channels, NOW_AND_THEN, Absence::NotYet);
        Device::introduce(link, m_files, placeOf(*plan), *plan);
        return plan;
    }

    DeviceAttributes &placeOf(const Plan &plan) {
        if (plan.inDevice && !m_inner) {
            m_inner.emplace(m_root, std::string(Device::DIRECTORY) + '/' + m_name, "device");
            m_inner->hold();
        }
        return plan.inDevice ? *m_inner : m_files;
    }

    const HostDirectory &m_root;
    const std::string &m_name;
    Answer &m_answer;
    DeviceAttributes m_files;
    std::optional<DeviceAttributes> m_inner; // its directory "device"
};

/// The rows of a sample that have this type.
template<class Row> Rows<Row> &rowsOf(Sample &sample) {
    return sample.*std::get<Section<Row, Sample>>(SECTIONS).many;
}

template<class Device> class SensorDevices {
public:
    /// The devices that there are; below a root directory, where the whole area is one bounded call, their values too.
    void read(Take &take) {
        const int error = m_list.read(take.root);
        noteUnlessMissing(take.sample.area(Area::Sensors), error, m_list.path());
        m_known.startSample();
        m_now = std::chrono::steady_clock::now();
        m_devices.clear();
        for (const std::string &name : m_list.names())
            m_devices.push_back({&name, &m_known.of(name)});
        m_known.endSample();
        if (take.root.own())
            return;
        for (const Named &device : m_devices) {
            Answer answer;
            const int failure =
                SensorDeviceReading<Device>(take.root, *device.name, answer).read(nullptr, true, NO_LIMIT);
            takeAnswer(take, device, {failure, 0, failure == 0 ? &answer : nullptr});
        }
        fill(take.sample);
    }

    void ask(Take &take) {
        m_reads.begin(take.deadline, m_devices.size());
        for (const Named &device : m_devices) {
            m_reads.ask(*device.name, [root = HostDirectory(take.root), name = *device.name, plan = device.known->plan,
                                       due = m_now >= device.known->due](Answer &answer) {
                return SensorDeviceReading<Device>(root, name, answer).read(plan, due, SENSOR_DETAIL_TIME);
            });
        }
    }

    void finish(Take &take) {
        for (std::size_t place = 0; place < m_devices.size(); ++place)
            takeAnswer(take, m_devices[place], m_reads.wait(place));
        fill(take.sample);
    }

    bool empty() const { return m_devices.empty(); }

private:
    using Plan = typename Device::Plan;
    using Answer = AnswerTo<Plan>;

    // What is known of a device from one sample to the next.
    struct Known {
        std::shared_ptr<const Plan> plan;
        typename Plan::Channels channels; // of the plan, with what was measured
        std::string label;
        std::chrono::steady_clock::time_point due; // at once
        double silentSeconds = 0;
        bool gone = false;
    };
    struct Named {
        const std::string *name;
        Known *known;
    };

    void takeAnswer(Take &take, const Named &device, const BoundedRead<Answer> &read) {
        Known &known = *device.known;
        AreaState &state = take.sample.area(Area::Sensors);
        known.silentSeconds = read.silentSeconds;
        known.gone = read.error == ENOENT || read.error == ENODEV;
        if (read.answer == nullptr)
            return lose(state, device, read);
        const Answer &answer = *read.answer;
        if (answer.error != 0)
            noteFailure(state, answer.error, pathOf(device) + '/' + answer.file);
        if (answer.plan != known.plan) {
            known.plan = answer.plan;
            known.channels = answer.plan->channels;
            const bool isWhole = known.plan->described == filesToDescribe(known.channels);
            known.due = isWhole ? m_now + spread(SENSOR_DETAIL_PERIOD, *device.name) : m_now;
            m_renamed = true;
        }
        takeMeasured(answer, known.channels);
    }

    // One that never answered has a row that says so.
    void lose(AreaState &state, const Named &device, const BoundedRead<Answer> &read) {
        Known &known = *device.known;
        if (known.gone) {
            m_list.expire();
            known = {};
            known.gone = true;
            return;
        }
        noteFailure(state, read.error, pathOf(device));
        if (read.error == ETIMEDOUT)
            noteSilence(state, read.silentSeconds, pathOf(device));
        if (known.plan != nullptr)
            return loseFiles(known.channels, EACH_SAMPLE, absenceOf(read.error));
        auto &rows = std::get<0>(known.channels);
        rows.resize(1);
        forget(rows.front().row, absenceOf(read.error));
        m_renamed = true;
    }

    std::string pathOf(const Named &device) const { return m_list.path() + ('/' + *device.name); }

    // Two parts of one device may give two chips the same name.
    void nameRows() {
        std::vector<std::string_view> labels;
        for (const Named &device : m_devices) {
            Known &known = *device.known;
            known.label = known.plan == nullptr || known.plan->name.empty() ? *device.name : known.plan->name;
            if (std::find(labels.begin(), labels.end(), known.label) != labels.end())
                known.label += '_' + *device.name;
            labels.push_back(known.label);
            static const std::string none;
            const DeviceNames names{*device.name, known.label, known.plan == nullptr ? none : known.plan->device};
            forEachChannel(known.channels,
                           [&names](auto &channel) { Device::nameRow(channel.row, names, channel.number); });
        }
    }

    void fill(Sample &sample) {
        if (std::exchange(m_renamed, false))
            nameRows();
        for (const Named &device : m_devices) {
            if (device.known->gone)
                continue;
            auto &own = std::get<0>(device.known->channels).front().row;
            if constexpr (requires { own.silentSeconds; })
                own.silentSeconds = device.known->silentSeconds;
            forEachChannel(device.known->channels, [&sample]<class Row>(const Channel<Row> &channel) {
                rowsOf<Row>(sample).append() = channel.row;
            });
        }
    }

    template<class Use> static void forEachChannel(typename Plan::Channels &channels, Use &&use) {
        std::apply([&use](auto &...list) { (std::for_each(list.begin(), list.end(), use), ...); }, channels);
    }

    static constexpr std::chrono::nanoseconds NO_LIMIT = std::chrono::hours(1); // the whole area has one

    NamedDirectory m_list{Device::DIRECTORY, Device::PREFIX, Device::PART};
    DeviceTable<Known> m_known;
    BoundedReads<Answer> m_reads{Device::SUBJECT};
    std::vector<Named> m_devices; // of this sample
    std::chrono::steady_clock::time_point m_now;
    bool m_renamed = false;
};

} // namespace zel
