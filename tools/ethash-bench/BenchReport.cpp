#include "BenchReport.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdarg>
#include <cstdio>

namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

[[gnu::format(printf, 2, 3)]] void Append(std::string& text, const char* format, ...) {
    char line[256];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(line, sizeof line, format, values);  // NOLINT(clang-analyzer-valist.Uninitialized): it is, a line above
    va_end(values);
    text += line;
}

void AppendEpoch(std::string& text, const EpochFigures& figures) {
    Append(text, "  epoch %u (%u MB): ", figures.epoch.epoch, static_cast<unsigned>(figures.epoch.datasetBytes >> 20));
    if (!figures.problem.empty()) {
        text += figures.problem + "\n";
        return;
    }
    Append(text, "light cache %.2f s, dataset %.2f s, %u of %u items wrong\n", figures.lightCacheSeconds,
           figures.datasetSeconds, figures.wrongItems, figures.checkedItems);
    text += "    in flight      MH/s      GB/s   of bound   solutions   wrong   CPU core   job switch, median / longest\n";
    for (const SearchFigures& search : figures.searches) {
        Append(text, "    %9u %9.2f %9.1f %9.1f%% %11u %7u %9.1f%% %14.2f / %.2f ms\n", search.hashesInFlight,
               search.hashesPerSecond / 1e6, search.hashesPerSecond * kBytesPerHash / 1e9, search.shareOfBound * 100,
               search.solutions, search.wrongSolutions, search.processorShare * 100, search.jobSwitch.median * 1e3,
               search.jobSwitch.longest * 1e3);
    }
}

void Member(Writer& writer, const char* name, double value) {
    writer.Key(name);
    writer.Double(value);
}
void Member(Writer& writer, const char* name, std::uint64_t value) {
    writer.Key(name);
    writer.Uint64(value);
}
void Member(Writer& writer, const char* name, const std::string& value) {
    writer.Key(name);
    writer.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
}

void WriteSearch(Writer& writer, const SearchFigures& search) {
    writer.StartObject();
    Member(writer, "hashesInFlight", std::uint64_t{search.hashesInFlight});
    Member(writer, "seconds", search.seconds);
    Member(writer, "hashesPerSecond", search.hashesPerSecond);
    Member(writer, "bytesPerSecond", search.hashesPerSecond * kBytesPerHash);
    Member(writer, "shareOfBound", search.shareOfBound);
    Member(writer, "solutions", std::uint64_t{search.solutions});
    Member(writer, "wrongSolutions", std::uint64_t{search.wrongSolutions});
    Member(writer, "processorShare", search.processorShare);
    Member(writer, "jobSwitches", std::uint64_t{search.jobSwitch.count});
    Member(writer, "jobSwitchMedianSeconds", search.jobSwitch.median);
    Member(writer, "jobSwitchLongestSeconds", search.jobSwitch.longest);
    writer.EndObject();
}

void WriteEpoch(Writer& writer, const EpochFigures& figures) {
    writer.StartObject();
    Member(writer, "epoch", std::uint64_t{figures.epoch.epoch});
    Member(writer, "datasetBytes", figures.epoch.datasetBytes);
    if (!figures.problem.empty()) Member(writer, "problem", figures.problem);
    Member(writer, "lightCacheSeconds", figures.lightCacheSeconds);
    Member(writer, "datasetSeconds", figures.datasetSeconds);
    Member(writer, "checkedItems", std::uint64_t{figures.checkedItems});
    Member(writer, "wrongItems", std::uint64_t{figures.wrongItems});
    writer.Key("searches");
    writer.StartArray();
    for (const SearchFigures& search : figures.searches)
        WriteSearch(writer, search);
    writer.EndArray();
    writer.EndObject();
}

}  // namespace

std::string TextReport(const std::vector<CardFigures>& cards) {
    std::string text;
    for (const CardFigures& card : cards) {
        Append(text, "GPU %d: %s\n", card.cudaId, card.name.c_str());
        if (card.copyBytesPerSecond > 0) {
            Append(text, "  kernels compiled in %.2f s; copies %.1f GB/s, which bounds hashing at %.2f MH/s\n",
                   card.compileSeconds, card.copyBytesPerSecond / 1e9, card.copyBytesPerSecond / kBytesPerHash / 1e6);
        }
        for (const EpochFigures& epoch : card.epochs)
            AppendEpoch(text, epoch);
        if (!card.problem.empty()) text += "  not measured: " + card.problem + "\n";
    }
    return text;
}

std::string JsonReport(const std::vector<CardFigures>& cards) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartArray();
    for (const CardFigures& card : cards) {
        writer.StartObject();
        Member(writer, "gpu", static_cast<std::uint64_t>(card.cudaId));
        Member(writer, "name", card.name);
        if (!card.problem.empty()) Member(writer, "problem", card.problem);
        Member(writer, "compileSeconds", card.compileSeconds);
        Member(writer, "copyBytesPerSecond", card.copyBytesPerSecond);
        Member(writer, "boundHashesPerSecond", card.copyBytesPerSecond / kBytesPerHash);
        writer.Key("epochs");
        writer.StartArray();
        for (const EpochFigures& epoch : card.epochs)
            WriteEpoch(writer, epoch);
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    return std::string(buffer.GetString()) + "\n";
}
