// The toolkit of the collectors.
#include "SSUtil.h"

#include "functions/ElapsedTime.h"
#include "kernel/KernelFile.h"
#include "rates/Saturate.h"
#include "text/DecimalText.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

char CSSUtil::m_strNumData[128];

namespace {

constexpr int kilobyteShift = 10;
constexpr int firstYear = 1900; // of the broken-down time

// Below both, share * 1000 + total / 2 stays below 2^32: 2^22 * 1000 + 2^26 = 4261412864.
constexpr unsigned long long narrowShare = 1ULL << 22;
constexpr unsigned long long narrowTotal = 1ULL << 27;

int log2Floor(unsigned long value) {
    return static_cast<int>(std::bit_width(value)) - 1;
}

// One decimal, a blank and the unit, such as "1.5 M", in every locale.
void formatTenths(char *text, std::size_t size, float value, char unit) {
    char *end = zel::writeFixed(text, size - 2, static_cast<double>(value), 1);
    *end++ = ' ';
    *end++ = unit;
    *end = '\0';
}

// Below the step megabytes, then gigabytes, then terabytes.
void formatMegabytes(char *text, std::size_t size, float megabytes, float step) {
    if (megabytes == 0.0F) {
        std::snprintf(text, size, "%d M", 0);
        return;
    }
    if (megabytes < step) {
        formatTenths(text, size, megabytes, 'M');
        return;
    }
    const float gigabytes = megabytes / step;
    if (gigabytes < step)
        formatTenths(text, size, gigabytes, 'G');
    else
        formatTenths(text, size, gigabytes / step, 'T');
}

long wrappingAdd(long left, long right) {
    return static_cast<long>(static_cast<unsigned long>(left) + static_cast<unsigned long>(right));
}

// The share of `delta` in `total`, rounded half up. Counters are input: nothing they hold may overflow or trap.
long tenthsOfPercent(long delta, long total) {
    const auto scaled = static_cast<long>(static_cast<unsigned long>(delta) * 1000UL);
    const long numerator = wrappingAdd(scaled, total / 2);
    if (total == -1)
        return static_cast<long>(0UL - static_cast<unsigned long>(numerator));
    return numerator / total;
}

// Two digits and the character after them. By hand: the process collector writes two such times per process.
template<class Number> char *writePair(char *out, Number value, char after) {
    *out++ = static_cast<char>('0' + value / 10);
    *out++ = static_cast<char>('0' + value % 10);
    *out++ = after;
    return out;
}

} // namespace

CSSUtil::CSSUtil()
    : m_nPGShift(log2Floor(static_cast<unsigned long>(getpagesize())) - kilobyteShift), m_strHtime{}, m_strStime{},
      m_stOldTime{} {}

int CSSUtil::fFile2Buff(const char *path, char *buffer, int size) {
    if (size < 1)
        return 0;
    const auto room = static_cast<std::size_t>(size);
    const zel::FileText read = zel::readKernelFile(path, buffer, room);
    if (read.failure == zel::FileText::Failure::NotOpened)
        return 0;
    const std::size_t length = read.text.size();
    std::memset(buffer + length, 0, room - length);
    if (std::strstr(path, "cmdline") != nullptr)
        std::replace(buffer, buffer + length, '\0', ' ');
    return static_cast<int>(length);
}

int CSSUtil::fBuff2Line(char **cursor, char *line, int size) {
    if (size < 1)
        return 0;
    std::memset(line, 0, static_cast<std::size_t>(size));
    char *source = *cursor;
    int copied = 0;
    while (copied < size - 1 && *source != '\0' && *source != '\n')
        line[copied++] = *source++;
    if (copied == 0)
        return 0;
    *cursor = *source == '\n' ? source + 1 : source;
    return copied + 1;
}

int CSSUtil::fStr2Str(char *destination, const char *source, int size) {
    if (size < 1)
        return 0;
    const auto area = static_cast<std::size_t>(size);
    std::memset(destination, 0, area);
    std::size_t length = std::strlen(source);
    if (length == 0)
        return 0;
    if (length > area)
        length = area - 1;
    std::memcpy(destination, source, length);
    destination[length] = '\0';
    return static_cast<int>(length);
}

char *CSSUtil::fSkipWs(const char *text) {
    while (std::isspace(static_cast<unsigned char>(*text)) != 0)
        ++text;
    return const_cast<char *>(text);
}

char *CSSUtil::fSkipToken(const char *text) {
    text = fSkipWs(text);
    while (*text != '\0' && std::isspace(static_cast<unsigned char>(*text)) == 0)
        ++text;
    return const_cast<char *>(text);
}

int CSSUtil::fGetCpuPct(int count, unsigned long long *shares, const unsigned long long *current,
                        unsigned long long *previous) {
    unsigned long long total = 0;
    unsigned long long bits = 0;
    for (int i = 0; i < count; ++i) {
        shares[i] = current[i] - previous[i];
        bits |= shares[i];
        total += shares[i];
        previous[i] = current[i];
    }
    if (total == 0)
        total = 1;
    // In an ordinary interval everything fits 32 bits, whose division costs a fraction of the wide one.
    const bool narrow = bits < narrowShare && total < narrowTotal;
    for (int i = 0; i < count; ++i) {
        const unsigned long long numerator = shares[i] * 1000 + total / 2;
        shares[i] = narrow ? static_cast<unsigned>(numerator) / static_cast<unsigned>(total) : numerator / total;
    }
    return static_cast<int>(total);
}

