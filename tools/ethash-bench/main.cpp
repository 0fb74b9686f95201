#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "BenchReport.h"
#include "CardBench.h"
#include "common/Version.h"
#include "ethash_cuda/CudaDriver.h"

namespace {

std::vector<std::int32_t> CardsOf(const CudaDriverApi& api, std::vector<std::int32_t> wanted) {
    std::int32_t count = 0;
    if (api.DeviceGetCount(&count) != kCudaSuccess) count = 0;
    if (wanted.empty()) {
        for (std::int32_t card = 0; card < count; ++card)
            wanted.push_back(card);
    }
    return wanted;
}

bool IsSound(const CardFigures& card) {
    if (!card.problem.empty()) return false;
    for (const EpochFigures& epoch : card.epochs) {
        if (!epoch.problem.empty() || epoch.wrongItems != 0) return false;
        for (const SearchFigures& search : epoch.searches) {
            if (search.wrongSolutions != 0) return false;
        }
    }
    return true;
}

struct Request {
    std::vector<std::int32_t> cards;  // empty: all
    BenchOrder order;
    bool json = false;
};

// Nothing when the program ends here, with *exitCode.
std::optional<Request> ParseCommandLine(int argc, char** argv, int* exitCode) {
    CLI::App app(
        "Measures Ethash hashing on NVIDIA cards: compile time of the kernels, copy bandwidth, dataset, speed of each "
        "kernel "
        "variant with its share of the bound that the bandwidth sets, and the time of a job switch. Ends with 0 when every "
        "card was measured and nothing that it computed was wrong.");
    Request request;
    request.order.epochs = {0, 431};
    int seconds = 30;
    std::vector<unsigned> inFlight;
    app.add_option("--gpu", request.cards, "CUDA index of a card; may be repeated (default: every card)");
    app.add_option("--epoch", request.order.epochs, "an epoch; may be repeated (default: 0 and 431)")
        ->check(CLI::Range(0, 2047));
    app.add_option("--in-flight", inFlight, "hashes in flight per group of lanes; may be repeated (default: 2, 4 and 8)")
        ->check(CLI::IsMember({2U, 4U, 8U}));
    app.add_option("--seconds", seconds, "time of each search")->check(CLI::Range(1, 3600))->capture_default_str();
    app.add_flag("--json", request.json, "print the figures as JSON");
    app.set_version_flag("--version", std::string("ethash-bench ") + kVersionText, "print the version and end");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitCode = app.exit(error);
        return std::nullopt;
    }
    request.order.searchTime = std::chrono::seconds(seconds);
    for (unsigned i = 0; i < std::size(kSearchVariants); ++i) {
        const bool wanted = inFlight.empty() || std::ranges::count(inFlight, kSearchVariants[i]) != 0;
        if (wanted) request.order.variants.push_back(i);
    }
    return request;
}

int Run(const Request& request) {
    const CudaDriver& driver = InstalledCudaDriver();
    if (driver.api == nullptr) {
        std::fprintf(stderr, "ethash-bench: %s\n", driver.problem.c_str());
        return 1;
    }
    std::vector<CardFigures> figures;
    const auto say = [](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); };
    for (const std::int32_t card : CardsOf(*driver.api, request.cards))
        figures.push_back(MeasureCard(*driver.api, card, request.order, say));
    if (figures.empty()) std::fputs("ethash-bench: the driver knows no card\n", stderr);
    std::fputs((request.json ? JsonReport(figures) : TextReport(figures)).c_str(), stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fputs("ethash-bench: standard output cannot be written\n", stderr);
        return 1;
    }
    return !figures.empty() && std::ranges::all_of(figures, IsSound) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        int exitCode = 0;
        const auto request = ParseCommandLine(argc, argv, &exitCode);
        return request ? Run(*request) : exitCode;
    } catch (const std::exception& error) {
        std::fputs(error.what(), stderr);
        return 1;
    }
}
