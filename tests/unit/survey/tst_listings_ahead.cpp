#include "host/survey/listings_ahead.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

#include <future>

class tst_listings_ahead : public QObject
{
    Q_OBJECT

    static QByteArrayList names_in(const directory_listing& listing)
    {
        QByteArrayList names{listing.error.toUtf8()};
        for (const named_entry& entry : listing.entries) {
            names.append(entry.name + ' ' + QByteArray::number(entry.facts.inode));
        }
        return names;
    }

    /// Walks a tree by the listings of a reader, leaving out what `goes_into` does not want; returns what is not as in
    /// the directories themselves.
    template <typename wish>
    static QByteArrayList differences(listings_ahead& ahead, listings_ahead::reader who, const QByteArray& tree,
                                      const wish& goes_into)
    {
        QByteArrayList differing;
        const auto list = [&](const QByteArray& path) {
            if (!goes_into(path)) {
                return directory_listing();
            }
            directory_listing listing = ahead.next(who, path);
            if (names_in(listing) != names_in(quiet_list(path))) {
                differing.append(path);
            }
            return listing;
        };
        walk_tree(
            tree, [](const tree_entry&) { return true; }, list);
        return differing;
    }

private slots:
    void both_readers_see_every_directory()
    {
        const QTemporaryDir folder;
        // More than is kept waiting, and names whose order as paths is another one than as bytes.
        for (const char* directory : {"1/a", "1/a/b", "1/a-b/.c", "1/a b/c", "1/a.b", "2/\xc3\xa4/b", "2/b"}) {
            for (int i = 0; i < 800; ++i) {
                write_file(folder.filePath(QString::fromUtf8(directory) + '/' + QString::number(i)), {});
            }
        }
        const QByteArray root = QFile::encodeName(folder.path());
        const std::vector<QByteArray> trees = {root + "/1", root + "/2", root + "/none"};
        listings_ahead ahead(trees);
        const auto everything = [](const QByteArray&) { return true; };
        std::future<QByteArrayList> other = std::async(std::launch::async, [&] {
            const auto part = [](const QByteArray& path) { return !path.endsWith("/a") && !path.endsWith("/.c"); };
            QByteArrayList differing = differences(ahead, listings_ahead::reader::second, trees[0], part);
            // As behind a link, which leads back; from then on there is no order in what is asked.
            differing += differences(ahead, listings_ahead::reader::second, root + "/1/a", everything);
            ahead.leave(listings_ahead::reader::second);
            return differing;
        });
        for (const QByteArray& tree : trees) {
            QCOMPARE(differences(ahead, listings_ahead::reader::first, tree, everything), QByteArrayList());
        }
        ahead.leave(listings_ahead::reader::first);
        QCOMPARE(other.get(), QByteArrayList());
    }
};

QTEST_APPLESS_MAIN(tst_listings_ahead)
#include "tst_listings_ahead.moc"
