#include "world/PlugIn.h"
#include <algorithm>
#include "common/SharedWord.h"

namespace {

constexpr TimeSpan kBetweenShares = 100 * kTicksPerSecond;
constexpr std::uint64_t kHashSpeed = 60'000'000;

}  // namespace

CSimPlugIn::CSimPlugIn(const ConnectionWorld& world, CPlugInMessages& messages, const std::vector<QvGpuRecord*>& gpus,
                       std::uint64_t seed, std::uint64_t& shareNumber)
    : m_world(world),
      m_messages(messages),
      m_gpus(gpus),
      m_random(seed, "cards", shareNumber),
      m_owner(world.kernel.NewOwner()),
      m_shareNumber(shareNumber),
      m_wasWorking(gpus.size(), true) {
    for (std::size_t card = 0; card < m_gpus.size(); ++card)
        m_world.kernel.After(m_random.Waiting(kBetweenShares), m_owner, [this, card] { FindShare(card); });
}

CSimPlugIn::~CSimPlugIn() {
    m_world.kernel.Forget(m_owner);
    for (QvGpuRecord* gpu : m_gpus)
        WriteShared(gpu->statistics.hashSpeed, 0);
}

void CSimPlugIn::Post(unsigned message, CSimConnection& source) {
    m_world.kernel.After(kTicksPerMillisecond, m_owner, [this, message, &source] { Take(message, source); });
}

void CSimPlugIn::Take(unsigned message, CSimConnection& source) {
    if (message == QV_MSG_ACTIVATE) {
        m_source = &source;
        m_job.clear();
        m_world.promises.SourceIs(source.Session().Kind() == StratumKind::Fee);
    }
    if (&source != m_source) return;
    if (message == QV_MSG_LOGGED_IN) m_job.clear();  // what the block holds is of the connection before
    if (message == QV_MSG_NEW_JOB) m_job = source.Session().WorkBlock().jobId;
    CardsChanged();
}

bool CSimPlugIn::IsWorking(int card) const {
    const auto is = [&](FaultKind kind) { return m_world.conditions.Is(kind, card); };
    return !is(FaultKind::Hang) && !is(FaultKind::FallOff) && !is(FaultKind::NoMemory);
}

std::string CSimPlugIn::HashedJob() const {
    const auto works = [this](const QvGpuRecord* gpu) { return IsWorking(gpu->cudaId); };
    return std::ranges::any_of(m_gpus, works) ? m_job : std::string();
}

void CSimPlugIn::CardsChanged() {
    for (std::size_t i = 0; i < m_gpus.size(); ++i) {
        QvGpuRecord& gpu = *m_gpus[i];
        const bool works = IsWorking(gpu.cudaId);
        const std::uint64_t speed = m_world.conditions.Is(FaultKind::SlowCard, gpu.cudaId) ? kHashSpeed / 10 : kHashSpeed;
        WriteShared(gpu.statistics.hashSpeed, works && !m_job.empty() ? speed : 0);
        if (works == m_wasWorking[i]) continue;
        m_wasWorking[i] = works;
        const std::wstring name = L"Sim: GPU " + std::to_wstring(gpu.cudaId) + L": ";
        m_messages.Add(name + (works ? L"hashing" : L"not hashing: the card does not answer"), m_world.clock.Monotonic());
    }
}

void CSimPlugIn::FindShare(std::size_t card) {
    const std::int32_t id = m_gpus[card]->cudaId;
    if (!m_job.empty() && IsWorking(id)) {
        m_sequence = (m_sequence + 1) & 0xFFFF;
        const std::uint32_t request = (static_cast<std::uint32_t>(id) + 1) << 16 | m_sequence;
        m_world.promises.ShareFound(id);
        m_source->Session().SubmitShare("{\"id\":" + std::to_string(request) + R"(,"method":"submit","params":["w",")" +
                                        m_job + "\",\"n" + std::to_string(++m_shareNumber) + "\"]}\n");
    }
    m_world.kernel.After(m_random.Waiting(kBetweenShares), m_owner, [this, card] { FindShare(card); });
}
