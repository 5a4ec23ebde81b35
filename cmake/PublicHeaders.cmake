# The public headers that Zel.h reaches.
set(ZEL_PUBLIC_HEADERS
    LIB/CheckNfs.h
    LIB/HostRoot.h
    LIB/LogGate.h
    LIB/NCmdScheduler.h
    LIB/NGFunctions.h
    LIB/NStringLib.h
    LIB/ObjectBuffer.h
    LIB/ObjectList.h
    LIB/Queue.h
    LIB/VornLog.h
    libzel/BandwidthList.h
    libzel/ConsoleReport.h
    libzel/Disk_Info.h
    libzel/HardwareConfig.h
    libzel/MM_CPU_Info.h
    libzel/MM_FS_Info.h
    libzel/MM_GPU_Info.h
    libzel/MM_HBA_Info.h
    libzel/MM_INIT_Info.h
    libzel/MM_IO_Info.h
    libzel/MM_LA_Info.h
    libzel/MM_MEM_Info.h
    libzel/MM_NWT_Info.h
    libzel/MM_PROC_Info.h
    libzel/MM_VM_Info.h
    libzel/Memory_Info.h
    libzel/NIC_Info.h
    libzel/NamedList.h
    libzel/NetworkExtList.h
    libzel/Pci_Info.h
    libzel/PerfText.h
    libzel/PerfTextReader.h
    libzel/SSList.h
    libzel/SSUser.h
    libzel/SSUtil.h
    libzel/Settings.h
    libzel/Zel.h
    libzel/network.h
    libzel/push_network.h)
# Those of the typed model: what lies at the root of host/.
file(GLOB ZEL_HOST_HEADERS RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS host/*.h)
# And the rows of the inventory, which host/Hardware.h includes.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/host/Hardware.h)
file(STRINGS ${PROJECT_SOURCE_DIR}/host/Hardware.h ZEL_HARDWARE_HEADERS REGEX "^#include \"host/hardware/")
list(TRANSFORM ZEL_HARDWARE_HEADERS REPLACE "^#include \"(.*)\"" "\\1")
