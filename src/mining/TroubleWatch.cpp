#include "mining/TroubleWatch.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "common/CodePage.h"

void CTroubleBoard::Add(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    m_errors.push_back(error);
}

void CTroubleBoard::Remove(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_errors.begin(), m_errors.end(), [&](const PoolError& known) {
        return known.code == error.code && known.gpuIndex == error.gpuIndex && std::string_view(known.text) == error.text;
    });
    if (found != m_errors.end()) m_errors.erase(found);
}

void CTroubleBoard::SetStopped(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    m_stopped = error;
}

std::optional<PoolError> CTroubleBoard::ClearStopped() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_stopped, std::nullopt);
}

std::vector<PoolError> CTroubleBoard::Lasting() const {
    const std::lock_guard lock(m_lock);
    std::vector<PoolError> errors = m_errors;
    if (m_stopped) errors.push_back(*m_stopped);
    return errors;
}

std::vector<CTroubleWatch::Change> CTroubleWatch::Look(const std::vector<Concern>& concerns, const IClock& clock) {
    const TimeSpan now = clock.Monotonic();
    std::vector<Change> changes;
    std::erase_if(m_entries, [&](const Entry& entry) {
        const bool isGone = std::none_of(concerns.begin(), concerns.end(),
                                         [&](const Concern& concern) { return concern.gpu == entry.concern.gpu; });
        if (isGone && entry.told) changes.push_back({false, *entry.told, now - entry.since});
        return isGone;
    });
    for (const Concern& concern : concerns) {
        auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                  [&](const Entry& known) { return known.concern.gpu == concern.gpu; });
        if (entry == m_entries.end()) entry = m_entries.insert(entry, {concern, now, now, {}});
        if (entry->concern != concern) {
            entry->concern = concern;
            entry->changed = now;
        }
        const PoolError error = ErrorOf(concern, clock.UtcNow());
        if (entry->told && entry->told->code == error.code && std::string_view(entry->told->text) == error.text) continue;
        // A reason that comes and goes does not take the place of one that was told.
        const TimeSpan lasted = now - (entry->told ? entry->changed : entry->since);
        if (!concern.isCertain && lasted < kPatience) continue;
        if (entry->told) changes.push_back({false, *entry->told, now - entry->since});
        entry->told = error;
        changes.push_back({true, error, 0});
    }
    return changes;
}

std::vector<PoolError> CTroubleWatch::Lasting() const {
    std::vector<PoolError> errors;
    for (const Entry& entry : m_entries) {
        if (entry.told) errors.push_back(*entry.told);
    }
    return errors;
}

PoolError ErrorOf(const Concern& concern, ddt_datetime now) {
    PoolError error;
    error.code = CodeNumber(concern.code);
    error.time = now;
    error.gpuIndex = concern.gpu;
    std::string text = WideToNarrow(concern.text);
    // The text may repeat what a pool or a plug-in wrote, and goes into a report unescaped.
    for (char& c : text) {
        if (c == '"') c = '\'';
        if (c == '\\') c = '/';
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    CopyToField(std::string_view(text), error.text);
    return error;
}

PoolError OverError(const PoolError& error, ddt_datetime now) {
    PoolError over = error;
    over.code = CodeNumber(TroubleCode::Over);
    over.time = now;
    const std::string text = std::string(kOverPrefix) + error.text;
    CopyToField(std::string_view(text), over.text);
    return over;
}
