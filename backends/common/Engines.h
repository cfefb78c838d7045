// SPDX-License-Identifier: MIT
// The handles that a library has given out, and what a library supplies to the exported calls.
#ifndef VEXO_COMMON_ENGINES_H
#define VEXO_COMMON_ENGINES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Snapshots.h"
#include "StatusError.h"
#include "xradmin.h"

namespace xr {

// The largest value seen so far, for what the server keeps no peak of.
class Peak {
public:
    std::uint64_t raise(std::uint64_t current) { return m_value = current > m_value ? current : m_value; }

private:
    std::uint64_t m_value = 0;
};

// What engine it is: a version, and the server's own wording of it.
struct Identity {
    XRKESDVERSION version{};
    std::string text;
};

// One handle of the interface: a server, and the snapshots taken of it. Every operation throws StatusError.
class EngineHandle {
public:
    EngineHandle() = default;
    virtual ~EngineHandle() = default;
    EngineHandle(const EngineHandle&) = delete;
    EngineHandle& operator=(const EngineHandle&) = delete;

    // Connects, unless that is done.
    virtual void open() = 0;

    virtual Identity identity() = 0;
    virtual std::unique_ptr<FileSnapshot> readFiles() = 0;
    virtual std::unique_ptr<SessionSnapshot> readSessions() = 0;
    virtual std::vector<XRSQLCONNINFO> readConnections() = 0;
    virtual XRKESDUSAGE readUsage() = 0;
    virtual XRKESDCOMMSTAT readCommunication() = 0;

    // Throws if the connection was lost, and starts the time that a call may take.
    void beginCall();

    // Closes the connection for good: every later use fails with this status.
    void abandon(std::int16_t status);

    std::unique_ptr<FileSnapshot> fileSnapshot;
    std::unique_ptr<SessionSnapshot> sessionSnapshot;
    std::vector<XRSQLCONNINFO> connectionSnapshot;

protected:
    void checkLost() const;

private:
    virtual void startTime() = 0;
    virtual void close() = 0;

    std::int16_t m_lost = XR_OK;
};

// The same over one connection, of which a library has a class of its own, with an operation beginCall(). The connection
// goes after the members of the derived class, so its destructor uses none of them.
template <typename Link>
class ConnectedEngine : public EngineHandle {
public:
    void open() override { connection(); }

    // The connection, made at the first call. Throws StatusError, and after a loss always the same one.
    Link& connection() {
        checkLost();
        if (!m_connection) connect();
        return *m_connection;
    }

private:
    // Makes the connection.
    virtual std::unique_ptr<Link> makeConnection() = 0;

    // Sets the connection up, and reads what every call has to know of the server.
    virtual void prepare() = 0;

    void connect() {
        m_connection = makeConnection();
        try {
            prepare();
        } catch (...) {
            // Half of what there is to know would be taken for all of it.
            m_connection.reset();
            throw;
        }
    }

    void startTime() override {
        if (m_connection) m_connection->beginCall();
    }
    void close() override { m_connection.reset(); }

    std::unique_ptr<Link> m_connection;
};

// What a library supplies.
struct Backend {
    std::int16_t outOfOrder;  // statuses
    std::int16_t outOfMemory;
    std::int16_t otherError;
    bool (*startClient)();  // starts and stops the client library
    void (*stopClient)();
    std::unique_ptr<EngineHandle> (*makeEngine)(std::string server, std::string user, std::string password);
};
const Backend& backend();

// Stopping closes every connection.
void startLibrary();
void stopLibrary();
bool isStarted() noexcept;

// Gives a connected engine its handle.
std::int32_t keepEngine(std::unique_ptr<EngineHandle> engine);

// The engine of a handle. That of XR_LOCAL_ENGINE comes into being here. Throws StatusError on an unknown handle and
// before the library is started.
EngineHandle& engineOf(std::int32_t handle);

// The same, null instead of throwing or creating.
EngineHandle* findEngine(std::int32_t handle) noexcept;

void dropEngine(std::int32_t handle) noexcept;

}  // namespace xr

#endif
