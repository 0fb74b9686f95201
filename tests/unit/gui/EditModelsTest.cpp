#include "Rig.h"
#include "gui/ConfigurationEditModel.h"
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

AbsentGpu Absent(std::uint8_t number, std::size_t place) {
    AbsentGpu gpu{{}, -number, number, place};
    gpu.uuid.back() = number;
    return gpu;
}

// The rig's two configurations with a missing card in the first, and before each of them one whose cards are all missing.
ConfigurationPointer WithAbsentCards(const CGuiRig& rig) {
    MinerConfiguration configuration = *rig.Current();
    configuration.configurations[0].absentGpus = {Absent(1, 1)};
    const PoolPointer& pool = configuration.pools[1];
    configuration.absentConfigurations = {
        {0, {pool, rig.unassignedPool, 6, 7, {}, {Absent(2, 0), Absent(3, 1)}}},
        {2, {configuration.pools[2], rig.unassignedPool, 0, 0, {}, {Absent(4, 0), Absent(1, 1)}}},
    };
    return std::make_shared<const MinerConfiguration>(std::move(configuration));
}

// Everything about cards that is not present, in one text.
std::string AbsentText(const MinerConfiguration& configuration) {
    std::string text;
    const auto add = [&text](const ConfigurationEntry& entry) {
        text += std::to_string(entry.primaryPool->ID) + "," + std::to_string(entry.GpuAttributs) + "," +
                std::to_string(entry.PoolAttributs) + "," + std::to_string(entry.gpus.size()) + "[";
        for (const AbsentGpu& gpu : entry.absentGpus) {
            text += std::to_string(gpu.uuid.back()) + ":" + std::to_string(gpu.NGM) + ":" + std::to_string(gpu.NGTO) + "@" +
                    std::to_string(gpu.place) + " ";
        }
        text += "]";
    };
    for (const ConfigurationEntry& entry : configuration.configurations)
        add(entry);
    for (const AbsentConfiguration& absent : configuration.absentConfigurations) {
        text += " #" + std::to_string(absent.place) + " ";
        add(absent.entry);
    }
    return text;
}

