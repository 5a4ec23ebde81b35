// CNIC_Info: network adapters of the hardware configuration file.
#pragma once

class CNIC {
public:
    char *ModelName() { return m_cpModelName; }

    char m_cpModelName[512] = {};
};

class CNIC_Info {
public:
    unsigned int GetNICNum() { return 0; }
    CNIC *GetNICInfos() { return nullptr; }
    unsigned int NICNum() const { return m_nNICNum; }

    unsigned int m_nNICNum = 0;
    CNIC *m_pclCNIC = nullptr;
};
