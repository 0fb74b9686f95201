// What a session costs for one mining.notify line, from the bytes of the socket to the posted message, next to a bare parse
// of the same line into a RapidJSON document.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <memory>
#include <string>
#include "net/LineFramer.h"
#include "pool/StratumSession.h"

namespace {

class CWorkCounter final : public IStratumHost, public IStratumOutput {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining(const std::string&) override {}
    std::wstring DefaultWorkerName() override { return L"rig"; }
    std::uint32_t SendText(std::string_view) override { return 0; }
    void DropConnection(const std::string&, std::uint32_t) override {}
    void PostWork(unsigned message) override { jobs += message == QV_MSG_NEW_JOB ? 1 : 0; }
    void PostPoolSwitch() override {}
    void LogText(const std::string&) override {}
    std::int64_t jobs = 0;
};

const std::string& Line(std::int64_t number) {
    static const std::string hash(64, 'a');
    static const std::string lines[] = {
        // eth-proxy: header, seed, boundary
        R"({"id":0,"jsonrpc":"2.0","result":["0x)" + hash + R"(","0x)" + hash + R"(","0x)" + hash + "\"]}\n",
        // NiceHash: job id, seed, header, clean
        R"({"id":null,"method":"mining.notify","params":["bf0488aa",")" + hash + R"(",")" + hash + "\",true]}\n",
        // plain with twelve branches and long coinbase parts
        R"({"params":["58af8d8c",")" + hash + R"(",")" + std::string(120, '0') + R"(",")" + std::string(180, 'f') +
            R"(",[")" +
            [] {
                std::string branches = hash;
                for (int i = 1; i < 12; ++i)
                    branches += "\",\"" + hash;
                return branches;
            }() +
            R"("],"20000000","1a05db8b","58b5a3a1",false],"id":null,"method":"mining.notify"})" + "\n",
    };
    return lines[number];
}

void SessionNotify(benchmark::State& state) {
    CWorkCounter counter;
    CStratumSession session(StratumKind::User, counter, counter, SystemClock(), &counter);
    session.SetPools({std::make_shared<const PoolEntry>()});
    session.Activate();
    CLineFramer framer('\n');
    const std::string& bytes = Line(state.range(0));
    for (auto _ : state) {
        framer.Add(bytes);
        for (std::span<char> line = framer.NextLine(); !line.empty(); line = framer.NextLine()) {
            session.LineReceived({line.data(), line.size() - 1});
        }
    }
    if (counter.jobs != static_cast<std::int64_t>(state.iterations())) state.SkipWithError("a line was no job");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

// A new document for each line, as its documentation shows.
void BareParse(benchmark::State& state) {
    const std::string& bytes = Line(state.range(0));
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(bytes.c_str());
        benchmark::DoNotOptimize(document.IsObject());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

// The strictest reference: a parser whose memory is never given back.
void BareParseReused(benchmark::State& state) {
    using Pool = rapidjson::MemoryPoolAllocator<>;
    alignas(16) static char valueBytes[16 * 1024];
    alignas(16) static char stackBytes[8 * 1024];
    const std::string& bytes = Line(state.range(0));
    for (auto _ : state) {
        Pool values(valueBytes, sizeof valueBytes);
        Pool stack(stackBytes, sizeof stackBytes);
        rapidjson::GenericDocument<rapidjson::UTF8<>, Pool, Pool> document(&values, 1024, &stack);
        document.Parse(bytes.c_str());
        benchmark::DoNotOptimize(document.IsObject());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

}  // namespace

BENCHMARK(SessionNotify)->DenseRange(0, 2);
BENCHMARK(BareParse)->DenseRange(0, 2);
BENCHMARK(BareParseReused)->DenseRange(0, 2);
BENCHMARK_MAIN();
