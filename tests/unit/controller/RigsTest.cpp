#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "MinerThread.h"
#include "cli/CommandRunner.h"
#include "cli/RigJob.h"
#include "cli/Watch.h"
#include "fixtures/ScratchFolder.h"
#include "rig/ConfigFile.h"
#include "rig/StateFolder.h"

namespace {

constexpr std::chrono::milliseconds kLong{8000};
constexpr std::chrono::milliseconds kShort{400};

FakeSettings Mannered(Manner manner, bool mining = true) {
    FakeSettings settings;
    settings.manner = manner;
    settings.mining = mining;
    return settings;
}

RigResult Ask(Manner manner, std::chrono::milliseconds timeout) {
    const CMinerThread miner(Mannered(manner));
    RigJob job;
    job.update = WantUpdate::WhileMining;
    return RunOnRigs({miner.Address()}, "", timeout, job).front();
}

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

Outcome Carry(const Options& options, const std::string& input = {}, bool terminal = false) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunCommand(options, {in, out, err, terminal});
    return {exitCode, out.str(), err.str()};
}

Options For(Command command, std::vector<RigAddress> rigs, double timeout = 8) {
    Options options;
    options.command = command;
    options.rigs = std::move(rigs);
    options.timeout = timeout;
    return options;
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Rigs, GoodOnesAnswerWhateverElseTheySend) {
    for (const Manner manner : {Manner::Good, Manner::Garbage, Manner::HalfLines, Manner::QuotedError}) {
        const RigResult result = Ask(manner, kLong);
        ASSERT_EQ(result.end, RigEnd::Good) << static_cast<int>(manner) << ": " << result.message;
        EXPECT_EQ(result.system->gpus.size(), 2u);
        EXPECT_EQ(result.update->gpus.size(), 2u);
    }
}

// The first connection ends right after the report: another controller has come.
TEST(Rigs, ACommandThatLosesItsPlaceComesBack) {
    for (const Command command : {Command::Status, Command::Update, Command::Start, Command::Stop}) {
        const CMinerThread miner(Mannered(Manner::DropsFirst, command != Command::Start));
        const Outcome outcome = Carry(For(command, {miner.Address()}));
        EXPECT_EQ(outcome.exitCode, kExitGood) << outcome.out << outcome.err;
    }
}

TEST(Rigs, BadOnesAreToldApartInBoundedTime) {
    const struct {
        Manner manner;
        std::chrono::milliseconds timeout;
        const char* message;
    } kCases[] = {
        {Manner::NeverAnswers, kShort, "no answer (a token"},
        {Manner::ClosesAtOnce, kLong, ""},
        {Manner::OnlyGarbage, kLong, "does not speak the miner's protocol"},
        {Manner::EndlessLine, kLong, "sends a line without an end"},
    };
    for (const auto& [manner, timeout, message] : kCases) {
        const RigResult result = Ask(manner, timeout);
        EXPECT_EQ(result.end, RigEnd::Failed);
        EXPECT_FALSE(result.message.empty());
        EXPECT_TRUE(Contains(result.message, message)) << result.message;
    }
}

TEST(Rigs, ARigThatIsDownIsARowAmongTheOthers) {
    const CMinerThread mining(Mannered(Manner::Good));
    const CMinerThread stopped(Mannered(Manner::Good, false), 1);
    const CMinerThread garbage(Mannered(Manner::OnlyGarbage), 2);
    const RigAddress dead = DeadAddress();
    const Outcome outcome = Carry(For(Command::Status, {mining.Address(), dead, garbage.Address(), stopped.Address()}));
    EXPECT_EQ(outcome.exitCode, kExitRigFailed);
    for (const std::string& part : {dead.Text(), std::string("connection refused"), std::string("does not speak"),
                                    mining.Address().Text() + " (FAKE)", std::string("MH/s"), std::string("stopped")})
        EXPECT_TRUE(Contains(outcome.out, part)) << part << " in\n" << outcome.out;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1 + 2 + 1 + 1 + 2);
    EXPECT_EQ(Carry(For(Command::Status, {mining.Address()})).exitCode, kExitGood);
}

