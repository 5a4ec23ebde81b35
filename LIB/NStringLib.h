// Text functions: re-entrant tokenisers, dotted identifiers, digit test, quote cutter, typed value conversion.
#pragma once

/// Splits `text` in place at runs of the characters of `delimiters`; continue with null and the same `save`. A run
/// counts as one delimiter. Returns the start of the token, empty when the text begins with a delimiter, or null when
/// nothing is left; *save is null after the last token.
char *Nstrtok(char *text, const char *delimiters, char **save);
