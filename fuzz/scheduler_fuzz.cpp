// Keys, commands and home paths of the command scheduler: a command file holds the command, is in the home under a
// name of letters, digits and "_", and a composed command line holds nothing of key and home that a shell interprets.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "NCmdScheduler.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "host/ShellSafe.h"

#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

constexpr const char *nameCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.";

void ensureCommandFiles(const std::string &key, const std::string &command) {
    const auto scheduler = std::make_unique<CCmdScheduler>();
    scheduler->fSetCmdSchedulerHomePath("../aproc/scheduler");
    const int first = scheduler->fCmdSave(key.c_str(), command.c_str());
    const bool isFileName = !key.empty() && key.size() + std::strlen("shcmd_.cmd") <= NAME_MAX;
    fuzz::ensure((first == 0) == (isFileName && !command.empty()), "another verdict");
    int files = 0;
    for (const auto &entry : std::filesystem::directory_iterator("../aproc/scheduler")) {
        const std::string name = entry.path().filename().string();
        fuzz::ensure(name.starts_with("shcmd_") && name.ends_with(".cmd"), "another file in the home");
        fuzz::ensure(name.find_first_not_of(nameCharacters) == std::string::npos, "a wild file name");
        std::ifstream file(entry.path(), std::ios::binary);
        fuzz::ensure(std::string(std::istreambuf_iterator<char>(file), {}) == command, "another command in the file");
        std::filesystem::remove(entry.path());
        ++files;
    }
    fuzz::ensure(files <= 1, "more files than commands");
}

void ensureCommandLines(const std::string &home, const std::string &key, const std::string &command) {
    const auto scheduler = std::make_unique<CCmdScheduler>();
    scheduler->m_nCmdSchedulerType = SCHEDULER_LIST;
    scheduler->fSetCmdSchedulerHomePath(home.c_str());
    scheduler->fCmdSave(key.c_str(), command.c_str());
    scheduler->fCmdPush(key.c_str(), command.c_str());
    scheduler->fCmdPush(key.c_str(), command.c_str());
    fuzz::ensure(scheduler->m_CmdList.size() <= 2, "a command that is pending is pending twice");
    for (const _CMD_SCHEDULER *pending : scheduler->m_CmdList) {
        fuzz::ensureTerminated(pending->l_strCmdReqKey);
        fuzz::ensure(zel::shellSafePath(pending->l_strCmdReqKey), "a wild key");
        fuzz::ensureTame(pending->l_pstrResultFile);
        const std::string_view result = pending->l_pstrResultFile;
        fuzz::ensure(result.substr(std::strlen(scheduler->m_pstrCmdSchedulerHome)).find('/') == result.npos,
                     "a result file outside the home");
        const std::string line = pending->l_pstrCmdStr;
        fuzz::ensure(line == command + ";echo $? > " + pending->l_pstrResultFile + " &", "another command line");
    }
    scheduler->fCmdSchedulerStop();
    fuzz::ensure(scheduler->m_CmdList.empty(), "a command survives the stop");
}

} // namespace

FUZZ_TARGET(scheduler_fuzz) {
    fuzz::freshSurroundings();
    fuzz::root().home("aproc/scheduler/none", std::string(fuzz::ABSENT));
    std::filesystem::create_directories("../aproc/scheduler");
    const std::string key = input.text();
    const std::string command = input.text();
    const std::string home = input.text();
    ensureCommandFiles(key, command);
    ensureCommandLines(home, key, command);
    // Start and stop compose a command line of the home; the answer to system() looks at it.
    CCmdScheduler daemon;
    daemon.fSetCmdSchedulerHomePath(home.c_str());
    daemon.fCmdSchedulerStart();
    daemon.fCmdSchedulerStop();
}
