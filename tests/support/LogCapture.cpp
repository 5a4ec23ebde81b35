// Opens the gates for a logger of the test's own and reads its log file.
#include "LogCapture.h"

#include <sstream>

namespace {

void setGates(int module, int detail) {
    g_nLogModERROR = g_nLogModNORMAL = module;
    g_nLoggingERROR2 = g_nLoggingNORMAL2 = detail;
}

} // namespace

LogCapture::LogCapture() : LogCapture(-1, -1) {}

LogCapture::LogCapture(int module, int detail) : m_log(2, "test", 2) {
    m_log.fSetLogPath((m_directory.path().string() + "/").c_str());
    m_log.fSetLogSize(1024, 1);
    setGates(module, detail);
    g_nPrint = 1;
    g_pclVornLog = &m_log;
}

LogCapture::~LogCapture() {
    g_pclVornLog = nullptr;
    g_nPrint = 0;
    setGates(0, 0);
}

std::vector<std::string> LogCapture::lines() const {
    std::vector<std::string> result;
    std::istringstream text(m_streams.err());
    for (std::string line; std::getline(text, line);) {
        const std::size_t level = line.find("][INFO][");
        if (level != std::string::npos)
            result.push_back(line.substr(level + 1));
    }
    return result;
}

std::vector<std::string> LogCapture::messages() const {
    std::vector<std::string> result;
    for (const std::string &line : lines()) {
        std::size_t end = line.find(']');
        for (int bracket = 1; bracket < 3; ++bracket)
            end = line.find(']', end + 1);
        result.push_back(line.substr(end + 1));
    }
    return result;
}