int CSSUtil::fGetCpuPct(int count, int *shares, const long *current, long *previous, long *deltas) {
    long total = 0;
    for (int i = 0; i < count; ++i) {
        const auto growth =
            static_cast<long>(static_cast<unsigned long>(current[i]) - static_cast<unsigned long>(previous[i]));
        deltas[i] = growth < 0 ? static_cast<int>(growth) : growth;
        total = wrappingAdd(total, deltas[i]);
        previous[i] = current[i];
    }
    if (total == 0)
        total = 1;
    for (int i = 0; i < count; ++i)
        shares[i] = static_cast<int>(tenthsOfPercent(deltas[i], total));
    return static_cast<int>(total);
}

int CSSUtil::fGetAddition(int count, int *differences, const long *current, long *previous) {
    unsigned int sum = 0;
    for (int i = 0; i < count; ++i) {
        differences[i] =
            static_cast<int>(static_cast<unsigned long>(current[i]) - static_cast<unsigned long>(previous[i]));
        sum += static_cast<unsigned int>(differences[i]);
        previous[i] = current[i];
    }
    return static_cast<int>(sum);
}

int CSSUtil::fGetAddition(int count, int *differences, const long *current, long *previous, long *) {
    return fGetAddition(count, differences, current, previous);
}

int CSSUtil::fSetEachCpuPct(int count, const float *values, float *sums) {
    for (int i = 0; i < count; ++i)
        sums[i] += values[i];
    return 1;
}

int CSSUtil::fSetAvgCpuPct(int count, const float *sums, float *averages, int divisor) {
    if (count < 1)
        return 0;
    for (int i = 0; i < count; ++i)
        averages[i] = sums[i] / static_cast<float>(divisor);
    return 1;
}

long CSSUtil::fPage2k(long pages) const {
    return m_nPGShift < 1 ? pages >> -m_nPGShift : pages << m_nPGShift;
}

long CSSUtil::fBlock2k(long blocks, long blockSize) const {
    const int shift = log2Floor(static_cast<unsigned long>(blockSize)) - kilobyteShift;
    return shift >= 1 ? blocks << shift : blocks >> -shift;
}

double CSSUtil::fGetElapsedTime() {
    return zel::elapsedSince(m_stOldTime);
}

char *CSSUtil::fFormatTime(unsigned long seconds) {
    constexpr unsigned long minute = 60;
    constexpr unsigned long hour = 60 * minute;
    constexpr unsigned long day = 24 * hour;
    char *out = m_strHtime;
    if (seconds >= day) {
        constexpr std::string_view unit = " days ";
        out = std::to_chars(out, out + sizeof(m_strHtime), seconds / day).ptr;
        out = std::copy(unit.begin(), unit.end(), out);
    }
    out = writePair(out, seconds % day / hour, ':');
    out = writePair(out, seconds % hour / minute, ':');
    writePair(out, seconds % minute, '\0');
    return m_strHtime;
}

char *CSSUtil::fGetLocalTime(std::time_t time) {
    std::tm local{};
    m_strStime[0] = '\0';
    if (localtime_r(&time, &local) == nullptr || local.tm_year > INT_MAX - firstYear)
        return m_strStime;
    const int year = local.tm_year + firstYear;
    if (year < 1000 || year > 9999) {
        std::snprintf(m_strStime, sizeof(m_strStime), "%-4d-%.2d-%.2d %.2d:%.2d:%.2d", year, local.tm_mon + 1,
                      local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
        return m_strStime;
    }
    char *out = std::to_chars(m_strStime, m_strStime + sizeof(m_strStime), year).ptr;
    *out++ = '-';
    out = writePair(out, local.tm_mon + 1, '-');
    out = writePair(out, local.tm_mday, ' ');
    out = writePair(out, local.tm_hour, ':');
    out = writePair(out, local.tm_min, ':');
    writePair(out, local.tm_sec, '\0');
    return m_strStime;
}

char *CSSUtil::fKbyteToForm(float kilobytes) {
    constexpr float step = 1024.0F;
    if (kilobytes == 0.0F)
        std::snprintf(m_strNumData, sizeof(m_strNumData), "%d", 0);
    else if (kilobytes < step)
        formatTenths(m_strNumData, sizeof(m_strNumData), kilobytes, 'K');
    else
        formatMegabytes(m_strNumData, sizeof(m_strNumData), kilobytes / step, step);
    return m_strNumData;
}

char *CSSUtil::fMbyteToForm(float megabytes) {
    formatMegabytes(m_strNumData, sizeof(m_strNumData), megabytes, 1024.0F);
    return m_strNumData;
}

char *CSSUtil::fMbyteTo1000Form(float megabytes) {
    formatMegabytes(m_strNumData, sizeof(m_strNumData), megabytes, 1000.0F);
    return m_strNumData;
}

char *CSSUtil::fMbyteTo1000FormInt(double megabytes) {
    const int whole = zel::saturatedInt(megabytes);
    if (whole <= 999)
        std::snprintf(m_strNumData, sizeof(m_strNumData), "%d M", whole);
    else if (whole / 1000 <= 999)
        std::snprintf(m_strNumData, sizeof(m_strNumData), "%d G", whole / 1000);
    else
        std::snprintf(m_strNumData, sizeof(m_strNumData), "%d T", whole / 1000000);
    return m_strNumData;
}

void CSSUtil::fTestWhatEver() {}

void CSSUtil::fStopHere(const char *) {}
