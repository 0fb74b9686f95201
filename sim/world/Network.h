#pragma once
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include "net/Resolver.h"
#include "world/Faults.h"
#include "world/Kernel.h"
#include "world/Random.h"

class CSimPool;

// One established connection between the rig and a pool. Each side hears of the other's bytes and of its end later, in
// order; what is on its way when the connection dies is lost. Both sides share it.
class CWire {
  public:
    // The rig's end; cleared when it closes.
    std::function<void(std::string_view bytes)> toRig;
    std::function<void(std::uint32_t error)> ended;  // 0: closed by the pool

    CSimPool* pool = nullptr;
    bool isDead = false;    // silently
    bool isClosed = false;  // by one of the two
    TimeSpan toRigAt = 0;   // when the latest bytes arrive there
    TimeSpan toPoolAt = 0;
    bool isBreaking = false;  // dead, and the rig's system will notice

    // What the pool knows of the rig on this connection.
    bool hasSubscribed = false;
    bool hasLoggedIn = false;
    bool answersLogin = false;
    std::string extranonce;
};
using WirePointer = std::shared_ptr<CWire>;

// Names, addresses and the way between them. Everything that it reports comes by the kernel, to the owner that is given.
class CNetwork {
  public:
    CNetwork(CKernel& kernel, const CConditions& conditions, std::uint64_t seed);
    void SetPools(std::array<CSimPool*, kPools> pools) { m_pools = pools; }

    static std::wstring HostOf(int pool) { return L"pool" + std::to_wstring(pool) + L".example"; }

    void LookUp(const std::wstring& host, CKernel::Owner owner, std::function<void(LookUpAnswer)> answer);
    // error: 0, or why there is none; nothing comes when the attempt is swallowed.
    void Connect(const HostAddress& address, CKernel::Owner owner,
                 std::function<void(std::uint32_t error, WirePointer wire)> done);
    // 0, or why it cannot be sent.
    std::uint32_t SendToPool(const WirePointer& wire, std::string_view text);
    void SendToRig(const WirePointer& wire, std::string text);
    // By the rig; by the pool.
    void CloseFromRig(const WirePointer& wire);
    void CloseFromPool(const WirePointer& wire, std::uint32_t error);

    // To what is connected now, to one pool or to all (-1).
    void Kill(int pool);
    void Reset(int pool, std::uint32_t error);

  private:
    TimeSpan Delay();
    int PoolAt(const HostAddress& address) const;

    CKernel& m_kernel;
    const CConditions& m_conditions;
    CRandom m_random;
    CKernel::Owner m_owner;
    std::array<CSimPool*, kPools> m_pools = {};
    std::vector<WirePointer> m_wires;
};
