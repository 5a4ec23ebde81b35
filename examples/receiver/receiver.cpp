// Receives the records of the agent (agent/Delivery.h has the protocol), prints and answers them.
//
//   receiver PORT [--deaf NUMBER]
//
// A record is printed as its line and its text, rows as lines; a record that comes again is answered and not printed.
// Port 0 takes a free one; the port is announced on standard error. One agent at a time is served. With --deaf the
// receiver ends after the NUMBERth record, which it prints and does not answer: the moment in which an agent cannot
// know whether its record arrived.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t longestLine = 512;
constexpr unsigned long longestText = 256UL << 20;

struct Record {
    char run[32];
    unsigned long long number;
    std::string line, text;
};

bool readRecord(std::FILE *in, Record &record) {
    char line[longestLine];
    unsigned long bytes = 0;
    if (std::fgets(line, sizeof(line), in) == nullptr ||
        std::sscanf(line, "%31s %llu %*s %*s %lu", record.run, &record.number, &bytes) != 3 || bytes > longestText)
        return false;
    record.line = line;
    record.text.resize(bytes);
    return std::fread(record.text.data(), 1, bytes, in) == bytes;
}

// Every separator is 03 1F and one more byte: rows and metrics start a line, columns and fields follow a blank.
void print(const Record &record) {
    std::string readable = record.line + "  ";
    for (std::size_t i = 0; i < record.text.size(); ++i) {
        if (record.text.compare(i, 2, "\x03\x1F") != 0 || i + 2 >= record.text.size()) {
            readable += record.text[i];
            continue;
        }
        i += 2;
        readable += std::strchr("|]", record.text[i]) != nullptr ? "\n  " : " ";
    }
    std::puts(readable.c_str());
    std::fflush(stdout);
}

int listenOn(int port) {
    const int listener = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0); // takes IPv4, too
    const int on = 1, off = 0;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof(off));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_any;
    address.sin6_port = htons(static_cast<in_port_t>(port));
    socklen_t size = sizeof(address);
    if (bind(listener, reinterpret_cast<sockaddr *>(&address), size) != 0 || listen(listener, 1) != 0)
        return -1;
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    std::fprintf(stderr, "receiver: port %d\n", ntohs(address.sin6_port));
    return listener;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2 && (argc != 4 || std::strcmp(argv[2], "--deaf") != 0))
        return std::fputs("Usage: receiver PORT [--deaf NUMBER]\n", stderr), 2;
    long left = argc == 4 ? std::strtol(argv[3], nullptr, 10) : -1;
    const int listener = listenOn(static_cast<int>(std::strtol(argv[1], nullptr, 10)));
    if (listener < 0)
        return std::perror("receiver"), 1;

    std::map<std::string, unsigned long long> last; // number by run
    for (int agent; (agent = accept(listener, nullptr, nullptr)) >= 0;) {
        std::FILE *in = fdopen(agent, "r");
        for (Record record; readRecord(in, record);) {
            if (record.number > last[record.run])
                print(record);
            last[record.run] = record.number;
            if (--left == 0)
                return 0;
            dprintf(agent, "%s %llu\n", record.run, record.number);
        }
        std::fclose(in);
    }
    return 1;
}
