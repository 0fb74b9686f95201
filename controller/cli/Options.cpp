#include "cli/Options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <map>

#include "common/Version.h"
#include "rig/CleanText.h"
#include "rig/Commands.h"
#include "rig/StateFolder.h"

namespace {

constexpr const char* kDescription =
    "Controls miners over their control channel: one rig or many at once.\n"
    "A miner has one controller at a time, the one that connected last. A command takes the place of a \"watch\" or\n"
    "\"serve\" for a moment, which come back by themselves three seconds later; two of those at one rig take turns.";

constexpr const char* kFooter =
    "Exit codes: 0 all rigs did as told; 1 some rig failed (the others are carried out all the same), or\n"
    "standard output cannot be written;\n"
    "2 the command line, the rigs file or the configuration file is wrong, and nothing was sent;\n"
    "3 all rigs answered, but one has trouble that lasts (status, watch) or does not hash (start).\n"
    "The shared secret of the rigs comes from --token-file or the variable QUORVEL_CONTROL_TOKEN.\n"
    "A rigs file holds one HOST:PORT a line; what follows a '#' is a comment.";

struct Words {
    std::vector<std::string> rigs;
    std::string rigsFile;
    std::string tokenFile;
    std::string stateFolder;
    std::string listen = "127.0.0.1:8011";
};

// The conversion itself would take a negative number for a large one.
CLI::Validator Digits() {
    return CLI::Validator(
        [](std::string& text) {
            const bool digits = text.find_first_not_of("0123456789") == std::string::npos;
            return digits ? std::string() : "must be a whole number, 0 or above: " + CleanText(text, 40);
        },
        "");
}

CLI::App* AddCommand(CLI::App& app, Options& options, Command command, const char* name, const char* help) {
    CLI::App* const sub = app.add_subcommand(name, help);
    sub->parse_complete_callback([&options, command] { options.command = command; });
    return sub;
}

void AddCommon(CLI::App& app, Options& options, Words& words) {
    app.add_option("--rig", words.rigs, "A rig; may be repeated. Default: 127.0.0.1:8010")
        ->type_name("HOST[:PORT]")
        ->take_all();
    app.add_option("--rigs", words.rigsFile, "A file that names rigs")->type_name("FILE");
    app.add_option("--timeout", options.timeout, "How long each rig may take to answer and obey, in all")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 600.0).description(""))
        ->capture_default_str();
    app.add_option("--token-file", words.tokenFile, "A file with the shared secret of the rigs")->type_name("FILE");
    app.add_option("--state", words.stateFolder, "Folder for what was sent last and the web token")->type_name("FOLDER");
}

void AddReading(CLI::App& app, Options& options) {
    CLI::App* const status = AddCommand(app, options, Command::Status, "status", "Show a table of rigs and GPUs");
    status->add_flag("--json", options.json, "One JSON document instead, described in packaging/README.md");
    CLI::App* const watch =
        AddCommand(app, options, Command::Watch, "watch", "Show the table live, connecting again as needed");
    watch->add_option("--seconds", options.seconds, "End after this time")->type_name("SECONDS");
    CLI::App* const system = AddCommand(app, options, Command::System, "system", "Show the system report");
    CLI::App* const update = AddCommand(app, options, Command::Update, "update", "Wait for an update report and show it");
    for (CLI::App* const sub : {system, update})
        sub->add_flag("--json", options.json,
                      "The report as the rig sent it, one line; with several rigs each as the \"report\" of an object\n"
                      "that names its \"rig\" (or holds an \"error\")");
}

void AddCommands(CLI::App& app, Options& options) {
    CLI::App* const start =
        AddCommand(app, options, Command::Start, "start", "Start mining and wait until the rig hashes or says why not");
    start
        ->add_option("--wait", options.wait,
                     "How long a rig may take until it hashes, once it mines; 0: do not wait for that. A GPU may need a\n"
                     "while to prepare itself")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0).description(""))
        ->capture_default_str();
    AddCommand(app, options, Command::Stop, "stop", "Stop mining and wait until the rig says so");
    CLI::App* const worker = AddCommand(app, options, Command::Worker, "worker", "Set the default worker name");
    worker->add_option("NAME", options.worker, "At most 17 printable ASCII characters")->required();
    CLI::App* const configure = AddCommand(app, options, Command::Configure, "configure",
                                           "Replace the pools and configurations of the rigs by those of a file");
    configure
        ->add_option("FILE", options.file,
                     "JSON, or - for standard input; \"export\" writes a sample, packaging/README.md describes it")
        ->required();
    configure->add_flag("--dry-run", options.dryRun, "Check the file and look up the GPUs, then show what would be sent");
    CLI::App* const nonce = AddCommand(app, options, Command::NonceGenerator, "nonce-generator",
                                       "Set mode and setting of the nonce generator of GPUs");
    nonce->add_option("--gpu", options.gpus, "all, a CUDA index or a UUID; may be repeated. Default: all")->type_name("GPU");
    nonce->add_option("--mode", options.mode, "Mode (NGM)")->type_name("NUMBER");
    nonce->add_option("--setting", options.setting, "Setting (NGTO)")->type_name("NUMBER")->check(Digits());
    CLI::App* const exporting =
        AddCommand(app, options, Command::Export, "export",
                   "Write what \"configure\" sent last from here to the rig as a file for \"configure\", or a sample");
    exporting
        ->add_option("--output", options.file,
                     "Where to: a new file that its owner alone can read. Default: standard output; on a terminal\n"
                     "passwords are masked")
        ->type_name("FILE");
    exporting->add_flag("--force", options.force, "Replace the file of --output");
}

