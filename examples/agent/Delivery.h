// Delivers records in order, each at least once. A record is one line and a text of BYTES bytes:
//
//   RUN NUMBER NAME SECONDS BYTES \n TEXT          1700000000123456 17 cpu 1700000004 812
//
// RUN names the start of the agent, NUMBER counts its records from 1. A TCP receiver answers "RUN NUMBER\n" once it has
// stored the record; only then the next one follows. When the answer is lost the record comes again: a receiver that
// drops numbers which are not above the last one of their run has each exactly once. Standard output gives no answers.
//
// What cannot be delivered goes to the buffer files in ../buffer, with everything behind it, until it is sent. They
// survive the agent; only their budget (g_nDataBufferSaveMaxSize) costs records, the oldest ones.
#pragma once

#include "NGFunctions.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <netdb.h>
#include <string>
#include <unistd.h>
#include <utility>

class Delivery {
public:
    const std::string run = std::to_string(static_cast<long long>(fGetCurVelmorTime() * 1e6));
    unsigned long long records = 0;

    /// `receiver` is HOST:PORT, or null for standard output.
    explicit Delivery(const char *receiver) : m_receiver(receiver), m_socket(receiver ? -1 : STDOUT_FILENO) {}

    /// Sends a text, or keeps it when that fails or older ones are kept. Null and empty texts are no records.
    void take(const char *name, const char *text) {
        if (text == nullptr || *text == '\0')
            return;
        const std::string number = std::to_string(++records), time = std::to_string(fGetPushCurVelmorTime());
        const std::string head = run + ' ' + number + ' ' + name + ' ' + time;
        if ((!oldestFile().empty() || !send(head, text)) && fgBufFileWrite("", head.c_str(), text) != 1)
            std::fprintf(stderr, "agent: %s is lost, ../buffer cannot be written: start in agent/bin\n", head.c_str());
    }

    /// Sends what is kept, oldest first, for a second at most.
    void sendKept() {
        const double until = fGetCurVelmorTime() + 1;
        for (std::string file; !(file = oldestFile()).empty() && connected() && sendFile(file, until); m_sent = 0)
            std::filesystem::remove(file);
    }

private:
    // The library fills one file after the other: the one that was written first is the oldest.
    static std::string oldestFile() {
        std::pair<std::filesystem::file_time_type, std::string> oldest;
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator("../buffer", error)) {
            const std::pair file(entry.last_write_time(error), entry.path().string());
            if (file.second.find("-BUF_") != std::string::npos && (oldest.second.empty() || file < oldest))
                oldest = file;
        }
        return oldest.second;
    }

    // A record of a buffer file: time F head F text F M \n
    bool sendFile(const std::string &path, double until) {
        const std::string F = "\x03\x1F^", recordEnd = "\x03\x1F^\x03\x1F]\n";
        m_sent = std::exchange(m_file, path) == path ? m_sent : 0;
        std::ifstream file(path, std::ios::binary);
        const std::string kept{std::istreambuf_iterator<char>(file), {}};
        for (auto end = kept.find(recordEnd, m_sent); end != std::string::npos; end = kept.find(recordEnd, m_sent)) {
            const auto head = kept.find(F, m_sent) + 3, text = kept.find(F, head) + 3;
            if (!send(kept.substr(head, text - 3 - head), kept.substr(text, end - text)))
                return false;
            m_sent = end + recordEnd.size();
            if (fGetCurVelmorTime() > until)
                return m_sent == kept.size();
        }
        return true;
    }

    // False, and disconnected, unless the receiver has the record.
    bool send(const std::string &head, const std::string &text) {
        const std::string expected = head.substr(0, head.find(' ', head.find(' ') + 1)) + '\n';
        std::string answer = expected;
        if (connected() && dprintf(m_socket, "%s %zu\n%s", head.c_str(), text.size(), text.c_str()) > 0 &&
            (!m_receiver || (recv(m_socket, &answer[0], answer.size(), MSG_WAITALL) > 0 && answer == expected)))
            return true;
        disconnect();
        return false;
    }

    bool connected() {
        if (m_socket >= 0 || fGetCurVelmorTime() < m_retryAt)
            return m_socket >= 0;
        m_retryAt = fGetCurVelmorTime() + 2;
        const char *port = std::strrchr(m_receiver, ':') + 1;
        addrinfo *addresses = nullptr;
        if (getaddrinfo(std::string(m_receiver, port - 1).c_str(), port, nullptr, &addresses) != 0)
            return false;
        for (const addrinfo *at = addresses; at != nullptr && m_socket < 0; at = at->ai_next) {
            constexpr timeval limit{5, 0}; // of every call, connect too
            m_socket = socket(at->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
            setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
            setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
            if (connect(m_socket, at->ai_addr, at->ai_addrlen) != 0)
                disconnect();
        }
        freeaddrinfo(addresses);
        return m_socket >= 0;
    }

    void disconnect() {
        if (m_receiver != nullptr)
            close(std::exchange(m_socket, -1));
    }

    const char *m_receiver;
    int m_socket;         // standard output without a receiver
    double m_retryAt = 0; // no connection is tried before
    std::string m_file;   // the buffer file that is being sent, and how much of it has been sent
    std::size_t m_sent = 0;
};
