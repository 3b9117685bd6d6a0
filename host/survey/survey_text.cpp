#include "host/survey/survey_text.h"
#include "host/terminal/screen.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"
#include "host/text/text_table.h"

#include <algorithm>
#include <array>

namespace {

qsizetype page_columns()
{
    return screen_columns(page_width);
}

constexpr qsizetype longest_list = 5;
constexpr qsizetype longest_table = 20;

constexpr std::array naming_words = {"identifier", "IMAP", "POP", "other"};

QString amount_text(const file_amount& amount)
{
    return QStringLiteral("%1 files (%2)").arg(display_number(amount.files), display_bytes(amount.bytes));
}

/// An amount of which a part may be unknown.
QString known_text(const QString& amount, const unknown_content& unknown)
{
    return unknown.is_whole ? QStringLiteral("unknown") : unknown.any() ? QStringLiteral("at least ") + amount : amount;
}

QString namings_text(const mail_folder& folder)
{
    std::array<qint64, naming_words.size()> counts = {};
    for (const account_folder& account : folder.folders) {
        ++counts[static_cast<std::size_t>(account.naming)];
    }
    QStringList parts;
    for (std::size_t naming = 0; naming < counts.size(); ++naming) {
        if (counts[naming] > 0) {
            parts += QStringLiteral("%1 %2").arg(display_number(counts[naming]), QLatin1String(naming_words[naming]));
        }
    }
    return folder.unknown.is_whole ? QStringLiteral("unknown") : parts.join(QStringLiteral(", "));
}

QString store_text(const account_store& store)
{
    if (!store.problem.isEmpty()) {
        return QStringLiteral("%1 %2").arg(display_text(store.name), store.problem);
    }
    QString text = QStringLiteral("%1 %2").arg(display_text(store.name), display_bytes(store.bytes.value_or(0)));
    if (store.wal_bytes) {
        text += QStringLiteral(" + wal %1").arg(display_bytes(*store.wal_bytes));
    }
    if (store.shm_bytes) {
        text += QStringLiteral(" + shm %1").arg(display_bytes(*store.shm_bytes));
    }
    return text;
}

bool is_live(const mail_folder& folder, const user_survey& user)
{
    return folder.is_version && folder.name == user.live_version.toUtf8();
}

QString live_text(const user_survey& user)
{
    if (user.mail_directory != presence::present) {
        return user.mail_directory == presence::unknown ? QStringLiteral("unknown") : QStringLiteral("-");
    }
    if (!user.live_version_problem.isEmpty()) {
        return QStringLiteral("unknown: ") + user.live_version_problem;
    }
    const bool is_there = std::any_of(user.folders.begin(), user.folders.end(),
                                      [&](const mail_folder& folder) { return is_live(folder, user); });
    return display_text(user.live_version) + (is_there ? QString() : QStringLiteral(", which is not there"));
}

QString cut_note(qsizetype left_out)
{
    return QStringLiteral("  ... and %1 more (all with --json)").arg(display_number(left_out));
}

void append_table(QStringList& page, const QList<table_column>& columns, QList<QStringList> rows)
{
    const qsizetype left_out = rows.size() - longest_table;
    if (left_out > 0) {
        rows.resize(longest_table);
    }
    page += QString();
    page += table_lines(columns, rows, page_columns());
    if (left_out > 0) {
        page += cut_note(left_out);
    }
}

/// What stands where a user's Mail folders would.
QString instead_of_folders(const user_survey& user)
{
    if (!user.not_followed.isEmpty()) {
        return QStringLiteral("outside the source");
    }
    if (user.mail_directory == presence::unknown || user.unknown.is_whole) {
        return QStringLiteral("unknown: cannot be read");
    }
    return user.mail_directory == presence::present ? QStringLiteral("no folders")
                                                    : QStringLiteral("no Mail directory");
}

void append_folders(QStringList& page, const source_survey& survey)
{
    QList<QStringList> rows;
    for (const user_survey& user : survey.users) {
        QString name = display_text(user.name);
        if (user.folders.empty()) {
            rows += QStringList{name, instead_of_folders(user), {}, {}, {}, {}};
        }
        for (const mail_folder& folder : user.folders) {
            const QString mark = is_live(folder, user) ? QStringLiteral(" (live)") : QString();
            const QString hidden = folder.hidden.files == 0 ? QStringLiteral("-") : amount_text(folder.hidden);
            rows += QStringList{name,
                                display_text(folder.name) + mark,
                                known_text(display_number(folder.visible.files), folder.unknown),
                                known_text(display_bytes(folder.visible.bytes), folder.unknown),
                                hidden,
                                namings_text(folder)};
            name.clear();
        }
    }
    append_table(page,
                 {{QStringLiteral("User"), false, narrow_column},
                  {QStringLiteral("Mail folder"), false, narrow_column},
                  {QStringLiteral("Files"), true},
                  {QStringLiteral("Size"), true},
                  {QStringLiteral("Hidden, not copied")},
                  {QStringLiteral("Folders by naming"), false, narrow_column}},
                 rows);
}

void append_stores(QStringList& page, const source_survey& survey)
{
    QList<QStringList> rows;
    for (const user_survey& user : survey.users) {
        QStringList lead{display_text(user.name), live_text(user)};
        if (user.stores.empty()) {
            rows += lead + QStringList{user.stores_problem.isEmpty() ? QStringLiteral("none")
                                                                     : QStringLiteral("unknown: cannot be read")};
        }
        for (const account_store& store : user.stores) {
            rows += lead + QStringList{store_text(store)};
            lead = {QString(), QString()};
        }
    }
    append_table(page,
                 {{QStringLiteral("User"), false, narrow_column},
                  {QStringLiteral("Live version"), false, narrow_column},
                  {QStringLiteral("Account stores"), false, narrow_column}},
                 rows);
}

/// Appends a fact behind its label, with further lines below its beginning.
void append_fact(QStringList& page, const QString& label, const QString& fact)
{
    constexpr qsizetype label_width = 8;
    QString lead = label.leftJustified(label_width);
    for (const QString& line : wrapped(fact, page_columns() - label_width)) {
        page += lead + line;
        lead = QString(label_width, u' ');
    }
}

void append_list(QStringList& page, const QString& title, const QStringList& lines)
{
    if (lines.isEmpty()) {
        return;
    }
    page += QStringLiteral("%1: %2").arg(title, display_number(lines.size()));
    for (const QString& line : lines.first(std::min(lines.size(), longest_list))) {
        page += QStringLiteral("  ") + shortened_in_middle(line, page_columns() - 2);
    }
    if (lines.size() > longest_list) {
        page += cut_note(lines.size() - longest_list);
    }
}

QStringList finding_lines(const std::vector<survey_finding>& findings)
{
    QStringList lines;
    for (const survey_finding& finding : findings) {
        lines += QStringLiteral("%1: %2").arg(display_text(finding.path), finding.reason);
    }
    return lines;
}

void append_findings(QStringList& page, const source_survey& survey)
{
    QStringList leaving;
    QStringList cycles;
    for (const link_problem& problem : survey.link_problems) {
        (problem.kind == link_problem_kind::cycle ? cycles : leaving) +=
            QStringLiteral("%1 -> %2").arg(display_text(problem.path), display_text(problem.target));
    }
    page += QString();
    page += QStringLiteral("Links below the Mail directories: ") + display_number(survey.links);
    append_list(page, QStringLiteral("Links that leave the source"), leaving);
    append_list(page, QStringLiteral("Links that lead round in a circle"), cycles);
    append_list(page, QStringLiteral("Links that lead nowhere"), finding_lines(survey.broken_links));
    append_list(page, QStringLiteral("Unreadable"), finding_lines(survey.unreadable));
    for (const QString& advice : survey.advice()) {
        page += wrapped(advice, page_columns());
    }
    append_list(page, QStringLiteral("Special files, not copied"), finding_lines(survey.special_files));
    append_list(page, QStringLiteral("Names that are not UTF-8, not copied"), finding_lines(survey.undecodable_names));
}

void append_room(QStringList& page, const room_estimate& room)
{
    const QString verdict =
        room.is_enough() ? QStringLiteral("Room enough at ") : QStringLiteral("NOT ENOUGH ROOM at ");
    page += verdict + shortened_in_middle(display_text(room.measured_at), page_columns() - verdict.size());
    page += QStringLiteral("  ") + room_amounts(room);
    if (room.account_folders == 0 && room.account_folders_one_by_one > 0) {
        page += QStringLiteral("  with --one-by-one or --as-suite %1 more while it runs")
                    .arg(display_bytes(room.account_folders_one_by_one));
    }
}

} // namespace

