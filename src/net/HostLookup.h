#pragma once
#include <windows.h>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include "net/Resolver.h"

// The look-ups of one connection, used by one thread at a time. The resolver runs on a thread of its own, which shares only
// the request with the caller, so that it never keeps the caller from stopping.
//
// A look-up that is not waited for to its end is left behind, to end whenever the resolver returns. There is at most one of
// each host: to ask again means to wait for that one on.
class CHostLookup {
  public:
    explicit CHostLookup(IResolver& resolver);
    ~CHostLookup();

    // Nothing: stopEvent was set.
    std::optional<LookUpAnswer> LookUp(const std::wstring& host, HANDLE stopEvent, std::uint32_t limitMilliseconds);

  private:
    struct Request;
    struct Host {
        std::shared_ptr<Request> pending;
        std::vector<HostAddress> known;  // found by the last look-up that worked
    };

    IResolver& m_resolver;
    std::map<std::wstring, Host> m_hosts;
};

// The system's text for an error code, without the line break at its end; empty when it has none.
std::string SystemMessage(std::uint32_t code);
