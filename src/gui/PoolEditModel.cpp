#include "gui/PoolEditModel.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "common/CodePage.h"
#include "common/PoolAddress.h"
#include "gui/FieldText.h"

namespace {

std::wstring SentenceStart(std::wstring text) {
    if (!text.empty() && text[0] >= L'a' && text[0] <= L'z') text[0] = static_cast<wchar_t>(text[0] - L'a' + L'A');
    return text;
}

constexpr std::wstring_view kInsecure = L"insecure";

std::optional<PoolAddress> AddressIn(const std::wstring& server) {
    // What the code page lacks would not come back.
    if (!CheckFieldText(server, std::numeric_limits<std::size_t>::max()).empty()) return std::nullopt;
    PoolAddress address = ParsePoolAddress(WideToUtf8(server));
    return address.reason.empty() ? std::optional(std::move(address)) : std::nullopt;
}

std::wstring UrlText(const PoolAddress& address) {
    return NarrowToWide(Utf8ToNarrow(PoolAddressUrl(address), nullptr));
}

// The server's text in the editor: only the protocol, if any, shows in a scheme.
std::wstring ShownServer(PoolAddress address) {
    address.port.reset();
    const bool isEncrypted = address.encryption.isEncrypted && address.protocol != AddressProtocol::Any;
    address.encryption = {};
    address.encryption.isEncrypted = isEncrypted;
    return UrlText(address);
}

void TakeServerApart(PoolDraft& draft) {
    std::wstring& server = draft[PoolField::Server];
    const std::optional<PoolAddress> address = AddressIn(server);
    if (!address) return;
    if (address->port) draft[PoolField::Port] = std::to_wstring(*address->port);
    const PoolEncryption& encryption = address->encryption;
    if (server.find(L"://") != std::wstring::npos) draft.isEncrypted = encryption.isEncrypted;
    if (encryption.isUnchecked) draft.certificate = kInsecure;
    if (!encryption.fingerprint.empty()) draft.certificate = NarrowToWide(encryption.fingerprint);
    server = ShownServer(*address);
}

// Nothing: the text is no certificate's.
std::optional<PoolEncryption> EncryptionOf(const PoolDraft& draft) {
    PoolEncryption encryption{.isEncrypted = draft.isEncrypted, .fingerprint = {}, .isUnchecked = false};
    if (!draft.isEncrypted || draft.certificate.empty()) return encryption;
    encryption.isUnchecked = draft.certificate == kInsecure;
    if (encryption.isUnchecked) return encryption;
    std::string text = WideToUtf8(draft.certificate);
    if (text.starts_with("sha256=")) text.erase(0, text.find('=') + 1);
    const std::optional<std::string> digits = ParseFingerprint(text);
    if (!digits) return std::nullopt;
    encryption.fingerprint = *digits;
    return encryption;
}

// As the file keeps it.
std::wstring KeptServer(const PoolDraft& draft) {
    std::optional<PoolAddress> address = AddressIn(draft[PoolField::Server]);
    const std::optional<PoolEncryption> encryption = EncryptionOf(draft);
    if (!address || !encryption) return draft[PoolField::Server];
    address->encryption = *encryption;
    return UrlText(*address);
}

std::wstring CheckText(const PoolFieldSpec& spec, const std::wstring& text, std::size_t room) {
    if (spec.field == PoolField::Server && text.find_first_of(L" \t\u00A0") != std::wstring::npos)
        return L"No spaces, please";
    if (text.empty()) return spec.ask != nullptr ? spec.ask : L"";
    std::wstring reason = CheckFieldText(text, room - 1);
    if (!reason.empty() || spec.field != PoolField::Server) return reason;
    return SentenceStart(NarrowToWide(ParsePoolAddress(WideToUtf8(text)).reason));
}

}  // namespace

PoolDraft MakePoolDraft(const PoolEntry& pool) {
    PoolDraft draft;
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (spec.kind == PoolFieldKind::Text) draft[spec.field] = TextOf(pool, spec.field);
    }
    draft[PoolField::Port] = std::to_wstring(pool.Port);
    draft.algorithm = pool.Algo;
    // Another server stays as the file has it until the user touches it.
    const std::optional<PoolAddress> address = AddressIn(draft[PoolField::Server]);
    if (address && address->encryption.isEncrypted) TakeServerApart(draft);
    return draft;
}

