// The real dialog, read and used through its window.
#include <winsock2.h>
// After winsock2.h:
#include <ws2tcpip.h>

#include <gtest/gtest.h>

#include <fstream>

#include "MinerProcess.h"
#include "PoolProcess.h"
#include "common/Messages.h"

namespace {

enum Item {
    kListenButton = 1032,
    kControlState = 1033,
    kWorker = 1028,
    kPort = 1026,
    kMiningChoice = 1040,
    kMiningButton = 1041,
    kMiningState = 1042,
    kPoolName = 1046,
    kPoolServer = 1048,
    kGpuType = 1050,
    kJob = 1056,
    kDifficulty = 1057,
    kUptime = 1060,
    kTemperature = 1063,
    kFan = 1065,
    kCoreClock = 1067,
    kTotalShares = 1051,
    kConnected = 1077,
    kRole = 1078,
    kPoolAdd = 1202,
    kPoolRemove = 1203,
    kPoolList = 1201,
    kPoolEditName = 1208,
    kPoolEditNameError = 1209,
    kPoolEditServer = 1211,
    kPoolEditServerError = 1212,
    kPoolEditPort = 1214,
    kPoolEditPortError = 1215,
    kPoolEditWallet = 1220,
    kPoolEditWalletError = 1221,
    kWorkerName = 1301,
    kWorkerNameError = 1302,
    kConfigurationAdd = 1305,
    kGpuList = 1315,
};

// One end of the control channel.
class CController {
  public:
    explicit CController(unsigned short port) : m_socket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_connected = connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
        const DWORD timeout = 15000;
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof(timeout));
    }
    ~CController() { Leave(); }
    CController(const CController&) = delete;
    CController& operator=(const CController&) = delete;

    bool IsConnected() const { return m_connected; }
    void Send(const std::string& text) const { send(m_socket, text.data(), static_cast<int>(text.size()), 0); }
    std::string ReceiveUntil(const std::string& part) const {
        std::string received;
        char buffer[4096];
        for (int length = 1; length > 0 && received.find(part) == std::string::npos;) {
            length = recv(m_socket, buffer, sizeof(buffer), 0);
            if (length > 0) received.append(buffer, static_cast<std::size_t>(length));
        }
        return received;
    }
    void Leave() {
        if (m_socket != INVALID_SOCKET) closesocket(m_socket);
        m_socket = INVALID_SOCKET;
    }

  private:
    SOCKET m_socket;
    bool m_connected = false;
};

class DialogTest : public testing::Test {
  protected:
    void Replace(const std::string& from, const std::string& to) {
        std::string text = FileBytes(m_rig.Folder() / "SimGpus.ini");
        const std::size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos);
        std::ofstream(m_rig.Folder() / "SimGpus.ini", std::ios::binary) << text.replace(at, from.size(), to);
    }
    // Answers the message over the dialog; one that is just coming up may not hear the first time.
    bool CloseMessage() const {
        return WaitUntil(10000, [&] {
            const HWND popup = GetLastActivePopup(m_rig.Window());
            if (popup == m_rig.Window()) return IsWindowEnabled(m_rig.Window()) != FALSE;
            PostMessageW(popup, WM_COMMAND, IDOK, 0);
            return false;
        });
    }
    std::string Settings() const { return FileBytes(m_rig.Folder() / "Settings" / "RuntimeSettingsMiner.xml"); }

    CMinerRig m_rig;
};

