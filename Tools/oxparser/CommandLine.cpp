#include "CommandLine.h"

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CheckCommand.h"
#include "ExitStatus.h"
#include "ExplainCommand.h"
#include "ImportCommand.h"
#include "Options.h"
#include "ScanCommand.h"
#include "UsageError.h"

namespace {

constexpr char kFolderNote[] =
    "Without a PATH, the system's and the user's font folders are scanned. A PATH\n"
    "given twice is scanned once.";
constexpr char kScanNote[] =
    "The first column is a font's state, the worst of its findings: ok, note, warning,\n"
    "broken, or no font for a file that only its name makes one. The strikes of a\n"
    "bitmap family share a line.\n\n"
    "Without a PATH, the system's and the user's font folders are scanned. A PATH\n"
    "given twice is scanned once.";
constexpr char kExplainNote[] =
    "Without a CODE, all of them are explained. In the table, square brackets hold\n"
    "remarks on codes that the catalogue of messages does not know.";
constexpr char kImportNote[] =
    "Fonts go to FOLDER/INITIAL/FAMILY/FOUNDRY/FILE. Nothing that exists is ever\n"
    "overwritten. A line for each font says what became of it: copied, same, differs,\n"
    "no-folder, no-file, refused, failed, or same-file for further faces of a file.\n"
    "Under the modern reading partners (a suitcase and its printer fonts, a program\n"
    "and its metrics) stay together. A FOLDER inside a PATH is left out of the\n"
    "scan; a PATH given twice is scanned once.";
constexpr char kStatusNote[] =
    "Exit status: 0 done; 1 done, but something failed or --fail-on was met; 2 wrong\n"
    "usage; 130 or 143 after an interrupt or a termination signal.";

/// A command whose arguments reach the program exactly as given. CLI11 would take a positional
/// argument such as "[Fonts]" for a list and drop its brackets, so these are the ones left over.
class Command : public CLI::App {
  public:
    Command(const std::string& name, const std::string& description, const std::string& arguments)
        : CLI::App(description, name), arguments_(arguments) {
        allow_extras();
    }

    const std::string& argumentsHelp() const { return arguments_; }

    std::vector<std::string> takeArguments() const {
        std::vector<std::string> taken;
        for (const auto& [kind, text] : missing_) {
            if (kind != CLI::detail::Classifier::NONE) {
                throw UsageError("unknown option " + text);
            }
            taken.push_back(text);
        }
        return taken;
    }

  private:
    std::string arguments_;
};

/// CLI11's help with the usage line that this program wants.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() { column_width(26); }

    std::string make_usage(const CLI::App* app, std::string) const override {
        const auto* command = dynamic_cast<const Command*>(app);
        const std::string usage = command == nullptr ? "oxparser COMMAND [options] [PATH...]"
                                                     : "oxparser " + command->get_name() +
                                                           " [options] " + command->argumentsHelp();
        return "Usage: " + usage + "\n";
    }
};

template <typename Value>
using Names = std::map<std::string, Value>;

const Names<Format> kFormats = {
    {"table", Format::eTable}, {"jsonl", Format::eJsonLines}, {"csv", Format::eCsv}};
const Names<Reading> kReadings = {{"modern", Reading::eModern},
                                  {"compatible", Reading::eCompatible}};
const Names<ProgressMode> kProgressModes = {{"auto", ProgressMode::eAuto},
                                            {"always", ProgressMode::eAlways},
                                            {"never", ProgressMode::eNever}};
const Names<FailOn> kFailOns = {
    {"error", FailOn::eError}, {"warning", FailOn::eWarning}, {"never", FailOn::eNever}};

template <typename Value>
void addChoice(CLI::App& command, const std::string& option, const std::string& choices,
               const Names<Value>& names, Value& value, const std::string& help) {
    command
        .add_option_function<std::string>(
            option,
            [option, choices, &names, &value](const std::string& name) {
                const auto found = names.find(name);
                if (found == names.end()) {
                    throw UsageError(option + ": '" + name + "' is none of " + choices);
                }
                value = found->second;
            },
            help)
        ->option_text(choices)
        ->take_last();
}

CLI::Option* addFile(CLI::App& command, const std::string& option, std::string& file,
                     const std::string& help) {
    return command.add_option(option, file, help)->option_text("FILE")->take_last();
}

void addVersion(CLI::App& app) {
    app.set_version_flag("--version", "oxparser " OXPARSER_VERSION, "Print the version and exit");
}

void addFormat(CLI::App& command, Options& options) {
    addChoice(command, "--format", "table|jsonl|csv", kFormats, options.format,
              "What standard output holds (table)");
}

