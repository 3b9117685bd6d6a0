#include "sample/sample_source.h"

#include "sample/sample_account_store.h"
#include "sample/sample_cast.h"
#include "sample/sample_mail_tree.h"
#include "sample/sample_plist.h"
#include "sample/sample_writer.h"

#include <QDir>
#include <QFileInfo>

namespace {

bool prepare_root(const sample_options& options, QString& error)
{
    if (options.users < 0 || options.accounts_per_user < 0 || options.messages_per_account < 0) {
        error = QStringLiteral("numbers of users, accounts and messages must not be negative");
        return false;
    }
    if (options.root.isEmpty()) {
        error = QStringLiteral("no directory named");
        return false;
    }
    const QFileInfo root(options.root);
    if (root.exists() && !root.isDir()) {
        error = QStringLiteral("%1: is not a directory").arg(options.root);
        return false;
    }
    if (!QDir().mkpath(options.root)) {
        error = QStringLiteral("%1: cannot be created").arg(options.root);
        return false;
    }
    if (!QDir(options.root).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)) {
        error = QStringLiteral("%1: is not empty").arg(options.root);
        return false;
    }
    return true;
}

void write_system(sample_writer& writer)
{
    const QVariantMap version{{QStringLiteral("ProductName"), QStringLiteral("macOS")},
                              {QStringLiteral("ProductVersion"), QStringLiteral("13.4.1")},
                              {QStringLiteral("ProductBuildVersion"), QStringLiteral("22F82")}};
    writer.write_file(QStringLiteral("System/Library/CoreServices/SystemVersion.plist"), to_xml_plist(version));
    writer.write_file(QStringLiteral("Library/Preferences/.GlobalPreferences.plist"),
                      to_binary_plist(QVariantMap{{QStringLiteral("AppleLocale"), QStringLiteral("en_GB")}}));
    writer.write_link(QStringLiteral("private/etc/localtime"),
                      QStringLiteral("/var/db/timezone/zoneinfo/Europe/Berlin"));
    writer.write_file(QStringLiteral("Users/.localized"), {});
    writer.write_file(QStringLiteral("Users/Shared/.localized"), {});
    writer.write_file(QStringLiteral("Users/Shared/read me.txt"), "This folder is for everybody.\n");
}

void write_home(sample_writer& writer, const sample_user& user)
{
    const QString home = QStringLiteral("Users/%1/").arg(user.name);
    writer.write_file(home + QStringLiteral("Documents/notes.txt"), user.full_name.toUtf8() + "\n");
    writer.write_file(home + QStringLiteral("Library/Preferences/com.apple.mail.plist"),
                      to_binary_plist(QVariantMap{{QStringLiteral("NumberOfSnippetLines"), 2},
                                                  {QStringLiteral("DisableInlineAttachmentViewing"), false}}));
}

} // namespace

std::optional<sample_summary> write_sample_source(const sample_options& options, QString& error)
{
    if (!prepare_root(options, error)) {
        return {};
    }
    sample_writer writer(QDir(options.root).absolutePath(), options.seed);
    sample_summary summary;
    write_system(writer);
    for (const sample_user& user : cast_sample_users(options)) {
        write_home(writer, user);
        if (!write_account_stores(writer, user, error) ||
            !write_mail_tree(writer, user, options, summary.account_folders, error)) {
            break;
        }
        summary.users.append(user.name);
        summary.accounts += static_cast<int>(user.accounts.size());
    }
    writer.set_directory_times();
    if (!writer.error().isEmpty()) {
        error = writer.error();
    }
    if (summary.users.size() != options.users || !writer.error().isEmpty()) {
        return {};
    }
    summary.files = writer.files();
    summary.bytes = writer.bytes();
    summary.directories = writer.directories();
    return summary;
}
