// Reads the settings of the server from texts.
#include "zel/config/ServeOptions.h"

#include "host/Sample.h"
#include "zel/Duration.h"
#include "zel/commands/Commands.h"
#include "zel/commands/OptionValues.h"
#include "zel/serve/HostCheck.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace zel {

namespace {

using std::chrono::milliseconds;

constexpr std::string_view defaultSections = "default", allSections = "all";

// What is wrong with a text, after "--option text: "; empty when the setting has taken it.
using ReadSetting = std::string (*)(ServeSettings &settings, const std::string &text);

struct ServeOption {
    OptionEntry entry;
    ReadSetting read;
};

std::vector<std::string> partsOf(const std::string &text) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

template<auto member> std::string readText(ServeSettings &settings, const std::string &text) {
    settings.*member = text;
    return {};
}

template<auto member> std::string readSwitch(ServeSettings &settings, const std::string &) {
    settings.*member = true;
    return {};
}

template<auto member> std::string readTexts(ServeSettings &settings, const std::string &text) {
    settings.*member = partsOf(text);
    for (const std::string &part : settings.*member) {
        if (part.empty())
            return "there is nothing between two commas";
    }
    return {};
}

std::string readServerNames(ServeSettings &settings, const std::string &text) {
    std::string problem = readTexts<&ServeSettings::serverNames>(settings, text);
    const auto wrong = std::ranges::find_if_not(settings.serverNames, isServerName);
    if (!problem.empty() || wrong == settings.serverNames.end())
        return problem;
    return "no client can ask for '" + *wrong + "': names have no port, no brackets and no blanks";
}

std::string readListenOf(ServeSettings &settings, const std::string &text) {
    std::string problem = readTexts<&ServeSettings::listen>(settings, text);
    if (settings.listen.empty())
        problem = "there is no address";
    for (const std::string &listen : settings.listen) {
        if (problem.empty())
            readListen(listen, problem);
    }
    return problem;
}

template<auto member, const SettingRange<milliseconds> &range>
std::string readTimeOf(ServeSettings &settings, const std::string &text) {
    const ReadDuration read = readDuration(text, range.least, range.most);
    settings.*member = read.value;
    return read.problem;
}

template<auto member, const SettingRange<std::size_t> &range>
std::string readNumber(ServeSettings &settings, const std::string &text) {
    std::size_t number = 0;
    const char *const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last || number < range.least || number > range.most)
        return "a whole number from " + std::to_string(range.least) + " to " + std::to_string(range.most);
    settings.*member = number;
    return {};
}

std::string readAreasOf(ServeSettings &settings, const std::string &text) {
    std::string problem;
    settings.areas = readAreas(partsOf(text), problem);
    return problem;
}

// "all", or sections by their names; "default" is what is written without the option.
std::string readSections(ServeSettings &settings, const std::string &text) {
    std::vector<std::string_view> known{defaultSections, allSections};
    for (const AnySection<Sample> &section : sections())
        known.push_back(section.name);
    std::string problem;
    const std::vector<std::string> names = partsOf(text);
    readNames(names, known, "section", problem);
    settings.metricsSections = names;
    const auto standsAlone = [](const std::string &name) { return name == defaultSections || name == allSections; };
    if (names.size() == 1 && names[0] == defaultSections)
        settings.metricsSections.clear();
    else if (names.size() > 1 && problem.empty() && std::any_of(names.begin(), names.end(), standsAlone))
        problem = "default and all stand alone";
    return problem;
}

