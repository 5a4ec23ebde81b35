// A sample that has everything: two rows in each list, and a value of its own in every field.
#pragma once

#include "host/Sample.h"

#include <string>

class FullSample {
public:
    static zel::Sample make() {
        FullSample made;
        for (zel::AreaState &state : made.m_sample.areas)
            state.asked = true;
        made.m_sample.realtimeNanoseconds = 1795238415260000001;
        zel::forEachSection([&made]<class Row>(const zel::Section<Row> &section) {
            if (section.one != nullptr)
                return made.fill(made.m_sample.*section.one, 0);
            for (int row = 0; row < 2; ++row)
                made.fill((made.m_sample.*section.many).append(), row);
        });
        for (zel::Filesystem &filesystem : made.m_sample.filesystems)
            filesystem.hidden = std::uint64_t{0};
        return made.m_sample;
    }

private:
    template<class Row> void fill(Row &row, int number) {
        for (const zel::Field<Row> &field : zel::fieldsOf<Row>())
            std::visit([&](auto member) { fillMember(row.*member, number); }, field.member);
    }
    void fillMember(zel::Count &reading, int) { reading = ++m_next; }
    void fillMember(zel::Number &reading, int) { reading = static_cast<double>(++m_next) + 0.5; }
    void fillMember(zel::Reading<std::string> &reading, int) { reading = "t" + std::to_string(++m_next); }
    void fillMember(std::uint64_t &label, int number) { label = static_cast<std::uint64_t>(number); }
    void fillMember(std::string &label, int number) { label = number == 0 ? "a" : "b"; }

    zel::Sample m_sample;
    std::uint64_t m_next = 0;
};
