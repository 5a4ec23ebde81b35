// Puts the settings of the server into words.
#include "zel/config/ServePlan.h"

#include "zel/Directory.h"
#include "zel/Duration.h"
#include "zel/config/TlsFiles.h"
#include "zel/serve/HostCheck.h"
#include "zel/serve/Server.h"

#include <cstdlib>

namespace zel {

namespace {

bool hasTls(const ServeSettings &settings) {
    return !settings.certificateFile.empty() && !settings.keyFile.empty();
}

template<class Items, class TextOf> std::string joined(const Items &items, TextOf &&textOf) {
    std::string text;
    for (const auto &item : items)
        text += (text.empty() ? "" : ", ") + std::string(textOf(item));
    return text;
}

std::string itself(const std::string &text) {
    return text;
}

bool isOfThisHost(const ServeSettings &settings) {
    std::string problem;
    return firstOpen(settings.listen, problem).empty();
}

void checkDirectory(const char *key, const std::string &path, std::vector<std::string> &problems) {
    const std::string problem = path.empty() ? "" : directoryProblem(path);
    if (!problem.empty())
        problems.push_back(std::string(key) + ' ' + path + ": " + problem);
}

bool isCredential(const std::string &path) {
    constexpr std::string_view directory = "/run/credentials/";
    return path.starts_with(directory) && std::getenv("CREDENTIALS_DIRECTORY") == nullptr;
}

// What protects the server stays so when its files cannot be seen from here.
ServeSettings withoutCredentials(ServeSettings settings) {
    const bool isTls = hasTls(settings);
    settings.listenUnprotected = settings.listenUnprotected || isCredential(settings.tokenFile);
    if (isCredential(settings.tokenFile))
        settings.tokenFile.clear();
    if (isTls && (isCredential(settings.certificateFile) || isCredential(settings.keyFile))) {
        settings.listenUnprotected = true;
        settings.certificateFile.clear();
        settings.keyFile.clear();
    }
    return settings;
}

std::string listenSentence(const ServeSettings &settings) {
    const std::string where = joined(settings.listen, itself);
    return "listens on " + where +
           (isOfThisHost(settings) ? ": only programs of this machine reach it" : ": other machines reach it");
}

std::string readerSentence(const ServeSettings &settings) {
    const std::string who = settings.tokenFile.empty()
                                ? "asks for no token: whoever reaches it may read everything below"
                                : "asks for the token of " + settings.tokenFile;
    return who + (settings.serverNames.empty() ? "" : "; answers as " + joined(settings.serverNames, itself) + " only");
}

std::string transportSentence(const ServeSettings &settings) {
    if (hasTls(settings))
        return "encrypts with TLS, certificate " + settings.certificateFile;
    const bool isOpen = !isOfThisHost(settings);
    return std::string("does not encrypt: plain HTTP") +
           (isOpen && !settings.tokenFile.empty() ? "; whoever listens on the way learns the token" : "");
}

std::string sampleSentence(const ServeSettings &settings) {
    const std::string areas = settings.areas.empty() ? "all areas" : joined(settings.areas, areaName);
    const std::string host = settings.root.empty() ? "this host" : "the host below " + settings.root;
    return "samples " + areas + " of " + host + "; what does not answer within " + durationText(settings.deadline) +
           " is timed out; a sample is shared for " + durationText(settings.sampleAge);
}

std::string metricsSentence(const ServeSettings &settings) {
    const std::vector<std::string> &sections = settings.metricsSections;
    const std::string own = sections.empty()       ? "the sections that are written by default"
                            : sections[0] == "all" ? "all sections"
                                                   : "the sections " + joined(sections, itself);
    const std::string most = std::to_string(settings.topProcesses), textfiles = usedTextfileDirectory(settings);
    const std::string processes =
        settings.topProcesses == 0 ? "no process" : "the " + most + " processes that use most CPU, memory and I/O each";
    const bool hasUnits = settings.root.empty() && !settings.withoutSystemd;
    return "/metrics has the known families, " + own + ", " + processes + (hasUnits ? ", the units of systemd" : "") +
           (textfiles.empty() ? "" : ", and *.prom of " + textfiles);
}

std::string departureSentence(const ServeSettings &settings) {
    const std::string lines = settings.commandLines ? "command lines of processes are given to those who ask"
                                                    : "command lines of processes are given to nobody";
    const std::string rest =
        isOfThisHost(settings) ? "nothing leaves this machine" : "what is asked for leaves this machine";
    return "sends nothing by itself: " + rest + "; " + lines;
}

std::string limitSentence(const ServeSettings &settings) {
    return "takes " + std::to_string(settings.connections) + " connections, " +
           std::to_string(settings.connectionsPerAddress) + " of one address, " + std::to_string(settings.streams) +
           " streams; requests of " + std::to_string(settings.requestBytes) + " bytes within " +
           durationText(settings.requestTime);
}

} // namespace

std::vector<std::string> credentialsOf(const ServeSettings &settings) {
    std::vector<std::string> credentials;
    for (const std::string &path : {settings.tokenFile, settings.certificateFile, settings.keyFile}) {
        if (isCredential(path))
            credentials.push_back(path);
    }
    return credentials;
}

std::vector<std::string> problemsOf(const ServeSettings &wanted) {
    const ServeSettings settings = withoutCredentials(wanted);
    std::vector<std::string> problems;
    if (const std::string problem = settingsProblem(settings); !problem.empty())
        problems.push_back(problem);
    else if (hasTls(settings))
        problems = problemsOfTls(settings.certificateFile, settings.keyFile);
    checkDirectory("root", settings.root, problems);
    checkDirectory("textfile-directory", usedTextfileDirectory(settings), problems);
    return problems;
}

std::vector<std::string> planOf(const ServeSettings &settings) {
    return {listenSentence(settings), readerSentence(settings),  transportSentence(settings),
            sampleSentence(settings), metricsSentence(settings), departureSentence(settings),
            limitSentence(settings)};
}

} // namespace zel
