// SPDX-License-Identifier: MIT
#include "messages/StringBundle.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "Utf8.h"
#include "foundation/Directory.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/LineReader.h"
#include "foundation/Piece.h"

namespace vexo {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// Far more than all messages in any language, yet little memory when the file is a device without an end.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20U;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\f';
}

// Half of a surrogate pair, which is not a character by itself.
bool isSurrogate(std::uint32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

// Takes one character off the front of `text`; a byte that is not UTF-8 becomes a replacement character. Bundles are
// UTF-8 whatever the environment's encoding is.
wchar_t takeCharacter(std::string_view& text) {
    const utf8::Character character = utf8::firstCharacter(text);
    text.remove_prefix(std::max<std::size_t>(character.size, 1));
    return character.size > 0 ? static_cast<wchar_t>(character.code) : kReplacement;
}

// Four hexadecimal digits off the front of `text`.
std::optional<std::uint32_t> takeHex(std::string_view& text) {
    const std::string_view digits = text.substr(0, 4);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + 4) return std::nullopt;
    text.remove_prefix(4);
    return value;
}

// The second half of a surrogate pair, such as "\uDE00", off the front of `text`.
std::optional<std::uint32_t> takeSecondHalf(std::string_view& text) {
    if (text.substr(0, 2) != "\\u") return std::nullopt;
    std::string_view rest = text.substr(2);
    const auto unit = takeHex(rest);
    if (!unit || *unit < 0xDC00 || *unit > 0xDFFF) return std::nullopt;
    text = rest;
    return unit;
}

// The character that an escape stands for; `text` begins after the backslash.
wchar_t takeEscape(std::string_view& text) {
    constexpr std::string_view kLetters = "ntrf";
    constexpr StringView kMeanings = L"\n\t\r\f";
    const std::size_t letter = kLetters.find(text.front());
    if (letter != std::string_view::npos) {
        text.remove_prefix(1);
        return kMeanings[letter];
    }
    std::string_view rest = text.substr(1);
    const auto unit = text.front() == 'u' ? takeHex(rest) : std::nullopt;
    if (!unit) return takeCharacter(text);
    text = rest;
    if (!isSurrogate(*unit)) return static_cast<wchar_t>(*unit);
    const auto second = *unit < 0xDC00 ? takeSecondHalf(text) : std::nullopt;
    return second ? static_cast<wchar_t>(0x10000 + ((*unit - 0xD800) << 10U) + (*second - 0xDC00)) : kReplacement;
}

String unescape(std::string_view text) {
    String result;
    while (!text.empty()) {
        if (text.front() == '\\' && text.size() > 1) {
            text.remove_prefix(1);
            result += takeEscape(text);
        } else {
            result += takeCharacter(text);
        }
    }
    return result;
}

// Whether `written`, as it stands in a file, is `key`. Most keys are plain and compared where they stand.
bool isKey(std::string_view written, StringView key) {
    const bool plain = std::all_of(written.begin(), written.end(), [](char c) { return c > 0 && c != '\\'; });
    if (!plain) return unescape(written) == key;
    return std::equal(written.begin(), written.end(), key.begin(), key.end(),
                      [](char byte, wchar_t c) { return static_cast<wchar_t>(byte) == c; });
}

bool isComment(std::string_view line) {
    return !line.empty() && (line.front() == '#' || line.front() == '!');
}

// Whether a line ends in an odd number of backslashes: the next one continues it.
bool isContinued(std::string_view line) {
    const std::size_t lastOther = line.find_last_not_of('\\');
    return (line.size() - (lastOther == std::string_view::npos ? 0 : lastOther + 1)) % 2 != 0;
}

// Takes one line, as the file has it, off `content`; without leading blanks and the line's end.
std::string_view takeFileLine(std::string_view& content) {
    while (!content.empty() && isBlank(content.front()))
        content.remove_prefix(1);
    std::string_view line = content.substr(0, content.find('\n'));
    line = line.substr(0, line.find('\r'));
    content.remove_prefix(line.size());
    const bool pair = content.substr(0, 2) == "\r\n";
    content.remove_prefix(std::min<std::size_t>(content.size(), pair ? 2 : 1));
    return line;
}

