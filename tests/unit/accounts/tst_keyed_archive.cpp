#include "host/accounts/keyed_archive.h"
#include "sample/sample_plist.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// An archive whose objects are laid out by hand; the first one is what it holds.
QByteArray archive_of(const QVariantList& objects)
{
    return to_binary_plist(QVariantMap{{u"$archiver"_s, u"NSKeyedArchiver"_s},
                                       {u"$top"_s, QVariantMap{{u"root"_s, 1U}}},
                                       {u"$objects"_s, QVariantList{u"$null"_s} + objects}});
}

QVariantMap object_of(uint its_class, const QString& key, const QVariant& value)
{
    return {{u"$class"_s, its_class}, {key, value}};
}

QVariantMap class_named(const QString& name)
{
    return {{u"$classname"_s, name}};
}

QVariantList chain(int depth)
{
    QVariantList objects;
    for (int level = 0; level < depth; ++level) {
        objects.append(object_of(uint(depth) + 1, u"NS.objects"_s, QVariantList{uint(level) + 2}));
    }
    objects[depth - 1] = u"end"_s;
    return objects + QVariantList{class_named(u"NSArray"_s)};
}

} // namespace

class tst_keyed_archive : public QObject
{
    Q_OBJECT

private slots:
    void reads_values_data();
    void reads_values();
    void refuses_data();
    void refuses();
    void takes_any_damage();
    void times_count_from_2001();
};

void tst_keyed_archive::reads_values_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QVariant>("value");
    const QDateTime time(QDate(2020, 3, 22), QTime(1, 11, 29), Qt::UTC);
    const QVariantMap nested{{u"EmailAddresses"_s, QVariantList{u"a@example.org"_s}}, {u"IsDefault"_s, true}};
    for (const QVariant& value :
         {QVariant(u"imap.example.org"_s), QVariant(u"J\u00fcrgen \U0001f600"_s), QVariant(true), QVariant(993LL),
          QVariant(-1LL), QVariant(1LL << 40), QVariant(1.5), QVariant(time), QVariant(QByteArray("\0\xff", 2)),
          QVariant(QVariantList{1LL, nested}), QVariant(nested)}) {
        QTest::addRow("archived %s", value.typeName()) << to_keyed_archive(value) << value;
        QTest::addRow("plain %s", value.typeName()) << to_binary_plist(value) << value;
    }
    QTest::newRow("null") << archive_of({0U}) << QVariant();
    for (const auto& [name, key] : {std::pair{"NSMutableSet", "NS.objects"}, std::pair{"NSOrderedSet", "NS.objects"}}) {
        QTest::newRow(name) << archive_of({object_of(2, QLatin1String(key), QVariantList{3U}),
                                           class_named(QLatin1String(name)), u"x"_s})
                            << QVariant(QVariantList{u"x"_s});
    }
    QTest::newRow("NSMutableData") << archive_of({object_of(2, u"NS.data"_s, QByteArray("x")),
                                                  class_named(u"NSMutableData"_s)})
                                   << QVariant(QByteArray("x"));
    QTest::newRow("another class") << archive_of({object_of(2, u"name"_s, 3U), class_named(u"ACThing"_s), u"x"_s})
                                   << QVariant(QVariantMap{{u"$class"_s, u"ACThing"_s}, {u"name"_s, u"x"_s}});
}

void tst_keyed_archive::reads_values()
{
    QFETCH(QByteArray, archive);
    const archived_value read = read_keyed_archive(archive);
    QCOMPARE(read.error, QString());
    QTEST(read.value, "value");
}

void tst_keyed_archive::refuses_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("reason");
    QTest::newRow("empty") << QByteArray() << u"no binary property list"_s;
    QTest::newRow("itself") << archive_of({object_of(2, u"NS.objects"_s, QVariantList{1U}), class_named(u"NSArray"_s)})
                            << u"contains itself"_s;
    QTest::newRow("deep") << archive_of(chain(1000)) << u"more than is sensible"_s;
    QTest::newRow("no such object") << archive_of({77U}) << u"damaged"_s;
    QTest::newRow("no such class") << archive_of({object_of(9, u"NS.objects"_s, QVariantList())}) << u"damaged"_s;
    QTest::newRow("far time") << archive_of({object_of(2, u"NS.time"_s, 1e300), class_named(u"NSDate"_s)})
                              << u"time outside"_s;
    // Ten lists of ten lists of ten ...: 10^8 values in some hundred bytes.
    QVariantList bomb;
    for (uint level = 0; level < 8; ++level) {
        bomb.append(object_of(10, u"NS.objects"_s, QVariantList(10, level + 2)));
    }
    QTest::newRow("bomb") << archive_of(bomb + QVariantList{u"x"_s, class_named(u"NSArray"_s)})
                          << u"more than is sensible"_s;
    QByteArray many = to_binary_plist(QVariantList{1});
    many.replace(many.size() - 24, 8, QByteArray::fromHex("7fffffffffffffff"));
    QTest::newRow("forged count") << many << u"no binary property list"_s;
}

void tst_keyed_archive::refuses()
{
    QFETCH(QByteArray, archive);
    QFETCH(QString, reason);
    const archived_value read = read_keyed_archive(archive);
    QVERIFY2(read.error.contains(reason), qUtf8Printable(read.error));
    QVERIFY(!read.value.isValid());
}

void tst_keyed_archive::takes_any_damage()
{
    const QByteArray whole =
        to_keyed_archive(QVariantMap{{u"a"_s, QVariantList{1, 2.5, u"x"_s}}, {u"b"_s, QByteArray("y")}});
    for (qsizetype position = 0; position < whole.size(); ++position) {
        QVERIFY(!read_keyed_archive(whole.left(position)).error.isEmpty());
        for (const char value : {'\0', '\x7f', '\xff'}) {
            QByteArray damaged = whole;
            damaged[position] = value;
            const archived_value read = read_keyed_archive(damaged);
            QVERIFY(read.error.isEmpty() || !read.value.isValid());
        }
    }
}

void tst_keyed_archive::times_count_from_2001()
{
    QCOMPARE(time_since_2001(0), QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC));
    QCOMPARE(time_since_2001(606532289.572603), QDateTime(QDate(2020, 3, 22), QTime(1, 11, 29, 572), Qt::UTC));
    QCOMPARE(time_since_2001(-1), QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), Qt::UTC));
    QVERIFY(!time_since_2001(std::numeric_limits<double>::quiet_NaN()).isValid());
    QVERIFY(!time_since_2001(1e18).isValid());
}

QTEST_GUILESS_MAIN(tst_keyed_archive)
#include "tst_keyed_archive.moc"
