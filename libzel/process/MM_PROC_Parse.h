// Parses the texts of the files of one process. Plain functions over text.
#pragma once

#include "MM_PROC_Info.h"

namespace zel {

/// stat, which is cut at its last ")". False when it is malformed.
bool parseStat(char *text, proc_s &raw);
/// The command name in a text that parseStat has cut: all after the first "(".
const char *commandName(const char *stat);
/// statm. False when one of its seven values is missing.
bool parseStatm(const char *text, proc_s &raw);
/// Some lines of io, which are written to; the counters of other lines keep their values.
void parseIo(char *lines, proc_s &raw);

} // namespace zel
