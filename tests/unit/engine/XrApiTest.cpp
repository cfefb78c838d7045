// SPDX-License-Identifier: MIT
#include "engine/XrApi.h"

#include <dlfcn.h>

#include "Support.h"

TEST(LoadEngineLibrary, NamesTheFunctionsThatALibraryLacks) {
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_PARTIAL_LIBRARY, 1);
    const String text = failure([] { loadEngineLibrary(); });
    const String start = concat(L"Exception: ", widen(VEXO_PARTIAL_LIBRARY), L" lacks XrConnectServer, XrDisconnect, ");
    EXPECT_EQ(text.substr(0, start.size()), start);
    EXPECT_EQ(text.find(L"XrStart") + text.find(L"XrStop"), 2 * String::npos) << text;
}

TEST(LoadEngineLibrary, NeedsAllThatTheLibraryUsesAndHidesItFromOthers) {
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_UNBOUND_LIBRARY, 1);
    EXPECT_NE(failure([] { loadEngineLibrary(); }).find(L"undefined symbol: nowhere"), String::npos);
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_PARTIAL_LIBRARY, 1);
    EXPECT_NE(failure([] { loadEngineLibrary(); }), L"nothing");
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "XrStart"), nullptr);
}
