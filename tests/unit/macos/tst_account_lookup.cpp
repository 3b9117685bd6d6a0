#include "macos/account_lookup.h"
#include "support/limited_database.h"

#include <QRandomGenerator>
#include <QSqlError>
#include <QTemporaryDir>
#include <QTest>

class tst_account_lookup : public QObject
{
    Q_OBJECT

private slots:
    void expected_values_find_the_same_rows_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("then");
        QTest::newRow("no types") << "k INTEGER PRIMARY KEY, a, b"
                                  << "";
        QTest::newRow("texts") << "k INTEGER, a VARCHAR, b VARCHAR"
                               << "";
        QTest::newRow("letter case") << "k, a TEXT COLLATE NOCASE, b COLLATE RTRIM"
                                     << "";
        QTest::newRow("numbers") << "k, a INTEGER, b NUMERIC"
                                 << "";
        QTest::newRow("indexes of its own") << "k, a, b"
                                            << "CREATE INDEX i ON ZACCOUNT(a); CREATE INDEX j ON ZACCOUNT(b)";
        QTest::newRow("one index over all") << "k, a, b"
                                            << "CREATE INDEX i ON ZACCOUNT(b DESC, a, k)";
        QTest::newRow("no row numbers") << "k, a, b, n, PRIMARY KEY(b, n)) WITHOUT ROWID --"
                                        << "";
        QTest::newRow("its own row numbers") << "k, a, b, rowid"
                                             << "";
    }

    void expected_values_find_the_same_rows()
    {
        QFETCH(const QString, columns);
        QFETCH(const QString, then);
        const QTemporaryDir directory;
        const QString path = directory.filePath("store");
        const bool has_numbers = columns.contains("PRIMARY KEY(");
        QStringList script{"BEGIN", "CREATE TABLE ZACCOUNT (" + columns + ") " + (has_numbers ? then : "")};
        QRandomGenerator random(7);
        const auto value = [&random] {
            const QString forms[] = {"v%1", "V%1 ", "%1", "%1.0", "it's %1", QString::fromUtf8("\u00FC%1\uFFFD")};
            return forms[random.bounded(6)].arg(random.bounded(40));
        };
        for (int i = 0; i < 300; ++i) {
            const auto quoted = [&] { return '\'' + value().replace('\'', "''") + '\''; };
            const QString b = i % 9 != 0 || has_numbers ? quoted() : "NULL";
            script += QString("INSERT INTO ZACCOUNT (k, a, b%1) VALUES (%2, %3, %4%5)")
                          .arg(has_numbers ? ", n" : "", QString::number(i), i % 7 != 0 ? quoted() : "5", b,
                               has_numbers ? ", " + QString::number(-i) : "");
        }
        script += has_numbers ? QStringList() : then.split(';', Qt::SkipEmptyParts);
        script += "COMMIT";
        qint64 time_left = 60'000'000'000;
        limited_database store("a store", path, "ZACCOUNT", time_left);
        QVERIFY2(store.is_open(), qPrintable(store.opening_error()));
        for (const QString& statement : script) {
            QSqlQuery query(store.database());
            QVERIFY2(query.exec(statement), qPrintable(query.lastError().text() + statement));
        }

        QStringList values;
        for (int i = 0; i < 200; ++i) {
            values.append(value());
        }
        for (const QStringList& compared : {QStringList{"a", "b"}, QStringList{"b"}}) {
            account_lookup one_by_one(store, "k, a, b", compared);
            account_lookup expected(store, "k, a, b", compared);
            expected.expect(values);
            int found = 0;
            for (const QString& wanted : values) {
                QSqlQuery query(store.database());
                QSqlQuery same(store.database());
                QCOMPARE(expected.execute(query, wanted), one_by_one.execute(same, wanted));
                const bool is_there = same.next();
                found += is_there ? 1 : 0;
                QCOMPARE(query.next(), is_there);
                QVERIFY2(!is_there || query.value(0) == same.value(0), qPrintable(wanted));
            }
            QVERIFY(found > 20);
        }
    }
};

QTEST_GUILESS_MAIN(tst_account_lookup)
#include "tst_account_lookup.moc"