constexpr auto serverOptions = std::to_array<ServeOption>({
    {{"--listen", "ADDRESS,...", "where it listens (127.0.0.1:9100); :9100 is every address of this host"},
     readListenOf},
    {{"--listen-unprotected", "", "listen for other machines without a token and without TLS"},
     readSwitch<&ServeSettings::listenUnprotected>},
    {{"--server-names", "NAME,...", "names that clients may call this host by, beside localhost"}, readServerNames},
    {{"--token-file", "FILE", "who asks has to give the token that is its one line"},
     readText<&ServeSettings::tokenFile>},
    {{"--certificate", "FILE", "TLS with this certificate (PEM)"}, readText<&ServeSettings::certificateFile>},
    {{"--key", "FILE", "the key of the certificate (PEM)"}, readText<&ServeSettings::keyFile>},
    {{"--areas", "AREA,...", "what is sampled (all areas)"}, readAreasOf},
    {{"--command-lines", "", "command lines of processes may leave this machine: they can hold secrets"},
     readSwitch<&ServeSettings::commandLines>},
    {{"--sample-age", "TIME", "a sample that is younger is shared by those who ask (1s, at most 2s)"},
     readTimeOf<&ServeSettings::sampleAge, SAMPLE_AGE>},
    {DEADLINE_OPTION, readTimeOf<&ServeSettings::deadline, SERVE_DEADLINE>},
    {ROOT_OPTION, readText<&ServeSettings::root>},
    {{"--connections", "N", "at one time (256)"}, readNumber<&ServeSettings::connections, CONNECTIONS>},
    {{"--connections-per-address", "N", "at one time from one address (64)"},
     readNumber<&ServeSettings::connectionsPerAddress, CONNECTIONS_PER_ADDRESS>},
    {{"--streams", "N", "of the connections (32); 0: none"}, readNumber<&ServeSettings::streams, STREAMS>},
    {{"--request-bytes", "N", "of a request with its headers (8192)"},
     readNumber<&ServeSettings::requestBytes, REQUEST_BYTES>},
    {{"--request-time", "TIME", "from the first byte of a request to its last (10s)"},
     readTimeOf<&ServeSettings::requestTime, REQUEST_TIME>},
    {{"--answer-time", "TIME", "for a client to take an answer (1m)"},
     readTimeOf<&ServeSettings::answerTime, ANSWER_TIME>},
    {{"--idle-time", "TIME", "a connection may wait for its next request (2m)"},
     readTimeOf<&ServeSettings::idleTime, IDLE_TIME>},
    {{"--stream-least", "TIME", "the shortest time between two events of a stream (500ms)"},
     readTimeOf<&ServeSettings::streamLeast, STREAM_LEAST>},
    {{"--stream-heartbeat", "TIME", "an event or a comment comes in this time (15s)"},
     readTimeOf<&ServeSettings::streamHeartbeat, STREAM_HEARTBEAT>},
    {{"--metrics-sections", "SECTION,...", "what /metrics has beside the known names: default, all, or sections"},
     readSections},
    {{"--metrics-processes", "N", "processes in /metrics, each by CPU, by memory and by I/O (10); 0: none"},
     readNumber<&ServeSettings::topProcesses, TOP_PROCESSES>},
    {{"--metrics-without-systemd", "", "/metrics has no units of systemd, which is not asked for them"},
     readSwitch<&ServeSettings::withoutSystemd>},
    {{"--metrics-textfile-directory", "DIR", "its files *.prom are part of /metrics"},
     readText<&ServeSettings::textfileDirectory>},
    {{"--metrics-textfile-bytes", "N", "of one such file (1048576)"},
     readNumber<&ServeSettings::textfileBytes, TEXTFILE_BYTES>},
    {{"--metrics-textfiles", "N", "such files (256)"}, readNumber<&ServeSettings::textfiles, TEXTFILES>},
});

constexpr auto entries = [] {
    std::array<OptionEntry, serverOptions.size() + 1> all{};
    for (std::size_t at = 0; at < serverOptions.size(); ++at)
        all[at] = serverOptions[at].entry;
    all.back() = CONFIG_OPTION;
    return all;
}();

} // namespace

std::span<const OptionEntry> serveOptions() {
    return entries;
}

ServeSettings readServeSettings(const Arguments &arguments, std::string &problem) {
    ServeSettings settings;
    for (const ServeOption &option : serverOptions) {
        const std::optional<std::string> text = arguments.value(option.entry.name);
        const std::string wrong = text ? option.read(settings, *text) : "";
        if (!wrong.empty() && problem.empty())
            problem = std::string(option.entry.name) + ' ' + *text + ": " + wrong;
    }
    return settings;
}

} // namespace zel
