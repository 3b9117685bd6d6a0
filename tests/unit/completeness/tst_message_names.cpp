#include "host/completeness/message_names.h"

#include <QTest>

class tst_message_names : public QObject
{
    Q_OBJECT

private slots:
    void what_a_name_says_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("says"); // "number", "partial" and "usual", as far as they hold
        const auto add = [](const char* name, const QString& says) { QTest::newRow(name) << QByteArray(name) << says; };
        add("7.emlx", "7 usual");
        add("0.emlx", "0 usual");
        add("9223372036854775807.emlx", "9223372036854775807 usual");
        add("9223372036854775808.emlx", "-1");
        add("7.partial.emlx", "7 partial usual");
        add("7.EMLX", "7");
        add("7.Partial.emlx", "7 partial");
        add("7.partial.EMLX", "7 partial");
        for (const char* name : {"007.emlx", "+7.emlx", "-7.emlx", "-0.emlx", " 7.emlx", "7 .emlx", "7a.emlx", ".emlx",
                                 "7.partial.partial.emlx"}) {
            add(name, QByteArray(name).contains(".partial.") ? "-1 partial" : "-1");
        }
        for (const char* name : {"7.emlxpart", "7", "emlx", "._7.emlx", "", "7.emlx ", "7.em"}) {
            add(name, QString());
        }
    }

    void what_a_name_says()
    {
        QFETCH(const QByteArray, name);
        QFETCH(const QString, says);
        const auto read = read_message_name(name);
        const QString found = read ? QString::number(read->number) + (read->is_partial ? " partial" : "") +
                                         (read->is_usual ? " usual" : "")
                                   : QString();
        QCOMPARE(found, says);
        QVERIFY(!read || read->is_usual == (usual_name(read->number, read->is_partial) == name));
    }
};

QTEST_APPLESS_MAIN(tst_message_names)
#include "tst_message_names.moc"
