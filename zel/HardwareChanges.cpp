// Compares an inventory with an earlier one.
#include "zel/HardwareChanges.h"

#include "export/HardwareJson.h"
#include "zel/DisplayText.h"
#include "zel/InventoryFile.h"
#include "zel/Terminal.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <span>

namespace zel {

namespace {

using Json = nlohmann::json;

constexpr std::size_t detailsMost = 4;

struct Change {
    char kind; // '+', '-' or '~'
    std::string_view section;
    std::vector<const Family *> families;
    const Json *before, *after; // rows; null where there is none
    const Family *field = nullptr;
};

// "pci_devices": "pci device".
std::string singular(std::string_view section) {
    std::string name(section);
    std::replace(name.begin(), name.end(), '_', ' ');
    if (name.ends_with("ies"))
        return name.replace(name.size() - 3, 3, "y");
    if (name.ends_with("s") && !name.ends_with("ss"))
        name.pop_back();
    return name;
}

// The value of a member, null when there is none.
const Json &memberOf(const Json &row, std::string_view name) {
    static const Json none;
    const auto found = row.find(name);
    return found == row.end() ? none : *found;
}

// Why a member is null: "" when nothing says so.
std::string reasonOf(const Json &row, std::string_view name) {
    const Json &reasons = memberOf(row, "absent");
    const Json &reason = reasons.is_object() ? memberOf(reasons, name) : reasons;
    return reason.is_string() ? reason.get<std::string>() : std::string();
}

// Numbers are compared as numbers, whether they have a fraction or not.
bool hasChanged(const Family &family, const Json &before, const Json &after) {
    const bool isMoving = family.kind != Kind::Info && family.kind != Kind::State;
    const bool isOfTable = family.source.starts_with("/usr/");
    if (isMoving || isOfTable || !before.contains(family.name))
        return false;
    const Json &old = memberOf(before, family.name), &now = memberOf(after, family.name);
    const auto isKnown = [&family](const Json &row, const Json &value) {
        return !value.is_null() || reasonOf(row, family.name) == absenceName(Absence::Unsupported);
    };
    return isKnown(before, old) && isKnown(after, now) && old != now;
}

std::string plainText(const Json &value) {
    if (value.is_null())
        return "(none)";
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    return displayText(text, terminalCharset());
}

std::string labelsOf(const std::vector<const Family *> &families, const Json &row) {
    std::string labels;
    for (const Family *family : families) {
        if (family->kind == Kind::Label)
            labels += ' ' + plainText(memberOf(row, family->name));
    }
    return labels;
}

// Some words of a row that say what it is: a number that has a name is left out.
std::string detailsOf(const std::vector<const Family *> &families, const Json &row) {
    std::string details;
    std::size_t count = 0;
    for (const Family *family : families) {
        const Json &value = memberOf(row, family->name);
        std::string name(family->name);
        if (name.ends_with("_id") && memberOf(row, name.replace(name.size() - 3, 3, "_name")).is_string())
            continue;
        if (family->kind != Kind::Info || !value.is_string() || count == detailsMost)
            continue;
        details += (count++ == 0 ? " (" : ", ") + plainText(value);
    }
    return count == 0 ? details : details + ')';
}

std::string lineOf(const Change &change) {
    const Json &row = change.after == nullptr ? *change.before : *change.after;
    std::string line = std::string(1, change.kind) + ' ' + singular(change.section) + labelsOf(change.families, row);
    if (change.field == nullptr)
        return line + detailsOf(change.families, row) + '\n';
    const std::string_view name = change.field->name;
    line.append(" ").append(name).append(": ");
    return line + plainText(memberOf(*change.before, name)) + " -> " + plainText(memberOf(*change.after, name)) + '\n';
}

Json jsonOf(const Change &change) {
    const Json &row = change.after == nullptr ? *change.before : *change.after;
    Json result{{"change", change.kind == '+'   ? "came"
                           : change.kind == '-' ? "went"
                                                : "changed"},
                {"section", change.section},
                {"labels", Json::object()}};
    for (const Family *family : change.families) {
        if (family->kind == Kind::Label)
            result["labels"][std::string(family->name)] = memberOf(row, family->name);
    }
    if (change.field == nullptr) {
        result["row"] = row;
        return result;
    }
    result["field"] = change.field->name;
    result["before"] = memberOf(*change.before, change.field->name);
    result["after"] = memberOf(*change.after, change.field->name);
    return result;
}

// One section of both inventories.
class Comparison {
public:
    Comparison(std::string_view section, const std::vector<const Family *> &families, std::vector<Change> &changes)
        : m_section(section), m_families(families), m_changes(changes) {}