TEST(EditModels, KeepCardsThatAreNotPresent) {
    const CGuiRig rig;
    const ConfigurationPointer base = WithAbsentCards(rig);
    const std::string kept = "1,4,5,2[1:-1:1@1 ]7,0,0,1[] #0 2,6,7,0[2:-2:2@0 3:-3:3@1 ] #2 7,0,0,0[4:-4:4@0 ]";
    EXPECT_EQ(AbsentText(BuildConfiguration(MakeEditedCopy(*base), rig.Builder())), kept) << "card 1 is the first's alone";

    CConfigurationEditModel model(base, rig.gpus);
    EXPECT_EQ(model.Label(0), L"Configuration 1 (2 cards not present)");
    EXPECT_EQ(model.Label(1), L"Configuration 2 (GPU#0, GPU#1, 1 card not present)");
    EXPECT_EQ(AbsentGpuLabel(Absent(0xAB, 0)), L"GPU 00000000...000000ab - not present");
    model.SetChecked(1, *rig.gpus[0], false);
    EXPECT_TRUE(model.SetChecked(2, *rig.gpus[1], true).emptied.empty()) << "the missing card is left";
    model.SetBackupPool(0, 1);
    ConfigurationBuild build = model.Build(rig.Builder());
    ASSERT_TRUE(build.configuration) << "cards that are missing are cards";
    EXPECT_EQ(AbsentText(*build.configuration),
              "7,0,0,1[4:-4:4@0 ]7,0,0,1[] #0 2,6,7,0[2:-2:2@0 3:-3:3@1 ] #1 1,4,5,0[1:-1:1@1 ]");
    model.RemoveAbsent(0, 1);
    model.RemoveAbsent(0, 0);
    EXPECT_EQ(model.Check().at(0).field, ConfigurationField::Gpus);
    model.Remove(0);
    build = model.Build(rig.Builder());
    EXPECT_EQ(AbsentText(*build.configuration), "7,0,0,1[4:-4:4@0 ]7,0,0,1[] #0 1,4,5,0[1:-1:1@1 ]");

    CPoolEditModel pools(base, rig.algorithms);
    EXPECT_EQ(pools.RemovalEffect(2).removed, (std::vector<std::size_t>{2, 3}));
    pools.Remove(2);
    EXPECT_EQ(AbsentText(pools.Build(rig.Builder())), "1,4,5,2[1:-1:1@1 ] #0 2,6,7,0[2:-2:2@0 3:-3:3@1 ]");
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

TEST(ConfigurationEditModel, MovesAGpuThatIsCheckedElsewhere) {
    CGuiRig rig;
    rig.records[2].NGM = 11;
    CConfigurationEditModel model(rig.Current(), rig.gpus);
    const GpuMove move = model.SetChecked(0, rig.records[2], true);
    EXPECT_EQ(move.from, std::vector<std::size_t>{1});
    EXPECT_EQ(move.emptied, std::vector<std::size_t>{1});
    EXPECT_EQ(model.OwnerOf(rig.records[2]), 0u);
    ConfigurationBuild build = model.Build(rig.Builder());
    ASSERT_EQ(build.reasons.size(), 1u);
    EXPECT_EQ(build.reasons[0].entry, 1u);
    EXPECT_EQ(build.reasons[0].field, ConfigurationField::Gpus);
    EXPECT_FALSE(build.configuration);

    model.Remove(1);
    build = model.Build(rig.Builder());
    ASSERT_TRUE(build.configuration);
    rig.published->Publish(*build.configuration);
    EXPECT_EQ(rig.records[2].assignedPool->ID, 1u);
    EXPECT_EQ(rig.records[2].NGM, 11);
    EXPECT_EQ(rig.Current()->pools.size(), 4u);

    EXPECT_TRUE(model.SetChecked(0, rig.records[0], true).from.empty()) << "it is there already";
    model.SetChecked(0, rig.records[0], false);
    EXPECT_FALSE(model.OwnerOf(rig.records[0]));
    EXPECT_EQ(model.Entry(0).gpus, (std::vector{rig.gpus[1], rig.gpus[2]}));
}

TEST(ConfigurationEditModel, ChecksThePairOfPools) {
    using enum ConfigurationField;
    const struct {
        const char* name;
        std::uint32_t primary, backup;
        std::vector<ConfigurationField> refused;
    } cases[] = {
        {"both of one algorithm", 2, 1, {}},       {"no backup", 2, kUnassignedPoolId, {}},
        {"another algorithm", 1, 7, {BackupPool}}, {"the same pool", 2, 2, {BackupPool}},
        {"no such backup", 2, 5, {BackupPool}},    {"no primary", kUnassignedPoolId, 2, {PrimaryPool}},
        {"no such primary", 5, 2, {PrimaryPool}},
    };
    CGuiRig rig;
    for (const auto& c : cases) {
        CConfigurationEditModel model(rig.Current(), rig.gpus);
        const std::size_t index = model.Add(kUnassignedPoolId);
        model.SetChecked(0, rig.records[1], false);
        model.SetChecked(index, rig.records[1], true);
        model.SetPrimaryPool(index, c.primary);
        model.SetBackupPool(index, c.backup);
        const ConfigurationBuild build = model.Build(rig.Builder());
        std::vector<ConfigurationField> refused;
        for (const ConfigurationReason& reason : build.reasons) {
            EXPECT_EQ(reason.entry, index) << c.name;
            refused.push_back(reason.field);
        }
        EXPECT_EQ(refused, c.refused) << c.name;
        ASSERT_EQ(build.configuration.has_value(), c.refused.empty()) << c.name;
        if (!build.configuration) continue;
        const ConfigurationEntry& entry = build.configuration->configurations.at(index);
        EXPECT_EQ(entry.primaryPool->ID, c.primary) << c.name;
        EXPECT_EQ(entry.secondaryPool->ID, c.backup) << c.name;
        EXPECT_EQ(entry.gpus, std::vector{rig.gpus[1]}) << c.name;
    }
    const CConfigurationEditModel model(rig.Current(), rig.gpus);
    EXPECT_EQ(model.BackupChoices(0), std::vector<std::uint32_t>{2});
    EXPECT_EQ(model.BackupChoices(1), std::vector<std::uint32_t>{});
    rig.records[2].cudaId = -1;  // hidden from CUDA
    EXPECT_EQ(CConfigurationEditModel(rig.Current(), rig.gpus).Gpus().size(), 2u);
}

TEST(ConfigurationEditModel, ChecksTheWorkerName) {
    const struct {
        const wchar_t* name;
        bool good;
    } cases[] = {
        {L"rig-2", true},  {L"12345678901234567", true}, {L"123456789012345678", false}, {L"", false}, {L" \t", false},
        {L"a\x01", false}, {L"\u0416", false},           {L"  trimmed name ", true}};
    const CGuiRig rig;
    for (const auto& c : cases) {
        CConfigurationEditModel model(rig.Current(), rig.gpus);
        model.SetWorkerName(c.name);
        const ConfigurationBuild build = model.Build(rig.Builder());
        EXPECT_EQ(build.configuration.has_value(), c.good) << c.name;
        if (build.configuration) {
            EXPECT_EQ(build.configuration->DefaultWorkerName, model.WorkerName());
        } else {
            EXPECT_EQ(build.reasons.at(0).field, ConfigurationField::WorkerName);
        }
    }
}

// A file can hold what the dialog would not make; it must not stand in the way of other changes, nor be lost.
TEST(ConfigurationEditModel, KeepsWhatTheUserDidNotTouch) {
    CGuiRig rig;
    MinerConfiguration odd = *rig.Current();
    odd.DefaultWorkerName[0] = L'\0';
    odd.configurations[0].secondaryPool = odd.pools[2];      // another algorithm
    odd.configurations[1].primaryPool = rig.unassignedPool;  // its pool is gone
    odd.configurations[1].gpus.push_back(rig.gpus[0]);       // in two configurations
    rig.published->Publish(odd);
    CConfigurationEditModel model(rig.Current(), rig.gpus);
    const std::size_t index = model.Add(8);
    model.SetChecked(index, rig.records[1], true);
    const ConfigurationBuild build = model.Build(rig.Builder());
    EXPECT_EQ(build.reasons.size(), 1u) << "for configuration 0, which lost a GPU";

    CConfigurationEditModel second(rig.Current(), rig.gpus);
    second.SetWorkerName(L"fresh");
    const ConfigurationBuild kept = second.Build(rig.Builder());
    ASSERT_TRUE(kept.configuration);
    EXPECT_EQ(kept.configuration->configurations[0].secondaryPool->ID, 7u);
    EXPECT_EQ(kept.configuration->configurations[1].primaryPool, rig.unassignedPool);
    EXPECT_EQ(kept.configuration->configurations[1].gpus, std::vector{rig.gpus[2]}) << "it is the first's";
    EXPECT_TRUE(second.IsBasedOn(rig.Current()));
    rig.published->Publish(*kept.configuration);
    EXPECT_FALSE(second.IsBasedOn(rig.Current())) << "somebody published meanwhile";
}

}  // namespace
