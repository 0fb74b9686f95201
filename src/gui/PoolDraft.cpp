#include "gui/PoolDraft.h"

#include <iterator>

#include "common/CodePage.h"
#include "gui/FieldText.h"
#include "gui/PortText.h"

namespace {

template <std::size_t Size>
constexpr std::size_t Room(const wchar_t (&)[Size]) {
    return Size - 1;
}

std::wstring CheckRequired(const std::wstring& text, std::size_t maxChars, const wchar_t* whenEmpty) {
    return text.empty() ? whenEmpty : CheckFieldText(text, maxChars);
}

std::wstring CheckServer(const std::wstring& server, std::size_t maxChars) {
    if (server.find_first_of(L" \t\u00A0") != std::wstring::npos) return L"No spaces, please";
    return CheckRequired(server, maxChars, L"Enter a server");
}

}  // namespace

PoolDraft MakePoolDraft(const PoolEntry& pool) {
    return {pool.Name,           pool.Server, std::to_wstring(pool.Port), pool.WalletUser, pool.Password,
            pool.WorkerOverride, pool.Algo};
}

PoolDraft TrimmedPoolDraft(PoolDraft draft) {
    for (std::wstring* text : {&draft.name, &draft.server, &draft.walletUser, &draft.workerOverride})
        *text = Trimmed(*text);
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
