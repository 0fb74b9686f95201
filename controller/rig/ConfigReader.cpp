#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "common/AlgorithmNames.h"
#include "common/PoolAddress.h"
#include "rig/CleanText.h"
#include "rig/ConfigFile.h"

namespace {

using Value = rapidjson::Value;

constexpr std::size_t kMaxFileBytes = 1 << 20;
constexpr std::size_t kMaxItems = 256;
constexpr std::size_t kMaxServer = 259;
constexpr std::int64_t kMaxId = 2'147'483'647;

std::string_view View(const Value& text) {
    return {text.GetString(), text.GetStringLength()};
}

std::string Item(const std::string& list, std::size_t index) {
    return list + "[" + std::to_string(index) + "]";
}

std::string PlaceInText(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none
    return "line " + std::to_string(line) + ", column " + std::to_string(offset - lineStart + 1);
}

std::string KnownAlgorithms() {
    std::string text;
    for (const NamedAlgorithm& known : kNamedAlgorithms)
        text.append(text.empty() ? "\"" : ", \"")
            .append(known.name)
            .append("\" (")
            .append(std::to_string(known.id))
            .append(")");
    return text;
}

// How many characters the miner keeps of a text.
struct TextRule {
    const char* name;
    std::size_t most;
    bool mayBeEmpty;
};

class CConfigReader {
  public:
    ConfigReading Read(std::string_view text);

  private:
    void Mistake(const std::string& place, const std::string& what) { m_reading.mistakes.push_back(place + ": " + what); }
    bool CheckMembers(const Value& object, const std::string& place, std::span<const char* const> known);
    const Value* Required(const Value& object, const std::string& place, const char* name);
    const Value* RequiredList(const Value& object, const char* name);
    std::int32_t Integer(const Value& object, const std::string& place, const char* name, std::int64_t low,
                         std::int64_t high);
    std::string Text(const Value& value, const std::string& place, const TextRule& rule);
    std::string RequiredText(const Value& object, const std::string& place, const TextRule& rule);
    std::optional<std::string> OptionalText(const Value& object, const std::string& place, const TextRule& rule);
    void ReadPool(const Value& item, const std::string& place);
    bool ReadPoolId(const Value& item, const std::string& place, PoolRecord& pool);
    void ReadAddress(const Value& item, const std::string& place, PoolRecord& pool);
    std::int32_t ReadAlgorithm(const Value& item, const std::string& place);
    std::string ReadWallet(const Value& item, const std::string& place);
    void NamePool(const std::string& name, std::size_t firstMistake);
    void ReadConfig(const Value& item, const std::string& place);
    std::int32_t PoolReference(const Value& item, const std::string& place, const char* name);
    std::vector<GpuSelector> ReadGpus(const Value& gpus, const std::string& place);
    void ReadGpu(const Value& gpu, const std::string& place, std::vector<GpuSelector>& selectors);

