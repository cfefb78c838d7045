// SPDX-License-Identifier: MIT
#include "http/HttpServer.h"

#include <fcntl.h>
#include <microhttpd.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <string>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {
namespace {

constexpr unsigned int kMostClients = 1000;
constexpr unsigned int kTimeoutSeconds = 5;
constexpr std::size_t kBytesPerClient = 16384;  // for its request; what is longer is refused

struct DestroyResponse {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, DestroyResponse>;

Response toResponse(const HttpAnswer& answer) {
    const std::string& body = answer.body;
    // The buffer is copied, and not const for the sake of the other modes.
    Response response(MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()),  // NOLINT
                                                      MHD_RESPMEM_MUST_COPY));
    if (!response) return response;
    MHD_add_response_header(response.get(), "Content-Type", answer.contentType.data());
    MHD_add_response_header(response.get(), "Cache-Control", "no-store");
    MHD_add_response_header(response.get(), "X-Content-Type-Options", "nosniff");
    MHD_add_response_header(response.get(), "Content-Security-Policy", "default-src 'none'");
    if (answer.status == MHD_HTTP_METHOD_NOT_ALLOWED) MHD_add_response_header(response.get(), "Allow", "GET, HEAD");
    return response;
}

// A target may name the server as well, as proxies write it: http://HOST:PORT/PATH.
std::string_view pathOf(std::string_view target) {
    constexpr std::string_view kScheme = "http://";
    if (target.substr(0, kScheme.size()) != kScheme) return target;
    const auto slash = target.find('/', kScheme.size());
    return slash != std::string_view::npos ? target.substr(slash) : "/";
}

// Answers as soon as the request's header is read, and so ends the connection behind the answer: nobody's body is waited
// for, and a client that comes every few seconds gains nothing by staying. MHD_NO ends it at once.
MHD_Result handle(void* endpoint, MHD_Connection* connection, const char* url, const char* method,
                  const char* /*version*/, const char* /*body*/, std::size_t* /*bodySize*/, void** /*state*/) {
    try {
        const char* const accept = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Accept");
        const HttpAnswer answer =
            static_cast<const Endpoint*>(endpoint)->answer({method, pathOf(url), accept ? accept : std::string_view()});
        const Response response = toResponse(answer);
        return response ? MHD_queue_response(connection, answer.status, response.get()) : MHD_NO;
    } catch (const std::exception&) {
        return MHD_NO;  // out of memory
    }
}

unsigned int mostClients(std::size_t sockets) {
    rlimit files{};
    const rlim_t all = ::getrlimit(RLIMIT_NOFILE, &files) == 0 ? files.rlim_cur / 2 : kMostClients;
    return std::max(static_cast<unsigned int>(std::min<rlim_t>(all, kMostClients) / sockets), 1U);
}

// Null where the system refuses; errno tells why.
MHD_Daemon* startDaemon(const FileDescriptor& socket, const Endpoint& endpoint, unsigned int clients) {
    // The daemon closes the socket that it gets, but not whenever it fails to start.
    const int own = ::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0);
    if (own < 0) return nullptr;                              // without a socket the daemon would open one of its own
    auto* const borrowed = const_cast<Endpoint*>(&endpoint);  // NOLINT: handle() takes it back as const
    return MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD | MHD_USE_ITC, 0, nullptr, nullptr, handle, borrowed,
                            MHD_OPTION_LISTEN_SOCKET, own, MHD_OPTION_CONNECTION_LIMIT, clients,
                            MHD_OPTION_CONNECTION_TIMEOUT, kTimeoutSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
                            kBytesPerClient, MHD_OPTION_END);
}

}  // namespace

void HttpServer::Stop::operator()(MHD_Daemon* daemon) const {
    MHD_stop_daemon(daemon);
}

HttpServer::HttpServer(const ListenAddress& address, const Endpoint& endpoint) {
    const std::vector<FileDescriptor> sockets = address.listen();
    m_port = portOf(sockets.front());
    for (const FileDescriptor& socket : sockets) {
        m_daemons.emplace_back(startDaemon(socket, endpoint, mostClients(sockets.size())));
        if (m_daemons.back()) continue;
        const std::string reason = narrow(systemReason(errno));
        throw Exception(
            MessageHelper("AGENT", "AGENT_").getResStr("ERR_LISTEN", address.text().c_str(), reason.c_str()));
    }
}

}  // namespace vexo
