// The interface collector over real interfaces: veth pairs in a network namespace that the program makes for itself
// (needs root and the program ip). The floors open, read and close the table and open and close a socket, which a walk
// has for its consumers; in text mode they also ask for the state of every link, as its column demands. The kept floors
// read a table that is open, and ask for no link.
#include "Floor.h"
#include "Harness.h"
#include "MM_NWT_Info.h"
#include "OwnHost.h"
#include "Settings.h"
#include "host/ScopedHandle.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <net/if.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <vector>

namespace {

constexpr std::size_t tableRoom = 65536;
constexpr int ordinary = -1;
constexpr int pushed = 1;
constexpr int withInventory = 0;

std::unique_ptr<bench::OwnInterfaces> interfaces;

// The questions for the links of `count` interfaces.
class LinkQuestions {
public:
    explicit LinkQuestions(long count) : m_requests(static_cast<std::size_t>(count)) {
        long number = 0;
        for (ifreq &request : m_requests)
            std::strcpy(request.ifr_name, bench::OwnInterfaces::name(number++).c_str());
    }

    void ask(const zel::ScopedDescriptor &descriptor) {
        for (ifreq &request : m_requests) {
            ioctl(descriptor.get(), SIOCGIFFLAGS, &request);
            bench::keep(&request);
        }
    }

private:
    std::vector<ifreq> m_requests;
};

// Traffic since the reading before, on every interface.
template<class Reading> void moveBack(Reading &old, unsigned long long step) {
    old.l_ulInPkt -= 11 * step;
    old.l_ulOutPkt -= 13 * step;
    old.l_ulInByte -= 9001 * step;
    old.l_ulOutByte -= 12345 * step;
}

void makeBusy(CMM_NWT_Info &collector) {
    unsigned long long step = 1;
    for (auto &[key, old] : collector.m_NetworkMap)
        moveBack(*old, step = step % 89 + 1);
    for (SSListNode *node = collector.m_pclList_Old->fSlGetHeadNode()->l_pstNext; node != nullptr;
         node = node->l_pstNext)
        moveBack(*fgListRecord<_ST_STATIC_NETWORK>(node), step = step % 89 + 1);
}

bench::Work networkWork(long count, int textMode, int push, bool busy) {
    g_nInterfaceStrType = textMode;
    g_nLinuxBandwidthFlag = 1;
    g_nNetworkExtGather = push == withInventory ? 1 : 0;
    auto collector = std::make_shared<CMM_NWT_Info>();
    for (long i = 0; push == withInventory && i < count; ++i)
        collector->m_pclNetworkExtList->fAddLinkedList(bench::OwnInterfaces::name(i).c_str());
    auto questions = std::make_shared<LinkQuestions>(count);
    bench::Work work;
    work.sample = [collector, textMode, push] {
        g_nInterfaceStrType = textMode;
        g_nNetworkExtGather = push == withInventory ? 1 : 0;
        bench::keep(collector->fMGetNetworkStat(1.0, push));
    };
    work.floor = [questions, textMode] {
        const zel::ScopedDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        bench::readToEnd("/proc/net/dev", tableRoom);
        if (textMode == 1)
            questions->ask(descriptor);
    };
    work.keptFloor = [table = std::make_shared<bench::OpenFile>("/proc/net/dev")] {
        const zel::ScopedDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        table->readToEnd(tableRoom);
    };
    if (busy)
        work.prepare = [collector] { makeBusy(*collector); };
    work.measured = [collector]() -> long { return collector->m_nIfCnt; };
    for (int i = 0; i < 3; ++i)
        work.sample();
    return work;
}

bench::Family family(const std::string &name, int textMode, int push, bool busy) {
    return {name, bench::Source::Kernel, {4, 100, 500, 4000}, [=](long size, std::string &whyNot) {
                if (interfaces->bringTo(size))
                    return networkWork(size, textMode, push, busy);
                whyNot = "needs root and the program ip";
                return bench::Work{};
            }};
}

} // namespace

int main(int argc, char **argv) {
    const bench::ScratchHome home;
    interfaces = std::make_unique<bench::OwnInterfaces>();
    bench::add({family("network/list idle", 0, ordinary, false), family("network/list busy", 0, ordinary, true),
                family("network/text idle", 1, ordinary, false), family("network/text busy", 1, ordinary, true),
                family("network/text inventory", 1, withInventory, false), family("network/push", 1, pushed, false)});
    return bench::run(argc, argv);
}
