#include "NCmdScheduler.h"

CCmdScheduler *g_pclCCmdScheduler;

int CCmdScheduler::fCmdSave(const char *, const char *) {
    return -1;
}
