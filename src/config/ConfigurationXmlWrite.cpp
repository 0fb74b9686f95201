#include <algorithm>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/ConfigurationXml.h"
#include "config/PoolFields.h"
#include "support/XmlAttributes.h"

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
