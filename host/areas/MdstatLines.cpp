// Reads the lines of /proc/mdstat: each array has one of its state and disks, one of its size, and one of what is done
// with its redundancy while something is.
#include "host/areas/MdstatLines.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>

namespace zel {

namespace {

constexpr double bytesPerKilobyte = 1024, secondsPerMinute = 60;

// What the letters behind a disk say: "sda1[0](W)(F)".
struct Roles {
    std::uint64_t disks = 0, failed = 0, spare = 0, journals = 0;
};

bool noteDisk(std::string_view word, Roles &roles) {
    if (word.find('[') == std::string_view::npos)
        return false;
    ++roles.disks;
    if (word.find("(F)") != std::string_view::npos)
        ++roles.failed;
    else if (word.find("(S)") != std::string_view::npos)
        ++roles.spare;
    else if (word.find("(J)") != std::string_view::npos)
        ++roles.journals;
    return true;
}

// Sample: md6 : active (auto-read-only) raid1 sdb2[2](F) sdc[1](S) sda2[0]
// An inactive array has no level.
bool parseHead(const char *cursor, MdArray &array) {
    forget(array, Absence::Unsupported);
    array.name = takeWord(cursor);
    if (takeWord(cursor) != ":")
        return false;
    const std::string_view state = takeWord(cursor);
    if (state.empty())
        return false;
    array.state.set(state);
    array.readOnly = 0;
    array.action.set(std::string_view("none"));
    array.wait.set(std::string_view("none"));
    Roles roles;
    for (std::string_view word = takeWord(cursor); !word.empty(); word = takeWord(cursor)) {
        if (word == "(read-only)" || word == "(auto-read-only)")
            array.readOnly = 1;
        else if (!noteDisk(word, roles) && !array.level && roles.disks == 0)
            array.level.set(word);
    }
    array.disks = roles.disks;
    array.failed = roles.failed;
    array.spare = roles.spare;
    array.journals = roles.journals;
    return true;
}

// Sample: 266828397 blocks super 1.2 level 6, 512k chunk, algorithm 2 [4/3] [U_UU]
// Levels without redundancy have no numbers in brackets: all of their disks are needed, and in use.
bool parseSize(const char *cursor, MdArray &array) {
    const Count blocks = takeCount(cursor);
    if (!blocks || takeWord(cursor) != "blocks")
        return false;
    array.sizeBytes = static_cast<double>(*blocks) * bytesPerKilobyte;
    array.syncedBytes = array.sizeBytes;
    if (!array.level)
        return true;
    const std::uint64_t others = *array.failed + *array.spare + *array.journals;
    array.required = *array.disks - others;
    array.active = array.required;
    for (std::string_view word = takeWord(cursor); !word.empty(); word = takeWord(cursor)) {
        const char *place = word.data() + 1;
        if (word.front() != '[' || digitValue<10>(*place) > 9)
            continue;
        array.required = takeCount(place, '/');
        array.active = *place == '/' ? takeCount(++place, ']') : Count(Absence::Malformed);
        return array.required && array.active;
    }
    return true;
}

// The number behind `key` in a line; nothing without it.
Number numberBehind(const char *line, std::string_view key, std::string_view ending) {
    for (const char *cursor = line; !endsLine(*cursor); ++cursor) {
        if (!startsWith(cursor, key))
            continue;
        cursor += key.size();
        std::string_view word = takeWord(cursor);
        if (!word.ends_with(ending))
            return Absence::Malformed;
        word.remove_suffix(ending.size());
        char text[32];
        if (word.size() >= sizeof(text))
            return Absence::Malformed;
        *std::copy(word.begin(), word.end(), text) = '\0';
        const char *number = text;
        return takeDecimal(number);
    }
    return Absence::Unsupported;
}

Number scaled(const Number &number, double factor) {
    return number ? Number(*number * factor) : number;
}

// Sample: [=>...................]  recovery = 20.6% (54860247/266828397) finish=17.0min speed=259783K/sec
bool parseProgress(const char *cursor, MdArray &array) {
    while (*cursor != '(' && !endsLine(*cursor))
        ++cursor;
    if (*cursor != '(')
        return false;
    const Count done = takeCount(++cursor, '/');
    const Count whole = *cursor == '/' ? takeCount(++cursor, ')') : Count(Absence::Malformed);
    if (!done || !whole)
        return false;
    array.syncedBytes = static_cast<double>(*done) * bytesPerKilobyte;
    array.syncTargetBytes = static_cast<double>(*whole) * bytesPerKilobyte;
    array.syncRemaining = scaled(numberBehind(cursor, "finish=", "min"), secondsPerMinute);
    array.syncSpeed = scaled(numberBehind(cursor, "speed=", "K/sec"), bytesPerKilobyte);
    return true;
}

struct Named {
    std::string_view word, name;
};
constexpr Named waits[] = {{"DELAYED", "delayed"}, {"PENDING", "pending"}, {"REMOTE", "remote"}};
// One that another host of a cluster does is called "recover".
constexpr Named actions[] = {{"resync", "resync"},
                             {"recovery", "recovery"},
                             {"recover", "recovery"},
                             {"check", "check"},
                             {"reshape", "reshape"}};

// Sample: resync=DELAYED
bool parseAction(const char *line, MdArray &array) {
    const char *cursor = line;
    std::string_view word = takeWord(cursor);
    if (word.starts_with('[')) // the bar
        word = takeWord(cursor);
    for (const Named &action : actions) {
        if (!word.starts_with(action.word))
            continue;
        array.action.set(action.name);
        word.remove_prefix(action.word.size());
        if (word.empty())
            return parseProgress(cursor, array);
        for (const Named &wait : waits) {
            if (word.size() != wait.word.size() + 1 || !word.ends_with(wait.word))
                continue;
            array.wait.set(wait.name);
            array.syncedBytes = 0.0;
            return true;
        }
        return false;
    }
    return true; // of the bitmap, or nothing that is read here
}

bool isHeading(const char *line) {
    return startsWith(line, "Personalities") || startsWith(line, "unused devices") || startsWith(line, "read_ahead");
}

} // namespace

bool parseMdstat(const char *text, std::vector<MdArray> &arrays) {
    bool whole = true, inArray = false, hasSize = false;
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (endsLine(*skipSpaces(line)))
            continue;
        if (!isSpace(*line)) {
            inArray = !isHeading(line) && arrays.size() < MD_ARRAYS_AT_MOST;
            hasSize = false;
            if (!inArray)
                continue;
            inArray = parseHead(line, arrays.emplace_back());
            if (!inArray)
                arrays.pop_back();
            whole &= inArray;
        } else if (inArray && !hasSize) {
            hasSize = true;
            whole &= parseSize(line, arrays.back());
        } else if (inArray) {
            whole &= parseAction(line, arrays.back());
        }
    }
    return whole;
}

} // namespace zel
