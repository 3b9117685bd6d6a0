#pragma once

#include "plugin/apple_mail_extractor.h"

#include <functional>
#include <memory>

class evidence_source;

/// What a host says before an extraction.
struct run_settings
{
    QStringList users = {};
    QString scheme = QStringLiteral("macOS");
    QString source_type = QStringLiteral("macOS_Volume");
    QStringList tables = {QStringLiteral("accounts")};
    QStringList additional_mail_versions = {};
    int engine_type = 0;
    bool clear = false;
    bool bulk_copying = false;
};

/// Returns the rows of a query as texts, columns joined by "|", a NULL as "NULL"; when it fails "FAILED: " and the
/// driver's text, then the executed text.
QStringList rows_of(const QString& database_path, const QString& statement, const QVariantList& values = {});

/// The loaded library, driven as a host drives it.
class driven_plugin : public QObject
{
    Q_OBJECT

public:
    driven_plugin(const evidence_source& source, const run_settings& settings);
    ~driven_plugin() override;

    /// The object that the library made.
    apple_mail_extractor* operator->() const { return plugin.get(); }

    /// Hands in all settings, up to the creation of the tables.
    void prepare();
    /// Hands in the source with these users.
    void set_users(const QStringList& users);
    /// Finds and extracts.
    void extract();
    /// All steps of a run.
    void run();

    /// The account rows, sorted; the day of a destination is written DATE.
    QStringList rows() const;
    /// The log's lines as "class::operation: message", without time and the engine's name "KAVRO_DESK"; a line of any
    /// other form is returned whole.
    QStringList log() const;
    /// The folder that takes a user's mail today.
    QString mail_copy(const QString& user) const;

    QStringList events;                           ///< the two overall signals so far: "records 3", "tabs 1"
    QStringList copied;                           ///< every copy progress so far: "copied 1 120" (files, bytes)
    QList<copied_file> copies;                    ///< what became of the files of a bulk copy
    QList<qsizetype> bulk_ends;                   ///< how many of them there were as a bulk copy was said to have ended
    std::function<void(const QString&)> on_event; ///< called as a signal of either kind arrives
    QString plugin_directory;
    QString database_path;

private slots:
    void take_records(qint64 records) { take(events, QStringLiteral("records %1").arg(records)); }
    void take_tabs(int tabs) { take(events, QStringLiteral("tabs %1").arg(tabs)); }
    void take_file(const copied_file& file) { copies.append(file); }
    void take_bulk_end() { bulk_ends.append(copies.size()); }
    void take_copied(qint64 files, qint64 bytes) { take(copied, QString("copied %1 %2").arg(files).arg(bytes)); }

private:
    void take(QStringList& list, const QString& event);

    const evidence_source& source;
    run_settings settings;
    std::unique_ptr<apple_mail_extractor> plugin;
};
