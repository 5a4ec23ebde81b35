// Counts and names the CD-ROM drives.
#include "Disk_Info.h"

#include "hardware/ConfigFile.h"
#include "text/FixedText.h"

CDisk_Info::~CDisk_Info() {
    delete[] m_pclCDisk;
    delete[] m_pclCCdrom;
    delete[] m_pclCDat;
}

unsigned int CDisk_Info::GetCdromNum() {
    m_nCdromNum = zel::countLinesWith(zel::HARDWARE_CONFIG_FILE, "class: CDROM");
    return m_nCdromNum;
}

CCdrom *CDisk_Info::GetCdromInfo() {
    GetCdromNum();
    zel::renewDevices(m_pclCCdrom, m_nCdromNum);
    return zel::nameDevices(m_pclCCdrom, m_nCdromNum, "CDROM");
}

int CDisk_Info::fSetCurrentPath(const char *path) {
    zel::setFixedText(m_strCurrentPath, path);
    return 1;
}
