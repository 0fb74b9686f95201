#include "gui/DiagnosticsText.h"

#include "Rig.h"

namespace {

std::wstring TestTime(ddt_datetime) {
    return L"<time>";
}

bool Has(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

TEST(DiagnosticsText, TellsEverythingButSecrets) {
    CGuiRig rig;
    rig.records[0].memoryTotal = std::uint64_t{24} << 30;
    rig.Current()->pools[1]->lastError.Set({-1, {1}, 2, "0x0123456789abcdef/secret is not a worker"});
    const ConfigurationPointer current = rig.Current();
    const std::wstring text = DiagnosticsText({.version = L"1.2.3.4",
                                               .system = {},
                                               .driverVersion = L"535.1",
                                               .cudaVersion = 12040,
                                               .gpus = rig.gpus,
                                               .configuration = *current,
                                               .algorithms = rig.algorithms,
                                               .mining = true,
                                               .uptime = 61 * kTicksPerSecond,
                                               .messages = {L"Etchash: GPU 0: lost", L"Etchash: GPU 0: back"},
                                               .events = {L"pool\tOne\tLogin refused: secret"},
                                               .controlState = ControlState::Listening,
                                               .dateTimeText = TestTime});
    for (const wchar_t* part : {
             L"Quorvel-Miner 1.2.3.4\r\n",
             L"Driver: 535.1, CUDA 12.4\r\n",
             L"State: Mining for 00:01:01\r\n",
             L"Control State: Listening\r\n",
             L"GPU#0 Card - (24.0 GB), compute capability 0.0, UUID 01000000000000000000000000000000\r\n",
             L"  One: pool.example:4001, Etchash (3), wallet 0x01...cdef\r\n",
             L"  Eight: pool.example:4008, 99 - no plug-in",
             L"Last error: <time>, code -1, GPU#2: 0x01...cdef/*** is not a worker\r\n",
             L"Configuration 1 (GPU#0, GPU#1): One, backup Two\r\n",
             L"Configuration 2 (GPU#2): Seven\r\n",
             L"Plug-ins:\r\n  Etchash (3)\r\n",
             L"plug-ins:\r\n  Etchash: GPU 0: lost\r\n  Etchash: GPU 0: back\r\n",
             L"Latest events:\r\n  pool\tOne\tLogin refused: ***\r\n",
         }) {
        EXPECT_TRUE(Has(text, part)) << part;
    }
    EXPECT_FALSE(Has(text, L"secret"));
    EXPECT_FALSE(Has(text, L"0123456789"));
}

TEST(DiagnosticsText, TellsWhatIsMissing) {
    const CGuiRig rig;
    const MinerConfiguration empty;
    const std::wstring text = DiagnosticsText({.version = L"1",
                                               .system = {},
                                               .driverVersion = {},
                                               .cudaVersion = 0,
                                               .gpus = {},
                                               .configuration = empty,
                                               .algorithms = rig.algorithms,
                                               .messages = {},
                                               .events = {},
                                               .dateTimeText = TestTime});
    for (const wchar_t* part :
         {L"Driver: unknown, CUDA none\r\n", L"State: Idle\r\n", L"GPUs:\r\n  none\r\n", L"Pools:\r\n  none\r\n",
          L"Configurations:\r\n  none\r\n", L"messages of the plug-ins:\r\n  none\r\n"}) {
        EXPECT_TRUE(Has(text, part)) << part;
    }
}

TEST(DiagnosticsText, ShowsHalfAWalletAtMost) {
    const struct {
        const wchar_t* wallet;
        const wchar_t* shown;
    } cases[] = {{L"", L"none"},
                 {L"abc", L"..."},
                 {L"john.doe", L"jo...oe"},
                 {L"0x00112233445566778899aabbccddeeff00112233", L"0x0011...2233"}};
    for (const auto& c : cases)
        EXPECT_EQ(ShortenedWallet(c.wallet), c.shown);
}

}  // namespace
