#include "sample/sample_random.h"

#include <QDateTime>
#include <QUuid>

sample_random::sample_random(quint32 seed, QStringView topic) : state(0xcbf29ce484222325ULL)
{
    for (const char byte : topic.toUtf8()) {
        state = (state ^ static_cast<unsigned char>(byte)) * 0x100000001b3ULL;
    }
    state ^= quint64{seed} * 0x9e3779b97f4a7c15ULL;
}

quint64 sample_random::next()
{
    quint64 mixed = state += 0x9e3779b97f4a7c15ULL;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebULL;
    return mixed ^ (mixed >> 31);
}

int sample_random::below(int bound)
{
    return static_cast<int>(next() % static_cast<quint64>(bound));
}

QString sample_random::uuid()
{
    QByteArray id = bytes(16);
    id[6] = static_cast<char>((id[6] & 0x0f) | 0x40);
    id[8] = static_cast<char>((id[8] & 0x3f) | 0x80);
    return QUuid::fromRfc4122(id).toString(QUuid::WithoutBraces).toUpper();
}

QByteArray sample_random::bytes(qsizetype size)
{
    QByteArray result(size, Qt::Uninitialized);
    quint64 value = 0;
    for (qsizetype i = 0; i < size; ++i) {
        value = i % 8 == 0 ? next() : value >> 8;
        result[i] = static_cast<char>(value & 0xff);
    }
    return result;
}

sample_time sample_random::time_between(int first_year, int last_year)
{
    const qint64 begin = QDate(first_year, 1, 1).startOfDay(Qt::UTC).toSecsSinceEpoch();
    const qint64 end = QDate(last_year + 1, 1, 1).startOfDay(Qt::UTC).toSecsSinceEpoch();
    const qint64 seconds = begin + static_cast<qint64>(next() % static_cast<quint64>(end - begin));
    const bool whole = below(2) == 0;
    return {seconds, whole ? 0 : below(1'000'000'000)};
}
