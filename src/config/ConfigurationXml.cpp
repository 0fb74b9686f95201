#include "config/ConfigurationXml.h"

#include <algorithm>
#include <limits>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/PoolFields.h"
#include "support/XmlAttributes.h"

// ---- Reading

namespace {

using GpuId = std::array<std::uint8_t, QV_UUID_BYTES>;

template <typename Number>
constexpr std::int64_t kLeast = std::numeric_limits<Number>::min();
template <typename Number>
constexpr std::int64_t kMost = std::numeric_limits<Number>::max();

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

class CConfigurationReader {
  public:
    CConfigurationReader(CConfigurationBuilder& builder, CLoadReport& report) : m_builder(builder), m_report(report) {}

    void ReadRoot(const XML_NODE& root) {
        if (root.name != kConfigurationRoot) m_report.Dropped(L"the root element, which is no MinerConfig");
        m_report.CheckNames(root, {"DefaultWorkerName"}, {"Pools", "Configurations"}, L"the file");
        ReadText(root, "DefaultWorkerName", m_builder.configuration.DefaultWorkerName, L"the file");
        for (const XML_NODE* pool : Collect(root, "Pools", "Pool", L"the file"))
            ReadPool(*pool);
        std::size_t number = 0;
        for (const XML_NODE* config : Collect(root, "Configurations", "Config", L"the file"))
            ReadConfig(*config, std::wstring(L"configuration ").append(std::to_wstring(++number)));
    }

  private:
    // The children of the first list of that name.
    std::vector<const XML_NODE*> Collect(const XML_NODE& element, std::string_view list, std::string_view name,
                                         std::wstring_view owner) {
        const std::vector<const XML_NODE*> lists = CollectChildren(element, list);
        if (lists.empty()) return {};
        const std::wstring listName = NarrowToWide(list);
        for (std::size_t i = 1; i < lists.size(); ++i)
            m_report.Dropped(std::wstring(L"another ").append(listName).append(L" of ").append(owner));
        m_report.CheckNames(*lists[0], {}, {name}, std::wstring(listName).append(L" of ").append(owner));
        return CollectChildren(*lists[0], name);
    }

    void ReadText(const XML_NODE& element, std::string_view name, std::span<wchar_t> field, std::wstring_view owner) {
        const std::string* value = FindAttribute(element, name);
        if (value == nullptr) return;
        const auto drop = [&](const wchar_t* what) {
            m_report.Dropped(std::wstring(what).append(NarrowToWide(name)).append(L" of ").append(owner));
        };
        if (FindOriginal(element, name) != nullptr) drop(L"characters that the system's code page lacks in ");
        if (!NarrowToField(*value, field)) drop(L"the end of ");
    }

    void ReadPool(const XML_NODE& element) {
        PoolEntry pool;
        ReadNumber(element, "ID", pool.ID, ParseId);
        const std::wstring owner = std::wstring(L"pool ").append(std::to_wstring(static_cast<std::int32_t>(pool.ID)));
        std::array<std::string_view, kPoolFields.size()> known;
        std::ranges::transform(kPoolFields, known.begin(), &PoolFieldSpec::attribute);
        m_report.CheckNames(element, known, {}, owner);
        for (const PoolFieldSpec& spec : kPoolFields) {
            if (spec.kind == PoolFieldKind::Text) ReadText(element, spec.attribute, TextOf(pool, spec.field), owner);
        }
        ReadNumber(element, "Port", pool.Port, ParseUInt32);
        ReadNumber(element, "Algo", pool.Algo, ParseInt32);
        for (const PoolFieldSpec& spec : kPoolFields) {
            if (spec.kind == PoolFieldKind::Port)
                m_report.CheckNumber(element, spec.attribute, 1, kMost<std::uint16_t>, owner);
            else if (spec.kind != PoolFieldKind::Text)
                CheckNumber<std::int32_t>(element, spec.attribute, owner);
        }
        if (m_builder.AddPool(pool) == nullptr) m_report.Dropped(std::wstring(L"another ").append(owner));
    }

