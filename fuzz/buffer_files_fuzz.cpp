// Buffer files: whatever files lie in the directory and whatever the records hold, a write appends its record to one
// file of its set, names no file outside the directory, and leaves foreign files alone.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "NGFunctions.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

bool isFileName(const std::string &name) {
    return !name.empty() && name.size() < 200 && name.find('/') == std::string::npos && name != "." && name != "..";
}

} // namespace

FUZZ_TARGET(buffer_files_fuzz) {
    fuzz::freshSurroundings();
    fuzz::root();
    const unsigned options = input.byte();
    g_nDataBufferSaveMaxSize = static_cast<int>(options & 3) - 1;
    fuzz::root().removeHome("buffer");
    fs::create_directories("../buffer");
    fuzz::root().home("aproc/untouched", "untouched");
    for (int file = 0; file < 3; ++file) {
        const std::string name = input.text();
        const unsigned size = input.byte();
        if (isFileName(name))
            fuzz::root().home("buffer/" + name, std::string(size, 'x'));
    }
    const std::string first = input.text();
    const std::string second = input.text();
    int written = 0;
    for (int record = 0; record < 3; ++record) {
        const int result = (options & 4) != 0 ? fgBufFileWrite("fuzz", first.c_str(), second.c_str())
                                              : fgNBufFileWrite("fuzz", first.c_str(), second.c_str());
        written += result == 1 ? 1 : 0;
        fuzz::passTime(86400);
    }
    fuzz::ensure(fs::exists("../aproc/untouched"), "a file outside the directory went");
    if (written > 0 && g_nDataBufferSaveMaxSize > 0)
        fuzz::ensure(!fs::is_empty("../buffer"), "a record went nowhere");
}
