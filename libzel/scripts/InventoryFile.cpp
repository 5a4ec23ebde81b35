// Reads the marked line of an inventory file and compares it with the previous one.
#include "scripts/InventoryFile.h"

#include "LogGate.h"
#include "NStringLib.h"
#include "PerfText.h"
#include "scripts/HomeScripts.h"
#include "text/AsciiText.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <sys/stat.h>

namespace zel {

namespace {

constexpr std::size_t firstLineSize = 512;
constexpr const char *textSeparator = "|";
constexpr std::size_t shortestKnownLine = 2; // a stored text below it means "no line yet"

void report(const InventoryLog &log, int line, const char *message) {
    if (!log.gateOpen)
        return;
    std::snprintf(log.message.data(), log.message.size(), "%s", message);
    writeLog(LOG_LEVEL_ERROR, line, log.sourceName, log.message.data());
}

void reportOpenFailure(const InventoryLog &log, int line, int error) {
    if (!log.gateOpen)
        return;
    std::snprintf(log.message.data(), log.message.size(), "fopen failed(%d)", error);
    writeLog(LOG_LEVEL_ERROR, line, log.sourceName, log.message.data());
}

bool isEmptyFile(std::FILE *file) {
    struct stat status {};
    return fstat(fileno(file), &status) == 0 && status.st_size == 0;
}

// Reads up to a line feed, at most pieceSize characters. Zero bytes, which would end the text early, become blanks.
bool readPiece(std::FILE *file, std::size_t pieceSize, std::string &piece) {
    piece.clear();
    int character = 0;
    while (piece.size() < pieceSize && (character = getc_unlocked(file)) != EOF) {
        piece += character == '\0' ? ' ' : static_cast<char>(character);
        if (character == '\n')
            break;
    }
    return !piece.empty();
}

bool isUsable(std::string_view line) {
    return line.find_first_of(LOWER_CASE_LETTERS) != std::string_view::npos;
}

// The first usable line; none at the end of the file.
InventoryLine readUsableLine(std::FILE *file, const InventoryFormat &format) {
    InventoryLine line;
    std::string piece;
    piece.reserve(format.pieceSize);
    while (readPiece(file, format.pieceSize, piece)) {
        const bool complete = piece.back() == '\n';
        if (complete)
            piece.pop_back();
        if (!line.append(piece, format.growth))
            return {};
        if (!complete)
            continue;
        if (isUsable(line.view()))
            return line;
        line.clear();
    }
    return {};
}

std::size_t reallyAllocated(const InventoryBuffer &buffer) {
    if (buffer.text == nullptr)
        return 0;
    return buffer.capacity != nullptr ? *buffer.capacity : static_cast<std::size_t>(std::max(buffer.size, 0));
}

// The size that a buffer is stated to have after a line of `length` characters was read into it.
int sizeForLine(int statedSize, std::size_t length) {
    const int lineLength = static_cast<int>(length);
    return statedSize < lineLength ? statedSize + lineLength + INVENTORY_TEXT_MARGIN : statedSize;
}

// Makes the buffer at least `size` bytes and large enough for a terminated text of `length` characters, and clears it.
// Its old content is lost only when that succeeds.
bool clearedForText(const InventoryBuffer &buffer, int size, std::size_t length) {
    const std::size_t needed = std::max(static_cast<std::size_t>(std::max(size, 0)), length + 1);
    if (reallyAllocated(buffer) >= needed) {
        std::memset(buffer.text, 0, reallyAllocated(buffer));
        return true;
    }
    char *larger = fgNewTextBuffer(static_cast<int>(needed));
    if (larger == nullptr)
        return false;
    std::free(buffer.text);
    buffer.text = larger;
    if (buffer.capacity != nullptr)
        *buffer.capacity = needed;
    return true;
}

bool storeLine(const InventoryBuffer &buffer, int size, std::string_view line) {
    if (!clearedForText(buffer, size, line.size()))
        return false;
    std::memcpy(buffer.text, line.data(), line.size());
    return true;
}

InventoryLine readLineWithMarker(const char *path, const InventoryFormat &format, const InventoryLog &log) {
    const ScopedFile file = openHomeFile(path);
    if (file == nullptr) {
        reportOpenFailure(log, __LINE__, errno);
        return {};
    }
    if (isEmptyFile(file.get())) {
        report(log, __LINE__, "inv file size zero");
        return {};
    }
    InventoryLine line = readUsableLine(file.get(), format);
    if (line.view().find(format.marker) != std::string_view::npos)
        return line;
    report(log, __LINE__, "fgets not contents");
    return {};
}

} // namespace

bool InventoryLine::append(std::string_view piece, const InventoryGrowth &growth) {
    if (m_length + piece.size() > INVENTORY_LINE_LIMIT)
        return false;
    // The terminator needs its byte, whatever growth a collector asks for.
    const std::size_t room = std::max<std::size_t>(growth.room, 1);
    const std::size_t margin = std::max<std::size_t>(growth.margin, 1);
    std::size_t size = m_text == nullptr ? firstLineSize : m_size;
    if (size - m_length < piece.size() + room)
        size += piece.size() + margin;
    if (size != m_size) {
        auto *larger = static_cast<char *>(std::realloc(m_text.get(), size));
        if (larger == nullptr)
            return false;
        static_cast<void>(m_text.release());
        m_text.reset(larger);
        m_size = size;
    }
    std::memcpy(m_text.get() + m_length, piece.data(), piece.size());
    m_length += piece.size();
    m_text.get()[m_length] = '\0';
    return true;
}

InventoryLine readMarkedLine(const char *path, const InventoryFormat &format, const InventoryLog &log) {
    try {
        return readLineWithMarker(path, format, log);
    } catch (const std::bad_alloc &) {
        return {};
    }
}

int fetchInventory(const char *path, const InventoryFormat &format, const InventoryBuffer &buffer, int &found,
                   const InventoryLog &log) {
    found = 0;
    InventoryLine line = readMarkedLine(path, format, log);
    if (!line)
        return -1;

    const int size = sizeForLine(buffer.size, line.length());
    if (!clearedForText(buffer, size, line.length()))
        return -1;
    buffer.size = size;

    char *text = nullptr;
    Nstrtok(line.text(), textSeparator, &text);
    if (text == nullptr || (format.textRequired && *text == '\0')) {
        report(log, __LINE__, "inv not contents");
        return -1;
    }
    std::strcpy(buffer.text, text);
    found = 1;
    return 1;
}

int checkInventoryChange(const char *path, const InventoryFormat &format, const InventoryBuffer &previous,
                         const InventoryLog &log) {
    const InventoryLine line = readMarkedLine(path, format, log);
    if (!line)
        return -1;

    const std::string_view known = previous.text == nullptr ? "" : previous.text;
    const bool first = known.size() < shortestKnownLine;
    const bool changed = !first && known != line.view();
    if (changed)
        report(log, __LINE__, format.changeReport);

    const int size = sizeForLine(previous.size, line.length());
    if ((first || changed) && !storeLine(previous, size, line.view()))
        return -1;
    if (size != previous.size)
        *(previous.replacementSize != nullptr ? previous.replacementSize : &previous.size) = size;
    return changed ? 1 : 0;
}

} // namespace zel
