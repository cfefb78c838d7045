// SPDX-License-Identifier: MIT
// A failure, as the status that the interface returns for it.
#ifndef VEXO_COMMON_STATUSERROR_H
#define VEXO_COMMON_STATUSERROR_H

#include <cstdint>
#include <exception>

namespace xr {

class StatusError : public std::exception {
public:
    explicit StatusError(std::int16_t status, bool connectionLost = false)
        : m_status(status), m_connectionLost(connectionLost) {}
    const char* what() const noexcept override { return "status of the administration interface"; }
    std::int16_t status() const { return m_status; }

    // Whether the connection is of no use any more.
    bool connectionLost() const { return m_connectionLost; }

private:
    std::int16_t m_status;
    bool m_connectionLost;
};

}  // namespace xr

#endif
