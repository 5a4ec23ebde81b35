// The keys of /proc/net/snmp, netstat and snmp6, and the fields that hold their values.
//
// A field's name is the kernel's key in words: without the underscores and what the schema adds, both are the same in
// lower case, but that octets are bytes here. Keys stand in an order that lasts: what is known of each is remembered by
// its place, so that in steady state no key is looked for.
#pragma once

#include "host/Schema.h"
#include "host/source/LineScan.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// A longer key is not believed.
inline constexpr std::size_t PROTOCOL_KEY_LIMIT = 64;

/// The key of a field, in lower case; an empty one of a field that no key gives.
std::string protocolKeyOf(const Family &family);

template<class Row> class ProtocolKeys {
public:
    ProtocolKeys() {
        for (const Field<Row> &field : fieldsOf<Row>()) {
            if (std::string key = protocolKeyOf(field.family); !key.empty())
                m_fields.push_back({std::move(key), &field});
        }
    }

    /// The field of the key at this place of its file; null when there is none.
    const Field<Row> *find(std::string_view key, std::size_t place) {
        if (place < m_known.size() && m_known[place].key == key)
            return m_known[place].field;
        if (key.size() > PROTOCOL_KEY_LIMIT)
            return nullptr;
        const Field<Row> *field = search(key);
        if (place >= m_known.size())
            m_known.resize(place + 1);
        m_known[place].key = key;
        m_known[place].field = field;
        return field;
    }

private:
    struct Entry {
        std::string key;
        const Field<Row> *field = nullptr;
    };

    const Field<Row> *search(std::string_view key) const {
        const auto same = [key](const Entry &entry) {
            return std::equal(key.begin(), key.end(), entry.key.begin(), entry.key.end(), [](char one, char other) {
                return std::tolower(static_cast<unsigned char>(one)) == other;
            });
        };
        const auto found = std::find_if(m_fields.begin(), m_fields.end(), same);
        return found == m_fields.end() ? nullptr : found->field;
    }

    std::vector<Entry> m_fields;
    std::vector<Entry> m_known; // by place, as the file has them
};

/// Takes the number at the cursor into a field. False, and the cursor is where it was, when there is none.
template<class Row> bool takeProtocolValue(const Field<Row> &field, const char *&cursor, Row &row) {
    constexpr unsigned milliseconds = 3; // the power of ten that makes them seconds
    if (const auto *count = std::get_if<Count Row::*>(&field.member)) {
        row.**count = takeCount(cursor);
        return (row.**count).has();
    }
    const auto number = std::get<Number Row::*>(field.member);
    row.*number = field.family.unit == Unit::Seconds ? takeDecimal(cursor, milliseconds) : takeInteger(cursor);
    return (row.*number).has();
}

} // namespace zel