// Takes the next line off `content`, continuation lines joined. Most lines have none and are given as a view of
// `content`; `joined` holds the others.
std::string_view takeLine(std::string_view& content, std::string& joined) {
    joined.clear();
    for (;;) {
        std::string_view line = takeFileLine(content);
        const bool comment = joined.empty() && isComment(line);
        if (comment || !isContinued(line) || content.empty()) {
            if (joined.empty()) return line;
            joined.append(line);
            return joined;
        }
        line.remove_suffix(1);
        joined.append(line);
    }
}

// Splits a line at the first "=", ":" or blank that is not escaped.
void splitProperty(std::string_view line, std::string_view& key, std::string_view& value) {
    std::size_t end = 0;
    while (end < line.size() && line[end] != '=' && line[end] != ':' && !isBlank(line[end])) {
        end += line[end] == '\\' ? 2U : 1U;
    }
    end = std::min(end, line.size());
    key = line.substr(0, end);
    value = line.substr(end);
    const auto dropBlanks = [&value] {
        while (!value.empty() && isBlank(value.front()))
            value.remove_prefix(1);
    };
    dropBlanks();
    if (!value.empty() && (value.front() == '=' || value.front() == ':')) value.remove_prefix(1);
    dropBlanks();
}

// The language part of a locale's name such as "de_CH.UTF-8@euro"; empty for C, POSIX and anything that is not such a name.
std::string environmentLanguage() {
    std::string_view name;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (!value || !*value) continue;
        name = value;
        break;
    }
    name = name.substr(0, name.find_first_of(".@"));
    const bool safe = std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
    return safe && name != "C" && name != "POSIX" ? std::string(name) : std::string();
}

std::vector<String> bundleDirectories() {
    std::vector<String> directories;
    if (const char* path = std::getenv("VEXO_BUNDLE_PATH")) {
        const String list = widen(path);
        for (const StringView directory : split(list, L':'))
            directories.emplace_back(directory);
    }
    directories.push_back(concat(programDirectory(), L"/../share/vexo/bundles"));
    return directories;
}

}  // namespace

std::optional<String> findProperty(std::string_view content, StringView key) {
    content = utf8::withoutByteOrderMark(content);
    std::optional<String> found;
    std::string joined;
    while (!content.empty()) {
        const std::string_view line = takeLine(content, joined);
        if (line.empty() || (joined.empty() && isComment(line))) continue;
        std::string_view lineKey;
        std::string_view value;
        splitProperty(line, lineKey, value);
        if (isKey(lineKey, key)) found = unescape(value);
    }
    return found;
}

std::optional<StringBundle> StringBundle::open(StringView name) {
    const std::string language = environmentLanguage();
    std::vector<std::string> suffixes;
    if (!language.empty()) suffixes.push_back("_" + language);
    const std::size_t country = language.find('_');
    if (country != std::string::npos) suffixes.push_back("_" + language.substr(0, country));
    suffixes.emplace_back();

    const std::vector<String> directories = bundleDirectories();
    StringBundle bundle;
    for (const std::string& suffix : suffixes) {
        for (const String& directory : directories) {
            try {
                const String path = concat(directory, L"/", name, widen(suffix), L".properties");
                bundle.m_contents.push_back(readWholeFile(path, kMaxFileBytes));
            } catch (const Exception&) {
                // Missing or unreadable: the next file may serve.
                continue;
            }
        }
    }
    if (bundle.m_contents.empty()) return std::nullopt;
    return bundle;
}

std::optional<String> StringBundle::find(StringView key) const {
    for (const std::string& content : m_contents) {
        if (auto text = findProperty(content, key)) return text;
    }
    return std::nullopt;
}

}  // namespace vexo
