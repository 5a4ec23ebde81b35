// Real network interfaces of a test's own: a child process in a network namespace that nothing else uses.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// Runs `body` in a forked child that has a network namespace of its own, holding nothing but a loopback interface that
/// is down; IPv6, which sends by itself, is off. Assertions of the body fail the calling test. Returns why it could not
/// be run (no right to make a namespace, no ip program), or an empty text.
std::string inNetworkNamespace(const std::function<void()> &body);

/// Runs "ip" with these arguments, no shell between. Returns its exit status.
int runIp(const std::vector<std::string> &arguments);

/// Inside the body: a veth pair, both ends up and running.
void makePair(const std::string &one, const std::string &other);

/// Inside the body: sends `count` frames of `length` bytes through an interface, to everybody, of a type that nobody
/// answers.
void sendFrames(const std::string &name, int count, std::size_t length);

/// Inside the body: /sys shows the interfaces of the namespace, in a mount table of its own. False when this user may
/// not do so.
bool showOwnInterfaces();
