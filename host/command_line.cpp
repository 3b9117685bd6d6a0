#include "host/command_line.h"

#include "host/case_command.h"
#include "host/files/file_tree.h"
#include "host/files/hashing.h"
#include "host/help_page.h"
#include "host/log/decipher_command.h"
#include "host/mail_database/accounts_command.h"
#include "host/mail_database/completeness_command.h"
#include "host/mail_database/show_command.h"
#include "host/report/report_command.h"
#include "host/result/result_paths.h"
#include "host/run/demo_command.h"
#include "host/run/run_command.h"
#include "host/self_test/self_test_command.h"
#include "host/survey/survey_command.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/display_text.h"
#include "host/typing_errors.h"
#include "host/verify/verify_command.h"

#include <CLI/CLI.hpp>

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <limits>

namespace {

// By engine type.
constexpr std::array engine_names{"desk", "field", "live"};

constexpr const char* for_integrators = "For integrators";

/// Says what a product is and where it lies unless another place is named.
std::string default_place(const char* what, product which)
{
    const QString place = result_paths(QStringLiteral("/RESULT")).path(which).mid(1);
    return QStringLiteral("%1 (default: %2)").arg(QLatin1String(what), place).toStdString();
}

/// What a parsed command line asks for.
struct chosen_command
{
    std::function<int()> action;
    bool needs_widgets = false; ///< the plug-in object is a widget
};

QString decoded(const std::string& argument)
{
    return decoded_name(QByteArray::fromStdString(argument));
}

CLI::Option* add_text(CLI::App& command, const std::string& name, QString& target, const std::string& help)
{
    const auto store = [&target](const std::string& value) { target = decoded(value); };
    return command.add_option_function<std::string>(name, store, help);
}

/// A path that is given must not be empty.
CLI::Option* add_path(CLI::App& command, const std::string& name, QString& target, const std::string& help,
                      const std::string& kind)
{
    const auto not_empty = [](const std::string& value) {
        return value.empty() ? std::string("the path is empty") : std::string();
    };
    return add_text(command, name, target, help)->type_name(kind)->check(not_empty);
}

template <typename options_type>
CLI::App& add_command(CLI::App& program, chosen_command& chosen, const std::string& name, const std::string& help,
                      int (*command)(const options_type&), const options_type& options, bool needs_widgets = false)
{
    CLI::App* subcommand = program.add_subcommand(name, help);
    subcommand->callback([&chosen, &options, command, needs_widgets] {
        chosen = {[&options, command] { return command(options); }, needs_widgets};
    });
    return *subcommand;
}

void add_demo(CLI::App& program, chosen_command& chosen, demo_options& options)
{
    CLI::App& command = add_command(program, chosen, "demo", "Write a sample source, run on it and show the accounts",
                                    demo_command, options, true);
    add_path(command, "DIR", options.directory, "Folder for source and result (default: a fresh temporary one)", "");
}

/// Options for the members of the case data, and a file that may hold them all; an option wins over the file.
void add_case_data(CLI::App& command, run_options& options)
{
    for (const case_field& field : case_fields) {
        std::string name = field.name;
        std::replace(name.begin(), name.end(), '_', '-');
        add_text(command, "--" + name, options.about.*field.value, field.title)->group("Case")->type_name("TEXT");
    }
    add_path(command, "--case-data", options.case_file, "The same as a JSON object", "FILE")->group("Case");
}

void add_run(CLI::App& program, chosen_command& chosen, run_options& options)
{
    CLI::App& command =
        add_command(program, chosen, "run", "Extract the mail accounts of a source", run_command, options, true);
    add_path(command, "--source", options.source, "Directory with the source's file system; only read", "DIR")
        ->required();
    add_path(command, "--result", options.result, "Directory for the result, outside the source", "DIR")->required();
    command
        .add_option_function<std::vector<std::string>>(
            "--user",
            [&options](const std::vector<std::string>& names) {
                for (const std::string& name : names) {
                    options.users.append(decoded(name));
                }
            },
            "Only this user; may be repeated (default: every user)")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    add_text(command, "--scheme", options.scheme, "Operating-system scheme of the source")
        ->check(CLI::IsMember({"macOS", "iOS_UID", "winOS"}))
        ->option_text("macOS|iOS_UID|winOS")
        ->default_str("macOS")
        ->group(for_integrators);
    add_text(command, "--source-type", options.source_type, "Kind of source, such as macOS_Home_Directory")
        ->group(for_integrators);
    command.add_option("--source-number", options.source_number, "Number of the source in the case")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->type_name("N")
        ->capture_default_str()
        ->group(for_integrators);
    command
        .add_option_function<std::string>(
            "--engine",
            [&options](const std::string& name) {
                const auto position = std::find(engine_names.begin(), engine_names.end(), name);
                options.engine_type = static_cast<int>(position - engine_names.begin());
            },
            "Edition named in the log")
        ->check(CLI::IsMember(std::vector<std::string>(engine_names.begin(), engine_names.end())))
        ->option_text("desk|field|live")
        ->default_str(engine_names.front())
        ->group(for_integrators);
    CLI::Option* clear = command.add_flag("--clear", options.clear,
                                          "Start over: remove everything that earlier runs left in the result");
    command.add_flag("--append", options.append, "Go on with a run that did not come to its end")->excludes(clear);
    command.add_flag("--as-suite", options.as_suite, "One run for all users, exactly as a suite drives the plug-in")
        ->group(for_integrators);
    command.add_flag("--no-verify", options.no_verify,
                     "Leave out the verification at the end, and with it manifest and hashes");
    command.add_flag("--read-twice", options.read_twice,
                     "Read the source a second time for the verification; without it the hash is taken while copying");
    command.add_flag("--one-by-one", options.one_by_one, "Copy one file after the other, each put on the disk at once");
    command.add_flag("--follow-links-outside", options.follow_links_outside,
                     "Run in spite of links that leave the source or go in circles");
    add_path(command, "--log", options.log_file, default_place("Debug log", product::log), "FILE");
    command.add_flag("--log-encrypted", options.log_encrypted, "Encipher the debug log; decipher reads it");
    add_path(command, "--plugin", options.plugin_file, "Plug-in library (default: the program's own)", "FILE")
        ->group(for_integrators);
    add_case_data(command, options);
    command.add_flag("--quiet", options.quiet, "Show no progress");
    command.add_flag("--json", options.json, "Print the summary as JSON");
}

void add_show(CLI::App& program, chosen_command& chosen, show_options& options)
{
    CLI::App& command = add_command(program, chosen, "show", "Show the accounts of a result", show_command, options);
    add_path(command, "--result", options.result, "Directory of the result", "DIR")->required();
    add_text(command, "--format", options.format, "How to print them")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->option_text("table|csv|json")
        ->default_str("table");
    command.add_flag("--wide", options.wide, "Shorten nothing in the table");
    command.add_flag("--raw", options.raw, "CSV as the table has it, also cells that a spreadsheet would run");
}

void add_accounts(CLI::App& program, chosen_command& chosen, accounts_options& options)
{
    CLI::App& command =
        add_command(program, chosen, "accounts", "Say who the accounts of a result are", accounts_command, options);
    add_path(command, "--result", options.result, "Directory of the result", "DIR")->required();
    add_text(command, "--user", options.user, "Only this user's")->type_name("NAME");
    add_text(command, "--format", options.format, "How to print them")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->default_str("table");
    command.add_flag("--wide", options.wide, "Every field, however wide the table gets");
    command.add_flag("--raw", options.raw, "CSV as the store has it, also cells that a spreadsheet would run");
}

void add_completeness(CLI::App& program, chosen_command& chosen, completeness_options& options)
{
    CLI::App& command = add_command(program, chosen, "completeness",
                                    "Say what of a result's mail is on disk, in Mail's index and in both",
                                    completeness_command, options);
    add_path(command, "--result", options.result, "Directory of the result", "DIR")->required();
    add_text(command, "--format", options.format, "How to print it")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->default_str("table");
    command.add_flag("--raw", options.raw, "CSV as it is, also cells that a spreadsheet would run");
}

void add_survey(CLI::App& program, chosen_command& chosen, survey_options& options)
{
    CLI::App& command =
        add_command(program, chosen, "survey", "Say what a source holds, changing nothing", survey_command, options);
    add_path(command, "--source", options.source, "Directory with the source's file system", "DIR")->required();
    add_path(command, "--result", options.result, "Say whether there is room for a run that writes here", "DIR");
    command.add_flag("--json", options.json, "Print everything as JSON");
}

void add_verify(CLI::App& program, chosen_command& chosen, verify_options& options)
{
    CLI::App& command = add_command(program, chosen, "verify", "Hold a result against its seal, manifest and source",
                                    verify_command, options);
    add_path(command, "--result", options.result, "Directory of the result", "DIR")->required();
    add_path(command, "--source", options.source,
             "Directory with the source's file system (default: the recorded one, if it is there)", "DIR");
    // An empty one, as of a variable that is not set, would compare nothing.
    const auto is_hash = [](const std::string& value) {
        const bool is_one = digest_from_hex(QByteArray::fromStdString(value).trimmed()).has_value();
        return is_one ? std::string() : std::string("the root hash has 64 digits from 0 to 9 and a to f");
    };
    add_text(command, "--expect", options.expected_root, "Root hash from the end of the run, to compare with")
        ->type_name("ROOT_HASH")
        ->check(is_hash);
    command.add_flag("--other-source", options.other_source, "Take a source that cannot be the recorded one");
    command.add_flag("--quiet", options.quiet, "Show no progress");
    command.add_flag("--json", options.json, "Print the record of the verification as JSON");
}

void add_report(CLI::App& program, chosen_command& chosen, report_options& options)
{
    CLI::App& command =
        add_command(program, chosen, "report", "Write a result as a page to read", report_command, options);
    add_path(command, "--result", options.result, "Directory of the result", "DIR")->required();
    add_path(command, "--output", options.output, default_place("The page", product::report), "FILE");
}

void add_decipher(CLI::App& program, chosen_command& chosen, decipher_options& options)
{
    CLI::App& command = add_command(program, chosen, "decipher",
                                    "Print the plain lines of an enciphered debug log; a log that is plain already is "
                                    "said to be so, and nothing is printed",
                                    decipher_command, options);
    add_path(command, "FILE", options.file, "The enciphered log", "")->required();
}

void add_self_test(CLI::App& program, chosen_command& chosen, self_test_options& options)
{
    CLI::App& command = add_command(program, chosen, "self-test",
                                    "Try this program on a synthetic volume and print what was seen to hold",
                                    self_test_command, options);
    command.add_flag("--json", options.json, "Print the same as JSON");
}

/// Makes the application object that the plug-in's widgets need.
std::unique_ptr<QCoreApplication> widget_application(int& argc, char** argv)
{
    // Nothing is ever shown, so no display is needed either.
    qputenv("QT_QPA_PLATFORM", "minimal;offscreen");
    // What Qt says about the desktop session is of no interest without one.
    static QtMessageHandler usual_handler = nullptr;
    usual_handler = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (type == QtCriticalMsg || type == QtFatalMsg) {
            usual_handler(type, context, text);
        }
    });
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual_handler);
    return application;
}

