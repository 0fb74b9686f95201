#include "gui/PoolDraft.h"

#include <iterator>
#include <limits>

#include "common/CodePage.h"
#include "common/PoolAddress.h"
#include "gui/FieldText.h"
#include "gui/PortText.h"

namespace {

template <std::size_t Size>
constexpr std::size_t Room(const wchar_t (&)[Size]) {
    return Size - 1;
}

std::wstring SentenceStart(std::wstring text) {
    if (!text.empty() && text[0] >= L'a' && text[0] <= L'z') text[0] = static_cast<wchar_t>(text[0] - L'a' + L'A');
    return text;
}

std::wstring CheckRequired(const std::wstring& text, std::size_t maxChars, const wchar_t* whenEmpty) {
    return text.empty() ? whenEmpty : CheckFieldText(text, maxChars);
}

std::wstring CheckServer(const std::wstring& server, std::size_t maxChars) {
    if (server.find_first_of(L" \t\u00A0") != std::wstring::npos) return L"No spaces, please";
    std::wstring reason = CheckRequired(server, maxChars, L"Enter a server");
    return reason.empty() ? SentenceStart(NarrowToWide(ParsePoolAddress(WideToUtf8(server)).reason)) : reason;
}

void TakeServerApart(PoolDraft& draft) {
    // What the code page lacks would not come back.
    if (!CheckFieldText(draft.server, std::numeric_limits<std::size_t>::max()).empty()) return;
    const PoolAddress address = ParsePoolAddress(WideToUtf8(draft.server));
    if (!address.reason.empty()) return;
    draft.server = NarrowToWide(Utf8ToNarrow(address.host, nullptr));
    if (address.port) draft.port = std::to_wstring(*address.port);
}

}  // namespace

PoolDraft MakePoolDraft(const PoolEntry& pool) {
    return {pool.Name,           pool.Server, std::to_wstring(pool.Port), pool.WalletUser, pool.Password,
            pool.WorkerOverride, pool.Algo};
}

PoolDraft TidyPoolDraft(PoolDraft draft) {
    for (std::wstring* text : {&draft.name, &draft.server, &draft.walletUser, &draft.workerOverride})
        *text = Trimmed(*text);
    TakeServerApart(draft);
    return draft;
}

PoolFieldReasons CheckPoolDraft(const PoolDraft& draft) {
    const PoolEntry limits;
    PoolFieldReasons reasons;
    const auto note = [&reasons](PoolField field, std::wstring reason) {
        if (!reason.empty()) reasons.push_back({field, std::move(reason)});
    };
    note(PoolField::Name, CheckRequired(draft.name, Room(limits.Name), L"Enter a name"));
    note(PoolField::Server, CheckServer(draft.server, Room(limits.Server)));
    note(PoolField::Port, ParsePort(draft.port).reason);
    note(PoolField::WalletUser, CheckRequired(draft.walletUser, Room(limits.WalletUser), L"Enter a wallet or user"));
    note(PoolField::Password, CheckFieldText(draft.password, Room(limits.Password)));
    note(PoolField::WorkerOverride, CheckFieldText(draft.workerOverride, Room(limits.WorkerOverride)));
    return reasons;
}

void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool) {
    CopyToField(draft.name, pool.Name);
    CopyToField(draft.server, pool.Server);
    pool.Port = ParsePort(draft.port).port;
    CopyToField(draft.walletUser, pool.WalletUser);
    CopyToField(draft.password, pool.Password);
    CopyToField(draft.workerOverride, pool.WorkerOverride);
    pool.Algo = draft.algorithm;
}
