// The marked line of an inventory file, against a reading of the whole file at once.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "PerfText.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "scripts/InventoryFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *path = "../aproc/shell/inventory.dat";
constexpr zel::InventoryFormat formats[] = {
    {"TORVCPU", 511, {8, 8}, "cpu"}, {"TORVDISK", 512, {2048, 2048}, "disk"}, {"TORVHBA", 3, {0, 0}, "tiny pieces"}};

// The first complete line that holds a lower-case letter, when it holds the marker.
std::string expectedLine(std::string file, const char *marker) {
    std::replace(file.begin(), file.end(), '\0', ' ');
    std::size_t start = 0;
    for (std::size_t end; (end = file.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = file.substr(start, end - start);
        if (line.find_first_of("abcdefghijklmnopqrstuvwxyz") != std::string::npos)
            return line.find(marker) != std::string::npos ? line : "";
    }
    return "";
}

struct Buffer {
    char *text = nullptr;
    int size = 0;
    ~Buffer() { std::free(text); }
};

} // namespace

FUZZ_TARGET(inventory_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    const zel::InventoryFormat &format = formats[options % std::size(formats)];
    char message[64];
    Buffer fetched;
    Buffer known;
    if ((options & 8) != 0)
        fetched.text = fgNewTextBuffer(fetched.size = 16);
    std::string before;
    for (int reading = 0; reading < 3; ++reading) {
        const std::string file = input.piece();
        fuzz::root().home("aproc/shell/inventory.dat", file);
        const std::string expected = file == fuzz::ABSENT ? "" : expectedLine(file, format.marker);
        zel::InventoryLine line = zel::readMarkedLine(path, format, {false, "fuzz", message});
        fuzz::ensure(line.view() == expected, "another line than the file has");
        int found = 0;
        const int result =
            zel::fetchInventory(path, format, {fetched.text, fetched.size}, found, {false, "fuzz", message});
        fuzz::ensure((result == 1) == (found == 1), "two verdicts");
        if (result == 1)
            fuzz::ensure(std::strlen(fetched.text) < static_cast<std::size_t>(fetched.size), "beyond its buffer");
        const int change = zel::checkInventoryChange(path, format, {known.text, known.size}, {false, "fuzz", message});
        if (!expected.empty()) {
            fuzz::ensure(change == (before.size() > 1 && before != expected ? 1 : 0), "another verdict on the change");
            before = expected;
        }
    }
}