PoolDraft TidyPoolDraft(PoolDraft draft) {
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (spec.isTrimmed) draft[spec.field] = Trimmed(draft[spec.field]);
    }
    draft.certificate = Trimmed(draft.certificate);
    TakeServerApart(draft);
    return draft;
}

PoolDraft WithEncryption(PoolDraft draft, bool isEncrypted) {
    draft = TidyPoolDraft(std::move(draft));
    draft.isEncrypted = isEncrypted;
    if (std::optional<PoolAddress> address = AddressIn(draft[PoolField::Server])) {
        address->encryption.isEncrypted = isEncrypted;
        draft[PoolField::Server] = ShownServer(std::move(*address));
    }
    return draft;
}

PoolFieldReasons CheckPoolDraft(const PoolDraft& draft) {
    PoolEntry limits;
    PoolFieldReasons reasons;
    for (const PoolFieldSpec& spec : kPoolFields) {
        std::wstring reason;
        if (spec.kind == PoolFieldKind::Text)
            reason = CheckText(spec, draft[spec.field], TextOf(limits, spec.field).size());
        else if (spec.kind == PoolFieldKind::Port)
            reason = ParsePort(draft[spec.field]).reason;
        if (reason.empty() && spec.field == PoolField::Server && KeptServer(draft).size() >= std::size(limits.Server))
            reason = L"Too long together with the certificate";
        if (!reason.empty()) reasons.push_back({.field = spec.field, .text = std::move(reason)});
    }
    if (!EncryptionOf(draft)) {
        reasons.push_back(
            {.field = PoolField::Server, .text = L"Its SHA-256 has 64 digits; or \"insecure\"", .isOfCertificate = true});
    }
    return reasons;
}

void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool) {
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (spec.kind != PoolFieldKind::Text) continue;
        CopyToField(spec.field == PoolField::Server ? KeptServer(draft) : draft[spec.field], TextOf(pool, spec.field));
    }
    pool.Port = ParsePort(draft[PoolField::Port]).port;
    pool.Algo = draft.algorithm;
}

namespace {

std::wstring Labels(const EditedConfiguration& edited, const std::vector<std::size_t>& entries, const wchar_t* what) {
    std::wstring text;
    for (const std::size_t index : entries)
        text.append(EntryLabel(edited, index)).append(what).append(L"\n");
    return text;
}

}  // namespace

CPoolEditModel::CPoolEditModel(ConfigurationPointer base, const CAlgorithmList& algorithms)
    : m_base(std::move(base)), m_algorithms(algorithms), m_edited(MakeEditedCopy(*m_base)) {}

PoolDraft CPoolEditModel::NewDraft() const {
    PoolDraft draft = MakePoolDraft(PoolEntry());
    if (!m_algorithms.Entries().empty()) draft.algorithm = m_algorithms.Entries().front()->record.id;
    return draft;
}

PoolFieldReasons CPoolEditModel::Check(const PoolDraft& draft, std::optional<std::size_t> index) const {
    if (index && draft == MakePoolDraft(Pool(*index))) return {};
    const PoolDraft tidy = TidyPoolDraft(draft);
    PoolFieldReasons reasons = CheckPoolDraft(tidy);
    if (IsNameTaken(tidy[PoolField::Name], index))
        reasons.push_back({.field = PoolField::Name, .text = L"Another pool has this name"});
    std::wstring reason = CheckAlgorithm(tidy.algorithm, index);
    if (!reason.empty()) reasons.push_back({.field = PoolField::Algorithm, .text = std::move(reason)});
    return reasons;
}

bool CPoolEditModel::IsNameTaken(const std::wstring& name, std::optional<std::size_t> index) const {
    for (std::size_t i = 0; i < Count(); ++i) {
        if (i != index && !name.empty() && name == Pool(i).Name) return true;
    }
    return false;
}

std::wstring CPoolEditModel::CheckAlgorithm(std::int32_t algorithm, std::optional<std::size_t> index) const {
    if (index && Pool(*index).Algo == algorithm) return {};  // also one that no plug-in has
    const auto& known = m_algorithms.Entries();
    if (std::none_of(known.begin(), known.end(), [algorithm](const auto& entry) { return entry->record.id == algorithm; })) {
        return L"Choose an algorithm";
    }
    if (!index) return {};
    const std::optional<std::size_t> mismatch = FindMismatch(Pool(*index).ID, algorithm);
    if (!mismatch) return {};
    return std::wstring(L"Configuration ").append(std::to_wstring(*mismatch + 1)).append(L" would mix algorithms");
}

