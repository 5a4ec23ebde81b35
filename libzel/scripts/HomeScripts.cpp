// Composes and starts the command lines of the home kit, and opens what its scripts wrote.
#include "scripts/HomeScripts.h"

#include "NCmdScheduler.h"
#include "host/RegularFile.h"
#include "threads/SharedValue.h"

#include <cstring>

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
    if (result.text[0] == '\0' || line.text[0] == '\0' || !clearForResult(result.text))
        return 0;
    return runShell(line.text);
}

int scheduleScript(const char *key, Script script, const ScriptArgument &argument) {
    const HomeScript &entry = homeScript(script);
    const CommandLine line = commandLine(entry, argument, entry.result, entry.background);
    CCmdScheduler *scheduler = readShared(g_pclCCmdScheduler);
    return scheduler == nullptr || line.text[0] == '\0' ? -1 : scheduler->fCmdSave(key, line.text);
}

ScopedFile openHomeFile(const char *path) {
    return openRegularFile(path);
}

ScopedFile openResult(Script script, const char *name) {
    return openHomeFile(namedResultPath(script, name).text);
}

} // namespace zel
