#pragma once
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/AlgorithmList.h"
#include "config/ConfigurationXml.h"
#include "config/LoadReport.h"
#include "config/PublishedConfiguration.h"
#include "support/XmlFormat.h"

inline const std::string kGpuA = "000102030405060708090a0b0c0d0e0f";

// Two GPUs (A, B) at the unassigned pool and the algorithms 0 "Zero", 2 "Two" and another 2 "Second two".
struct CRig {
    CRig() {
        for (const auto& [id, name] : {std::pair(2, L"Two"), {0, L"Zero"}, {2, L"Second two"}}) {
            AlgorithmEntry entry;
            entry.record.id = id;
            CopyToField(std::wstring_view(name), entry.record.name);
            algorithms.Add(entry);
        }
        HexDecode(kGpuA, A().uuid);
        HexDecode("ffeeddccbbaa99887766554433221100", B().uuid);
        unassignedPool = MakeUnassignedPool(algorithms);
        published.emplace(gpus, unassignedPool);
    }
    CRig(const CRig&) = delete;
    CRig& operator=(const CRig&) = delete;

    CConfigurationBuilder Builder() const { return {algorithms, gpus, unassignedPool}; }
    // Of a document's text, on top of the worker name "host"; an unparsable one fails the test.
    MinerConfiguration Read(std::string_view xml, CLoadReport& report) const {
        CConfigurationBuilder builder = Builder();
        CopyToField(std::wstring_view(L"host"), builder.configuration.DefaultWorkerName);
        CBKXmlFormat document;
        const XML_NODE* root = document.Parse(xml);
        EXPECT_NE(root, nullptr) << xml;
        if (root != nullptr) ReadConfiguration(*root, builder, report);
        return builder.configuration;
    }
    // The text that is saved after the configuration was put in force.
    std::string Write(MinerConfiguration configuration) {
        published->Publish(std::move(configuration));
        CBKXmlFormat document;
        WriteConfiguration(*published->Current(), *document.AddRootNode(kConfigurationRoot));
        return document.Write();
    }

    QvGpuRecord& A() { return records[0]; }
    QvGpuRecord& B() { return records[1]; }

    std::array<QvGpuRecord, 2> records = {};
    std::array<QvGpuRecord*, 2> gpus = {&records[0], &records[1]};
    CAlgorithmList algorithms;
    PoolPointer unassignedPool;
    std::optional<CPublishedConfiguration> published;
};

// Documents of one pool, and of one configuration beside the pools 1 and 2.
inline std::string OnePool(const std::string& attributes) {
    return "<MinerConfig><Pools><Pool " + attributes + "/></Pools></MinerConfig>";
}
inline std::string OneConfig(const std::string& attributes, const std::string& gpus) {
    return "<MinerConfig><Pools><Pool ID=\"1\"/><Pool ID=\"2\"/></Pools><Configurations><Config " + attributes + "><Gpus>" +
           gpus + "</Gpus></Config></Configurations></MinerConfig>";
}
