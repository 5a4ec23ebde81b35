// The record of the kernel release.
#include "MM_INIT_Info.h"

#include <cctype>
#include <cstdlib>
#include <sys/utsname.h>

_ST_OS_VERSION *CMM_INIT_Info::m_pstOsVersion;
int CMM_INIT_Info::m_nNObjs;

namespace {

constexpr int componentDigits = 7; // further digits of a release component are not counted in

// Whether m_pstOsVersion refers to a live record: the public pointer is not reset when the record is freed.
bool recordAllocated = false;

// Sample: 2.6.32-754.el6.x86_64
// Converts the digits at `release`, moves it over them and over one separator; never past the terminator.
int takeComponent(const char *&release) {
    char digits[componentDigits + 1] = {};
    int count = 0;
    for (; std::isdigit(static_cast<unsigned char>(*release)) != 0; ++release) {
        if (count < componentDigits)
            digits[count++] = *release;
    }
    if (*release != '\0')
        ++release;
    return static_cast<int>(std::strtol(digits, nullptr, 10));
}

} // namespace

CMM_INIT_Info::CMM_INIT_Info() {
    if (++m_nNObjs == 1)
        fMInit();
}

CMM_INIT_Info::~CMM_INIT_Info() {
    if (--m_nNObjs != 0)
        return;
    std::free(m_pstOsVersion);
    recordAllocated = false;
}

int CMM_INIT_Info::fMInit() {
    return fMGetVersion();
}

int CMM_INIT_Info::fMGetVersion() {
    if (!recordAllocated) {
        m_pstOsVersion = static_cast<_ST_OS_VERSION *>(std::malloc(sizeof(_ST_OS_VERSION)));
        if (m_pstOsVersion == nullptr)
            return 0;
        recordAllocated = true;
    }
    *m_pstOsVersion = {};

    utsname system{};
    if (uname(&system) != 0)
        return 0;
    const char *release = system.release;
    m_pstOsVersion->l_nMajorNum = takeComponent(release);
    m_pstOsVersion->l_nMinorNum = takeComponent(release);
    m_pstOsVersion->l_nExtraNum = takeComponent(release);
    return 1;
}

int CMM_INIT_Info::fMLinux_Major() const {
    return m_pstOsVersion == nullptr ? 0 : m_pstOsVersion->l_nMajorNum;
}

int CMM_INIT_Info::fMLinux_Minor() const {
    return m_pstOsVersion == nullptr ? 0 : m_pstOsVersion->l_nMinorNum;
}
