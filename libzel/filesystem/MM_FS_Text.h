// The filesystem table of the performance text. Internal to the filesystem collector.
#pragma once

class CPerfText;
struct _ST_FS;

namespace zel {

void writeFilesystemHeader(CPerfText &text);
void writeFilesystemRow(CPerfText &text, int index, const _ST_FS &filesystem);

} // namespace zel
