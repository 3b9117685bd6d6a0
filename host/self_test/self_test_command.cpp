#include "host/self_test/self_test_command.h"

#include "host/result/result_paths.h"
#include "host/self_test/self_test.h"
#include "host/self_test/self_test_ground.h"
#include "host/self_test/tree_state.h"
#include "host/self_test/trial_volume.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"
#include "host/text/text_table.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace {

constexpr qsizetype narrowest_text = 24;

struct tried_files
{
    QString program;
    QByteArray program_sha256;
    QString library; ///< empty when no run has told which it loads
    QByteArray library_sha256;
};

tried_files tried_in(const QString& directory)
{
    tried_files tried;
    tried.program = QCoreApplication::applicationFilePath();
    tried.program_sha256 = own_hash_of(tried.program);
    QFile record(result_paths(directory + QStringLiteral("/results/first")).path(product::run_record));
    if (record.open(QIODevice::ReadOnly)) {
        tried.library =
            QJsonDocument::fromJson(record.readAll())[QLatin1String("plugin")][QLatin1String("path")].toString();
    }
    if (!tried.library.isEmpty()) {
        tried.library_sha256 = own_hash_of(tried.library);
    }
    return tried;
}

QString outcome_name(statement_outcome outcome)
{
    return QLatin1String(statement_outcome_names[static_cast<std::size_t>(outcome)]);
}

void print_json(const statement_list& statements, const tried_files& tried, const QString& kept)
{
    QJsonArray rows;
    for (const statement& one : statements.all()) {
        rows.append(
            QJsonObject{{"statement", one.text}, {"outcome", outcome_name(one.outcome)}, {"detail", one.detail}});
    }
    const QJsonObject program{{"path", tried.program},
                              {"version", QCoreApplication::applicationVersion()},
                              {"sha256", QString::fromLatin1(tried.program_sha256)}};
    const QJsonObject library{{"path", tried.library}, {"sha256", QString::fromLatin1(tried.library_sha256)}};
    const QJsonObject all{{"program", program},
                          {"library", library},
                          {"system", QSysInfo::prettyProductName()},
                          {"finished_utc", QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                          {"failed", statements.count(statement_outcome::fail)},
                          {"kept", kept.isEmpty() ? QJsonValue() : kept},
                          {"statements", rows}};
    print_bytes(QJsonDocument(all).toJson());
}

void print_table(const statement_list& statements, const tried_files& tried, const QString& kept)
{
    QList<QStringList> rows;
    for (const statement& one : statements.all()) {
        rows.append({one.text, outcome_name(one.outcome), one.detail});
    }
    const QList<table_column> columns{{QStringLiteral("statement"), false, narrowest_text},
                                      {QStringLiteral("outcome")},
                                      {QStringLiteral("looked at, or why"), false, narrowest_text}};
    for (const QString& line : table_lines(columns, rows, terminal_width())) {
        print_line(line);
    }
    print_line({});
    for (const statement& one : statements.all()) {
        if (one.outcome == statement_outcome::fail) {
            print_line(QStringLiteral("fail: %1: %2").arg(one.text, one.detail));
        }
    }
    print_line(QStringLiteral("program: %1  %2").arg(QString::fromLatin1(tried.program_sha256), tried.program));
    print_line(QStringLiteral("library: %1  %2").arg(QString::fromLatin1(tried.library_sha256), tried.library));
    print_line(QStringLiteral("system:  %1, %2")
                   .arg(QSysInfo::prettyProductName(), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)));
    print_line(QStringLiteral("%1 pass, %2 fail, %3 not tried")
                   .arg(statements.count(statement_outcome::pass))
                   .arg(statements.count(statement_outcome::fail))
                   .arg(statements.count(statement_outcome::not_tried)));
    if (!kept.isEmpty()) {
        print_line(QStringLiteral("kept:    ") + kept);
    }
}

} // namespace

int self_test_command(const self_test_options& options)
{
    QTemporaryDir directory(QDir::temp().filePath(QStringLiteral("mail-extract-self-test-XXXXXX")));
    if (!directory.isValid()) {
        refuse(QStringLiteral("cannot create a folder in %1: %2").arg(QDir::tempPath(), directory.errorString()));
    }
    const QString top = QDir(directory.path()).canonicalPath();
    // What killed runs leave in the place for temporary files goes with the rest.
    const QString temporary = top + QStringLiteral("/tmp");
    QDir().mkpath(temporary);
    qputenv("TMPDIR", QFile::encodeName(temporary));
    const statement_list statements = self_test(QCoreApplication::applicationFilePath(), top);
    const bool failed = statements.count(statement_outcome::fail) > 0;
    directory.setAutoRemove(!failed);
    // What may not be listed cannot be removed either.
    ::chmod(QFile::encodeName(top + QStringLiteral("/source/") + QLatin1String(denied_directory)).constData(), S_IRWXU);
    const QString kept = failed ? top : QString();
    (options.json ? print_json : print_table)(statements, tried_in(top), kept);
    return failed ? exit_code::with_failures : exit_code::whole;
}
