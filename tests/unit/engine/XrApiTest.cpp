// SPDX-License-Identifier: MIT
#include "engine/XrApi.h"

#include "Support.h"

TEST(LoadEngineLibrary, NamesTheFunctionsThatALibraryLacks) {
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_PARTIAL_LIBRARY, 1);
    const String text = failure([] { loadEngineLibrary(); });
    const String start = concat(L"Exception: ", widen(VEXO_PARTIAL_LIBRARY), L" lacks XrConnectServer, XrDisconnect, ");
    EXPECT_EQ(text.substr(0, start.size()), start);
    EXPECT_EQ(text.find(L"XrStart") + text.find(L"XrStop"), 2 * String::npos) << text;
}