TEST(Rigs, TroubleIsShownAndEndsWithThree) {
    FakeSettings noPool = Mannered(Manner::Good);
    noPool.troubles = {{-1001, "Connection refused; trying again"}};
    FakeSettings thrownOut = Mannered(Manner::Good, false);
    thrownOut.troubles = {{-1013, "The pool refuses the user"}};
    FakeSettings oneGpu = Mannered(Manner::HalfLines);
    oneGpu.troubles = {{-1011, "GPU 1 is not hashing"}};
    for (const auto& [settings, state, text] : {std::tuple(noPool, "trouble", "Connection refused; trying again\n"),
                                                std::tuple(thrownOut, "stopped", "The pool refuses the user\n"),
                                                std::tuple(oneGpu, "mining", "GPU 1 is not hashing\n")}) {
        const CMinerThread miner(settings);
        Options options = For(Command::Status, {miner.Address()});
        const Outcome status = Carry(options);
        EXPECT_EQ(status.exitCode, kExitTrouble) << status.out;
        EXPECT_TRUE(Contains(status.out, text) && Contains(status.out, state)) << status.out;
        options.rigs.push_back(DeadAddress());
        EXPECT_EQ(Carry(options).exitCode, kExitRigFailed);
    }
    const CMinerThread miner(noPool);
    Options options = For(Command::Watch, {miner.Address()});
    options.seconds = 1.3;
    std::ostringstream out;
    EXPECT_EQ(RunWatch(options, out, false), kExitTrouble);
    EXPECT_TRUE(Contains(out.str(), "1 of 1 rigs up, 0 mining, 1 with trouble, 2 GPUs")) << out.str();
    EXPECT_TRUE(Contains(out.str(), "Connection refused; trying again\n")) << out.str();
}

TEST(Rigs, StartSaysWhetherItHashes) {
    constexpr unsigned kNever = ~0u;
    const struct {
        bool mining;
        unsigned hashesFrom;
        std::vector<FakeTrouble> troubles;
        double wait;
        int exitCode;
        const char* said;
    } kCases[] = {
        {false, 15, {}, 8, kExitGood, ": mining\n"},
        {true, 15, {}, 8, kExitGood, ": mines already\n"},
        {false, 0, {{-1011, "GPU 1 is not hashing"}}, 8, kExitGood, ": mining, but GPU 1 is not hashing\n"},
        {false, kNever, {}, 0.6, kExitTrouble, ": does not hash after 0.6 s (no reason given"},
        {true, kNever, {{-1011, "GPU 1 is not hashing"}}, 0.6, kExitTrouble, "after 0.6 s (GPU 1 is not hashing)\n"},
        {true, 0, {{-1001, "Refused"}, {-1006, "No mode"}}, 8, kExitTrouble, ": trouble: Refused; No mode\n"},
        {false, kNever, {{-1011, "GPU 0 a", 9}, {-1011, "GPU 1 b", 9}}, 8, kExitTrouble, ": trouble: GPU 0 a; GPU 1 b\n"},
        {false, kNever, {{-1013, "Thrown out", 9}}, 8, kExitTrouble, ": mining has stopped again: Thrown out\n"},
        {false, kNever, {}, 0, kExitGood, ": mining\n"},
    };
    for (const auto& [mining, hashesFrom, troubles, wait, exitCode, said] : kCases) {
        FakeSettings settings = Mannered(Manner::Good, mining);
        settings.hashesFrom = hashesFrom;
        settings.troubles = troubles;
        const CMinerThread miner(settings);
        Options options = For(Command::Start, {miner.Address()});
        options.wait = wait;
        const Outcome outcome = Carry(options);
        EXPECT_EQ(outcome.exitCode, exitCode) << said;
        EXPECT_TRUE(Contains(exitCode == kExitGood ? outcome.out : outcome.err, said)) << outcome.out << outcome.err;
    }
}

