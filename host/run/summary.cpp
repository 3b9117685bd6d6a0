#include "host/run/summary.h"

#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/screen.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"
#include "host/text/text_table.h"
#include "host/verify/verification_text.h"

namespace {

constexpr qsizetype most_failures_shown = 5;
constexpr qsizetype most_remarks_shown = 10;

QStringList row_of(const QString& title, const user_record& sums)
{
    return {title, display_number(sums.account_store_rows), display_number(sums.mail_directory_rows),
            display_number(sums.files_copied), display_bytes(sums.bytes)};
}

void complain_about_failures(const run_record& record)
{
    if (record.log_failures == 0) {
        return;
    }
    complain(QStringLiteral("failures in the log %2: %1").arg(display_number(record.log_failures), record.log_path));
    for (const QString& line : record.log_failure_lines.mid(0, most_failures_shown)) {
        complain(QStringLiteral("  ") + line);
    }
    if (record.log_failures > most_failures_shown) {
        complain(QStringLiteral("  ... and %1 more").arg(display_number(record.log_failures - most_failures_shown)));
    }
}

} // namespace

void print_run_summary(const run_record& record, const QString& root_hash)
{
    const QList<table_column> columns{{QStringLiteral("user"), false, narrow_column},
                                      {QStringLiteral("accounts of the store"), true},
                                      {QStringLiteral("IMAP and POP folders"), true},
                                      {QStringLiteral("files copied"), true},
                                      {QStringLiteral("size"), true}};
    QList<QStringList> rows;
    user_record sums;
    for (const user_record& user : record.users) {
        rows.append(row_of(user.name, user));
        sums.account_store_rows += user.account_store_rows;
        sums.mail_directory_rows += user.mail_directory_rows;
        sums.files_copied += user.files_copied;
        sums.bytes += user.bytes;
    }
    if (record.users.size() > 1) {
        rows.append(row_of(QStringLiteral("together"), sums));
    }
    for (const QString& line : table_lines(columns, rows, screen_columns(page_width))) {
        print_line(line);
    }
    if (record.verification) {
        print_line(verification_summary_text(*record.verification));
    }
    const result_paths result(record.result);
    const auto print_fact = [](const char* name, const QString& value) {
        print_line(QString::fromLatin1(name).leftJustified(11) + display_text(value));
    };
    if (!record.users_left_out.isEmpty()) {
        print_fact(
            "left out:",
            QStringLiteral("%1 users of the source, by --user").arg(display_number(record.users_left_out.size())));
    }
    print_fact("result:", result.root());
    print_fact("log:", record.log_path);
    if (record.verification) {
        print_fact("manifest:", result.path(product::manifest));
    }
    print_fact("report:", result.path(product::report));
    for (const QString& remark : record.remarks.mid(0, most_remarks_shown)) {
        print_fact("note:", remark);
    }
    if (record.remarks.size() > most_remarks_shown) {
        print_fact("note:", QStringLiteral("%1 more stand in %2")
                                .arg(display_number(record.remarks.size() - most_remarks_shown),
                                     result.path(product::run_record)));
    }
    print_fact("time:", duration_text(record.started.secsTo(record.ended)));
    if (!root_hash.isEmpty()) {
        print_fact("root hash:", root_hash);
        print_fact("next:", QStringLiteral("write the root hash on paper; this holds the result against it:"));
        print_fact("", QStringLiteral("mail-extract verify --result %1 --expect ROOT_HASH").arg(result.root()));
    }
}

void complain_about_run(const run_record& record)
{
    complain_about_failures(record);
    if (!record.error.isEmpty()) {
        complain(record.error);
    }
    if (record.exit_code == exit_code::cancelled) {
        complain(QStringLiteral("cancelled; what is copied so far stays in %1").arg(record.result));
    } else if (record.exit_code == exit_code::no_mail_directory) {
        complain(QStringLiteral("no Mail directory found in %1: in %2 sources the plug-in looks for none")
                     .arg(record.source, record.options[QLatin1String("scheme")].toString()));
    }
}
