// Counts and names the network adapters.
#include "NIC_Info.h"

#include "hardware/ConfigFile.h"
#include "text/FixedText.h"

CNIC_Info::~CNIC_Info() {
    delete[] m_pclCNIC;
}

unsigned int CNIC_Info::GetNICNum() {
    m_nNICNum = zel::countLinesWith(zel::HARDWARE_CONFIG_FILE, "class: NETWORK");
    return m_nNICNum;
}

CNIC *CNIC_Info::GetNICInfos() {
    GetNICNum();
    zel::renewDevices(m_pclCNIC, m_nNICNum);
    return zel::nameDevices(m_pclCNIC, m_nNICNum, "NETWORK");
}

int CNIC_Info::fSetCurrentPath(const char *path) {
    zel::setFixedText(m_strCurrentPath, path);
    return 1;
}
