// SPDX-License-Identifier: MIT
// The exported functions of the open files and their handles.
#include "ItemCalls.h"

using namespace xrsim;

namespace {

void traceName(Line& line, const char* name) {
    const NamedFile file(name);
    if (file.isGiven()) {
        line.text("name", file.name());
    } else {
        line.null("name");
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
                                [&] { return library.world().files(library.roundFor(Data::kFiles)); });
        },
        [](Line&) {}, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetOpenFileName(std::int32_t h, std::uint32_t index, std::uint32_t* size, char* name) {
    constexpr Function kThis = Function::XrGetOpenFileName;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, size && name)) return kBadArgument;
            if (*size != XR_NAME_SIZE) library.check().misuse(kThis, "the size of the name buffer is not 1024");
            if (*size < XR_NAME_SIZE) return kBadArgument;
            char buffer[XR_NAME_SIZE];
            std::string_view found;
            return enumerate(
                library, kThis, library.files(), index,
                [&](Item file) {
                    found = library.world().fileName(file, buffer);
                    return nameKey(found);
                },
                [&](Item) {
                    putText(name, XR_NAME_SIZE, found);
                    // A caller that takes this size for the buffer's in its next call is noted.
                    *size = static_cast<std::uint32_t>(found.size());
                });
        },
        [&](Line& line) {
            line.number("index", index);
            size ? line.number("size", *size) : line.null("size");
        },
        [&](Line& line) { line.text("name", textOf(name, XR_NAME_SIZE)).number("size", *size); });
}

std::int16_t XrGetFileInfo2(std::int32_t h, const char* name, XRFILEINFO* info) {
    constexpr Function kThis = Function::XrGetFileInfo2;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return callAbout(library, kThis, NamedFile(name), std::nullopt, info,
                             [&](const Snapshot& files, Item file, const Effect&) {
                                 library.world().fillFile(file, files.round(), *info);
                                 return true;
                             });
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
        [&] {
            const NamedFile named(name);
            return callAbout(library, kThis, named, std::nullopt, count,
                             [&](Snapshot& files, Item file, const Effect& effect) {
                                 files.countHandlesOf(file, named.key());
                                 *count = effect.announced(library.world().fileHandles(file, files.round()));
                                 return true;
                             });
        },
        [&](Line& line) { traceName(line, name); }, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetFileHandleInfo(std::int32_t h, const char* name, std::uint32_t index, XRFILEHANDLEINFO* info) {
    constexpr Function kThis = Function::XrGetFileHandleInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return callAbout(library, kThis, NamedFile(name), index, info,
                             [&](const Snapshot& files, Item file, const Effect&) {
                                 return library.world().fillFileHandle(file, files.round(), index, *info);
                             });
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
