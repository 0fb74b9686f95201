#include "SessionRecorder.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

PoolEntry MakePool(std::uint32_t id, const wchar_t* server, std::int32_t algorithm) {
    PoolEntry pool;
    pool.ID = id;
    std::wcsncpy(pool.Server, server, std::size(pool.Server) - 1);
    std::wcsncpy(pool.WalletUser, L"0xwallet", std::size(pool.WalletUser) - 1);
    std::wcsncpy(pool.Password, L"secret", std::size(pool.Password) - 1);
    pool.Port = 4444;
    pool.Algo = algorithm;
    return pool;
}

void CSessionRecorder::UsePools(const std::vector<PoolEntry>& entries) {
    pools.clear();
    for (const PoolEntry& entry : entries)
        pools.push_back(std::make_shared<const PoolEntry>(entry));
    session.SetPools(pools);
}

CSessionRecorder::Events CSessionRecorder::Line(std::string_view line) {
    m_events.clear();
    std::vector<char> memory(line.begin(), line.end());
    memory.push_back('\0');
    session.LineReceived({memory.data(), line.size()});
    return Take();
}

void CSessionRecorder::LogIn(ProtocolMode mode) {
    UsePools({MakePool(1, L"pool.example", mode == ProtocolMode::EthProxy ? 3 : 7)});
    session.Connected();
    const bool isNiceHash = mode == ProtocolMode::NiceHash;
    Line(isNiceHash ? R"({"id":1,"result":[["mining.notify","s","EthereumStratum/1.0.0"],"ab12"],"error":null})"
                    : R"({"id":1,"result":true,"error":null})");
    Line(R"({"id":2,"result":true,"error":null})");
}

void CSessionRecorder::PoolErrorHappened(const PoolError& error) {
    m_events.push_back("pool-error " + std::to_string(error.code) + " " + std::to_string(error.gpuIndex) + " " + error.text);
}

void CSessionRecorder::PostWork(unsigned message) {
    char text[16];
    std::snprintf(text, sizeof text, "post %04x", message);
    m_events.emplace_back(text);
}

bool IsSound(const StratumWorkBlock& block) {
    const auto isTerminated = [](const auto& slot) { return std::memchr(slot, '\0', sizeof slot) != nullptr; };
    if (!isTerminated(block.jobId) || !isTerminated(block.extranonce) ||
        !std::all_of(std::begin(block.parameters), std::end(block.parameters), isTerminated) ||
        !std::all_of(std::begin(block.branches), std::end(block.branches), isTerminated)) {
        return false;
    }
    const char* const end = block.jobId + std::strlen(block.jobId);
    const bool isFlag = (block.prefixFlag == 0 || block.prefixFlag == 1) && block.cleanJobs <= 1;
    const bool isMode = block.protocolMode >= -1 && block.protocolMode <= 3;
    const bool areTexts = block.workerName != nullptr && block.walletUser != nullptr && block.password != nullptr;
    return isFlag && isMode && areTexts && block.bareJobId >= block.jobId && block.bareJobId <= end &&
           *block.bareJobId != '0' && block.session != nullptr && block.reserved0 == 0 && block.reserved1 == 0;
}
