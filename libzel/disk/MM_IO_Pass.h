// One pass of a disk collector: reads the counters of one kernel generation, computes the rates of every disk against
// its old sample and hands them over in the form that is asked for.
#pragma once

#include "MM_IO_Info.h"
#include "disk/MM_IO_Lines.h"
#include "disk/MM_IO_Samples.h"

namespace zel {

struct DiskState;

/// What a pass makes.
enum class DiskForm { Inventory, List, Poll, Push };

/// The form that the settings and the arguments of fMGetIoStat ask for.
DiskForm diskForm(int performance, int push);

class DiskPass {
public:
    DiskPass(CMM_IO_Info &disks, DiskState &state, DiskForm form);

    /// A pass over a file with a line per disk. Returns the list that the collector's contract names, or null.
    CSSList *overLines(const DiskLineRules &rules);
    /// The pass of 2.2, over the block counters of /proc/stat.
    CSSList *overBlockCounters();

private:
    enum class Outcome { Reported, Remembered, Failed };

    bool textForm() const { return m_form == DiskForm::Poll || m_form == DiskForm::Push; }

    bool begin();
    bool startText();
    CSSList *end();
    CSSList *abandon();
    void close();
    CSSList *takeInventory();

    bool takeLines(const DiskLineRules &rules);
    Outcome takeDisk(const DiskReading &disk, bool keyed);
    bool computeByKey(int key);
    void computeByName();
    bool takeBlockCounters();
    void computeBlocks();

    void spreadRows() const;
    bool emitResult();
    bool insertResult();

    CMM_IO_Info &m_disks;
    DiskState &m_state;
    const DiskForm m_form;
    NamedSamples m_named;
    KeyedSamples m_keyed;
    _ST_COMPUTE_IO m_sample{}; // of the disk that is being taken
};

} // namespace zel
