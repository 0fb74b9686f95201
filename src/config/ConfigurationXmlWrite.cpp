#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/ConfigurationXml.h"
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
    SetId(element, "ID", pool.ID);
    SetText(element, "Name", pool.Name);
    SetText(element, "Server", pool.Server);
    SetAttribute(element, "Port", pool.Port);
    SetText(element, "WalletUser", pool.WalletUser);
    SetText(element, "Password", pool.Password);
    SetText(element, "WorkerOverride", pool.WorkerOverride);
    SetAttribute(element, "Algo", pool.Algo);
}

void WriteConfig(const ConfigurationEntry& entry, XML_NODE& element) {
    SetId(element, "PrimaryPoolID", entry.primaryPool->ID);
    SetId(element, "SecondaryPoolID", entry.secondaryPool->ID);
    SetAttribute(element, "GpuAttributs", entry.GpuAttributs);
    SetAttribute(element, "PoolAttributs", entry.PoolAttributs);
    XML_NODE& gpus = AddChild(element, "Gpus");
    for (QvGpuRecord* gpu : entry.gpus) {
        XML_NODE& child = AddChild(gpus, "Gpu");
        SetAttribute(child, "ID", std::string_view(HexText(std::span(gpu->uuid, QV_UUID_BYTES))));
        SetAttribute(child, "NGM", ReadNGM(*gpu));
        SetAttribute(child, "NGTO", ReadNGTO(*gpu));
    }
}

}  // namespace

void WriteConfiguration(const MinerConfiguration& configuration, XML_NODE& root) {
    SetText(root, "DefaultWorkerName", configuration.DefaultWorkerName);
    XML_NODE& pools = AddChild(root, "Pools");
    for (const PoolPointer& pool : configuration.pools)
        WritePool(*pool, AddChild(pools, "Pool"));
    XML_NODE& configurations = AddChild(root, "Configurations");
    for (const ConfigurationEntry& entry : configuration.configurations)
        WriteConfig(entry, AddChild(configurations, "Config"));
}
