#include "host/typing_errors.h"

#include <QFile>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

QString shown(const std::string& argument)
{
    return QFile::decodeName(argument.c_str());
}

/// Returns how many letters must be put in, taken out, replaced or swapped with the next to turn one word into another.
std::size_t distance(const std::string& left, const std::string& right)
{
    std::vector<std::vector<std::size_t>> steps(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = steps[i - 1][j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            steps[i][j] = std::min({replaced, steps[i - 1][j] + 1, steps[i][j - 1] + 1});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
            }
        }
    }
    return steps[left.size()][right.size()];
}

/// Returns a question for the nearest of the known words; empty when none is near.
QString question(const std::string& word, const std::vector<std::string>& known)
{
    // Nobody types more than some hundred letters, and the comparison grows with the square.
    constexpr std::size_t longest_word = 100;
    std::string nearest;
    std::size_t least = std::max<std::size_t>(2, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const bool is_beginning = word.size() > 2 && candidate.compare(0, word.size(), word) == 0;
        const std::size_t steps = word.size() > longest_word ? least : is_beginning ? 1 : distance(word, candidate);
        if (steps < least) {
            least = steps;
            nearest = candidate;
        }
    }
    return nearest.empty() ? QString() : QStringLiteral(": did you mean %1?").arg(shown(nearest));
}

std::vector<const CLI::App*> commands_of(const CLI::App& program)
{
    return program.get_subcommands([](const CLI::App*) { return true; });
}

const CLI::App* find_command(const CLI::App& program, const std::string& name)
{
    const auto commands = commands_of(program);
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&name](const CLI::App* command) { return command->get_name() == name; });
    return found == commands.end() ? nullptr : *found;
}

QString unknown_command(const CLI::App& program, const std::string& name)
{
    std::vector<std::string> names;
    for (const CLI::App* command : commands_of(program)) {
        names.push_back(command->get_name());
    }
    const QString asked = question(name, names);
    return QStringLiteral("unknown command '%1'%2")
        .arg(shown(name), asked.isEmpty() ? QStringLiteral("; 'mail-extract --help' lists the commands") : asked);
}

std::vector<std::string> option_names(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options([](const CLI::Option*) { return true; })) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

bool is_option(const std::string& argument)
{
    return argument.size() > 1 && argument.front() == '-';
}

QString unknown_option(const CLI::App& command, const std::string& name)
{
    for (const CLI::App* later : commands_of(command)) {
        if (later->get_option_no_throw(name) != nullptr) {
            return QStringLiteral("%1 belongs behind a command, such as %2").arg(shown(name), shown(later->get_name()));
        }
    }
    return QStringLiteral("unknown option %1%2").arg(shown(name), question(name, option_names(command)));
}

QString unexpected_path(const CLI::App& command, const std::string& argument, const std::vector<std::string>& given)
{
    for (const char* name : {"--source", "--result"}) {
        const bool is_given = std::find(given.begin(), given.end(), name) != given.end();
        if (!is_given && command.get_option_no_throw(name) != nullptr) {
            return QStringLiteral("unexpected argument '%1': type %2 %1").arg(shown(argument), QLatin1String(name));
        }
    }
    return QStringLiteral("unexpected argument '%1'").arg(shown(argument));
}

/// Returns what is wrong among the arguments of a command; nothing when each is known.
std::optional<QString> error_within(const CLI::App& command, std::vector<std::string>::const_iterator argument,
                                    std::vector<std::string>::const_iterator end)
{
    const auto positionals = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
    std::size_t paths = 0;
    std::vector<std::string> given;
    std::vector<std::string> loose;
    for (; argument != end && *argument != "--"; ++argument) {
        if (!is_option(*argument)) {
            loose.push_back(*argument);
            continue;
        }
        const std::size_t equals = argument->find('=');
        const std::string name = argument->substr(0, equals);
        const CLI::Option* option = command.get_option_no_throw(name);
        if (option == nullptr) {
            return unknown_option(command, name);
        }
        given.push_back(name);
        const bool takes_next = option->get_items_expected_max() > 0 && equals == std::string::npos;
        if (takes_next && std::next(argument) != end) {
            ++argument;
        }
    }
    for (const std::string& path : loose) {
        if (++paths > positionals.size()) {
            return unexpected_path(command, path, given);
        }
    }
    return std::nullopt;
}

} // namespace

QString typing_error(const CLI::App& program, const std::vector<std::string>& arguments, const CLI::ParseError& error)
{
    const CLI::App* command = &program;
    QString names;
    auto argument = arguments.begin();
    for (; !commands_of(*command).empty(); ++argument) {
        if (argument == arguments.end()) {
            return QStringLiteral("type a command: 'mail-extract%1 --help' lists them").arg(names);
        }
        if (is_option(*argument)) {
            if (command->get_option_no_throw(*argument) == nullptr) {
                return unknown_option(*command, *argument);
            }
            continue;
        }
        const CLI::App* next = find_command(*command, *argument);
        if (next == nullptr) {
            return unknown_command(*command, *argument);
        }
        command = next;
        names += u' ' + shown(*argument);
    }
    const std::optional<QString> found = error_within(*command, argument, arguments.end());
    return QStringLiteral("%1: %2; 'mail-extract %1 --help' says more")
        .arg(names.trimmed(), found.value_or(QString::fromLocal8Bit(error.what())));
}

bool asks_for_json(const std::vector<std::string>& arguments)
{
    const auto has = [&arguments](const char* text) {
        return std::find(arguments.begin(), arguments.end(), text) != arguments.end();
    };
    const auto format = std::find(arguments.begin(), arguments.end(), "--format");
    const bool is_format = format != arguments.end() && std::next(format) != arguments.end();
    return has("--json") || has("--format=json") || (is_format && *std::next(format) == "json");
}
