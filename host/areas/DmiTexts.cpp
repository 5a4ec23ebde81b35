// Reads the texts of the firmware.
#include "host/areas/DmiTexts.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

struct Text {
    std::string_view file;
    Reading<std::string> Dmi::*member;
};
constexpr Text texts[] = {
    {"bios_date", &Dmi::biosDate},
    {"bios_release", &Dmi::biosRelease},
    {"bios_vendor", &Dmi::biosVendor},
    {"bios_version", &Dmi::biosVersion},
    {"board_asset_tag", &Dmi::boardAssetTag},
    {"board_name", &Dmi::boardName},
    {"board_serial", &Dmi::boardSerial},
    {"board_vendor", &Dmi::boardVendor},
    {"board_version", &Dmi::boardVersion},
    {"chassis_asset_tag", &Dmi::chassisAssetTag},
    {"chassis_serial", &Dmi::chassisSerial},
    {"chassis_vendor", &Dmi::chassisVendor},
    {"chassis_version", &Dmi::chassisVersion},
    {"product_family", &Dmi::productFamily},
    {"product_name", &Dmi::productName},
    {"product_serial", &Dmi::productSerial},
    {"product_sku", &Dmi::productSku},
    {"product_uuid", &Dmi::productUuid},
    {"product_version", &Dmi::productVersion},
    {"sys_vendor", &Dmi::systemVendor},
};

} // namespace

int readDmi(const HostDirectory &root, Dmi &dmi) {
    DeviceAttributes files(root, withoutLastPart(DMI_DIRECTORY), lastPart(DMI_DIRECTORY));
    if (const int error = files.hold(); error != 0) {
        forget(dmi, absenceOf(error));
        return error;
    }
    for (const Text &text : texts) {
        Reading<std::string> &reading = dmi.*text.member;
        if (const int error = files.read(text.file); error != 0)
            reading.clear(absenceOf(error));
        else
            reading.set(trimmed(files.text()));
    }
    return 0;
}

void assignDmi(const Dmi &from, Dmi &to) {
    for (const Text &text : texts)
        (to.*text.member).assign(from.*text.member);
}

} // namespace zel
