// The fields of the processors.
#include "host/Cpu.h"

namespace zel {

namespace {

constexpr std::string_view stat = "/proc/stat";

constexpr Entries<Cpu> cpu{Area::Cpu, "cpu", stat};
constexpr Field<Cpu> cpuFields[] = {
    cpu.counter("user_seconds_total", &Cpu::userSeconds, Unit::Seconds, "Time in user mode, guests included."),
    cpu.counter("nice_seconds_total", &Cpu::niceSeconds, Unit::Seconds, "Time in user mode with low priority."),
    cpu.counter("system_seconds_total", &Cpu::systemSeconds, Unit::Seconds, "Time in the kernel."),
    cpu.counter("idle_seconds_total", &Cpu::idleSeconds, Unit::Seconds, "Time with nothing to do."),
    cpu.counter("iowait_seconds_total", &Cpu::iowaitSeconds, Unit::Seconds, "Idle time with I/O outstanding."),
    cpu.counter("irq_seconds_total", &Cpu::irqSeconds, Unit::Seconds, "Time in interrupt handlers."),
    cpu.counter("softirq_seconds_total", &Cpu::softirqSeconds, Unit::Seconds, "Time in softirqs."),
    cpu.counter("steal_seconds_total", &Cpu::stealSeconds, Unit::Seconds, "Time that the hypervisor gave to others."),
    cpu.counter("guest_seconds_total", &Cpu::guestSeconds, Unit::Seconds, "Time in guests, part of user."),
    cpu.counter("guest_nice_seconds_total", &Cpu::guestNiceSeconds, Unit::Seconds,
                "Time in guests with low priority, part of nice."),
    cpu.gauge("online", &Cpu::online, Unit::None, "Processors that are online."),
    cpu.from("/sys/devices/system/cpu/present")
        .gauge("present", &Cpu::present, Unit::None, "Processors in the machine."),
};

constexpr Entries<Processor> each{Area::Cpu, "processors", stat};
constexpr Entries<Processor> frequency = each.from(
    "/sys/devices/system/cpu/cpu*/cpufreq", "a cpufreq driver (CONFIG_CPU_FREQ=y); hypervisors mostly give none");
constexpr Entries<Processor> scheduler = each.from("/proc/schedstat", "CONFIG_SCHEDSTATS=y");
constexpr Entries<Processor> topology = each.from("/sys/devices/system/cpu/cpu*/topology");
constexpr Entries<Processor> throttle =
    each.from("/sys/devices/system/cpu/cpu*/thermal_throttle",
              "an Intel processor and CONFIG_X86_THERMAL_VECTOR=y; hypervisors mostly give none");
constexpr Field<Processor> processorFields[] = {
    each.label("cpu", &Processor::cpu, "Number of the processor, from 0."),
    each.counter("user_seconds_total", &Processor::userSeconds, Unit::Seconds, "Time in user mode, guests included."),
    each.counter("nice_seconds_total", &Processor::niceSeconds, Unit::Seconds, "Time in user mode with low priority."),
    each.counter("system_seconds_total", &Processor::systemSeconds, Unit::Seconds, "Time in the kernel."),
    each.counter("idle_seconds_total", &Processor::idleSeconds, Unit::Seconds, "Time with nothing to do."),
    each.counter("iowait_seconds_total", &Processor::iowaitSeconds, Unit::Seconds, "Idle time with I/O outstanding."),
    each.counter("irq_seconds_total", &Processor::irqSeconds, Unit::Seconds, "Time in interrupt handlers."),
    each.counter("softirq_seconds_total", &Processor::softirqSeconds, Unit::Seconds, "Time in softirqs."),
    each.counter("steal_seconds_total", &Processor::stealSeconds, Unit::Seconds,
                 "Time that the hypervisor gave to others."),
    each.counter("guest_seconds_total", &Processor::guestSeconds, Unit::Seconds, "Time in guests, part of user."),
    each.counter("guest_nice_seconds_total", &Processor::guestNiceSeconds, Unit::Seconds,
                 "Time in guests with low priority, part of nice."),
    scheduler.counter("running_seconds_total", &Processor::runningSeconds, Unit::Seconds,
                      "Time in which a task ran on it."),
    scheduler.counter("waiting_seconds_total", &Processor::waitingSeconds, Unit::Seconds,
                      "Time of all tasks together that waited to run on it."),
    scheduler.counter("timeslices_total", &Processor::timeslices, Unit::None, "How often a task was put on it."),
    each.from("/sys/devices/system/cpu/present").state("online", &Processor::online, "1 when the processor is online."),
    each.from("/sys/devices/system/cpu/isolated", "kernel 4.2 or later")
        .state("isolated", &Processor::isolated, "1 when the scheduler gives it no task by itself (isolcpus)."),
    topology.info("package", &Processor::package, "Number of the package that it is in."),
    topology.info("core", &Processor::core, "Number of its core in the package."),
    frequency.gauge("frequency_hertz", &Processor::frequencyHertz, Unit::Hertz, "Frequency now, as the driver set it."),
    Entries<Processor>::needing(Rights::Root,
                                frequency.gauge("hardware_frequency_hertz", &Processor::hardwareFrequencyHertz,
                                                Unit::Hertz, "Frequency now, as the hardware says.")),
    frequency.gauge("frequency_min_hertz", &Processor::frequencyMinHertz, Unit::Hertz, "Lowest frequency."),
    frequency.gauge("frequency_max_hertz", &Processor::frequencyMaxHertz, Unit::Hertz, "Highest frequency."),
    frequency.gauge("scaling_min_hertz", &Processor::scalingMinHertz, Unit::Hertz, "Lowest that the driver may set."),
    frequency.gauge("scaling_max_hertz", &Processor::scalingMaxHertz, Unit::Hertz, "Highest that the driver may set."),
    throttle.counter("core_throttles_total", &Processor::coreThrottles, Unit::None,
                     "How often the core was slowed down because it was too hot."),
    throttle.counter("package_throttles_total", &Processor::packageThrottles, Unit::None,
                     "How often the package was slowed down because it was too hot."),
};

} // namespace

template<> std::span<const Field<Cpu>> fieldsOf<Cpu>() {
    return cpuFields;
}

template<> std::span<const Field<Processor>> fieldsOf<Processor>() {
    return processorFields;
}

} // namespace zel
