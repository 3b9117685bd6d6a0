#include "host/help_page.h"

#include "host/terminal/screen.h"
#include "host/text/text_layout.h"

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype help_width = 80;
constexpr qsizetype narrowest_help = 40;
constexpr qsizetype left_column = 26;

qsizetype page_columns()
{
    return std::clamp(screen_columns(help_width), narrowest_help, help_width);
}

std::string paragraph(const std::string& text)
{
    return (wrapped(QString::fromStdString(text), page_columns()).join(u'\n') + u'\n').toStdString();
}

std::string entry(const std::string& name, const std::string& meaning)
{
    const QString left = QStringLiteral("  ") + QString::fromStdString(name);
    const QString indent(left_column, u' ');
    QStringList lines = wrapped(QString::fromStdString(meaning), page_columns() - left_column);
    const bool fits_beside = text_width(left) + 1 < left_column;
    QString page = fits_beside ? left.leftJustified(left_column) + lines.takeFirst() : left;
    for (const QString& line : lines) {
        page += u'\n' + indent + line;
    }
    return (page + u'\n').toStdString();
}

/// Returns what follows an option's name: the kind of its value, without what a check would add to it.
std::string value_name(const CLI::Option& option)
{
    if (!option.get_option_text().empty()) {
        return ' ' + option.get_option_text();
    }
    const std::string type = option.get_items_expected_max() == 0 ? std::string() : option.get_type_name();
    const std::string name = type.substr(0, type.find(':'));
    return name.empty() ? name : ' ' + name;
}

} // namespace

std::string help_page::make_help(const CLI::App* command, std::string name, CLI::AppFormatMode mode) const
{
    // Between two groups the library leaves two lines.
    return CLI::detail::find_and_replace(CLI::Formatter::make_help(command, std::move(name), mode), "\n\n\n", "\n\n");
}

std::string help_page::make_option(const CLI::Option* option, bool is_positional) const
{
    std::string meaning = option->get_description();
    if (option->get_required()) {
        meaning += " (required)";
    }
    if (!option->get_default_str().empty()) {
        meaning += " (default: " + option->get_default_str() + ')';
    }
    return entry(make_option_name(option, is_positional) + value_name(*option), meaning);
}

std::string help_page::make_subcommand(const CLI::App* command) const
{
    return entry(command->get_name(), command->get_description());
}

std::string help_page::make_description(const CLI::App* command) const
{
    return paragraph(command->get_description());
}

std::string help_page::make_footer(const CLI::App* command) const
{
    return command->get_footer().empty() ? std::string() : paragraph(command->get_footer());
}
