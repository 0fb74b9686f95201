#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include "config/AlgorithmList.h"
#include "config/PoolFields.h"
#include "gui/ConfigurationEditModel.h"

// What the user typed for a pool: a text for each field but the algorithm, which is chosen. Portable; one thread.
struct PoolDraft {
    std::array<std::wstring, kPoolFields.size()> texts;
    std::int32_t algorithm = 0;
    // Both part of the server's text where it is kept.
    bool isEncrypted = false;
    std::wstring certificate;  // its fingerprint, "insecure", or empty: the system judges

    std::wstring& operator[](PoolField field) { return texts[static_cast<std::size_t>(field)]; }
    const std::wstring& operator[](PoolField field) const { return texts[static_cast<std::size_t>(field)]; }
    bool operator==(const PoolDraft&) const = default;
};

// Why a field cannot be taken over; short, for the user.
struct PoolFieldReason {
    PoolField field;
    std::wstring text;
    bool isOfCertificate = false;  // field: Server
};
using PoolFieldReasons = std::vector<PoolFieldReason>;

PoolDraft MakePoolDraft(const PoolEntry& pool);
// As it is meant: texts but for port and password without white space around them; of a server that is a URL or names a port
// the host alone, the port and what the scheme says of encryption where they belong. A scheme that names the protocol stays,
// as does a server that cannot be taken apart; CheckPoolDraft says why.
PoolDraft TidyPoolDraft(PoolDraft draft);
// The same, and encrypted or not whatever the server's scheme said.
PoolDraft WithEncryption(PoolDraft draft, bool isEncrypted);
// What can be told of the draft alone; at most one reason per field.
PoolFieldReasons CheckPoolDraft(const PoolDraft& draft);
// Takes over a draft without reasons; the rest of the pool stays.
void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool);

// What removing a pool does to configurations; indices in the order that they have in the model.
struct PoolRemoval {
    std::vector<std::size_t> removed;        // they mine on the pool first, and go with it
    std::vector<std::size_t> backupCleared;  // they lose their backup pool
    bool IsEmpty() const { return removed.empty() && backupCleared.empty(); }
};

// The pools as the user edits them; nothing is in force before what Build gives is published. GUI thread. Portable.
class CPoolEditModel {
  public:
    // algorithms outlives the model.
    CPoolEditModel(ConfigurationPointer base, const CAlgorithmList& algorithms);

    // False: another configuration was published since; publishing this one would undo it.
    bool IsBasedOn(const ConfigurationPointer& current) const { return m_base == current; }
    bool IsChanged() const { return m_changed; }

    std::size_t Count() const { return m_edited.pools.size(); }
    const PoolEntry& Pool(std::size_t index) const { return m_edited.pools[index].entry; }

    // The draft of an empty pool: the default port, the first algorithm.
    PoolDraft NewDraft() const;
    // Why the draft cannot become the pool at index, or a new one; empty: it can. A pool that is as it was is never refused,
    // whatever its file held.
    PoolFieldReasons Check(const PoolDraft& draft, std::optional<std::size_t> index) const;
    // Nothing changes when there are reasons.
    PoolFieldReasons Add(const PoolDraft& draft);  // at the end, with an ID of its own
    PoolFieldReasons Edit(std::size_t index, const PoolDraft& draft);
    // Puts the pool at another place; those between make room. False: there is no such place.
    bool Move(std::size_t index, std::size_t newIndex);

    // What Remove will do, to be confirmed by the user unless it is empty.
    PoolRemoval RemovalEffect(std::size_t index) const;
    // The same in words, one configuration a line.
    std::wstring RemovalText(std::size_t index) const;
    void Remove(std::size_t index);

    MinerConfiguration Build(CConfigurationBuilder builder) const {
        return BuildConfiguration(m_edited, std::move(builder));
    }

  private:
    bool IsNameTaken(const std::wstring& name, std::optional<std::size_t> index) const;
    std::wstring CheckAlgorithm(std::int32_t algorithm, std::optional<std::size_t> index) const;
    // The first configuration that would pair pools of two algorithms if that pool had this one.
    std::optional<std::size_t> FindMismatch(std::uint32_t poolId, std::int32_t algorithm) const;
    std::uint32_t UnusedId() const;

    const ConfigurationPointer m_base;
    const CAlgorithmList& m_algorithms;
    EditedConfiguration m_edited;
    bool m_changed = false;
};
