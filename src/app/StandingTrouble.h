#pragma once
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include "gui/MiningView.h"
#include "mining/TroubleWatch.h"
#include "support/Event.h"

// Trouble that is not of a mining session and lasts until somebody does something about it: one text for each source. It is
// told in the event log, to the controller and, through the board, to a controller that comes later. Any thread.
class CStandingTrouble {
  public:
    enum class Source { SettingsText, SettingsSave, ConfigurationText, ConfigurationSave, PlugIns };

    // report sends the error to the controller, if there is one.
    CStandingTrouble(CTroubleBoard& board, IEventSink& events, std::function<void(const PoolError&)> report);

    // What is to be said of the source now; empty: what was said is over. The same text is not told twice.
    void Set(Source source, const std::wstring& text);
    // To the controller, once more, if it lasts.
    void Repeat(Source source);
    // For the window: what came last of what lasts.
    TimedMessage Latest() const;

  private:
    struct Entry {
        std::wstring text;
        PoolError error;  // the text as it was told
    };

    CTroubleBoard& m_board;
    IEventSink& m_events;
    const std::function<void(const PoolError&)> m_report;
    mutable std::mutex m_lock;
    std::map<Source, Entry> m_entries;
};