TEST_F(DialogTest, ShowsTheStateOfMiningAndChangesOnClicks) {
    CPoolProcess pool(m_rig.Folder(), "pool", "--difficulty 300 --interval 5 --mode 2");
    m_rig.Configure(pool.Port());
    m_rig.WriteSettings("MiningState=\"0\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Idle"));
    EXPECT_TRUE(m_rig.WaitForText(kMiningButton, L"Start mining"));
    EXPECT_TRUE(m_rig.WaitForText(kConnected, L"Not connected"));
    EXPECT_TRUE(m_rig.WaitForText(kPoolName, L"Pool 1"));
    EXPECT_TRUE(m_rig.WaitForText(kPoolServer, L"127.0.0.1:" + std::to_wstring(pool.Port())));
    EXPECT_TRUE(m_rig.WaitForText(kGpuType, L"Simulated RTX 3080 - (10.0 GB)"));
    EXPECT_TRUE(m_rig.WaitForText(kUptime, L""));

    m_rig.Click(kMiningButton);
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Mining"));
    EXPECT_TRUE(m_rig.WaitForText(kMiningButton, L"Stop mining"));
    EXPECT_TRUE(m_rig.WaitForText(kConnected, L"Connected"));
    EXPECT_TRUE(m_rig.WaitForText(kRole, L"Primary"));
    EXPECT_TRUE(WaitUntil(60000, [&] { return m_rig.GridLines().at(1).find(L"kH/s") != std::wstring::npos; }));
    EXPECT_TRUE(WaitUntil(60000, [&] { return m_rig.ItemText(kTotalShares).find(L"A:0") == std::wstring::npos; }));
    for (const int filled : {kJob, kDifficulty})
        EXPECT_TRUE(WaitUntil(10000, [&] { return !m_rig.ItemText(filled).empty(); })) << filled;
    EXPECT_EQ(m_rig.ItemText(kUptime).substr(0, 4), L"00:0");

    m_rig.Click(kMiningButton);
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Idle"));
    EXPECT_TRUE(m_rig.WaitForText(kUptime, L""));
    EXPECT_EQ(m_rig.Close(), 0);
}

TEST_F(DialogTest, FollowsTheCardsSensors) {
    m_rig.Configure(1);
    m_rig.WriteSettings("MiningState=\"0\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kTemperature,
                                  L"61 \x00B0"
                                  L"C"));
    Replace("Temperature=61", "Temperature=83");
    Replace("FanSpeed=55", "FanSpeed=fail");
    EXPECT_TRUE(m_rig.WaitForText(kTemperature,
                                  L"83 \x00B0"
                                  L"C"))
        << "the next look is within five seconds";
    EXPECT_TRUE(m_rig.WaitForText(kFan, L"55 %")) << "a sensor that fails keeps its value";
    EXPECT_TRUE(m_rig.WaitForText(kCoreClock, L"1710 MHz"));
    EXPECT_EQ(m_rig.Close(), 0);
}

TEST_F(DialogTest, ListensOnClickAndOnlyOnAPort) {
    m_rig.Configure(1);
    m_rig.WriteSettings("MiningState=\"0\" HostIP=\"16777343\" HostPort=\"9\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Offline"));
    EXPECT_TRUE(m_rig.WaitForText(kPort, L"8010")) << "always, whatever is stored";
    for (const wchar_t* wrong : {L"", L"0", L"65536", L"12a"}) {
        SendMessageW(GetDlgItem(m_rig.Window(), kPort), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(wrong));
        m_rig.Click(kListenButton);
        EXPECT_TRUE(WaitUntil(5000, [] { return FindWindowW(L"QuorvelTip", nullptr) != nullptr; })) << wrong;
        EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Offline"));
    }
    SendMessageW(GetDlgItem(m_rig.Window(), kPort), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"18099"));
    m_rig.Click(kListenButton);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Listening"));
    EXPECT_TRUE(m_rig.WaitForText(kListenButton, L"Stop listen"));
    EXPECT_TRUE(m_rig.WaitForEnabled(kPort, false));
    m_rig.Click(kListenButton);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Offline"));
    EXPECT_TRUE(m_rig.WaitForEnabled(kPort, true));
    EXPECT_EQ(m_rig.Close(), 0);
    EXPECT_NE(Settings().find("HostPort=\"18099\""), std::string::npos) << Settings();
    EXPECT_NE(Settings().find("LastControlState=\"0\""), std::string::npos);
}

TEST_F(DialogTest, AControllerSteersItAndIsShown) {
    CPoolProcess pool(m_rig.Folder(), "pool", "--difficulty 300 --mode 0");
    m_rig.Configure(pool.Port());
    m_rig.WriteSettings("MiningState=\"0\" ControlState=\"1\" HostPort=\"18098\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Listening"));

    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
    CController first(18098);
    ASSERT_TRUE(first.IsConnected());
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Connected"));
    first.Send(
        "{\"cmd\":\"connect\",\"params\":{\"ver\":\"1\",\"workername\":\"remote\"}}\n{\"cmd\":\"START-mining\",\"params\":{}"
        "}\n");
    EXPECT_TRUE(m_rig.WaitForText(kWorker, L"remote"));
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Mining"));
    const std::string received = first.ReceiveUntil("\"update\"");
    EXPECT_EQ(received.find("{\"cmd\":\"system\",\"params\":{\"hostname\":\""), 0u) << received;
    const std::string update = "{\"cmd\":\"update\",\"params\":{\"status\":\"mining\",\"GpuDynamic\":[{\"ID\":\"3f1c9a5e";
    EXPECT_NE(received.find(update), std::string::npos) << received;
    first.Leave();

    CController second(18098);
    second.Send("{\"cmd\":\"connect\",\"params\":{}}\n{\"cmd\":\"stop-mining\",\"params\":{}}\n");
    EXPECT_NE(second.ReceiveUntil("\"system\"").find("\"system\""), std::string::npos) << "a controller that comes back";
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Idle"));
    EXPECT_EQ(m_rig.Close(), 0);
    WSACleanup();
}

