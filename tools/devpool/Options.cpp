#include "Options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "common/Version.h"

namespace {

constexpr std::uint64_t kEpochBlocks = 30'000;
constexpr std::uint64_t kEtchashChangeBlock = 11'700'000;

constexpr const char* kDescription =
    "A local mining pool for Etchash, Ethash, Ubqhash and the template plug-in's toy hash, which verifies\n"
    "every share by hashing it.\n"
    "It prints \"listening on ADDRESS:PORT\" first and then one line per event, and a summary at the end.\n"
    "It ends after --shares accepted shares (exit 0), after --seconds (exit 1 when --shares is not reached),\n"
    "or on SIGINT or SIGTERM. Errors of the command line or of the socket give exit 2.\n"
    "Rejections: 20 malformed, 21 job not found (stale or unknown), 22 duplicate, 23 low difficulty,\n"
    "24 unauthorized, 25 invalid mix.";

struct Words {
    std::string mode = "auto";
    std::string algorithm = "etchash";
    std::optional<std::uint64_t> epoch;
};

const std::map<std::string, std::optional<EthashVariant>> kAlgorithms = {{"etchash", EthashVariant::Etchash},
                                                                         {"ethash", EthashVariant::Ethash},
                                                                         {"ubqhash", EthashVariant::Ubqhash},
                                                                         {"toy", std::nullopt}};
const std::map<std::string, TlsCertificate> kCertificates = {{"good", TlsCertificate::Good},
                                                             {"expired", TlsCertificate::Expired},
                                                             {"other-name", TlsCertificate::OtherName},
                                                             {"self-signed", TlsCertificate::SelfSigned}};
const std::map<std::string, int> kTlsVersions = {{"1.2", 12}, {"1.3", 13}};
const std::map<std::string, Garbage> kGarbage = {
    {"none", Garbage::None}, {"before", Garbage::Before}, {"instead", Garbage::Instead}};

// One group of options in the help text.
class COptionGroup {
  public:
    COptionGroup(CLI::App& app, std::string name) : m_app(app), m_name(std::move(name)) {}
    template <typename T>
    CLI::Option* Add(const char* name, T& value, const char* unit, const char* help) {
        return m_app.add_option(name, value, help)->type_name(unit)->capture_default_str()->group(m_name);
    }
    void AddFlag(const char* name, bool& value, const char* help) { m_app.add_flag(name, value, help)->group(m_name); }

