#include "host/run/case_file.h"

#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>

namespace {

constexpr qint64 largest_case_file = 1 << 20;

void check_members(const QString& path, const QJsonObject& object)
{
    for (auto member = object.begin(); member != object.end(); ++member) {
        const bool is_known = std::any_of(case_fields.begin(), case_fields.end(), [&member](const case_field& field) {
            return member.key() == QLatin1String(field.name);
        });
        if (!is_known || !member->isString()) {
            refuse(QStringLiteral("cannot use the case data in %1: \"%2\" %3")
                       .arg(path, member.key(),
                            is_known ? QStringLiteral("is no text") : QStringLiteral("is no member of case data")));
        }
    }
}

} // namespace

case_data case_data_of(const run_options& options)
{
    if (options.case_file.isEmpty()) {
        return options.about;
    }
    const quiet_data content =
        quiet_read(QFile::encodeName(options.case_file), largest_case_file, link_handling::follow);
    if (!content.error.isEmpty()) {
        refuse(QStringLiteral("cannot read the case data in %1: %2").arg(options.case_file, content.error));
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(content.data, &problem);
    if (!document.isObject()) {
        refuse(
            QStringLiteral("cannot use the case data in %1: %2")
                .arg(options.case_file, document.isNull() ? problem.errorString() : QStringLiteral("it is no object")));
    }
    check_members(options.case_file, document.object());
    case_data about = case_from_json(document.object());
    for (const case_field& field : case_fields) {
        if (!(options.about.*field.value).isEmpty()) {
            about.*field.value = options.about.*field.value;
        }
    }
    return about;
}
