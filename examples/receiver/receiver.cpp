// Receives the records of agents (agent/Record.h has the protocol), stores them on standard output and answers them.
//
//   receiver PORT [--listen ADDRESS] [--deaf NUMBER]
//
// A record that comes again is answered and not stored again. Port 0 takes a free one; the port is announced on
// standard error. It listens on 127.0.0.1 unless another address is given: records are neither encrypted nor is their
// sender checked. With --deaf the receiver ends after the NUMBERth record, which it stores and does not answer: the
// moment in which an agent cannot know whether its record arrived.
#include "Listener.h"
#include "Reception.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct Options {
    std::string port;
    std::string address = "127.0.0.1";
    long deafAfter = -1;
};

bool readOptions(int argc, char **argv, Options &options) {
    if (argc < 2 || argc % 2 != 0)
        return false;
    options.port = argv[1];
    for (int i = 2; i < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--listen")
            options.address = argv[i + 1];
        else if (option == "--deaf")
            options.deafAfter = std::strtol(argv[i + 1], nullptr, 10);
        else
            return false;
    }
    return options.deafAfter != 0;
}

} // namespace

int main(int argc, char **argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::fputs("Usage: receiver PORT [--listen ADDRESS] [--deaf NUMBER]\n", stderr);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Listener listener(options.address, options.port);
    if (listener.socket() < 0)
        return 1;
    std::fprintf(stderr, "receiver: port %d\n", listener.port());
    Reception(listener, options.deafAfter).serve();
}
