#pragma once

#include "host/files/file_amount.h"
#include "support/bulk/copied_file.h"

#include <QObject>

#include <functional>

class apple_mail_extractor;

/// Listens to one plug-in object: hands on how much is copied, and cancels the extraction when the user interrupts it.
/// Lives no longer than the plug-in object.
class signal_receiver : public QObject
{
    Q_OBJECT

public:
    /// `on_copied` is called with the copies attempted by this object so far.
    /// `on_file` with what became of each file of a copy in bulk, `on_all_files` when such a copy has ended.
    signal_receiver(apple_mail_extractor& plugin, std::function<void(file_amount)> on_copied,
                    std::function<void(const copied_file& file)> on_file, std::function<void()> on_all_files);

    /// Returns how many rows the plug-in object says it has written so far.
    qint64 rows() const { return row_count; }

private slots:
    void slot_records(qint64 records);
    void slot_tabs(int tab_count);
    void slot_copied(qint64 files, qint64 bytes);
    void slot_file(const copied_file& file);
    void slot_all_files();

private:
    void cancel_when_interrupted();

    apple_mail_extractor& plugin;
    std::function<void(file_amount)> on_copied;
    std::function<void(const copied_file& file)> on_file;
    std::function<void()> on_all_files;
    qint64 row_count = 0;
};
