#include "host/report/summary.h"

#include "host/html/parts.h"
#include "host/mail_database/accounts_text.h"
#include "host/report/objections.h"
#include "host/result/result_paths.h"
#include "host/text/display_text.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

namespace {

constexpr qsizetype most_users_named = 20;

struct tile
{
    const char* label;
    QString figure;
    QString more;
    const char* style_class = "";
};

void write_tile(report_html& html, const tile& one)
{
    const auto item = html.open("li", {{"class", QString::fromLatin1(one.style_class)}});
    html.element("span", QString::fromLatin1(one.label), {{"class", QStringLiteral("label")}});
    html.element("span", one.figure, {{"class", QStringLiteral("figure")}});
    html.element("span", one.more, {{"class", QStringLiteral("more")}});
}

/// An account is counted once, in however many stores and states of a store its row stands.
tile accounts_tile(const report_dossier& dossier)
{
    if (!dossier.found) {
        return {"Accounts", QStringLiteral("?"), QStringLiteral("stores not read")};
    }
    QSet<QString> accounts;
    QSet<QString> with_folder;
    for (const account_record& record : dossier.found->accounts) {
        if (record.store.isEmpty()) {
            continue;
        }
        const QString name = record.identifier.isEmpty() ? account_title(record) : record.identifier.toUpper();
        const QString key = record.user + u'/' + record.type_identifier + u'/' + name;
        accounts.insert(key);
        if (!record.folders.isEmpty()) {
            with_folder.insert(key);
        }
    }
    return {"Accounts", display_number(accounts.size()),
            QStringLiteral("in stores, %1 with a folder").arg(display_number(with_folder.size()))};
}

tile account_folders_tile(const report_dossier& dossier, qsizetype rows)
{
    const QString told = QStringLiteral("%1 rows in the table").arg(display_number(rows));
    if (!dossier.found) {
        return {"Account folders", QStringLiteral("?"), told};
    }
    QSet<QString> folders;
    for (const account_record& record : dossier.found->accounts) {
        for (const account_place& place : record.folders) {
            folders.insert(place.path);
        }
    }
    return {"Account folders", display_number(folders.size()), told};
}

tile not_copied_tile(const report_data& data)
{
    if (!data.manifest) {
        return {"Not copied", QStringLiteral("?"), QStringLiteral("not verified")};
    }
    const qint64 faults = data.manifest->faults();
    return {"Not copied", display_number(faults), QStringLiteral("of those due"), faults > 0 ? "bad" : "good"};
}

tile kept_aside_tile(const report_manifest& manifest)
{
    return {"Kept aside", display_number(manifest.kept_hidden + manifest.kept_loose),
            QStringLiteral("%1 hidden, %2 loose")
                .arg(display_number(manifest.kept_hidden), display_number(manifest.kept_loose))};
}

// What the totals call files that are neither copied nor kept, by status.
constexpr std::array<const char*, entry_status_names.size()> words_for_rest = {
    "",          "",        "hidden and not kept", "loose and not kept", "links", "special", "missing",
    "different", "changed", "unreadable"};

/// Says in one line what became of every file.
QString totals_text(const report_manifest& manifest)
{
    QString text = QStringLiteral("%1 of %2 files copied and proven, %3 kept aside (%4 hidden, %5 loose)")
                       .arg(display_number(manifest.count(entry_status::copied)),
                            display_number(manifest.files() - manifest.further_witnesses()),
                            display_number(manifest.kept_hidden + manifest.kept_loose),
                            display_number(manifest.kept_hidden), display_number(manifest.kept_loose));
    for (std::size_t status = 0; status < manifest.totals.size(); ++status) {
        const auto which = static_cast<entry_status>(status);
        if (which != entry_status::copied && which != entry_status::kept && manifest.totals[status] > 0) {
            text += QStringLiteral(", %1 %2").arg(display_number(manifest.totals[status]),
                                                  QLatin1String(words_for_rest[status]));
        }
    }
    return text + QStringLiteral("; %1 further witnesses kept").arg(display_number(manifest.further_witnesses()));
}

tile failures_tile(const report_data& data)
{
    if (!data.failures_known) {
        return {"Log failures", QStringLiteral("?"), QStringLiteral("log not read")};
    }
    return {"Log failures", display_number(data.failures), QStringLiteral("lines of the log"),
            data.failures > 0 ? "bad" : "good"};
}

QString left_out_text(const QStringList& users)
{
    const qsizetype further = users.size() - most_users_named;
    return QStringLiteral(
               "Of the users of the source, %1 were left out by the choice of users and not looked at: %2%3.")
        .arg(display_number(users.size()), display_text(users.mid(0, most_users_named).join(QStringLiteral(", "))),
             further > 0
                 ? QStringLiteral(" and %1 more, in %2").arg(display_number(further), product_name(product::run_record))
                 : QString());
}

QString exit_text(const run_record& run)
{
    const QString code = run.exit_code ? QStringLiteral(", exit code %1").arg(*run.exit_code) : QString();
    return run_status_name(run.status) + code;
}

/// "clear: false, users: anna; ben"
QString options_text(const QJsonObject& options)
{
    QStringList texts;
    for (auto option = options.begin(); option != options.end(); ++option) {
        QStringList values;
        for (const QVariant& value : option.value().isArray() ? option.value().toArray().toVariantList()
                                                              : QVariantList{option.value().toVariant()}) {
            values.append(value.toString());
        }
        const QString told = values.join(QStringLiteral("; "));
        texts.append(QStringLiteral("%1: %2").arg(option.key(), told.isEmpty() ? QStringLiteral("-") : told));
    }
    return texts.isEmpty() ? QStringLiteral("none") : texts.join(QStringLiteral(", "));
}

} // namespace

