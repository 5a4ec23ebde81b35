// The disk collector over the machine's own /proc/diskstats, brought to 10, 100, 600 and 1000 lines with loop devices
// (needs root), and over generated files of 10, 100 and 1000 disks.
//
// The collector takes a line for a disk when its minor number has at most four digits and is a multiple of 16, which
// about 620 loop devices can be; of the 1000 lines the others are loop devices that it takes for partitions.
//
// "busy" disks have done I/O since the sample before: the old samples are moved back, so that every column is computed
// and printed; "idle" ones print zeros. The lines of both are those of the sample before, which are not parsed again;
// on the generated host "changing" disks are busy in lines that change from sample to sample.
#include "Floor.h"
#include "Harness.h"
#include "LoopDisks.h"
#include "MM_IO_Info.h"
#include "OwnHost.h"
#include "Settings.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int cycleSeconds = 5;
constexpr std::size_t firstRoom = 16384;

enum class Form { Text, Push, List };
enum class Activity { Idle, Busy, Changing };

// What every disk has done between the two moments of a generated host.
struct Step {
    unsigned long requests;
    unsigned long sectors;
    unsigned long busy;
};
constexpr Step none{0, 0, 0};
constexpr Step some{7, 64, 3};

std::string diskstats(long disks, const Step &step) {
    std::string text;
    char line[256];
    for (long i = 0; i < disks; ++i) {
        const unsigned long base = 1000003UL * static_cast<unsigned long>(i % 97 + 1);
        std::snprintf(
            line, sizeof(line), " %3ld %7ld sd%c%c%c %lu %lu %lu %lu %lu %lu %lu %lu %ld %lu %lu 0 0 0 0 12 34\n",
            8 + i % 8, i % 16 * 16, static_cast<char>('a' + i / 100), static_cast<char>('a' + i / 10 % 10),
            static_cast<char>('a' + i % 10), base + step.requests, base / 7, base * 16 + step.sectors, base / 3,
            base + step.requests, base / 11, base * 8 + step.sectors, base / 5, i % 3, base / 9 + step.busy, base / 2);
        text += line;
    }
    return text;
}

void makeBusy(CMM_IO_Info &disks) {
    unsigned long long step = 1;
    for (auto &[key, old] : disks.m_DiskMap) {
        step = step % 97 + 1;
        old->l_ulRead_B -= 31 * step;
        old->l_ulWrite_B -= 47 * step;
        old->l_ulRead_N -= 7 * step;
        old->l_ulWrite_N -= 3 * step;
        old->l_lTick -= step;
    }
}

// As if every disk had made the step twice more since its old sample.
void setBack(CMM_IO_Info &disks) {
    for (auto &[key, old] : disks.m_DiskMap) {
        old->l_ulRead_N -= 2 * some.requests;
        old->l_ulWrite_N -= 2 * some.requests;
        old->l_ulRead_B -= 2 * some.sectors;
        old->l_ulWrite_B -= 2 * some.sectors;
        old->l_lTick -= 2 * some.busy;
    }
}

std::unique_ptr<bench::GeneratedTree> trees[2]; // the two moments
long generatedDisks = 0;

void haveGeneratedDisks(long count) {
    if (generatedDisks != count) {
        for (int moment = 0; moment < 2; ++moment) {
            trees[moment] = std::make_unique<bench::GeneratedTree>();
            trees[moment]->write("/proc/diskstats", diskstats(count, moment == 0 ? none : some));
        }
        generatedDisks = count;
    }
    trees[0]->show();
}

// Lines of /proc/diskstats.
long diskLines() {
    std::ifstream file("/proc/diskstats");
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

// Every sample finds the other moment. From the second back to the first every disk makes the same step again.
void makeChanging(bench::Work &work, const std::shared_ptr<CMM_IO_Info> &disks) {
    auto moment = std::make_shared<int>(0);
    auto sampled = std::make_shared<bool>(false);
    work.sample = [sample = work.sample, sampled] {
        sample();
        *sampled = true;
    };
    work.prepare = [disks, moment, sampled] {
        if (!*sampled)
            return;
        *sampled = false;
        *moment = 1 - *moment;
        trees[*moment]->show();
        if (*moment == 0)
            setBack(*disks);
    };
}

bench::Work diskWork(bench::Source source, Form form, Activity activity) {
    auto disks = std::make_shared<CMM_IO_Info>();
    auto room = std::make_shared<std::size_t>(firstRoom);
    g_nDiskMaxGatherCnt = 0;
    bench::Work work;
    work.sample = [disks, form] {
        g_nDiskStrType = form == Form::List ? 0 : 1;
        disks->m_stOldIoTime.tv_sec -= cycleSeconds;
        bench::keep(disks->fMGetIoStat(0.0, 1, form == Form::Push ? 1 : 0));
    };
    work.floor = [room] { bench::readWhole("/proc/diskstats", *room); };
    if (source == bench::Source::Kernel)
        work.keptFloor = [room, file = std::make_shared<bench::OpenFile>("/proc/diskstats")] {
            file->readWhole(*room);
        };
    if (activity == Activity::Busy)
        work.prepare = [disks] { makeBusy(*disks); };
    if (activity == Activity::Changing)
        makeChanging(work, disks);
    work.measured = [disks, form]() -> long { return form == Form::Text ? disks->m_nDiskZELCnt : disks->m_nNDev; };
    for (int i = 0; i < 3; ++i)
        work.sample();
    return work;
}

std::unique_ptr<bench::LoopDisks> loops;

bool haveKernelLines(long count, std::string &whyNot) {
    bench::showOwnHost();
    if (loops == nullptr)
        loops = std::make_unique<bench::LoopDisks>();
    const long present = diskLines();
    if (present <= count && loops->add(count - present) && diskLines() == count)
        return true;
    whyNot = "needs root and /dev/loop-control (" + std::to_string(present) + " lines present)";
    return false;
}

bench::Family kernelFamily(const std::string &name, Form form, Activity activity) {
    return {name, bench::Source::Kernel, {10, 100, 600, 1000}, [form, activity](long size, std::string &whyNot) {
                return haveKernelLines(size, whyNot) ? diskWork(bench::Source::Kernel, form, activity) : bench::Work{};
            }};
}

bench::Family generatedFamily(const std::string &name, Form form, Activity activity) {
    return {name, bench::Source::PageCache, {10, 100, 1000}, [form, activity](long size, std::string &) {
                haveGeneratedDisks(size);
                return diskWork(bench::Source::PageCache, form, activity);
            }};
}

} // namespace

int main(int argc, char **argv) {
    const bench::ScratchHome home;
    bench::add({kernelFamily("disk/text idle", Form::Text, Activity::Idle),
                kernelFamily("disk/text busy", Form::Text, Activity::Busy),
                kernelFamily("disk/push idle", Form::Push, Activity::Idle),
                kernelFamily("disk/push busy", Form::Push, Activity::Busy),
                kernelFamily("disk/list", Form::List, Activity::Idle),
                generatedFamily("disk/text idle (generated)", Form::Text, Activity::Idle),
                generatedFamily("disk/text busy (generated)", Form::Text, Activity::Busy),
                generatedFamily("disk/text changing (generated)", Form::Text, Activity::Changing),
                generatedFamily("disk/push changing (generated)", Form::Push, Activity::Changing),
                generatedFamily("disk/list (generated)", Form::List, Activity::Idle)});
    const int result = bench::run(argc, argv);
    for (auto &tree : trees)
        tree.reset();
    loops.reset();
    return result;
}