std::optional<std::size_t> CPoolEditModel::FindMismatch(std::uint32_t poolId, std::int32_t algorithm) const {
    const auto& entries = m_edited.entries;
    const auto differs = [&](std::uint32_t otherId) {
        const PoolEntry* other = otherId == poolId ? nullptr : FindEditedPool(m_edited, otherId);
        return other != nullptr && !other->IsUnassigned() && other->Algo != algorithm;
    };
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const EditedEntry& entry) {
        return (entry.primaryPoolId == poolId && differs(entry.secondaryPoolId)) ||
               (entry.secondaryPoolId == poolId && differs(entry.primaryPoolId));
    });
    if (found == entries.end()) return std::nullopt;
    return static_cast<std::size_t>(found - entries.begin());
}

// Not one of the base's either: a session may still mine on a pool that was removed here.
std::uint32_t CPoolEditModel::UnusedId() const {
    const auto isUsed = [this](std::uint32_t id) {
        return FindEditedPool(m_edited, id) != nullptr ||
               std::any_of(m_base->pools.begin(), m_base->pools.end(),
                           [id](const PoolPointer& pool) { return pool->ID == id; });
    };
    std::uint32_t id = 1;
    while (isUsed(id))
        ++id;
    return id;
}

PoolFieldReasons CPoolEditModel::Add(const PoolDraft& draft) {
    PoolFieldReasons reasons = Check(draft, std::nullopt);
    if (!reasons.empty()) return reasons;
    EditedPool pool;
    pool.entry.ID = UnusedId();
    ApplyPoolDraft(TidyPoolDraft(draft), pool.entry);
    m_edited.pools.push_back(std::move(pool));
    m_changed = true;
    return reasons;
}

PoolFieldReasons CPoolEditModel::Edit(std::size_t index, const PoolDraft& draft) {
    PoolFieldReasons reasons = Check(draft, index);
    if (!reasons.empty() || draft == MakePoolDraft(Pool(index))) return reasons;
    ApplyPoolDraft(TidyPoolDraft(draft), m_edited.pools[index].entry);
    m_changed = true;
    return reasons;
}

bool CPoolEditModel::Move(std::size_t index, std::size_t newIndex) {
    if (index >= Count() || newIndex >= Count()) return false;
    const auto at = [this](std::size_t i) { return m_edited.pools.begin() + static_cast<std::ptrdiff_t>(i); };
    if (index < newIndex) std::rotate(at(index), at(index + 1), at(newIndex + 1));
    if (index > newIndex) std::rotate(at(newIndex), at(index), at(index + 1));
    m_changed = m_changed || index != newIndex;
    return true;
}

PoolRemoval CPoolEditModel::RemovalEffect(std::size_t index) const {
    PoolRemoval removal;
    const PoolEntry& pool = Pool(index);
    if (pool.IsUnassigned()) return removal;  // what names this ID has no pool already
    for (std::size_t i = 0; i < m_edited.entries.size(); ++i) {
        const EditedEntry& entry = m_edited.entries[i];
        if (entry.primaryPoolId == pool.ID) {
            removal.removed.push_back(i);
        } else if (entry.secondaryPoolId == pool.ID) {
            removal.backupCleared.push_back(i);
        }
    }
    return removal;
}

std::wstring CPoolEditModel::RemovalText(std::size_t index) const {
    const PoolRemoval removal = RemovalEffect(index);
    return Labels(m_edited, removal.removed, L" mines on this pool and is removed.") +
           Labels(m_edited, removal.backupCleared, L" loses its backup pool.");
}

void CPoolEditModel::Remove(std::size_t index) {
    const PoolRemoval removal = RemovalEffect(index);
    for (const std::size_t entry : removal.backupCleared)
        m_edited.entries[entry].secondaryPoolId = kUnassignedPoolId;
    std::for_each(removal.removed.rbegin(), removal.removed.rend(), [this](std::size_t entry) {
        m_edited.entries.erase(m_edited.entries.begin() + static_cast<std::ptrdiff_t>(entry));
    });
    m_edited.pools.erase(m_edited.pools.begin() + static_cast<std::ptrdiff_t>(index));
    m_changed = true;
}
