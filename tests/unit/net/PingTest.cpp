#include "net/Ping.h"

#include <winsock2.h>
// After winsock2.h:
#include <iphlpapi.h>
// After iphlpapi.h:
#include <icmpapi.h>

#include <gtest/gtest.h>

#include "net/SocketHandles.h"

namespace {

TEST(PingTest, ThisMachineAnswers) {
    const CWinsockSession winsock;
    const HANDLE icmp = IcmpCreateFile();
    if (icmp == INVALID_HANDLE_VALUE) GTEST_SKIP() << "this user may not send echo requests: " << GetLastError();
    IcmpCloseHandle(icmp);
    for (const wchar_t* local : {L"", L"127.0.0.1"}) {
        PingReply reply;
        PingOptions options;
        options.localAddress = local;
        ASSERT_TRUE(CPing().Ping(L"127.0.0.1", reply, options)) << GetLastError();
        EXPECT_EQ(reply.family, AF_INET);
        EXPECT_EQ(reply.address, htonl(INADDR_LOOPBACK));
        EXPECT_LE(reply.roundTrip, options.timeoutMilliseconds);
    }
}

TEST(PingTest, AHostThatCannotBeResolvedFailsWithTheResolversError) {
    const CWinsockSession winsock;
    PingReply reply;
    EXPECT_FALSE(CPing().Ping(L"", reply));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(WSAHOST_NOT_FOUND));
    PingOptions options;
    options.localAddress = L"no-such-host.invalid";
    EXPECT_FALSE(CPing().Ping(L"127.0.0.1", reply, options));
    EXPECT_NE(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
}

}  // namespace
