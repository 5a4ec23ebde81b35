// Delivers records in order, each at least once. A record is one line and a text of BYTES bytes:
//   RUN NUMBER NAME SECONDS BYTES \n TEXT          1700000000123456 17 cpu 1700000004 812
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
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>

class Delivery {
public:
    const std::string run = std::to_string(static_cast<long long>(fGetCurVelmorTime() * 1e6));
    unsigned long long records = 0;
    /// `receiver` is HOST:PORT, or null for standard output.
    explicit Delivery(const char *receiver) : m_receiver(receiver), m_socket(receiver ? -1 : STDOUT_FILENO) {
        const auto files = keptFiles();
        const std::string newest = files.empty() ? "" : files.rbegin()->second;
        const std::string kept = (std::ostringstream() << std::ifstream(newest).rdbuf()).str();
        const auto end = kept.rfind(recordEnd), whole = end == std::string::npos ? 0 : end + recordEnd.size();
        if (whole != kept.size()) // a kill has cut its last record, which would take the next one into its text
            std::filesystem::resize_file(newest, whole, m_error);
    }

    /// Sends a text, or keeps it when that fails or older ones are kept. Null and empty texts are no records.
    void take(const char *name, const char *text) {
        if (text == nullptr || *text == '\0')
            return;
        const std::string number = std::to_string(++records), time = std::to_string(fGetPushCurVelmorTime());
        const std::string head = run + ' ' + number + ' ' + name + ' ' + time;
        if ((!keptFiles().empty() || !send(head, text)) && fgBufFileWrite("", head.c_str(), text) != 1)
            std::fprintf(stderr, "agent: %s is lost, ../buffer cannot be written: start in agent/bin\n", head.c_str());
    }

    /// Sends what is kept, oldest first, for a second at most.
    void sendKept() {
        const double until = fGetCurVelmorTime() + 1;
        for (auto files = keptFiles(); !files.empty() && connected(); files = keptFiles(), m_sent = 0)
            if (!sendFile(files.begin()->second, until) || !std::filesystem::remove(files.begin()->second, m_error))
                return;
    }

private:
    const std::string F = "\x03\x1F^", recordEnd = F + "\x03\x1F]\n"; // a record of a file: time F head F text F M \n

    // The library fills one file after the other: the one that was written first is the oldest.
    std::set<std::pair<std::filesystem::file_time_type, std::string>> keptFiles() {
        std::set<std::pair<std::filesystem::file_time_type, std::string>> files;
        for (const auto &entry : std::filesystem::directory_iterator("../buffer", m_error))
            if (entry.path().string().find("-BUF_") != std::string::npos)
                files.emplace(entry.last_write_time(m_error), entry.path().string());
        return files;
    }

    // True when all of it is sent.
    bool sendFile(const std::string &path, double until) {
        const std::string kept = (std::ostringstream() << std::ifstream(path).rdbuf()).str();
        // Another file may stand in the place of one that was sent in part.
        if (std::exchange(m_file, path) != path || (m_sent > 0 && kept.find(recordEnd, m_sent - 7) != m_sent - 7))
            m_sent = 0;
        for (std::size_t end;
             fGetCurVelmorTime() < until && (end = kept.find(recordEnd, m_sent)) != std::string::npos;) {
            const auto head = kept.find(F, m_sent) + 3, text = kept.find(F, head);
            if (text < end && !send(kept.substr(head, text - head), kept.substr(text + 3, end - text - 3)))
                return false;
            m_sent = end + recordEnd.size();
        }
        return m_sent == kept.size() && m_sent == std::filesystem::file_size(path, m_error); // it could be read
    }

    // False, and disconnected, unless the receiver has the record.
    bool send(const std::string &head, const std::string &text) {
        const std::string expected = head.substr(0, head.find(' ', head.find(' ') + 1)) + '\n';
        std::string answer = expected;
        if (connected() && dprintf(m_socket, "%s %zu\n%s", head.c_str(), text.size(), text.c_str()) > 0 &&
            (!m_receiver || (recv(m_socket, &answer[0], answer.size(), MSG_WAITALL) > 0 && answer == expected)))
            return true;
        if (m_receiver != nullptr)
            close(std::exchange(m_socket, -1));
        return false;
    }

    bool connected() {
        if (m_socket >= 0 || fGetCurVelmorTime() < m_retryAt)
            return m_socket >= 0;
        m_retryAt = fGetCurVelmorTime() + 2;
        const char *port = std::strrchr(m_receiver, ':') + 1;
        addrinfo *addresses = nullptr;
        const int failed = getaddrinfo(std::string(m_receiver, port - 1).c_str(), port, nullptr, &addresses);
        for (const addrinfo *at = addresses; at != nullptr && m_socket < 0; at = at->ai_next) {
            constexpr timeval limit{5, 0}; // of every call, connect too
            m_socket = socket(at->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
            setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
            setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
            if (connect(m_socket, at->ai_addr, at->ai_addrlen) != 0)
                close(std::exchange(m_socket, -1));
        }
        if (!std::exchange(m_away, m_socket < 0) && m_away)
            std::fprintf(stderr, "agent: %s: %s\n", m_receiver, failed ? gai_strerror(failed) : std::strerror(errno));
        freeaddrinfo(addresses);
        return !m_away;
    }

    const char *m_receiver;
    int m_socket;         // standard output without a receiver
    double m_retryAt = 0; // no connection is tried before
    bool m_away = false;  // no connection could be made
    std::error_code m_error;
    std::string m_file; // the buffer file that is being sent, and how much of it has been sent
    std::size_t m_sent = 0;
};
