// Any document is read as a configuration and as settings. What is written then loads and, once the 64-bit words have
// saturated, is written again with the same bytes.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>

#include "common/Hex.h"
#include "config/AlgorithmList.h"
#include "config/ConfigurationXml.h"
#include "config/PublishedConfiguration.h"
#include "config/RuntimeSettingsXml.h"
#include "support/XmlFormat.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

class CFuzzRig {
  public:
    CFuzzRig() {
        HexDecode("000102030405060708090a0b0c0d0e0f", m_records[0].uuid);
        HexDecode("ffeeddccbbaa99887766554433221100", m_records[1].uuid);
        AlgorithmEntry entry;
        entry.record.id = 2;
        m_algorithms.Add(entry);
    }

    // The document that a save writes after a load of the tree.
    std::string LoadAndSave(const XML_NODE& root, CLoadReport& report) {
        CConfigurationBuilder builder(m_algorithms, m_gpus, m_unassignedPool);
        ReadConfiguration(root, builder, report);
        CheckFields(builder.configuration);
        CPublishedConfiguration published(m_gpus, m_unassignedPool);
        published.Publish(std::move(builder.configuration));
        CBKXmlFormat document;
        WriteConfiguration(*published.Current(), *document.AddRootNode(kConfigurationRoot));
        return document.Write();
    }

  private:
    template <std::size_t Size>
    static void RequireTerminated(const wchar_t (&field)[Size]) {
        Require(std::find(std::begin(field), std::end(field), L'\0') != std::end(field));
    }

    static void CheckFields(const MinerConfiguration& configuration) {
        RequireTerminated(configuration.DefaultWorkerName);
        for (const PoolPointer& pool : configuration.pools) {
            RequireTerminated(pool->Name);
            RequireTerminated(pool->Server);
            RequireTerminated(pool->WalletUser);
            RequireTerminated(pool->Password);
            RequireTerminated(pool->WorkerOverride);
            Require(pool->algorithm != nullptr);
        }
        for (const ConfigurationEntry& entry : configuration.configurations) {
            Require(entry.primaryPool != nullptr && entry.secondaryPool != nullptr && !entry.gpus.empty());
        }
    }

    std::array<QvGpuRecord, 2> m_records = {};
    std::array<QvGpuRecord*, 2> m_gpus = {&m_records[0], &m_records[1]};
    CAlgorithmList m_algorithms;
    PoolPointer m_unassignedPool = MakeUnassignedPool(m_algorithms);
};

void CheckConfiguration(const XML_NODE& root) {
    CFuzzRig rig;
    CLoadReport first;
    std::string text = rig.LoadAndSave(root, first);
    Require(first.Text().size() < 4096);
    constexpr int kRoundsToSaturate = 2;
    for (int round = 0;; ++round) {
        CBKXmlFormat document;
        const XML_NODE* saved = document.Parse(text);
        CLoadReport report;
        Require(saved != nullptr);
        const std::string next = rig.LoadAndSave(*saved, report);
        Require(!document.LostCharacters() && !document.LostText());
        if (next == text) return;
        Require(round < kRoundsToSaturate);
        text = next;
    }
}

std::string WriteSettings(const RuntimeSettings& settings) {
    CBKXmlFormat document;
    WriteRuntimeSettings(settings, *document.AddRootNode(kRuntimeSettingsRoot));
    return document.Write();
}

void CheckSettings(const XML_NODE& root) {
    RuntimeSettings settings;
    CLoadReport report;
    ReadRuntimeSettings(root, settings, report);
    const std::string text = WriteSettings(settings);
    CBKXmlFormat document;
    const XML_NODE* saved = document.Parse(text);
    Require(saved != nullptr);
    RuntimeSettings again;
    ReadRuntimeSettings(*saved, again, report);
    Require(WriteSettings(again) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse({static_cast<const char*>(static_cast<const void*>(data)), size});
    if (root == nullptr) return 0;
    CheckConfiguration(*root);
    CheckSettings(*root);
    return 0;
}
