#pragma once

#include "host/files/file_amount.h"
#include "host/source/account_stores.h"
#include "host/source/folder_names.h"
#include "host/source/room_estimate.h"
#include "host/source/source_look.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <set>
#include <vector>

/// How much of a folder could not be looked at.
struct unknown_content
{
    bool is_whole = false; ///< its own list of entries could not be read: nobody knows what is in it
    qint64 places = 0;     ///< folders and entries in it, at any depth, of which the same holds

    bool any() const { return is_whole || places > 0; }
};

struct account_folder
{
    QByteArray name;
    folder_naming naming = folder_naming::other;
    file_amount visible; ///< what a copy takes, as far as it is known
    unknown_content unknown;
};

/// A folder directly in the Mail directory that the copy takes: "V3" and the like, or any other.
struct mail_folder
{
    QByteArray name;
    bool is_version = false; ///< the name is "V" and digits
    file_amount visible;
    file_amount hidden;
    std::vector<account_folder> folders; ///< only for a version directory, sorted by name
    unknown_content unknown;
};

struct user_survey
{
    QByteArray name;
    presence mail_directory = presence::absent;
    QString mail_problem;    ///< why nobody knows whether there is one, or what is in it
    QByteArray not_followed; ///< the link that leads this user's mail out of the source; empty when there is none
    std::vector<mail_folder> folders;
    file_amount loose;       ///< files directly in the Mail directory, which no copy takes; hidden ones not included
    file_amount hidden;      ///< everything hidden below the Mail directory, wherever
    unknown_content unknown; ///< of the Mail directory
    QString live_version;    ///< what the Mail directory's PersistenceInfo.plist names; empty when it does not say
    QString live_version_problem; ///< why not: absent, unreadable, damaged
    std::vector<account_store> stores;
    QString stores_problem; ///< why nobody knows which stores there are
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
    QString users_problem; ///< why there may be more users, or nobody knows whether there are any
    qint64 links = 0;      ///< below the Mail directories, of whatever kind
    std::vector<link_problem> link_problems;
    std::vector<survey_finding> broken_links;
    std::vector<survey_finding> unreadable; ///< what could not be looked at, and damaged account stores
    std::set<QByteArray> unreadable_paths;  ///< of the same
    std::set<int> error_numbers;            ///< the system's, of the same
    std::vector<survey_finding> special_files;
    std::vector<survey_finding> undecodable_names; ///< not UTF-8: the copy passes them over
    std::optional<room_estimate> room;             ///< only when a result was named

    /// Returns the system's advice on what could not be looked at; empty when there is nothing or no advice.
    QStringList advice() const;
    /// True when everything could be looked at.
    bool is_whole() const { return unreadable.empty(); }
    /// True when a user is seen to have a Mail directory.
    bool has_mail() const;
    /// Notes what could not be looked at, each place once.
    void note_unreadable(const QByteArray& path, const QString& reason, int error_number);
};

/// Surveys the source without changing anything; `result` may be empty.
source_survey survey_source(const QByteArray& source, const QString& result);
