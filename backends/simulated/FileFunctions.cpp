// SPDX-License-Identifier: MIT
// The exported functions of the open files and their handles.
#include "Library.h"
#include "TextField.h"

using namespace xrsim;

namespace {

std::string_view keyOf(const char* name) {
    return textOf(name, XR_NAME_SIZE - 1);
}

void traceName(Line& line, const char* name) {
    if (name == nullptr) {
        line.null("name");
    } else {
        line.text("name", keyOf(name));
    }
}

}  // namespace

std::int16_t XrGetOpenFilesData(std::int32_t h, std::uint32_t* count) {
    constexpr Function kThis = Function::XrGetOpenFilesData;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return library.take(kThis, library.files(), count,
                                [&] { return library.world().files(library.roundFor(Data::Files)); });
        },
        [](Line&) {}, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetOpenFileName(std::int32_t h, std::uint32_t index, std::uint32_t* size, char* name) {
    constexpr Function kThis = Function::XrGetOpenFileName;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, size != nullptr && name != nullptr)) return kBadArgument;
            if (*size != XR_NAME_SIZE) library.check().misuse(kThis, "the size of the name buffer is not 1024");
            if (*size < XR_NAME_SIZE) return kBadArgument;
            Snapshot& files = library.files();
            library.needs(kThis, files);
            const std::optional<Item> file = files.at(index);
            char buffer[XR_NAME_SIZE];
            const std::string_view found = file ? library.world().fileName(*file, buffer) : std::string_view();
            const Mishap mishap = library.befalling(kThis, index, [&] { return std::optional(nameKey(found)); });
            if (mishap.status != kOk) return mishap.status;
            if (!file) return kNoMoreItems;
            putText(name, XR_NAME_SIZE, found);
            // The size that came in is used up: whoever relies on it in the next call is found out.
            *size = static_cast<std::uint32_t>(found.size());
            files.lastServed = file;
            if (mishap.vanishes) files.letVanish(*file);
            return kOk;
        },
        [&](Line& line) {
            line.number("index", index);
            size != nullptr ? line.number("size", *size) : line.null("size");
        },
        [&](Line& line) { line.text("name", textOf(name, XR_NAME_SIZE)).number("size", *size); });
}

std::int16_t XrGetFileInfo2(std::int32_t h, const char* name, XRFILEINFO* info) {
    constexpr Function kThis = Function::XrGetFileInfo2;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, name != nullptr && info != nullptr)) return kBadArgument;
            Snapshot& files = library.files();
            library.needs(kThis, files);
            const Mishap mishap = library.befalling(kThis, std::nullopt, [&] { return std::optional(keyOf(name)); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> file = library.world().findFile(files, keyOf(name));
            if (!file) return kFileGone;
            library.world().fillFile(*file, files.round(), *info);
            if (mishap.vanishes) files.letVanish(*file);
            return kOk;
        },
        [&](Line& line) { traceName(line, name); },
        [&](Line& line) {
            line.number("readLocks", info->readLocks).number("transactionLock", info->transactionLock);
            line.number("readOnlyFlag", info->readOnlyFlag).number("pageSize", info->pageSize);
            line.number("physicalFileSizeKB", info->physicalFileSizeKB);
        });
}

std::int16_t XrFreeOpenFilesData(std::int32_t h) {
    constexpr Function kThis = Function::XrFreeOpenFilesData;
    Library& library = Library::instance();
    return library.call(
        kThis, h, [&] { return library.free(kThis, library.files()); }, [](Line&) {}, [](Line&) {});
}

std::int16_t XrGetFileHandlesData(std::int32_t h, const char* name, std::uint32_t* count) {
    constexpr Function kThis = Function::XrGetFileHandlesData;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, name != nullptr && count != nullptr)) return kBadArgument;
            Snapshot& files = library.files();
            library.needs(kThis, files);
            const Mishap mishap = library.befalling(kThis, std::nullopt, [&] { return std::optional(keyOf(name)); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> file = library.world().findFile(files, keyOf(name));
            if (!file) return kFileGone;
            files.countHandlesOf(*file, keyOf(name));
            *count = mishap.announced(library.world().fileHandles(*file, files.round()));
            if (mishap.vanishes) files.letVanish(*file);
            return kOk;
        },
        [&](Line& line) { traceName(line, name); }, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetFileHandleInfo(std::int32_t h, const char* name, std::uint32_t index, XRFILEHANDLEINFO* info) {
    constexpr Function kThis = Function::XrGetFileHandleInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, name != nullptr && info != nullptr)) return kBadArgument;
            Snapshot& files = library.files();
            library.needs(kThis, files);
            const Mishap mishap = library.befalling(kThis, index, [&] { return std::optional(keyOf(name)); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> file = files.withHandles(keyOf(name));
            if (!file) {
                if (!library.world().findFile(files, keyOf(name))) return kFileGone;
                library.check().misuse(kThis, "the handles of this file were not counted last");
                return kNoMoreItems;
            }
            if (!library.world().fillFileHandle(*file, files.round(), index, *info)) return kNoMoreItems;
            if (mishap.vanishes) files.letVanish(*file);
            return kOk;
        },
        [&](Line& line) {
            traceName(line, name);
            line.number("index", index);
        },
        [&](Line& line) {
            line.number("clientIndex", info->clientIndex).number("openMode", info->openMode);
            line.number("recordLockType", info->recordLockType).number("waitState", info->waitState);
            line.number("transactionState", info->transactionState).text("clientName", textOf(info->clientName));
        });
}
