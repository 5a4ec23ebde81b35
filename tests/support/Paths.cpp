// The paths that the build gives.
#include "Paths.h"

namespace paths {

const char *const sourceRoot = ZEL_SOURCE_ROOT;
const char *const fixtures = ZEL_SOURCE_ROOT "/tests/fixtures";
const char *const driver = ZEL_DRIVER;
const char *const preload = ZEL_PRELOAD;
const char *const commandRunner = ZEL_COMMAND_RUNNER;
const char *const inventoryProgram = ZEL_INVENTORY_PROGRAM;
const char *const fuseServer = ZEL_FUSE_SERVER;
const char *const nvml = ZEL_NVML;
const char *const nvmlOld = ZEL_NVML_OLD;

} // namespace paths
