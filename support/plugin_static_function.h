#pragma once

#include "plugin/host_records.h"

#include <QFile>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QWidget>

/// Services shared by all steps of an extraction: the debug log, database commands, paths and conversions.
///
/// The suite's plug-ins share this class, which is why it is one class of many subjects, all static and yet a widget,
/// and why it holds operations that nothing here calls.
///
/// Everything is static, without locks, and used on the host's calling thread only. Nothing is thrown: an operation
/// that fails logs it and returns false, an empty text or an empty list.
class plugin_static_function : public QWidget
{
    Q_OBJECT

public:
    explicit plugin_static_function(QWidget* parent = nullptr);

    // Debug log (debug_log.cpp) ---------------------------------------------------------------------------------------

    /// Writes one log line; `function` is the caller's full signature. Does nothing while debug mode is off.
    static void app_debug(QString message, QString function);
    /// Takes the debug switches and opens the debug file for appending when they ask for it; a file that cannot be
    /// opened simply receives nothing.
    static void set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general_info);
    /// Opens the debug file for appending when the switches ask for it.
    static void open_debug_file();
    /// Flushes and closes the debug file; does nothing when it is not open.
    static void close_debug_file();
    /// Returns the enciphered text form of `plain`, empty for an empty text; `function` is not used.
    static QString encrypt_string(QString plain, QString function);

    // What the host has said (plugin_static_function.cpp) -------------------------------------------------------------

    /// Takes the engine type, whose name every log line carries.
    static void set_engine_type(int type);
    /// Resets the static state; the debug file stays open, the encryption switch and the OS version stay.
    static void set_essentials();
    /// Sets or clears the cancel flag that the loops poll.
    static void set_cancel_extraction(bool cancel);
    /// Takes the number of the source.
    static void set_source_count(int count);
    /// Keeps the OS version and the users of the source.
    static void set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info);
    /// Accepts the record and ignores it.
    static void set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info desktop_info);

    // Resetting host records (host_record_reset.cpp) ------------------------------------------------------------------

    /// Empties the record but for its last two fields.
    static void clear_variables_kavro_and_artifact_common_source_info(
        struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info& source_info);
    /// Empties the record.
    static void
    clear_variables_kavro_and_artifact_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info& desktop_info);
    /// Resets the record but for the encryption switch.
    static void clear_variables_kavro_and_artifact_common_general_info(
        struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info& general_info);

    // Database commands (database_commands.cpp) -----------------------------------------------------------------------
    // "by_dbpath" opens and closes a connection of its own, "by_dbreference" works on the caller's. `caller` names the
    // calling function in log lines and connection names; values are bound as text to the "?" in list order; `column`
    // counts from 0. Lists hold the column of every row, trimmed; they are empty when nothing was found or all failed.

    /// Runs a command; true when it executed.
    static bool execute_db_command_by_dbpath(QString command, QString database_path, QString caller);
    /// Runs a command with bound values; false without running it when cancelled before a value is bound.
    static bool execute_db_command_with_addbindvalue_by_dbpath(QString command, QStringList values,
                                                               QString database_path, QString caller);
    /// Runs a command; true when it executed.
    static bool execute_db_command_by_dbreference(QString command, QSqlDatabase& database, QString caller);
    /// Runs a command with bound values; false without running it when cancelled before a value is bound.
    static bool execute_db_command_with_addbindvalue_by_dbreference(QString command, QStringList values,
                                                                    QSqlDatabase& database, QString caller);
    /// Returns one column of a query's rows; those read so far when cancelled.
    static QStringList get_stringlist_from_db_by_dbreference(QString command, int column, QSqlDatabase& database,
                                                             QString caller);
    /// Returns one column of a query's rows, with bound values.
    static QStringList get_stringlist_from_db_with_addbindvalues_by_dbreference(QString command, QStringList values,
                                                                                int column, QSqlDatabase& database,
                                                                                QString caller);
    /// Returns one column of a query's rows; leaves no connection registered unless cancelled.
    static QStringList get_stringlist_from_db_by_dbpath(QString command, int column, QString database_path,
                                                        QString caller);
    /// Returns one column of a query's rows, with bound values; leaves no connection registered unless cancelled.
    static QStringList get_stringlist_from_db_with_addbindvalues_by_dbpath(QString command, QStringList values,
                                                                           int column, QString database_path,
                                                                           QString caller);
    /// True when some row's column equals `value`, both trimmed, case-sensitively.
    static bool check_value_existence_in_db_by_dbreference(QString command, int column, QString value,
                                                           QSqlDatabase database);
    /// Returns the names of a database's user tables, without views and system tables.
    static QStringList get_total_tables_list_by_dbpath(QString database_path, QString caller);

    // Source paths and names (source_paths.cpp) -----------------------------------------------------------------------

    /// Returns "Source" and the number of the source; "Source-1" before any was set.
    static QString get_source_count_name();
    /// Returns a path as result rows record it, and, for a home-directory source, the untouched path beside it.
    static struct_GLOBAL_ARTIFACT_artifact_source_file get_final_artifact_source_file(QString path, QString root,
                                                                                      QString path_type);
    /// Returns a path with a leading "/"; for a home-directory source what follows the first `root` in it.
    static QString get_relative_file_path(QString path, QString root, QString path_type);
    /// Returns a path with a leading "/"; for a home-directory source with `user_name` in place of its user.
    static QString get_complete_file_path(QString path, QString user_name, QString path_type);
    /// Returns the user whose home holds a path: its second component after as many characters as `root` has. Empty
    /// when the source has no users or the path is too short; a user the source does not list has no domain name.
    static struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account extract_user_name_from_sourcefile(QString source_file,
                                                                                                    QString root);
    /// Returns the entries of `parent`, in order and with duplicates, that `other` does not hold.
    static QStringList get_unmatched_varible_list_of_parentlist(QStringList parent, QStringList other);

    // Directories (directory_operations.cpp) --------------------------------------------------------------------------

    /// Returns a file name (not a path) that is free in `directory`, which is created: the file's own, else with "1_",
    /// "2_", ... in front. Empty when cancelled.
    static QString get_available_file(QString file_path, QString directory, QString caller);
    /// True when a directory holds an entry of that name, both trimmed, case-sensitively; false when cancelled.
    static bool is_file_exist_in_dir(QString directory, QString file_name, QString caller);
    /// Copies a directory's visible files and subdirectories, replacing files that exist; a file that fails is logged.
    static void copy_directory(QString source, QString destination);
    /// Removes a directory with everything in it; links in it are removed, not followed. Reports nothing; an empty path
    /// and a link name no directory.
    static void remove_directory(QString path);

    // Time conversions: Unix seconds in decimal; empty for input that cannot be used (time_conversions.cpp) -----------

    /// Converts seconds since 2001-01-01 UTC; a fraction is cut off.
    static QString convert_apple_time_to_epoch(QString apple_time);
    /// Converts microseconds since 1601-01-01 UTC; a text of 10 characters is returned as it is.
    static QString convert_google_time_to_epoch(QString google_time);
    /// Converts texts such as "Mar 5, 2024, 2:07:09 PM UTC"; without the zone word "UTC" it is local time.
    static QString convert_human_readable_to_epoch_1(QString human_time);
    /// Converts "yyyy-MM-dd hh:mm:ss" followed by a fraction and "+hhmm" or "-hhmm".
    static QString convert_human_readable_to_epoch_2(QString human_time);
    /// Converts e-mail dates such as "Tue, 05 Mar 2024 14:07:09 +0100"; the zone is ignored.
    static QString convert_human_readable_to_epoch_3(QString human_time);
    /// Converts ISO-like texts, read as UTC whatever zone they name. The text is cut at its first "T" or blank into
    /// date and time; a final "Z" or offset ("+0100", "+01:00") is cut off the time, and "-" in what is left becomes
    /// ":". A date without "-" is compact: "yyyyMMdd", alone (midnight) or with "hhmmss". A date with "-" is
    /// "yyyy-MM-dd" with "hh:mm:ss" or, when the time holds a ".", with a fraction behind it. Empty when the text fits
    /// none of these.
    static QString convert_T_Z_time_to_epoch(QString iso_time);
    /// Returns the seconds of a zone offset "hhmm", which must be without its sign.
    static qint64 convert_timezone_to_seconds(QString zone);

    // Text conversions: empty for input that cannot be used (text_conversions.cpp) ------------------------------------

    /// Converts Unix seconds to "dd-MMM-yyyy hh:mm:ss" in UTC; empty for 0.
    static QString convert_timestamp_to_human_readable_in_UTC(QString unix_time);
    /// Converts a duration in seconds to "hh:mm:ss Hrs" or, below an hour, "mm:ss Min"; empty when negative.
    static QString get_human_readable_time(QString seconds);
    /// Converts a count of bytes to " B", " KB" or " MB" with two decimals (no larger unit).
    static QString human_readable_size(QString bytes);
    /// Returns what follows the last "." of a path's file name, a leading "." not counting; empty without one.
    static QString mining_suffix(QString path);
    /// Returns the size in bytes of a file, or of all files below a directory; empty when nothing is there.
    static QString mining_size(QString path);
    /// Decodes "\U" with up to four hexadecimal digits; a lower-case "\u" is left alone.
    static QString convert_string_to_unicode(QString text);

    // State of all of the above (plugin_static_function.cpp) ----------------------------------------------------------

    static bool debug_mode_status_bool;
    static bool debug_print_on_terminal_bool;
    static bool debug_print_in_file_bool;
    static bool debug_encryption_status_bool;
    static QString debug_file_path_QString;
    static QFile debug_file_regular_QFile;
    static int type_engine_int;
    static bool bool_cancel_extraction;
    static int source_count_int;
    static QString source_os_version_full;
    static QList<struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account> system_account_QList;
};
