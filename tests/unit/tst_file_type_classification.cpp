#include "support/plugin_helper_functions.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>

using extension_buckets = plugin_helper_functions::extension_buckets;

namespace {

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

QStringList all_entries(const extension_buckets& buckets)
{
    QStringList entries;
    for (const QStringList& bucket : buckets) {
        entries += bucket;
    }
    return entries;
}

} // namespace

class tst_file_type_classification : public QObject
{
    Q_OBJECT

private slots:
    void lists_have_their_size_and_ends_data();
    void lists_have_their_size_and_ends();
    void entries_are_in_form_and_order();
    void buckets_are_filled_as_planned();
    void names_are_classified_data();
    void names_are_classified();
    void cancelled_checks_are_false();

private:
    plugin_helper_functions helper{nullptr};
    const QList<const extension_buckets*> lists{&helper.image_extensions(), &helper.audio_extensions(),
                                                &helper.video_extensions()};
};

void tst_file_type_classification::lists_have_their_size_and_ends_data()
{
    QTest::addColumn<int>("list");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("distinct");
    QTest::addColumn<QStringList>("first");
    QTest::addColumn<QStringList>("last");
    QTest::addColumn<QStringList>("known");
    QTest::addColumn<QStringList>("unknown");

    QTest::newRow("image") << 0 << 570 << 548 << words(".001 .2bp .36 .411 .73i .8pbs") << words(".zgm .zif")
                           << words(".jpg .jpeg .png .gif .tif .tiff .bmp .accountpicture-ms") << words(".heic");
    QTest::newRow("audio") << 1 << 571 << 545 << words(".2sf .2sflib .3ga .4mp .669") << words(".zvd .zvr")
                           << words(".mp3 .m4a .wav .aac .flac .ogg .wma .amr .caf .aiff")
                           << words(".mov .mp4 .m4v .wmv .webm .mpg");
    QTest::newRow("video") << 2 << 136 << 133 << words(".264 .3g2 .3gp") << words(".hdmov .hkm .mov .mkv .mp4")
                           << words(".mov .mp4 .avi .mkv .3gp .flv") << words(".m4v .wmv .webm .mpg");
}

void tst_file_type_classification::lists_have_their_size_and_ends()
{
    QFETCH(const int, list);
    QFETCH(const QStringList, first);
    QFETCH(const QStringList, last);
    QFETCH(const QStringList, known);
    QFETCH(const QStringList, unknown);

    const QStringList entries = all_entries(*lists[list]);
    QTEST(static_cast<int>(entries.size()), "size");
    QTEST(static_cast<int>(QSet<QString>(entries.begin(), entries.end()).size()), "distinct");
    QCOMPARE(entries.first(first.size()), first);
    QCOMPARE(entries.last(last.size()), last);
    for (const QString& entry : known + unknown) {
        QVERIFY2(entries.contains(entry) == known.contains(entry), qPrintable(entry));
    }
    QCOMPARE(entries.count(QStringLiteral(".tif")), list == 0 ? 2 : 0);
    QCOMPARE(entries.count(QStringLiteral(".wav")), list == 1 ? 2 : 0);
}

void tst_file_type_classification::entries_are_in_form_and_order()
{
    const QString first_characters = QStringLiteral("0123456789abcdefghijklmnopqrstuvwxyz");
    const QRegularExpression form(QStringLiteral("^\\.[a-z0-9][a-z0-9-]*$"));
    for (const extension_buckets* buckets : lists) {
        for (size_t index = 0; index < buckets->size(); ++index) {
            const QStringList& bucket = (*buckets)[index];
            for (const QString& entry : bucket) {
                QVERIFY2(form.match(entry).hasMatch(), qPrintable(entry));
                QCOMPARE(entry.at(1), first_characters.at(static_cast<qsizetype>(index)));
            }
            const bool final_video_entries = bucket == words(".mov .mkv .mp4");
            QVERIFY2(final_video_entries || std::ranges::is_sorted(bucket), qPrintable(bucket.join(u' ')));
        }
    }
}

void tst_file_type_classification::buckets_are_filled_as_planned()
{
    QCOMPARE(helper.image_extensions()[10 + ('p' - 'a')].size(), 86);
    for (const extension_buckets* buckets : lists) {
        const auto as_large = [](const QStringList& bucket) { return bucket.size() >= 86; };
        QCOMPARE(std::ranges::count_if(*buckets, as_large), buckets == lists.first() ? 1 : 0);
    }

    QString filled;
    for (const QStringList& bucket : helper.video_extensions()) {
        filled += bucket.isEmpty() ? QString() : bucket.first().at(1);
    }
    QCOMPARE(filled, QStringLiteral("2367abcdefghm"));
}

void tst_file_type_classification::names_are_classified_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("image");
    QTest::addColumn<bool>("audio");
    QTest::addColumn<bool>("video");

    QTest::newRow("upper case") << "Photo.JPG" << true << false << false;
    QTest::newRow("blanks around") << "  photo.jpg \t" << true << false << false;
    QTest::newRow("trailing dot") << "photo.jpg." << false << false << false;
    QTest::newRow("dot before blanks") << "photo.jpg. " << false << false << false;
    QTest::newRow("no dot") << "jpg" << false << false << false;
    QTest::newRow("empty") << "" << false << false << false;
    QTest::newRow("last extension only") << "photo.jpg.gz" << false << false << false;
    QTest::newRow("underscore") << "a._jpg" << false << false << false;
    QTest::newRow("umlaut") << QStringLiteral(u"a.\u00e4bc") << false << false << false;
    QTest::newRow("foreign digit") << QStringLiteral(u"a.\u0663gp") << false << false << false;
    QTest::newRow("audio in an empty video bucket") << "song.wav" << false << true << true;
    QTest::newRow("audio in a walked video bucket") << "song.mp3" << false << true << true;
    QTest::newRow("video") << "clip.mov" << false << false << true;
    QTest::newRow("video of no list") << "clip.wmv" << false << false << false;
}

void tst_file_type_classification::names_are_classified()
{
    QFETCH(const QString, name);
    QTEST(helper.check_is_image_by_extn(name), "image");
    QTEST(helper.check_is_audio_by_extn(name), "audio");
    QTEST(helper.check_is_video_by_extn(name), "video");
}

void tst_file_type_classification::cancelled_checks_are_false()
{
    helper.set_cancel_extraction(true);
    QVERIFY(!helper.check_is_image_by_extn(QStringLiteral("photo.jpg")));
    QVERIFY(!helper.check_is_audio_by_extn(QStringLiteral("song.mp3")));
    QVERIFY(!helper.check_is_video_by_extn(QStringLiteral("clip.mov")));
    QVERIFY(!helper.check_is_video_by_extn(QStringLiteral("song.wav")));

    helper.set_essentials();
    QVERIFY(helper.check_is_video_by_extn(QStringLiteral("song.wav")));
}

QTEST_GUILESS_MAIN(tst_file_type_classification)
#include "tst_file_type_classification.moc"
