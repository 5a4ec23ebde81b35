// Where the tool writes: standard output whole or not at all, messages one line each.
#pragma once

#include <string>
#include <string_view>

namespace zel {

/// What became of a text. Closed: the reader went away, as `head` does, or the program is asked to end; that is no
/// failure.
enum class Written : unsigned char { Whole, Closed, Failed };

/// Opens what of standard input, output and error is closed in a way that reading and writing fail, so that no other
/// file gets their numbers; and ignores SIGPIPE.
void prepareStreams();

/// Writes to standard output. A failure is reported on standard error.
Written writeOut(std::string_view text);

/// Text of our own to standard error; what cannot be written there is lost.
void writeError(std::string_view text);
/// "zel: ..." and a line feed to standard error, control bytes left out.
void complain(std::string_view message);

/// Whether standard output is a terminal, and standard error.
bool isTerminalOut();
bool isTerminalError();

} // namespace zel