/// The options of all commands that scan.
void addScanOptions(CLI::App& command, Options& options) {
    addFormat(command, options);
    addChoice(command, "--reading", "modern|compatible", kReadings, options.reading,
              "What is in the files, or what hosts of the library get without asking (modern)");
    addChoice(command, "--progress", "auto|always|never", kProgressModes, options.progress,
              "Progress on standard error; auto: on a terminal (auto)");
    addChoice(command, "--fail-on", "error|warning|never", kFailOns, options.failOn,
              options.failOn == FailOn::eError
                  ? "Exit with 1 when a record has such a defect (error)"
                  : "Exit with 1 when a record has such a defect (never)");
    CLI::Option* list = addFile(command, "--files-from", options.filesFrom,
                                "More paths, one a line; - is standard input");
    command.add_flag("--null", options.nullSeparated, "Those paths are separated by zero bytes")
        ->option_text(" ")
        ->needs(list);
    addFile(command, "--foundry-names", options.foundryNames,
            "Foundry names, one a line, instead of the library's own");
    addFile(command, "--foundry-codes", options.foundryCodes,
            "Foundry codes and names, instead of the library's own");
    addFile(command, "--log", options.log, "A log4cpp property file (no logging)");
}

void addSwitch(CLI::App& command, const std::string& option, bool& value, const std::string& help) {
    command.add_flag(option, value, help)->option_text(" ");
}

/// Properties that take room or time; only JSON lines of the modern reading show them.
void addDetailOptions(CLI::App& command, Options& options) {
    addSwitch(command, "--names", options.details.names,
              "Also every name record (modern reading, jsonl only)");
    addSwitch(command, "--coverage", options.details.coverage,
              "Also the characters themselves (modern reading, jsonl only)");
    addSwitch(command, "--tables", options.details.tables,
              "Also the tables and their sums (modern reading, jsonl only)");
}

void addImportOptions(CLI::App& command, Options& options) {
    addFile(command, "--to", options.destination, "The folder that fonts are copied into")
        ->option_text("FOLDER");
    command
        .add_flag_callback(
            "--no-create-folders", [&options] { options.createFolders = false; },
            "Skip copies whose folder is missing")
        ->option_text(" ");
    addSwitch(command, "--dry-run", options.dryRun, "Say what would be done, and do nothing");
    addSwitch(command, "--keep-both", options.keepBoth,
              "Place what would be \"differs\" beside it, as NAME-2 (modern reading)");
}

/// The program's commands. A new command is one more `add`.
class CommandLine {
  public:
    using Runner = std::function<int(const Options&, Output&, Console&)>;

    CommandLine() : app_("Reads font files and says what is wrong with them.", "oxparser") {
        app_.formatter(std::make_shared<HelpFormatter>());
        app_.set_help_flag("-h,--help", "Print this help and exit");
        addVersion(app_);
        app_.require_subcommand(1);
        app_.footer(std::string("oxparser COMMAND --help tells more about a command.\n\n") +
                    kStatusNote);

        Entry& scan = add("scan", "Print every font record", "[PATH...]", runScan, kScanNote);
        addScanOptions(*scan.command, scan.options);
        addDetailOptions(*scan.command, scan.options);
        addSwitch(*scan.command, "--all", scan.options.unfolded,
                  "A line of the table for each strike of a bitmap family");

        Entry& check =
            add("check", "Print only the defects, one a line", "[PATH...]", runCheck, kFolderNote);
        check.options.failOn = FailOn::eError;
        addScanOptions(*check.command, check.options);
        addDetailOptions(*check.command, check.options);

        Entry& import = add("import", "Copy recognised fonts into a folder", "PATH... --to FOLDER",
                            runImport, kImportNote);
        addScanOptions(*import.command, import.options);
        addImportOptions(*import.command, import.options);
        Entry& explain = add("explain", "Print what the codes of defects mean", "[CODE...]",
                             runExplain, kExplainNote);
        addFormat(*explain.command, explain.options);
    }

    /// Parses and runs. Throws UsageError; CLI::ParseError carries requests for help, too.
    int run(int count, const char* const* arguments, Output& output, Console& console) {
        std::vector<std::string> words(arguments + 1, arguments + count);
        // Behind "--" everything is an argument; CLI11 would hand it to the program, not the
        // command.
        const auto mark = std::find(words.begin(), words.end(), "--");
        const std::vector<std::string> verbatim(mark == words.end() ? mark : mark + 1, words.end());
        words.erase(mark, words.end());
        takeHelp(words);
        refuseUnknownCommand(words);
        // With this word CLI11 would end the command and drop it; as a file it has another name.
        std::replace(words.begin(), words.end(), std::string("++"), std::string("./++"));
        refuseEmptyValues(words);
        std::reverse(words.begin(), words.end());  // the order that CLI11 wants
        app_.parse(words);
        for (const auto& entry : entries_) {
            if (entry->command->parsed()) {
                entry->options.arguments = entry->command->takeArguments();
                entry->options.arguments.insert(entry->options.arguments.end(), verbatim.begin(),
                                                verbatim.end());
                return entry->runner(entry->options, output, console);
            }
        }
        return eWrongUsage;
    }

