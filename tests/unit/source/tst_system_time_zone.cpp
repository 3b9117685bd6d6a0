#include "host/source/system_time_zone.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

class tst_system_time_zone : public QObject
{
    Q_OBJECT

private slots:
    void is_what_the_link_says_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("target"); // "" for a file in the link's place
        QTest::addColumn<QString>("zone");
        const QString usual = "private/etc/localtime";
        QTest::newRow("today") << usual << "/var/db/timezone/zoneinfo/Europe/Berlin"
                               << "Europe/Berlin";
        QTest::newRow("earlier") << usual << "/usr/share/zoneinfo/America/Argentina/Ushuaia"
                                 << "America/Argentina/Ushuaia";
        QTest::newRow("without private") << "etc/localtime"
                                         << "/var/db/timezone/zoneinfo/UTC"
                                         << "UTC";
        QTest::newRow("elsewhere") << usual << "/etc/passwd"
                                   << "";
        QTest::newRow("no name") << usual << "/var/db/timezone/zoneinfo/"
                                 << "";
        QTest::newRow("far too long") << usual << "zoneinfo/" + QString(200, 'x') << "";
        QTest::newRow("a line break") << usual << "zoneinfo/Europe\nBerlin"
                                      << "Europe\\nBerlin";
        QTest::newRow("a file") << usual << ""
                                << "";
        QTest::newRow("nothing") << "private/etc/hosts"
                                 << ""
                                 << "";
    }

    void is_what_the_link_says()
    {
        QFETCH(const QString, place);
        QFETCH(const QString, target);
        const QTemporaryDir source;
        const QString path = source.filePath(place);
        QDir().mkpath(QFileInfo(path).path());
        QVERIFY(target.isEmpty() ? QFile::exists(write_file(path)) : QFile::link(target, path));
        QTEST(system_time_zone(QFile::encodeName(source.path())), "zone");
    }

    void no_link_is_passed_through()
    {
        const QTemporaryDir elsewhere;
        const QTemporaryDir source;
        QVERIFY(QDir().mkpath(elsewhere.filePath("etc")));
        QVERIFY(QFile::link("zoneinfo/Europe/Paris", elsewhere.filePath("etc/localtime")));
        QVERIFY(QFile::link(elsewhere.path(), source.filePath("private")));
        QCOMPARE(system_time_zone(QFile::encodeName(source.path())), QString());
    }
};

QTEST_GUILESS_MAIN(tst_system_time_zone)
#include "tst_system_time_zone.moc"
