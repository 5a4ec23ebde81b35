// Reading the small files of /sys and /proc that the inventory is made of. All paths are below the host root.
#pragma once

#include <string>
#include <vector>

namespace inventory {

/// `text` without blanks at its ends.
std::string trimmed(const std::string &text);
/// The first line of a file without blanks at its ends; empty when it cannot be read.
std::string readLine(const std::string &path);
/// What a file holds, 255 bytes at most, zero bytes and all; empty when it cannot be read.
std::string readBytes(const std::string &path);
/// The value of the first line "key : value" of a file; empty when there is none.
std::string readValue(const std::string &path, const std::string &key);
/// The names in a directory, sorted so that numbers are in their order (host2 before host10); empty when it cannot be
/// read.
std::vector<std::string> listDirectory(const std::string &path);
/// The last component of what a link points to; empty when it is no link.
std::string linkTarget(const std::string &path);
bool exists(const std::string &path);

/// `text`, or "-" when it is empty: no field of an inventory table is empty.
std::string orDash(const std::string &text);

} // namespace inventory
