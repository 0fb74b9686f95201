#pragma once
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "common/CodePage.h"
#include "config/AlgorithmList.h"
#include "config/PublishedConfiguration.h"

// Three GPUs; the algorithms 3 ("Etchash", H/s) and 5 ("Zhash", Sol/s); the pools 1 and 2 of algorithm 3, 7 of algorithm 5
// and 8 of one that no plug-in has. Configuration 0: pool 1, backup 2, GPUs 0 and 1. Configuration 1: pool 7, no backup,
// GPU 2.
class CGuiRig {
  public:
    CGuiRig() {
        AddAlgorithm(3, L"Etchash", L"H/s");
        AddAlgorithm(5, L"Zhash", L"Sol/s");
        for (std::size_t i = 0; i < records.size(); ++i) {
            records[i].cudaId = static_cast<std::int32_t>(i);
            records[i].uuid[0] = static_cast<std::uint8_t>(i + 1);
            CopyToField(std::string_view("Card"), records[i].name);
        }
        unassignedPool = MakeUnassignedPool(algorithms);
        published.emplace(gpus, unassignedPool);
        CConfigurationBuilder builder = Builder();
        CopyToField(std::wstring_view(L"rig"), builder.configuration.DefaultWorkerName);
        AddPool(builder, 1, L"One", 3);
        AddPool(builder, 2, L"Two", 3);
        AddPool(builder, 7, L"Seven", 5);
        AddPool(builder, 8, L"Eight", 99);
        builder.AddConfiguration({builder.FindPool(1), builder.FindPool(2), 4, 5, {&records[0], &records[1]}});
        builder.AddConfiguration({builder.FindPool(7), unassignedPool, 0, 0, {&records[2]}});
        published->Publish(std::move(builder.configuration));
    }
    CGuiRig(const CGuiRig&) = delete;
    CGuiRig& operator=(const CGuiRig&) = delete;

    CConfigurationBuilder Builder() const { return {algorithms, gpus, unassignedPool}; }
    ConfigurationPointer Current() const { return published->Current(); }

    std::array<QvGpuRecord, 3> records = {};
    std::array<QvGpuRecord*, 3> gpus = {&records[0], &records[1], &records[2]};
    CAlgorithmList algorithms;
    PoolPointer unassignedPool;
    std::optional<CPublishedConfiguration> published;

  private:
    void AddAlgorithm(std::int32_t id, const wchar_t* name, const wchar_t* unit) {
        AlgorithmEntry entry;
        entry.record.id = id;
        CopyToField(std::wstring_view(name), entry.record.name);
        entry.unit = unit;
        algorithms.Add(entry);
    }

    static void AddPool(CConfigurationBuilder& builder, std::uint32_t id, const wchar_t* name, std::int32_t algorithm) {
        PoolEntry pool;
        pool.ID = id;
        pool.Algo = algorithm;
        pool.Port = 4000 + id;
        CopyToField(std::wstring_view(name), pool.Name);
        CopyToField(std::wstring_view(L"pool.example"), pool.Server);
        CopyToField(std::wstring_view(L"0x0123456789abcdef"), pool.WalletUser);
        CopyToField(std::wstring_view(L"secret"), pool.Password);
        builder.AddPool(pool);
    }
};
