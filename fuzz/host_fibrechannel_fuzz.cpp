// The files of a Fibre Channel port as the typed model reads them, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_fibrechannel_fuzz) {
    fuzz::HostArea area(zel::Area::FibreChannel, zel::fibreChannelReader());
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : {"port_state", "speed", "supported_speeds", "statistics/tx_words",
                                 "statistics/rx_words", "statistics/seconds_since_last_reset"})
            fuzz::hostFile(std::string("sys/class/fc_host/host0/") + file, input);
        area.take();
    }
}