void write_report_notices(report_html& html, const report_data& data)
{
    const QStringList objections = objections_to(data);
    for (const QString& objection : objections) {
        write_notice(html, "bad", objection);
    }
    if (!data.manifest) {
        write_notice(html, "warn", QStringLiteral("The copies are not verified: there is no manifest."));
    } else if (objections.isEmpty() && data.run && data.proof.seal) {
        write_notice(html, "good",
                     QStringLiteral("Every copy that is due is there and has the bytes of its source: %1 files.")
                         .arg(display_number(data.manifest->count(entry_status::copied))));
    }
    if (data.run && !data.run->users_left_out.isEmpty()) {
        write_notice(html, "warn", left_out_text(data.run->users_left_out));
    }
    for (const QString& note : data.notes) {
        write_notice(html, "warn", display_text(note));
    }
}

void write_report_tiles(report_html& html, const report_data& data, const report_dossier& dossier)
{
    qsizetype rows = 0;
    file_amount all;
    for (const report_user& user : data.users) {
        rows += user.accounts.size();
        all += user.mail_tree;
    }
    QList<tile> tiles = {{"Users", display_number(data.users.size()), QStringLiteral("in the result")},
                         accounts_tile(dossier),
                         account_folders_tile(dossier, rows),
                         {"Files", display_number(all.files), QStringLiteral("of all users")},
                         {"Size", display_bytes(all.bytes), display_number(all.bytes) + QStringLiteral(" bytes")},
                         not_copied_tile(data)};
    if (data.manifest) {
        tiles.append(kept_aside_tile(*data.manifest));
    }
    tiles.append(failures_tile(data));
    if (data.manifest) {
        html.element("p", totals_text(*data.manifest), {{"class", QStringLiteral("totals")}});
    }
    const auto list = html.open("ul", {{"class", QStringLiteral("tiles")}});
    for (const tile& one : tiles) {
        write_tile(html, one);
    }
}

void write_run_facts(report_html& html, const report_data& data)
{
    const auto section = html.open("section", {{"id", QStringLiteral("run")}});
    html.element("h2", QStringLiteral("The run"));
    if (!data.run) {
        html.element("p", QStringLiteral("There is no run record, so nothing is known of the run."));
        return;
    }
    const run_record& run = *data.run;
    const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
    write_fact_or_unknown(html, "Outcome", exit_text(run));
    write_fact_or_unknown(html, "Program", run.program_name + QLatin1Char(' ') + run.program_version);
    write_fact_or_unknown(html, "Its SHA-256", run.program_sha256);
    write_fact_or_unknown(html, "Plug-in", run.plugin_version + QStringLiteral(", ") + run.plugin_path);
    write_fact_or_unknown(html, "Its SHA-256", run.plugin_sha256);
    write_fact_or_unknown(html, "Machine",
                          run.host_name + QStringLiteral(", ") + run.host_system + QStringLiteral(", ") +
                              run.host_architecture);
    write_fact_or_unknown(html, "Its time zone", run.time_zone);
    write_fact_or_unknown(html, "Command line", run.command_line.join(QLatin1Char(' ')));
    write_fact_or_unknown(html, "Options", options_text(run.options));
    write_fact_or_unknown(html, "Log",
                          run.log_path + (run.log_enciphered ? QStringLiteral(" (enciphered)") : QString()));
}
