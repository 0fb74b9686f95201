#include <gtest/gtest.h>

#include "rig/TroubleList.h"
#include "show/Tables.h"

namespace {

// Reports in short: "system", or a code and a text.
struct Told {
    std::int64_t code = 0;
    std::string text{};
};
const Told kSystem{0, "system"};
const Told kSettled{0, "settled"};

CTroubleList ListAfter(const std::vector<Told>& told) {
    CTroubleList list;
    for (const Told& one : told) {
        if (one.text == kSystem.text)
            list.Apply(SystemReport{});
        else if (one.text == kSettled.text)
            list.Settle();
        else
            list.Apply(ErrorReport{5, one.code, one.text});
    }
    return list;
}

SystemReport Rig(MiningStatus status, std::size_t gpus) {
    SystemReport system;
    system.status = status;
    system.gpus.resize(gpus);
    for (std::size_t i = 0; i < gpus; ++i) {
        system.gpus[i].id = std::to_string(i);
        system.gpus[i].cudaId = i;
    }
    return system;
}

UpdateReport Hashing(const SystemReport& system, std::uint64_t speed) {
    UpdateReport update;
    update.status = system.status;
    for (const GpuStatic& gpu : system.gpus) {
        update.gpus.emplace_back();
        update.gpus.back().id = gpu.id;
        update.gpus.back().hashSpeed = speed;
    }
    return update;
}

TEST(Trouble, WhatLasts) {
    const std::string cut(500, 'x');
    const struct {
        std::vector<Told> told;
        const char* text;
    } kCases[] = {
        {{{-1001, "a"}, {-1011, "GPU 0 b"}}, "a; GPU 0 b"},
        {{{23, "Low difficulty"}, {-1, "x"}, {-1016, "x"}, {-999, "x"}, {-32700, "x"}, {-4294968297, "x"}}, ""},
        {{{-1001, "a"}, {-1002, "b"}, {-1000, "Over: a"}}, "b"},
        {{{-1001, "a"}, {-1000, "Over: b"}, {-1000, "Over: "}, {-1000, ""}}, "a"},
        {{{-1001, "a"}, {-1001, "a"}, {-1000, "Over: a"}}, ""},
        {{{-1005, cut + " the end"}, {-1000, "Over: " + cut}}, ""},
        // Of an answer to "connect" nothing is lost on the way, and nothing old survives it.
        {{{-1001, "a"}, {-1002, "b"}, kSystem, {-1002, "b"}}, "a; b"},
        {{{-1001, "a"}, {-1002, "b"}, kSystem, {-1002, "b"}, kSettled}, "b"},
        {{{-1001, "a"}, kSystem, {-1003, "c"}, {-1000, "Over: a"}, kSettled, kSettled}, "c"},
    };
    for (const auto& [told, text] : kCases)
        EXPECT_EQ(ListAfter(told).Text(), text) << told.front().text.substr(0, 20);
    std::vector<Told> flood;
    for (std::size_t i = 0; i < CTroubleList::kMaxKept + 3; ++i)
        flood.push_back({-1011, "GPU " + std::to_string(i)});
    const auto kept = ListAfter(flood).All();
    ASSERT_EQ(kept.size(), CTroubleList::kMaxKept);
    EXPECT_EQ(kept.front().gpu, 3u);
}

TEST(Trouble, StateOfTheRig) {
    constexpr auto kMining = MiningStatus::Mining;
    const Told kGpu0{-1011, "GPU 0 is not hashing"}, kGpu1{-1012, "GPU 1: the driver does not answer"};
    const struct {
        MiningStatus status;
        std::vector<Told> told;
        std::uint64_t speed;
        const char* state;
    } kCases[] = {
        {kMining, {}, 0, "mining"},  // the GPUs prepare themselves
        {kMining, {{-1001, "Connection refused"}}, 7, "trouble"},
        {kMining, {{-1011, "GPUs do not hash"}}, 7, "trouble"},
        {kMining, {{-1011, "GPU 0x does not hash"}}, 7, "trouble"},
        {kMining, {kGpu0}, 0, "mining"},
        {kMining, {kGpu0, kGpu1}, 0, "trouble"},
        {kMining, {kGpu0, kGpu1}, 7, "mining"},
        {kMining, {{23, "Low difficulty"}}, 7, "mining"},
        {MiningStatus::Stopped, {{-1013, "the pool stopped it"}}, 0, "stopped"},
        {MiningStatus::Unknown, {{-1001, "Connection refused"}}, 0, "unknown"},
    };
    for (const auto& [status, told, speed, state] : kCases) {
        const SystemReport system = Rig(status, 2);
        const UpdateReport update = Hashing(system, speed);
        EXPECT_STREQ(StateText(StateOf(&system, &update, ListAfter(told))), state) << (told.empty() ? "" : told[0].text);
    }
}

TEST(Trouble, EachTextStandsInTheRowOfItsGpu) {
    const SystemReport system = Rig(MiningStatus::Mining, 2);
    const CTroubleList troubles = ListAfter({{-1011, "GPU 1 is hot"}, {-1001, "no pool"}, {-1012, "GPU 7 is gone"}});
    const std::string text = StatusTable({{"a:1", "Low share", &system, nullptr, &troubles}});
    EXPECT_NE(text.find("no pool; GPU 7 is gone; Low share\na:1"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("GPU 1 is hot\n")) << text;
    const SystemReport bare = Rig(MiningStatus::Stopped, 0);
    EXPECT_NE(StatusTable({{"a:1", "", &bare, nullptr, &troubles}}).find("no pool"), std::string::npos);
}

}  // namespace
