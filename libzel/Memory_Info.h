// CMemory_Info: number of RAM ranges of /proc/iomem.
#pragma once

class CMemory_Info {};
