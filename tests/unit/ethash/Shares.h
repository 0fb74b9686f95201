#pragma once
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

// Collects what a plug-in sends and logs. Any thread; every wait is bounded.

struct SentShare {
    void* session = nullptr;
    std::string line;
    std::chrono::steady_clock::time_point time;

    std::uint32_t Id() const { return static_cast<std::uint32_t>(std::strtoul(line.c_str() + 6, nullptr, 10)); }
    // The quoted text number `index` of the parameters.
    std::string Parameter(int index) const {
        std::size_t at = line.find("\"params\":[");
        for (int quotes = 0; quotes < 2 * index + 3; ++quotes)
            at = line.find('"', at + (quotes == 0 ? 0 : 1));
        return line.substr(at + 1, line.find('"', at + 1) - at - 1);
    }
    std::uint64_t Nonce(int index) const { return std::strtoull(Parameter(index).c_str(), nullptr, 16); }
};

class CCollector {
  public:
    void AddShare(void* session, std::string_view line) {
        const std::lock_guard lock(m_lock);
        m_shares.push_back({session, std::string(line), std::chrono::steady_clock::now()});
        m_changed.notify_all();
    }

    void AddLog(std::string line) {
        const std::lock_guard lock(m_lock);
        m_log.push_back(std::move(line));
        m_changed.notify_all();
    }

    void Clear() {
        const std::lock_guard lock(m_lock);
        m_shares.clear();
        m_log.clear();
    }

    std::vector<SentShare> Shares() const {
        const std::lock_guard lock(m_lock);
        return m_shares;
    }

    std::vector<std::string> Log() const {
        const std::lock_guard lock(m_lock);
        return m_log;
    }

    // Waits until that many of the collected shares are such; false after half a minute.
    bool WaitForShares(std::size_t count, const std::function<bool(const SentShare&)>& such = nullptr) {
        return Wait([&] {
            const auto found = such == nullptr ? m_shares.size() : Count(m_shares, such);
            return found >= count;
        });
    }

    bool WaitForLog(std::string_view part, std::size_t count = 1) {
        return Wait([&] {
            return Count(m_log, [&](const std::string& line) { return line.find(part) != std::string::npos; }) >= count;
        });
    }

    bool WaitForAnything() {
        return Wait([&] { return !m_shares.empty() || !m_log.empty(); });
    }

  private:
    template <class List, class Such>
    static std::size_t Count(const List& list, const Such& such) {
        return static_cast<std::size_t>(std::count_if(list.begin(), list.end(), such));
    }

    template <class Condition>
    bool Wait(const Condition& condition) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::seconds(30), condition);
    }

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<SentShare> m_shares;
    std::vector<std::string> m_log;
};
