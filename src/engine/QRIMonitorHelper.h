// SPDX-License-Identifier: MIT
// The one way to the engine: connects through its administration library and fills the monitoring records.
#ifndef VEXO_ENGINE_QRIMONITORHELPER_H
#define VEXO_ENGINE_QRIMONITORHELPER_H

#include <cstdint>
#include <string>

#include "engine/NamePool.h"
#include "engine/RawText.h"
#include "engine/Records.h"
#include "engine/XrApi.h"
#include "foundation/List.h"
#include "foundation/Ref.h"
#include "foundation/String.h"
#include "messages/MessageHelper.h"

namespace vexo {

// Which handles an enumeration reads, and which items it keeps.
enum class Handles {
    kNone,         // no handles; every item is kept
    kOnlyHolders,  // items without handles are left out
    kAll,          // every item is kept
};

// Every operation throws QRIException for a status that is neither success nor an expected end or gap. For use by one
// thread.
class QRIMonitorHelper {
public:
    // Calls through `api`, the functions of a loaded library.
    explicit QRIMonitorHelper(const XrApi& api);
    // Neither disconnects nor stops the library: whoever connected calls disconnect().
    virtual ~QRIMonitorHelper() = default;
    QRIMonitorHelper(const QRIMonitorHelper&) = delete;
    QRIMonitorHelper& operator=(const QRIMonitorHelper&) = delete;

    // Starts the library and connects to a named engine; to that of this machine when all three texts are empty.
    // A text of more than 255 bytes is refused with an Exception.
    void connect(const String& server, const String& userName, const String& password);
    // Ends the connection and stops the library, each once however often it is called, also after a failed connect().
    void disconnect();

    // The engine's type. Types 6 and 7 limit sessions and data, the others limit users.
    int getEngineType();
    // The engine's version, such as "13.10.028".
    String getEngineVersion();
    // The status in decimal, ": " and its text.
    String createErrorMsg(int status) const;

    // The open files. With handles, only files that have at least one.
    Ref<List<FileInfo>> getActiveFileInfoList(bool withHandles) { return collectFiles(holders(withHandles)); }
    Ref<List<FileInfo>> collectFiles(Handles handles);
    // The handles on one file; none when it is no longer open. Part of the published operations, as is
    // getSessionFileHandleInfoList(): the reports get the handles with their file or session.
    Ref<List<FileHandleInfo>> getFileHandleInfoList(const String& fileName);
    // The sessions. With handles, only sessions that have at least one.
    Ref<List<SessionInfo>> getActiveSessionInfoList(bool withHandles) { return collectSessions(holders(withHandles)); }
    Ref<List<SessionInfo>> collectSessions(Handles handles);
    // The handles of one session; none when its client has gone. `client` is as the engine gave it.
    Ref<List<SessionHandleInfo>> getSessionFileHandleInfoList(const XRCLIENTID* client);
    Ref<List<ConnInfo>> getConnInfoList();
    Ref<UsageStats> getUsageStats();
    Ref<CommStats> getCommStats();

    // How many items have gone away while they were read, since the adapter was made: files and clients that were left
    // out, and those that were left without handles.
    std::uint64_t vanished() const { return m_vanished; }

private:
    static Handles holders(bool withHandles) { return withHandles ? Handles::kOnlyHolders : Handles::kNone; }
    // Throws for any status but success.
    void check(int status) const {
        if (status != XR_OK) raise(status);
    }
    [[noreturn]] void raise(int status) const;
    Ref<List<FileHandleInfo>> collectFileHandles(const char* fileName, NamePool& clients);
    Ref<List<SessionHandleInfo>> collectSessionHandles(const XRCLIENTID* client, NamePool& files);

    const XrApi m_api;
    std::int32_t m_handle;
    bool m_stopped = false;
    std::uint64_t m_vanished = 0;
    const Ref<MessageHelper> m_messages;
};

// Frees a snapshot of the engine library on every way out. Made only after the snapshot was taken.
class Snapshot {
public:
    using Free = EngineFunction<std::int16_t (*)(std::int32_t)>;

    // `free` is borrowed.
    Snapshot(const Free& free, std::int32_t handle) : m_free(free), m_handle(handle) {}
    ~Snapshot() { m_free(m_handle); }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

private:
    const Free& m_free;
    const std::int32_t m_handle;
};

}  // namespace vexo

#endif
