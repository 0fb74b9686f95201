// The plug-in libraries as the miner uses them: loaded, spoken to by messages, stopped and freed.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "Shares.h"
#include "WorkBlocks.h"
#include "ethash/hash/Ethash.h"
#include "fixtures/Eventually.h"
#include "quorvel/plugin.h"

namespace {

CCollector& Collected() {
    static CCollector collector;
    return collector;
}

}  // namespace

extern "C" __declspec(dllexport) int QuorvelSend(void* session, const char* text, std::uint32_t length) {
    Collected().AddShare(session, {text, length});
    return 0;
}

extern "C" __declspec(dllexport) void QuorvelLog(const wchar_t* text) {
    std::string narrow;
    for (; *text != L'\0'; ++text)
        narrow += static_cast<char>(*text);
    Collected().AddLog(narrow);
}

namespace {

const std::string kSeed(64, '0');
const std::string kEverything(64, 'f');

// One mining session as the miner runs it.
class CLoadedPlugin {
  public:
    explicit CLoadedPlugin(const char* path) : m_library(LoadLibraryA(FullPath(path).c_str())) {}
    ~CLoadedPlugin() { Unload(); }
    CLoadedPlugin(const CLoadedPlugin&) = delete;
    CLoadedPlugin& operator=(const CLoadedPlugin&) = delete;

    bool IsLoaded() const { return m_library != nullptr; }

    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_library, name)));
    }

    void Open(QvGpuRecord* const* gpus, std::size_t count) {
        m_window = reinterpret_cast<HWND>(Export<QvGetInterface>("GetInterface")(QV_INTERFACE_WINDOW));
        Post(QV_MSG_SET_OWNER, 0);
        PostMessageW(m_window, QV_MSG_SET_GPUS, reinterpret_cast<WPARAM>(gpus), static_cast<LPARAM>(count));
        Post(QV_MSG_START, 0);
    }

    HWND Window() const { return m_window; }
    void Post(UINT message, const StratumWorkBlock* block) const {
        PostMessageW(m_window, message, reinterpret_cast<WPARAM>(block), 0);
    }

    void Unload() {
        if (m_window != nullptr) {
            SendMessageW(m_window, QV_MSG_STOP, 0, 0);
            DestroyWindow(m_window);
            m_window = nullptr;
        }
        if (m_library != nullptr) FreeLibrary(m_library);
        m_library = nullptr;
    }

  private:
    // Relative to the folder of this program.
    static std::string FullPath(const char* path) {
        char folder[MAX_PATH] = "";
        GetModuleFileNameA(nullptr, folder, MAX_PATH);
        *(std::strrchr(folder, '\\') + 1) = '\0';
        return std::string(folder) + path;
    }

    HMODULE m_library;
    HWND m_window = nullptr;
};

class Plugin : public testing::Test {
  protected:
    Plugin() {
        Collected().Clear();
        m_gpus[0].cudaId = 0;
        m_gpus[1].cudaId = 4;
    }

    QvGpuRecord m_gpus[2]{};
    QvGpuRecord* const m_list[2] = {&m_gpus[0], &m_gpus[1]};
    StratumWorkBlock m_block = EthProxyBlock(HeaderText(1), kSeed, kEverything);
};

// The library leaves with the last thread of its session, which may take a moment longer than the miner's own release.
bool IsGone(const wchar_t* module) {
    return Eventually([module] { return GetModuleHandleW(module) == nullptr; });
}

TEST_F(Plugin, DescribesItself) {
    struct Case {
        const char* path;
        std::int32_t id;
        const wchar_t* name;
    };
    const Case cases[] = {{QV_ALGOS "EtchashCpu.dll", 2, L"Etchash (CPU)"},
                          {QV_ALGOS "EthashCpu.dll", 4, L"Ethash (CPU)"},
                          {QV_ALGOS "UbqhashCpu.dll", 12, L"Ubqhash (CPU)"},
                          {QV_TEMPLATE, 9, L"Template"}};
    for (const Case& each : cases) {
        const CLoadedPlugin plugin(each.path);
        ASSERT_TRUE(plugin.IsLoaded()) << each.path;
        const auto getInterface = plugin.Export<QvGetInterface>("GetInterface");
        const auto* descriptor = reinterpret_cast<const QvDescriptor*>(getInterface(QV_INTERFACE_DESCRIPTOR));
        EXPECT_EQ(descriptor->id, each.id);
        EXPECT_STREQ(descriptor->name, each.name);
        EXPECT_STREQ(plugin.Export<QvGetUnit>("GetUnit")(), L"H/s");
        EXPECT_EQ(getInterface(77), 0u);
    }
    EXPECT_TRUE(IsGone(L"EtchashCpu.dll"));
}

TEST_F(Plugin, MinesAndLetsGo) {
    CLoadedPlugin plugin(QV_ALGOS "EtchashCpu.dll");
    m_block.session = &m_block;
    plugin.Open(m_list, 2);
    plugin.Post(QV_MSG_ACTIVATE, &m_block);
    plugin.Post(QV_MSG_NEW_JOB, &m_block);
    ASSERT_TRUE(Collected().WaitForShares(1, [](const SentShare& share) { return share.Id() >> 16 == 1; }));
    ASSERT_TRUE(Collected().WaitForShares(1, [](const SentShare& share) { return share.Id() >> 16 == 5; }));
    HWND const window = plugin.Window();
    plugin.Unload();
    EXPECT_FALSE(IsWindow(window));
    const auto after = Collected().Shares();
    EXPECT_TRUE(IsGone(L"EtchashCpu.dll"));
    EXPECT_EQ(Collected().Shares().size(), after.size());

    EXPECT_EQ(after[0].session, &m_block);
    EXPECT_NE(after[0].line.find("\"worker\":\"rig\""), std::string::npos);
    const auto log = Collected().Log();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], "EtchashCpu: making the light cache of epoch 0 (16 MB)");
    EXPECT_TRUE(log[1].starts_with("EtchashCpu: the light cache of epoch 0 is done in ")) << log[1];
}

