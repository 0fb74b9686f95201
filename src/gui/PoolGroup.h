#pragma once
#include <optional>
#include <string>
#include "config/GpuCounters.h"
#include "gui/Colors.h"
#include "gui/GpuGrid.h"
#include "gui/MiningView.h"
#include "gui/TimeTextFunction.h"

// The group "Selected Pool information". Portable; GUI thread.
struct PoolGroup {
    std::wstring name, server, difficulty, lastShare, hashRate, shares, job;
    std::wstring message;           // with its age from a minute on, where that is known
    std::wstring state;             // what the session does now; empty: there is none
    LabelLook connection;           // whether mining runs, not whether the pool is connected
    bool hasSession = false;        // else there is no role to show
    std::optional<LabelLook> role;  // absent: stays as it is
};

struct PoolGroupInput {
    const PoolEntry* pool = nullptr;  // null: no GPU is selected
    std::wstring_view unit;
    std::optional<GpuCounters> sums;  // of the configuration; absent: the GPU is in none
    bool mining = false;
    std::optional<MiningSessionView> session;
    TimedMessage standingMessage;  // shown where it is later than the pool's
    ddt_datetime now;              // UTC
    TimeTextFunction timeText = nullptr;
};

PoolGroup MakePoolGroup(const PoolGroupInput& input);

// From where the grid takes its cells; gpu: the selected one or null.
PoolGroup MakePoolGroup(const GpuGridSource& source, const QvGpuRecord* gpu, const IMiningView& mining,
                        TimeTextFunction timeText, TimedMessage standingMessage = {});
