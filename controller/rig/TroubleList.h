#pragma once
#include <span>
#include <string_view>

#include "rig/Reports.h"

// Trouble of a rig that lasts until the rig says that it is over.
struct Trouble {
    std::int64_t code = 0;
    std::uint64_t since = 0;           // 100 ns since 1601, UTC
    std::optional<std::uint64_t> gpu;  // CUDA index of the one GPU that it is about; absent: the rig as a whole
    std::string text;
};

// The miner's own troubles, each with the word that names it where texts do not fit.
struct TroubleKind {
    std::int64_t code;
    std::string_view name;
};
std::span<const TroubleKind> TroubleKinds() noexcept;

// What lasts at one rig, from its reports in the order in which they came.
class CTroubleList {
  public:
    static constexpr std::size_t kMaxKept = 512;  // then the oldest make room: a rig with 256 GPUs stays below it

    // The rig tells next all that lasts now. What was known before stands until Settle, so that it does not seem to be over
    // between two lines of one answer.
    void Apply(const SystemReport& report);
    // False: an error of a pool, an event of a moment, which is not kept here.
    bool Apply(const ErrorReport& report);
    // The answer has had its time to arrive: what was not told again is over.
    void Settle();
    void Clear() { m_entries.clear(); }

    bool IsEmpty() const { return m_entries.empty(); }
    std::vector<Trouble> All() const;  // in the order in which it was told
    bool IsRigWide() const;            // whether any of it keeps the rig as a whole from mining
    bool IsAboutGpu(std::uint64_t cudaId) const;
    std::size_t CountOf(std::int64_t code) const;
    std::string Text() const;  // all texts, joined by "; "

  private:
    struct Entry {
        Trouble trouble;
        bool isTold;  // since the last system report
    };
    void End(std::string_view text);

    std::vector<Entry> m_entries;
};

// How a rig's controllers and charts call it. Trouble: it says that it mines, but something about the rig as a whole, or
// about each of its GPUs, keeps it from doing so. A GPU that prepares itself is in no trouble.
enum class RigState { Unknown, Stopped, Mining, Trouble };
const char* StateText(RigState state) noexcept;
// Without a recent update report the system report counts; both may be null.
RigState StateOf(const SystemReport* system, const UpdateReport* update, const CTroubleList& troubles);

// Whether at least one GPU of a mining rig has a hash rate.
bool IsHashing(const UpdateReport& update) noexcept;
