// SPDX-License-Identifier: MIT
// The words and numbers of a report in the user's language, as HTML that is also well-formed XML.
#ifndef VEXO_REPORT_REPORTTEXT_H
#define VEXO_REPORT_REPORTTEXT_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace vexo {

// What a number counts, which tells how it is written.
enum class Quantity : std::uint8_t {
    kCount,
    kBytes,
    kPerSecond,
};

// `text` (UTF-8) between tags and inside of attributes. What XML cannot hold becomes "\u{fffe}".
std::string escaped(std::string_view text);
// A text of the engine, made safe; its own direction does not reach what stands beside it.
std::string nameHtml(std::string_view bytes);

// Everything that it gives is HTML in UTF-8, whatever the encoding of the environment. Times are local ones.
class ReportText {
public:
    ReportText();

    // The text under "REPORT_" + `key`, escaped, with its "%s" or "%1$s" replaced by the arguments, which are HTML.
    std::string text(std::string_view key, std::initializer_list<std::string_view> arguments = {}) const;
    // The text under `key` + "_ONE" or "_MANY"; its first argument is the number.
    std::string counted(std::string_view key, std::uint64_t count,
                        std::initializer_list<std::string_view> more = {}) const;

    // With the digits in groups, as 8,640.
    std::string number(std::uint64_t value) const;
    // With so many digits as say something, as 0.25, 17.3, 8,640.
    std::string number(double value) const;
    // A quantity with its unit, as 20 MiB.
    std::string amount(Quantity quantity, double value) const;
    std::string percent(double share) const;
    // In two units, as 4 min 10 s; below ten seconds with tenths.
    std::string duration(std::uint64_t milliseconds) const;
    // The date, the time and the zone.
    std::string instant(std::int64_t epochMs) const;
    // From one instant to another; the date is not repeated. One instant where both are the same second.
    std::string range(std::int64_t startMs, std::int64_t endMs) const;

private:
    std::string plain(std::string_view key) const;

    std::string m_group;    // between groups of three digits
    std::string m_decimal;  // before the fraction
};

}  // namespace vexo

#endif
