// SPDX-License-Identifier: MIT
#include "CallerCheck.h"

namespace xrsim {

void CallerCheck::calledFrom(Function function, std::thread::id thread) {
    if (!m_isStarted || thread == m_thread) return;
    misuse(function, "called from another thread than XrStart");
}

Status CallerCheck::start(std::thread::id thread) {
    if (m_isStarted) {
        misuse(Function::XrStart, "the library is started already");
        return kOutOfOrder;
    }
    *this = CallerCheck(*m_trace);
    m_isStarted = true;
    m_thread = thread;
    return kOk;
}

Status CallerCheck::stop() {
    if (!m_isStarted) {
        misuse(Function::XrStop, m_wasStopped ? "the library is stopped already" : "XrStart was not called");
        return kOutOfOrder;
    }
    if (m_handle != kNone) misuse(Function::XrStop, "the connection is still open");
    m_isStarted = false;
    m_wasStopped = true;
    m_handle = kNone;
    return kOk;
}

Status CallerCheck::connecting() {
    if (!m_isStarted) {
        misuse(Function::XrConnectServer, "the library is not started");
        return kOutOfOrder;
    }
    if (m_handle != kNone) {
        misuse(Function::XrConnectServer, "a connection is open already");
        return kOutOfOrder;
    }
    return kOk;
}

void CallerCheck::connected(std::int32_t h) {
    m_handle = h;
    m_wasRefused = false;
}

Status CallerCheck::disconnecting(std::int32_t h) {
    // After a refused XrConnectServer one XrDisconnect is allowed, with any handle, even after XrStop.
    if (m_wasRefused && m_handle == kNone) {
        m_wasRefused = false;
        return kOk;
    }
    if (!m_isStarted) {
        misuse(Function::XrDisconnect, "the library is not started");
        return kOutOfOrder;
    }
    if (h == XR_LOCAL_ENGINE) {
        if (m_localIsReleased) misuse(Function::XrDisconnect, "the local engine is disconnected already");
        const bool twice = m_localIsReleased;
        m_localIsReleased = true;
        return twice ? kNotConnected : kOk;
    }
    if (h != m_handle || m_handle == kNone) {
        misuse(Function::XrDisconnect, "no connection has this handle");
        return kNotConnected;
    }
    m_handle = kNone;
    return kOk;
}

Status CallerCheck::handle(Function function, std::int32_t h) {
    if (!m_isStarted) {
        misuse(function, "the library is not started");
        return kOutOfOrder;
    }
    if (h == XR_LOCAL_ENGINE) {
        m_localIsReleased = false;
        return kOk;
    }
    if (h == m_handle && m_handle != kNone) return kOk;
    misuse(function, "no connection has this handle");
    return kNotConnected;
}

}  // namespace xrsim
