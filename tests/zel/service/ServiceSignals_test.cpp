// Signals as events of a service.
#include "zel/service/ServiceSignals.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::ServiceEvent;
using Clock = zel::ServiceSignals::Clock;

void raiseHere(int signal) {
    pthread_kill(pthread_self(), signal);
}

TEST(ServiceSignals, ATimeComesWithoutASignal) {
    const zel::ServiceSignals signals;
    EXPECT_EQ(signals.wait(Clock::now() + 20ms), ServiceEvent::Time);
    EXPECT_EQ(signals.wait(Clock::now() - 1h), ServiceEvent::Time);
}

TEST(ServiceSignals, AreEventsAndEndNothing) {
    const zel::ServiceSignals signals;
    for (const auto &[signal, event] : {std::pair(SIGHUP, ServiceEvent::Reload), std::pair(SIGTERM, ServiceEvent::End),
                                        std::pair(SIGINT, ServiceEvent::End)}) {
        raiseHere(signal);
        EXPECT_EQ(signals.wait(Clock::now() + 10s), event) << signal;
        EXPECT_EQ(signals.wait(Clock::now()), ServiceEvent::Time);
    }
}

TEST(ServiceSignals, SeveralReloadsAreOneAndAnEndComesFirst) {
    const zel::ServiceSignals signals;
    raiseHere(SIGHUP);
    raiseHere(SIGHUP);
    EXPECT_EQ(signals.wait(Clock::now() + 10s), ServiceEvent::Reload);
    EXPECT_EQ(signals.wait(Clock::now()), ServiceEvent::Time);
    raiseHere(SIGHUP);
    raiseHere(SIGTERM);
    EXPECT_EQ(signals.wait(Clock::now() + 10s), ServiceEvent::End);
}

TEST(ServiceSignals, WakeAWaitThatIsGoingOn) {
    const zel::ServiceSignals signals;
    const pthread_t waiting = pthread_self();
    std::thread other([waiting] {
        std::this_thread::sleep_for(50ms);
        pthread_kill(waiting, SIGHUP);
    });
    EXPECT_EQ(signals.wait(Clock::now() + 1h), ServiceEvent::Reload);
    other.join();
}

} // namespace