TEST_F(Plugin, SessionsOfOneLibraryAreIndependentAndShareTheCache) {
    CLoadedPlugin first(QV_ALGOS "EthashCpu.dll");
    CLoadedPlugin second(QV_ALGOS "EthashCpu.dll");
    StratumWorkBlock other = EthProxyBlock(HeaderText(2), kSeed, kEverything);
    first.Open(m_list, 1);
    second.Open(m_list + 1, 1);
    ASSERT_NE(first.Window(), second.Window());
    first.Post(QV_MSG_ACTIVATE, &m_block);
    second.Post(QV_MSG_ACTIVATE, &other);
    const auto ofJob = [](std::uint8_t job) {
        return [job](const SentShare& share) { return share.Parameter(1) == "0x" + HeaderText(job); };
    };
    ASSERT_TRUE(Collected().WaitForShares(1, ofJob(1)));
    ASSERT_TRUE(Collected().WaitForShares(1, ofJob(2)));
    EXPECT_EQ(Collected().Log().size(), 2u);
    first.Unload();
    Collected().Clear();
    EXPECT_TRUE(Collected().WaitForShares(60, ofJob(2)));
    CLoadedPlugin third(QV_ALGOS "EthashCpu.dll");
    third.Open(m_list, 1);
    third.Post(QV_MSG_ACTIVATE, &m_block);
    EXPECT_TRUE(Collected().WaitForShares(1, ofJob(1)));
    EXPECT_TRUE(Collected().Log().empty());
}

// Opened and closed in a row, with no time for a session's threads to be gone before the next begins.
TEST_F(Plugin, ReloadsOneRightAfterTheOther) {
    for (int round = 0; round < 40; ++round) {
        CLoadedPlugin plugin(round % 2 == 0 ? QV_ALGOS "EtchashCpu.dll" : QV_ALGOS "EthashCpu.dll");
        plugin.Open(m_list, 2);
        ASSERT_NE(plugin.Window(), nullptr);
        plugin.Post(QV_MSG_ACTIVATE, &m_block);
        // Every third one is stopped in the middle of its work: mostly while it makes the cache, which it logs.
        const bool untilBusy = round % 3 == 0;
        ASSERT_TRUE(!untilBusy || Collected().WaitForAnything());
        plugin.Unload();
        Collected().Clear();
    }
    EXPECT_TRUE(IsGone(L"EtchashCpu.dll"));
    EXPECT_TRUE(IsGone(L"EthashCpu.dll"));
}

// Without workers, because the threads runtime may keep an event of its own when threads of one library meet in it.
TEST_F(Plugin, ASessionLeavesNoHandlesBehind) {
    // The number of a new handle rises with the number of those that were not closed.
    const auto nextHandle = [] {
        HANDLE const event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        CloseHandle(event);
        return reinterpret_cast<std::uintptr_t>(event) / 4;
    };
    std::uintptr_t before = 0;
    for (int round = 0; round < 30; ++round) {
        CLoadedPlugin plugin(QV_ALGOS "EtchashCpu.dll");
        plugin.Open(m_list, 0);
        ASSERT_NE(plugin.Window(), nullptr);
        plugin.Unload();
        ASSERT_TRUE(IsGone(L"EtchashCpu.dll"));
        if (round == 9) before = nextHandle();
    }
    EXPECT_LT(nextHandle(), before + 10);
}

// What no pool of the system tests does: bad jobs, late blocks, two sessions at once.
TEST_F(Plugin, TheTemplateFollowsItsBlockOnlyAndRefusesBadJobs) {
    const auto pump = [] {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    };
    const auto ofGpu = [](std::uint32_t cudaId) {
        return [cudaId](const SentShare& share) { return share.Id() >> 16 == cudaId + 1; };
    };
    SetSlot(m_block.parameters[1], "0000" + std::string(60, 'f'));
    StratumWorkBlock late = m_block;
    CLoadedPlugin first(QV_TEMPLATE), second(QV_TEMPLATE);
    first.Open(m_list, 1);
    second.Open(m_list + 1, 1);
    first.Post(QV_MSG_ACTIVATE, &m_block);
    second.Post(QV_MSG_ACTIVATE, &m_block);
    pump();
    EXPECT_TRUE(Collected().WaitForShares(3, ofGpu(0)));
    EXPECT_TRUE(Collected().WaitForShares(3, ofGpu(4)));
    second.Unload();
    const std::string boundaries[] = {"", "0x", "12g4", std::string(65, '1')};
    for (const std::string& boundary : boundaries) {
        SetSlot(m_block.parameters[1], boundary);
        first.Post(QV_MSG_NEW_JOB, &m_block);
        first.Post(QV_MSG_NEW_JOB, &late);
    }
    pump();
    EXPECT_TRUE(Eventually([&] { return std::atomic_ref(m_gpus[0].statistics.hashSpeed).load() == 0; }));
    EXPECT_EQ(Collected().Log(), std::vector<std::string>{"Template: the boundary is not a number of up to 32 bytes"});
    Collected().Clear();
    first.Post(QV_MSG_ACTIVATE, &late);
    pump();
    EXPECT_TRUE(Collected().WaitForShares(3, ofGpu(0)));
    first.Unload();
    EXPECT_TRUE(IsGone(L"template_plugin.dll"));
}

}  // namespace
