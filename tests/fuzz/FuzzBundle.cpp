// SPDX-License-Identifier: MIT
// Any bytes as a property file, and any text of it as the format of a message with arguments of both types.
#include <cstdlib>

#include "foundation/Encoding.h"
#include "messages/MessageFormat.h"
#include "messages/StringBundle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vexo;
    const std::string content(reinterpret_cast<const char*>(data), size);
    const auto text = findProperty(content, L"K");
    for (const std::string& format : {narrow(text.value_or(L"")), content}) {
        const std::string formatted = formatMessage(format, {"a text", -5, "%n%s"});
        if (formatted.size() > kMaxMessageBytes) std::abort();
        // What asks for nothing has to come out as it is.
        if (format.find('%') == std::string::npos && format.size() <= kMaxMessageBytes &&
            formatted != format.substr(0, format.find('\0'))) {
            std::abort();
        }
    }
    return 0;
}
