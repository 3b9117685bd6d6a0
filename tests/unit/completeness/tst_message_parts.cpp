#include "host/completeness/emptied_parts.h"
#include "host/completeness/message_head.h"

#include <QTest>

namespace {

constexpr const char* marked = "X-Apple-Content-Length: 90\n\n\n";

/// The parts that a message lacks, "2:90 3.1:-1", read in pieces of a size.
QByteArray emptied(const QByteArray& message, qsizetype piece, bool* complete = nullptr)
{
    emptied_part_finder finder;
    for (qsizetype at = 0; at < message.size(); at += piece) {
        finder.add(QByteArrayView(message).sliced(at, std::min(piece, message.size() - at)));
    }
    QByteArrayList texts;
    for (const emptied_part& part : finder.finish()) {
        texts.append(part.number + ':' + QByteArray::number(part.length));
    }
    if (complete) {
        *complete = finder.is_complete();
    }
    return texts.join(' ');
}

QByteArray multipart(const QByteArray& boundary, const QByteArrayList& parts)
{
    QByteArray text = "Content-Type: multipart/mixed;\n\tboundary=\"" + boundary + "\"\n\npreamble\n";
    for (const QByteArray& part : parts) {
        text += "--" + boundary + '\n' + part;
    }
    return text + "--" + boundary + "--\n";
}

} // namespace

/// What a message file's beginning and its parts say.
class tst_message_parts : public QObject
{
    Q_OBJECT

private slots:
    void emptied_parts_are_found_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("parts");
        const auto row = [](const char* title, const QByteArray& message, const char* parts) {
            QTest::newRow(title) << message << QByteArray(parts);
        };
        const QByteArray text = "Content-Type: text/plain\n\nhello\n";
        const QByteArray gone = QByteArray("Content-Type: image/png\n") + marked;
        row("nothing taken out", multipart("a", {text, text}), "");
        row("one of two", "From: x\n" + multipart("a", {text, gone}), "2:90");
        row("the whole body", QByteArray("Content-Type: image/png\n") + marked, "1:90");
        row("nested ones count", multipart("a", {multipart("b", {text, gone}), gone}), "1.2:90 2:90");
        row("a boundary that begins another", multipart("a", {multipart("aa", {gone}), text, gone}), "1.1:90 3:90");
        row("marked, yet there", multipart("a", {"X-Apple-Content-Length: 5\n\nhello\n"}), "");
        row("marked as empty", multipart("a", {"X-Apple-Content-Length: 0\n\n\n"}), "");
        row("mark of no number", multipart("a", {"X-Apple-Content-Length: many\n\n\n"}), "1:-1");
        row("unmarked attachment", multipart("a", {"Content-Disposition: attachment\n\n\n"}), "1:-1");
        row("unmarked, named over two lines", multipart("a", {"Content-Type: text/calendar;\n name*=utf-8''x\n\n"}),
            "1:-1");
        row("unmarked and unnamed", multipart("a", {"Content-Type: text/plain\n\n \n"}), "");
        row("an embedded message that is gone",
            multipart("a", {text, QByteArray("Content-Type: message/rfc822\n") + marked}), "2:90");
        row("parts of an embedded message",
            multipart("a", {text, "Content-Type: message/rfc822\n\nFrom: y\n" + multipart("b", {text, gone})}),
            "2.2:90");
        row("an embedded message of one part",
            multipart("a", {"Content-Type: message/rfc822\n\nFrom: y\n" + QByteArray(marked)}), "1.1:90");
        row("last boundary cut", "Content-Type: multipart/mixed; boundary=a\n\n--a\n" + gone + "--a-", "1:90");
        row("no end", "Content-Type: multipart/mixed; boundary=a\n\n--a\n" + gone, "1:90");
        row("end within a header", "Content-Type: multipart/mixed; boundary=a\n\n--a\nX-Apple-Content-Length: 9",
            "1:9");
        row("inner boundary missing",
            multipart("a", {"Content-Type: multipart/mixed; boundary=b\n\n--b\n" + gone, gone}), "1.1:90 2:90");
        row("line ends of two bytes", QByteArray(multipart("a", {text, gone})).replace("\n", "\r\n"), "2:90");
        row("a line longer than any that matters", multipart("a", {"\n" + QByteArray(100'000, 'x') + '\n', gone}),
            "2:90");
        row("no message", QByteArray("\0\xff--\n--\n\n--a\n", 12), "");
    }

    void emptied_parts_are_found()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, parts);
        for (const qsizetype piece : {1, 7, 65'536}) {
            bool complete = false;
            QCOMPARE(emptied(message, piece, &complete), parts);
            QVERIFY(complete);
        }
    }

    void too_many_and_too_deep_parts_are_said()
    {
        QByteArray deep;
        QByteArray wide = "Content-Type: multipart/mixed; boundary=a\n\n";
        for (int i = 0; i < 30'000; ++i) {
            const QByteArray boundary = QByteArray::number(i);
            deep += "Content-Type: multipart/mixed; boundary=x" + boundary + "\n\n--x" + boundary + '\n';
            wide += "--a\nContent-Disposition: attachment\n\n";
        }
        for (const QByteArray& message :
             {deep, wide, QByteArray("Content-Type: message/rfc822\n\n").repeated(30'000)}) {
            bool complete = true;
            emptied(message, 65'536, &complete);
            QVERIFY(!complete);
        }
    }

    void heads_are_judged_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("problem");
        const auto row = [](const QByteArray& file, const char* problem) {
            QTest::newRow(file.left(30).toPercentEncoding(" :").constData()) << file << QByteArray(problem);
        };
        row("9         \nFrom: a\n\n<?xml", "");
        row("9\nFrom: a\n\n", "");
        row("9 \r\nFrom: a\n\n", "");
        row("19\nFrom x today\nTo : b\n", "");
        row("", "is empty");
        row("From: a\n\n", "does not begin with a byte count");
        row("9", "does not begin with a byte count");
        row("-9\nFrom: a\n\n", "does not begin with a byte count");
        row("9999999999999999999\nFrom: a\n\n", "does not begin with a byte count");
        row(QByteArray(70, ' ') + "9\nFrom: a\n\n", "does not begin with a byte count");
        row("10\nFrom: a\n\n", "is cut");
        row("999999999999999999\nFrom: a\n\n", "is cut");
        row("0\n<?xml", "holds a message of no bytes");
        row(QByteArray("9\n\0\0\0\0\0\0\0\0\0", 11), "does not begin as a message does");
        row("4\nFrom: a\n\n", "does not begin as a message does");
    }

    void heads_are_judged()
    {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, problem);
        const message_head head = judge_message_head(file, file.size());
        QCOMPARE(head.problem.left(problem.size()), QString::fromLatin1(problem));
        QCOMPARE(head.problem.isEmpty(), problem.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_message_parts)
#include "tst_message_parts.moc"
