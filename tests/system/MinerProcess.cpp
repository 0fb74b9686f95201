#include "MinerProcess.h"

#include <fstream>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;

constexpr DWORD kChangeMilliseconds = 15000;
constexpr DWORD kWindowMilliseconds = 30000;
constexpr int kGridId = 100;
constexpr wchar_t kTitleStart[] = L"Quorvel-Miner (Version";

// The UUIDs of the simulated cards, in the order of the file.
std::vector<std::string> SimulatedUuids() {
    const std::string text = FileBytes(QV_SIM_INI);
    const std::regex pattern("Uuid=([0-9a-fA-F]{32})");
    std::vector<std::string> uuids;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
        uuids.push_back((*match)[1]);
    }
    return uuids;
}

std::string PoolElement(int id, unsigned port, int algorithm) {
    return "<Pool ID=\"" + std::to_string(id) + "\" Name=\"Pool " + std::to_string(id) + "\" Server=\"127.0.0.1\" Port=\"" +
           std::to_string(port) + "\" WalletUser=\"0xwallet\" Password=\"x\" WorkerOverride=\"\" Algo=\"" +
           std::to_string(algorithm) + "\"/>";
}

}  // namespace

CMinerRig::CMinerRig(Driver driver) {
    for (const char* part : {"Algos", "Settings", "Styles"})
        fs::create_directories(m_folder.Path(part));
    for (const char* style : {"Office2013.dll", "VisualStudio2012.dll"})
        fs::copy_file(fs::path(QV_STYLES) / style, m_folder.Path("Styles") / style);
    fs::copy_file(QV_MINER, m_folder.Path("Quorvel-Miner.exe"));
    fs::copy_file(fs::path(QV_ALGOS) / "EtchashCpu.dll", m_folder.Path("Algos") / "EtchashCpu.dll");
    if (driver == Driver::Missing) return;
    for (const char* library : {"nvcuda.dll", "nvml.dll"})
        fs::copy_file(fs::path(QV_SIM) / library, m_folder.Path(library));
    fs::copy_file(QV_SIM_INI, m_folder.Path("SimGpus.ini"));
}

void CMinerRig::Install(const fs::path& plugIn, int algorithm) {
    fs::copy_file(plugIn, m_folder.Path("Algos") / plugIn.filename(), fs::copy_options::overwrite_existing);
    m_algorithm = algorithm;
}

void CMinerRig::Configure(unsigned firstPort, unsigned secondPort) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<MinerConfig DefaultWorkerName=\"rig\"><Pools>";
    xml += PoolElement(1, firstPort, m_algorithm) + (secondPort != 0 ? PoolElement(2, secondPort, m_algorithm) : "");
    xml +=
        "</Pools><Configurations><Config PrimaryPoolID=\"1\" SecondaryPoolID=\"2\" GpuAttributs=\"0\" "
        "PoolAttributs=\"0\"><Gpus>";
    for (const std::string& uuid : SimulatedUuids())
        xml += "<Gpu ID=\"" + uuid + "\" NGM=\"0\" NGTO=\"0\"/>";
    xml += "</Gpus></Config></Configurations></MinerConfig>\n";
    std::ofstream(ConfigurationFile()) << xml;
    WriteSettings("MiningState=\"1\"");
}

void CMinerRig::WriteSettings(const std::string& attributes) {
    std::ofstream(m_folder.Path("Settings/RuntimeSettingsMiner.xml"))
        << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RuntimeSettings " << attributes
        << "><Logging MainLog=\"1\" ConnectionLog=\"1\"/></RuntimeSettings>\n";
}

CChildProcess CMinerRig::Launch() const {
    return {L"\"" + m_folder.Path("Quorvel-Miner.exe").wstring() + L"\"", m_folder.Path(), {}};
}

HWND CMinerRig::Start() {
    m_process = Launch();
    WaitUntil(kWindowMilliseconds, [&] {
        m_window = FindWindowOf(m_process.Id(), kTitleStart);
        return m_window != nullptr || !m_process.IsRunning();
    });
    return m_window;
}

std::wstring CMinerRig::ItemText(int id) const {
    wchar_t text[4000] = {};
    // Across processes only the message reaches a control's text.
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(GetDlgItem(m_window, id), WM_GETTEXT, 4000, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 5000,
                        &ignored);
    return text;
}

testing::AssertionResult CMinerRig::WaitForText(int id, const std::wstring& text) const {
    std::wstring shown;
    if (WaitUntil(kChangeMilliseconds, [&] { return (shown = ItemText(id)) == text; })) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "item " << id << " shows " << testing::PrintToString(shown);
}

bool CMinerRig::WaitForEnabled(int id, bool enabled) const {
    return WaitUntil(kChangeMilliseconds, [&] { return (IsWindowEnabled(GetDlgItem(m_window, id)) != FALSE) == enabled; });
}

std::vector<std::wstring> CMinerRig::GridLines() const {
    std::wistringstream text(ItemText(kGridId));
    std::vector<std::wstring> lines;
    for (std::wstring line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

int CMinerRig::Close() {
    PostMessageW(m_window, WM_CLOSE, 0, 0);
    return m_process.WaitForExit(kWindowMilliseconds);
}

std::string CMinerRig::Logs(const fs::path& folder) {
    std::string text;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_regular_file()) text += FileBytes(entry.path());
    }
    return text;
}

std::vector<unsigned> CMinerRig::ClosingCounts() const {
    const std::string log = MainLog();
    const std::regex pattern("Mining stopped\\. GPU#-?\\d+: A:(\\d+) - S:(\\d+) R:(\\d+)");
    std::vector<unsigned> sums(3);
    for (std::sregex_iterator match(log.begin(), log.end(), pattern), end; match != end; ++match) {
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i] += static_cast<unsigned>(std::stoul((*match)[i + 1]));
    }
    return sums;
}
