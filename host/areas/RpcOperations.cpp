// The names of the operations of NFS.
#include "host/areas/RpcOperations.h"

#include <span>

namespace zel {

namespace {

constexpr std::string_view version2[] = {"NULL", "GETATTR", "SETATTR", "ROOT",   "LOOKUP",  "READLINK",
                                         "READ", "WRCACHE", "WRITE",   "CREATE", "REMOVE",  "RENAME",
                                         "LINK", "SYMLINK", "MKDIR",   "RMDIR",  "READDIR", "FSSTAT"};
constexpr std::string_view version3[] = {"NULL",   "GETATTR", "SETATTR",  "LOOKUP", "ACCESS",  "READLINK",
                                         "READ",   "WRITE",   "CREATE",   "MKDIR",  "SYMLINK", "MKNOD",
                                         "REMOVE", "RMDIR",   "RENAME",   "LINK",   "READDIR", "READDIRPLUS",
                                         "FSSTAT", "FSINFO",  "PATHCONF", "COMMIT"};

// Of the client: NFSPROC4_CLNT_*, under the names that the kernel gives them in mountstats.
constexpr std::string_view version4[] = {"NULL",
                                         "READ",
                                         "WRITE",
                                         "COMMIT",
                                         "OPEN",
                                         "OPEN_CONFIRM",
                                         "OPEN_NOATTR",
                                         "OPEN_DOWNGRADE",
                                         "CLOSE",
                                         "SETATTR",
                                         "FSINFO",
                                         "RENEW",
                                         "SETCLIENTID",
                                         "SETCLIENTID_CONFIRM",
                                         "LOCK",
                                         "LOCKT",
                                         "LOCKU",
                                         "ACCESS",
                                         "GETATTR",
                                         "LOOKUP",
                                         "LOOKUP_ROOT",
                                         "REMOVE",
                                         "RENAME",
                                         "LINK",
                                         "SYMLINK",
                                         "CREATE",
                                         "PATHCONF",
                                         "STATFS",
                                         "READLINK",
                                         "READDIR",
                                         "SERVER_CAPS",
                                         "DELEGRETURN",
                                         "GETACL",
                                         "SETACL",
                                         "FS_LOCATIONS",
                                         "RELEASE_LOCKOWNER",
                                         "SECINFO",
                                         "FSID_PRESENT",
                                         "EXCHANGE_ID",
                                         "CREATE_SESSION",
                                         "DESTROY_SESSION",
                                         "SEQUENCE",
                                         "GET_LEASE_TIME",
                                         "RECLAIM_COMPLETE",
                                         "LAYOUTGET",
                                         "GETDEVICEINFO",
                                         "LAYOUTCOMMIT",
                                         "LAYOUTRETURN",
                                         "SECINFO_NO_NAME",
                                         "TEST_STATEID",
                                         "FREE_STATEID",
                                         "GETDEVICELIST",
                                         "BIND_CONN_TO_SESSION",
                                         "DESTROY_CLIENTID",
                                         "SEEK",
                                         "ALLOCATE",
                                         "DEALLOCATE",
                                         "LAYOUTSTATS",
                                         "CLONE",
                                         "COPY",
                                         "OFFLOAD_CANCEL",
                                         "LOOKUPP",
                                         "LAYOUTERROR",
                                         "COPY_NOTIFY",
                                         "GETXATTR",
                                         "SETXATTR",
                                         "LISTXATTRS",
                                         "REMOVEXATTR",
                                         "READ_PLUS"};
// FSID_PRESENT came with kernel 3.13, in the midst of them: before, all that follow had one number less. 38 operations
// are those of a newer kernel without NFSv4.1, 53 are the most that an older one has.
constexpr std::size_t placeOfFsidPresent = 37, mostWithoutFsidPresent = 53;

// Kernels from 6.14 on have more. Where they put them, behind DEALLOCATE, differs: what follows it has its number only.
constexpr std::size_t placeOfLayoutStats = 57;

// Of the server: the numbers of the protocol.
constexpr std::string_view operations4[] = {"",
                                            "",
                                            "",
                                            "ACCESS",
                                            "CLOSE",
                                            "COMMIT",
                                            "CREATE",
                                            "DELEGPURGE",
                                            "DELEGRETURN",
                                            "GETATTR",
                                            "GETFH",
                                            "LINK",
                                            "LOCK",
                                            "LOCKT",
                                            "LOCKU",
                                            "LOOKUP",
                                            "LOOKUPP",
                                            "NVERIFY",
                                            "OPEN",
                                            "OPENATTR",
                                            "OPEN_CONFIRM",
                                            "OPEN_DOWNGRADE",
                                            "PUTFH",
                                            "PUTPUBFH",
                                            "PUTROOTFH",
                                            "READ",
                                            "READDIR",
                                            "READLINK",
                                            "REMOVE",
                                            "RENAME",
                                            "RENEW",
                                            "RESTOREFH",
                                            "SAVEFH",
                                            "SECINFO",
                                            "SETATTR",
                                            "SETCLIENTID",
                                            "SETCLIENTID_CONFIRM",
                                            "VERIFY",
                                            "WRITE",
                                            "RELEASE_LOCKOWNER",
                                            "BACKCHANNEL_CTL",
                                            "BIND_CONN_TO_SESSION",
                                            "EXCHANGE_ID",
                                            "CREATE_SESSION",
                                            "DESTROY_SESSION",
                                            "FREE_STATEID",
                                            "GET_DIR_DELEGATION",
                                            "GETDEVICEINFO",
                                            "GETDEVICELIST",
                                            "LAYOUTCOMMIT",
                                            "LAYOUTGET",
                                            "LAYOUTRETURN",
                                            "SECINFO_NO_NAME",
                                            "SEQUENCE",
                                            "SET_SSV",
                                            "TEST_STATEID",
                                            "WANT_DELEGATION",
                                            "DESTROY_CLIENTID",
                                            "RECLAIM_COMPLETE",
                                            "ALLOCATE",
                                            "COPY",
                                            "COPY_NOTIFY",
                                            "DEALLOCATE",
                                            "IO_ADVISE",
                                            "LAYOUTERROR",
                                            "LAYOUTSTATS",
                                            "OFFLOAD_CANCEL",
                                            "OFFLOAD_STATUS",
                                            "READ_PLUS",
                                            "SEEK",
                                            "WRITE_SAME",
                                            "CLONE",
                                            "GETXATTR",
                                            "SETXATTR",
                                            "LISTXATTRS",
                                            "REMOVEXATTR"};
constexpr std::string_view procedures4[] = {"NULL", "COMPOUND"};

std::string_view nameIn(std::span<const std::string_view> names, std::size_t index) {
    return index < names.size() ? names[index] : std::string_view();
}

} // namespace

std::string_view nfsClientOperation(unsigned version, std::size_t index, std::size_t count) {
    if (version != 4)
        return nfsServerProcedure(version, index);
    if (count > std::size(version4))
        return index < placeOfLayoutStats ? version4[index] : std::string_view();
    const bool older = count <= mostWithoutFsidPresent && count != placeOfFsidPresent + 1;
    return nameIn(version4, older && index >= placeOfFsidPresent ? index + 1 : index);
}

std::string_view nfsServerProcedure(unsigned version, std::size_t index) {
    return version == 2   ? nameIn(version2, index)
           : version == 3 ? nameIn(version3, index)
           : version == 4 ? nameIn(procedures4, index)
                          : std::string_view();
}

std::string_view nfsServerOperation(std::size_t index) {
    return nameIn(operations4, index);
}

} // namespace zel
