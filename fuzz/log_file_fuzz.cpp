// The name of the log file that the script tells, file names in the log directory, and messages: a log never leaves its
// directory, and no name reaches a shell that would read more than a word in it.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "VornLog.h"

#include <cstring>
#include <filesystem>
#include <string>

FUZZ_TARGET(log_file_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    fuzz::root().removeHome("log");
    std::filesystem::create_directories("../log");
    fuzz::root().home("aproc/shell/recentlogfile.dat", input.piece());
    const std::string foreign = input.text();
    if (!foreign.empty() && foreign.size() < 200 && foreign.find('/') == std::string::npos && foreign[0] != '.')
        fuzz::root().home("log/" + foreign, "foreign");
    const std::string owner = input.text();
    const std::string message = input.text();

    CVornLog log(1, owner.c_str(), static_cast<int>(options & 3));
    log.fSetLogPath("../log/");
    log.fSetLogCompress(1);
    log.m_nCompressChk = 1;
    std::strcpy(log.m_strCompressPath, "/bin/gzip");
    log.fSetLogSize(1, (options & 4) != 0 ? 2 : 0);
    for (int write = 0; write < 3; ++write) {
        log.fLogWrite(static_cast<int>(options >> 3 & 3), 17, "fuzz", message.c_str());
        const std::string path = log.m_pstrLogFile == nullptr ? "" : log.m_pstrLogFile;
        fuzz::ensure(path.starts_with("../log/"), "a log file of another directory");
        fuzz::ensure(owner.find('/') != std::string::npos ||
                         path.find('/', std::strlen("../log/")) == std::string::npos,
                     "a log file below its directory");
        fuzz::passTime((options & 32) != 0 ? 86400 : 1);
    }
    char text[17];
    CVornLog::fGetThreadDayTime(static_cast<std::time_t>(input.number()) << (options >> 5), text, 3);
    fuzz::ensureTerminated(text);
}
