#include "bench/bench_worker.h"

#include <QCoreApplication>

bench_worker::bench_worker(const QStringList& arguments)
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), arguments);
}

bool bench_worker::take_turn()
{
    process.write("\n");
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(-1)) {
            qFatal("the measurement %s failed", qPrintable(process.arguments().join(QLatin1Char(' '))));
        }
    }
    const QList<QByteArray> words = process.readLine().trimmed().split(' ');
    if (words.first() == bench_end_word) {
        for (const QByteArray& word : words.mid(1)) {
            end.push_back(word.toDouble());
        }
        process.waitForFinished(-1);
        return false;
    }
    turns.push_back(words.at(1).toDouble() / words.at(0).toDouble());
    return true;
}
