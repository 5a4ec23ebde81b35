#include "ConsoleReport.h"

int print_fs_v2(CMM_FS_Info *) {
    return -1;
}

int print_fs_v3(CMM_FS_Info *) {
    return 1;
}
