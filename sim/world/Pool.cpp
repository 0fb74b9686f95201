#include "world/Pool.h"
#include <algorithm>
#include <charconv>
#include "pool/ShareDesk.h"
#include "pool/StratumRequests.h"
#include "world/Promises.h"

namespace {

bool Has(std::string_view line, std::string_view part) {
    return line.find(part) != line.npos;
}

// The text in quotes that begins so; without the quotes.
std::string_view Quoted(std::string_view line, std::string_view begin) {
    const std::size_t at = line.find("\"" + std::string(begin));
    if (at == line.npos) return {};
    return line.substr(at + 1, line.find('"', at + 1) - at - 1);
}

ProtocolMode ModeOfSubscribe(std::string_view line) {
    if (Has(line, "eth_submitLogin")) return ProtocolMode::EthProxy;
    if (Has(line, "EthereumStratum")) return ProtocolMode::NiceHash;
    return Has(line, ",null,") ? ProtocolMode::Host : ProtocolMode::Plain;
}

std::string Id(std::uint32_t id) {
    return "{\"id\":" + std::to_string(id) + ",";
}

}  // namespace

CSimPool::CSimPool(CKernel& kernel, CNetwork& network, const CConditions& conditions, CPromises& promises,
                   std::uint64_t seed, int number, bool speaksEthProxy)
    : m_kernel(kernel),
      m_network(network),
      m_conditions(conditions),
      m_promises(promises),
      m_random(seed, "pool", static_cast<std::uint64_t>(number)),
      m_owner(kernel.NewOwner()),
      m_number(number),
      m_speaksEthProxy(speaksEthProxy),
      m_mode(ModeAt(m_random.Below(12))),
      m_manner(static_cast<Manner>(m_random.Below(3))),
      m_betweenJobs(m_random.Between(20, 90) * kTicksPerSecond) {
    m_kernel.After(m_random.Waiting(m_betweenJobs), m_owner, [this] { NextJob(); });
}

ProtocolMode CSimPool::ModeAt(std::uint64_t number) const {
    return static_cast<ProtocolMode>(m_speaksEthProxy ? number % 4 : 1 + number % 3);
}

std::string CSimPool::JobIdOf(int pool, std::uint64_t number) {
    return "j" + std::to_string(pool) + "-" + std::to_string(number);
}

int CSimPool::PoolOfJob(std::string_view jobId) {
    return jobId.size() > 2 && jobId[0] == 'j' ? jobId[1] - '0' : -1;
}

void CSimPool::Accept(const WirePointer& wire) {
    std::erase_if(m_wires, [](const WirePointer& known) { return known->isClosed; });
    m_wires.push_back(wire);
}

void CSimPool::CloseAll() {
    for (const WirePointer& wire : m_wires)
        m_network.CloseFromPool(wire, 0);
}

void CSimPool::Say(const WirePointer& wire, std::string line) {
    if (Is(FaultKind::WrongAnswers) && m_random.Chance(0.3)) {
        static const char* const kWrong[] = {"garbage\n",
                                             "{\"id\":77,\"result\":{}}\n",
                                             "{\"id\":\"x\",\"error\":7}\n",
                                             "[]\n",
                                             "{\"method\":\"mining.notify\",\"params\":[null,1]}\n",
                                             "{\"id\":65541,\"method\":\"client.get_version\",\"params\":[]}\n"};
        m_network.SendToRig(wire, kWrong[m_random.Below(std::size(kWrong))]);
    }
    m_network.SendToRig(wire, std::move(line));
}

void CSimPool::Receive(const WirePointer& wire, const std::string& line) {
    const std::uint32_t id = CShareDesk::RequestId(line);
    if (Has(line, "subscribe\"") && id == kIdSubscribe) return Subscribe(wire, line);
    if (id == kIdSubscribe) return Subscribe(wire, line);
    if (id == kIdAuthorize) return Authorize(wire);
    if (id > kIdReserved) return Share(wire, line, id);
    if (!wire->hasSubscribed) m_promises.Broken("login-first", "before the login was sent: " + line);
    if (Is(FaultKind::Silent) || Is(FaultKind::NoJob)) return;
    if (id == kIdGetWork) SendJob(wire, kIdGetWork, true);
    if (id == kIdExtranonceSubscribe || id == kIdHashRate) Say(wire, Id(id) + "\"result\":true,\"error\":null}\n");
}

bool CSimPool::RefusesLogin(const WirePointer& wire, std::uint32_t id) {
    if (Is(FaultKind::LoginSilent)) return true;
    const bool forgets = std::exchange(m_forgetsUser, false);
    if (!forgets && !Is(FaultKind::LoginRefused)) return false;
    const char* const text = forgets ? "Invalid user provided" : "Unauthorized worker";
    if (forgets) m_promises.UserRefused();
    Say(wire, Id(id) + "\"result\":null,\"error\":[24,\"" + text + "\",null]}\n");
    return true;
}

