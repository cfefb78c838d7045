// SPDX-License-Identifier: MIT
// Serves the endpoint.
#ifndef VEXO_HTTP_HTTPSERVER_H
#define VEXO_HTTP_HTTPSERVER_H

#include <cstdint>
#include <memory>
#include <vector>

#include "http/Endpoint.h"
#include "http/ListenAddress.h"

struct MHD_Daemon;

namespace vexo {

// Answers on a thread of its own for each socket, which serves all of its clients at once: one that stalls holds up nobody,
// and is dropped after five seconds. All sockets together serve at most 1,000 clients at a time, and fewer where the process
// may open few files: half of them are left to others. Ends with the object, within the answer that is being sent.
class HttpServer {
public:
    // Borrows `endpoint`. The threads take over the signal mask of the caller, so block what they are not to handle.
    // Throws an Exception with a message when the address cannot be listened on.
    HttpServer(const ListenAddress& address, const Endpoint& endpoint);

    // The port that is listened on.
    std::uint16_t port() const { return m_port; }

private:
    struct Stop {
        void operator()(MHD_Daemon* daemon) const;
    };
    std::vector<std::unique_ptr<MHD_Daemon, Stop>> m_daemons;
    std::uint16_t m_port = 0;
};

}  // namespace vexo

#endif
