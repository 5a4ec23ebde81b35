// Reads units over sd-bus. Every call is sent without waiting for the answer of the one before, some at a time.
#include "zel/systemd/UnitBus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_map>

#include <systemd/sd-bus.h>
#include <systemd/sd-daemon.h>

namespace zel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char *service = "org.freedesktop.systemd1", *managerPath = "/org/freedesktop/systemd1",
                     *managerInterface = "org.freedesktop.systemd1.Manager",
                     *propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::size_t callsAtOnce = 32;          // a bus refuses more than it allows a connection, 128 by default
constexpr std::chrono::seconds answerTime{60};   // of a call, which the limit of the reading ends before
constexpr const char *unitForm = "(ssssssouso)"; // of ListUnits

struct CloseBus {
    void operator()(sd_bus *bus) const { sd_bus_close_unref(bus); }
};
struct DropMessage {
    void operator()(sd_bus_message *message) const { sd_bus_message_unref(message); }
};
using BusHandle = std::unique_ptr<sd_bus, CloseBus>;
using MessageHandle = std::unique_ptr<sd_bus_message, DropMessage>;

// What a property is, and where its value goes. A unit without it keeps none.
struct Property {
    const char *interface, *name;
    int (*take)(sd_bus_message *answer, SystemdState &state, SystemdUnit *unit);
};

int takeText(sd_bus_message *answer, std::string &text) {
    const char *value = nullptr;
    const int result = sd_bus_message_read(answer, "v", "s", &value);
    if (result > 0)
        text = value;
    return result;
}

template<auto member> int takeCount(sd_bus_message *answer, SystemdState &, SystemdUnit *unit) {
    std::uint32_t value = 0;
    const int result = sd_bus_message_read(answer, "v", "u", &value);
    if (result > 0)
        unit->*member = value;
    return result;
}

int takeTrigger(sd_bus_message *answer, SystemdState &, SystemdUnit *unit) {
    std::uint64_t value = 0;
    const int result = sd_bus_message_read(answer, "v", "t", &value);
    if (result > 0)
        unit->lastTriggerMicroseconds = value;
    return result;
}

int takeType(sd_bus_message *answer, SystemdState &, SystemdUnit *unit) {
    return takeText(answer, unit->serviceType);
}
template<auto member> int takeStateText(sd_bus_message *answer, SystemdState &state, SystemdUnit *) {
    return takeText(answer, state.*member);
}

constexpr const char *socketInterface = "org.freedesktop.systemd1.Socket";
constexpr Property version{managerInterface, "Version", takeStateText<&SystemdState::version>},
    systemState{managerInterface, "SystemState", takeStateText<&SystemdState::systemState>},
    serviceType{"org.freedesktop.systemd1.Service", "Type", takeType},
    lastTrigger{"org.freedesktop.systemd1.Timer", "LastTriggerUSec", takeTrigger};
constexpr Property socketProperties[] = {
    {socketInterface, "NAccepted", takeCount<&SystemdUnit::accepted>},
    {socketInterface, "NConnections", takeCount<&SystemdUnit::current>},
    {socketInterface, "NRefused", takeCount<&SystemdUnit::refused>},
};

// A call of which the answer is awaited. Without a property it is ListUnits.
struct Question {
    class Reading *reading;
    const Property *property = nullptr;
    std::size_t unit = 0; // index in what is shown
};

// One reading over an open connection. When it fails the connection goes with it: answers that come late find nobody.
class Reading {
public:
    Reading(sd_bus *bus, Clock::time_point until, std::size_t unitsAtMost, UnitsRead &result)
        : m_bus(bus), m_until(until), m_unitsAtMost(unitsAtMost), m_result(result) {}

