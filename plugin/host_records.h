#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The records cross the library boundary by value: order and types of the fields are part of the interface with the
// host, those that nothing here reads included.

/// One user account of an evidence source.
struct struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account
{
    QString system_user; ///< short user name, as the directory below "Users/" is called
    QString domain_user; ///< second (domain) name; empty where there is none
};

/// One evidence source.
struct struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info
{
    QString source_root_path;       ///< directory under which the source is reachable, with a trailing "/"
    QString source_type_internal;   ///< kind of source; "macOS_Home_Directory" for a single user's home
    QString os_scheme_display;      ///< the scheme's name for display, written into result rows
    QString os_scheme_internal;     ///< "macOS", "iOS_UID" or "winOS", compared case-sensitively
    QString source_os_version_full; ///< full operating-system version
    QList<struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account> system_account_QList; ///< the source's users
    QString text_field_7;                                                               ///< carried for the host
    QString text_field_8;                                                               ///< carried for the host
    QList<QString> text_list_9;                                                         ///< carried for the host
    QString text_field_10;                                                              ///< carried for the host
    QString text_field_11;                                                              ///< carried for the host
    QString text_field_12;                                                              ///< carried for the host
    QString text_field_13;                                                              ///< carried for the host
};

/// Settings of the whole case; here the debug-log switches.
struct struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info
{
    bool general_flag_0 = false;               ///< carried for the host
    bool debug_mode_status_bool = false;       ///< debug logging is on
    bool debug_print_on_terminal_bool = false; ///< debug lines go to the terminal
    bool debug_print_in_file_bool = false;     ///< debug lines go to the debug file
    bool debug_encryption_status_bool = false; ///< debug lines are enciphered before they are written to the file
    QString debug_file_path_QString;           ///< path of the debug file
};

/// The examiner's machine; accepted and ignored by this plug-in.
struct struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info
{
    QString desktop_text_1;      ///< carried for the host
    QString desktop_text_2;      ///< carried for the host
    bool desktop_flag_3 = false; ///< carried for the host
    QString desktop_text_4;      ///< carried for the host
    QString desktop_text_5;      ///< carried for the host
};

/// A source file as result rows record it.
struct struct_GLOBAL_ARTIFACT_artifact_source_file
{
    QString final_source_file;  ///< path below the source, beginning with "/"
    QString complete_file_path; ///< the untouched path for a home-directory source; empty for any other
};

/// The dates on which a file was used, from its metadata; all as Unix seconds in decimal text.
struct struct_GLOBAL_ARTIFACT_used_dates
{
    QString last_used_date;                ///< empty when unknown
    QList<QString> used_dates_QStringList; ///< every date, in the metadata's order
    QString used_date_first;               ///< first entry of the list
    QString used_date_last;                ///< last entry of the list
};
