// The tool `zel`: runs the command that the command line names.
#include "zel/CommandLine.h"
#include "zel/Output.h"

#include <exception>

int main(int count, char **arguments) {
    zel::prepareStreams();
    try {
        return zel::runCommandLine(count, arguments);
    } catch (const std::exception &error) {
        zel::complain(error.what());
        return zel::EXIT_FAILED;
    }
}
