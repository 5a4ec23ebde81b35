// Datastores of a VMware host, as a script writes them into a file. Internal to the filesystem collector.
#pragma once

#include <functional>

struct _ST_FS;

namespace zel {

/// Has the script write the file of the datastores.
void runDatastoreScript();

/// Gives every datastore of the file, or of the fallback file when it cannot be opened, to `take`. False when neither
/// can be opened.
bool readDatastores(const std::function<void(const _ST_FS &)> &take);

/// The datastores of one line, which it cuts into tokens. A line that ends inside a record drops it.
void parseDatastores(char *line, const std::function<void(const _ST_FS &)> &take);

} // namespace zel
