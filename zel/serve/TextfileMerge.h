// Puts the metrics of several files together: a pure function.
#pragma once

#include "zel/serve/MetricsText.h"
#include "zel/serve/TextfileDirectory.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Families that the server itself writes of the files.
inline constexpr std::string_view TEXTFILE_TIME_FAMILY = "node_textfile_mtime_seconds",
                                  TEXTFILE_ERROR_FAMILY = "node_textfile_scrape_error";

/// Takes files in the order of their names.
class TextfileMerge {
public:
    TextfileMerge();

    /// `families` are those of one file, that is at `path`.
    void add(const std::string &path, const std::vector<TextFamily> &families, std::vector<std::string> &problems);
    /// What all of them give.
    std::vector<TextfileContent::Family> finish() const;

private:
    struct Merged {
        TextFamily family;
        std::set<std::string> keys; // of its series
        std::string paths;          // of the files that it is from
    };
    void addFamily(const std::string &path, const TextFamily &family, std::vector<std::string> &problems);

    bool takeNames(const std::string &path, const TextFamily &family, std::vector<std::string> &problems);

    std::map<std::string, Merged> m_families;
    std::map<std::string, std::string> m_owners; // the family that has a name in one of the two formats
};

} // namespace zel
