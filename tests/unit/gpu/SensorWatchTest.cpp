#include "gpu/SensorWatch.h"

#include <gtest/gtest.h>

#include <string>

#include "FakeDrivers.h"
#include "gpu/GpuTelemetry.h"

namespace {

// Three cards on a clock set by hand, as a script: "r" a new round, "b" begin the next read, "+2" card 2 ended with an
// answer,
// "-2" without, "t5" five seconds pass, "o" look for an overdue read. What came of it: the card that was begun ("!": to be
// found anew, "!!": after a restart of the driver), "." at the end of the round, "1S" a card went silent, "L" lost, "A"
// answers.
std::string Play(const std::string& script) {
    TimeSpan now = 0;
    CSensorWatch watch(3, now);
    std::string log;
    const auto note = [&](const std::optional<CSensorWatch::Change>& change) {
        if (!change) return;
        log += std::to_string(change->card) + "ASL"[static_cast<std::size_t>(change->state)];
    };
    for (std::size_t i = 0; i < script.size(); ++i) {
        const char step = script[i];
        const auto number = [&] { return static_cast<std::size_t>(script[++i] - '0'); };
        if (step == 'r') watch.StartRound();
        if (step == 't') now += static_cast<TimeSpan>(number()) * kTicksPerSecond;
        if (step == 'o') note(watch.GiveUpOverdue(now));
        if (step == '+' || step == '-') note(watch.End(number(), step == '+', now));
        if (step == 'b') {
            const auto read = watch.Begin(now);
            log += read ? std::to_string(read->card) + (read->findAnew ? "!" : "") + (read->restartDriver ? "!" : "") : ".";
        }
    }
    return log;
}

TEST(SensorWatch, DecidesWhichCardIsReadAndWhatItIs) {
    const std::string lost0 = "rb-0b+1b+2brb-0b+1b+2brb-0b+1b+2b";
    const std::string lostAll = "rb-0b-1b-2brb-0b-1b-2brb-0b-1b-2b";
    const struct {
        const char* what;
        std::string script, expected;
    } cases[] = {
        {"in the order of the list, once a round", "rb+0b+1b+2bbrb", "012..0"},
        {"a slow read is no silent one", "rbt9t1o+0b", "01"},
        {"silent: left alone, also in later rounds, until its call returns", "rbt9t2orb+1b+2brb+1+0b+2brb", "00S12.10A2.0"},
        {"nothing is overdue while nothing is read", "rb+0t9t9o", "0"},
        {"two silent cards", "rbt9t2orbt9t2orb+2b-1+0rb", "00S11S2.1L0A0"},
        {"what ends late does not end the next one's time", "rbt9t2orb+0t9t2o", "00S10A1S"},
        {"lost after three rounds", lost0 + "rb-0b", "012.012.00L12.0!1"},
        {"a success begins the count anew", "rb-0rb-0rb+0rb-0rb-0rb", "000000"},
        {"lost and back", lost0 + "rb+0rb", "012.012.00L12.0!0A0"},
        {"errors after a silence", "rbt9t2o-0rb", "00S0L0!"},
        {"the driver is restarted once a round when no card answers", lostAll + "rb-0b-1b-2b", "012.012.00L11L22L.0!!1!2!."},
        {"but not while a call hangs in it", lostAll + "rb-0b-1bt9t2orbbb", "012.012.00L11L22L.0!!1!2!2S0!1!."},
    };
    for (const auto& each : cases)
        EXPECT_EQ(Play(each.script), each.expected) << each.what;
}

TEST(SensorWatch, SinceIsWhenTheSilenceBegan) {
    CSensorWatch watch(1, 5);
    EXPECT_EQ(watch.State(0).since, 5);
    watch.Begin(100);
    watch.GiveUpOverdue(100 + 2 * CSensorWatch::kDeadline);
    EXPECT_EQ(watch.State(0).since, 100);
    watch.End(0, true, 7 * CSensorWatch::kDeadline);
    EXPECT_EQ(watch.State(0).since, 7 * CSensorWatch::kDeadline);
}

TEST(FindDevice, GoesByThePciAddressAndPassesWhatCannotBeOpened) {
    CFakeNvml nvml;
    nvml.cards = {NvmlCard("gone", 9),         NvmlCard("bus", 3),    NvmlCard("domain", 9, 0),
                  NvmlCard("device", 9, 1, 0), NvmlCard("silent", 9), NvmlCard("it", 9)};
    nvml.cards[0].hasHandle = false;
    nvml.cards[4].pci.reset();
    const QvPciInfo address = *nvml.cards[5].pci;
    EXPECT_EQ(FindDevice(nvml, address), &nvml.cards[5]);
    nvml.cards.pop_back();
    EXPECT_EQ(FindDevice(nvml, address), nullptr);
}

}  // namespace