TEST(Rigs, RawReports) {
    const CMinerThread miner(Mannered(Manner::Good));
    Options options = For(Command::System, {miner.Address()});
    options.json = true;
    const Outcome one = Carry(options);
    EXPECT_TRUE(one.out.starts_with(R"({"cmd":"system","params":{"hostname":"FAKE",)")) << one.out;
    EXPECT_TRUE(one.out.ends_with("]}}\n"));
    options.command = Command::Update;
    options.rigs.push_back(DeadAddress());
    const Outcome two = Carry(options);
    EXPECT_EQ(two.exitCode, kExitRigFailed);
    EXPECT_TRUE(two.out.starts_with(R"({"rig":")" + miner.Address().Text() + R"(","report":{"cmd":"update",)")) << two.out;
    EXPECT_TRUE(Contains(two.out, R"(,"error":"connection refused"})")) << two.out;
}

TEST(Rigs, StatusAsOneDocument) {
    FakeSettings settings = Mannered(Manner::Good);
    settings.hostname = "B\xC4R";
    settings.troubles = {{-1011, "GPU 1 is not hashing"}};
    const CMinerThread miner(settings);
    const RigAddress dead = DeadAddress();
    Options options = For(Command::Status, {miner.Address(), dead});
    options.json = true;
    const Outcome outcome = Carry(options);
    EXPECT_EQ(outcome.exitCode, kExitRigFailed);
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(outcome.out.c_str());
    ASSERT_FALSE(document.HasParseError()) << outcome.out;
    const auto& up = document["rigs"][0];
    const auto& down = document["rigs"][1];
    EXPECT_TRUE(up["reachable"].GetBool());
    EXPECT_STREQ(up["hostname"].GetString(), "B\uFFFDR");
    EXPECT_STREQ(up["status"].GetString(), "mining");
    EXPECT_STREQ(up["trouble"][0]["text"].GetString(), "GPU 1 is not hashing");
    EXPECT_EQ(up["gpus"][1]["hashes_per_second"].GetUint64(), 0u);
    EXPECT_EQ(up["gpus"][1]["index"].GetUint64(), 1u);
    EXPECT_FALSE(down["reachable"].GetBool());
    EXPECT_STREQ(down["problem"].GetString(), "connection refused");
}

TEST(Rigs, StartAndStopWaitForTheState) {
    const CMinerThread miner(Mannered(Manner::Good));
    EXPECT_EQ(Carry(For(Command::Stop, {miner.Address()})).out, miner.Address().Text() + ": stopped\n");
    const CMinerThread lazy(Mannered(Manner::NeverStarts, false));
    const Outcome outcome = Carry(For(Command::Start, {lazy.Address()}, 0.4));
    EXPECT_EQ(outcome.exitCode, kExitRigFailed);
    EXPECT_TRUE(Contains(outcome.err, "does not report that it mines")) << outcome.err;
}

TEST(Rigs, TokenOpensTheChannel) {
    FakeSettings settings;
    settings.token = "s3cret";
    const CMinerThread miner(settings);
    Options options = For(Command::Worker, {miner.Address()}, 0.4);
    options.worker = "rig-7";
    EXPECT_EQ(Carry(options).exitCode, kExitRigFailed);
    options.timeout = 8;
    options.token = "s3cret";
    EXPECT_EQ(Carry(options).exitCode, kExitGood);
    const auto received = miner.Received();
    EXPECT_EQ(std::count(received.begin(), received.end(),
                         R"({"cmd":"workername","params":{"token":"s3cret","workername":"rig-7"}})"),
              1);
}

