// Prints the CPU text, the CPU table and the interrupt rate.
#include "ConsoleReport.h"
#include "MM_CPU_Info.h"
#include "Settings.h"
#include "rates/Saturate.h"

#include <cstdio>

namespace {

double percent(unsigned long long tenths) {
    return static_cast<double>(tenths) / 10.0;
}

void printText(CMM_CPU_Info &cpu) {
    cpu.fMGetCpu();
    if (cpu.m_nCpuZELCnt > 0)
        std::fprintf(stderr, "CPU string[%s]\n", cpu.m_pStrCpuZEL);
    else
        std::fprintf(stderr, "CPU string is NULL\n");
}

void printTable(CMM_CPU_Info &cpu) {
    const zel::CpuRow *rows = cpu.fMGetCpu();
    std::printf("physical cpu : %d \n", cpu.fMGetPhyCpuCnt());
    if (rows == nullptr)
        return;
    const zel::CpuRow &machine = rows[0];
    std::printf(" Total cpu : %4.1f%% %4.1f%% %4.1f%% %4.1f%% %4.1f%%\n", percent(machine[zel::CPU_USER]),
                percent(machine[zel::CPU_NICE]), percent(machine[zel::CPU_SYSTEM]), percent(machine[zel::CPU_WAIT]),
                percent(machine[zel::CPU_IDLE]));
    int number = 0;
    for (const unsigned long long *row = cpu.fMGetCpuNext(); row != nullptr; row = cpu.fMGetCpuNext())
        std::printf(" # %-3d cpu : %4.1f%%(us) %4.1f%%(ni) %4.1f%%(kn) %4.1f%%(wait) %4.1f%%(id)\n", number++,
                    percent(row[zel::CPU_USER]), percent(row[zel::CPU_NICE]), percent(row[zel::CPU_SYSTEM]),
                    percent(row[zel::CPU_WAIT]), percent(row[zel::CPU_IDLE]));
}

} // namespace

int print_cpu_v2(CMM_CPU_Info *cpu) {
    if (g_nInterfaceStrType != 0)
        printText(*cpu);
    else
        printTable(*cpu);
    return 1;
}

int print_cpu_intr(CMM_CPU_Info *cpu, double elapsed) {
    const double *rate = cpu->fMGetCpuInterrupt(elapsed);
    if (rate != nullptr)
        std::printf(" cpu interrupt : %d\n", zel::saturatedInt(*rate));
    return 1;
}
