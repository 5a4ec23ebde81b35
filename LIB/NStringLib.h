// Text functions: re-entrant tokenisers, dotted identifiers, digit test, quote cutter, typed value conversion. None
// keeps state between calls apart from the trace of NValueVtoA.
#pragma once

// --- Tokenisers: both write into the text they split ---------------------------------------------------------------

/// Splits `text` in place at runs of the characters of `delimiters`; continue with null and the same `save`. A run
/// counts as one delimiter. Returns the start of the token, empty when the text begins with a delimiter, or null when
/// nothing is left; *save is null after the last token. A text that ends in a delimiter has an empty last token.
char *Nstrtok(char *text, const char *delimiters, char **save);

/// The same at the whole text `separator`, one occurrence per call: neighbouring separators enclose an empty token. An
/// empty separator is never found.
char *Nstrstrtok(char *text, const char *separator, char **save);
