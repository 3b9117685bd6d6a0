#pragma once

#include "host/files/content_place.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"
#include "host/verify/known_sources.h"
#include "support/bulk/copied_file.h"

#include <map>

/// Takes what the plug-in tells of each copy in bulk: the hash of what was read for it, or what went wrong.
class copies_of_run
{
public:
    explicit copies_of_run(const result_paths& result) : paths(result), result_root(result.native_root()) {}

    /// Takes the next file.
    void take(const copied_file& file);
    /// Adds to a record what befell no single file.
    void tell(run_record& record) const;
    /// Makes what is known ready to be asked. When it could not be kept, that is an error of the record, and the source
    /// has to be read again.
    void complete(run_record& record);
    /// What is known of the sources.
    known_sources& known() { return sources; }
    /// What is known of them all; nothing before complete() or when it could not be kept.
    const known_sources* whole() const { return is_complete ? &sources : nullptr; }
    /// Returns where the result holds the content of files of the source, whose root is given, that were copied or kept
    /// and are still as they were then. Holds as long as this object; may be asked by several threads.
    content_place content_of(const QByteArray& source) const;
    /// Returns which files of the source were seen to begin as a message while they were copied; whether they are still
    /// as they were then, the verification says. Holds as long as this object; may be asked by several threads.
    content_knowledge messages_in(const QByteArray& source) const;
    /// Returns the files that were copied, kept or found there already, and their bytes.
    file_amount amount() const;
    /// Returns the files that are in a dated folder, relative to the result, as far as they were told of, and their
    /// bytes.
    file_amount amount_in(const QByteArray& dated_folder) const;
    /// Returns the same for each folder of a Mail version in a dated folder, relative to the result.
    const std::map<QByteArray, file_amount>& amounts_by_folder() const { return amounts; }
    /// Returns how many of the copied files bear the name of a message.
    qint64 messages() const { return message_count; }

private:
    void count(const copied_file& file);

    const result_paths paths;
    const QByteArray result_root;
    known_sources sources;
    QStringList problems;
    file_amount found_there;
    std::map<QByteArray, file_amount> amounts; ///< by the third folder on the way, such as "DATED/V9/IMAP-..."
    qint64 message_count = 0;
    bool is_complete = false;
};
