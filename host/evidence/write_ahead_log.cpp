#include "host/evidence/write_ahead_log.h"

#include <QFile>
#include <QtEndian>

#include <array>

namespace {

// The log's header, and the head of each frame before its page; all numbers are big-endian.
constexpr qint64 header_size = 32;
constexpr qint64 frame_head_size = 24;
constexpr quint32 little_endian_sums = 0x377f0682;
constexpr quint32 big_endian_sums = 0x377f0683;
constexpr quint32 format_version = 3007000;
constexpr qsizetype header_salts_at = 16;
constexpr qsizetype header_sum_at = 24;
constexpr qsizetype frame_salts_at = 8;
constexpr qsizetype frame_sum_at = 16;
// Of a frame's head, only page number and size are in its sum.
constexpr qsizetype summed_of_frame_head = 8;
// Each round of the log has a first salt one higher than the round before.
constexpr quint32 most_rounds_back = 1 << 20;

using pair_of_numbers = std::array<quint32, 2>;

quint32 number_at(const QByteArray& bytes, qsizetype position)
{
    return qFromBigEndian<quint32>(bytes.constData() + position);
}

pair_of_numbers pair_at(const QByteArray& bytes, qsizetype position)
{
    return {number_at(bytes, position), number_at(bytes, position + 4)};
}

/// Follows a log from frame to frame as SQLite does.
class log_reader
{
public:
    log_reader(const QByteArray& path, const QByteArray& head_of_index, const std::function<bool()>& asked)
        : file(QFile::decodeName(path))
        , index_head(head_of_index)
        , cancelled(asked)
    {
    }

    QString passed_over();

private:
    QString header_problem();
    QString frame_problem(qint64 begin);
    QString leftover_problem(qint64 begin);
    qint64 frames_in_index() const;
    void add_to_sum(const char* bytes, qsizetype count);
    static QString at(const QString& reason, qint64 offset)
    {
        return QStringLiteral("the write-ahead log is damaged at byte %1 (%2): rows may be missing")
            .arg(QString::number(offset), reason);
    }

    QFile file;
    const QByteArray& index_head;
    const std::function<bool()>& cancelled;
    qint64 page_size = 0;
    bool sums_are_big_endian = false;
    pair_of_numbers salts{};
    pair_of_numbers sum{};
    qint64 unfinished_at = -1; ///< the first frame of a change whose end has not come
    qint64 sound_frames = 0;   ///< of this round
    quint32 rounds_back = 0;   ///< of the leftover frame seen last; 0 before the first
    QByteArray frame;
};

void log_reader::add_to_sum(const char* bytes, qsizetype count)
{
    for (qsizetype i = 0; i < count; i += 8) {
        const auto word = [&](qsizetype position) {
            return sums_are_big_endian ? qFromBigEndian<quint32>(bytes + position)
                                       : qFromLittleEndian<quint32>(bytes + position);
        };
        sum[0] += word(i) + sum[1];
        sum[1] += word(i + 4) + sum[0];
    }
}

QString log_reader::header_problem()
{
    const QByteArray header = file.read(header_size);
    if (header.size() < header_size) {
        return at(QStringLiteral("its header is cut off"), header.size());
    }
    const quint32 magic = number_at(header, 0);
    sums_are_big_endian = magic == big_endian_sums;
    page_size = number_at(header, 8);
    add_to_sum(header.constData(), header_sum_at);
    const bool is_sound = (magic == little_endian_sums || magic == big_endian_sums) &&
                          number_at(header, 4) == format_version && page_size >= 512 && page_size <= 65536 &&
                          (page_size & (page_size - 1)) == 0 && sum == pair_at(header, header_sum_at);
    salts = pair_at(header, header_salts_at);
    return is_sound ? QString() : at(QStringLiteral("its header is none"), 0);
}

/// Judges a frame behind the last one that counts: it may be of an earlier round, which this one did not yet overwrite.
QString log_reader::leftover_problem(qint64 begin)
{
    const quint32 back = salts[0] - number_at(frame, frame_salts_at);
    const bool is_earlier = back >= 1 && back <= most_rounds_back && back >= rounds_back;
    rounds_back = back;
    return is_earlier ? QString() : at(QStringLiteral("a frame that does not belong to those before it"), begin);
}

QString log_reader::frame_problem(qint64 begin)
{
    if (rounds_back > 0) {
        return leftover_problem(begin);
    }
    add_to_sum(frame.constData(), summed_of_frame_head);
    add_to_sum(frame.constData() + frame_head_size, page_size);
    const bool is_of_this_round = pair_at(frame, frame_salts_at) == salts;
    const bool sum_holds = pair_at(frame, frame_sum_at) == sum;
    if (!is_of_this_round && !sum_holds) {
        return leftover_problem(begin);
    }
    if (!is_of_this_round || !sum_holds || number_at(frame, 0) == 0) {
        return at(QStringLiteral("a frame whose checksum does not hold"), begin);
    }
    ++sound_frames;
    const bool ends_change = number_at(frame, 4) != 0;
    unfinished_at = ends_change ? -1 : unfinished_at < 0 ? begin : unfinished_at;
    return {};
}

/// Returns how many frames the index tells of; 0 when it is of another round or none at all. Its numbers have the order
/// of the machine, the salts are as in the log.
qint64 log_reader::frames_in_index() const
{
    constexpr qsizetype frames_at = 16;
    constexpr qsizetype index_salts_at = 32;
    if (index_head.size() < log_index_head_size || pair_at(index_head, index_salts_at) != salts) {
        return 0;
    }
    const char* frames = index_head.constData() + frames_at;
    if (qFromLittleEndian<quint32>(index_head.constData()) == format_version) {
        return qFromLittleEndian<quint32>(frames);
    }
    return number_at(index_head, 0) == format_version ? qFromBigEndian<quint32>(frames) : 0;
}

QString log_reader::passed_over()
{
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("the write-ahead log cannot be checked: ") + file.errorString();
    }
    if (file.size() == 0) {
        return {};
    }
    if (const QString problem = header_problem(); !problem.isEmpty()) {
        return problem;
    }
    const qint64 frame_size = frame_head_size + page_size;
    for (qint64 begin = header_size; begin < file.size(); begin += frame_size) {
        if (cancelled()) {
            return QStringLiteral("the write-ahead log is checked up to byte %1 only: cancelled").arg(begin);
        }
        frame = file.read(frame_size);
        if (frame.size() < frame_size) {
            return at(QStringLiteral("a frame that is cut off"), begin);
        }
        if (const QString problem = frame_problem(begin); !problem.isEmpty()) {
            return problem;
        }
    }
    if (file.size() < header_size + frames_in_index() * frame_size) {
        return at(
            QStringLiteral("ends before the last of the %1 frames that its index tells of").arg(frames_in_index()),
            file.size());
    }
    if (sound_frames < frames_in_index()) {
        return at(QStringLiteral("not one of the %1 frames that its index tells of").arg(frames_in_index()),
                  header_size + sound_frames * frame_size);
    }
    // A header is written together with the first frame of its round.
    if (sound_frames == 0 && file.size() > header_size) {
        return at(QStringLiteral("a frame that does not belong to its header"), header_size);
    }
    return unfinished_at < 0 ? QString() : at(QStringLiteral("a change whose end is not there"), unfinished_at);
}

} // namespace

QString passed_over_in_log(const QByteArray& path, const QByteArray& index_head, const std::function<bool()>& cancelled)
{
    return log_reader(path, index_head, cancelled).passed_over();
}