// Nobody may be at the rig to answer: a controller is told by the channel, and a repeated message opens one box.
TEST_F(DialogTest, StartsOfAnUnconfiguredRigDoNotPileUpBoxes) {
    m_rig.WriteSettings("ControlState=\"1\" HostPort=\"18096\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Listening"));
    EXPECT_NE(Settings().find("LastControlState=\"1\""), std::string::npos) << "also when it began by itself";
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
    CController controller(18096);
    controller.Send("{\"cmd\":\"connect\",\"params\":{}}\n{\"cmd\":\"start-mining\",\"params\":{}}\n");
    EXPECT_NE(controller.ReceiveUntil("nothing to mine").find("errorinfo"), std::string::npos);
    EXPECT_EQ(GetLastActivePopup(m_rig.Window()), m_rig.Window());
    for (int i = 0; i < 5; ++i)
        PostMessageW(m_rig.Window(), kMessageMining, 1, 0);
    ASSERT_TRUE(WaitUntil(10000, [&] { return GetLastActivePopup(m_rig.Window()) != m_rig.Window(); }));
    PostMessageW(GetLastActivePopup(m_rig.Window()), WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(WaitUntil(5000, [&] { return IsWindowEnabled(m_rig.Window()) != FALSE; })) << "one answer was enough";
    EXPECT_EQ(m_rig.Close(), 0);
    WSACleanup();
}

