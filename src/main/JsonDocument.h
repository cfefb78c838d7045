// SPDX-License-Identifier: MIT
// The JSON document around everything that is not a report.
#ifndef VEXO_MAIN_JSONDOCUMENT_H
#define VEXO_MAIN_JSONDOCUMENT_H

namespace vexo {

// Keeps track of the JSON document; does nothing in text. (0, 0) makes sure that it is open, (0, 1) hands it to the
// monitor, (1, 2) closes it unless the monitor did.
void displayJSONHeader(bool json, int a, int b);

}  // namespace vexo

#endif
