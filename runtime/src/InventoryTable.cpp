// Builds an inventory table and replaces its file as a whole.
#include "InventoryTable.h"

#include "HostFile.h"
#include "host/SafeWrite.h"
#include "host/ScopedHandle.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace inventory {

namespace {

constexpr mode_t fileMode = 0644;

bool failed(const char *what, const std::string &path) {
    std::fprintf(stderr, "libinvinfo: %s %s: %s\n", what, path.c_str(), std::strerror(errno));
    return false;
}

} // namespace

Table::Table(std::initializer_list<const char *> columns) : m_text(m_buffer, m_size) {
    m_text.column("INDEX");
    for (const char *name : columns)
        m_text.column(name);
}

Table::~Table() {
    std::free(m_buffer);
}

void Table::row(std::initializer_list<std::string> values) {
    m_text.beginRow();
    m_text.field(++m_rows);
    for (const std::string &value : values)
        m_text.field(std::string_view(orDash(value)));
}

bool Table::writeTo(const char *path, const char *marker) const {
    std::string line = std::string(marker) + "|" + std::string(m_text.view());
    std::replace(line.begin(), line.end(), '\n', ' ');
    line += '\n';

    const std::string beside = std::string(path) + "." + std::to_string(getpid());
    unlink(beside.c_str());
    {
        const zel::ScopedDescriptor file(open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode));
        if (!file.valid())
            return failed("cannot create", beside);
        if (!zel::writeAll(file.get(), line, zel::OnSignal::FAILS) || fsync(file.get()) != 0) {
            failed("cannot write", beside);
            unlink(beside.c_str());
            return false;
        }
    }
    if (rename(beside.c_str(), path) != 0) {
        failed("cannot rename to", path);
        unlink(beside.c_str());
        return false;
    }
    return true;
}

} // namespace inventory
