// The home kit as collectors use it: the scripts and programs that they have run, the command line of each, its time
// limit and the file in which its result appears.
//
// All paths are relative to the working directory, the home's agent/bin. A command line reads
//
//   ../../utils/ETC/ShCmd 5 ./shell/LINUX/cpu_info > ../aproc/shell/CpuCntPhysical.dat 2>&1
//
// that is the runner, the limit in seconds, the program, an argument where the script takes one, and where the result
// goes. Consumers know these lines byte by byte.
//
// The trust rule (host/TrustedWay.h) is applied here, whenever something is to be run or read: what does not follow it
// counts as missing. Why is said once, through the logger; on standard error when none is installed. Safe to call from
// several threads.
#pragma once

#include "host/Shell.h"

#include <cstddef>
#include <cstdio>

namespace zel {

enum class Script {
    PhysicalProcessors,
    Partitions,
    MemoryModules,
    Datastores,
    InterfaceNames,
    Bandwidth,
    Bandwidths,
    BandwidthsAndDuplex,
    Duplex,
    ProcessList,
    TopOfAll,
    ProcessCpu,
    CpuInventory,
    DiskInventory,
    InterfaceInventory,
    AdapterInventory
};

struct HomeScript {
    Script script;
    int limit;              // seconds; 0: it runs without the command runner, which it calls by itself
    const char *program;    // with the arguments that never change
    const char *helper;     // another file of the home that the program uses; null: none
    const char *into;       // between the argument and the result path; null: the script knows the path by itself
    const char *result;     // "*" is the place of a name
    const char *after;      // what follows the result path
    const char *background; // what ends the line when it is handed to the command scheduler
};

/// In the order of Script.
inline constexpr HomeScript HOME_SCRIPTS[] = {
    // clang-format off
    {Script::PhysicalProcessors, 5, "./shell/LINUX/cpu_info", nullptr, " > ", "../aproc/shell/CpuCntPhysical.dat", " 2>&1", ""},
    {Script::Partitions, 5, "./shell/LINUX/partitions.sh", nullptr, " > ", "../aproc/shell/partitions.dat", " 2>&1", ""},
    {Script::MemoryModules, 5, "./shell/LINUX/MemCntInfoLIN.sh", nullptr, nullptr, "../aproc/shell/MemCntInfo.dat", "", ""},
    {Script::Datastores, 5, "./shell/LINUX/VMWare_FS.sh", nullptr, " ", "../aproc/shell/vmware_fs_inv.dat", " 2> /dev/null", ""},
    {Script::InterfaceNames, 10, "./shell/LINUX/IFName.sh", "./shell/LINUX/net_lib.sh", " > ", "../aproc/shell/IFName.dat", " 2> /dev/null", ""},
    {Script::Bandwidth, 5, "./shell/LINUX/BandWidth.sh", "./shell/LINUX/net_lib.sh", " ", "../aproc/shell/BandWidth_*.dat", " 2> /dev/null", ""},
    {Script::Bandwidths, 10, "./shell/LINUX/ifname_bandwidth.sh", "./shell/LINUX/net_lib.sh", " > ", "../aproc/shell/IFName_bandwidth.dat", " 2> /dev/null", ""},
    {Script::BandwidthsAndDuplex, 30, "./shell/LINUX/ifname_bandwidth_duplex.sh", "./shell/LINUX/net_lib.sh", " > ", "../aproc/shell/IFName_bandwidth.dat", " 2> /dev/null", ""},
    {Script::Duplex, 5, "./shell/LINUX/NICDuplexInfoLinux.sh", "./shell/LINUX/net_lib.sh", " ../aproc/shell/DuplexLinuxTmp.dat ", "../aproc/shell/DuplexLinux.dat", "", ""},
    {Script::ProcessList, 5, "./shell/LINUX/PSInfoLIN.sh", nullptr, " > ", "../aproc/shell/PSInfoLin.dat", "", ""},
    {Script::TopOfAll, 5, "./shell/LINUX/top_info", nullptr, " > ", "../aproc/shell/top_info.dat", "", ""},
    {Script::ProcessCpu, 5, "./shell/LINUX/ProcCpuUseTop.sh", "../aproc/shell/top_info.dat", " > ", "../aproc/shell/ProcessPCPU.dat", " 2>&1", ""},
    {Script::CpuInventory, 1200, "./libinvinfo 1", nullptr, nullptr, "../aproc/shell/CpuINVStrInfo.dat", "", "&"},
    {Script::DiskInventory, 0, "./shell/libinvdiskexe.sh 2", "./libinvinfo", nullptr, "../aproc/shell/DiskINVStrInfo.dat", "", " &"},
    {Script::InterfaceInventory, 1200, "./libinvinfo 3", nullptr, nullptr, "../aproc/shell/InterfaceINVStrInfo.dat", "", " &"},
    {Script::AdapterInventory, 600, "./libinvinfo 4", nullptr, nullptr, "../aproc/shell/HBACardINVStrInfo.dat", "", "&"},
    // clang-format on
};

constexpr const HomeScript &homeScript(Script script) {
    return HOME_SCRIPTS[static_cast<std::size_t>(script)];
}

constexpr bool scriptsInOrder() {
    for (std::size_t i = 0; i < sizeof(HOME_SCRIPTS) / sizeof(HOME_SCRIPTS[0]); ++i) {
        if (HOME_SCRIPTS[i].script != static_cast<Script>(i))
            return false;
    }
    return true;
}
static_assert(scriptsInOrder());

/// The result path of a script whose result bears no name.
constexpr const char *resultPath(Script script) {
    return homeScript(script).result;
}

/// Where the results appear.
inline constexpr const char *RESULT_DIRECTORY = "../aproc/shell";

// Files of the home beside the first result of each script.
inline constexpr const char *DUPLEX_SCRATCH = "../aproc/shell/DuplexLinuxTmp.dat";
inline constexpr const char *NEW_INTERFACE_INVENTORY = "../aproc/shell/InterfaceINVNewStrInfo.dat";
inline constexpr const char *PORT_INVENTORY = "../aproc/shell/HBAPortINVStrInfo.dat";
inline constexpr const char *OLDER_DATASTORES = "../aproc/shell/vmware_fs_inv.dat_";
inline constexpr const char *DISK_RATES = "../aproc/shell/disk_sar_d.txt";
inline constexpr const char *GUEST_PROCESSES = "../aproc/shell/vmware_proc.dat";
inline constexpr const char *OLDER_GUEST_PROCESSES = "../aproc/shell/vmware_proc.dat_";
inline constexpr const char *NFS_LIST = "../aproc/shell/NFSList.dat";

inline constexpr std::size_t SCRIPT_LINE_SIZE = 1024;
inline constexpr std::size_t RESULT_PATH_SIZE = 512;

/// What follows the program of a script. A text is not kept; the caller has checked it (shellSafe).
class ScriptArgument {
public:
    ScriptArgument() : m_text("") {}
    ScriptArgument(const char *text) : m_text(text) {}
    ScriptArgument(int number) : m_text(m_number) { std::snprintf(m_number, sizeof(m_number), "%d", number); }
    ScriptArgument(const ScriptArgument &) = delete;
    ScriptArgument &operator=(const ScriptArgument &) = delete;

