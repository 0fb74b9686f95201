#include "serve/Token.h"

#include <gtest/gtest.h>

#include <fstream>

#include "fixtures/ScratchFolder.h"

namespace {

namespace fs = std::filesystem;

TEST(Token, MadeOnceKeptAndMadeAnew) {
    const CScratchFolder folder;
    const CStateFolder state(folder.Path() / "deeper" / "state");
    const WebToken first = LoadWebToken(state, false);
    EXPECT_TRUE(first.fresh);
    EXPECT_EQ(first.text.size(), 64u);
#ifndef _WIN32
    EXPECT_EQ(fs::status(state.TokenFile()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(state.Path()).permissions(), fs::perms::owner_all);
#endif
    const WebToken again = LoadWebToken(state, false);
    EXPECT_FALSE(again.fresh);
    EXPECT_EQ(again.text, first.text);
    const WebToken other = LoadWebToken(state, true);
    EXPECT_TRUE(other.fresh);
    EXPECT_NE(other.text, first.text);
    // A damaged one could be guessed: it is replaced.
    std::ofstream(state.TokenFile(), std::ios::trunc) << "abc\n";
    EXPECT_TRUE(LoadWebToken(state, false).fresh);
}

TEST(StateFolder, OneFilePerRig) {
    const CStateFolder state("s");
    EXPECT_EQ(state.SentFile({"rig", 8010}).filename().string(), "sent-rig_8010.json");
    EXPECT_EQ(state.SentFile({"fe80::1", 1}).filename().string(), "sent-_fe80__1__1.json");
}

TEST(StateFolder, WhatCannotBeWrittenIsSaid) {
    const CScratchFolder folder;
    std::ofstream(folder.Path() / "file") << "x";
    const CStateFolder state(folder.Path() / "file" / "below");
    EXPECT_THROW(state.Write(state.TokenFile(), "x"), std::runtime_error);
    EXPECT_EQ(ReadWholeFile(folder.Path() / "none"), std::nullopt);
    EXPECT_EQ(ReadWholeFile(folder.Path() / "file", 0), std::nullopt);
    EXPECT_EQ(ReadWholeFile(folder.Path() / "file", 1), "x");
}

}  // namespace
