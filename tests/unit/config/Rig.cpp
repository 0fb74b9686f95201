#include "Rig.h"

#include <gtest/gtest.h>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/ConfigurationXml.h"
#include "support/XmlFormat.h"

CRig::CRig() {
    const auto add = [this](std::int32_t id, std::wstring_view name) {
        AlgorithmEntry entry;
        entry.record.id = id;
        CopyToField(name, entry.record.name);
        algorithms.Add(entry);
    };
    add(2, L"Two");
    add(0, L"Zero");
    add(2, L"Second two");
    HexDecode(kGpuA, records[0].uuid);
    HexDecode(kGpuB, records[1].uuid);
    unassignedPool = MakeUnassignedPool(algorithms);
    for (QvGpuRecord* gpu : gpus)
        AssignPool(*gpu, *unassignedPool);
}

MinerConfiguration CRig::Read(std::string_view xml, CLoadReport& report) const {
    CConfigurationBuilder builder = Builder();
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse(xml);
    EXPECT_NE(root, nullptr) << xml;
    if (root != nullptr) ReadConfiguration(*root, builder, report);
    return builder.configuration;
}

MinerConfiguration CRig::Read(std::string_view xml) const {
    CLoadReport report;
    return Read(xml, report);
}

std::string WriteText(const MinerConfiguration& configuration) {
    CBKXmlFormat document;
    WriteConfiguration(configuration, *document.AddRootNode(kConfigurationRoot));
    return document.Write();
}

std::string OnePool(const std::string& poolAttributes) {
    return "<MinerConfig><Pools><Pool " + poolAttributes + "/></Pools></MinerConfig>";
}

std::string OneConfig(const std::string& configAttributes, const std::string& gpus) {
    return "<MinerConfig><Pools><Pool ID=\"1\"/><Pool ID=\"2\"/></Pools><Configurations><Config " + configAttributes +
           "><Gpus>" + gpus + "</Gpus></Config></Configurations></MinerConfig>";
}
