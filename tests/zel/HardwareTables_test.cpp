// Tables of the inventory: every section has one, its columns are fields, and a reason is shown in place of a value.
#include "zel/TableSink.h"
#include "zel/views/HardwareViews.h"

#include "export/HardwareWalk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;

std::string textOf(const Hardware &hardware) {
    std::string out;
    zel::TableSink sink({false, false, zel::hardwareViewOf}, {}, out);
    zel::walk(hardware, sink);
    return out;
}

TEST(HardwareViews, EverySectionHasOneOfItsOwnFields) {
    zel::forEachHardwareSection([]<class Row>(const zel::HardwareSection<Row> &section) {
        const zel::View *view = zel::hardwareViewOf(section.name);
        ASSERT_NE(view, nullptr) << section.name;
        std::set<std::string_view> fields;
        for (const zel::Field<Row> &field : zel::fieldsOf<Row>())
            fields.insert(field.family.name);
        for (const zel::ViewColumn &column : view->columns)
            EXPECT_TRUE(fields.contains(column.field)) << section.name << '.' << column.field;
    });
    EXPECT_EQ(zel::hardwareViewOf("nothing"), nullptr);
}

TEST(HardwareTables, ADeviceThatDidNotAnswerIsTimedOutInEveryColumn) {
    Hardware hardware;
    hardware.part(HardwarePart::Pci).asked = true;
    zel::PciDevice &silent = hardware.pciDevices.append();
    silent.address = "0000:00:01.0";
    zel::forget(silent, Absence::TimedOut);
    const std::string text = textOf(hardware);
    EXPECT_THAT(text, ContainsRegex("\n  0000:00:01.0( +timed out)+\n"));
}

TEST(HardwareTables, ALinkThatWasNotAskedForIsNoMissingOne) {
    Hardware hardware;
    hardware.part(HardwarePart::Pci).asked = true;
    for (const char *address : {"0000:00:01.0", "0000:00:02.0"}) {
        zel::PciDevice &device = hardware.pciDevices.append();
        device.address = address;
        device.linkTransfers = 8e9;
        device.linkWidth = 8;
    }
    hardware.pciDevices[1].linkTransfers = Absence::NotAsked;
    hardware.pciDevices[1].linkWidth = Absence::NotAsked;
    const std::string text = textOf(hardware);
    EXPECT_THAT(text, HasSubstr("8.00 GT/s x8\n"));
    EXPECT_THAT(text, HasSubstr("not asked\n"));
}

TEST(HardwareTables, ASectionWithoutAnyValueSaysNone) {
    Hardware hardware;
    hardware.part(HardwarePart::Machine).asked = true;
    hardware.machine.hostName = std::string("db1");
    EXPECT_EQ(textOf(hardware), "MACHINE\n  host  db1\n\nCHASSIS  none\n\nBOARD  none\n\nFIRMWARE  none\n");
}

} // namespace
