#include "host/text/path_numbers.h"

#include <QTest>

class tst_path_numbers : public QObject
{
    Q_OBJECT

private slots:
    void a_path_keeps_its_number()
    {
        path_numbers paths;
        QVERIFY(!paths.find("/"));
        QByteArrayList given{"", "/", "//", "/a", "a", "a/", "a//b", "/a/b", "/b/a", "/b", "ab", "/\xff\xfe"};
        for (int i = 0; i < 1000; ++i) {
            given.append("/a/" + QByteArray::number(i % 100) + '/' + QByteArray::number(i));
        }
        std::vector<quint32> numbers;
        for (const QByteArray& path : given) {
            numbers.push_back(paths.add(path));
        }
        for (qsizetype at = 0; at < given.size(); ++at) {
            const quint32 number = numbers[std::size_t(at)];
            QCOMPARE(paths.path_of(number), given[at]);
            QCOMPARE(paths.find(given[at]), std::optional(number));
            QCOMPARE(paths.add(given[at]), number);
            QVERIFY(!paths.find(given[at] + "/absent"));
        }
        QCOMPARE(paths.add_below(numbers[3], "b"), numbers[7]);
    }
};

QTEST_APPLESS_MAIN(tst_path_numbers)
#include "tst_path_numbers.moc"
