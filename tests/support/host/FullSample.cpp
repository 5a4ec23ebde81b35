// Fills every field of every section.
#include "FullSample.h"

#include <string>

namespace {

class Filler {
public:
    explicit Filler(std::string_view text) : m_text(text) {}

    zel::Sample fill() {
        for (zel::AreaState &state : m_sample.areas)
            state.asked = true;
        m_sample.realtimeNanoseconds = 1795238415260000001;
        std::apply([this](const auto &...section) { (fillSection(section), ...); }, zel::SECTIONS);
        for (zel::Filesystem &filesystem : m_sample.filesystems)
            filesystem.hidden = std::uint64_t{0};
        return m_sample;
    }

private:
    template<class Row> void fillSection(const zel::Section<Row> &section) {
        if (section.one != nullptr)
            return fillRow(m_sample.*section.one, 0);
        for (int row = 0; row < 2; ++row)
            fillRow((m_sample.*section.many).append(), row);
    }
    template<class Row> void fillRow(Row &row, int number) {
        for (const zel::Field<Row> &field : zel::fieldsOf<Row>())
            zel::withMember<Row>(field.member, [&](auto member) { fillMember(row.*member, number); });
    }
    void fillMember(zel::Count &reading, int) { reading = ++m_next; }
    void fillMember(zel::Number &reading, int) { reading = static_cast<double>(++m_next) + 0.5; }
    void fillMember(zel::Reading<std::string> &reading, int) {
        reading = m_text.empty() ? "t" + std::to_string(++m_next) : std::string(m_text);
    }
    void fillMember(std::uint64_t &label, int number) {
        label = m_text.empty() ? static_cast<std::uint64_t>(number) : 7;
    }
    void fillMember(std::string &label, int number) {
        label = m_text.empty() ? std::string(number == 0 ? "a" : "b") : std::string(m_text);
    }

    std::string_view m_text;
    zel::Sample m_sample;
    std::uint64_t m_next = 0;
};

} // namespace

zel::Sample FullSample::make() {
    return Filler({}).fill();
}

zel::Sample FullSample::withText(std::string_view text) {
    return Filler(text).fill();
}
