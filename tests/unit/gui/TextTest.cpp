#include <gtest/gtest.h>

#include <limits>

#include "common/IpAddress.h"
#include "gui/DialogState.h"
#include "gui/FieldText.h"
#include "gui/LocalInterfaces.h"
#include "gui/UnitText.h"

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

template <class Value>
using Texts = std::initializer_list<std::pair<Value, const wchar_t*>>;

TEST(UnitText, ScalesHashRatesByThousandsBeyond1024) {
    for (const auto& [value, text] : Texts<std::uint64_t>{{0, L"0.000 H/s"},
                                                          {1024, L"1024.000 H/s"},
                                                          {1025, L"1.025 kH/s"},
                                                          {1'000'000, L"1000.000 kH/s"},
                                                          {1'024'999, L"1024.999 kH/s"},
                                                          {1'025'000, L"1.025 MH/s"},
                                                          {1'025'000'000'000, L"1.025 TH/s"},
                                                          {1'025'000'000'000'000, L"1025.000 TH/s"},
                                                          {kMax, L"18446744.074 TH/s"}})
        EXPECT_EQ(HashRateText(value, L"H/s"), text) << value;
}

TEST(UnitText, ScalesBytesBy1024) {
    for (const auto& [value, text] : Texts<std::uint64_t>{{0, L"0.0 B"},
                                                          {1024, L"1024.0 B"},
                                                          {1025, L"1.0 kB"},
                                                          {1024 * 1024, L"1024.0 kB"},
                                                          {1025 * 1024, L"1.0 MB"},
                                                          {std::uint64_t{24} << 30, L"24.0 GB"},
                                                          {kMax, L"17179869184.0 GB"}})
        EXPECT_EQ(ByteSizeText(value), text) << value;
}

TEST(UnitText, ShowsFractionsOfDifficulties) {
    for (const auto& [value, text] : Texts<double>{{0.0, L""},
                                                   {-1.0, L""},
                                                   {std::numeric_limits<double>::quiet_NaN(), L""},
                                                   {0.25, L"0.250 H/s"},
                                                   {2500.75, L"2.501 kH/s"},
                                                   {std::numeric_limits<double>::infinity(), L"18446744.074 TH/s"}})
        EXPECT_EQ(DifficultyText(value, L"H/s"), text) << value;
}

TEST(PortText, TakesDigitsInRangeOnly) {
    const struct {
        const wchar_t* text;
        std::uint32_t port;  // 0: refused
    } cases[] = {
        {L"1", 1},   {L"8010", 8010}, {L"65535", 65535},    {L"00080", 80},  {L"", 0},    {L"0", 0},          {L"65536", 0},
        {L"-1", 0},  {L"+80", 0},     {L" 80\r\n", 80},     {L"\u00A0 ", 0}, {L"8 0", 0}, {L"4294967297", 0}, {L"0x50", 0},
        {L"80a", 0}, {L"port", 0},    {L"\u0661\u0662", 0},
    };
    for (const auto& c : cases) {
        const PortResult result = ParsePort(c.text);
        EXPECT_EQ(result.port, c.port) << c.text;
        EXPECT_EQ(result.reason.empty(), c.port != 0) << c.text;
    }
}

// The dialog's ground in every look, and the system's without one.
TEST(NoteColor, CanBeReadOnEveryGround) {
    EXPECT_NEAR(ContrastRatio(0xFFFFFF, 0x000000), 21.0, 0.01);
    for (const std::uint32_t ground : {0xF2EEEEu, 0x302D2Du, 0xFFFFFFu, 0xF0F0F0u, 0xC8D0D4u, 0x000000u}) {
        EXPECT_GE(ContrastRatio(NoteColor(true, ground), ground), 4.5) << std::hex << ground;
        EXPECT_GE(ContrastRatio(NoteColor(false, ground), ground), 4.5) << std::hex << ground;
    }
}

TEST(AddressText, WritesTheFirstByteInMemoryFirst) {
    EXPECT_EQ(Ipv4Text(16777343), L"127.0.0.1");
    EXPECT_EQ(Ipv4Text(0xFE01A8C0), L"192.168.1.254");
}

TEST(DialogState, PaintsEachControlState) {
    constexpr std::uint32_t kDefault = 0x123456;
    const struct {
        std::uint32_t state;
        LabelLook look;
    } cases[] = {
        {0, {L"State: Undefined", kDefault}}, {1, {L"State: Offline", 0x0000C0}},
        {2, {L"State: Listening", 0x00C0C0}}, {3, {L"State: Connected", 0x00C000}},
        {4, {L"State: Undefined", kDefault}}, {0xFFFFFFFF, {L"State: Undefined", kDefault}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ControlStateLook(c.state, kDefault), c.look) << c.state;
}

TEST(DialogState, EntersWhatTheStartChoiceSays) {
    const struct {
        std::int32_t choice, last;
        bool enters, listed;
    } cases[] = {
        {0, 0, false, true}, {0, 1, false, true}, {1, 0, true, true},   {1, 1, true, true},    {2, 0, false, true},
        {2, 1, true, true},  {2, 2, false, true}, {3, 1, false, false}, {-1, 1, false, false},
    };
    for (const auto& c : cases) {
        RuntimeSettings mining, control;
        mining.MiningState = control.ControlState = c.choice;
        mining.LastMiningState = control.LastControlState = c.last;
        EXPECT_EQ(ShouldStartMining(mining), c.enters) << c.choice << "," << c.last;
        EXPECT_EQ(ShouldListen(control), c.enters) << c.choice << "," << c.last;
        EXPECT_FALSE(ShouldStartMining(control));
        EXPECT_FALSE(ShouldListen(mining));
        EXPECT_EQ(StartChoiceIndex(c.choice).has_value(), c.listed) << c.choice;
    }
}

}  // namespace