    ConfigReading m_reading;
    bool m_idsKnown = false;  // of all pools; else references to them are not judged
};

ConfigReading CConfigReader::Read(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (text.size() > kMaxFileBytes) {
        Mistake("file", "longer than 1 MiB");
        return std::move(m_reading);
    }
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    if (document.HasParseError()) {
        Mistake(PlaceInText(text, document.GetErrorOffset()), rapidjson::GetParseError_En(document.GetParseError()));
        return std::move(m_reading);
    }
    static constexpr const char* kKnown[] = {"pools", "config"};
    if (!CheckMembers(document, "file", kKnown)) return std::move(m_reading);
    if (const Value* const pools = RequiredList(document, "pools")) {
        m_idsKnown = true;
        for (rapidjson::SizeType i = 0; i < pools->Size(); ++i)
            ReadPool((*pools)[i], Item("pools", i));
    }
    if (const Value* const configs = RequiredList(document, "config"))
        for (rapidjson::SizeType i = 0; i < configs->Size(); ++i)
            ReadConfig((*configs)[i], Item("config", i));
    return std::move(m_reading);
}

// Names members that are unknown (typing errors) or stand twice. Those that begin with '_' are comments.
bool CConfigReader::CheckMembers(const Value& object, const std::string& place, std::span<const char* const> known) {
    if (!object.IsObject()) {
        Mistake(place, "must be an object");
        return false;
    }
    std::vector<std::string_view> seen;
    for (const auto& member : object.GetObject()) {
        const std::string_view name = View(member.name);
        if (name.starts_with('_')) continue;
        const std::string where = place + "." + CleanText(name, 64);
        if (std::find(known.begin(), known.end(), name) == known.end()) Mistake(where, "unknown member");
        if (std::find(seen.begin(), seen.end(), name) != seen.end()) Mistake(where, "stands twice");
        seen.push_back(name);
    }
    return true;
}

const Value* CConfigReader::Required(const Value& object, const std::string& place, const char* name) {
    const auto found = object.FindMember(name);
    if (found != object.MemberEnd()) return &found->value;
    Mistake(place + "." + name, "missing");
    return nullptr;
}

const Value* CConfigReader::RequiredList(const Value& object, const char* name) {
    const auto found = object.FindMember(name);
    if (found == object.MemberEnd()) {
        Mistake(name, "missing");
    } else if (!found->value.IsArray() || found->value.Empty()) {
        Mistake(name, "must be a list with at least one element");
    } else if (found->value.Size() > kMaxItems) {
        Mistake(name, "has more than " + std::to_string(kMaxItems) + " elements");
    } else {
        return &found->value;
    }
    return nullptr;
}

std::int32_t CConfigReader::Integer(const Value& object, const std::string& place, const char* name, std::int64_t low,
                                    std::int64_t high) {
    const Value* const value = Required(object, place, name);
    if (!value) return 0;
    const bool fits = value->IsInt64() && value->GetInt64() >= low && value->GetInt64() <= high;
    if (fits) return static_cast<std::int32_t>(value->GetInt64());
    Mistake(place + "." + name, "must be a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    return 0;
}

std::string CConfigReader::Text(const Value& value, const std::string& place, const TextRule& rule) {
    const std::string where = place + "." + rule.name;
    if (!value.IsString()) {
        Mistake(where, "must be a text");
        return {};
    }
    const std::string_view text = View(value);
    if (text.empty() && !rule.mayBeEmpty) Mistake(where, "must not be empty");
    if (text.size() > rule.most) Mistake(where, "longer than " + std::to_string(rule.most) + " characters");
    if (!IsPlainAscii(text)) Mistake(where, "only printable ASCII characters reach the miner unchanged");
    return std::string(text);
}

std::string CConfigReader::RequiredText(const Value& object, const std::string& place, const TextRule& rule) {
    const Value* const value = Required(object, place, rule.name);
    return value ? Text(*value, place, rule) : std::string();
}

std::optional<std::string> CConfigReader::OptionalText(const Value& object, const std::string& place, const TextRule& rule) {
    const auto found = object.FindMember(rule.name);
    if (found == object.MemberEnd()) return std::nullopt;
    return Text(found->value, place, rule);
}

void CConfigReader::ReadPool(const Value& item, const std::string& place) {
    static constexpr const char* kKnown[] = {"id", "name", "server", "port", "algo", "wallet", "password", "workeroverride"};
    const std::size_t before = m_reading.mistakes.size();
    if (!CheckMembers(item, place, kKnown)) {
        m_idsKnown = false;
        return;
    }
    PoolRecord pool;
    m_idsKnown = ReadPoolId(item, place, pool) && m_idsKnown;
    pool.name = RequiredText(item, place, {"name", 63, true});
    ReadAddress(item, place, pool);
    pool.algo = ReadAlgorithm(item, place);
    pool.wallet = ReadWallet(item, place);
    pool.password = OptionalText(item, place, {"password", 63, true});
    if (pool.password == kPasswordMask) Mistake(place + ".password", "only the mask that is shown for a password");
    pool.workerOverride = OptionalText(item, place, {"workeroverride", 31, true});
    NamePool(pool.name, before);
    m_reading.file.pools.push_back(std::move(pool));
}

// False: there is no such number.
bool CConfigReader::ReadPoolId(const Value& item, const std::string& place, PoolRecord& pool) {
    const std::size_t before = m_reading.mistakes.size();
    pool.id = Integer(item, place, "id", 0, kMaxId);
    if (m_reading.mistakes.size() != before) return false;
    for (std::size_t i = 0; i < m_reading.file.pools.size(); ++i)
        if (m_reading.file.pools[i].id == pool.id) Mistake(place + ".id", "already used by " + Item("pools", i));
    return true;
}

// A port that the server's text names counts before the member.
void CConfigReader::ReadAddress(const Value& item, const std::string& place, PoolRecord& pool) {
    const std::size_t before = m_reading.mistakes.size();
    const std::string text = RequiredText(item, place, {"server", kMaxServer, false});
    PoolAddress address;
    if (m_reading.mistakes.size() == before) address = ParsePoolAddress(text);
    if (!address.reason.empty()) Mistake(place + ".server", address.reason);
    if (address.host == kSampleServer) Mistake(place + ".server", "still the sample's: put in the server of your pool");
    const std::optional<std::uint32_t> port = std::exchange(address.port, std::nullopt);  // it has a member of its own
    pool.server = PoolAddressUrl(address);
    if (pool.server.size() > kMaxServer) Mistake(place + ".server", "too long with the certificate's fingerprint");
    const bool mayStandInServer = port || !address.reason.empty();
    if (!mayStandInServer || item.HasMember("port")) pool.port = Integer(item, place, "port", 1, 65535);
    if (port) pool.port = static_cast<std::int32_t>(*port);
}

std::int32_t CConfigReader::ReadAlgorithm(const Value& item, const std::string& place) {
    const auto found = item.FindMember("algo");
    if (found == item.MemberEnd() || !found->value.IsString()) return Integer(item, place, "algo", 0, kMaxId);
    const std::string_view name = View(found->value);
    if (const std::optional<std::int32_t> id = AlgorithmId(name)) return *id;
    std::string text = "\"";
    text.append(CleanText(name, 40)).append("\" is no algorithm; known: ").append(KnownAlgorithms());
    Mistake(place + ".algo", text.append(", or the number of another plug-in"));
    return 0;
}

std::string CConfigReader::ReadWallet(const Value& item, const std::string& place) {
    std::string wallet = RequiredText(item, place, {"wallet", 259, false});
    const bool isPlaceholder = wallet == kSampleWallet || wallet.find("...") != std::string::npos;
    if (isPlaceholder) Mistake(place + ".wallet", "still a sample's: put in your own");
    if (wallet.find(' ') != std::string::npos) Mistake(place + ".wallet", "must not hold blanks");
    return wallet;
}

// People know their pools by name rather than by place.
void CConfigReader::NamePool(const std::string& name, std::size_t firstMistake) {
    if (name.empty()) return;
    for (std::size_t i = firstMistake; i < m_reading.mistakes.size(); ++i)
        m_reading.mistakes[i] += " (pool \"" + CleanText(name, 80) + "\")";
}

std::int32_t CConfigReader::PoolReference(const Value& item, const std::string& place, const char* name) {
    const std::size_t before = m_reading.mistakes.size();
    const std::int32_t id = Integer(item, place, name, 0, kMaxId);
    if (m_reading.mistakes.size() != before || !m_idsKnown) return id;
    const auto& pools = m_reading.file.pools;
    const bool found = std::any_of(pools.begin(), pools.end(), [&](const PoolRecord& pool) { return pool.id == id; });
    if (!found) Mistake(place + "." + name, "no pool has the id " + std::to_string(id));
    return id;
}

void CConfigReader::ReadConfig(const Value& item, const std::string& place) {
    static constexpr const char* kKnown[] = {"primary-poolid", "secondary-poolid", "gpus"};
    if (!CheckMembers(item, place, kKnown)) return;
    ConfigRecord config;
    config.primaryPool = PoolReference(item, place, "primary-poolid");
    config.secondaryPool = PoolReference(item, place, "secondary-poolid");
    if (const Value* const gpus = Required(item, place, "gpus")) config.gpus = ReadGpus(*gpus, place + ".gpus");
    m_reading.file.configs.push_back(std::move(config));
}

std::vector<GpuSelector> CConfigReader::ReadGpus(const Value& gpus, const std::string& place) {
    std::vector<GpuSelector> selectors;
    if (gpus.IsString()) {
        ReadGpu(gpus, place, selectors);
    } else if (!gpus.IsArray() || gpus.Empty() || gpus.Size() > kMaxItems) {
        Mistake(place, "must be \"all\" or a list of CUDA indices and UUIDs");
    } else {
        for (rapidjson::SizeType i = 0; i < gpus.Size(); ++i)
            ReadGpu(gpus[i], Item(place, i), selectors);
    }
    return selectors;
}

void CConfigReader::ReadGpu(const Value& gpu, const std::string& place, std::vector<GpuSelector>& selectors) {
    std::optional<GpuSelector> selector;
    if (gpu.IsString()) selector = ParseGpuSelector(View(gpu));
    if (gpu.IsUint()) selector = ParseGpuSelector(std::to_string(gpu.GetUint()));
    if (selector)
        selectors.push_back(std::move(*selector));
    else
        Mistake(place, "must be \"all\", a CUDA index (0, 1, ...) or a UUID of 32 hexadecimal digits");
}

}  // namespace

ConfigReading ReadConfigFile(std::string_view json) {
    return CConfigReader().Read(json);
}
