// SPDX-License-Identifier: MIT
// The monitor's locale and that of the process, which the engine library may change with setlocale().
#ifndef VEXO_FOUNDATION_LOCALE_H
#define VEXO_FOUNDATION_LOCALE_H

#include <clocale>

namespace vexo {

// Lets the calling thread, and the NamedThreads that it starts, keep the locale that the process has now. Stays without
// effect when there is no memory for it.
void keepLocale();

// The calling thread sees the locale of the process for as long as this lives, as code of others expects it.
class ProcessLocale {
public:
    ProcessLocale() : m_before(::uselocale(LC_GLOBAL_LOCALE)) {}
    ~ProcessLocale() { ::uselocale(m_before); }
    ProcessLocale(const ProcessLocale&) = delete;
    ProcessLocale& operator=(const ProcessLocale&) = delete;

private:
    const locale_t m_before;
};

}  // namespace vexo

#endif