QString survey_text(const source_survey& survey)
{
    file_amount visible;
    file_amount hidden;
    file_amount loose;
    qint64 with_mail = 0;
    qint64 unknown = 0;
    bool is_all = survey.users_problem.isEmpty();
    for (const user_survey& user : survey.users) {
        for (const mail_folder& folder : user.folders) {
            visible += folder.visible;
        }
        hidden += user.hidden;
        loose += user.loose;
        with_mail += user.mail_directory == presence::present ? 1 : 0;
        unknown += user.mail_directory == presence::unknown ? 1 : 0;
        is_all = is_all && user.mail_directory != presence::unknown && !user.unknown.any();
    }
    QStringList page;
    page += QStringLiteral("Source  ") + shortened_in_middle(display_text(survey.source), page_columns() - 8);
    append_fact(page, QStringLiteral("Users   "),
                QStringLiteral("%1%2, %3 with a Mail directory%4")
                    .arg(survey.users_problem.isEmpty() ? QString() : QStringLiteral("at least "),
                         display_number(qint64(survey.users.size())), display_number(with_mail),
                         unknown == 0 ? QString()
                                      : QStringLiteral(", %1 of whom that is unknown").arg(display_number(unknown))));
    if (!survey.users_problem.isEmpty()) {
        append_fact(page, QString(), QStringLiteral("there may be more: ") + survey.users_problem);
    }
    append_fact(
        page, QStringLiteral("Files   "),
        QStringLiteral("%1%2 to copy").arg(is_all ? QString() : QStringLiteral("at least "), amount_text(visible)));
    append_fact(page, QString(),
                QStringLiteral("not copied: %1 hidden, %2 loose in a Mail directory")
                    .arg(amount_text(hidden), amount_text(loose)));
    if (!survey.users.empty()) {
        append_folders(page, survey);
        append_stores(page, survey);
    }
    append_findings(page, survey);
    if (survey.room) {
        append_room(page, *survey.room);
    }
    return page.join(QLatin1Char('\n'));
}