    /// 0, or an error number.
    int listUnits(bool withVersion) {
        ask(nullptr, 0);
        ask(&systemState, 0);
        if (withVersion)
            ask(&version, 0);
        return finish();
    }
    void ask(const Property *property, std::size_t unit) { m_questions.push_back({this, property, unit}); }
    int finish() {
        m_sent = m_answered = 0;
        while (m_answered < m_questions.size()) {
            if (const int error = step(); error != 0)
                return error;
        }
        m_questions.clear();
        return 0;
    }

private:
    int step() {
        while (m_sent < m_questions.size() && m_sent - m_answered < callsAtOnce) {
            if (const int result = send(m_questions[m_sent]); result < 0)
                return -result;
            ++m_sent;
        }
        const Clock::duration left = m_until - Clock::now();
        if (left <= Clock::duration::zero())
            return ETIMEDOUT;
        const int done = sd_bus_process(m_bus, nullptr);
        if (done < 0 || m_error != 0)
            return done < 0 ? -done : m_error;
        if (done > 0)
            return 0;
        const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(left).count();
        const int waited = sd_bus_wait(m_bus, static_cast<std::uint64_t>(microseconds));
        return waited < 0 && waited != -EINTR ? -waited : 0;
    }

    int send(Question &question) {
        const Property *property = question.property;
        const bool isOfUnit = property != nullptr && property->interface != managerInterface;
        const char *path = isOfUnit ? m_result.state.shown[question.unit].path.c_str() : managerPath;
        sd_bus_message *made = nullptr;
        int result = sd_bus_message_new_method_call(m_bus, &made, service, path,
                                                    property == nullptr ? managerInterface : propertiesInterface,
                                                    property == nullptr ? "ListUnits" : "Get");
        const MessageHandle message(made);
        if (result >= 0)
            result = sd_bus_message_set_auto_start(message.get(), 0); // nobody is to be started for a question
        if (result >= 0 && property != nullptr)
            result = sd_bus_message_append(message.get(), "ss", property->interface, property->name);
        if (result < 0)
            return result;
        return sd_bus_call_async(m_bus, nullptr, message.get(), &Reading::answered, &question,
                                 microsecondsOf(answerTime));
    }
    static std::uint64_t microsecondsOf(std::chrono::microseconds time) {
        return static_cast<std::uint64_t>(time.count());
    }

    static int answered(sd_bus_message *answer, void *data, sd_bus_error *) {
        const Question &question = *static_cast<const Question *>(data);
        try {
            question.reading->take(answer, question);
        } catch (const std::bad_alloc &) {
            question.reading->m_error = ENOMEM;
        }
        return 0;
    }
    // A property that is not there is no failure: an older systemd lacks some, and a unit may have gone.
    void take(sd_bus_message *answer, const Question &question) {
        ++m_answered;
        SystemdState &state = m_result.state;
        const bool isError = sd_bus_message_is_method_error(answer, nullptr) > 0;
        if (question.property == nullptr)
            m_error = isError ? noteError(answer) : takeUnits(answer);
        else if (!isError)
            question.property->take(answer, state,
                                    question.unit < state.shown.size() ? &state.shown[question.unit] : nullptr);
    }
    int noteError(sd_bus_message *answer) {
        const sd_bus_error *const error = sd_bus_message_get_error(answer);
        if (error != nullptr && error->message != nullptr)
            m_result.problem.assign(error->message, strnlen(error->message, SYSTEMD_PROBLEM_BYTES));
        const int number = sd_bus_message_get_errno(answer);
        return number > 0 ? number : EIO;
    }

    int takeUnits(sd_bus_message *answer) {
        int result = sd_bus_message_enter_container(answer, 'a', unitForm);
        const char *name = nullptr, *description = nullptr, *load = nullptr, *active = nullptr, *sub = nullptr,
                   *followed = nullptr, *path = nullptr, *jobType = nullptr, *jobPath = nullptr;
        std::uint32_t job = 0;
        while (result > 0) {
            result = sd_bus_message_read(answer, unitForm, &name, &description, &load, &active, &sub, &followed, &path,
                                         &job, &jobType, &jobPath);
            if (result > 0)
                takeUnit(name, load, active, path);
        }
        return result < 0 ? -result : 0;
    }
    void takeUnit(const char *name, const char *load, const char *active, const char *path) {
        SystemdState &state = m_result.state;
        countSystemdUnit(active, state);
        if (!isShownUnit(name, load))
            return;
        if (state.shown.size() == m_unitsAtMost) {
            ++state.leftOut;
            return;
        }
        SystemdUnit &unit = state.shown.emplace_back();
        unit.kind = systemdUnitKind(name);
        unit.name = name;
        unit.path = path;
        unit.activeState = active;
    }