void AddServe(CLI::App& app, Options& options, Words& words) {
    CLI::App* const serve = AddCommand(app, options, Command::Serve, "serve",
                                       "Hold connections to all rigs; a web page and /metrics for Prometheus");
    serve->add_option("--listen", words.listen, "Where the page is served; port 0: chosen by the system")
        ->type_name("HOST:PORT")
        ->capture_default_str();
    serve->add_option("--allow-host", options.hosts, "A further name that browsers may call this server by")
        ->type_name("NAME");
    serve->add_flag("--new-token", options.newToken, "Make a new token for commands from the page");
    serve->add_option("--seconds", options.seconds, "End after this time")->type_name("SECONDS");
}

CLI::ValidationError Mistake(const std::string& what) {
    return CLI::ValidationError(what, CLI::ExitCodes::ValidationError);
}

std::string Contents(const std::string& file) {
    const auto content = ReadWholeFile(std::filesystem::path(file));
    if (!content) throw Mistake("cannot read " + file);
    return *content;
}

void FillRigs(Options& options, const Words& words) {
    for (const std::string& text : words.rigs) {
        const auto rig = ParseRigAddress(text);
        if (!rig) throw Mistake("--rig: not HOST:PORT: " + CleanText(text, 80));
        options.rigs.push_back(*rig);
    }
    if (!words.rigsFile.empty()) {
        const RigList list = ParseRigList(Contents(words.rigsFile));
        if (!list.mistakes.empty()) throw Mistake(words.rigsFile + ", " + list.mistakes.front());
        options.rigs.insert(options.rigs.end(), list.rigs.begin(), list.rigs.end());
        if (options.rigs.empty()) throw Mistake(words.rigsFile + " names no rig");
    }
    if (options.rigs.empty()) options.rigs.push_back({"127.0.0.1", kDefaultRigPort});
    for (std::size_t i = 0; i < options.rigs.size(); ++i)
        if (std::find(options.rigs.begin(), options.rigs.begin() + static_cast<std::ptrdiff_t>(i), options.rigs[i]) !=
            options.rigs.begin() + static_cast<std::ptrdiff_t>(i))
            throw Mistake("rig named twice: " + options.rigs[i].Text());
}

void FillToken(Options& options, const Words& words) {
    if (!words.tokenFile.empty())
        options.token = Trimmed(Contents(words.tokenFile));
    else if (const char* const value = std::getenv("QUORVEL_CONTROL_TOKEN"))
        options.token = Trimmed(value);
    if (!words.tokenFile.empty() && options.token.empty()) throw Mistake(words.tokenFile + " holds no token");
    if (options.token.size() > 256 || !IsPlainAscii(options.token))
        throw Mistake("the token must be at most 256 printable ASCII characters");
}

void Check(Options& options, const Words& words) {
    FillRigs(options, words);
    FillToken(options, words);
    options.stateFolder = words.stateFolder.empty() ? CStateFolder::DefaultPath() : std::filesystem::path(words.stateFolder);
    const auto listen = ParseRigAddress(words.listen, 8011, true);
    if (!listen) throw Mistake("--listen: not HOST:PORT");
    options.listen = *listen;
    if (options.command == Command::Worker) {
        const std::string mistake = WorkerNameMistake(options.worker);
        if (!mistake.empty()) throw Mistake(mistake);
    }
    if (options.command == Command::Export && options.rigs.size() > 1) throw Mistake("export takes one --rig");
    if (options.command != Command::NonceGenerator) return;
    if (!options.mode && !options.setting) throw Mistake("nonce-generator needs --mode or --setting");
    for (const std::string& gpu : options.gpus)
        if (!ParseGpuSelector(gpu)) throw Mistake("--gpu: neither all nor a CUDA index nor a UUID: " + CleanText(gpu, 80));
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv, std::ostream& out, std::ostream& err, int& exitCode) {
    Options options;
    Words words;
    CLI::App app(kDescription, "quorvel-control");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("quorvel-control ") + kVersionText, "Print the version and end");
    app.require_subcommand(1);
    app.fallthrough();
    AddCommon(app, options, words);
    AddReading(app, options);
    AddCommands(app, options);
    AddServe(app, options, words);
    try {
        app.parse(argc, argv);
        Check(options, words);
        return options;
    } catch (const CLI::ParseError& problem) {
        const bool isUnknown = problem.get_exit_code() != 0 && app.get_subcommands().empty() && app.remaining_size() > 0;
        const int result = isUnknown ? app.exit(Mistake("unknown: " + CleanText(app.remaining().front(), 40)), out, err)
                                     : app.exit(problem, out, err);
        exitCode = result == 0 ? kExitGood : kExitUsage;
        return std::nullopt;
    }
}
