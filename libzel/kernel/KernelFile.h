// Reading a whole kernel file, with the failures told apart.
#pragma once

namespace zel {

inline constexpr int FILE_NOT_OPENED = -2;
inline constexpr int FILE_NOT_READ = -1;

/// Reads the file `path` (below the host root) into `buffer` of `size` bytes (at least 1), which is then terminated and
/// zero behind the text. Returns the bytes read, at most size - 1; 0 for an empty file; FILE_NOT_READ (the text is
/// empty) when its first read failed; FILE_NOT_OPENED (the buffer is untouched) when it cannot be opened.
///
/// A file of one record costs one read; the kernel hands out files of many records about a page at a time, so a first
/// result of KERNEL_PAGE_RESULT bytes or more is read on to the end of the file or of the buffer.
int readKernelFile(const char *path, char *buffer, int size);
/// The same, but what is behind the terminator stays as it is: to zero a large buffer behind a short text costs more
/// than to parse it.
int readKernelText(const char *path, char *buffer, int size);

/// A read that gives this much may have been cut by the kernel at the end of a record.
inline constexpr int KERNEL_PAGE_RESULT = 2048;

} // namespace zel
