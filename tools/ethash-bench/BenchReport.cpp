#include "BenchReport.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cstdarg>
#include <optional>

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

void AppendFacts(std::string& text, const CardFacts& facts) {
    Append(text, "  compute capability %d.%d, %d multiprocessors; driver %s for CUDA %d.%d", facts.capabilityMajor,
           facts.capabilityMinor, facts.multiProcessors,
           facts.driverVersion.empty() ? "of unknown version" : facts.driverVersion.c_str(), facts.cudaVersion / 1000,
           facts.cudaVersion % 1000 / 10);
    Append(text, "; clocks up to %d (core), %d MHz (memory)\n", facts.coreKilohertz / 1000, facts.memoryKilohertz / 1000);
}

void AppendSensor(std::string& text, const char* name, const std::optional<unsigned>& value, unsigned unit,
                  const char* unitName) {
    if (value) Append(text, "%s %u %s", name, *value / unit, unitName);
}

void AppendSearch(std::string& text, const SearchFigures& search) {
    Append(text, "    %9u %9.2f %9.1f %9.1f%% %9.1f%%  %9u / %.0f %7u %9.1f%% %14.2f / %.2f ms", search.hashesInFlight,
           search.hashesPerSecond / 1e6, search.hashesPerSecond * kBytesPerHash / 1e9, search.shareOfBound * 100,
           search.shareOfReads * 100, search.solutions, search.expectedSolutions, search.wrongSolutions,
           search.processorShare * 100, search.jobSwitch.median * 1e3, search.jobSwitch.longest * 1e3);
    AppendSensor(text, "   core", search.sensors.coreMegahertz, 1, "MHz");
    AppendSensor(text, ", memory", search.sensors.memoryMegahertz, 1, "MHz");
    AppendSensor(text, ",", search.sensors.milliwatts, 1000, "W");
    AppendSensor(text, " of", search.sensors.limitMilliwatts, 1000, "W");
    text += "\n";
    if (search.wrongSolutions != 0) text += "    WRONG: the CPU does not agree with solutions of this search\n";
    if (!search.plausible) {
        Append(text, "    WRONG: %u solutions (%u of them lost) are not what hashes and target let expect\n",
               search.solutions + search.wrongSolutions + search.lostSolutions, search.lostSolutions);
    }
}

