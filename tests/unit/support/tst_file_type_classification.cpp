#include "support/plugin_helper_functions.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>

using extension_buckets = plugin_helper_functions::extension_buckets;

class tst_file_type_classification : public QObject
{
    Q_OBJECT

private slots:
    void lists_are_whole_and_in_order_data()
    {
        QTest::addColumn<const extension_buckets*>("list");
        QTest::addColumn<QString>("sizes"); // of the list, of its distinct entries, of its largest bucket
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::newRow("image") << &helper.image_extensions() << "570 548 86"
                               << ".001 .2bp .36 .411 .73i .8pbs"
                               << ".zgm .zif";
        QTest::newRow("audio") << &helper.audio_extensions() << "571 545 66"
                               << ".2sf .2sflib .3ga .4mp .669"
                               << ".zvd .zvr";
        QTest::newRow("video") << &helper.video_extensions() << "136 133 30"
                               << ".264 .3g2 .3gp"
                               << ".hdmov .hkm .mov .mkv .mp4";
    }

    void lists_are_whole_and_in_order()
    {
        QFETCH(const extension_buckets*, list);
        QFETCH(const QString, first);
        QFETCH(const QString, last);
        const QString first_characters = "0123456789abcdefghijklmnopqrstuvwxyz";
        const QRegularExpression form("^\\.[a-z0-9][a-z0-9-]*$");
        QStringList entries;
        qsizetype largest = 0;
        for (size_t index = 0; index < list->size(); ++index) {
            const QStringList& bucket = (*list)[index];
            const bool are_last_of_video = bucket.join(' ') == ".mov .mkv .mp4";
            QVERIFY2(are_last_of_video || std::ranges::is_sorted(bucket), qPrintable(bucket.join(' ')));
            for (const QString& entry : bucket) {
                QVERIFY2(form.match(entry).hasMatch(), qPrintable(entry));
                QCOMPARE(entry.at(1), first_characters.at(static_cast<qsizetype>(index)));
            }
            entries += bucket;
            largest = std::max(largest, bucket.size());
        }
        const QSet<QString> distinct(entries.begin(), entries.end());
        QTEST(QString("%1 %2 %3").arg(entries.size()).arg(distinct.size()).arg(largest), "sizes");
        QVERIFY2(entries.join(' ').startsWith(first) && entries.join(' ').endsWith(last), "the ends differ");
    }

    void names_are_classified_data()
    {
        QTest::addColumn<QString>("classes");
        const auto rows = [](const char* classes, const QStringList& names) {
            for (const QString& name : names) {
                QTest::newRow(qPrintable('"' + name + '"')) << classes;
            }
        };
        rows("image ", {"Photo.JPG", "  photo.jpg \t", ".jpeg", "a.b.png", "a.accountpicture-ms"});
        // A file of sound counts as video too, whether or not the video list has a bucket for its letter.
        rows("audio video ", {"song.wav", "song.mp3", "a.m4a", "a.aiff"});
        rows("video ", {"clip.mov", "clip.mp4", "a.flv"});
        rows("", {"", "jpg", "photo.jpg.", "photo.jpg. ", "photo.jpg.gz", "a._jpg", QStringLiteral(u"a.\u00e4bc"),
                  QStringLiteral(u"a.\u0663gp"), "a.heic", "a.wmv", "a.m4v", "a.webm", "a.mpg"});
    }

    void names_are_classified()
    {
        const QString name = QString::fromUtf8(QTest::currentDataTag());
        QTEST(classes_of(name.mid(1, name.size() - 2)), "classes");
    }

    void cancelled_checks_are_false()
    {
        helper.set_cancel_extraction(true);
        for (const char* name : {"photo.jpg", "song.mp3", "clip.mov", "song.wav"}) {
            QCOMPARE(classes_of(name), "");
        }
        helper.set_essentials();
        QCOMPARE(classes_of("song.wav"), "audio video ");
    }

private:
    QString classes_of(const QString& name)
    {
        return QString(helper.check_is_image_by_extn(name) ? "image " : "") +
               (helper.check_is_audio_by_extn(name) ? "audio " : "") +
               (helper.check_is_video_by_extn(name) ? "video " : "");
    }

    plugin_helper_functions helper{nullptr};
};

QTEST_GUILESS_MAIN(tst_file_type_classification)
#include "tst_file_type_classification.moc"
