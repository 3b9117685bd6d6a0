#include "host/source/source_users.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_source_users : public QObject
{
    Q_OBJECT

private slots:
    // Decoding drops the mark, and both would be one user.
    void a_name_may_begin_with_a_byte_order_mark()
    {
        const QTemporaryDir source;
        const QStringList made{u"ann"_qs, u"\uFEFF"_qs, u"\uFEFFann"_qs};
        for (const QString& name : made) {
            QVERIFY(QDir().mkpath(source.filePath("Users/" + name)));
        }
        QStringList names;
        for (const source_user& user : list_source_users(QFile::encodeName(source.path())).users) {
            QVERIFY(QDir(source.filePath("Users/" + user.name)).exists());
            names.append(user.name);
        }
        QCOMPARE(names, made);
    }
};

QTEST_GUILESS_MAIN(tst_source_users)
#include "tst_source_users.moc"
