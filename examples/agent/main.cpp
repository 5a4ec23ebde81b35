// A small agent: samples every collector on a cycle of its own and delivers the texts (Record.h has the protocol).
//   agent [--to HOST:PORT] [--cycle SECONDS] [--host NAME]       default: to standard output, a base cycle of 5 seconds
// It runs in the directory agent/bin of a home, one agent to a home. SIGTERM and SIGINT end it.
//
// The main thread samples and never waits for a receiver; a second one delivers (Delivery.h). Between them is the
// backlog (Backlog.h). Beside them run the library's log writer, scheduler worker and watchdog (Runtime.h).
#include "Backlog.h"
#include "Delivery.h"
#include "NGFunctions.h"
#include "Notice.h"
#include "Numbering.h"
#include "Options.h"
#include "Runtime.h"
#include "Sampling.h"
#include "Signals.h"
#include "StandardOutput.h"
#include "TcpReceiver.h"

#include <memory>
#include <optional>

namespace {

constexpr int betweenPasses = 100000; // microseconds

std::unique_ptr<agent::Destination> makeDestination(const agent::Options &options) {
    if (options.receiver.empty())
        return std::make_unique<agent::StandardOutput>();
    return std::make_unique<agent::TcpReceiver>(options.receiver);
}

void sampleUntilStopped(int cycle, agent::Runtime &runtime, agent::Backlog &backlog) {
    agent::Sampling sampling{std::chrono::seconds(cycle)};
    while (!agent::isStopRequested()) {
        runtime.passBegins();
        sampling.pass([&](const char *name, const char *text) { backlog.put(name, text); });
        backlog.keepLongWaiting();
        runtime.passEnds();
        fgUSleep(betweenPasses);
    }
}

void run(const agent::Options &options, agent::Numbering &numbering) {
    agent::Backlog backlog(numbering);
    std::optional<agent::SignalsHeld> signalsHeld(std::in_place); // while threads are started
    agent::Runtime runtime;
    agent::Delivery delivery(backlog, makeDestination(options));
    signalsHeld.reset();
    sampleUntilStopped(options.cycle, runtime, backlog);
}

} // namespace

int main(int argc, char **argv) {
    agent::Options options;
    agent::applySettings();
    agent::raiseDescriptorLimit();
    if (!agent::readOptions(argc, argv, options))
        return 2;
    agent::installSignalHandlers();
    agent::Numbering numbering(options.host);
    if (numbering.isTaken()) {
        agent::notice("another agent runs in this home");
        return 1;
    }
    run(options, numbering);
    agent::notice("host %s, series %s: the last record has number %llu", numbering.host().c_str(),
                  numbering.series().c_str(), numbering.last());
    return 0;
}
