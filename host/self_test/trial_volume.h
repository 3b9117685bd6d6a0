#pragma once

#include "sample/sample_source.h"

#include <QByteArray>
#include <QStringList>

/// A synthetic volume and what is known of it beforehand.
struct trial_volume
{
    QString root;
    sample_summary written;
    QByteArrayList odd_files; ///< below the root: hidden, empty, long and odd names
};

/// The folder of the odd files, below the root.
QString odd_folder();

/// Writes a volume of several users with odd names and a pipe. Throws a failure.
trial_volume write_trial_volume(const QString& root);

/// Adds what no run can take as a whole: links that stay, a user whose account store is none, and, where permissions
/// bind this process, a directory that may not be listed. Throws a failure.
void make_awkward(const trial_volume& volume, bool with_denied_directory);

/// Writes a file, with its folders. Throws a failure.
void write_trial_file(const QString& path, const QByteArray& content);
/// Makes a symbolic link. Throws a failure.
void make_trial_link(const QString& target, const QString& path);

// What make_awkward() adds, below the root.
inline constexpr const char* damaged_store = "Users/mallory/Library/Accounts/Accounts4.sqlite";
inline constexpr const char* denied_directory = "Users/anna/Library/Mail/V10/denied.mbox";
inline constexpr const char* staying_link = "Users/anna/Library/Mail/V10/links.mbox/stays.emlx"; ///< to link_target

/// The largest of the odd files.
inline constexpr const char* link_target = "large.emlx";
