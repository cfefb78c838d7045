// SPDX-License-Identifier: MIT
#include "engine/QRIMonitorHelper.h"

#include "foundation/Exception.h"
#include "foundation/Piece.h"
#include "status/QRIException.h"
#include "status/StatusMessage.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr std::int32_t kNotConnected = -2;
constexpr std::size_t kMaxCredentialBytes = 255;  // the library takes them in buffers of 256 bytes

// The bytes of a setting that the library takes. A longer one is refused: cut short, it would mean something else.
std::string credential(const char* setting, const String& value) {
    std::string bytes = narrow(value);
    if (bytes.size() > kMaxCredentialBytes) {
        throw Exception(MessageHelper("VEXO", "VEXO_")
                            .getResStr("ERR_VALUE_TOO_LONG", setting, static_cast<int>(kMaxCredentialBytes)));
    }
    return bytes;
}

}  // namespace

QRIMonitorHelper::QRIMonitorHelper(const XrApi& api)
    : m_api(api), m_handle(kNotConnected), m_messages(makeRef<MessageHelper>("XRMSG", "LK_MSG_P_E_")) {
}

void QRIMonitorHelper::connect(const String& server, const String& userName, const String& password) {
    m_api.XrStart(nullptr);
    if (server.empty() && userName.empty() && password.empty()) {
        m_handle = XR_LOCAL_ENGINE;
        return;
    }
    const std::string serverBytes = credential("SERV", server);
    const std::string userBytes = credential("USER", userName);
    const std::string passwordBytes = credential("PASS", password);
    const int status = m_api.XrConnectServer(serverBytes.c_str(), userBytes.c_str(), passwordBytes.c_str(), &m_handle);
    if (status == XR_OK) return;
    m_stopped = true;
    m_api.XrStop(nullptr);
    raise(status);
}

void QRIMonitorHelper::disconnect() {
    if (m_handle != kNotConnected) {
        m_api.XrDisconnect(m_handle);
        m_handle = kNotConnected;
    }
    if (m_stopped) return;
    m_api.XrStop(nullptr);
    m_stopped = true;
}

int QRIMonitorHelper::getEngineType() {
    RawArea<char[XR_ENGINE_TEXT_SIZE]> text;
    std::uint32_t unused[3] = {};
    std::uint32_t engineType = 0;
    check(m_api.XrGetEngineInformation(m_handle, text.record, &unused[0], &unused[1], &unused[2], &engineType));
    return static_cast<int>(engineType);
}

String QRIMonitorHelper::getEngineVersion() {
    RawArea<XRKESDVERSION> area;
    check(m_api.XrGetKesdVersion(m_handle, &area.record));
    const XRKESDVERSION& raw = area.record;
    String version = concat(raw.majorVersion, L".", raw.minorVersion, L".", raw.thirdVersion);
    Utils::formatEngVerString(version);
    return version;
}

String QRIMonitorHelper::createErrorMsg(int status) const {
    return statusMessage(*m_messages, status);
}

void QRIMonitorHelper::raise(int status) const {
    throw QRIException(createErrorMsg(status), status);
}

}  // namespace vexo
