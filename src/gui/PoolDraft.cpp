#include "gui/PoolDraft.h"

#include <limits>

#include "common/CodePage.h"
#include "common/PoolAddress.h"
#include "gui/FieldText.h"

namespace {

std::wstring SentenceStart(std::wstring text) {
    if (!text.empty() && text[0] >= L'a' && text[0] <= L'z') text[0] = static_cast<wchar_t>(text[0] - L'a' + L'A');
    return text;
}

void TakeServerApart(PoolDraft& draft) {
    std::wstring& server = draft[PoolField::Server];
    // What the code page lacks would not come back.
    if (!CheckFieldText(server, std::numeric_limits<std::size_t>::max()).empty()) return;
    const PoolAddress address = ParsePoolAddress(WideToUtf8(server));
    if (!address.reason.empty()) return;
    server = NarrowToWide(Utf8ToNarrow(address.host, nullptr));
    if (address.port) draft[PoolField::Port] = std::to_wstring(*address.port);
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
    return draft;
}

PoolDraft TidyPoolDraft(PoolDraft draft) {
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (spec.isTrimmed) draft[spec.field] = Trimmed(draft[spec.field]);
    }
    TakeServerApart(draft);
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
        if (!reason.empty()) reasons.push_back({spec.field, std::move(reason)});
    }
    return reasons;
}

void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool) {
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (spec.kind == PoolFieldKind::Text) CopyToField(draft[spec.field], TextOf(pool, spec.field));
    }
    pool.Port = ParsePort(draft[PoolField::Port]).port;
    pool.Algo = draft.algorithm;
}