void CSimPool::Subscribe(const WirePointer& wire, const std::string& line) {
    if (std::exchange(wire->hasSubscribed, true)) m_promises.Broken("login-first", "a second login: " + line);
    const ProtocolMode asked = ModeOfSubscribe(line);
    const bool showsItself = m_mode == ProtocolMode::NiceHash && asked == ProtocolMode::Plain;
    if (asked != m_mode && !showsItself) {
        if (m_manner == Manner::Closes) m_network.CloseFromPool(wire, 0);
        if (m_manner == Manner::Answers) Say(wire, Id(1) + "\"result\":null,\"error\":[-3,\"Method not found\",null]}\n");
        return;
    }
    if (m_mode == ProtocolMode::EthProxy && RefusesLogin(wire, kIdSubscribe)) return;
    if (Is(FaultKind::LoginSilent)) return;
    wire->answersLogin = true;
    switch (m_mode) {
        case ProtocolMode::EthProxy:
            LoggedIn(wire);
            Say(wire, Id(1) + "\"jsonrpc\":\"2.0\",\"result\":true}\n");
            break;
        case ProtocolMode::Plain:
            Say(wire, Id(1) + "\"result\":true,\"error\":null}\n");
            break;
        case ProtocolMode::NiceHash:
            wire->extranonce = "aa0" + std::to_string(m_random.Below(10));
            Say(wire, Id(1) + "\"result\":[[\"mining.notify\",\"s\",\"EthereumStratum/1.0.0\"],\"" + wire->extranonce +
                          "\"],\"error\":null}\n");
            break;
        default:
            Say(wire, Id(1) + "\"result\":[[[\"mining.notify\",\"s\"]],\"08\",4],\"error\":null}\n");
            break;
    }
}

void CSimPool::Authorize(const WirePointer& wire) {
    if (!wire->answersLogin) m_promises.Broken("login-first", "the authorisation before the subscription was answered");
    if (RefusesLogin(wire, kIdAuthorize)) return;
    LoggedIn(wire);
    Say(wire, Id(kIdAuthorize) + "\"result\":true,\"error\":null}\n");
    if (Is(FaultKind::Silent) || Is(FaultKind::NoJob)) return;
    if (m_mode == ProtocolMode::NiceHash)
        Say(wire, "{\"id\":null,\"method\":\"mining.set_difficulty\",\"params\":[" + std::to_string(m_difficulty) + "]}\n");
    SendJob(wire, 0, true);
}

void CSimPool::LoggedIn(const WirePointer& wire) {
    wire->hasLoggedIn = true;
}

void CSimPool::SendJob(const WirePointer& wire, std::uint32_t answerTo, bool clean) {
    const std::string id = JobIdOf(m_number, m_job);
    if (m_mode == ProtocolMode::EthProxy) {
        Say(wire, Id(answerTo) + "\"jsonrpc\":\"2.0\",\"result\":[\"" + id + "\",\"0xseed\",\"0xtarget\"]}\n");
    } else {
        Say(wire, R"({"id":null,"method":"mining.notify","params":[")" + id + R"(","seed","header",)" +
                      (clean ? "true]}\n" : "false]}\n"));
    }
}

void CSimPool::NextJob(bool clean) {
    ++m_job;
    if (clean) m_cleanJob = m_job;
    if (!Is(FaultKind::Silent) && !Is(FaultKind::NoJob)) {
        for (const WirePointer& wire : std::vector(m_wires)) {
            if (!wire->isClosed && wire->hasLoggedIn) SendJob(wire, 0, clean);
        }
    }
    const bool cleans = m_random.Chance(0.7);
    m_kernel.After(m_random.Waiting(m_betweenJobs), m_owner, [this, cleans] { NextJob(cleans); });
}

void CSimPool::Share(const WirePointer& wire, const std::string& line, std::uint32_t id) {
    const std::string_view job = Quoted(line, "j");
    m_promises.ShareArrived(Quoted(line, "n"), PoolOfJob(job), m_number, wire->hasLoggedIn);
    if (Is(FaultKind::Silent) || Is(FaultKind::NoAnswers)) return;
    std::uint64_t number = 0;
    if (job.size() > 3) std::from_chars(job.data() + 3, job.data() + job.size(), number);
    const bool isGood = number >= m_cleanJob && !Is(FaultKind::Rejects);
    std::string answer =
        Id(id) + (isGood ? "\"result\":true,\"error\":null}\n" : "\"result\":false,\"error\":[21,\"Stale or low\",null]}\n");
    if (Is(FaultKind::DoubleAnswers)) Say(wire, answer);
    Say(wire, std::move(answer));
}

// ---- What may be done to it ------------------------------------------------------------------------------------------

void CSimPool::ChangeMode(std::uint32_t value) {
    const ProtocolMode before = m_mode;
    for (std::uint64_t number = value % 12; m_mode == before; ++number)
        m_mode = ModeAt(number);
    CloseAll();
}

void CSimPool::ChangeDifficulty(std::uint32_t value) {
    m_difficulty = 0.5 + value % 16;
    if (Is(FaultKind::Silent) || m_mode == ProtocolMode::EthProxy) return;
    for (const WirePointer& wire : m_wires) {
        if (wire->hasLoggedIn)
            Say(wire, "{\"method\":\"mining.set_difficulty\",\"params\":[" + std::to_string(m_difficulty) + "]}\n");
    }
}

void CSimPool::ChangeExtranonce(std::uint32_t value) {
    if (Is(FaultKind::Silent) || m_mode != ProtocolMode::NiceHash) return;
    for (const WirePointer& wire : m_wires) {
        if (!wire->hasLoggedIn) continue;
        wire->extranonce = "bb" + std::to_string(value % 100);
        Say(wire, "{\"method\":\"mining.set_extranonce\",\"params\":[\"" + wire->extranonce + "\"]}\n");
    }
}

void CSimPool::Flood() {
    for (int i = 0; i < 300; ++i) {
        for (const WirePointer& wire : m_wires) {
            if (wire->hasLoggedIn) SendJob(wire, 0, i % 2 == 0);
        }
        ++m_job;
    }
}
