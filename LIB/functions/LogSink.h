// How the logger sits on top of the log gate. What is below the logger logs through the gate (LogGate.h), which knows
// the installed logger by its address alone and hands messages on through a function that the logger leaves here.
#pragma once

#include "LogGate.h"

namespace zel {

using LogSink = void (*)(CVornLog &logger, int level, int line, const char *sourceName, const char *message);

/// Sets the function that writes a message to a logger. Every logger sets it when it is made, so that it is there
/// before a logger can be installed.
void setLogSink(LogSink sink);

/// For a logger that goes: uninstalls it if it is the installed one, and returns when no thread is inside it any more.
void withdrawLogger(CVornLog *logger);

} // namespace zel
