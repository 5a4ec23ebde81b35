// Makes the locale with localedef and sets it for a scope.
#include "CommaLocale.h"

#include "ShellRun.h"

#include <clocale>
#include <cstdlib>
#include <string>

namespace {

constexpr const char *numbers = "LC_NUMERIC\n"
                                "decimal_point \",\"\n"
                                "thousands_sep \".\"\n"
                                "grouping 3;3\n"
                                "END LC_NUMERIC\n";

} // namespace

// localedef warns of the categories that are not defined, which are then those of the C locale.
CommaLocale::CommaLocale() {
    const std::string source = m_directory.write("comma.source", numbers);
    const std::string made = (m_directory.path() / "comma").string();
    runShell("localedef -c -f ANSI_X3.4-1968 -i " + source + " --no-archive " + made + " >/dev/null 2>&1");
    if (!m_directory.exists("comma/LC_NUMERIC")) {
        m_whyNot = "localedef made no locale with a decimal comma";
        return;
    }
    setenv("LOCPATH", m_directory.path().c_str(), 1);
    if (std::setlocale(LC_ALL, "comma") == nullptr)
        m_whyNot = "the C library did not take a locale from LOCPATH";
}

CommaLocale::~CommaLocale() {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}
