// Simulated miners for trying the controller out and for loading it: fake-rigs COUNT GPUS SECONDS prints one 127.0.0.1:PORT
// a line (a rigs file) and then mines nothing, once a second. Rig 2 of more than two stands still; errors come from rig 3;
// rig 4 has no connection to its pool, a GPU of rig 5 does not hash, rig 6 was stopped by its pool.
#include <cstdlib>
#include <iostream>

#include "rigs/FakeMiner.h"

namespace {

void Simulate(int count, int gpus, int seconds) {
    boost::asio::io_context io(1);
    std::vector<std::unique_ptr<CFakeMiner>> miners;
    for (int i = 0; i < count; ++i) {
        FakeSettings settings;
        settings.gpus = gpus;
        settings.mining = i != 1 || count <= 2;
        settings.manner = i == 2 ? Manner::QuotedError : Manner::Good;
        if (i == 3) settings.troubles = {{-1001, "Connection to pool.example:4444 refused; trying again"}};
        if (i == 4) settings.troubles = {{-1011, "GPU 0 is not hashing: the driver cannot run the kernels"}};
        if (i == 5) {
            settings.mining = false;
            settings.troubles = {{-1013, "Mining was stopped: the pool refuses the user"}};
        }
        if (i == 3) settings.hashesFrom = ~0u;
        settings.hostname = "RIG-" + std::to_string(i + 1);
        settings.interval = std::chrono::seconds(1);
        miners.push_back(std::make_unique<CFakeMiner>(io, settings, i));
        std::cout << "127.0.0.1:" << miners.back()->Port() << '\n';
    }
    std::cout << std::flush;
    io.run_for(std::chrono::seconds(seconds));
}

}  // namespace

int main(int argc, char** argv) {
    const auto argument = [&](int i, int otherwise) { return argc > i ? std::atoi(argv[i]) : otherwise; };
    try {
        Simulate(argument(1, 3), argument(2, 8), argument(3, 60));
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "fake-rigs: " << failure.what() << std::endl;
        return 1;
    }
}
