// Texts of /proc/self/mountstats and /proc/net/rpc as kernels write them, made by hand.
#pragma once

#include <string>

namespace nfs {

/// The lines of a mount up to its connections. RPC's statistics follow.
inline std::string head(const std::string &device, const std::string &mountPoint, const std::string &type = "nfs4",
                        const std::string &age = "13968") {
    return "device " + device + " mounted on " + mountPoint + " with fstype " + type +
           " statvers=1.1\n"
           "\topts:\trw,vers=4.2,rsize=1048576,wsize=524288,namlen=255,acregmin=3,hard,proto=tcp,timeo=600,retrans=2,"
           "sec=krb5p,clientaddr=192.0.2.7,local_lock=none\n"
           "\tage:\t" +
           age +
           "\n\timpl_id:\tname='',domain='',date='0,0'\n"
           "\tcaps:\tcaps=0x3ffbffff,wtmult=512,dtsize=1048576,bsize=0,namlen=255\n"
           "\tnfsv4:\tbm0=0xfdffbfff,bm1=0x40f9be3e,bm2=0x60803,acl=0x3,sessions,pnfs=not "
           "configured,lease_time=90,lease_expired=0\n"
           "\tsec:\tflavor=6,pseudoflavor=390005\n"
           "\tevents:\t1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 \n"
           "\tbytes:\t101 102 103 104 105 106 107 108 \n";
}

inline const std::string rpc = "\tRPC iostats version: 1.1  p/v: 100003/4 (nfs)\n";
inline const std::string tcp = "\txprt:\ttcp 832 0 1 7 11 6428 6427 3 12154 5 24 26 5726\n";
inline const std::string operations = "\tper-op statistics\n"
                                      "\t        NULL: 0 0 0 0 0 0 0 0 0\n"
                                      "\t        READ: 100 103 1 20000 1000000 50 2000 3000 2\n"
                                      "\t       WRITE: 10 10 0 50000 2000 1 100 200 0\n"
                                      "\t          75: 1 1 0 100 200 0 1 2 0\n\n";

/// A whole mount.
inline std::string mount(const std::string &device, const std::string &mountPoint, const std::string &type = "nfs4") {
    return head(device, mountPoint, type) + rpc + tcp + operations;
}

inline const std::string others = "device rootfs mounted on / with fstype rootfs\n"
                                  "device proc mounted on /proc with fstype proc\n"
                                  "no device mounted on /odd with fstype odd\n"
                                  "device nfsd mounted on /proc/fs/nfsd with fstype nfsd\n";

} // namespace nfs
