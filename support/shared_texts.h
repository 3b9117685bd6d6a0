#pragma once

#include <QString>

#include <array>

/// The texts that the plug-in writes and the program finds its results by. They stand here because the program links
/// none of the plug-in's code, and a text spelt twice would one day differ. Values only: including them links nothing.
namespace shared_texts {

/// The plug-in's name, before translation.
inline constexpr const char* artifact_name = QT_TRANSLATE_NOOP("QObject", "Apple Mail Extractor");

// Below a case's result directory. A name of the plug-in's stands in paths as name_in_paths() has it.

inline constexpr QLatin1String results_directory("Artifacts_Result");
/// The plug-in's name in paths.
inline constexpr QLatin1String artifact_folder("Apple_Mail_Extractor");
/// results_directory and artifact_folder: what holds all of the plug-in's own.
inline constexpr QLatin1String plugin_directory("Artifacts_Result/Apple_Mail_Extractor");
/// Behind the plug-in's name, the file of its result database.
inline constexpr QLatin1String database_suffix(".sqlite");
/// The scratch directory for working copies.
inline constexpr QLatin1String scratch_directory("tmp");
/// The one result table.
inline constexpr QLatin1String accounts_table("accounts");
/// The day in a dated folder's name, as QDate and QLocale::c() take it.
inline constexpr QLatin1String date_format("MM-dd-yyyy");

/// Returns a name with underscores for blanks.
inline QString name_in_paths(QString name)
{
    return name.replace(QLatin1Char(' '), QLatin1Char('_'));
}

/// Returns the name of the folder that takes a user's mail on a day: "Apple_Mail_Extractor_<user>_<MM-dd-yyyy>".
inline QString dated_folder(const QString& plugin_name, const QString& user, const QString& date)
{
    const QLatin1Char underscore('_');
    return name_in_paths(plugin_name) + underscore + user + underscore + date;
}

// In the debug log.

/// In every line that tells of a failure, dashes and blanks around it.
inline constexpr QLatin1String failure_word("FAILED");
/// What ends a record of an enciphered log; it holds no base64 character.
inline constexpr QLatin1String record_marker("<[{()}]>");
/// What lines call the engine types 0, 1 and 2.
inline constexpr std::array engine_names{QLatin1String("KAVRO_DESK"), QLatin1String("KAVRO_FIELD"),
                                         QLatin1String("KAVRO_LIVE")};
/// What stands before the number of any other engine type, in the place of a name.
inline constexpr QLatin1String unknown_engine("][ -----FAILED----- to find Engine Type ][");

} // namespace shared_texts
