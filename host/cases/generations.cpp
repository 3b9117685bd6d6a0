#include "host/cases/generations.h"

#include "host/cases/shared_files.h"
#include "host/text/failure.h"

#include <QFile>
#include <QUuid>

#include <algorithm>

namespace {

const QString prefix = QStringLiteral(".generation-");

/// Returns the number that a claim's name tells; 0 for any other.
qint64 number_in(const QString& name)
{
    bool is_number = false;
    const qint64 number = name.mid(prefix.size()).toLongLong(&is_number);
    return is_number && number > 0 && number <= most_generations && name == prefix + QString::number(number) ? number
                                                                                                             : 0;
}

QString path_of_claim(const QString& directory, qint64 number)
{
    return directory + QLatin1Char('/') + prefix + QString::number(number);
}

QByteArray text_of_claim(const QString& key)
{
    return key.toUtf8() + '\n';
}

} // namespace

std::optional<generation_claim> generation_claim::make(const QString& directory, qint64 number)
{
    generation_claim claim(number, QUuid::createUuid().toString(QUuid::WithoutBraces));
    QString error;
    claim.second_name = write_private_file(directory, text_of_claim(claim.key()), error);
    if (claim.second_name.isEmpty()) {
        refuse(error);
    }
    const claim_result made = link_exclusively(claim.second_name, path_of_claim(directory, number));
    if (made.outcome == claim::exists) {
        return std::nullopt;
    }
    if (made.outcome != claim::made) {
        refuse(QStringLiteral("cannot claim generation %1 in %2: %3").arg(number).arg(directory, made.error));
    }
    return claim;
}

generation_claim::~generation_claim()
{
    if (!second_name.isEmpty()) {
        QFile::remove(second_name);
    }
}

QList<qint64> claimed_numbers(const QString& directory)
{
    QList<qint64> numbers;
    for (const QString& name : names_in(directory)) {
        if (const qint64 number = number_in(name); number > 0) {
            numbers.append(number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

highest_claim look_at_claims(const QString& directory)
{
    highest_claim highest;
    if (const QList<qint64> numbers = claimed_numbers(directory); !numbers.isEmpty()) {
        highest.number = numbers.last();
        const stamped_file file = read_stamped(path_of_claim(directory, highest.number));
        highest.is_open = file.names > 1;
        highest.written_ns = file.written_ns;
    }
    return highest;
}

std::optional<bool> is_claimed(const QString& directory, qint64 number, const QString& key, QString& error)
{
    forget_remembered_names(directory);
    const stamped_file file = read_stamped(path_of_claim(directory, number));
    error = file.error;
    return file.error.isEmpty() ? std::optional(file.exists && file.content == text_of_claim(key)) : std::nullopt;
}

void forget_generation(const QString& directory, qint64 number)
{
    QFile::remove(path_of_claim(directory, number));
}
