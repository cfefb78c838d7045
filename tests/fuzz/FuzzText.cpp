// SPDX-License-Identifier: MIT
// Any bytes to wide text and back without loss; escaping, trimming and the numbers on any text.
#include <cstdlib>

#include "foundation/Encoding.h"
#include "foundation/Piece.h"
#include "status/QRIException.h"
#include "util/NumberFormatException.h"
#include "util/Utils.h"

namespace {

using namespace vexo;

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    useEnvironmentEncoding();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const String text = widen(bytes);
    require(narrow(text) == bytes);
    require(narrowUpTo(text, size / 2).size() <= size / 2);

    String escaped = text;
    Utils::addBackslashChars(escaped, L'"');
    escaped.erase(std::remove(escaped.begin(), escaped.end(), L'\\'), escaped.end());
    String plain = text;
    plain.erase(std::remove(plain.begin(), plain.end(), L'\\'), plain.end());
    require(escaped == plain);

    String version = text;
    Utils::formatEngVerString(version);
    require(version.size() <= text.size() + 4);
    Utils::removeTabChars(version);
    require(version.find(L'\t') == String::npos);
    require(equalsIgnoreCase(toUpper(text), text));
    try {
        const std::int64_t number = Utils::parseLong(text);
        require(Utils::parseLong(decimal(number)) == number);
        require(Utils::parseUint32(text) == static_cast<std::uint32_t>(number));
    } catch (const NumberFormatException&) {
    } catch (const QRIException&) {
    }
    return 0;
}
