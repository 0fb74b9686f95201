#include "PoolProcess.h"

#include <cstdlib>

namespace {

constexpr DWORD kStartMilliseconds = 60000;  // the pool makes its light cache first
constexpr char kStaleShare[] = "share rejected stale";

std::wstring CommandLine(const std::string& arguments) {
    const std::string line = "\"" QV_DEVPOOL "\" --port 0 " + arguments;
    return {line.begin(), line.end()};
}

unsigned ParsePort(const std::string& output) {
    const std::string start = "listening on 127.0.0.1:";
    const std::size_t at = output.find(start);
    return at == std::string::npos ? 0
                                   : static_cast<unsigned>(std::strtoul(output.c_str() + at + start.size(), nullptr, 10));
}

std::size_t CountIn(const std::string& output, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1))
        ++count;
    return count;
}

}  // namespace

CPoolProcess::CPoolProcess(const std::filesystem::path& folder, const std::string& name, const std::string& arguments)
    : m_output(folder / (name + ".log")), m_process(CommandLine(arguments), folder, m_output) {
    WaitUntil(kStartMilliseconds, [&] { return (m_port = ParsePort(Output())) != 0 || !m_process.IsRunning(); });
}

std::size_t CPoolProcess::Count(const std::string& text) const {
    return CountIn(Output(), text);
}

std::size_t CPoolProcess::Refused() const {
    const std::string output = Output();  // read once: the pool writes on
    return CountIn(output, "share rejected") - CountIn(output, kStaleShare);
}

std::size_t CPoolProcess::Stale() const {
    return Count(kStaleShare);
}

bool CPoolProcess::WaitForAccepted(std::size_t shares, DWORD milliseconds) const {
    return WaitUntil(milliseconds, [&] { return Count("share accepted") >= shares; });
}
