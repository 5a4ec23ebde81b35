// The fields of what the kernel did.
#include "host/Interrupts.h"

namespace zel {

namespace {

constexpr Entries<Activity> activity{Area::Interrupts, "activity", "/proc/stat"};
constexpr Field<Activity> activityFields[] = {
    activity.counter("interrupts_total", &Activity::interrupts, Unit::None, "Interrupts served."),
    activity.counter("softirqs_total", &Activity::softirqs, Unit::None, "Softirqs run.", 32),
    activity.counter("context_switches_total", &Activity::contextSwitches, Unit::None,
                     "Switches from one task to another."),
    activity.counter("forks_total", &Activity::forks, Unit::None, "Processes and threads made."),
    activity.gauge("running", &Activity::running, Unit::None, "Tasks that run or can run."),
    activity.gauge("blocked", &Activity::blocked, Unit::None, "Tasks that wait for I/O."),
    activity.gauge("boot_time_seconds", &Activity::bootTimeSeconds, Unit::Seconds,
                   "When the host was started, in seconds since the epoch."),
    activity.from("/proc/interrupts")
        .gauge("interrupt_processors", &Activity::interruptProcessors, Unit::None,
               "Processors whose interrupts the list adds up: those that are online."),
};

constexpr Entries<InterruptLine> line{Area::Interrupts, "interrupts", "/proc/interrupts"};
constexpr Field<InterruptLine> lineFields[] = {
    line.label("interrupt", &InterruptLine::interrupt, "Number or short name."),
    line.info("description", &InterruptLine::description, "Controller, kind and device."),
    line.counter("count_total", &InterruptLine::count, Unit::None, "Interrupts served by all processors.", 32),
};

constexpr Entries<SoftIrq> softirq{Area::Interrupts, "softirqs", "/proc/softirqs"};
constexpr Field<SoftIrq> softirqFields[] = {
    softirq.label("softirq", &SoftIrq::softirq, "Kind of softirq."),
    softirq.counter("count_total", &SoftIrq::count, Unit::None, "Softirqs run by all processors.", 32),
};

} // namespace

template<> std::span<const Field<Activity>> fieldsOf<Activity>() {
    return activityFields;
}

template<> std::span<const Field<InterruptLine>> fieldsOf<InterruptLine>() {
    return lineFields;
}

template<> std::span<const Field<SoftIrq>> fieldsOf<SoftIrq>() {
    return softirqFields;
}

} // namespace zel
