#include <boost/asio/signal_set.hpp>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <random>

#include "JobSource.h"
#include "Options.h"
#include "Server.h"
#include "Text.h"
#include "TlsFront.h"
#include "ToyHash.h"

namespace {

using Clock = std::chrono::steady_clock;

void Print(const std::string& line) {
    std::cout << line << std::endl;
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Hashing {
    Hash256 seed{};
    ShareHash hash;
};

Hashing MakeHashing(const PoolOptions& options) {
    if (!options.variant) return {.seed = {}, .hash = ToyHash};
    const EthashEpoch epoch = EpochOfBlock(*options.variant, options.block);
    Print("making the light cache of epoch " + std::to_string(epoch.epoch) + " (" + std::to_string(epoch.cacheBytes >> 20) +
          " MiB)");
    const Clock::time_point start = Clock::now();
    const auto cache = CEthashCache::Make(*options.variant, epoch, SeedOfIndex(epoch.seedIndex), nullptr);
    Print("light cache ready after " + NumberText(SecondsSince(start), 1) + " s");
    return {cache->Seed(), [cache](const Hash256& header, std::uint64_t nonce) { return Hashimoto(*cache, header, nonce); }};
}

bool WriteStatistics(const PoolOptions& options, const std::string& json) {
    if (options.statsFile.empty()) return true;
    std::ofstream file(options.statsFile, std::ios::binary | std::ios::trunc);
    file << json << '\n';
    if (file.flush()) return true;
    std::cerr << "devpool: cannot write " << options.statsFile << std::endl;
    return false;
}

std::uint64_t RandomSeed() {
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

int Run(const PoolOptions& options) {
    boost::asio::io_context io(1);
    PoolOptions served = options;
    const bool isEncrypted = options.tls.certificate != TlsCertificate::None;
    if (isEncrypted) served.port = 0;  // it listens behind the one who decrypts
    CServer server(io, served, Print);
    const auto front = isEncrypted
                           ? MakeTlsFront(io, options, options.tls.before != 0 ? options.tls.before : server.Port(), Print)
                           : nullptr;
    Print("listening on " + (front ? front->Endpoint() : server.Endpoint()));
    boost::asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([&](const boost::system::error_code& error, int) {
        if (error) return;
        Print("interrupted");
        server.Stop();
    });

    const Hashing hashing = MakeHashing(options);
    CJobSource jobs(hashing.seed, options.holdJobs, RandomSeed());
    const CShareCheck check(hashing.hash);
    CStatistics statistics;
    const Clock::time_point start = Clock::now();
    server.Serve({served, jobs, check, statistics}, [&] {
        signals.cancel();
        if (front) front->Stop();
    });
    io.run();

    const double seconds = SecondsSince(start);
    Print(statistics.Summary(seconds));
    const bool written = WriteStatistics(options, statistics.Json(jobs.Made(), seconds, options.difficulty));
    if (!written) return 2;
    return statistics.Accepted() >= options.shares ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = 0;
    const auto options = ParseOptions(argc, argv, std::cout, std::cerr, exitCode);
    if (!options) return exitCode;
    try {
        return Run(*options);
    } catch (const std::exception& failure) {
        std::cerr << "devpool: " << failure.what() << std::endl;
        return 2;
    }
}
