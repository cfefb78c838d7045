// SPDX-License-Identifier: MIT
// Where the endpoint listens.
#ifndef VEXO_HTTP_LISTENADDRESS_H
#define VEXO_HTTP_LISTENADDRESS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileDescriptor.h"

namespace vexo {

// An address to listen on, as a user writes it: ADDRESS:PORT, [ADDRESS]:PORT for IPv6, or PORT alone for this machine
// only (127.0.0.1 and ::1). `*` is every address of the machine, by IPv4 and IPv6. A name is every address that it has.
class ListenAddress {
public:
    // Throws an Exception with a message for anything else. Port 0 is any free one.
    explicit ListenAddress(std::string_view text);

    // Opens the sockets, one for each address, and listens. Where an address was not given by number, one kind of the two
    // may be missing on this machine. Throws an Exception with a message that names the address.
    std::vector<FileDescriptor> listen() const;

    bool takesAnyPort() const { return m_port == 0; }
    // As the user wrote it.
    const std::string& text() const { return m_text; }

private:
    std::vector<std::string> hosts() const;

    std::string m_text;
    std::string m_host;  // empty for this machine only
    std::uint16_t m_port = 0;
};

// The port of a listening socket.
std::uint16_t portOf(const FileDescriptor& socket);

}  // namespace vexo

#endif
