// SPDX-License-Identifier: MIT
// What the tests share.
#ifndef VEXO_TESTS_UNIT_SUPPORT_H
#define VEXO_TESTS_UNIT_SUPPORT_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <tuple>
#include <typeinfo>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/FileDescriptor.h"
#include "foundation/Piece.h"

using namespace vexo;

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path) << bytes;
}

inline std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Whether permissions hold for the superuser too.
inline void keepToPermissions(bool keep = true) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
    ::syscall(SYS_capget, &header, sets);
    for (auto& set : sets)
        set.effective = keep ? 0 : set.permitted;
    ASSERT_EQ(::syscall(SYS_capset, &header, sets), 0);
}

// A pipe that does not block and keeps writes of up to 4 KB apart.
struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_DIRECT | O_NONBLOCK), 0);
        in = FileDescriptor(ends[0]);
        out = FileDescriptor(ends[1]);
    }
    // What has arrived, each write behind a "|".
    std::string arrived() const {
        std::string all;
        char some[4096];
        for (ssize_t n; (n = ::read(in.get(), some, sizeof some)) > 0;)
            all.append("|").append(some, std::size_t(n));
        return all;
    }
    FileDescriptor in;
    FileDescriptor out;
};

// What `action` throws: its type and its message; without one, what failed and the system's reason, or the result code.
template <typename Action>
String failure(Action action) {
    try {
        action();
        return L"nothing";
    } catch (const StreamException& error) {
        return concat(L"StreamException: ", error.name(), L": ", systemReason(error.errorNumber()));
    } catch (const Exception& error) {
        const String type = widen(typeid(error).name());  // such as N4vexo11IOExceptionE
        const auto name = type.find_last_of(L"0123456789") + 1;
        const String text = error.message().empty() ? decimal(error.code()) : error.message();
        return concat(type.substr(name, type.size() - name - 1), L": ", text);
    }
}

#endif
