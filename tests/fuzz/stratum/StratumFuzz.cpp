// A whole life of a session. The first byte chooses its surroundings; the rest are lines of the pool, except that a line of
// '!' and a letter is an event: C connected, D disconnected, E connect error, A activated, P paused, R reset.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include "../../unit/pool/SessionRecorder.h"

namespace {

enum : std::uint8_t { kFee = 1, kTwoPools = 2, kStartsPlain = 4, kActivated = 8 };

void Require(bool condition) {
    if (!condition) std::abort();
}

void Happen(CSessionRecorder& recorder, char event) {
    CStratumSession& session = recorder.session;
    switch (event) {
        case 'C':
            return session.Connected();
        case 'D':
            return session.Disconnected();
        case 'E':
            return session.ConnectError("Connect failed", 10061);
        case 'A':
            return session.Activate();
        case 'P':
            return session.Pause();
        case 'R':
            return session.Reset();
        default:
            return;
    }
}

void CheckState(CSessionRecorder& recorder) {
    const CStratumSession& session = recorder.session;
    Require(IsSound(session.WorkBlock()));
    Require(session.PoolIndex() < recorder.pools.size());
    Require(session.Difficulty() >= 0.0);
}

// A request is one whole line; a paused session gives the plug-in nothing.
void CheckEvents(const CSessionRecorder::Events& events, bool wasPaused) {
    for (const std::string& event : events) {
        if (event.starts_with("send ")) Require(event.ends_with("}\n") && event.find('\n') == event.size() - 1);
        if (event.starts_with("post ")) Require(!wasPaused);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::uint8_t options = data[0];
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);

    CSessionRecorder recorder((options & kFee) != 0 ? StratumKind::Fee : StratumKind::User);
    recorder.gpus[0];
    const std::int32_t algorithm = (options & kStartsPlain) != 0 ? 7 : 3;
    std::vector<PoolEntry> pools = {MakePool(1, L"pool.example:3333", algorithm)};
    if ((options & kTwoPools) != 0) pools.push_back(MakePool(2, L"backup.example", 3));
    recorder.UsePools(pools);
    if ((options & kActivated) != 0) recorder.session.Activate();

    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        recorder.Take();
        if (line.size() == 2 && line[0] == '!') {
            Happen(recorder, line[1]);
        } else {
            const bool wasPaused = recorder.session.IsPaused();
            CheckEvents(recorder.Line(line), wasPaused);
        }
        CheckState(recorder);
    }
    return 0;
}
