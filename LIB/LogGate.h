// The log gate: which messages are written at all, decided before anything is formatted.
//
// A message has a level (error, normal, debug), a module bit and a detail bit. Its gate is open when the bit is set in
// the module word and in the detail word of its level and a logger is installed. The words are set from keywords by
// CVornLog::fSetLogModeBit, or by the embedding program before it starts threads; a word of all ones (-1) opens every
// bit. A closed gate costs two bit tests.
//
// The words stay plain integers for embedding programs; they are read here as atomics, so that the keywords may be
// changed while other threads log.
#pragma once

#include <atomic>
#include <cstdio>

class CVornLog;

/// The installed logger, or null: then nothing is logged. The embedding program owns it.
extern CVornLog *g_pclVornLog;

/// 1: every formatted line also goes to standard error.
extern int g_nPrint;

extern int g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2;
extern int g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2;
extern int g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2;

namespace zel {

inline constexpr int LOG_LEVEL_DEBUG = 1;
inline constexpr int LOG_LEVEL_NORMAL = 2;
inline constexpr int LOG_LEVEL_ERROR = 3;

inline constexpr int LOG_MODULE_UNI = 16;
inline constexpr int LOG_MODULE_TCP = 32;
inline constexpr int LOG_MODULE_EVU = 64;
inline constexpr int LOG_MODULE_LAB = 128;

inline constexpr int LOG_DETAIL_UNI = 0x1;    // runtime: watchdog, allocation, scheduler requests
inline constexpr int LOG_DETAIL_LAB5 = 64;    // interface inventory
inline constexpr int LOG_DETAIL_LAB6 = 128;   // interface traffic and bandwidth
inline constexpr int LOG_DETAIL_LAB14 = 4096; // collectors in general

/// For the few messages that have no gate beyond an installed logger.
inline bool loggerInstalled() {
    return std::atomic_ref(g_pclVornLog).load(std::memory_order_acquire) != nullptr;
}

inline bool logBitsOpen(int &moduleWord, int &detailWord, int module, int detail) {
    return (std::atomic_ref(moduleWord).load(std::memory_order_acquire) & module) != 0 &&
           (std::atomic_ref(detailWord).load(std::memory_order_acquire) & detail) != 0 && loggerInstalled();
}

inline bool errorLogOpen(int module = LOG_MODULE_LAB, int detail = LOG_DETAIL_LAB14) {
    return logBitsOpen(g_nLogModERROR, g_nLoggingERROR2, module, detail);
}

inline bool normalLogOpen(int module = LOG_MODULE_LAB, int detail = LOG_DETAIL_LAB14) {
    return logBitsOpen(g_nLogModNORMAL, g_nLoggingNORMAL2, module, detail);
}

inline bool debugLogOpen(int module = LOG_MODULE_LAB, int detail = LOG_DETAIL_LAB14) {
    return logBitsOpen(g_nLogModDEBUG, g_nLoggingDEBUG2, module, detail);
}

/// Hands a finished message to the installed logger, control bytes (line feeds among them) as blanks: one message is
/// one line, whatever names it holds. Safe against a logger that is being replaced or destroyed.
void writeLog(int level, int line, const char *sourceName, const char *message);

} // namespace zel

/// Formats a message into the char array `buffer` (cut at its size) and logs it with the line of the call, but only
/// when `gateOpen` is true; the format arguments are not evaluated otherwise.
#define ZEL_LOG(gateOpen, level, sourceName, buffer, ...)                                                              \
    do {                                                                                                               \
        if (gateOpen) {                                                                                                \
            std::snprintf(buffer, sizeof(buffer), __VA_ARGS__);                                                        \
            zel::writeLog(level, __LINE__, sourceName, buffer);                                                        \
        }                                                                                                              \
    } while (false)