  private:
    CLI::App& m_app;
    std::string m_name;
};

// Checks that leave the help text alone.
template <typename T>
CLI::Validator Between(T low, T high) {
    return CLI::Range(low, high).description("");
}

template <typename T>
CLI::Validator OneOf(const std::map<std::string, T>& words) {
    return CLI::CheckedTransformer(words, CLI::ignore_case).description("");
}

void AddNetwork(CLI::App& app, PoolOptions& options, Words& words) {
    COptionGroup group(app, "Connection");
    group.Add("--listen", options.listen, "ADDRESS", "Numeric address to listen on");
    group.Add("--port", options.port, "PORT", "Port to listen on; 0: chosen by the system");
    group
        .Add("--mode", words.mode, "MODE",
             "0 eth-proxy, 1 plain, 2 NiceHash, 3 subscribe with host, or auto: what the\n"
             "client speaks. With a fixed mode a client whose first request belongs to\n"
             "another one is dropped without an answer")
        ->check(CLI::IsMember({"0", "1", "2", "3", "auto"}).description(""));
    group.Add("--wallet-check", options.wallet, "WALLET", "Refuse every other wallet (\"Invalid user provided\")");
    group
        .Add("--extranonce-bytes", options.extranonceBytes, "BYTES",
             "How much of the nonce mode 2 fixes for each client, 1 to 4")
        ->check(Between(1, 4));
}

void AddWork(CLI::App& app, PoolOptions& options, Words& words) {
    COptionGroup group(app, "Work");
    group.Add("--difficulty", options.difficulty, "HASHES", "Expected hashes per share, 1 to 1e15")
        ->check(Between(1.0, 1e15));
    group.Add("--interval", options.interval, "SECONDS", "Time between jobs; 0: one job for ever")
        ->check(Between(0.0, 86400.0));
    group
        .Add("--hold-jobs", options.holdJobs, "JOBS",
             "How many replaced jobs are remembered: a share for one of them is stale,\n"
             "for any other the job is unknown")
        ->check(Between(0, 1000));
    group
        .Add("--algorithm,--variant", words.algorithm, "NAME",
             "etchash, ethash, ubqhash, or toy: the hash of the template\nplug-in, which has no epochs")
        ->check(CLI::IsMember(&kAlgorithms).description(""));
    CLI::Option* const block =
        group.Add("--block", options.block, "BLOCK", "The block whose epoch is mined, up to 60000000")
            ->check(Between(std::uint64_t{0}, std::uint64_t{60'000'000}));
    group
        .Add("--epoch", words.epoch, "EPOCH",
             "The epoch that is mined, up to 900; for etchash from 195 on\none of 60,000 blocks")
        ->check(Between(0, 900))
        ->excludes(block);
}

void AddEnd(CLI::App& app, PoolOptions& options) {
    COptionGroup group(app, "End");
    group.Add("--shares", options.shares, "SHARES", "End with exit 0 after this many accepted shares; 0: do not end")
        ->check(Between(std::uint64_t{0}, std::uint64_t{1'000'000'000}));
    group
        .Add("--seconds", options.seconds, "SECONDS",
             "End after this time, with exit 1 when --shares is not reached;\n0: do not end")
        ->check(Between(0.0, 1e6));
    group.Add("--stats", options.statsFile, "FILE", "Write a JSON summary to this file at the end");
}

void AddFaults(CLI::App& app, FaultOptions& faults) {
    COptionGroup group(app, "Faults");
    group
        .Add("--drop-after", faults.dropAfterLines, "LINES",
             "Drop a connection after this many lines from its client; 0: do not")
        ->check(Between(0, 1'000'000));
    group.Add("--delay", faults.delayMs, "MILLISECONDS", "Wait before each line to a client")->check(Between(0, 600'000));
    group.AddFlag("--split", faults.split, "Send every byte on its own");
    group.Add("--garbage", faults.garbage, "KIND", "Send garbage lines: none, before each line, or instead of each line")
        ->transform(OneOf(kGarbage))
        ->default_str("none");
    group.AddFlag("--refuse-user", faults.refuseUser, "Refuse every user (\"Invalid user provided\")");
    group
        .Add("--drop-until-mode", faults.dropUntilMode, "MODE", "Drop a client whose first request belongs to a lower mode")
        ->check(Between(0, 3));
    group.AddFlag("--announce-nicehash", faults.announceNiceHash, "Answer every kind of mining.subscribe as mode 2 does");
}

void AddTls(CLI::App& app, TlsOptions& tls) {
    COptionGroup group(app, "Encryption");
    group
        .Add("--tls", tls.certificate, "CERTIFICATE",
             "Speak TLS; the certificate is made at the start for \"localhost\" and\n"
             "127.0.0.1, and is good, expired, other-name (for another name), or\n"
             "self-signed. Its SHA-256 is printed. With --split every byte is sent on its own")
        ->transform(OneOf(kCertificates))
        ->default_str("none");
    group.Add("--tls-version", tls.version, "VERSION", "1.2 or 1.3")->transform(OneOf(kTlsVersions))->default_str("1.2");
    group.Add("--tls-root", tls.rootFile, "FILE", "Write the root that signed the certificate there");
    group.Add("--tls-close-after", tls.closeAfter, "BYTES", "Close after that many bytes, 0: do not");
    group.AddFlag("--tls-flood", tls.floods, "Send handshake messages for ever");
    group.AddFlag("--tls-silent", tls.isSilent, "Do not answer the handshake");
    group.Add("--tls-before", tls.before, "PORT", "Stand before another plain pool of this machine instead of this one");
    group.AddFlag("--tls-renew", tls.renews, "Renew the keys (1.3) or the handshake (1.2) before each line");
}

std::uint64_t BlockOfEpoch(EthashVariant variant, std::uint64_t epoch) {
    const bool longEpochs = variant == EthashVariant::Etchash && epoch * 2 * kEpochBlocks >= kEtchashChangeBlock;
    return epoch * kEpochBlocks * (longEpochs ? 2 : 1);
}

}  // namespace

std::optional<PoolOptions> ParseOptions(int argc, const char* const* argv, std::ostream& out, std::ostream& error,
                                        int& exitCode) {
    PoolOptions options;
    Words words;
    CLI::App app(kDescription, "devpool");
    app.get_formatter()->column_width(32);
    app.set_version_flag("--version", std::string("devpool ") + kVersionText, "Print the version and end");
    AddNetwork(app, options, words);
    AddWork(app, options, words);
    AddEnd(app, options);
    AddFaults(app, options.faults);
    AddTls(app, options.tls);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        exitCode = app.exit(failure, out, error) == 0 ? 0 : 2;
        return std::nullopt;
    }
    if (words.mode != "auto") options.dialect = static_cast<Dialect>(words.mode[0] - '0');
    options.variant = kAlgorithms.at(words.algorithm);
    if (words.epoch && options.variant) options.block = BlockOfEpoch(*options.variant, *words.epoch);
    return options;
}
