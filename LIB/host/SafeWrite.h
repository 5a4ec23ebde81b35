// Writing so that no write ends the embedding program, and so that what belongs together is written whole.
#pragma once

#include <csignal>
#include <string_view>

namespace zel {

/// While it lives, a write of the calling thread into a pipe without a reader, or beyond the limit of file sizes, only
/// fails: SIGPIPE and SIGXFSZ, which by default end the program, are kept from the thread, and those that its writes
/// raised are gone afterwards. The actions of the program for these signals stay as they are.
class WriteSignalsHeld {
public:
    WriteSignalsHeld();
    ~WriteSignalsHeld();
    WriteSignalsHeld(const WriteSignalsHeld &) = delete;
    WriteSignalsHeld &operator=(const WriteSignalsHeld &) = delete;

private:
    sigset_t m_previous{}; // signal mask of the thread
    sigset_t m_own{};      // signals that can only come from writes while this lives
};

/// What became of a text that was to be appended to a file.
enum class Appended {
    WHOLE,
    NOTHING, // it does not fit or cannot be written, and the file is as it was
    PART,    // a part of it is in the file, and the file cannot be cut (a pipe, or others write to it as well)
};

/// Appends `text` to a file that is open for appending, whole or not at all where that is possible. errno tells why it
/// is not whole; ENOSPC when the file took a part without an error.
Appended appendWhole(int file, std::string_view text);

/// What a write does that a signal interrupted before it took a byte.
enum class OnSignal { GOES_ON, FAILS };

/// Writes all of `text`, however many writes that takes. False with errno set when one fails; what was written before
/// it is in the file.
bool writeAll(int file, std::string_view text, OnSignal onSignal);

/// Writes `text` to standard error, which need not be there.
void printError(std::string_view text);
/// The same with a format.
[[gnu::format(printf, 1, 2)]] void printErrorf(const char *format, ...);

} // namespace zel