    void compareRows(const Json &before, const Json &after) {
        for (const Family *family : m_families) {
            if (hasChanged(*family, before, after))
                m_changes.push_back({'~', m_section, m_families, &before, &after, family});
        }
    }
    // `complete` says whether all rows of both are there, so that what is missing in one came or went.
    void compareLists(const Json &before, const Json &after, bool complete) {
        std::map<std::string, const Json *> earlier = byLabels(before), later = byLabels(after);
        for (const auto &[labels, row] : earlier) {
            const auto found = later.find(labels);
            if (found != later.end())
                compareRows(*row, *found->second);
            else if (complete)
                m_changes.push_back({'-', m_section, m_families, row, nullptr});
        }
        for (const auto &[labels, row] : later) {
            if (complete && !earlier.contains(labels))
                m_changes.push_back({'+', m_section, m_families, nullptr, row});
        }
    }

private:
    // Rows of the same labels are told apart by their order.
    std::map<std::string, const Json *> byLabels(const Json &rows) const {
        std::map<std::string, const Json *> result;
        std::map<std::string, std::size_t> seen;
        for (const Json &row : rows) {
            Json key = Json::array();
            for (const Family *family : m_families) {
                if (family->kind == Kind::Label)
                    key.push_back(memberOf(row, family->name));
            }
            std::string labels = key.dump(-1, ' ', true, Json::error_handler_t::replace);
            labels += std::to_string(seen[labels]++);
            result.emplace(std::move(labels), &row);
        }
        return result;
    }

    std::string_view m_section;
    const std::vector<const Family *> &m_families;
    std::vector<Change> &m_changes;
};

class Comparer {
public:
    Comparer(const Json &before, const Json &after, const std::string &file, HardwareChanges &result)
        : m_before(before), m_after(after), m_file(file), m_result(result) {}

    void compare(const AnyHardwareSection &section) {
        if (!sectionIsComparable(section.part, section.name)) {
            m_result.isPartial = true;
            return;
        }
        m_result.hasCompared = true;
        Comparison comparison(section.name, section.fields.families, m_changes);
        const Json &before = memberOf(m_before, section.name), &after = memberOf(m_after, section.name);
        if (!section.isList)
            comparison.compareRows(before, after);
        else
            comparison.compareLists(before, after,
                                    isComplete(m_before, section.part) && isComplete(m_after, section.part));
    }
    const std::vector<Change> &changes() const { return m_changes; }

private:
    // A part of one of the two that was lost as a whole says nothing.
    bool sectionIsComparable(HardwarePart part, std::string_view section) {
        const std::string_view name = hardwarePartName(part);
        std::string remark;
        if (!memberOf(m_before, "parts").contains(name) || !m_before.contains(section))
            remark = m_file + " does not have it";
        else if (const std::string reason = lossOf(m_before, name); !reason.empty())
            remark = "it was " + reason + " in " + m_file;
        else if (const std::string again = lossOf(m_after, name); !again.empty())
            remark = "it is " + again;
        if (remark.empty())
            return true;
        remark = std::string(name) + " is not compared: " + remark;
        if (std::find(m_result.remarks.begin(), m_result.remarks.end(), remark) == m_result.remarks.end())
            m_result.remarks.push_back(std::move(remark));
        return false;
    }
    static const Json &stateOf(const Json &inventory, std::string_view part) {
        return memberOf(memberOf(inventory, "parts"), part);
    }
    // A host without such devices has lost nothing.
    static std::string lossOf(const Json &inventory, std::string_view part) {
        const Json &reason = memberOf(stateOf(inventory, part), "absent");
        const std::string text = reason.is_string() ? reason.get<std::string>() : std::string();
        return text == absenceName(Absence::Unsupported) ? "" : displayText(text, Charset::Ascii);
    }
    // A list that was not read to its end lacks rows that may be there.
    static bool isComplete(const Json &inventory, HardwarePart part) {
        const Json &error = memberOf(stateOf(inventory, hardwarePartName(part)), "error");
        return !error.is_object() || memberOf(error, "errno") != EOVERFLOW;
    }

    const Json &m_before, &m_after;
    const std::string &m_file;
    HardwareChanges &m_result;
    std::vector<Change> m_changes;
};

void noteOtherHost(const Json &before, const Json &after, const std::string &file, HardwareChanges &result) {
    const auto host = [](const Json &inventory) {
        return inventory.contains("machine") ? memberOf(memberOf(inventory, "machine"), "host_name") : Json();
    };
    const Json earlier = host(before), now = host(after);
    if (earlier.is_string() && now.is_string() && earlier != now)
        result.remarks.push_back(file + " is of another host: " + plainText(earlier) + ", this one is " +
                                 plainText(now));
}

void write(const Json &before, const Hardware &now, const Json &after, std::span<const Change> changes,
           ChangeFormat format, std::string &text) {
    if (format == ChangeFormat::Lines) {
        for (const Change &change : changes)
            text += lineOf(change);
        return;
    }
    Json list = Json::array();
    for (const Change &change : changes)
        list.push_back(jsonOf(change));
    const Json whole{{"since", memberOf(before, "time")},
                     {"time", memberOf(after, "time")},
                     {"elapsed_seconds", now.elapsedSeconds},
                     {"changes", std::move(list)}};
    text = whole.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace

HardwareChanges changesSince(std::string_view earlier, const std::string &file, const Hardware &now,
                             ChangeFormat format) {
    HardwareChanges result;
    const Json before = readInventory(earlier, result.problem);
    if (!result.problem.empty()) {
        result.problem = file + ' ' + result.problem;
        return result;
    }
    std::string text;
    writeJson(now, text);
    const Json after = Json::parse(text);
    Comparer comparer(before, after, file, result);
    for (const AnyHardwareSection &section : hardwareSections()) {
        if (now.part(section.part).asked)
            comparer.compare(section);
    }
    noteOtherHost(before, after, file, result);
    write(before, now, after, comparer.changes(), format, result.text);
    return result;
}

} // namespace zel
