#include "host/cases/generations.h"

#include "host/cases/shared_files.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

const QString prefix = QStringLiteral(".generation-");

QStringList claims_in(const QString& directory)
{
    forget_remembered_names(directory);
    return QDir(directory).entryList({prefix + QLatin1Char('*')}, QDir::Files | QDir::Hidden, QDir::Unsorted);
}

/// Returns the number that a claim's name tells; 0 for any other name.
qint64 number_in(const QString& name)
{
    bool is_number = false;
    const qint64 number = name.mid(prefix.size()).toLongLong(&is_number);
    return is_number && number > 0 && number <= most_generations && name == prefix + QString::number(number) ? number
                                                                                                             : 0;
}

} // namespace

qint64 highest_generation(const QString& directory)
{
    qint64 highest = 0;
    for (const QString& name : claims_in(directory)) {
        highest = std::max(highest, number_in(name));
    }
    return highest;
}

qint64 claim_generation(const QString& directory, qint64 lowest)
{
    QString error;
    const QString file = write_private_file(directory, "generation\n", error);
    if (file.isEmpty()) {
        refuse(error);
    }
    qint64 number = std::max(lowest, highest_generation(directory) + 1);
    claim_result made = link_exclusively(file, directory + QLatin1Char('/') + prefix + QString::number(number));
    while (made.outcome == claim::exists) {
        number = std::max(number, highest_generation(directory)) + 1;
        made = link_exclusively(file, directory + QLatin1Char('/') + prefix + QString::number(number));
    }
    QFile::remove(file);
    if (made.outcome != claim::made) {
        refuse(QStringLiteral("cannot claim generation %1 in %2: %3").arg(number).arg(directory, made.error));
    }
    return number;
}

void forget_generations_below(const QString& directory, qint64 generation)
{
    for (const QString& name : claims_in(directory)) {
        if (const qint64 number = number_in(name); number > 0 && number < generation) {
            QFile::remove(directory + QLatin1Char('/') + name);
        }
    }
}
