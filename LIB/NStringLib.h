// Text functions: re-entrant tokenisers, dotted identifiers, digit test, quote cutter, typed value conversion. None
// keeps state between calls, apart from the trace that NValueVtoA leaves in g_strDebugDetail.
#pragma once

// --- Tokenisers: both write into the text they split ---------------------------------------------------------------

/// Splits `text` in place at runs of the characters of `delimiters`; continue with null and the same `save`. A run
/// counts as one delimiter. Returns the start of the token, empty when the text begins with a delimiter, or null when
/// nothing is left; *save is null after the last token. A text that ends in a delimiter has an empty last token.
char *Nstrtok(char *text, const char *delimiters, char **save);

/// The same at the whole text `separator`, one occurrence per call: neighbouring separators enclose an empty token. An
/// empty separator is never found.
char *Nstrstrtok(char *text, const char *separator, char **save);

// --- Tests and comparison ------------------------------------------------------------------------------------------

/// 1 when `text` is an optional "+" or "-" followed only by decimal digits, so also for a lone sign; 0 for an empty
/// one.
int Nisdigit(const char *text);

/// Compares two dotted identifiers part by part as decimal integers: -1, 0 or 1. The first pair that differs decides;
/// an identifier that ends first is the smaller one: 1.3.6 < 1.3.6.1, and 1.9 < 1.10. Identifiers and their parts may
/// be of any length; a run of dots counts as one, a part without digits as 0.
int NOidCmp(const char *a, const char *b);

/// The text after the first double quote of `text`, which is cut at the next blank; `text` itself when there
/// is no double quote.
char *NCutQmark(char *text);

// --- Typed values --------------------------------------------------------------------------------------------------

/// Type codes of values: BER tags, and from 192 on codes of this library.
enum ValueType {
    VALUE_BYTE = 1,          // signed byte
    VALUE_INTEGER = 2,       // signed 32-bit integer
    VALUE_OCTETS = 4,        // bytes
    VALUE_NULL = 5,          // nothing
    VALUE_IDENTIFIER = 6,    // bytes of a dotted identifier
    VALUE_FLOAT = 9,         // single-precision float
    VALUE_ADDRESS = 64,      // bytes of an address
    VALUE_COUNTER = 65,      // not converted
    VALUE_GAUGE = 66,        // unsigned 32-bit integer
    VALUE_TICKS = 67,        // unsigned 32-bit integer
    VALUE_OWN_OCTETS = 192,  // bytes
    VALUE_OWN_INTEGER = 193, // signed 64-bit integer
    VALUE_OWN_TEXT = 194,    // bytes
};

/// Size that a text buffer of NValueVtoA has at least, and of the value that VALUE_NULL converts to.
inline constexpr int VALUE_TEXT_SIZE = 128;

/// Writes the value at `value` as text into *text and returns it. *text is a malloc'ed buffer of at least
/// VALUE_TEXT_SIZE bytes. Bytes of VALUE_TEXT_SIZE or more replace it by a larger one (it may be null then); the caller
/// owns either. `len` is the number of bytes of a byte type. A type that is not converted, or no value, gives an empty
/// text. Returns null for a negative `len`, without a buffer, and without memory (*text is then null).
///
/// Every step is recorded in g_strDebugDetail, so a debugger finds the last one reached there. That makes it a function
/// for one thread at a time.
char *NValueVtoA(const void *value, char **text, int type, int len);

/// Makes a value of `type` from `text` in a new malloc'ed buffer, which is stored in *value and returned; the caller
/// owns it. A previous *value is freed first. A number is read from the start of the text, 0 without digits. A byte
/// type gives `len` bytes, filled with zeros after a shorter text, and a terminating zero. Returns null for a negative
/// `len` or an empty text, which leave *value alone, and for a type that is not converted or without memory (*value is
/// then null).
void *NValueAtoV(const char *text, void **value, int type, int len);