TEST(Rigs, ConfigureChecksResolvesSendsAndRemembers) {
    const CScratchFolder folder;
    const CMinerThread miner(Mannered(Manner::Good, false), 5);
    Options options = For(Command::Configure, {miner.Address()});
    options.stateFolder = folder.Path() / "state";
    options.file = "-";
    EXPECT_EQ(Carry(options, R"({"pools":[],"config":[]})").exitCode, kExitUsage);
    EXPECT_TRUE(miner.Received().empty());

    const std::string file =
        R"({"pools":[{"id":1,"name":"A","server":"p:7000","algo":"etchash","wallet":"w","password":"secret"}],)"
        R"("config":[{"primary-poolid":1,"secondary-poolid":1,"gpus":[1]}]})";
    options.dryRun = true;
    const std::string gpus = R"("gpus":[")" + FakeUuid(5, 1) + "\"]";
    const std::string shown = Carry(options, file).out;
    EXPECT_TRUE(Contains(shown, gpus) && Contains(shown, "1 etchash") && !Contains(shown, "secret")) << shown;
    EXPECT_EQ(miner.Received().size(), 1u);  // the "connect" alone
    options.dryRun = false;
    EXPECT_EQ(Carry(options, file).exitCode, kExitGood);
    const auto received = miner.Received();
    EXPECT_TRUE(std::any_of(received.begin(), received.end(), [&](const std::string& line) {
        return line.starts_with(R"({"cmd":"configuration")") && Contains(line, gpus) && Contains(line, "secret");
    }));

    options.command = Command::Export;
    options.file = (folder.Path() / "pools.json").string();
    EXPECT_FALSE(Contains(Carry(options).err, "exists"));
    const ConfigReading reading = ReadConfigFile(ReadWholeFile(options.file).value());
    ASSERT_TRUE(reading.mistakes.empty()) << reading.mistakes.front();
    EXPECT_EQ(reading.file.pools.front().port, 7000);
#ifndef _WIN32  // where a file is its user's by the folder that it lies in
    const auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    EXPECT_EQ(std::filesystem::status(options.file).permissions() & others, std::filesystem::perms::none);
#endif
    options.rigs = {DeadAddress()};
    EXPECT_TRUE(Contains(Carry(options).err, "exists already"));
    options.force = true;
    EXPECT_EQ(Carry(options).exitCode, kExitGood);
    EXPECT_TRUE(Contains(ReadWholeFile(options.file).value(), "\"_comment\": \"A sample"));

    options.file.clear();
    options.rigs = {miner.Address()};
    EXPECT_FALSE(Contains(Carry(options, "", true).out, "secret"));
}

TEST(Rigs, NonceGeneratorGoesToEachGpuNamed) {
    const CMinerThread miner(Mannered(Manner::Good));
    Options options = For(Command::NonceGenerator, {miner.Address()});
    options.mode = 3;
    EXPECT_EQ(Carry(options).exitCode, kExitGood);
    options.gpus = {"9"};
    const Outcome absent = Carry(options);
    EXPECT_EQ(absent.exitCode, kExitRigFailed);
    EXPECT_TRUE(Contains(absent.err, "no GPU 9"));
    const auto received = miner.Received();
    EXPECT_EQ(
        std::count_if(received.begin(), received.end(), [](const std::string& line) { return Contains(line, "\"NGM\":3"); }),
        2);
}

TEST(Backoff, PausesDoubleUpToTheLimitAndStartAnew) {
    using std::chrono::milliseconds;
    CBackoff backoff(milliseconds(100), milliseconds(1000), 7);
    for (const int expected : {100, 200, 400, 800, 1000, 1000}) {
        const auto pause = backoff.Next();
        EXPECT_GE(pause.count(), expected * 4 / 5);
        EXPECT_LE(pause.count(), expected * 6 / 5);
    }
    backoff.Reset();
    EXPECT_LE(backoff.Next().count(), 120);
}

TEST(Rigs, WatchLeavesTheTerminalAsItWas) {
    const CMinerThread miner(Mannered(Manner::Good));
    Options options = For(Command::Watch, {miner.Address()});
    options.seconds = 1.3;
    std::ostringstream out;
    EXPECT_EQ(RunWatch(options, out, true), kExitGood);
    const std::string text = out.str();
    EXPECT_TRUE(text.starts_with("\x1b[?25l\x1b[?7l") && text.ends_with("\x1b[?7h\x1b[?25h")) << text;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
        EXPECT_EQ(text.substr(end - 3, 3), "\x1b[K") << "what an earlier, longer line left is cleared";
}

}  // namespace