    const char *text() const { return m_text; }

private:
    const char *m_text;
    char m_number[16];
};

/// A path or a command line; empty when it did not fit.
template<std::size_t Size> struct ScriptText { char text[Size]; };

/// The result path of a script, `name` in the place of its "*".
ScriptText<RESULT_PATH_SIZE> namedResultPath(Script script, const char *name);

/// Runs a script and waits for it. Its status; -1 when no shell was started. It is not run, with status 0, when the
/// home is not trusted, when its result cannot be written there, or when something is in the place of the result
/// that the shell would wait for. What came of it shows in its result.
int runScript(Script script, const ScriptArgument &argument = {}, const char *name = "");

/// Hands a script to the command scheduler under `key`, to run in the background where the script is made for it. What
/// fCmdSave returns; -1 without a scheduler; 0, as for a missing script, when the home is not trusted.
int scheduleScript(const char *key, Script script, const ScriptArgument &argument = {});

/// Opens a file of the home that a script or an outside program wrote; null with errno set when there is none or when
/// it is not trusted (ENOENT).
ScopedFile openHomeFile(const char *path);

/// The same for the result of a script.
ScopedFile openResult(Script script, const char *name = "");

/// Opens a file among the results for writing, emptied; made when there is none. Invalid with errno set when it cannot
/// be, or when the directory of the results is not trusted (ENOENT).
ScopedDescriptor openHomeFileToWrite(const char *path);

} // namespace zel
