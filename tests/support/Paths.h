// Where the tests find the tree and what was built of it. Values of one source file alone, so that the others compile
// to the same whatever directory the tree is in.
#pragma once

namespace paths {

extern const char *const sourceRoot;
extern const char *const fixtures;
extern const char *const driver;
extern const char *const preload; // the library that freezes the driver's clock
extern const char *const commandRunner;
extern const char *const inventoryProgram;
extern const char *const fuseServer; // see support/fuse
extern const char *const nvml;       // see support/gpu
extern const char *const nvmlOld;    // the same with fewer functions

} // namespace paths
