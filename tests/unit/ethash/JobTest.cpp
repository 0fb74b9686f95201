#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "WorkBlocks.h"
#include "ethash/job/EthashJob.h"
#include "ethash/job/EthashSubmit.h"
#include "kit/HashRateMeter.h"

namespace {

const std::string kHeader = "2a8de2adf89af77358250bf908bf04ba94a6e8c3ba87775564a41d269a05e4ce";
const std::string kSeed = "290decd9548b62a8d60345a988386fc84ba6bc95484008f6362f93160ef3e563";
const std::string kBoundary = "0000000112e0be826d694b2e62d01511f12a6061fbaec8bc02357593e70e52ba";

StratumWorkBlock PlainBlock() {
    StratumWorkBlock block{};
    SetCredentials(block);
    SetSlot(block.jobId, "0x1a");
    SetSlot(block.parameters[0], "0x" + kHeader);
    SetSlot(block.parameters[1], "0x" + kSeed);
    SetSlot(block.parameters[2], "0x" + kBoundary);
    block.protocolMode = 1;
    return block;
}

TEST(EthashJob, EachDialectFindsItsFields) {
    const StratumWorkBlock blocks[] = {EthProxyBlock(kHeader, kSeed, kBoundary), PlainBlock(),
                                       NiceHashBlock(kHeader, kSeed, "af4c")};
    const char* const jobIds[] = {nullptr, "0x1a", "bf0488aa"};
    for (int mode = 0; mode < 3; ++mode) {
        SCOPED_TRACE(mode);
        const ParsedJob parsed = ParseEthashJob(blocks[mode]);
        ASSERT_EQ(parsed.state, JobState::Ready) << parsed.problem;
        const EthashJob& job = parsed.job;
        EXPECT_EQ(static_cast<int>(job.dialect), mode);
        EXPECT_EQ(Digits(job.header), kHeader);
        EXPECT_EQ(Digits(job.seed), kSeed);
        EXPECT_EQ(Digits(job.target), mode == 2 ? std::string(64, 'f') : kBoundary);
        if (jobIds[mode] != nullptr) {
            EXPECT_EQ(job.jobId, jobIds[mode]);
        }
        EXPECT_EQ(job.headerText, mode == 2 ? kHeader : "0x" + kHeader);
        EXPECT_EQ(job.nonces, (mode == 2 ? NonceSpace{0xaf4c000000000000, 48} : NonceSpace{0, 64}));
    }
}

struct BlockCase {
    const char* what;
    std::function<StratumWorkBlock()> base;
    std::function<void(StratumWorkBlock&)> change;
    JobState state;
};

TEST(EthashJob, WhatPoolsMaySend) {
    const auto proxy = [] { return EthProxyBlock(kHeader, kSeed, kBoundary); };
    const auto nice = [] { return NiceHashBlock(kHeader, kSeed, "af4c"); };
    const auto set = [](int slot, std::string text) {
        return [slot, text](StratumWorkBlock& block) { SetSlot(block.parameters[slot], text); };
    };
    const auto extranonce = [](std::string text) {
        return [text](StratumWorkBlock& block) { SetSlot(block.extranonce, text); };
    };
    const auto mode = [](int number) { return [number](StratumWorkBlock& block) { block.protocolMode = number; }; };
    const BlockCase cases[] = {
        {"no login yet", proxy, mode(-1), JobState::None},
        {"no job yet", proxy, [](auto& block) { SetSlot(block.jobId, ""); }, JobState::None},
        {"host dialect", proxy, mode(3), JobState::NotSpoken},
        {"unheard-of dialect", proxy, mode(77), JobState::NotSpoken},
        {"negative dialect", proxy, mode(-5), JobState::NotSpoken},
        {"short boundary", proxy, set(1, "0x112e0be826d694b2e62d01511f12a6061fbaec8bc02357593e70e52ba"), JobState::Ready},
        {"upper case", proxy, set(0, "0X" + std::string(64, 'A')), JobState::Ready},
        {"zero boundary", proxy, set(1, "0x0"), JobState::Ready},
        {"boundary too long", proxy, set(1, "0x0" + kBoundary), JobState::Malformed},
        {"boundary of no digits", proxy, set(1, "0x"), JobState::Malformed},
        {"boundary missing", proxy, set(1, ""), JobState::Malformed},
        {"seed short by a digit", proxy, set(0, "0x" + kSeed.substr(1)), JobState::Malformed},
        {"seed long by a byte", proxy, set(0, "0x00" + kSeed), JobState::Malformed},
        {"seed missing", proxy, set(0, ""), JobState::Malformed},
        {"seed not hexadecimal", proxy, set(0, "0x" + std::string(64, 'g')), JobState::Malformed},
        {"header not hexadecimal", proxy, [](auto& block) { block.jobId[10] = ' '; }, JobState::Malformed},
        {"header cut off", proxy, [](auto& block) { block.jobId[65] = '\0'; }, JobState::Malformed},
        {"header fills its slot without an end", proxy, [](auto& block) { std::memset(block.jobId, 'a', 128); },
         JobState::Malformed},
        {"parameters without an end", proxy, [](auto& block) { std::memset(block.parameters, 'a', 8192); },
         JobState::Malformed},
        {"job id without an end", nice, [](auto& block) { std::memset(block.jobId, 'a', 128); }, JobState::Ready},
        {"header missing", nice, set(1, ""), JobState::Malformed},
        {"no extranonce", nice, extranonce(""), JobState::Ready},
        {"one nonce byte left", nice, extranonce("01020304050607"), JobState::Ready},
        {"no nonce byte left", nice, extranonce("0102030405060708"), JobState::Malformed},
        {"half a byte", nice, extranonce("af4"), JobState::Malformed},
        {"extranonce not hexadecimal", nice, extranonce("zz"), JobState::Malformed},
        {"extranonce without an end", nice, [](auto& block) { std::memset(block.extranonce, 'a', 32); },
         JobState::Malformed},
    };
    for (const BlockCase& each : cases) {
        StratumWorkBlock block = each.base();
        each.change(block);
        const ParsedJob parsed = ParseEthashJob(block);
        EXPECT_EQ(parsed.state, each.state) << each.what << ": " << parsed.problem;
        EXPECT_EQ(std::strlen(parsed.problem) != 0, each.state == JobState::Malformed) << each.what;
    }
}

TEST(EthashJob, AShortBoundaryIsASmallNumberAndNoDifficultyIsOne) {
    const ParsedJob parsed = ParseEthashJob(EthProxyBlock(kHeader, kSeed, "abc"));
    EXPECT_EQ(Digits(parsed.job.target), std::string(61, '0') + "abc");
    StratumWorkBlock nice = NiceHashBlock(kHeader, kSeed, "");
    std::memset(nice.target, 0, sizeof nice.target);
    EXPECT_EQ(Digits(ParseEthashJob(nice).job.target), "00000000ffff0000" + std::string(48, '0'));
}

TEST(EthashSubmit, LinesOfTheDialects) {
    Hash256 mix{};
    mix.front() = 0xde;
    mix.back() = 0x0f;
    const std::string mixText = "0xde" + std::string(60, '0') + "0f";
    const EthashShare share{.id = ShareId(2, 7), .nonce = 0xaf4c00000000c0de, .mix = mix};
    const auto line = [&](const StratumWorkBlock& block) {
        return SubmitLine(ParseEthashJob(block).job, share, "wallet", "rig");
    };
    const std::string solution = "\"0xaf4c00000000c0de\",\"0x" + kHeader + "\",\"" + mixText + "\"]}\n";
    EXPECT_EQ(line(EthProxyBlock(kHeader, kSeed, kBoundary)),
              "{\"id\":196615,\"method\":\"eth_submitWork\",\"worker\":\"rig\",\"params\":[" + solution);
    EXPECT_EQ(
        line(PlainBlock()),
        "{\"id\":196615,\"jsonrpc\":\"2.0\",\"method\":\"mining.submit\",\"params\":[\"wallet.rig\",\"0x1a\"," + solution);
    EXPECT_EQ(line(NiceHashBlock(kHeader, kSeed, "af4c")),
              "{\"id\":196615,\"method\":\"mining.submit\",\"params\":[\"wallet.rig\",\"bf0488aa\",\"00000000c0de\"]}\n");
}

TEST(EthashSubmit, NothingBreaksOutOfItsString) {
    StratumWorkBlock block = NiceHashBlock(kHeader, kSeed, "");
    SetSlot(block.jobId, "a\"],\n\\b");
    EXPECT_EQ(SubmitLine(ParseEthashJob(block).job, {.id = 65536, .nonce = 1, .mix = {}}, "w\"", "r\t"),
              "{\"id\":65536,\"method\":\"mining.submit\",\"params\":[\"w\\\".r\\u0009\",\"a\\\"],\\u000a\\\\b\","
              "\"0000000000000001\"]}\n");
}

using std::chrono::milliseconds;

TEST(HashRateMeter, FollowsTheRateOfTheLastSeconds) {
    CHashRateMeter meter;
    CHashRateMeter::TimePoint now{};
    EXPECT_EQ(meter.PerSecond(now), 0u);
    meter.Start(now);
    EXPECT_EQ(meter.PerSecond(now), 0u);
    const auto run = [&](int batches, std::uint64_t hashes) {
        for (int i = 0; i < batches; ++i)
            meter.Add(hashes, now += milliseconds(10));
    };
    run(10, 24);
    EXPECT_EQ(meter.PerSecond(now), 2400u);  // known after a tenth of a second
    run(2000, 24);
    EXPECT_EQ(meter.PerSecond(now), 2400u);
    run(250, 12);  // half the window
    EXPECT_NEAR(static_cast<double>(meter.PerSecond(now)), 1800, 60);
    run(300, 12);
    EXPECT_EQ(meter.PerSecond(now), 1200u);
    EXPECT_LT(meter.PerSecond(now + milliseconds(60'000)), 120u);  // nothing for a minute
    meter.Start(now);
    run(1, 7);
    EXPECT_EQ(meter.PerSecond(now), 700u);
}

TEST(HashRateMeter, SlowHashesAreCountedToo) {
    CHashRateMeter meter;
    CHashRateMeter::TimePoint now{};
    meter.Start(now);
    for (int i = 0; i < 20; ++i)
        meter.Add(24, now += milliseconds(2000));
    EXPECT_EQ(meter.PerSecond(now), 12u);
}

}  // namespace
