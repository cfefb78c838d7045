// SPDX-License-Identifier: MIT
// Reads the settings file. Every setting must be present; most values may be empty.
#ifndef VEXO_CONFIG_CONFIGFILEREADER_H
#define VEXO_CONFIG_CONFIGFILEREADER_H

#include <memory>
#include <unordered_map>

#include "config/ConfigData.h"
#include "foundation/LineReader.h"
#include "foundation/Ref.h"
#include "foundation/ResultCode.h"
#include "foundation/String.h"
#include "messages/MessageHelper.h"

namespace vexo {

class ConfigFileReader {
public:
    // Keeps the path; opens nothing yet.
    explicit ConfigFileReader(String path);

    // Reads the whole file. Throws IOException when it is missing, unreadable or fails while being read,
    // ResultException without a text when it cannot be opened for another reason, and ConfigException for a line of
    // more than 1 MiB or the first setting that is missing, lacks a value it needs or holds a NUL byte.
    std::unique_ptr<ConfigData> readConfiguration();

    // The value of `key`, four upper-case letters. Throws ConfigException when the key is absent, when `required` is
    // set and its value is empty, and when the value holds a NUL byte.
    String getValue(const String& key, bool required) const;

    // Whether the value of `key` is anything but "no"; `defaultValue` when it is empty.
    bool getBooleanValue(const String& key, bool defaultValue) const;

private:
    // A value and the line that set it.
    struct Setting {
        String value;
        int lineNumber = 0;
    };

    void readSettings(LineReader& reader);
    void addConfigSetting(StringView setting, int lineNumber);
    void setValues();
    void setRefreshRate();
    void setRefreshlimit();
    void setOutputTypes();
    [[noreturn]] void throwError(ResultCode code) const;
    [[noreturn]] void throwReadError(const String& reason, ResultCode code) const;

    const String m_path;
    std::unordered_map<String, Setting> m_settings;
    std::unique_ptr<ConfigData> m_data;
    const Ref<MessageHelper> m_messages;
};

}  // namespace vexo

#endif
