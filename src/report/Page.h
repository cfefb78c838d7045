// SPDX-License-Identifier: MIT
// A report as one page: HTML that is also well-formed XML, without scripts and without anything to be fetched.
#ifndef VEXO_REPORT_PAGE_H
#define VEXO_REPORT_PAGE_H

#include <cstddef>
#include <string>

#include "report/ReportData.h"

namespace vexo {

// What a page may have. Its charts become coarser until it does.
inline constexpr std::size_t kMaxPageBytes = 2'000'000;

std::string makePage(ReportData data);

}  // namespace vexo

#endif
