// SPDX-License-Identifier: MIT
#include "util/Utils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <limits>
#include <string>

#include "foundation/Directory.h"
#include "foundation/Encoding.h"
#include "foundation/Piece.h"
#include "status/QRIConfigHelper.h"
#include "status/QRIException.h"
#include "util/NumberFormatException.h"

namespace vexo {
namespace {

constexpr int kNumberOverflow = 7006;  // the engine's status for a number that is too large

// The number that the whole of `text` spells: 0 when it does not spell one, `overflow` when it is too large for the type.
template <typename Number>
Number convertDecimal(StringView text, Number overflow) {
    const std::string digits = narrow(text.substr(text.substr(0, 1) == L"+" ? 1 : 0));
    Number number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (stop != end || (text.substr(0, 2) == L"+-")) return 0;
    return error == std::errc::result_out_of_range ? overflow : error == std::errc() ? number : Number{0};
}

// A conversion gives 0 for anything that is not a number: only the spelling tells a zero.
template <typename Number>
Number refuseFalseZero(StringView text, Number number) {
    if (number == 0 && text != L"0") throw NumberFormatException(L"");
    return number;
}

}  // namespace

std::int32_t Utils::parseInt(StringView text) {
    text = trim(text);
    return refuseFalseZero(text, convertDecimal<std::int32_t>(text, 0));
}

std::int64_t Utils::parseLong(StringView text) {
    text = trim(text);
    return refuseFalseZero(text, convertDecimal<std::int64_t>(text, 0));
}

std::uint32_t Utils::parseUint32(StringView text) {
    text = trim(text);
    const auto number = convertDecimal<std::uint64_t>(text, std::numeric_limits<std::uint64_t>::max());
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        throw QRIException(QRIConfigHelper().createErrorMsg(kNumberOverflow), kNumberOverflow);
    }
    return static_cast<std::uint32_t>(refuseFalseZero(text, number));
}

String Utils::convertTimeInSecs(long seconds) {
    constexpr long kMinute = 60;
    constexpr long kHour = 60 * kMinute;
    constexpr long kDay = 24 * kHour;
    // Established output: the plural starts at two whole days; zero days are singular too.
    const StringView days = seconds > 2 * kDay - 1 ? L" days  " : L" day  ";
    const auto twoDigits = [](long number) { return concat(StringView(L"0", number < 10 ? 1 : 0), number); };
    return concat(seconds / kDay, days, twoDigits(seconds % kDay / kHour), L":", twoDigits(seconds % kHour / kMinute),
                  L":", twoDigits(seconds % kMinute));
}

String Utils::getTime(const char* format) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 100> buffer{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // the callers' patterns are literals
    const std::size_t length = std::strftime(buffer.data(), buffer.size(), format, &local);
#pragma GCC diagnostic pop
    return widen({buffer.data(), length});
}

void Utils::formatEngVerString(String& version) {
    constexpr std::array<std::size_t, 3> kWidths{2, 2, 3};
    std::size_t start = 0;
    for (const std::size_t width : kWidths) {
        const std::size_t length = std::min(version.find(L'.', start), version.size()) - start;
        if (length > 0 && length < width) version.insert(start, width - length, L'0');
        start += std::max(length, length > 0 ? width : 0) + 1;
        if (start > version.size()) break;
    }
}

void Utils::addBackslashChars(String& text, wchar_t c) {
    // Established output: the end is fixed before the text grows, so as many characters at its end as backslashes were
    // inserted are never examined.
    const std::size_t end = text.size();
    for (std::size_t i = 0; i < end; ++i) {
        if (text[i] != c) continue;
        text.insert(i, 1, L'\\');
        ++i;
    }
}

void Utils::removeTabChars(String& text) {
    text.erase(std::remove(text.begin(), text.end(), L'\t'), text.end());
}

ResultCode Utils::createDirs(StringView path) {
    const std::vector<StringView> pieces = split(path, kDirectorySeparator);
    String directory;
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
        if (i > 0 || path.front() == kDirectorySeparator) directory += kDirectorySeparator;
        directory += pieces[i];
        if (directoryExists(directory)) continue;
        if (const ResultCode failed = createDirectory(directory)) return failed;
    }
    return kSuccess;
}

bool Utils::fileExist(StringView path) {
    return pathExists(path);
}

bool Utils::dirExist(StringView path) {
    return directoryExists(path);
}

Ref<List<String>> Utils::convertToStringList(int argc, const char* const* argv) {
    auto list = makeRef<List<String>>();
    for (int i = 0; i < argc; ++i)
        list->add(widen(argv[i]));
    return list;
}

std::unique_ptr<int[]> Utils::convertStringListToIntArray(const List<String>* list) {
    auto numbers = std::make_unique<int[]>(static_cast<std::size_t>(list->size()));
    std::transform(list->begin(), list->end(), numbers.get(), [](const String& text) { return parseInt(text); });
    return numbers;
}

String Utils::convertStringListToString(const List<String>* list) {
    return createDelimitedStr(list, "");
}

String Utils::createDelimitedStr(const List<String>* list, const char* delimiter) {
    String result;
    for (const String& element : *list) {
        if (&element != &*list->begin()) result += widen(delimiter);
        result += element;
    }
    return result;
}

}  // namespace vexo
