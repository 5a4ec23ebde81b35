// A message bus with a systemd on it, in a thread: it answers as it is told to, or behaves as none should. While it
// lives, it is the system's bus of this process.
#pragma once

#include "TempDirectory.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

class FakeSystemd {
public:
    enum class Behaviour {
        Answers,
        NoList,     // leaves ListUnits without an answer
        OtherTypes, // of the answer to ListUnits
        Refuses,
        Silent,  // takes the connection and says nothing
        Garbage, // instead of the protocol
        Closes
    };
    struct Unit {
        std::string name, load, active;
        std::map<std::string, std::string> texts; // properties
        std::map<std::string, std::uint64_t> numbers;
    };
    std::vector<Unit> units; // change them by add() once it has started

    explicit FakeSystemd(Behaviour behaviour = Behaviour::Answers) : m_behaviour(behaviour) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path()).c_str(), 1);
    }
    ~FakeSystemd() {
        stop();
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }
    void start() {
        m_listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path().copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(m_listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
            listen(m_listener, 4) != 0)
            throw std::runtime_error(std::strerror(errno));
        m_ending = false;
        m_thread = std::thread([this] { run(); });
    }
    void stop() {
        m_ending = true;
        if (!m_thread.joinable())
            return;
        m_thread.join();
        close(m_listener);
        unlink(path().c_str());
    }
    void add(const Unit &unit) {
        const std::lock_guard held(m_lock);
        units.push_back(unit);
    }
    void behave(Behaviour behaviour) { m_behaviour = behaviour; }
    int calls() const { return m_calls; } // to systemd

private:
    static constexpr std::uint64_t pauseMicroseconds = 2000;

    std::string path() const { return (m_directory.path() / "bus").string(); }

    void run() {
        while (!m_ending) {
            const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (connection < 0)
                usleep(pauseMicroseconds);
            else if (m_behaviour >= Behaviour::Silent)
                misbehave(connection);
            else
                serve(connection);
        }
    }
    void misbehave(int connection) {
        const std::string garbage = "\x01\xff no protocol\r\n\r\n\r\n";
        if (m_behaviour == Behaviour::Garbage)
            send(connection, garbage.data(), garbage.size(), MSG_NOSIGNAL);
        while (m_behaviour != Behaviour::Closes && !m_ending)
            usleep(pauseMicroseconds);
        close(connection);
    }
    void serve(int connection) {
        sd_bus *bus = nullptr;
        sd_id128_t id{};
        id.bytes[0] = 1;
        sd_bus_new(&bus);
        sd_bus_set_fd(bus, connection, connection);
        sd_bus_set_server(bus, 1, id);
        sd_bus_start(bus);
        sd_bus_add_filter(bus, nullptr, &FakeSystemd::answer, this);
        int result = 0;
        while (!m_ending && result >= 0) {
            result = sd_bus_process(bus, nullptr);
            if (result == 0)
                result = sd_bus_wait(bus, pauseMicroseconds);
            if (result == -EINTR)
                result = 0;
        }
        sd_bus_close_unref(bus);
    }

    static int answer(sd_bus_message *call, void *data, sd_bus_error *) {
        auto *const self = static_cast<FakeSystemd *>(data);
        if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0)
            return 0; // the end of the connection is a signal
        const std::string_view member = sd_bus_message_get_member(call);
        if (member == "Hello")
            return sd_bus_reply_method_return(call, "s", ":1.1");
        ++self->m_calls;
        if (self->m_behaviour == Behaviour::Refuses)
            return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "you may not");
        const std::lock_guard held(self->m_lock);
        return member == "ListUnits" ? self->answerList(call) : self->answerProperty(call);
    }
    int answerList(sd_bus_message *call) const {
        if (m_behaviour == Behaviour::NoList)
            return 1;
        if (m_behaviour == Behaviour::OtherTypes)
            return sd_bus_reply_method_return(call, "a(ss)", 1, "a.service", "active");
        sd_bus_message *list = nullptr;
        sd_bus_message_new_method_return(call, &list);
        sd_bus_message_open_container(list, 'a', "(ssssssouso)");
        for (std::size_t index = 0; index < units.size(); ++index)
            sd_bus_message_append(list, "(ssssssouso)", units[index].name.c_str(), "", units[index].load.c_str(),
                                  units[index].active.c_str(), "", "", ("/unit/u" + std::to_string(index)).c_str(), 0,
                                  "", "/");
        sd_bus_message_close_container(list);
        const int result = sd_bus_send(nullptr, list, nullptr);
        sd_bus_message_unref(list);
        return result;
    }
    int answerProperty(sd_bus_message *call) const {
        const char *interface = nullptr, *name = nullptr;
        sd_bus_message_read(call, "ss", &interface, &name);
        if (std::strcmp(name, "Version") == 0)
            return sd_bus_reply_method_return(call, "v", "s", "252.39-1~deb12u2");
        if (std::strcmp(name, "SystemState") == 0)
            return sd_bus_reply_method_return(call, "v", "s", "running");
        const Unit &unit = units.at(std::strtoul(sd_bus_message_get_path(call) + std::strlen("/unit/u"), nullptr, 10));
        if (unit.texts.contains(name))
            return sd_bus_reply_method_return(call, "v", "s", unit.texts.at(name).c_str());
        if (!unit.numbers.contains(name))
            return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_PROPERTY, "there is none");
        if (std::strcmp(name, "LastTriggerUSec") == 0)
            return sd_bus_reply_method_return(call, "v", "t", unit.numbers.at(name));
        return sd_bus_reply_method_return(call, "v", "u", static_cast<std::uint32_t>(unit.numbers.at(name)));
    }

    TempDirectory m_directory;
    std::atomic<Behaviour> m_behaviour;
    std::atomic<bool> m_ending = false;
    std::atomic<int> m_calls = 0;
    std::mutex m_lock;
    int m_listener = -1;
    std::thread m_thread;
};
