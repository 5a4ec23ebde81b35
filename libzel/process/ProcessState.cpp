// The scratch records of a process collector, and the end of what it keeps.
#include "process/ProcessState.h"

#include "process/PushList.h"

#include <cstdlib>
#include <cstring>

zel::ProcessState::ProcessState() = default;
zel::ProcessState::~ProcessState() = default;

zel::ProcessScratch *zel::ProcessState::scratch() {
    if (m_scratch == nullptr)
        m_scratch.reset(static_cast<ProcessScratch *>(std::calloc(1, sizeof(ProcessScratch))));
    return m_scratch.get();
}

zel::ProcessScratch *zel::ProcessState::clearedScratch() {
    ProcessScratch *records = scratch();
    if (records != nullptr) {
        records->raw = {};
        std::memset(&records->record, 0, sizeof(records->record));
    }
    return records;
}