    template <typename Number>
    void CheckNumber(const XML_NODE& element, std::string_view name, std::wstring_view owner) {
        m_report.CheckNumber(element, name, kLeast<Number>, kMost<Number>, owner);
    }

    // As they are read: signed. Text for more than that saturates.
    void CheckWord(const XML_NODE& element, std::string_view name, std::wstring_view owner) {
        m_report.CheckNumber(element, name, 0, kMost<std::int64_t>, owner);
    }

    PoolPointer ReadPoolReference(const XML_NODE& element, std::string_view name, std::wstring_view owner) {
        const std::string* value = FindAttribute(element, name);
        if (value == nullptr) return m_builder.UnassignedPool();
        const auto id = ParseId(*value);
        PoolPointer pool = m_builder.FindPool(id);
        CheckNumber<std::int32_t>(element, name, owner);
        if (pool->ID != id) {
            m_report.Dropped(NarrowToWide(name).append(L" of ").append(owner).append(L", which names no pool"));
        }
        return pool;
    }

    void ReadConfig(const XML_NODE& element, std::wstring_view owner) {
        m_report.CheckNames(element, {"PrimaryPoolID", "SecondaryPoolID", "GpuAttributs", "PoolAttributs"}, {"Gpus"}, owner);
        ConfigurationEntry entry;
        entry.primaryPool = ReadPoolReference(element, "PrimaryPoolID", owner);
        entry.secondaryPool = ReadPoolReference(element, "SecondaryPoolID", owner);
        ReadNumber(element, "GpuAttributs", entry.GpuAttributs, ParseUInt64);
        ReadNumber(element, "PoolAttributs", entry.PoolAttributs, ParseUInt64);
        CheckWord(element, "GpuAttributs", owner);
        CheckWord(element, "PoolAttributs", owner);
        for (const XML_NODE* gpu : Collect(element, "Gpus", "Gpu", owner))
            ReadGpu(*gpu, entry, owner);
        if (entry.gpus.empty() && entry.absentGpus.empty())
            m_report.Dropped(std::wstring(owner).append(L", which has no GPU"));
        else
            m_builder.AddConfiguration(entry);
    }

    void ReadGpu(const XML_NODE& element, ConfigurationEntry& entry, std::wstring_view owner) {
        const std::string* const text = FindAttribute(element, "ID");
        if (text == nullptr || !IsGpuId(*text)) {
            m_report.Dropped(std::wstring(L"a GPU without a valid ID of ").append(owner));
            return;
        }
        const std::wstring name = std::wstring(L"GPU ").append(NarrowToWide(*text)).append(L" of ").append(owner);
        GpuId id = {};
        HexDecode(*text, id);
        if (std::ranges::find(m_named, id) != m_named.end()) {
            m_report.Dropped(std::wstring(name).append(L", which is named before"));
            return;
        }
        m_named.push_back(id);
        m_report.CheckNames(element, {"ID", "NGM", "NGTO"}, {}, name);
        CheckNumber<std::int32_t>(element, "NGM", name);
        CheckWord(element, "NGTO", name);
        if (QvGpuRecord* const gpu = m_builder.FindGpu(*text)) {
            GpuSetting settings{gpu, std::nullopt, std::nullopt};
            ReadNumber(element, "NGM", settings.NGM, ParseInt32);
            ReadNumber(element, "NGTO", settings.NGTO, ParseUInt64);
            m_builder.configuration.gpuSettings.push_back(settings);
            entry.gpus.push_back(gpu);
            return;
        }
        AbsentGpu absent{id, 0, 0, entry.gpus.size() + entry.absentGpus.size()};
        ReadNumber(element, "NGM", absent.NGM, ParseInt32);
        ReadNumber(element, "NGTO", absent.NGTO, ParseUInt64);
        entry.absentGpus.push_back(absent);
    }

