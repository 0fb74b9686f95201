#include "rig/StateFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "rig/CleanText.h"
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;

fs::path FromEnvironment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? fs::path(value) : fs::path();
}

// -1: it exists already, or cannot be made.
int OpenNew(const fs::path& file) {
#ifdef _WIN32
    return _wopen(file.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
#endif
}

std::error_code LastError() {
    return {errno, std::generic_category()};
}

std::error_code WriteTo(int handle, std::string_view content) {
    std::FILE* const stream = fdopen(handle, "wb");
    if (!stream) {
        const std::error_code error = LastError();
        close(handle);
        return error;
    }
    std::error_code error;
    if (std::fwrite(content.data(), 1, content.size(), stream) != content.size()) error = LastError();
    if (std::fclose(stream) != 0 && !error) error = LastError();
    return error;
}

// Half a file is removed.
std::error_code WriteNew(const fs::path& file, std::string_view content) {
    const int handle = OpenNew(file);
    if (handle < 0) return LastError();
    const std::error_code error = WriteTo(handle, content);
    std::error_code ignored;
    if (error) fs::remove(file, ignored);
    return error;
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
    WritePrivateFile(file, content, true);
}

void WritePrivateFile(const fs::path& file, std::string_view content, bool replace) {
    std::error_code error;
    const fs::file_type type = fs::status(file, error).type();
    if (type != fs::file_type::not_found && (!replace || type != fs::file_type::regular))
        throw std::runtime_error(file.string() + (replace ? " is no file" : " exists already"));
    const fs::path fresh = replace ? fs::path(file.string() + ".new") : file;
    if (replace) fs::remove(fresh, error);  // of an earlier attempt
    error = WriteNew(fresh, content);
    if (!error && replace) fs::rename(fresh, file, error);
    if (error) throw std::runtime_error("cannot write " + file.string() + ": " + CleanText(error.message(), 200));
}

std::optional<std::string> ReadWhole(std::istream& in, std::size_t maxBytes) {
    std::string content(maxBytes + 1, '\0');
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad() || content.size() > maxBytes) return std::nullopt;
    return content;
}

std::optional<std::string> ReadWholeFile(const fs::path& file, std::size_t maxBytes) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    return ReadWhole(in, maxBytes);
}
