#include "support/plugin_static_function.h"

namespace {

const QLatin1Char slash('/');

bool is_home_directory(const QString& path_type)
{
    return path_type == QLatin1String("macOS_Home_Directory");
}

QString with_leading_slash(QString path)
{
    if (!path.startsWith(slash) && !path.trimmed().isEmpty()) {
        path.prepend(slash);
    }
    return path;
}

QString after_first(QString path, const QString& root)
{
    const qsizetype position = path.indexOf(root);
    if (position >= 0) {
        path.remove(0, position + root.size());
    }
    return path;
}

} // namespace

QString plugin_static_function::get_source_count_name()
{
    return QStringLiteral("Source") + QString::number(source_count_int);
}

QString plugin_static_function::get_relative_file_path(QString path, QString root, QString path_type)
{
    return with_leading_slash(is_home_directory(path_type) ? after_first(path, root) : path);
}

struct_GLOBAL_ARTIFACT_artifact_source_file
plugin_static_function::get_final_artifact_source_file(QString path, QString root, QString path_type)
{
    struct_GLOBAL_ARTIFACT_artifact_source_file source_file;
    source_file.final_source_file = get_relative_file_path(path, root, path_type);
    if (is_home_directory(path_type)) {
        source_file.complete_file_path = path;
    }
    return source_file;
}

QString plugin_static_function::get_complete_file_path(QString path, QString user_name, QString path_type)
{
    const QString users = QStringLiteral("/Users/");
    if (is_home_directory(path_type) && path.startsWith(users)) {
        const qsizetype end_of_user = path.indexOf(slash, users.size());
        if (end_of_user >= 0) {
            path.remove(0, end_of_user);
        }
        path.prepend(users + user_name);
    }
    return with_leading_slash(path);
}

struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account
plugin_static_function::extract_user_name_from_sourcefile(QString source_file, QString root)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account account;
    if (system_account_QList.isEmpty()) {
        return account;
    }
    const QStringList parts = source_file.mid(root.size()).split(slash);
    if (parts.size() < 2) {
        return account;
    }
    account.system_user = parts.at(1);
    for (const auto& known : system_account_QList) {
        if (known.system_user == account.system_user) {
            return known;
        }
    }
    return account;
}

QStringList plugin_static_function::get_unmatched_varible_list_of_parentlist(QStringList parent, QStringList other)
{
    QStringList unmatched;
    if (parent.isEmpty() || bool_cancel_extraction) {
        return unmatched;
    }
    for (const QString& entry : parent) {
        if (!other.contains(entry)) {
            unmatched.append(entry);
        }
        if (bool_cancel_extraction) {
            return unmatched;
        }
    }
    return unmatched;
}
