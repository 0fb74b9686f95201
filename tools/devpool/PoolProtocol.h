#pragma once
#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Dialect.h"
#include "JobSource.h"
#include "Options.h"
#include "Reply.h"
#include "Request.h"
#include "ShareCheck.h"
#include "Statistics.h"

using PoolTime = std::chrono::steady_clock::time_point;

// What all clients of one pool share; outlives them.
struct PoolContext {
    const PoolOptions& options;
    CJobSource& jobs;
    const CShareCheck& check;
    CStatistics& statistics;
};

// What follows from one line: lines to the client (without line feed), lines for the pool's own output, and whether the
// connection is to be dropped after the lines were sent.
struct Exchange {
    std::vector<std::string> lines;
    std::vector<std::string> events;
    bool drop = false;
};

// The pool's side of one connection. Pure but for the shared context; one thread.
class CPoolProtocol {
  public:
    // client: a number from 1 that tells connections apart; mode 2 makes the extranonce from it.
    CPoolProtocol(const PoolContext& context, unsigned client);

    Exchange Receive(std::string_view line, PoolTime now);
    // Sends the current job to a client that has logged in; nothing otherwise.
    Exchange Announce(PoolTime now);
    bool LoggedIn() const { return m_loggedIn; }

  private:
    struct Route;
    static const Route* FindRoute(Dialect dialect, std::string_view method);

    bool SettleDialect(const PoolRequest& request);
    void Drop(const std::string& reason);
    void Event(const std::string& text);
    void Reply(const PoolRequest& request, std::string_view result);
    void Refuse(const PoolRequest& request, const ReplyError& error);
    void RefuseLine(const PoolRequest& request);

    void Subscribe(const PoolRequest& request, PoolTime now);
    void SubscribeExtranonce(const PoolRequest& request, PoolTime now);
    void LogIn(const PoolRequest& request, PoolTime now);
    void GetWork(const PoolRequest& request, PoolTime now);
    void Submit(const PoolRequest& request, PoolTime now);
    void ReportHashRate(const PoolRequest& request, PoolTime now);

    bool UserAllowed(std::string_view user) const;
    void PushJob(PoolTime now);
    void NoteWork(PoolTime now);
    ShareResult Judge(const std::optional<ShareFields>& share) const;
    void ShareEvent(const PoolRequest& request, const std::optional<ShareFields>& share, const ShareResult& result);

    const PoolContext m_context;
    const unsigned m_client;
    std::optional<Dialect> m_dialect;
    Hash256 m_boundary{};
    std::string m_extranonce;
    bool m_subscribed = false;
    bool m_loggedIn = false;
    std::string m_user;
    unsigned m_badLines = 0;
    std::uint64_t m_accepted = 0;
    std::optional<PoolTime> m_firstWork;
    Exchange m_out;
};
