#pragma once

#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>

/// A case with sources "mac1", "mac2" ... beside it, each with one user and one account of its own.
class case_fixture
{
public:
    explicit case_fixture(int sources, const QStringList& further = {"--lease-beat", "0.1", "--lease-missed", "5"})
    {
        const program_result made = run(QStringList{"new"}, further);
        if (made.exit_code != 0) {
            qFatal("case new: %s", made.errors.constData());
        }
        for (int i = 1; i <= sources; ++i) {
            add_source(i);
            run({"add"}, {source(i), "--evidence-number", QStringLiteral("EV-%1").arg(i)});
        }
    }

    QString path(const QString& below = {}) const { return directory.filePath("case/" + below); }
    QString source(int number) const { return directory.filePath(QStringLiteral("mac%1").arg(number)); }
    QString results(int number, const QString& below = {}) const
    {
        return path(QStringLiteral("results/%1-EV-%2/").arg(number, 4, 10, QLatin1Char('0')).arg(number) + below);
    }

    /// Runs `case COMMAND CASE` with further arguments.
    program_result run(const QStringList& command, const QStringList& further = {}) const
    {
        return run_program(QStringList{"case"} + command + QStringList{directory.filePath("case")} + further);
    }
    void start(QProcess& process, const QStringList& further) const
    {
        process.start(MAIL_EXTRACT_PROGRAM, QStringList{"case", "run", directory.filePath("case")} + further);
    }

    /// Adds messages to a source, so that its extraction takes longer.
    void make_large(int number, int messages) const
    {
        const QString folder = account_folder(number) + "big.mbox/";
        const QString first = write_file(folder + "0.emlx", QByteArray(4096, 'x'));
        for (int i = 1; i < messages; ++i) {
            std::filesystem::create_hard_link(first.toStdString(),
                                              (folder + QString::number(i) + ".emlx").toStdString());
        }
    }

    /// The states by index, as `case status --json` has them.
    QStringList states() const
    {
        QStringList names;
        for (const QJsonValue entry : run({"status"}, {"--json"}).json()["sources"].toArray()) {
            names.append(entry["state"].toString());
        }
        return names;
    }

private:
    QString account_folder(int number) const
    {
        return source(number) + QStringLiteral("/Users/ann/Library/Mail/V9/IMAP-ann%1@imap.example.org/").arg(number);
    }
    void add_source(int number) const
    {
        write_file(account_folder(number) + "1.emlx", "message");
        write_file(source(number) + "/private/var/db/.AppleSetupDone");
    }

    QTemporaryDir directory;
};
