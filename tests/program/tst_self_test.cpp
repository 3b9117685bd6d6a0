#include "host/self_test/self_test.h"
#include "tests/common/driven_program.h"
#include "tests/common/files.h"
#include "tests/common/unprivileged.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// Runs the real program with what it is asked for in $1, $SOURCE and $RESULT, and does something wrong around it.
const char* const wrapper = R"(#!/bin/sh
command=$1
take() { while [ $# -gt 1 ]; do case $1 in --source) SOURCE=$2;; --result) RESULT=$2;; esac; shift; done; }
take "$@"
real() { "%1" "$@"; }
odd="Users/anna/Library/Mail/V10/IMAP-odd@example.org"
own=$RESULT/mail-extract
%2
)";

} // namespace

class tst_self_test : public QObject
{
    Q_OBJECT

private slots:
    void the_program_passes()
    {
        // Permissions bind nobody in particular, so that the denied directory is tried as well.
        const program_result whole = run_program({"self-test", "--json"}, as_nobody());
        QVERIFY2(whole.exit_code == 0, whole.output + whole.errors);
        const QJsonObject told = whole.json().object();
        QCOMPARE(told["program"]["sha256"].toString().size(), 64);
        QCOMPARE(told["library"]["sha256"].toString().size(), 64);
        QStringList passed;
        for (const QJsonValue one : told["statements"].toArray()) {
            QVERIFY(one["outcome"].toString() != "fail");
            if (one["outcome"].toString() == "pass") {
                passed.append(one["statement"].toString());
            }
        }
        QVERIFY2(passed.size() > 25 && passed.contains("denied directory"), qPrintable(passed.join("; ")));
    }

    void a_program_that_misbehaves_fails_data()
    {
        QTest::addColumn<QString>("misdeed");
        QTest::addColumn<QStringList>("failing");
        const auto row = [](const char* name, const QString& misdeed, const QStringList& failing) {
            QTest::newRow(name) << misdeed << failing;
        };
        row("writes into evidence, loses a line of the manifest and spoils a copy",
            "[ $command = run ] && [ -d \"$SOURCE\" ] && : > \"$SOURCE/Users/anna/left behind\"\n"
            "real \"$@\"; code=$?\nif [ $command = run ]; then sed -i '/empty.emlx/d' \"$own/manifest.csv\"; "
            "for f in \"$RESULT\"/Artifacts_Result/*/*anna*/V10/IMAP-odd*/%41.emlx; do echo x > \"$f\"; done; fi\n"
            "exit $code",
            {"source content unchanged", "source metadata and name lists unchanged (access times aside)",
             "no write into evidence", "complete", "exact", "hidden, empty, long and odd names", "times"});
        row("finds everything whole and knows no accounts",
            "case $command in verify) echo '{}'; exit 0;; show|accounts) echo '[]'; exit 0;; esac\nreal \"$@\"",
            {"a changed copy is found", "a removed copy is found", "an added copy is found",
             "a changed product is found by the seal", "a changed source file is found",
             "a seal made anew is found by the root hash", "write-ahead log honoured",
             "association of users and volumes", "no invented account", "raw beside interpreted values",
             "log agrees with the counts"});
        row("refuses nothing", "real \"$@\"; exit 0",
            {"no write into evidence", "destination unwritable", "destination that takes no more",
             "no escape through links of the source", "no escape through links planted in the result",
             "hostile input: a damaged account store"});
        row("does nothing", "exit 0",
            {"complete", "exact", "repeatable, in another time zone as well", "interrupted and gone on with",
             "the run left something to damage"});
    }

    void a_program_that_misbehaves_fails()
    {
        QFETCH(const QString, misdeed);
        QFETCH(const QStringList, failing);
        const QTemporaryDir folder;
        const QString program = write_file(
            folder.filePath("program"), QString(wrapper).arg(QStringLiteral(MAIL_EXTRACT_PROGRAM), misdeed).toUtf8());
        QVERIFY(QFile::setPermissions(program, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        const statement_list statements = self_test(program, folder.path());
        QFile::setPermissions(folder.filePath("source/Users/anna/Library/Mail/V10/denied.mbox"),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QStringList not_failing = failing;
        for (const statement& one : statements.all()) {
            if (one.outcome == statement_outcome::fail) {
                not_failing.removeAll(one.text);
            }
        }
        QVERIFY2(not_failing.isEmpty(), qPrintable("do not fail: " + not_failing.join("; ")));
    }
};

QTEST_GUILESS_MAIN(tst_self_test)
#include "tst_self_test.moc"
