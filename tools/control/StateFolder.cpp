#include "StateFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

fs::path FromEnvironment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? fs::path(value) : fs::path();
}

}  // namespace

fs::path CStateFolder::DefaultPath() {
#ifdef _WIN32
    const fs::path base = FromEnvironment("APPDATA");
#else
    fs::path base = FromEnvironment("XDG_STATE_HOME");
    if (base.is_relative()) base = FromEnvironment("HOME") / ".local" / "state";
#endif
    return base / "quorvel-control";
}

fs::path CStateFolder::SentFile(const RigAddress& rig) const {
    std::string name = rig.Text();
    for (char& c : name)
        if (c == ':' || c == '[' || c == ']' || c == '%') c = '_';
    return m_folder / ("sent-" + name + ".json");
}

void CStateFolder::Write(const fs::path& file, std::string_view content) const {
    std::error_code error;
    fs::create_directories(m_folder, error);
    fs::permissions(m_folder, fs::perms::owner_all, error);
    const fs::path fresh = file.string() + ".new";
    // Made empty first: the content must not be readable by others for a moment either.
    std::ofstream(fresh, std::ios::binary | std::ios::trunc).close();
    fs::permissions(fresh, fs::perms::owner_read | fs::perms::owner_write, error);
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (out) fs::rename(fresh, file, error);
    if (!out || error) throw std::runtime_error("cannot write " + file.string());
}

std::optional<std::string> ReadWholeFile(const fs::path& file, std::size_t maxBytes) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::string content(maxBytes + 1, '\0');
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad() || content.size() > maxBytes) return std::nullopt;
    return content;
}
