#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "BenchReport.h"
#include "CardBench.h"
#include "common/Version.h"
#include "ethash/cuda/CudaDriver.h"
#include "ethash/kernels/EthashPtx.h"

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

struct Request {
    std::vector<std::int32_t> cards;  // empty: all
    BenchOrder order;
    bool json = false;
};

constexpr std::uint64_t kEpochBlocks = 30'000;

// The text of other kernels to measure than the plug-in's; empty: those. Throws std::runtime_error.
std::string KernelsToTry(const std::string& file, unsigned minBlocks) {
    std::string ptx;
    if (!file.empty()) {
        std::ifstream input(file, std::ios::binary);
        ptx.assign(std::istreambuf_iterator<char>(input), {});
        if (!input || ptx.empty()) throw std::runtime_error(file + " cannot be read or is empty");
    }
    if (minBlocks == 0) return ptx;
    if (ptx.empty()) ptx = EthashPtx();
    for (const unsigned variant : kSearchVariants) {
        const std::string kernel = "ethash_search_" + std::to_string(variant);
        if (!SetMinBlocks(ptx, kernel, minBlocks)) throw std::runtime_error("the kernels have no bound for " + kernel);
    }
    return ptx;
}

// Nothing when the program ends here, with *exitCode.
std::optional<Request> ParseCommandLine(int argc, char** argv, int* exitCode) {
    CLI::App app(
        "Measures Ethash hashing on NVIDIA cards: compile time of the kernels, bandwidth of copies and of random reads, "
        "dataset, speed of each kernel variant with its shares of these bandwidths, and the time of a job switch. Ends with "
        "0 when every card was measured, nothing that it computed was wrong, and as many solutions were found as are "
        "likely.");
    Request request;
    std::vector<std::uint32_t> epochs = {0, 431};
    int seconds = 30;
    std::string ptxFile;
    unsigned minBlocks = 0;
    std::vector<unsigned> inFlight;
    app.add_option("--gpu", request.cards, "CUDA index of a card; may be repeated (default: every card)");
    app.add_option("--epoch", epochs, "an epoch; may be repeated (default: 0 and 431)")->check(CLI::Range(0, 2047));
    app.add_option("--in-flight", inFlight, "hashes in flight per group of lanes; may be repeated (default: 2, 4 and 8)")
        ->check(CLI::IsMember({2U, 4U, 8U}));
    app.add_option("--seconds", seconds, "time of each search")->check(CLI::Range(1, 3600))->capture_default_str();
    app.add_option("--ptx", ptxFile, "measure the kernels of this PTX file instead of the plug-in's");
    app.add_option("--min-blocks", minBlocks, "blocks of a search that a multiprocessor is to hold, to try another bound")
        ->check(CLI::Range(1, 32));
    app.add_flag(
        "--json", request.json,
        "print the figures as one JSON document, complete after each when it goes to a file; the text goes to standard "
        "error then");
    app.set_version_flag("--version", std::string("ethash-bench ") + kVersionText, "print the version and end");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitCode = app.exit(error);
        return std::nullopt;
    }
    request.order.searchTime = std::chrono::seconds(seconds);
    request.order.ptx = KernelsToTry(ptxFile, minBlocks);
    for (const std::uint32_t epoch : epochs)
        request.order.epochs.push_back(EpochOfBlock(request.order.variant, epoch * kEpochBlocks));
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
    CBenchOutput output(stdout, stderr, request.json);
    const BenchListener listener{.doing = [](const std::string& what) { std::fprintf(stderr, "%s\n", what.c_str()); },
                                 .measured =
                                     [&](const CardFigures& soFar) {
                                         figures.back() = soFar;
                                         output.Show(figures);
                                     }};
    for (const std::int32_t card : CardsOf(*driver.api, request.cards)) {
        figures.emplace_back();
        figures.back() = MeasureCard(*driver.api, card, request.order, listener);
    }
    if (figures.empty()) std::fputs("ethash-bench: the driver knows no card\n", stderr);
    if (!output.End(figures)) {
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
        std::fprintf(stderr, "ethash-bench: %s\n", error.what());
        return 1;
    }
}
