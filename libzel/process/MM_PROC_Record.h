// Turns what the kernel files of one process hold into its report record. Plain functions over values.
#pragma once

#include "MM_PROC_Info.h"

#include <cstddef>

namespace zel {

/// The text of a start time, which many processes share: kernel threads, the services of a boot, the workers of a
/// server.
struct StartText {
    int seconds = 0; // the start time that the text shows
    char text[sizeof(_ST_PROC::l_strStart)] = {};
};

/// Empties what a reader may leave unset, so that nothing of the previous process shows through.
void clearRecord(_ST_PROC &record);
/// Names the process by the command line of `length` bytes that is in l_strPname. One without (a kernel thread, a
/// zombie) is named by its command in square brackets.
void nameByCommandLine(_ST_PROC &record, std::size_t length);
/// Names the process by its command.
void nameByCommand(_ST_PROC &record);
/// Everything but the names and the rates.
void fillRecord(CMM_PROC_Info &collector, const proc_s &raw, unsigned long totalMemory, StartText &start,
                _ST_PROC &record);
/// The owner's name and the start time alone.
void fillOwnerAndStart(CMM_PROC_Info &collector, const proc_s &raw, _ST_PROC &record);

/// Whether the name of the owner or of the process is missing: such a process is left out.
bool isNameless(const _ST_PROC &record);
/// Drops the blanks at the end of the name; a name of nothing else becomes "<defunct>". Returns its length.
std::size_t trimName(char *name);

} // namespace zel
