#include "Statistics.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <numeric>

#include "Text.h"

namespace {

constexpr std::size_t kMaxReports = 1000;
using JsonWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void WriteCount(JsonWriter& writer, const char* name, std::uint64_t value) {
    writer.Key(name);
    writer.Uint64(value);
}

void WriteNumber(JsonWriter& writer, const char* name, double value) {
    writer.Key(name);
    writer.Double(value);
}

template <typename Members>
void WriteObject(JsonWriter& writer, const char* name, const Members& members) {
    writer.Key(name);
    writer.StartObject();
    members();
    writer.EndObject();
}

void WriteReport(JsonWriter& writer, const HashRateReport& report) {
    writer.StartObject();
    WriteCount(writer, "client", report.client);
    WriteNumber(writer, "reported", report.reported);
    WriteNumber(writer, "derived", report.derived);
    WriteCount(writer, "shares", report.shares);
    WriteNumber(writer, "seconds", report.seconds);
    writer.EndObject();
}

}  // namespace

void CStatistics::CountShare(int gpu, ShareVerdict verdict) {
    ++m_counts[static_cast<std::size_t>(verdict)];
    ++(verdict == ShareVerdict::Accepted ? m_gpus[gpu].accepted : m_gpus[gpu].rejected);
}

void CStatistics::AddReport(const HashRateReport& report) {
    if (m_reports.size() < kMaxReports) m_reports.push_back(report);
}

std::uint64_t CStatistics::Rejected() const {
    return std::accumulate(m_counts.begin(), m_counts.end(), std::uint64_t{0}) - Accepted();
}

std::string CStatistics::Totals() const {
    return "accepted " + std::to_string(Accepted()) + " rejected " + std::to_string(Rejected());
}

std::string CStatistics::Summary(double seconds) const {
    std::string text = "summary: " + Totals();
    for (std::size_t i = 1; i < kShareVerdicts; ++i) {
        if (m_counts[i] == 0) continue;
        text += " " + std::string(VerdictName(static_cast<ShareVerdict>(i))) + "=" + std::to_string(m_counts[i]);
    }
    return text + " | clients " + std::to_string(m_clients) + " | " + NumberText(seconds, 1) + " s";
}

std::string CStatistics::Json(std::uint64_t jobs, double seconds, double difficulty) const {
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    WriteCount(writer, "accepted", Accepted());
    WriteObject(writer, "rejected", [&] {
        WriteCount(writer, "total", Rejected());
        for (std::size_t i = 1; i < kShareVerdicts; ++i) {
            WriteCount(writer, std::string(VerdictName(static_cast<ShareVerdict>(i))).c_str(), m_counts[i]);
        }
    });
    WriteObject(writer, "gpus", [&] {
        for (const auto& [index, gpu] : m_gpus) {
            WriteObject(writer, std::to_string(index).c_str(), [&counts = gpu, &writer] {
                WriteCount(writer, "accepted", counts.accepted);
                WriteCount(writer, "rejected", counts.rejected);
            });
        }
    });
    writer.Key("hashRateReports");
    writer.StartArray();
    for (const HashRateReport& report : m_reports)
        WriteReport(writer, report);
    writer.EndArray();
    WriteCount(writer, "clients", m_clients);
    WriteCount(writer, "jobs", jobs);
    WriteNumber(writer, "difficulty", difficulty);
    WriteNumber(writer, "seconds", seconds);
    writer.EndObject();
    return buffer.GetString();
}
