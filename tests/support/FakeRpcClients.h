// ONC RPC clients that reach nothing and answer as a test says.
#pragma once

#include "SystemHooks.h"

#include <arpa/inet.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <rpc/rpc.h>

#include <rpc/pmap_prot.h>

/// What the program did with one client.
struct RpcClientUse {
    std::string address;
    int port;
    unsigned long program;
    unsigned long version;
    long retrySeconds;
    int socket;
    std::vector<std::pair<unsigned, long>> timeouts; // request, seconds
    unsigned long procedure = 99;
    long callSeconds = 0;
    pmap wanted{};
    bool destroyed = false;
};

/// While it lives, clntudp_create gives these clients. They are a portmapper's and, after it, an NFS service's.
class FakeRpcClients {
public:
    clnt_stat portmapperStatus = RPC_SUCCESS;
    unsigned short port = 2049;
    clnt_stat nfsStatus = RPC_SUCCESS;
    int createdBeforeFailure = 99;
    bool refusesTimeouts = false;

    FakeRpcClients() {
        instance = this;
        systemHooks().clntudpCreate = [this](sockaddr_in *server, unsigned long program, unsigned long version,
                                             timeval retry, int *socket) -> void * {
            if (static_cast<int>(uses.size()) == createdBeforeFailure)
                return nullptr;
            uses.push_back({inet_ntoa(server->sin_addr),
                            ntohs(server->sin_port),
                            program,
                            version,
                            retry.tv_sec,
                            *socket,
                            {},
                            99,
                            0,
                            {},
                            false});
            auto client = std::make_unique<CLIENT>();
            client->cl_ops = &operations;
            m_clients.push_back(std::move(client));
            return m_clients.back().get();
        };
    }
    ~FakeRpcClients() {
        instance = nullptr;
        systemHooks().clntudpCreate = nullptr;
    }
    FakeRpcClients(const FakeRpcClients &) = delete;
    FakeRpcClients &operator=(const FakeRpcClients &) = delete;

    std::vector<RpcClientUse> uses; // in the order of their creation

private:
    static RpcClientUse &useOf(const CLIENT *client) {
        std::size_t index = 0;
        while (instance->m_clients[index].get() != client)
            ++index;
        return instance->uses[index];
    }
    static clnt_stat call(CLIENT *client, rpcproc_t procedure, xdrproc_t, void *arguments, xdrproc_t, void *result,
                          timeval timeout) {
        RpcClientUse &use = useOf(client);
        use.procedure = procedure;
        use.callSeconds = timeout.tv_sec;
        if (use.program != PMAPPROG)
            return instance->nfsStatus;
        use.wanted = *static_cast<pmap *>(arguments);
        *static_cast<unsigned short *>(result) = instance->port;
        return instance->portmapperStatus;
    }
    static bool_t control(CLIENT *client, u_int request, void *value) {
        useOf(client).timeouts.emplace_back(request, static_cast<timeval *>(value)->tv_sec);
        return instance->refusesTimeouts ? 0 : 1;
    }
    static void destroy(CLIENT *client) { useOf(client).destroyed = true; }

    static inline FakeRpcClients *instance = nullptr;
    static inline CLIENT::clnt_ops operations{call, nullptr, nullptr, nullptr, destroy, control};
    std::vector<std::unique_ptr<CLIENT>> m_clients;
};
