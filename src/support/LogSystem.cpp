#include "support/LogSystem.h"

#include <cstdarg>

#include "common/WideString.h"
#include "support/LogWriter.h"

CBKLogSystem::CBKLogSystem(const IClock& clock) : m_clock(clock) {}

CBKLogSystem::~CBKLogSystem() = default;

bool CBKLogSystem::CreateLogSystem(const wchar_t* path, std::int32_t option) {
    m_writer.reset();
    if (enabled == 0) return true;
    m_writer = std::make_unique<CWriter>(*this, m_clock, path, static_cast<std::uint64_t>(option) * 1024);
    return m_writer->Start();
}

void CBKLogSystem::LogFormat(ENUM_LOG_SEVERITY_LEVEL, const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Log(format, arguments);
    va_end(arguments);
}

void CBKLogSystem::LogLine(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Log(format, arguments);
    va_end(arguments);
}

void CBKLogSystem::Log(const wchar_t* format, __builtin_va_list arguments) {
    if (enabled == 0 || m_writer == nullptr) return;
    CWideString text;
    if (!text.AppendFormatList(format, arguments)) text.Append(format);
    m_writer->Add(m_clock.UtcNow(), text.View());
}

void CBKLogSystem::LogTraffic(TrafficDirection direction, std::string_view text, ddt_datetime time, std::uint32_t error) {
    if (enabled == 0 || m_writer == nullptr) return;
    m_writer->AddTraffic(time.IsSet() ? time : m_clock.UtcNow(), direction, text, error);
}

void CBKLogSystem::Flush() {
    if (m_writer != nullptr) m_writer->Flush();
}
