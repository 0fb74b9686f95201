#include "Rig.h"
#include "gui/ConfigurationEditModel.h"
#include "gui/PoolEditModel.h"

namespace {

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