TEST_F(DialogTest, StartUpChoicesAreStoredAtOnce) {
    m_rig.Configure(1);
    m_rig.WriteSettings("MiningState=\"7\" ControlState=\"2\" LastControlState=\"0\" WindowPos=\"-9000,-9000,-8000,-8500\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    EXPECT_TRUE(m_rig.WaitForText(kControlState, L"State: Offline")) << "it was offline";
    RECT place = {};
    GetWindowRect(m_rig.Window(), &place);
    EXPECT_GE(place.left, 0) << "a place off every screen";
    const HWND choice = GetDlgItem(m_rig.Window(), kMiningChoice);
    EXPECT_EQ(SendMessageW(choice, CB_GETCURSEL, 0, 0), CB_ERR) << "a setting out of range";
    SendMessageW(choice, CB_SETCURSEL, 2, 0);
    SendMessageW(m_rig.Window(), WM_COMMAND, MAKEWPARAM(kMiningChoice, CBN_SELCHANGE), reinterpret_cast<LPARAM>(choice));
    EXPECT_NE(Settings().find("MiningState=\"2\""), std::string::npos) << Settings();
    for (const WPARAM theme : {WPARAM{0x70}, WPARAM{0x80}, WPARAM{0x90}}) {
        SendMessageW(m_rig.Window(), WM_SYSCOMMAND, theme, 0);
    }
    EXPECT_NE(Settings().find("Theme=\"12\""), std::string::npos) << Settings();
    EXPECT_EQ(m_rig.Close(), 0);
}

// A dialog of the system menu.
class CEditDialog {
  public:
    CEditDialog(const CMinerRig& rig, WPARAM command, const wchar_t* title) {
        PostMessageW(rig.Window(), WM_SYSCOMMAND, command, 0);
        WaitUntil(10000, [&] { return (m_window = FindWindowW(L"#32770", title)) != nullptr && IsWindowVisible(m_window); });
    }
    HWND Item(int id) const { return GetDlgItem(m_window, id); }
    void Type(int id, const wchar_t* text) const { SendMessageW(Item(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)); }
    std::wstring Text(int id) const {
        wchar_t text[300] = {};
        SendMessageW(Item(id), WM_GETTEXT, 300, reinterpret_cast<LPARAM>(text));
        return text;
    }
    void Click(int id) const { SendMessageW(Item(id), BM_CLICK, 0, 0); }
    LRESULT Ask(int id, UINT message) const { return SendMessageW(Item(id), message, 0, 0); }
    bool WaitForEnd() const {
        return WaitUntil(10000, [&] { return !IsWindow(m_window); });
    }
    bool IsOpen() const { return IsWindow(m_window) != FALSE; }

  private:
    HWND m_window = nullptr;
};

TEST_F(DialogTest, PoolsAndConfigurationsAreMadeWithoutATextEditor) {
    m_rig.WriteSettings("MiningState=\"0\"");
    ASSERT_NE(m_rig.Start(), nullptr);
    const auto file = [&] { return FileBytes(m_rig.ConfigurationFile()); };
    {
        const CEditDialog pools(m_rig, 0x20, L"Mining pools");
        ASSERT_TRUE(pools.IsOpen());
        pools.Click(kPoolAdd);
        pools.Type(kPoolEditName, L"K\x00F6ln & \"Co\" <1>");
        pools.Type(kPoolEditServer, L"two words");
        pools.Type(kPoolEditPort, L"70000");
        pools.Click(IDOK);
        EXPECT_TRUE(pools.IsOpen()) << "nothing wrong is saved";
        EXPECT_NE(pools.Text(kPoolEditServerError), L"");
        EXPECT_NE(pools.Text(kPoolEditPortError), L"");
        EXPECT_NE(pools.Text(kPoolEditWalletError), L"");
        EXPECT_EQ(pools.Text(kPoolEditNameError), L"");
        pools.Type(kPoolEditServer, L"127.0.0.1");
        pools.Type(kPoolEditPort, L"4444");
        pools.Type(kPoolEditWallet, L"0xabc");
        EXPECT_EQ(pools.Text(kPoolEditServerError), L"") << "a reason goes when the field is right";
        pools.Click(kPoolAdd);
        EXPECT_EQ(pools.Ask(kPoolList, LB_GETCOUNT), 2);
        pools.Click(kPoolRemove);
        EXPECT_EQ(pools.Ask(kPoolList, LB_GETCOUNT), 1) << "the new one was not wanted after all";
        PostMessageW(pools.Item(IDOK), BM_CLICK, 0, 0);
        EXPECT_TRUE(pools.WaitForEnd());
    }
    EXPECT_TRUE(WaitUntil(5000, [&] { return file().find("Port=\"4444\" WalletUser=\"0xabc\"") != std::string::npos; }))
        << file();
    EXPECT_NE(file().find("K\xC3\xB6ln &amp; &quot;Co&quot; &lt;1&gt;"), std::string::npos) << file();
    {
        const CEditDialog worker(m_rig, 0x30, L"Worker");
        ASSERT_TRUE(worker.IsOpen());
        worker.Type(kWorkerName, L"");
        EXPECT_NE(worker.Text(kWorkerNameError), L"");
        worker.Type(kWorkerName, L"basement");
        worker.Click(kConfigurationAdd);
        EXPECT_EQ(worker.Ask(kGpuList, LB_GETCOUNT), 2);
        SendMessageW(worker.Item(kGpuList), LB_SETCURSEL, 1, 0);
        SendMessageW(worker.Item(kGpuList), WM_CHAR, L' ', 0);  // takes the second card out again
        PostMessageW(worker.Item(IDOK), BM_CLICK, 0, 0);
        EXPECT_TRUE(worker.WaitForEnd());
    }
    EXPECT_TRUE(m_rig.WaitForText(kWorker, L"basement"));
    EXPECT_TRUE(WaitUntil(5000, [&] { return file().find("DefaultWorkerName=\"basement\"") != std::string::npos; }))
        << file();
    EXPECT_NE(file().find("<Gpu ID=\"3f1c9a5e7b2d4860a1e4c70d52b96f38\""), std::string::npos) << file();
    EXPECT_EQ(file().find("<Gpu ID=\"b7e04d21"), std::string::npos) << file();
    EXPECT_TRUE(
        WaitUntil(5000, [&] { return m_rig.GridLines().at(1).find(L"K\x00F6ln & \"Co\" <1>") != std::wstring::npos; }));
    EXPECT_EQ(m_rig.Close(), 0);
}

TEST_F(DialogTest, NoCardAndManyCards) {
    const std::string sample = FileBytes(m_rig.Folder() / "SimGpus.ini");
    const std::size_t first = sample.find("[Gpu0]\n");
    const std::size_t second = sample.find("[Gpu1]\n");
    const std::string card = sample.substr(first + 7, second - first - 7);
    m_rig.WriteSettings("MiningState=\"1\"");
    for (const int count : {0, 32}) {
        std::string text = "[Driver]\nVersion=12040\nInitError=0\n";
        for (int i = 0; i < count; ++i) {
            std::string own = card;
            const std::string number = std::to_string(10 + i);
            own.replace(own.find("Uuid=") + 5, 2, number);
            own.replace(own.find("PciBus=10"), 9, "PciBus=" + number);
            own.replace(own.find("NvmlIndex=1"), 11, "NvmlIndex=" + std::to_string(i));
            text += "[Gpu" + std::to_string(i) + "]\n" + own;
        }
        std::ofstream(m_rig.Folder() / "SimGpus.ini", std::ios::binary) << text;
        ASSERT_NE(m_rig.Start(), nullptr);
        ASSERT_TRUE(WaitUntil(10000, [&] { return m_rig.GridLines().size() == static_cast<std::size_t>(count) + 1; }))
            << count;
        // Nothing is configured, and mining was to start: the user is told.
        ASSERT_TRUE(WaitUntil(10000, [&] { return GetLastActivePopup(m_rig.Window()) != m_rig.Window(); }));
        ASSERT_TRUE(CloseMessage());
        EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Idle"));
        EXPECT_EQ(m_rig.Close(), 0);
    }
}

TEST_F(DialogTest, EndsWhenItIsToldToWhateverIsOpen) {
    for (const UINT message : {UINT{WM_CLOSE}, UINT{WM_ENDSESSION}}) {
        // Nothing is configured, and mining was to start: the user is told, and does not answer.
        m_rig.WriteSettings("MiningState=\"1\"");
        ASSERT_NE(m_rig.Start(), nullptr);
        ASSERT_TRUE(WaitUntil(10000, [&] { return GetLastActivePopup(m_rig.Window()) != m_rig.Window(); }));
        DWORD_PTR ignored = 0;
        SendMessageTimeoutW(m_rig.Window(), message, TRUE, 0, SMTO_ABORTIFHUNG, 10000, &ignored);
        EXPECT_EQ(m_rig.Process().WaitForExit(15000), 0) << message;
        EXPECT_NE(Settings().find("WindowPos="), std::string::npos) << message;
    }
}

TEST_F(DialogTest, AsksAUserWhoClosesWhileMiningOrLeavesAnEditorWithChanges) {
    m_rig.Configure(1, 2);
    ASSERT_NE(m_rig.Start(), nullptr);
    ASSERT_TRUE(m_rig.WaitForText(kMiningState, L"State: Mining"));
    const auto asks = [&](HWND window) { return WaitUntil(5000, [&] { return IsWindowEnabled(window) == FALSE; }); };
    PostMessageW(m_rig.Window(), WM_SYSCOMMAND, SC_CLOSE, 0);
    ASSERT_TRUE(asks(m_rig.Window()));
    PostMessageW(GetLastActivePopup(m_rig.Window()), WM_COMMAND, IDCANCEL, 0);
    ASSERT_TRUE(WaitUntil(5000, [&] { return IsWindowEnabled(m_rig.Window()) != FALSE; }));
    EXPECT_TRUE(m_rig.WaitForText(kMiningState, L"State: Mining"));
    const CEditDialog untouched(m_rig, 0x20, L"Mining pools");
    PostMessageW(GetParent(untouched.Item(IDOK)), WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(untouched.WaitForEnd()) << "nothing was changed";
    const CEditDialog changed(m_rig, 0x20, L"Mining pools");
    changed.Type(kPoolEditName, L"Other");
    PostMessageW(GetParent(changed.Item(IDOK)), WM_COMMAND, IDCANCEL, 0);
    ASSERT_TRUE(asks(GetParent(changed.Item(IDOK))));
    EXPECT_EQ(m_rig.Close(), 0) << "who ends it from outside is not asked";
    EXPECT_EQ(FileBytes(m_rig.ConfigurationFile()).find("Other"), std::string::npos);
}

}  // namespace
