// The known names of Fibre Channel ports, NFS, power and heat.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

TEST(KnownFibreChannel, NamesOfTheFabricHaveNoPrefix) {
    zel::Sample sample;
    zel::FibreChannelPort &port = sample.fibreChannelPorts.append();
    port.name = "host0";
    port.state = std::string("Online");
    port.portName = std::string("0x10003c5a907be412");
    port.portId = std::string("0x000002");
    port.fabricName = std::string("0x0");
    port.deviceLossSeconds = std::uint64_t{30};
    port.transmitWords = std::uint64_t{6};
    const KnownText text(zel::knownFibreChannel, sample);
    EXPECT_EQ(text.series("node_fibrechannel_tx_words_total"),
              (Lines{R"(node_fibrechannel_tx_words_total{fc_host="host0"} 6)"}));
    ASSERT_EQ(text.series("node_fibrechannel_info").size(), 1U);
    const std::string info = text.series("node_fibrechannel_info")[0];
    for (const char *label : {R"(fc_host="host0")", R"(port_state="Online")", R"(port_name="10003c5a907be412")",
                              R"(port_id="000002")", R"(fabric_name="0")", R"(dev_loss_tmo="30")"})
        EXPECT_NE(info.find(label), info.npos) << label << " in " << info;
}

template<class Call>
void addCall(zel::Rows<Call> &calls, std::uint64_t version, const char *operation, std::uint64_t count) {
    Call &call = calls.append();
    call.version = version;
    call.operation = operation;
    call.calls = count;
}

TEST(KnownNfs, OperationsHaveTheNamesOfTheirVersion) {
    zel::Sample sample;
    addCall(sample.nfsClientCalls, 3, "GETATTR", 1);
    addCall(sample.nfsClientCalls, 4, "GETATTR", 2);
    addCall(sample.nfsClientCalls, 4, "READ_PLUS", 3); // of newer kernels: it has no such name
    addCall(sample.nfsClientCalls, 5, "GETATTR", 4);
    sample.nfsClient.tcpPackets = std::uint64_t{17};
    EXPECT_EQ(KnownText(zel::knownNfs, sample).series(),
              (Lines{R"(node_nfs_packets_total{protocol="tcp"} 17)",
                     R"(node_nfs_requests_total{method="GetAttr",proto="3"} 1)",
                     R"(node_nfs_requests_total{method="Getattr",proto="4"} 2)"}));
}

TEST(KnownNfs, TheServerCountsTheOperationsOfCompounds) {
    zel::Sample sample;
    addCall(sample.nfsServerCalls, 4, "COMPOUND", 1);
    addCall(sample.nfsServerCalls, 3, "NULL", 1);
    addCall(sample.nfsServerCalls, 4, "WRITE", 2);
    addCall(sample.nfsServerCalls, 4, "LOOKUPP", 3);
    addCall(sample.nfsServerCalls, 2, "WRCACHE", 4);
    sample.nfsServer.badClients = std::uint64_t{5};
    sample.nfsServer.threads = std::uint64_t{8};
    const KnownText text(zel::knownNfs, sample);
    EXPECT_EQ(text.series("node_nfsd_requests_total"),
              (Lines{R"(node_nfsd_requests_total{method="Write",proto="4"} 2)",
                     R"(node_nfsd_requests_total{method="LookupRoot",proto="4"} 3)",
                     R"(node_nfsd_requests_total{method="WrCache",proto="2"} 4)"}));
    EXPECT_EQ(text.series("node_nfsd_rpc_errors_total"), (Lines{R"(node_nfsd_rpc_errors_total{error="cInt"} 5)"}));
    EXPECT_EQ(text.type("node_nfsd_server_threads"), "gauge");
}

TEST(KnownPowerSupplies, EnergyAndChargeAreCountedByTheHour) {
    zel::Sample sample;
    zel::PowerSupply &supply = sample.powerSupplies.append();
    supply.supply = "BAT0";
    supply.type = std::string("Battery");
    supply.energy = 36580.0 * 3.6; // 36.58 Wh
    supply.capacity = 0.98;
    supply.chargeControlLimit = std::uint64_t{2500000};
    supply.temperature = -4.5;
    const KnownText text(zel::knownPowerSupplies, sample);
    EXPECT_EQ(text.series("node_power_supply_energy_watthour"),
              (Lines{R"(node_power_supply_energy_watthour{power_supply="BAT0"} 36.58)"}));
    EXPECT_EQ(text.series("node_power_supply_capacity"),
              (Lines{R"(node_power_supply_capacity{power_supply="BAT0"} 98)"}));
    EXPECT_EQ(text.series("node_power_supply_charge_control_limit"),
              (Lines{R"(node_power_supply_charge_control_limit{power_supply="BAT0"} 2.5)"}));
    EXPECT_EQ(text.series("node_power_supply_temp_celsius"),
              (Lines{R"(node_power_supply_temp_celsius{power_supply="BAT0"} -4.5)"}));
}

void addZone(zel::Sample &sample, const char *zone, const char *name, double joules) {
    zel::PowerZone &row = sample.powerZones.append();
    row.zone = zone;
    row.name = name;
    row.consumed = joules;
}

TEST(KnownPowerZones, APackageHasItsNumberAndOtherPartsTheirPlace) {
    zel::Sample sample;
    addZone(sample, "intel-rapl:4", "package-5", 1);
    addZone(sample, "intel-rapl:3:0", "core", 2);
    addZone(sample, "intel-rapl:10:0", "core", 3); // before the other in the order of letters
    addZone(sample, "intel-rapl:3", "package-5-die-1", 4);
    addZone(sample, "intel-rapl:9", "a.b", 5);
    const auto path = [](const char *zone) { return std::string(",path=\"/sys/class/powercap/") + zone + "\"} "; };
    EXPECT_EQ(KnownText(zel::knownPowerZones, sample).series(),
              (Lines{R"(node_rapl_package_joules_total{index="5")" + path("intel-rapl:4") + "1",
                     R"(node_rapl_core_joules_total{index="1")" + path("intel-rapl:3:0") + "2",
                     R"(node_rapl_core_joules_total{index="0")" + path("intel-rapl:10:0") + "3",
                     R"(node_rapl_package_5_die_1_joules_total{index="0")" + path("intel-rapl:3") + "4",
                     R"(node_rapl_a_b_joules_total{index="0")" + path("intel-rapl:9") + "5"}));
}

TEST(KnownThermal, ZonesAndWhatCoolsThem) {
    zel::Sample sample;
    zel::ThermalZone &zone = sample.thermalZones.append();
    zone.zone = 1;
    zone.type = "acpitz";
    zone.temperature = -44.0;
    zel::CoolingDevice &device = sample.coolingDevices.append();
    device.device = 2;
    device.type = "Processor";
    device.state = std::uint64_t{1};
    device.maxState = std::uint64_t{50};
    EXPECT_EQ(KnownText(zel::knownThermal, sample).series(),
              (Lines{R"(node_thermal_zone_temp{type="acpitz",zone="1"} -44)",
                     R"(node_cooling_device_cur_state{name="2",type="Processor"} 1)",
                     R"(node_cooling_device_max_state{name="2",type="Processor"} 50)"}));
}

} // namespace
