#include "SessionRecorder.h"
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <span>

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

void CSessionRecorder::UsePools(std::vector<PoolEntry> entries) {
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
    for (int tried = 1; tried < ModeNumber(mode) && mode == ProtocolMode::Host; ++tried) {
        session.Disconnected();
        session.Connected();
    }
    if (mode == ProtocolMode::NiceHash) {
        Line(R"({"id":1,"result":[["mining.notify","s","EthereumStratum/1.0.0"],"ab12"],"error":null})");
    } else {
        Line(R"({"id":1,"result":true,"error":null})");
    }
    Line(R"({"id":2,"result":true,"error":null})");
}

CMiningStatistics* CSessionRecorder::FindStatistics(std::int32_t cudaId) {
    const auto found = gpus.find(cudaId);
    return found == gpus.end() ? nullptr : &found->second;
}

void CSessionRecorder::PoolErrorHappened(const PoolError& error) {
    m_events.push_back("pool-error " + std::to_string(error.code) + " " + std::to_string(error.gpuIndex) + " " + error.text);
}

void CSessionRecorder::PostWork(unsigned message) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "post ";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += kDigits[message >> shift & 0xF];
    m_events.push_back(text);
}

namespace {

template <std::size_t Bytes>
bool IsTerminated(const char (&slot)[Bytes]) {
    return std::memchr(slot, '\0', Bytes) != nullptr;
}

}  // namespace

bool IsSound(const StratumWorkBlock& block) {
    bool isSound = IsTerminated(block.jobId) && IsTerminated(block.extranonce);
    for (const auto& slot : block.parameters)
        isSound = isSound && IsTerminated(slot);
    for (const auto& slot : block.branches)
        isSound = isSound && IsTerminated(slot);
    if (!isSound) return false;
    const char* const end = block.jobId + std::strlen(block.jobId);
    const bool isFlag = (block.prefixFlag == 0 || block.prefixFlag == 1) && block.cleanJobs <= 1;
    const bool isMode = block.protocolMode >= -1 && block.protocolMode <= 3;
    const bool areTexts = block.workerName != nullptr && block.walletUser != nullptr && block.password != nullptr;
    return isFlag && isMode && areTexts && block.bareJobId >= block.jobId && block.bareJobId <= end &&
           *block.bareJobId != '0' && block.session != nullptr && block.reserved0 == 0 && block.reserved1 == 0;
}
