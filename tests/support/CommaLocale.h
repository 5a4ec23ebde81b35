// A locale that writes 2.5 as "2,5" and a million as "1.000.000", in force for a scope. It is made for the test, so
// that no host needs to have one installed.
#pragma once

#include "TempDirectory.h"

class CommaLocale {
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;

    /// Null when the locale is in force, otherwise the reason why it is not.
    const char *whyNot() const { return m_whyNot; }

private:
    TempDirectory m_directory;
    const char *m_whyNot = nullptr;
};
