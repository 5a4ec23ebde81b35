// A program outside the tree that embeds the typed model.
#include "host/Hardware.h"
#include "host/Rates.h"
#include "host/Sampler.h"

#include <cstdio>

int main() {
    zel::Sampler sampler;
    const zel::Sample before = sampler.take();
    const zel::Sample now = sampler.take();
    const zel::Rates rates = zel::between(before, now);
    std::size_t values = 0;
    now.visit([&values](const zel::Family &, const zel::Labels &, const zel::Value &value) { values += value.has(); });
    std::printf("load %.2f, %zu values, %zu rates\n", now.load.load1.valueOr(-1), values, rates.counters.size());
    const zel::Hardware hardware = zel::readHardware({.parts = {zel::HardwarePart::Processors}});
    std::printf("%zu processor packages\n", hardware.processorPackages.size());
    return now.load.load1 && values > 100 && !hardware.processorPackages.empty() ? 0 : 1;
}
