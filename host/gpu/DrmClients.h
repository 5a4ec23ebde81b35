// What processes have of the cards of the kernel's own drivers: /proc/<pid>/fdinfo of every descriptor on a card.
//
// Finding the descriptors means looking at all of every process, which is dear: it is done rarely, and what was found
// is read in between.
#pragma once

#include "host/Gpu.h"
#include "host/Rows.h"
#include "host/source/HostDirectory.h"

#include <chrono>
#include <string>
#include <vector>

namespace zel {

class DrmClients {
public:
    static constexpr std::chrono::seconds SEARCH_PERIOD{10};
    static constexpr std::size_t CLIENTS_AT_MOST = 4096;
    static constexpr std::size_t DESCRIPTORS_AT_MOST = 1000000; // that one search looks at

    struct Card {
        std::string name;    // "card0"
        std::string address; // on the PCI bus; empty for one on no bus
        std::string driver;
    };

    /// Appends a row for each process and card: 0, or E2BIG when there are more clients than are read. A client that
    /// several descriptors or processes share counts once. `searches` is when to look for new descriptors.
    int read(const HostDirectory &root, const std::vector<Card> &cards, Rows<GpuProcess> &processes);

    /// Whether the driver writes what its clients use.
    static bool isWrittenBy(std::string_view driver);

private:
    struct Descriptor {
        std::uint64_t pid;
        std::uint64_t number;
    };
    struct Client {
        std::size_t card;
        std::uint64_t id;
        auto operator<=>(const Client &) const = default;
    };

    int search(const HostDirectory &root);
    bool searchProcess(const HostDirectory &root, std::uint64_t pid);
    bool takeClient(const char *text, const std::vector<Card> &cards, std::uint64_t pid, Rows<GpuProcess> &processes);

    std::vector<Descriptor> m_descriptors;
    std::vector<Client> m_seen; // in this pass, ascending
    std::size_t m_looked = 0;   // descriptors of this search
    std::chrono::steady_clock::time_point m_searchAt;
    int m_searchError = 0;
};

} // namespace zel
