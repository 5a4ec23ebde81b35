// A program outside the tree: includes the umbrella header alone and samples a collector.
#include "Zel.h"

#include <cstdio>

int main() {
    CMM_LA_Info loadAverage;
    if (loadAverage.fMGetLoadAvg() == nullptr)
        return 1;
    std::printf("%.2f\n", loadAverage.fMGetLoadAvg_1Min());
    return 0;
}
