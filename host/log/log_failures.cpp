#include "host/log/log_failures.h"

#include "host/files/quiet_reading.h"
#include "host/log/enciphered_log.h"
#include "support/shared_texts.h"

#include <QFile>

namespace {

constexpr qsizetype most_lines_kept = 100;

// What stands in place of the engine's name after a reset. It tells of the order of a host's calls, not of the work.
constexpr QByteArrayView engine_unknown(shared_texts::unknown_engine.data(), shared_texts::unknown_engine.size());
constexpr QByteArrayView message_begin("]:-- ");
constexpr QByteArrayView failure_word(shared_texts::failure_word.data(), shared_texts::failure_word.size());

class failure_counter
{
public:
    void take(const QByteArray& line)
    {
        const qsizetype engine = line.indexOf(engine_unknown);
        const qsizetype from = engine < 0 ? 0 : engine + engine_unknown.size();
        if (line.indexOf(failure_word, from) >= 0) {
            add(QString::fromUtf8(line));
            // Where nothing stands behind the dashes, the lines that follow name the reason and the path.
            lines_to_add = line.endsWith('-') && found.first.size() == found.count ? 2 : 0;
        } else if (lines_to_add > 0) {
            --lines_to_add;
            const qsizetype message = line.indexOf(message_begin);
            found.first.last() += QStringLiteral(" | ") +
                                  QString::fromUtf8(message < 0 ? line : line.mid(message + message_begin.size()));
        }
    }

    void add(const QString& line)
    {
        ++found.count;
        if (found.first.size() < most_lines_kept) {
            found.first.append(line);
        }
    }

    log_failures found;

private:
    int lines_to_add = 0;
};

} // namespace

log_failures read_log_failures(const QString& path, qint64 offset, bool enciphered)
{
    failure_counter counter;
    QFile file(path);
    // Opening a pipe would wait for a writer.
    const entry_kind kind = quiet_stat(QFile::encodeName(path), link_handling::follow).kind;
    if (kind == entry_kind::fifo || kind == entry_kind::device) {
        counter.found.problem = QStringLiteral("is no file: ") + kind_text(kind);
        return counter.found;
    }
    if (!file.open(QIODevice::ReadOnly) || !file.seek(offset)) {
        counter.found.problem = file.errorString();
        return counter.found;
    }
    if (enciphered) {
        enciphered_log log(file);
        for (enciphered_log::record record; log.next(record);) {
            if (record.problem.isEmpty()) {
                counter.take(record.text);
            } else {
                counter.add(QStringLiteral("record %1: %2").arg(record.number).arg(record.problem));
            }
        }
    } else {
        // The size promises an end that a failing read never reaches.
        for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
            counter.take(line.trimmed());
        }
    }
    if (file.error() != QFileDevice::NoError) {
        counter.found.problem = file.errorString();
    } else if (!file.atEnd()) {
        counter.found.problem = QStringLiteral("it cannot be read to its end");
    }
    return counter.found;
}
