#pragma once
#include <string>
#include <string_view>
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

// Whether the sensors were read; whether power is among what they say.
bool HasSensors(const QvGpuRecord& gpu);
bool HasPower(const QvGpuRecord& gpu);

// "231 W", "1.24 kW".
std::wstring PowerText(std::uint32_t watts);
// The hash rate by watt, "450.6 kH/W" for the unit "H/s". watts: not 0.
std::wstring EfficiencyText(std::uint64_t hashSpeed, std::uint32_t watts, std::wstring_view unit);

std::wstring TemperatureText(std::uint32_t degrees);
std::wstring FanText(std::uint32_t percent);
std::wstring ClockText(std::uint32_t megahertz);
