// The documents against headers, driver and home kit: every setting of docs/embedding.md, log keyword and file of
// docs/operation.md; and every name and link of any document leads somewhere.
#include "LogGate.h"
#include "MarkdownFile.h"
#include "VornLog.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <set>

namespace {

using Names = std::set<std::string>;

// --- Settings --------------------------------------------------------------------------------------------------------

std::string fileText(const std::filesystem::path &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::filesystem::path> sources(const std::string &directory, const Names &extensions) {
    std::vector<std::filesystem::path> files;
    for (const auto &entry :
         std::filesystem::recursive_directory_iterator(std::filesystem::path(paths::sourceRoot) / directory))
        if (entry.is_regular_file() && (extensions.empty() || extensions.contains(entry.path().extension().string())))
            files.push_back(entry.path());
    return files;
}

// Variables that the public headers declare: "extern int g_nPrint;", also several in one line.
Names declaredSettings() {
    Names names;
    const std::regex name("\\bg_\\w+");
    for (const char *directory : {"libzel", "LIB"}) {
        for (const auto &header : sources(directory, {".h"})) {
            std::istringstream lines(fileText(header));
            for (std::string line; std::getline(lines, line);) {
                if (!line.starts_with("extern "))
                    continue;
                for (std::sregex_iterator match(line.begin(), line.end(), name), end; match != end; ++match)
                    names.insert(match->str());
            }
        }
    }
    return names;
}

TEST(EmbeddingDocument, SettingsAreThoseOfTheHeaders) {
    Names described;
    for (const MarkdownTable &table : MarkdownFile("docs/embedding.md").tables) {
        for (const auto &row : table.rows)
            for (const std::string &name : codeSpans(table.header[0] == "setting" ? row[0] : ""))
                EXPECT_TRUE(described.insert(name).second) << name << " stands there twice";
    }
    EXPECT_THAT(described, testing::ContainerEq(declaredSettings()));
}

TEST(EmbeddingDocument, DriverValuesAreThoseOfTheDriver) {
    const std::string driver = fileText(std::filesystem::path(paths::sourceRoot) / "libzel/main.cpp");
    int compared = 0;
    for (const MarkdownTable &table : MarkdownFile("docs/embedding.md").tables) {
        for (const auto &row : table.rows) {
            const std::string name = firstCode(row[0]);
            const std::string value = table.cell(row, "driver");
            if (table.header[0] != "setting" || value.empty() || value.find_first_not_of("0123456789") != value.npos ||
                driver.find(name + " = splitFilesystemTypes") != std::string::npos)
                continue;
            ++compared;
            std::smatch assignment;
            const bool assigned = std::regex_search(driver, assignment, std::regex("\\b" + name + " = ([0-9]+);"));
            EXPECT_EQ(value, assigned ? assignment[1].str() : "0") << name;
        }
    }
    EXPECT_GE(compared, 20);
}

// --- operation.md ----------------------------------------------------------------------------------------------------

TEST(OperationDocument, LogKeywordsOpenTheirBits) {
    int keywords = 0;
    for (const MarkdownTable &table : MarkdownFile("docs/operation.md").tables) {
        if (table.header[0] != "keyword")
            continue;
        for (const auto &row : table.rows) {
            ++keywords;
            CVornLog::fSetLogModeBit(("ERROR:" + firstCode(row[0])).c_str());
            EXPECT_EQ(table.cell(row, "module bit"), std::to_string(g_nLogModERROR)) << row[0];
            EXPECT_EQ(table.cell(row, "detail bit"), std::to_string(g_nLoggingERROR2)) << row[0];
        }
    }
    CVornLog::fSetLogModeBit("NOLOG");
    EXPECT_EQ(keywords, 4);
}

TEST(OperationDocument, NamesEveryFileOfTheKit) {
    Names kit = {"ShCmd", "libinvinfo"};
    for (const auto &file : sources("runtime/agent", {}))
        kit.insert(file.filename().string());
    for (const auto &file : sources("runtime/utils", {}))
        kit.insert(file.filename().string());
    Names described;
    for (const MarkdownTable &table : MarkdownFile("docs/operation.md").tables)
        for (const auto &row : table.rows)
            for (const std::string &name : codeSpans(table.header[0] == "file" ? row[0] : ""))
                described.insert(name);
    kit.erase(".gitignore");
    EXPECT_THAT(described, testing::ContainerEq(kit));
}

// --- All documents ---------------------------------------------------------------------------------------------------

constexpr const char *documents[] = {
    "README.md",         "CONTRIBUTING.md",   "docs/architecture.md", "docs/format.md", "docs/metrics.md",
    "docs/embedding.md", "docs/operation.md", "docs/security.md",     "docs/zel.md",    "docs/hardware.md",
    "docs/serve.md",     "docs/fleet.md",     "contrib/README.md"};

// A name of the code: a setting, a member, a function, a class, a file that scripts write.
bool looksLikeCode(const std::string &word) {
    static const std::regex code("(g|m|l)_\\w+|fg[A-Z]\\w+|f[A-Z][A-Za-z]\\w+|C[A-Z][A-Za-z]*_Info|CMM_\\w+|_ST_\\w+|"
                                 "C[A-Z][a-z]\\w+[A-Z]\\w+|(MEM|SWAP|ZEL|SCHEDULER)_\\w+|\\w+\\.(h|cpp|sh|dat)");
    return std::regex_match(word, code);
}

// Names and file names of a text: "m_pnCPU", "partitions.sh".
std::vector<std::string> wordsOf(const std::string &text) {
    std::vector<std::string> words(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool part = std::isalnum(static_cast<unsigned char>(text[i])) != 0 || text[i] == '_';
        const bool suffix = text[i] == '.' && !words.back().empty() && i + 1 < text.size() &&
                            std::islower(static_cast<unsigned char>(text[i + 1])) != 0;
        if (part || suffix)
            words.back() += text[i];
        else if (!words.back().empty())
            words.emplace_back();
    }
    return words;
}

TEST(Documents, NamesThatTheyMentionExist) {
    const std::filesystem::path root = paths::sourceRoot;
    Names known;
    for (const auto &entry : std::filesystem::directory_iterator(root))
        known.insert(entry.path().filename().string());
    for (const char *directory : {"libzel", "LIB", "host", "export", "zel", "runtime", "tests/outside", "scripts",
                                  "bench", "examples", "fuzz"}) {
        if (!std::filesystem::exists(root / directory))
            continue;
        for (const auto &file : sources(directory, {})) {
            known.insert(file.filename().string());
            for (std::string &word : wordsOf(fileText(file)))
                known.insert(std::move(word));
        }
    }
    for (const std::string &word : wordsOf(fileText(root / "CMakeLists.txt")))
        known.insert(word);
    for (const auto &file : sources("tests", {})) // by file name alone: what a test plants is no name of the code
        known.insert(file.filename().string());
    const std::regex newFile("(MM_NEW_Info|NewUnit|New|new)(_test|_fuzz|_bench)?\\.(h|cpp|sh)"); // of recipes

    int checked = 0;
    for (const char *path : documents) {
        for (const std::string &span : codeSpans(MarkdownFile(path).prose)) {
            for (const std::string &word : wordsOf(span)) {
                if (!looksLikeCode(word))
                    continue;
                ++checked;
                EXPECT_TRUE(known.contains(word) || std::regex_match(word, newFile)) << path << " names " << word;
            }
        }
    }
    EXPECT_GT(checked, 300);
}

// "format.md#cpu" leads to a file, and to a heading of it.
TEST(Documents, LinksLeadSomewhere) {
    const std::regex link("\\]\\(([^)#]*)(#[^)]*)?\\)");
    for (const char *path : documents) {
        const MarkdownFile document(path);
        const std::filesystem::path directory = std::filesystem::path(path).parent_path();
        for (std::sregex_iterator match(document.prose.begin(), document.prose.end(), link), end; match != end;
             ++match) {
            const std::string target = (*match)[1].str();
            if (target.starts_with("http"))
                continue;
            const std::string file = target.empty() ? path : (directory / target).lexically_normal().string();
            EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(paths::sourceRoot) / file))
                << path << ": " << file;
            if (!(*match)[2].matched)
                continue;
            Names anchors;
            std::istringstream lines(MarkdownFile(file).prose);
            for (std::string line; std::getline(lines, line);) {
                if (!line.starts_with('#'))
                    continue;
                std::string anchor = "#";
                for (const char character : line.substr(line.find_first_not_of("# "))) {
                    if (std::isalnum(static_cast<unsigned char>(character)) != 0)
                        anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
                    else if (character == ' ' || character == '-')
                        anchor += '-';
                }
                anchors.insert(anchor);
            }
            EXPECT_TRUE(anchors.contains((*match)[2].str())) << path << ": " << match->str();
        }
    }
}

} // namespace
