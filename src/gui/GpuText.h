#pragma once
#include <string>
#include "common/Time.h"
#include "config/GpuCounters.h"
#include "quorvel/plugin.h"

// Texts about GPUs. Portable; any thread.

// The narrow name, which may fill its field, in wide characters.
std::wstring GpuName(const QvGpuRecord& gpu);
// "<name> - (<memory>)".
std::wstring GpuTypeText(const QvGpuRecord& gpu);
// "8.6".
std::wstring CapabilityText(const QvGpuRecord& gpu);

// "A:<accepted> - S:<stale> R:<rejected>".
std::wstring ShareCountsText(const GpuCounters& counters);
// Time since then; empty when no share was sent.
std::wstring LastShareText(ddt_datetime lastShare, ddt_datetime now);

std::wstring TemperatureText(std::uint32_t degrees);
std::wstring FanText(std::uint32_t percent);
std::wstring ClockText(std::uint32_t megahertz);
