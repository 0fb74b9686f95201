#include "common/CodePage.h"
#include "config/ConfigurationXml.h"
#include "support/XmlAttributes.h"

namespace {

// The 64-bit words are written unsigned, but read as the C runtime reads a signed number.
std::uint64_t ParseUInt64(const std::string& text) {
    return static_cast<std::uint64_t>(ParseInt64(text));
}

std::uint32_t ParseId(const std::string& text) {
    return static_cast<std::uint32_t>(ParseInt32(text));
}

// Stores the value of the attribute, if there is one.
template <typename Field, typename Number>
void ReadNumber(const XML_NODE& element, std::string_view name, Field& field, Number (*parse)(const std::string&)) {
    if (const std::string* value = FindAttribute(element, name)) field = parse(*value);
}

std::vector<const XML_NODE*> CollectFrom(const XML_NODE& root, std::string_view list, std::string_view name) {
    const XML_NODE* parent = FindChild(root, list);
    return parent == nullptr ? std::vector<const XML_NODE*>() : CollectChildren(*parent, name);
}

class CConfigurationReader {
  public:
    CConfigurationReader(CConfigurationBuilder& builder, CLoadReport& report) : m_builder(builder), m_report(report) {}

    void ReadRoot(const XML_NODE& root) {
        if (root.name != kConfigurationRoot) m_report.Dropped(L"the root element, which is no MinerConfig");
        ReadText(root, "DefaultWorkerName", m_builder.configuration.DefaultWorkerName, L"the file");
        for (const XML_NODE* pool : CollectFrom(root, "Pools", "Pool"))
            ReadPool(*pool);
        std::size_t number = 0;
        for (const XML_NODE* config : CollectFrom(root, "Configurations", "Config"))
            ReadConfig(*config, std::wstring(L"configuration ").append(std::to_wstring(++number)));
    }

  private:
    void ReadText(const XML_NODE& element, std::string_view name, std::span<wchar_t> field, std::wstring_view owner) {
        const std::string* value = FindAttribute(element, name);
        if (value == nullptr || NarrowToField(*value, field)) return;
        m_report.Dropped(std::wstring(L"the end of ").append(NarrowToWide(name)).append(L" of ").append(owner));
    }

    void ReadPool(const XML_NODE& element) {
        PoolEntry pool;
        ReadNumber(element, "ID", pool.ID, ParseId);
        const std::wstring owner = std::wstring(L"pool ").append(std::to_wstring(static_cast<std::int32_t>(pool.ID)));
        ReadText(element, "Name", pool.Name, owner);
        ReadText(element, "Server", pool.Server, owner);
        ReadNumber(element, "Port", pool.Port, ParseUInt32);
        ReadText(element, "WalletUser", pool.WalletUser, owner);
        ReadText(element, "Password", pool.Password, owner);
        ReadText(element, "WorkerOverride", pool.WorkerOverride, owner);
        ReadNumber(element, "Algo", pool.Algo, ParseInt32);
        if (m_builder.AddPool(pool) == nullptr) m_report.Dropped(std::wstring(L"another ").append(owner));
    }

    PoolPointer ReadPoolReference(const XML_NODE& element, std::string_view name, std::wstring_view owner) {
        const std::string* value = FindAttribute(element, name);
        if (value == nullptr) return m_builder.UnassignedPool();
        const auto id = ParseId(*value);
        PoolPointer pool = m_builder.FindPool(id);
        if (pool->ID != id) {
            m_report.Dropped(NarrowToWide(name).append(L" of ").append(owner).append(L", which names no pool"));
        }
        return pool;
    }

    void ReadConfig(const XML_NODE& element, std::wstring_view owner) {
        ConfigurationEntry entry;
        entry.primaryPool = ReadPoolReference(element, "PrimaryPoolID", owner);
        entry.secondaryPool = ReadPoolReference(element, "SecondaryPoolID", owner);
        ReadNumber(element, "GpuAttributs", entry.GpuAttributs, ParseUInt64);
        ReadNumber(element, "PoolAttributs", entry.PoolAttributs, ParseUInt64);
        std::vector<const XML_NODE*> absent;
        for (const XML_NODE* gpu : CollectFrom(element, "Gpus", "Gpu")) {
            if (!ReadGpu(*gpu, entry)) absent.push_back(gpu);
        }
        if (entry.gpus.empty()) {
            m_report.Dropped(std::wstring(owner).append(L", none of whose GPUs is present"));
            return;
        }
        for (const XML_NODE* gpu : absent)
            m_report.Dropped(GpuText(*gpu).append(L" of ").append(owner).append(L", which is not present"));
        m_builder.AddConfiguration(entry);
    }

    // False: the element names no GPU of this machine.
    bool ReadGpu(const XML_NODE& element, ConfigurationEntry& entry) {
        const std::string* id = FindAttribute(element, "ID");
        QvGpuRecord* gpu = id == nullptr ? nullptr : m_builder.FindGpu(*id);
        if (gpu == nullptr) return false;
        GpuSetting settings{gpu, std::nullopt, std::nullopt};
        ReadNumber(element, "NGM", settings.NGM, ParseInt32);
        ReadNumber(element, "NGTO", settings.NGTO, ParseUInt64);
        m_builder.configuration.gpuSettings.push_back(settings);
        entry.gpus.push_back(gpu);
        return true;
    }

    // The file's text goes into the log only when it has the form of an ID.
    static std::wstring GpuText(const XML_NODE& element) {
        const std::string* id = FindAttribute(element, "ID");
        const bool plain = id != nullptr && IsGpuId(*id);
        return std::wstring(L"GPU ").append(plain ? NarrowToWide(*id) : L"without a valid ID");
    }

    CConfigurationBuilder& m_builder;
    CLoadReport& m_report;
};

}  // namespace

void ReadConfiguration(const XML_NODE& root, CConfigurationBuilder& builder, CLoadReport& report) {
    CConfigurationReader(builder, report).ReadRoot(root);
}
