// Composes and starts the command lines of the home kit, and opens what its scripts wrote.
#include "scripts/HomeScripts.h"

#include "LogGate.h"
#include "NCmdScheduler.h"
#include "host/RegularFile.h"
#include "host/TrustedWay.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

using CommandLine = ScriptText<SCRIPT_LINE_SIZE>;
using ResultPath = ScriptText<RESULT_PATH_SIZE>;

// An empty text instead of one that was cut: half a command is another command.
template<std::size_t Size> void clearIfCut(ScriptText<Size> &text, int length) {
    if (length < 0 || static_cast<std::size_t>(length) >= Size)
        text.text[0] = '\0';
}

// Sample: ../../utils/ETC/ShCmd 5 ./shell/LINUX/cpu_info > ../aproc/shell/CpuCntPhysical.dat 2>&1
CommandLine commandLine(const HomeScript &script, const ScriptArgument &argument, const char *result,
                        const char *background) {
    char runner[64] = "";
    if (script.limit > 0)
        std::snprintf(runner, sizeof(runner), "%s %d ", COMMAND_RUNNER, script.limit);
    const bool named = script.into != nullptr;
    const char *separator = argument.text()[0] == '\0' ? "" : " ";
    CommandLine line;
    clearIfCut(line,
               std::snprintf(line.text, sizeof(line.text), "%s%s%s%s%s%s%s%s", runner, script.program, separator,
                             argument.text(), named ? script.into : "", named ? result : "", script.after, background));
    return line;
}

void say(const WayFinding &finding) {
    if (!loggerInstalled()) {
        std::fprintf(stderr, "%s %s\n", REFUSAL_TEXT, finding.reason);
        return;
    }
    char message[512];
    ZEL_LOG(true, LOG_LEVEL_ERROR, "HomeScripts", message, "%s %s", REFUSAL_TEXT, finding.reason);
}

WayFinding inspect(const char *path) {
    const WayFinding finding = inspectWay(path);
    if (isWorthSaying(finding))
        say(finding);
    return finding;
}

// Whether nobody else decides what runs when the script is started.
bool isTrusted(const HomeScript &script) {
    char program[64];
    std::snprintf(program, sizeof(program), "%.*s", static_cast<int>(std::strcspn(script.program, " ")),
                  script.program);
    return inspect(COMMAND_RUNNER).trusted && inspect(program).trusted &&
           (script.helper == nullptr || inspect(script.helper).trusted);
}

bool mayBeWritten(const char *path) {
    return faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
}

// A shell that cannot write the result would say so on standard error, with every run.
bool hasPlaceForResult(const HomeScript &script, const char *result) {
    if (!inspect(RESULT_DIRECTORY).trusted)
        return false;
    return script.into == nullptr || mayBeWritten(result) || (errno == ENOENT && mayBeWritten(RESULT_DIRECTORY));
}

} // namespace

ResultPath namedResultPath(Script script, const char *name) {
    const char *form = homeScript(script).result;
    const auto before = static_cast<int>(std::strcspn(form, "*"));
    const bool named = form[before] == '*';
    ResultPath path;
    clearIfCut(path, std::snprintf(path.text, sizeof(path.text), "%.*s%s%s", before, form, named ? name : "",
                                   form + before + (named ? 1 : 0)));
    return path;
}

int runScript(Script script, const ScriptArgument &argument, const char *name) {
    const ResultPath result = namedResultPath(script, name);
    const CommandLine line = commandLine(homeScript(script), argument, result.text, "");
    const bool composed = result.text[0] != '\0' && line.text[0] != '\0';
    if (!composed || !isTrusted(homeScript(script)) || !hasPlaceForResult(homeScript(script), result.text) ||
        !clearForResult(result.text))
        return 0;
    return runShell(line.text);
}

int scheduleScript(const char *key, Script script, const ScriptArgument &argument) {
    const HomeScript &entry = homeScript(script);
    const CommandLine line = commandLine(entry, argument, entry.result, entry.background);
    CCmdScheduler *scheduler = readShared(g_pclCCmdScheduler);
    if (scheduler == nullptr || line.text[0] == '\0')
        return -1;
    return isTrusted(entry) && inspect(RESULT_DIRECTORY).trusted ? scheduler->fCmdSave(key, line.text) : 0;
}

ScopedFile openHomeFile(const char *path) {
    WayFinding finding;
    ScopedDescriptor file = openOnTrustedWay(path, finding);
    const int error = errno;
    if (isWorthSaying(finding))
        say(finding);
    errno = error;
    return asStream(std::move(file), "r");
}

ScopedDescriptor openHomeFileToWrite(const char *path) {
    if (inspect(RESULT_DIRECTORY).trusted)
        return openToWrite(path);
    errno = ENOENT;
    return ScopedDescriptor(-1);
}

ScopedFile openResult(Script script, const char *name) {
    return openHomeFile(namedResultPath(script, name).text);
}

} // namespace zel
