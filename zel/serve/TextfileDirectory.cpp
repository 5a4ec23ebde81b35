// Reads the text files of a directory, those that changed, and adds them to /metrics.
#include "zel/serve/TextfileDirectory.h"

#include "host/RegularFile.h"
#include "threads/BoundedCall.h"
#include "zel/SmallFile.h"
#include "zel/serve/ServeSettings.h"
#include "zel/serve/TextfileMerge.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_set>

#include <fcntl.h>
#include <sys/stat.h>

namespace zel {

namespace {

constexpr std::string_view ending = ".prom";
constexpr std::size_t entriesAtMost = 100000;                 // of the directory that are looked at
constexpr std::size_t totalBytesAtMost = TEXTFILE_BYTES.most; // of all files together
constexpr std::string_view familyHeader = "# HELP ";

// What tells a file that was written again.
struct FileMark {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    timespec modified{}, changed{};

    explicit FileMark(const struct stat &status)
        : device(status.st_dev), number(status.st_ino), size(status.st_size), modified(status.st_mtim),
          changed(status.st_ctim) {}
    FileMark() = default;
    bool operator==(const FileMark &other) const {
        return device == other.device && number == other.number && size == other.size &&
               isSame(modified, other.modified) && isSame(changed, other.changed);
    }
    static bool isSame(const timespec &one, const timespec &other) {
        return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
    }
};

struct OneFile {
    std::string path;
    FileMark mark;
    MetricsText content;
    bool operator<(const OneFile &other) const { return path < other.path; }
};

// The names of a text of metrics: of its families and of its series.
std::unordered_set<std::string_view> namesIn(std::string_view text) {
    std::unordered_set<std::string_view> names;
    std::string_view last;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const bool isHeader = line.starts_with(familyHeader);
        const std::string_view name = line.substr(isHeader ? familyHeader.size() : 0);
        const std::string_view now = name.substr(0, name.find_first_of(" {"));
        if (now != last && (isHeader || !line.starts_with('#')))
            names.insert(last = now);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return names;
}

} // namespace

std::string usedTextfileDirectory(const ServeSettings &settings) {
    if (settings.textfileDirectory != TEXTFILE_DIRECTORY_DEFAULT)
        return settings.textfileDirectory;
    struct stat status {};
    const bool isThere = stat(TEXTFILE_DIRECTORY_DEFAULT, &status) == 0 && S_ISDIR(status.st_mode);
    return isThere && settings.root.empty() ? TEXTFILE_DIRECTORY_DEFAULT : "";
}

// What the bounded call works on; no more than one call of a directory runs.
struct TextfileDirectory::Files {
    std::string path;
    TextfileLimits limits;
    std::vector<OneFile> known; // by path
    std::shared_ptr<const TextfileContent> content;

    Files(std::string directory, TextfileLimits given) : path(std::move(directory)), limits(given) {
        while (path.size() > 1 && path.back() == '/')
            path.pop_back();
    }

    std::shared_ptr<const TextfileContent> look() {
        auto found = std::make_shared<TextfileContent>();
        std::vector<std::string> paths = listPaths(found->problems);
        std::vector<OneFile> now;
        bool isChanged = paths.size() != known.size() || content == nullptr;
        std::size_t bytesLeft = totalBytesAtMost;
        for (std::string &one : paths) {
            OneFile file;
            file.path = std::move(one);
            isChanged = readChanged(file, bytesLeft) || isChanged;
            now.push_back(std::move(file));
        }
        known = std::move(now);
        if (isChanged || found->problems != listProblems) {
            listProblems = found->problems;
            merge(*found);
            content = std::move(found);
        }
        return content;
    }

private:
    std::vector<std::string> listProblems;

    std::vector<std::string> listPaths(std::vector<std::string> &problems) const {
        std::vector<std::string> paths;
        const ScopedDirectory directory = openDirectory(path.c_str());
        if (directory == nullptr) {
            problems.push_back(path + ": " + std::strerror(errno));
            return paths;
        }
        std::size_t entries = 0;
        while (const dirent *entry = readdir(directory.get())) {
            if (++entries > entriesAtMost)
                break;
            if (std::string_view(entry->d_name).ends_with(ending))
                paths.push_back(path + '/' + entry->d_name);
        }
        std::sort(paths.begin(), paths.end());
        if (entries > entriesAtMost)
            problems.push_back(path + ": more than " + std::to_string(entriesAtMost) + " names");
        if (paths.size() > limits.files) {
            problems.push_back(path + ": more than " + std::to_string(limits.files) + " files");
            paths.resize(limits.files);
        }
        return paths;
    }

