#include "host/text/csv.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"
#include "host/text/text_table.h"

#include <QTest>

class tst_text_layout : public QObject
{
    Q_OBJECT

private slots:
    void widths_and_shortening_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("in_six_columns");
        QTest::newRow("plain") << "abcdefgh" << 8 << "abc…gh";
        QTest::newRow("composed and not") << QString("Ju\u0308rgen\u00FC") << 7 << QString("Ju\u0308r…n\u00FC");
        QTest::newRow("Chinese") << QString("郵件收件匣") << 10 << QString("郵…匣");
        QTest::newRow("fullwidth, halfwidth") << QString("ＡＢｱｲ") << 6 << QString("ＡＢｱｲ");
        QTest::newRow("Korean, decomposed") << QString("한글").normalized(QString::NormalizationForm_D) << 4
                                            << QString("한글").normalized(QString::NormalizationForm_D);
        QTest::newRow("emoji") << QString("mail \U0001F4E7 \U0001F600") << 10 << QString("mai…\U0001F600");
    }

    void widths_and_shortening()
    {
        QFETCH(QString, text);
        QTEST(int(text_width(text)), "width");
        QTEST(shortened_in_middle(text, 6), "in_six_columns");
    }

    void names_that_differ_look_different()
    {
        QCOMPARE(display_text(QByteArray("\xef\xbb\xbfx\xff\xef\xbb\xbf\xef\xbb\xbf")),
                 "\\u{feff}x\\xff\\u{feff}\\u{feff}");
    }

    void lines_break_between_words_alone()
    {
        QCOMPARE(wrapped("one two three", 7), QStringList({"one two", "three"}));
        QCOMPARE(wrapped("a unbreakable 郵件 收件匣 z", 7), QStringList({"a", "unbreakable", "郵件", "收件匣", "z"}));
        QCOMPARE(wrapped("", 7), QStringList(""));
    }

    void wide_characters_align_and_small_screens_get_blocks()
    {
        const QList<table_column> columns{{"user", false, narrow_column}, {"files", true}};
        const QList<QStringList> rows{{"郵件", "1"}, {"anna maria", "1,234"}};
        QCOMPARE(table_lines(columns, rows, 80).mid(2), QStringList({"郵件            1", "anna maria  1,234"}));
        QCOMPARE(table_lines(columns, rows, 15).last(), "anna…ria  1,234");
        QCOMPARE(table_lines(columns, rows, 14).mid(3), QStringList({"user   anna maria", "files  1,234"}));
    }

    void spreadsheets_run_nothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("guarded");
        for (const QByteArray text :
             {"=1+1", "+SUM(1)", "-cmd|' /C calc'!A0", "@SUM(1)", "\t=1", "\r=1", "-", "+1e9", "=12"}) {
            QTest::addRow("%s", text.toPercentEncoding().constData()) << text << true;
        }
        for (const QByteArray text : {"", "a=1", "-12", "+4912", "'=1", " =1", "anna@example.org"}) {
            QTest::addRow("plain %s", text.toPercentEncoding().constData()) << text << false;
        }
    }

    void spreadsheets_run_nothing()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, guarded);
        QCOMPARE(spreadsheet_text(text), guarded ? "'" + text : text);
    }
};

QTEST_APPLESS_MAIN(tst_text_layout)
#include "tst_text_layout.moc"
