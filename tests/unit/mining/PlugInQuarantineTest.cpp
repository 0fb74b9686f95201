#include "mining/PlugInQuarantine.h"

#include <gtest/gtest.h>

namespace {

const PlugInFile kBad{
    "B\xC3\xA4"
    "d.dll",
    4096, 133'000'000'000'000'000};

// What a start leaves behind that does not come to the end of listing the library.
std::string CrashWhileListing(const std::string& state, const PlugInFile& file) {
    CPlugInQuarantine quarantine(state);
    quarantine.Begin(file);
    return quarantine.State();
}

TEST(PlugInQuarantineTest, TwoCrashesInARowLeaveALibraryOutUntilItChanges) {
    std::string state = CrashWhileListing("", kBad);
    EXPECT_TRUE(CPlugInQuarantine(state).MayList(kBad)) << "once may have been a power cut";
    state = CrashWhileListing(state, kBad);
    const CPlugInQuarantine quarantine(state);
    EXPECT_FALSE(quarantine.MayList(kBad));
    EXPECT_TRUE(quarantine.MayList({"Other.dll", kBad.size, kBad.lastWrite}));
    const PlugInFile larger{kBad.name, kBad.size + 1, kBad.lastWrite};
    EXPECT_TRUE(quarantine.MayList(larger));
    EXPECT_TRUE(quarantine.MayList({kBad.name, kBad.size, kBad.lastWrite + 1}));
    EXPECT_TRUE(CPlugInQuarantine("").MayList(kBad)) << "the state file was deleted";

    // The changed file counts from one again, and the note of its predecessor is gone.
    state = CrashWhileListing(state, larger);
    EXPECT_TRUE(CPlugInQuarantine(state).MayList(larger));
    EXPECT_TRUE(CPlugInQuarantine(state).MayList(kBad));
}

TEST(PlugInQuarantineTest, AListingThatEndsClearsTheCount) {
    CPlugInQuarantine quarantine(CrashWhileListing("", kBad));
    quarantine.Begin(kBad);
    quarantine.End(kBad);
    EXPECT_EQ(quarantine.State(), "");
    EXPECT_TRUE(CPlugInQuarantine(CrashWhileListing(quarantine.State(), kBad)).MayList(kBad));
}

TEST(PlugInQuarantineTest, LinesThatMakeNoSenseAreDropped) {
    const std::string good = "2\t4096\t7\tBad.dll\r\n";
    for (const char* line : {"", "x\n", "2\n", "2\t4096\n", "2\t4096\t7\n", "2\t4096\t7\t\r\n", "-2\t1\t7\tA.dll\n",
                             "99999999999999999999\t1\t1\tA.dll\n", "\t\t\t\n", "2 4096 7 A.dll\n"}) {
        const CPlugInQuarantine quarantine(line + good);
        EXPECT_EQ(quarantine.State(), good) << line;
        EXPECT_FALSE(quarantine.MayList({"Bad.dll", 4096, 7}));
    }
    EXPECT_FALSE(CPlugInQuarantine("4294967296\t4096\t7\tBad.dll").MayList({"Bad.dll", 4096, 7})) << "counts never wrap";
}

}  // namespace
