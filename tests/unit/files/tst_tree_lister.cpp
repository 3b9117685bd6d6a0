#include "host/files/tree_lister.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

class tst_tree_lister : public QObject
{
    Q_OBJECT

    static QByteArrayList met(const QByteArray& tree, const directory_lister& list)
    {
        QByteArrayList entries;
        const auto visit = [&entries](const tree_entry& entry) {
            entries.append(entry.path + ' ' + QByteArray::number(entry.facts.inode) + entry.listing_error.toUtf8());
            return true;
        };
        walk_tree(tree, visit, list);
        return entries;
    }

private slots:
    void walks_meet_what_is_there()
    {
        const QTemporaryDir folder;
        // More than is kept ahead, and names whose order as paths is another one than as bytes.
        for (const char* directory : {"1/a", "1/a/b/c", "1/a-b/.c", "1/a b/c", "1/a.b", "2/\xc3\xa4/b", "2/b"}) {
            for (int i = 0; i < 800; ++i) {
                write_file(folder.filePath(QString::fromUtf8(directory) + '/' + QString::number(i)), {});
            }
        }
        const QByteArray root = QFile::encodeName(folder.path());
        // The third lies in the first, and the order is not that of their paths.
        const std::vector<QByteArray> trees = {root + "/2", root + "/1", root + "/none", root + "/1/a"};
        tree_lister lister(trees);
        const auto list = [&lister](const QByteArray& path) { return lister.next(path); };
        for (const QByteArray& tree : trees) {
            QCOMPARE(met(tree, list), met(tree, quiet_list));
        }
        QCOMPARE(met(root, list), met(root, quiet_list)); // each once more, and what nobody spoke of

        const tree_lister left_early(trees);
    }
};

QTEST_APPLESS_MAIN(tst_tree_lister)
#include "tst_tree_lister.moc"
