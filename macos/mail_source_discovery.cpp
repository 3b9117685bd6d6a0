#include "macos/apple_mail_extractor_macos.h"
#include "support/plugin_static_function.h"

#include <QFile>
#include <QFileInfo>

#include <array>

namespace {

const QLatin1String mail_literal("/Library/Mail");

// A Mac that was upgraded keeps its older trees: the two newest layouts are taken both, of the others the newest.
const std::array independent_versions{QLatin1String("V9"), QLatin1String("V8")};
const std::array first_hit_versions{QLatin1String("/Library/Mail/V7"), QLatin1String("/Library/Mail/V6"),
                                    QLatin1String("/Library/Mail/V5"), QLatin1String("/Library/Mail/V4"),
                                    QLatin1String("/Library/Mail/V3")};
const std::array first_hit_stores{QLatin1String("/Library/Accounts/Accounts4.sqlite"),
                                  QLatin1String("/Library/Accounts/Accounts3.sqlite")};

void append_if_exists(const QString& path, QStringList& found)
{
    if (QFileInfo::exists(path)) {
        found.append(path);
    }
}

template <typename literals>
void append_first_that_exists(const QString& home, const literals& candidates, QStringList& found)
{
    for (const QLatin1String& literal : candidates) {
        const QString path = home + literal;
        if (QFileInfo::exists(path)) {
            found.append(path);
            return;
        }
    }
}

} // namespace

void apple_mail_extractor_macos::find_source_file()
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    const QString users_directory = source_root_path + QStringLiteral("Users/");
    mail_directory_list.clear();
    mail_version_directory_list.clear();
    accounts_database_list.clear();

    // Three flat lists, not a record a user: the steps walk one each, and version directories meet account stores by
    // position (see account_store_for), which decides what rows a host of the suite gets.
    QStringList independent = additional_mail_version_list;
    for (const QLatin1String& version : independent_versions) {
        independent.append(version);
    }
    for (const QString& user : user_name_list) {
        if (cancel_requested) {
            return;
        }
        const QString home = users_directory + user;
        const QString mail_directory = home + mail_literal;
        if (QFile::exists(mail_directory)) {
            mail_directory_list.append(mail_directory);
        }
        for (const QString& version : independent) {
            append_if_exists(mail_directory + QLatin1Char('/') + version, mail_version_directory_list);
        }
        append_first_that_exists(home, first_hit_versions, mail_version_directory_list);
        append_first_that_exists(home, first_hit_stores, accounts_database_list);
    }
    plugin_static_function::app_debug(QStringLiteral("ends"), Q_FUNC_INFO);
}