    /// The help that a help request asked for.
    std::string help() const {
        for (const auto& entry : entries_) {
            if (entry->command->parsed()) {
                return entry->command->help();
            }
        }
        return app_.help();
    }
    std::string version() const { return app_.version() + "\n"; }

    /// The help that would have told better, for an error's last line.
    std::string helpHint() const {
        for (const auto& entry : entries_) {
            if (entry->command->parsed()) {
                return "oxparser " + entry->command->get_name() + " --help";
            }
        }
        return "oxparser --help";
    }

    /// What a parse error of CLI11 means to a user.
    std::string describe(const CLI::ParseError& error, int count,
                         const char* const* arguments) const {
        std::string text = error.what();
        if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
            return text.substr(0, text.find(':')) + " needs a value";
        }
        // No command, or options before it.
        if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr &&
            dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) {
            return text;
        }
        return (count < 2 ? "no command" : "unknown option " + std::string(arguments[1])) +
               "; the commands are " + commandNames();
    }

  private:
    struct Entry {
        std::shared_ptr<Command> command;
        Runner runner;
        Options options;
    };

    // "a, b and c".
    std::string commandNames() const {
        std::string names;
        for (const auto& entry : entries_) {
            const bool isLast = entry == entries_.back();
            names += (names.empty() ? "" : isLast ? " and " : ", ") + entry->command->get_name();
        }
        return names;
    }

    Entry& add(const std::string& name, const std::string& description,
               const std::string& arguments, const Runner& runner, const std::string& footer) {
        const auto command = std::make_shared<Command>(name, description, arguments);
        command->formatter(app_.get_formatter());
        command->set_help_flag("-h,--help", "Print this help and exit");
        addVersion(*command);
        command->footer(footer);
        app_.add_subcommand(command);
        entries_.push_back(std::make_unique<Entry>(Entry{command, runner, {}}));
        return *entries_.back();
    }

    // "help" is "--help" before a command and, unless there is such a file, as its only argument.
    static void takeHelp(std::vector<std::string>& words) {
        struct stat status;
        const auto isHelp = [](const std::string& word) { return word == "help"; };
        const auto rest = std::find_if_not(words.begin(), words.end(), isHelp);
        const bool isAlone =
            words.size() == 2 && isHelp(words.back()) && ::lstat("help", &status) != 0;
        if (rest != words.begin()) {
            words.erase(words.begin(), rest);
            words.emplace_back("--help");
        } else if (isAlone) {
            words.back() = "--help";
        }
    }

    // CLI11 would look at the options behind it first.
    void refuseUnknownCommand(const std::vector<std::string>& words) const {
        const auto isIt = [&words](const auto& entry) {
            return entry->command->get_name() == words.front();
        };
        if (!words.empty() && !words.front().starts_with('-') &&
            std::none_of(entries_.begin(), entries_.end(), isIt)) {
            throw UsageError("unknown command '" + words.front() + "'; the commands are " +
                             commandNames());
        }
    }

    // For "--log=" CLI11 would take the next argument as the value.
    static void refuseEmptyValues(const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            if (word.starts_with("--") && word.find('=') == word.size() - 1) {
                throw UsageError(word.substr(0, word.size() - 1) + " needs a value");
            }
        }
    }

    CLI::App app_;
    std::vector<std::unique_ptr<Entry>> entries_;
};

int wrongUsage(Console& console, const std::string& text, const CommandLine& commandLine) {
    console.complain(text);
    console.line("Try '" + commandLine.helpHint() + "'.");
    return eWrongUsage;
}

}  // namespace

int runCommandLine(int count, const char* const* arguments, Output& output, Console& console) {
    CommandLine commandLine;
    try {
        return commandLine.run(count, arguments, output, console);
    } catch (const CLI::CallForHelp&) {
        output.write(commandLine.help());
    } catch (const CLI::CallForVersion&) {
        output.write(commandLine.version());
    } catch (const CLI::ParseError& error) {
        return wrongUsage(console, commandLine.describe(error, count, arguments), commandLine);
    } catch (const UsageError& error) {
        return wrongUsage(console, error.what(), commandLine);
    }
    return eDone;
}
