// The known names of the distribution and of the machine that it runs on.
#include "export/known/Known.h"

#include <charconv>

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

constexpr KnownLabel<Identity> releaseLabels[] = {
    {"build_id", &Identity::osBuildId},
    {"id", &Identity::osId},
    {"id_like", &Identity::osIdLike},
    {"image_id", &Identity::osImageId},
    {"image_version", &Identity::osImageVersion},
    {"name", &Identity::osName},
    {"pretty_name", &Identity::osPrettyName},
    {"variant", &Identity::osVariant},
    {"variant_id", &Identity::osVariantId},
    {"version", &Identity::osVersionName},
    {"version_codename", &Identity::osCodename},
    {"version_id", &Identity::osVersion},
};
constexpr KnownLabel<Dmi> dmiLabels[] = {
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
    {"system_vendor", &Dmi::systemVendor},
};

bool isKnown(const Identity &identity) {
    return identity.osId || identity.osName || identity.osPrettyName;
}

// Sample: 20.04.2, of which the first two parts make a number
Number versionNumber(const Reading<std::string> &version) {
    if (!version)
        return version.absence();
    const std::size_t dot = version.value().find('.');
    const std::size_t length = dot == std::string::npos ? dot : version.value().find('.', dot + 1);
    const std::string_view text = std::string_view(*version).substr(0, length);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    const bool whole = error == std::errc() && end == text.data() + text.size() && text.front() != '-';
    return whole ? Number(number) : Number(Absence::Unsupported);
}

void writeRelease(const Identity &identity, MetricSink &sink) {
    if (!isKnown(identity))
        return;
    sink.family("node_os_info", gauge, "What the distribution says of itself (os-release).");
    addLabels<Identity>(releaseLabels, identity, sink);
    sink.one();
    sink.family("node_os_version", gauge, "First two parts of the version of the distribution.");
    if (const Number version = versionNumber(identity.osVersion))
        sink.label("id", identity.osId)
            .label("id_like", identity.osIdLike)
            .label("name", identity.osName)
            .value(version);
}

// A text that the machine does not have, or does not show, is no label.
void writeDmi(const Dmi &dmi, MetricSink &sink) {
    sink.family("node_dmi_info", gauge, "What the firmware says of the machine.");
    bool any = false;
    for (const KnownLabel<Dmi> &label : dmiLabels) {
        const Reading<std::string> &text = dmi.*std::get<Reading<std::string> Dmi::*>(label.member);
        if (!text)
            continue;
        sink.label(label.name, *text);
        any = true;
    }
    if (any)
        sink.one();
}

void write(const Sample &sample, MetricSink &sink) {
    writeRelease(sample.identity, sink);
    writeDmi(sample.dmi, sink);
}

void listFields(KnownFields &known) {
    for (const KnownLabel<Identity> &label : releaseLabels)
        known.add<Identity>({label.member});
    for (const KnownLabel<Dmi> &label : dmiLabels)
        known.add<Dmi>({label.member});
}

} // namespace

const KnownMetrics knownDistribution{Area::Identity, write, listFields};

} // namespace zel
