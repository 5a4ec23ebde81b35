// Inventory files: the marked line that an outside inventory program writes for a collector.
//
// The program writes the file in the background; the collector reads it later, whatever is complete by then. Used is
// the first line that is not empty and holds a lower-case letter; it counts when it contains the collector's marker. A
// last line without a line feed is still being written and is not used. The layout of the line is
//
//   TORVDISK|inventory text
//
// A collector states marker, piece size and growth once, and hands over its path, its buffer (two public members: a
// malloc'ed pointer and its size) and its log. Sample:
//
//   constexpr zel::InventoryFormat processorInventory{"TORVCPU", 511, {8, 8}, "inv change"};
//
//   int CMM_CPU_Info::fGetCpuINV() {
//       return zel::fetchInventory(m_strDataPath, processorInventory, {m_pStrCpuINV, m_nCpuINVSize}, m_nCpuINVCnt,
//                                  {zel::errorLogOpen(), "MM_CPU_Info", m_strLogMsg});
//   }
//
// Failures are results; the reasons are logged at error level when the caller's gate is open: "fopen failed(%d)"
// (errno), "inv file size zero", "fgets not contents", "inv not contents". Not thread-safe over one buffer.
#pragma once

#include "text/OwnedText.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace zel {

/// A longer line is given up as unusable: no inventory comes near it, and a file gone wild does not fill the memory.
inline constexpr std::size_t INVENTORY_LINE_LIMIT = std::size_t{16} * 1024 * 1024;
/// Bytes that a replaced text buffer has beyond its former size and the line.
inline constexpr int INVENTORY_TEXT_MARGIN = 16;

/// How the line buffer grows: when fewer than `room` bytes are free beyond the next piece, by the piece and `margin`.
struct InventoryGrowth {
    std::size_t room;
    std::size_t margin;
};

/// What is particular to the inventory of one collector.
struct InventoryFormat {
    const char *marker;        // what the line must contain
    std::size_t pieceSize;     // characters read at a time
    InventoryGrowth growth;    // of the line buffer
    const char *changeReport;  // logged by the change check when the line differs
    bool textRequired = false; // a line with nothing after the "|" is no inventory; otherwise its text is empty
};

/// Where the reasons of a failure go. `message` is the log buffer of the collector.
struct InventoryLog {
    bool gateOpen;
    const char *sourceName;
    std::span<char> message;
};

/// A text buffer of a collector. A null text is allocated when it is needed.
struct InventoryBuffer {
    char *&text; // malloc'ed
    int &size;   // its stated size: a line that is longer replaces the buffer
    /// Takes the stated size of a replacement made by the change check; null: `size` itself.
    int *replacementSize = nullptr;
    /// The bytes really allocated, for a buffer whose stated size may be wrong; null: the stated size is true. What is
    /// copied is bounded by this alone.
    std::size_t *capacity = nullptr;
};

/// A line read from an inventory file, without its line feed, terminated. Owns its text.
class InventoryLine {
public:
    InventoryLine() = default;

    /// The text, to be cut in place by a tokeniser; null when there is none.
    char *text() { return m_text.get(); }
    std::size_t length() const { return m_length; }
    std::string_view view() const { return {m_text == nullptr ? "" : m_text.get(), m_length}; }
    explicit operator bool() const { return m_text != nullptr; }

    /// Appends a piece; false when there is no memory or the line would exceed INVENTORY_LINE_LIMIT.
    bool append(std::string_view piece, const InventoryGrowth &growth);
    void clear() { m_length = 0; }

private:
    Text m_text;
    std::size_t m_size = 0;
    std::size_t m_length = 0;
};

/// The whole marked line of the file at `path`; none when there is no usable one, for a reason that is logged.
InventoryLine readMarkedLine(const char *path, const InventoryFormat &format, const InventoryLog &log);

/// Stores what follows the first "|" (a run of them counts as one) of the marked line in `buffer`, terminated, and sets
/// `found` to 1. Returns 1. Otherwise -1 and `found` 0: the text then stays as it was, but is empty when the line has
/// no "|", or no text where the format requires one.
int fetchInventory(const char *path, const InventoryFormat &format, const InventoryBuffer &buffer, int &found,
                   const InventoryLog &log);

/// Compares the whole marked line with the one that `previous` holds. Returns 1, and logs the format's change report,
/// when it differs; 0 when it is the same or the first one (`previous` holds at most one character); -1 when there is
/// no usable line. A line that differs or is the first is stored.
int checkInventoryChange(const char *path, const InventoryFormat &format, const InventoryBuffer &previous,
                         const InventoryLog &log);

} // namespace zel
