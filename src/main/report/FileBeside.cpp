// SPDX-License-Identifier: MIT
#include "main/report/FileBeside.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace vexo {
namespace {

// What a symbolic link leads to keeps its place.
std::string resolved(const std::string& path) {
    std::error_code error;
    const std::string target = std::filesystem::canonical(path, error).string();
    return error ? path : target;
}

bool isWrittenItself(const std::string& path) {
    struct stat file {};
    return path == "-" || (::stat(path.c_str(), &file) == 0 && !S_ISREG(file.st_mode) && !S_ISDIR(file.st_mode));
}

std::string withoutSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// What is as long as a name can be loses its end.
std::string nameBeside(const std::string& target) {
    const std::string end = ".new-" + std::to_string(::getpid());
    const std::size_t nameStart = target.rfind('/') + 1;  // 0 without a directory
    return target.substr(0, nameStart) + target.substr(nameStart, NAME_MAX - end.size()) + end;
}

}  // namespace

FileBeside::FileBeside(const std::string& target) : m_target(target), m_path(target) {
    m_isFinished = isWrittenItself(target);
    if (m_isFinished) return;
    m_target = resolved(withoutSlashes(target));
    m_path = nameBeside(m_target);
}

FileBeside::~FileBeside() {
    if (m_isFinished) return;
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void FileBeside::finish() {
    if (m_isFinished) return;
    if (std::rename(m_path.c_str(), m_target.c_str()) != 0) throw StreamException(widen(m_target), errno);
    m_isFinished = true;
}

}  // namespace vexo