    CConfigurationBuilder& m_builder;
    CLoadReport& m_report;
    std::vector<GpuId> m_named;  // a GPU is in one configuration, once
};

}  // namespace

void ReadConfiguration(const XML_NODE& root, CConfigurationBuilder& builder, CLoadReport& report) {
    CConfigurationReader(builder, report).ReadRoot(root);
}

// ---- Writing

namespace {

void SetText(XML_NODE& element, std::string_view name, const wchar_t* field) {
    SetAttribute(element, name, std::string_view(WideToNarrow(field)));
}

// IDs are unsigned in memory and signed in the file: the unassigned pool is -1.
void SetId(XML_NODE& element, std::string_view name, std::uint32_t id) {
    SetAttribute(element, name, static_cast<std::int32_t>(id));
}

void WritePool(const PoolEntry& pool, XML_NODE& element) {
    for (const PoolFieldSpec& spec : kPoolFields) {
        switch (spec.kind) {
            case PoolFieldKind::Id:
                SetId(element, spec.attribute, pool.ID);
                break;
            case PoolFieldKind::Port:
                SetAttribute(element, spec.attribute, pool.Port);
                break;
            case PoolFieldKind::Number:
                SetAttribute(element, spec.attribute, pool.Algo);
                break;
            case PoolFieldKind::Text:
                SetText(element, spec.attribute, TextOf(pool, spec.field));
                break;
        }
    }
}

void WriteGpu(std::span<const std::uint8_t, QV_UUID_BYTES> uuid, std::int32_t NGM, std::uint64_t NGTO, XML_NODE& gpus) {
    XML_NODE& child = AddChild(gpus, "Gpu");
    SetAttribute(child, "ID", std::string_view(HexText(uuid)));
    SetAttribute(child, "NGM", NGM);
    SetAttribute(child, "NGTO", NGTO);
}

// Writes both lists as one, what is absent in its place.
template <typename Present, typename Absent, typename WritePresent, typename WriteAbsent>
void WriteMerged(const Present& present, const Absent& absent, WritePresent writePresent, WriteAbsent writeAbsent) {
    auto next = absent.begin();
    std::size_t place = 0;
    for (const auto& entry : present) {
        for (; next != absent.end() && next->place <= place; ++next, ++place)
            writeAbsent(*next);
        writePresent(entry);
        ++place;
    }
    std::for_each(next, absent.end(), writeAbsent);
}

void WriteConfig(const ConfigurationEntry& entry, XML_NODE& element) {
    SetId(element, "PrimaryPoolID", entry.primaryPool->ID);
    SetId(element, "SecondaryPoolID", entry.secondaryPool->ID);
    SetAttribute(element, "GpuAttributs", entry.GpuAttributs);
    SetAttribute(element, "PoolAttributs", entry.PoolAttributs);
    XML_NODE& gpus = AddChild(element, "Gpus");
    WriteMerged(
        entry.gpus, entry.absentGpus,
        [&gpus](QvGpuRecord* gpu) {
            WriteGpu(std::span(gpu->uuid).first<QV_UUID_BYTES>(), ReadNGM(*gpu), ReadNGTO(*gpu), gpus);
        },
        [&gpus](const AbsentGpu& gpu) { WriteGpu(gpu.uuid, gpu.NGM, gpu.NGTO, gpus); });
}

}  // namespace

void WriteConfiguration(const MinerConfiguration& configuration, XML_NODE& root) {
    SetText(root, "DefaultWorkerName", configuration.DefaultWorkerName);
    XML_NODE& pools = AddChild(root, "Pools");
    for (const PoolPointer& pool : configuration.pools)
        WritePool(*pool, AddChild(pools, "Pool"));
    XML_NODE& list = AddChild(root, "Configurations");
    WriteMerged(
        configuration.configurations, configuration.absentConfigurations,
        [&list](const ConfigurationEntry& entry) { WriteConfig(entry, AddChild(list, "Config")); },
        [&list](const AbsentConfiguration& absent) { WriteConfig(absent.entry, AddChild(list, "Config")); });
}
