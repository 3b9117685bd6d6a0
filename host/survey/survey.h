#pragma once

#include "host/files/file_amount.h"
#include "host/source/folder_names.h"
#include "host/source/room_estimate.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

struct account_folder
{
    QByteArray name;
    folder_naming naming = folder_naming::other;
    file_amount visible; ///< what a copy takes
};

/// A folder directly in the Mail directory that the copy takes: "V3" and the like, or any other.
struct mail_folder
{
    QByteArray name;
    bool is_version = false; ///< the name is "V" and digits
    file_amount visible;
    file_amount hidden;
    std::vector<account_folder> folders; ///< only for a version directory, sorted by name
};

/// An account store with those of its companions that exist.
struct account_store
{
    QByteArray name;
    qint64 bytes = 0;
    std::optional<qint64> wal_bytes;
    std::optional<qint64> shm_bytes;
};

struct user_survey
{
    QByteArray name;
    bool has_mail_directory = false;
    QByteArray not_followed; ///< the link that leads this user's mail out of the source; empty when there is none
    std::vector<mail_folder> folders;
    file_amount loose;    ///< files directly in the Mail directory, which no copy takes; hidden ones not included
    file_amount hidden;   ///< everything hidden below the Mail directory, wherever
    QString live_version; ///< what the Mail directory's PersistenceInfo.plist names; empty when it does not say
    QString live_version_problem; ///< why not: absent, unreadable, damaged
    std::vector<account_store> stores;
};

/// An entry a run cannot take, or a person should know of, with the reason.
struct survey_finding
{
    QByteArray path; ///< relative to the source where it lies below it
    QString reason;
};

struct source_survey
{
    QByteArray source; ///< resolved
    QString error;     ///< why there is nothing else; empty when the survey holds
    std::vector<user_survey> users;
    qint64 links = 0; ///< below the Mail directories, of whatever kind
    std::vector<link_problem> link_problems;
    std::vector<survey_finding> broken_links;
    std::vector<survey_finding> unreadable;
    std::vector<survey_finding> special_files;
    std::vector<survey_finding> undecodable_names; ///< not UTF-8: the copy passes them over
    std::optional<room_estimate> room;             ///< only when a result was named
};

/// Surveys the source without changing anything; `result` may be empty.
source_survey survey_source(const QByteArray& source, const QString& result);