    // Takes over what is known of a file that did not change. True when it did.
    bool readChanged(OneFile &file, std::size_t &bytesLeft) {
        const auto before = std::lower_bound(known.begin(), known.end(), file);
        const bool isKnown = before != known.end() && before->path == file.path;
        struct stat status {};
        if (stat(file.path.c_str(), &status) != 0) {
            file.content.problem = std::strerror(errno);
            return !isKnown || before->content.problem != file.content.problem;
        }
        file.mark = FileMark(status);
        if (isKnown && before->mark == file.mark) {
            file.content = std::move(before->content);
            bytesLeft -= std::min(bytesLeft, static_cast<std::size_t>(file.mark.size));
            return false;
        }
        readOne(file, bytesLeft);
        return true;
    }
    // What does not fit into what is left for all files is looked at again when it changes.
    void readOne(OneFile &file, std::size_t &bytesLeft) const {
        const ScopedDescriptor opened = openRegular(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        struct stat status {};
        std::string text;
        if (!opened.valid() || fstat(opened.get(), &status) != 0) {
            file.content.problem = std::strerror(errno);
            return;
        }
        file.mark = FileMark(status);
        const std::size_t most = std::min(limits.bytes, bytesLeft);
        const int error = readToEnd(opened.get(), most, text);
        if (error == 0)
            file.content = readMetricsText(text);
        else if (error != EFBIG)
            file.content.problem = std::strerror(error);
        else if (most == limits.bytes)
            file.content.problem = "longer than " + std::to_string(limits.bytes) + " bytes";
        else
            file.content.problem = "all files together are longer than " + std::to_string(totalBytesAtMost) + " bytes";
        bytesLeft -= std::min(bytesLeft, text.size());
    }

    void merge(TextfileContent &into) const {
        TextfileMerge merged;
        for (const OneFile &file : known) {
            if (!file.content.problem.empty()) {
                std::string place = file.path;
                if (file.content.line > 0)
                    place.append(":").append(std::to_string(file.content.line));
                into.problems.push_back(place + ": " + file.content.problem);
                continue;
            }
            const auto seconds = std::max<time_t>(file.mark.modified.tv_sec, 0);
            into.files.push_back({file.path, static_cast<std::uint64_t>(seconds)});
            merged.add(file.path, file.content.families, into.problems);
        }
        into.families = merged.finish();
    }
};

TextfileDirectory::TextfileDirectory(std::string path, TextfileLimits limits)
    : m_path(std::move(path)), m_files(std::make_shared<Files>(m_path, limits)) {}
TextfileDirectory::~TextfileDirectory() = default;

void TextfileDirectory::refresh(std::chrono::milliseconds limit) {
    if (m_path.empty())
        return;
    using Content = std::shared_ptr<const TextfileContent>;
    BoundedCall<Content> call("text files " + m_path, limit, [files = m_files](Content &content) {
        content = files->look();
        return 0;
    });
    const CallEnd end = call.wait();
    m_silent = end.error != 0;
    const Content before = m_content;
    if (!m_silent)
        m_content = call.answer();
    else if (end.error == ETIMEDOUT)
        m_content = nullptr;
    if (m_content != before)
        m_leftOut.clear();
}

// False when one is left out, because the text has one of its names.
bool TextfileDirectory::appendFamilies(MetricFormat format, std::string &out) {
    if (m_content == nullptr || m_content->families.empty())
        return true;
    const bool isOpen = format == MetricFormat::OpenMetrics;
    const std::unordered_set<std::string_view> own = namesIn(out);
    bool isWhole = true;
    std::string texts;
    for (const TextfileContent::Family &family : m_content->families) {
        const std::vector<std::string> &names = isOpen ? family.openNames : family.names;
        const bool isOwn =
            std::any_of(names.begin(), names.end(), [&own](const std::string &name) { return own.contains(name); });
        isWhole = isWhole && !isOwn;
        if (isOwn)
            m_leftOut.insert(family.paths + ": " + family.name + " is left out: the host itself has this name");
        else
            texts += isOpen ? family.openText : family.text;
    }
    out += texts;
    return isWhole;
}

void TextfileDirectory::append(MetricFormat format, std::string &out) {
    const bool isWhole = appendFamilies(format, out);
    m_sink.start(format, out);
    m_sink.family(TEXTFILE_TIME_FAMILY, MetricType::Gauge, "When each text file that is shown was written.");
    for (std::size_t index = 0; m_content != nullptr && index < m_content->files.size(); ++index) {
        const TextfileContent::File &file = m_content->files[index];
        m_sink.label("file", file.path).value(file.mtimeSeconds);
    }
    const bool isError = m_silent || !isWhole || (m_content != nullptr && !m_content->problems.empty());
    m_sink.family(TEXTFILE_ERROR_FAMILY, MetricType::Gauge,
                  "1 when a text file, or a part of one, could not be shown.");
    m_sink.value(std::uint64_t{isError ? 1U : 0U});
}

std::vector<std::string> TextfileDirectory::newProblems() {
    std::vector<std::string> now;
    if (m_content != nullptr)
        now = m_content->problems;
    now.insert(now.end(), m_leftOut.begin(), m_leftOut.end());
    if (m_silent)
        now.push_back(m_path + ": does not answer");
    if (now == m_reported)
        return {};
    m_reported = now;
    return now;
}

} // namespace zel
