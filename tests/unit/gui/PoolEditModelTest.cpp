#include "Rig.h"
#include "gui/PoolEditModel.h"

namespace {

PoolDraft GoodDraft() {
    PoolDraft draft;
    draft.texts = {L"", L"New", L"eu.pool.example", L"4444", L"0xwallet", L"x", L""};
    draft.algorithm = 3;
    return draft;
}

std::vector<PoolField> Fields(const PoolFieldReasons& reasons) {
    std::vector<PoolField> fields;
    for (const PoolFieldReason& reason : reasons) {
        EXPECT_FALSE(reason.text.empty());
        fields.push_back(reason.field);
    }
    return fields;
}

std::vector<std::wstring> Names(const MinerConfiguration& configuration) {
    std::vector<std::wstring> names;
    for (const PoolPointer& pool : configuration.pools)
        names.emplace_back(pool->Name);
    return names;
}

TEST(PoolEditModel, ChecksEveryField) {
    const auto with = [](auto change) {
        PoolDraft draft = GoodDraft();
        change(draft);
        return draft;
    };
    const auto text = [](std::size_t length) { return std::wstring(length, L'a'); };
    const struct {
        const char* name;
        PoolDraft draft;
        std::vector<PoolField> refused;
    } cases[] = {
        {"good", GoodDraft(), {}},
        {"no name", with([](PoolDraft& d) { d[PoolField::Name] = L"  "; }), {PoolField::Name}},
        {"taken name, with spaces around it", with([](PoolDraft& d) { d[PoolField::Name] = L" Two "; }), {PoolField::Name}},
        {"longest name", with([&](PoolDraft& d) { d[PoolField::Name] = text(63); }), {}},
        {"longer name", with([&](PoolDraft& d) { d[PoolField::Name] = text(64); }), {PoolField::Name}},
        {"letter that survives", with([](PoolDraft& d) { d[PoolField::Name] = L"Gr\u00F6\u00DFe"; }), {}},
        {"letter that the code page lacks", with([](PoolDraft& d) { d[PoolField::Name] = L"\u0416"; }), {PoolField::Name}},
        {"letter with a similar one",
         with([](PoolDraft& d) { d[PoolField::WalletUser] = L"\u0101"; }),
         {PoolField::WalletUser}},
        {"control character", with([](PoolDraft& d) { d[PoolField::Password] = L"a\tb"; }), {PoolField::Password}},
        {"no server", with([](PoolDraft& d) { d[PoolField::Server] = L""; }), {PoolField::Server}},
        {"server with a scheme that no pool has",
         with([](PoolDraft& d) { d[PoolField::Server] = L"https://a.example"; }),
         {PoolField::Server}},
        {"server with a space", with([](PoolDraft& d) { d[PoolField::Server] = L"a b"; }), {PoolField::Server}},
        {"pasted server", with([](PoolDraft& d) { d[PoolField::Server] = L" a.example\r\n"; }), {}},
        {"longest server", with([&](PoolDraft& d) { d[PoolField::Server] = text(259); }), {}},
        {"longer server", with([&](PoolDraft& d) { d[PoolField::Server] = text(260); }), {PoolField::Server}},
        {"port 0", with([](PoolDraft& d) { d[PoolField::Port] = L"0"; }), {PoolField::Port}},
        {"no wallet", with([](PoolDraft& d) { d[PoolField::WalletUser] = L""; }), {PoolField::WalletUser}},
        {"longer wallet", with([&](PoolDraft& d) { d[PoolField::WalletUser] = text(260); }), {PoolField::WalletUser}},
        {"no password", with([](PoolDraft& d) { d[PoolField::Password] = L""; }), {}},
        {"longer password", with([&](PoolDraft& d) { d[PoolField::Password] = text(64); }), {PoolField::Password}},
        {"longest worker", with([&](PoolDraft& d) { d[PoolField::WorkerOverride] = text(31); }), {}},
        {"longer worker", with([&](PoolDraft& d) { d[PoolField::WorkerOverride] = text(32); }), {PoolField::WorkerOverride}},
        {"unknown algorithm", with([](PoolDraft& d) { d.algorithm = 99; }), {PoolField::Algorithm}},
        {"nothing",
         PoolDraft(),
         {PoolField::Name, PoolField::Server, PoolField::Port, PoolField::WalletUser, PoolField::Algorithm}},
    };
    const CGuiRig rig;
    for (const auto& c : cases) {
        CPoolEditModel model(rig.Current(), rig.algorithms);
        EXPECT_EQ(Fields(model.Add(c.draft)), c.refused) << c.name;
        EXPECT_EQ(model.Count(), c.refused.empty() ? 5u : 4u) << c.name;
        EXPECT_EQ(model.IsChanged(), c.refused.empty()) << c.name;
    }
}

TEST(PoolEditModel, TakesAPastedServerApart) {
    const struct {
        const wchar_t* pasted;
        const wchar_t* server;
        const wchar_t* port;
    } cases[] = {
        {L"stratum+tcp://pool.example:5555/\r\n", L"pool.example", L"5555"},
        {L"ethproxy+ssl://pool.example:5555#insecure", L"ethproxy+ssl://pool.example", L"5555"},
        {L"pool.example:5555", L"pool.example", L"5555"},
        {L"[2001:db8::1]:5555", L"2001:db8::1", L"5555"},
        {L"tcp://pool.example", L"pool.example", L"4444"},
        {L"pool.example:0", L"pool.example:0", L"4444"},
        {L"stratum+tcp://\u0416.example", L"stratum+tcp://\u0416.example", L"4444"},
    };
    for (const auto& c : cases) {
        PoolDraft draft = GoodDraft();
        draft[PoolField::Server] = c.pasted;
        const PoolDraft tidy = TidyPoolDraft(draft);
        EXPECT_EQ(tidy[PoolField::Server], c.server) << c.pasted;
        EXPECT_EQ(tidy[PoolField::Port], c.port) << c.pasted;
    }
    // What a file holds is neither changed nor refused before the user touches that pool.
    CGuiRig rig;
    MinerConfiguration odd = *rig.Current();
    PoolEntry pool = *odd.pools[0];
    CopyToField(std::wstring_view(L"http://pool.example"), pool.Server);
    odd.pools[0] = std::make_shared<PoolEntry>(pool);
    CPoolEditModel model(std::make_shared<const MinerConfiguration>(odd), rig.algorithms);
    PoolDraft draft = MakePoolDraft(model.Pool(0));
    EXPECT_TRUE(model.Edit(0, draft).empty());
    EXPECT_FALSE(model.IsChanged());
    draft[PoolField::Password] = L"other";
    EXPECT_EQ(Fields(model.Edit(0, draft)), std::vector{PoolField::Server});
}

TEST(PoolEditModel, EncryptionIsPartOfTheServerWhereItIsKept) {
    CGuiRig rig;
    CPoolEditModel model(rig.Current(), rig.algorithms);
    const std::wstring digits(64, L'a');
    const std::wstring pinned = L"stratum+ssl://a.example#sha256=" + digits;
    const struct {
        const wchar_t* server;
        bool isEncrypted;
        std::wstring certificate;
        std::wstring kept;
    } kCases[] = {
        {L"a.example", true, L"", L"stratum+ssl://a.example"},
        {L"a.example", false, L"ignored", L"a.example"},
        {L"a.example", true, L" sha256=AA:" + digits.substr(2), pinned},
        {L"tls://a.example", false, L"", L"stratum+ssl://a.example"},
        {L"ethproxy+ssl://a.example", true, L"insecure", L"ethproxy+ssl://a.example#insecure"},
    };
    PoolDraft draft = GoodDraft();
    ASSERT_TRUE(model.Add(draft).empty());
    const std::size_t last = model.Count() - 1;
    for (const auto& test : kCases) {
        draft[PoolField::Server] = test.server;
        draft.isEncrypted = test.isEncrypted;
        draft.certificate = test.certificate;
        EXPECT_TRUE(model.Edit(last, draft).empty()) << test.kept;
        EXPECT_EQ(model.Pool(last).Server, test.kept);
        const PoolDraft shown = MakePoolDraft(model.Pool(last));
        PoolEntry again;
        ApplyPoolDraft(shown, again);
        EXPECT_EQ(again.Server, test.kept) << "what is shown is what is kept";
        EXPECT_EQ(shown[PoolField::Server].find(L"sha256"), std::wstring::npos);
    }
    draft.isEncrypted = true;
    draft.certificate = L"12ab";
    const PoolFieldReasons reasons = model.Edit(last, draft);
    ASSERT_EQ(reasons.size(), 1u);
    EXPECT_TRUE(reasons[0].isOfCertificate);
    draft = WithEncryption(MakePoolDraft(model.Pool(last)), false);
    ASSERT_TRUE(model.Edit(last, draft).empty());
    EXPECT_STREQ(model.Pool(last).Server, L"ethproxy+tcp://a.example");
}

TEST(PoolEditModel, AddsWithAnUnusedId) {
    const CGuiRig rig;
    CPoolEditModel model(rig.Current(), rig.algorithms);
    model.Remove(0);
    ASSERT_TRUE(model.Add(GoodDraft()).empty());
    PoolDraft second = GoodDraft();
    second[PoolField::Name] = L"New 2";
    ASSERT_TRUE(model.Add(second).empty());
    EXPECT_EQ(model.Pool(3).ID, 3u) << "a session may still mine on the removed pool 1";
    EXPECT_EQ(model.Pool(4).ID, 4u);
    const MinerConfiguration built = model.Build(rig.Builder());
    EXPECT_EQ(built.pools[3]->Port, 4444u);
    EXPECT_EQ(built.pools[3]->algorithm->id, 3);
}

TEST(PoolEditModel, EditsOnePoolAndKeepsTheRest) {
    CGuiRig rig;
    rig.records[2].NGM = -7;
    rig.records[2].NGTO = 99;
    CPoolEditModel model(rig.Current(), rig.algorithms);
    PoolDraft draft = MakePoolDraft(model.Pool(3));
    draft[PoolField::Server] = L"other.example";
    EXPECT_TRUE(model.Edit(3, draft).empty()) << "an algorithm that no plug-in has stays";
    rig.Current()->pools[0]->lastError.Set({5, {1}, -1, "while the dialog was open"});

    const ConfigurationPointer before = rig.Current();
    rig.published->Publish(model.Build(rig.Builder()));
    const MinerConfiguration& after = *rig.Current();
    EXPECT_EQ(Names(after), Names(*before));
    EXPECT_STREQ(after.pools[3]->Server, L"other.example");
    EXPECT_STREQ(after.pools[3]->Password, L"secret");
    EXPECT_EQ(after.pools[3]->Algo, 99);
    EXPECT_EQ(after.pools[0]->lastError.Get().code, 5);
    EXPECT_STREQ(after.DefaultWorkerName, L"rig");
    ASSERT_EQ(after.configurations.size(), 2u);
    EXPECT_EQ(after.configurations[0].primaryPool, after.pools[0]);
    EXPECT_EQ(after.configurations[0].secondaryPool, after.pools[1]);
    EXPECT_EQ(after.configurations[0].GpuAttributs, 4u);
    EXPECT_EQ(after.configurations[0].PoolAttributs, 5u);
    EXPECT_EQ(after.configurations[0].gpus, before->configurations[0].gpus);
    EXPECT_EQ(after.configurations[1].secondaryPool, rig.unassignedPool);
    EXPECT_EQ(rig.records[2].assignedPool, after.pools[2].get());
    EXPECT_EQ(rig.records[2].NGM, -7);
    EXPECT_EQ(rig.records[2].NGTO, 99u);
}

TEST(PoolEditModel, RefusesAnAlgorithmThatPartsAPair) {
    const CGuiRig rig;
    CPoolEditModel model(rig.Current(), rig.algorithms);
    for (const std::size_t index : {std::size_t{0}, std::size_t{1}}) {
        PoolDraft draft = MakePoolDraft(model.Pool(index));
        draft.algorithm = 5;
        EXPECT_EQ(Fields(model.Edit(index, draft)), std::vector{PoolField::Algorithm});
        EXPECT_EQ(model.Pool(index).Algo, 3);
    }
    PoolDraft alone = MakePoolDraft(model.Pool(2));
    alone.algorithm = 3;
    EXPECT_TRUE(model.Edit(2, alone).empty());
    EXPECT_FALSE(model.Edit(2, MakePoolDraft(model.Pool(1))).empty()) << "another pool's name";
}

TEST(PoolEditModel, MovesPools) {
    const CGuiRig rig;
    const struct {
        std::size_t from, to;
        bool moves;
        std::vector<std::wstring> names;
    } cases[] = {
        {0, 3, true, {L"Two", L"Seven", L"Eight", L"One"}},  {3, 0, true, {L"Eight", L"One", L"Two", L"Seven"}},
        {2, 1, true, {L"One", L"Seven", L"Two", L"Eight"}},  {1, 1, true, {L"One", L"Two", L"Seven", L"Eight"}},
        {0, 4, false, {L"One", L"Two", L"Seven", L"Eight"}}, {4, 0, false, {L"One", L"Two", L"Seven", L"Eight"}},
    };
    for (const auto& c : cases) {
        CPoolEditModel model(rig.Current(), rig.algorithms);
        EXPECT_EQ(model.Move(c.from, c.to), c.moves);
        EXPECT_EQ(Names(model.Build(rig.Builder())), c.names) << c.from << " to " << c.to;
    }
}

TEST(PoolEditModel, TellsWhatARemovalTakesAlong) {
    const CGuiRig rig;
    const struct {
        std::size_t pool;
        std::vector<std::size_t> removed, cleared;
        std::size_t left;
    } cases[] = {{0, {0}, {}, 1}, {1, {}, {0}, 2}, {2, {1}, {}, 1}, {3, {}, {}, 2}};
    for (const auto& c : cases) {
        CPoolEditModel model(rig.Current(), rig.algorithms);
        const PoolRemoval effect = model.RemovalEffect(c.pool);
        EXPECT_EQ(effect.removed, c.removed) << c.pool;
        EXPECT_EQ(effect.backupCleared, c.cleared) << c.pool;
        EXPECT_EQ(model.RemovalText(c.pool).empty(), effect.IsEmpty());
        const std::uint32_t id = model.Pool(c.pool).ID;
        model.Remove(c.pool);
        const MinerConfiguration built = model.Build(rig.Builder());
        EXPECT_EQ(built.pools.size(), 3u);
        EXPECT_EQ(built.configurations.size(), c.left) << c.pool;
        for (const ConfigurationEntry& entry : built.configurations) {
            EXPECT_NE(entry.primaryPool->ID, id);
            EXPECT_NE(entry.secondaryPool->ID, id);
        }
    }
    MinerConfiguration withoutId = *rig.Current();
    withoutId.pools.push_back(std::make_shared<PoolEntry>());
    const CPoolEditModel model(std::make_shared<const MinerConfiguration>(withoutId), rig.algorithms);
    EXPECT_EQ(model.RemovalText(0), L"Configuration 1 (GPU#0, GPU#1) mines on this pool and is removed.\n");
    EXPECT_TRUE(model.RemovalEffect(4).IsEmpty()) << "no backup is no use of the pool that lacks an ID";
}

}  // namespace