void AppendEpoch(std::string& text, const EpochFigures& figures) {
    Append(text, "  epoch %u (%u MB): ", figures.epoch.epoch, static_cast<unsigned>(figures.epoch.datasetBytes >> 20));
    if (!figures.problem.empty()) {
        text += "not measured: " + figures.problem + "\n";
        return;
    }
    Append(text, "light cache %.2f s, dataset %.2f s, %u of %u items wrong\n", figures.lightCacheSeconds,
           figures.datasetSeconds, figures.wrongItems, figures.checkedItems);
    if (figures.reads.problem.empty()) {
        Append(text, "    random reads %.1f GB/s with %u blocks on a multiprocessor, as much as %.2f MH/s\n",
               figures.reads.bytesPerSecond / 1e9, figures.reads.blocksPerMultiprocessor,
               figures.reads.bytesPerSecond / kBytesPerHash / 1e6);
    } else {
        text += "    random reads not measured: " + figures.reads.problem + "\n";
    }
    text +=
        "    in flight      MH/s      GB/s   of copies   of reads   solutions / expected   wrong   CPU core"
        "   job switch, median / longest\n";
    for (const SearchFigures& search : figures.searches)
        AppendSearch(text, search);
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

void Member(Writer& writer, const char* name, const std::optional<unsigned>& value) {
    if (value) Member(writer, name, std::uint64_t{*value});
}

void WriteFacts(Writer& writer, const CardFacts& facts) {
    Member(writer, "computeCapability", std::to_string(facts.capabilityMajor) + "." + std::to_string(facts.capabilityMinor));
    Member(writer, "multiprocessors", static_cast<std::uint64_t>(facts.multiProcessors));
    if (!facts.driverVersion.empty()) Member(writer, "driver", facts.driverVersion);
    Member(writer, "cudaVersion", static_cast<std::uint64_t>(facts.cudaVersion));
    Member(writer, "mostCoreKilohertz", static_cast<std::uint64_t>(facts.coreKilohertz));
    Member(writer, "mostMemoryKilohertz", static_cast<std::uint64_t>(facts.memoryKilohertz));
}

void WriteSearch(Writer& writer, const SearchFigures& search) {
    writer.StartObject();
    Member(writer, "hashesInFlight", std::uint64_t{search.hashesInFlight});
    Member(writer, "seconds", search.seconds);
    Member(writer, "hashesPerSecond", search.hashesPerSecond);
    Member(writer, "bytesPerSecond", search.hashesPerSecond * kBytesPerHash);
    Member(writer, "shareOfBound", search.shareOfBound);
    Member(writer, "shareOfReads", search.shareOfReads);
    Member(writer, "solutions", std::uint64_t{search.solutions});
    Member(writer, "wrongSolutions", std::uint64_t{search.wrongSolutions});
    Member(writer, "lostSolutions", std::uint64_t{search.lostSolutions});
    Member(writer, "expectedSolutions", search.expectedSolutions);
    writer.Key("plausible");
    writer.Bool(search.plausible);
    Member(writer, "processorShare", search.processorShare);
    Member(writer, "coreMegahertz", search.sensors.coreMegahertz);
    Member(writer, "memoryMegahertz", search.sensors.memoryMegahertz);
    Member(writer, "milliwatts", search.sensors.milliwatts);
    Member(writer, "limitMilliwatts", search.sensors.limitMilliwatts);
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
    if (!figures.reads.problem.empty()) Member(writer, "readsProblem", figures.reads.problem);
    Member(writer, "readsBytesPerSecond", figures.reads.bytesPerSecond);
    Member(writer, "readsBlocksPerMultiprocessor", std::uint64_t{figures.reads.blocksPerMultiprocessor});
    writer.Key("searches");
    writer.StartArray();
    for (const SearchFigures& search : figures.searches)
        WriteSearch(writer, search);
    writer.EndArray();
    writer.EndObject();
}

std::string TextReport(const std::vector<CardFigures>& cards) {
    std::string text;
    for (const CardFigures& card : cards) {
        if (!card.name.empty()) {
            Append(text, "GPU %d: %s\n", card.cudaId, card.name.c_str());
            AppendFacts(text, card.facts);
        }
        if (card.copyBytesPerSecond > 0) {
            Append(text, "  kernels compiled in %.2f s; copies %.1f GB/s, which bounds hashing at %.2f MH/s\n",
                   card.compileSeconds, card.copyBytesPerSecond / 1e9, card.copyBytesPerSecond / kBytesPerHash / 1e6);
        }
        for (const EpochFigures& epoch : card.epochs)
            AppendEpoch(text, epoch);
        if (!card.problem.empty()) Append(text, "  GPU %d: not measured: %s\n", card.cudaId, card.problem.c_str());
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
        WriteFacts(writer, card.facts);
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

}  // namespace

CBenchOutput::CBenchOutput(std::FILE* figures, std::FILE* remarks, bool json)
    : m_figures(figures), m_text(json ? remarks : figures), m_json(json), m_begin(json ? std::ftell(figures) : -1) {}

void CBenchOutput::Show(const std::vector<CardFigures>& cards) {
    const std::string text = TextReport(cards);
    if (text.size() > m_shown) std::fputs(text.c_str() + m_shown, m_text);
    m_shown = text.size();
    std::fflush(m_text);
    if (m_begin >= 0) WriteJson(cards);
}

bool CBenchOutput::End(const std::vector<CardFigures>& cards) {
    if (m_json) WriteJson(cards);
    return std::fflush(m_figures) == 0 && std::ferror(m_figures) == 0;
}

void CBenchOutput::WriteJson(const std::vector<CardFigures>& cards) {
    if (m_begin >= 0 && std::fseek(m_figures, m_begin, SEEK_SET) != 0) m_begin = -1;
    std::string document = JsonReport(cards);
    document.resize(std::max(document.size(), m_jsonBytes), ' ');  // over all of the one before
    m_jsonBytes = document.size();
    std::fputs(document.c_str(), m_figures);
    std::fflush(m_figures);
}
