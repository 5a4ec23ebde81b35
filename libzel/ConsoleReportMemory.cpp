#include "ConsoleReport.h"

int print_mem(const unsigned long long *) {
    return 0;
}

int print_swp(const unsigned long long *) {
    return 0;
}

int prnit_memcnt(CMM_MEM_Info *) {
    return 0;
}

int print_vm(const double *) {
    return 0;
}
