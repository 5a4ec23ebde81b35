// Reads the md arrays.
#include "host/areas/MdArrays.h"

#include "host/areas/MdstatLines.h"

#include <cerrno>
#include <fcntl.h>

namespace zel {

namespace {

constexpr const char *path = "proc/mdstat";

} // namespace

int MdArrays::readInto(const HostDirectory &root, Answer &answer) {
    SourceFile file(path, Records::Many, KeptScope::Never);
    const int error = file.read(root);
    if (error == 0)
        answer.whole = parseMdstat(file.text().data(), answer.arrays);
    return error;
}

void MdArrays::read(Take &take) {
    take.sample.mdArrays.clear();
    if (take.root.own())
        return;
    Answer answer;
    const int error = readInto(take.root, answer);
    noteUnlessMissing(take.sample.area(Area::Disks), error, path);
    if (error == 0)
        takeAnswer(take, answer);
}

// The file comes with the module, and is found without reading it.
bool MdArrays::isThere(const HostDirectory &root) {
    const std::int64_t now = coarseSeconds();
    if (!m_isThere && now - m_lookedAt >= KernelSource::SECONDS_BEFORE_NEXT_TRY) {
        m_lookedAt = now;
        m_isThere = root.open(path, O_PATH | O_CLOEXEC).valid();
    }
    return m_isThere;
}

void MdArrays::ask(Take &take) {
    if (!take.root.own() || !isThere(take.root))
        return;
    m_reads.begin(take.deadline, 1);
    m_reads.ask("arrays", [root = HostDirectory(take.root)](Answer &answer) { return readInto(root, answer); });
}

void MdArrays::finish(Take &take) {
    if (!take.root.own() || !m_isThere)
        return;
    const BoundedRead<Answer> read = m_reads.wait(0);
    if (read.answer != nullptr)
        return takeAnswer(take, *read.answer);
    m_isThere = read.error != ENOENT;
    AreaState &state = take.sample.area(Area::Disks);
    noteUnlessMissing(state, read.error, path);
    if (read.error == ETIMEDOUT)
        noteSilence(state, read.silentSeconds, path);
}

void MdArrays::takeAnswer(Take &take, const Answer &answer) const {
    for (const MdArray &array : answer.arrays)
        take.sample.mdArrays.append() = array;
    if (!answer.whole)
        noteFailure(take.sample.area(Area::Disks), NOT_ITS_FORMAT, path);
}

} // namespace zel