    sd_bus *m_bus;
    Clock::time_point m_until;
    std::size_t m_unitsAtMost;
    UnitsRead &m_result;
    std::vector<Question> m_questions; // stays where it is while answers are awaited
    std::size_t m_sent = 0, m_answered = 0;
    int m_error = 0;
};

} // namespace

struct UnitBus::Bus {
    std::size_t unitsAtMost;
    BusHandle connection;
    std::unordered_map<std::string, std::string> types; // of services, by their names
    std::string version;
    Clock::time_point typesUntil{};

    explicit Bus(std::size_t most) : unitsAtMost(most) {}

    int connect() {
        sd_bus *opened = nullptr;
        const int result = sd_bus_open_system(&opened);
        connection.reset(opened);
        return std::max(-result, 0);
    }

    int ask(Clock::time_point until, UnitsRead &result) {
        if (connection == nullptr) {
            if (const int error = connect(); error != 0)
                return error;
        }
        const Clock::time_point now = Clock::now();
        const bool isOld = now >= typesUntil;
        if (isOld)
            types.clear();
        Reading reading(connection.get(), until, unitsAtMost, result);
        int error = reading.listUnits(isOld);
        if (error == 0)
            error = askProperties(reading, result.state);
        if (error == 0)
            remember(isOld, now, result.state);
        return error;
    }

    int askProperties(Reading &reading, SystemdState &state) const {
        for (std::size_t index = 0; index < state.shown.size(); ++index) {
            SystemdUnit &unit = state.shown[index];
            if (unit.kind == SystemdUnit::Kind::Timer)
                reading.ask(&lastTrigger, index);
            for (const Property &property : socketProperties) {
                if (unit.kind == SystemdUnit::Kind::Socket)
                    reading.ask(&property, index);
            }
            if (unit.kind != SystemdUnit::Kind::Service)
                continue;
            if (const auto known = types.find(unit.name); known != types.end())
                unit.serviceType = known->second;
            else
                reading.ask(&serviceType, index);
        }
        return reading.finish();
    }

    // Types change only when a unit file does, the version when systemd does.
    void remember(bool isNew, Clock::time_point now, SystemdState &state) {
        if (isNew) {
            version = state.version;
            typesUntil = now + SYSTEMD_TYPES_AGE;
        }
        state.version = version;
        types.clear();
        for (const SystemdUnit &unit : state.shown) {
            if (!unit.serviceType.empty())
                types.emplace(unit.name, unit.serviceType);
        }
    }
};

bool isStartedBySystemd() {
    return sd_booted() > 0;
}

UnitBus::UnitBus(std::size_t unitsAtMost) : m_bus(std::make_unique<Bus>(unitsAtMost)) {}
UnitBus::~UnitBus() = default;

UnitsRead UnitBus::read(std::chrono::milliseconds limit) {
    const Clock::time_point until = Clock::now() + limit;
    UnitsRead result;
    bool isKept = m_bus->connection != nullptr;
    result.error = m_bus->ask(until, result);
    while (result.error != 0) {
        m_bus->connection.reset();
        m_bus->typesUntil = {};
        if (!isKept || result.error == ETIMEDOUT) {
            result.state = {};
            if (result.problem.empty())
                result.problem = std::strerror(result.error);
            return result;
        }
        isKept = false; // a connection that was open may have ended since: one more is made
        result = {};
        result.error = m_bus->ask(until, result);
    }
    return result;
}

} // namespace zel