/// Says why the program did not do what it was asked for, and returns the code that it ends with.
int refusal(int code, const QString& message, bool as_json)
{
    complain(message);
    if (as_json) {
        print_bytes(
            QJsonDocument(QJsonObject{{"error", QJsonObject{{"message", display_text(message)}, {"exit_code", code}}}})
                .toJson());
    }
    return code;
}

int run_chosen(const chosen_command& chosen, int argc, char** argv, bool as_json)
{
    const auto application =
        chosen.needs_widgets ? widget_application(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("mail-extract"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MAIL_EXTRACT_VERSION));
    try {
        return chosen.action();
    } catch (const command_failure& stopped) {
        return refusal(stopped.exit_code(), stopped.message(), as_json);
    } catch (const failure& stopped) {
        return refusal(exit_code::could_not_run, stopped.message(), as_json);
    } catch (const std::exception& error) {
        return refusal(exit_code::could_not_run, QString::fromLocal8Bit(error.what()), as_json);
    }
}

} // namespace

int run_command_line(int argc, char** argv)
{
    CLI::App program("Finds the mail accounts of a Mac and copies its mail stores; the source is only read.",
                     "mail-extract");
    program.formatter(std::make_shared<help_page>());
    program.set_version_flag("--version", "mail-extract " MAIL_EXTRACT_VERSION);
    program.require_subcommand(1);
    program.footer(
        "Exit codes: 0 whole, 1 could not run, 2 usage, 3 with failures or with things that could not be looked at, "
        "4 no Mail directory, 6 case not finished, 75 another task has this source, 130 cancelled.");

    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const bool as_json = asks_for_json(arguments);
    interruption::end_at_once();
    chosen_command chosen;
    demo_options demo;
    survey_options survey;
    run_options run;
    show_options show;
    accounts_options accounts;
    completeness_options completeness;
    verify_options verify;
    report_options report;
    decipher_options decipher;
    self_test_options self_test;
    add_demo(program, chosen, demo);
    add_survey(program, chosen, survey);
    add_run(program, chosen, run);
    add_show(program, chosen, show);
    add_accounts(program, chosen, accounts);
    add_completeness(program, chosen, completeness);
    add_verify(program, chosen, verify);
    add_report(program, chosen, report);
    add_decipher(program, chosen, decipher);
    add_self_test(program, chosen, self_test);
    add_case_commands(program, [&chosen](std::function<int()> action) { chosen = {std::move(action), false}; });
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return program.exit(error);
        }
        return refusal(exit_code::usage, typing_error(program, arguments, error), as_json);
    }

    const int code = run_chosen(chosen, argc, argv, as_json);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        complain(QStringLiteral("cannot write to standard output: %1").arg(qt_error_string()));
        return exit_code::could_not_run;
    }
    return code;
}
