// CDisk_Info: CD-ROM drives of the hardware configuration file.
#pragma once

class CCdrom {
public:
    char *ModelName() { return m_cpModelName; }

    char m_cpModelName[128] = {};
};

class CDisk_Info {
public:
    CCdrom *GetCdromInfo() { return nullptr; }
    unsigned int CdromNum() const { return m_nCdromNum; }

    unsigned int m_nCdromNum = 0;
    CCdrom *m_pclCCdrom = nullptr;
};
