#include "macos/apple_mail_extractor_macos.h"
#include "support/bulk/bulk_copying.h"
#include "support/plugin_static_function.h"

#include <QFile>

#include <stdexcept>

namespace {

constexpr qint64 long_file_ms = 200;

} // namespace

/// Copies all Mail directories by several threads; false when that is not possible here and nothing was done.
bool apple_mail_extractor_macos::copy_mail_directories_in_bulk()
{
    try {
        bulk_copier bulk(
            cancel_requested, hashes_in_bulk ? content_hashing::sha256 : content_hashing::none,
            [this](const copied_file& file) { take_copied_file(file); },
            [this] { signal_copy_progress_of_long_file(); });
        copier = &bulk;
        copy_mail_directories();
        if (cancel_requested || !syncs_in_bulk) {
            bulk.finish();
        } else {
            bulk.sync(QFile::encodeName(destination_root_path));
        }
        copier = nullptr;
    } catch (const std::runtime_error& error) {
        plugin_static_function::app_debug(
            QStringLiteral("bulk copying --------FAILED------- ") + QString::fromLocal8Bit(error.what()), Q_FUNC_INFO);
        return false;
    }
    if (!cancel_requested) {
        emit signal_bulk_copied_of_plugin_macos();
    }
    return true;
}

void apple_mail_extractor_macos::count_files_of(const QString& folder)
{
    // Without a scratch directory nothing would have been copied there.
    if (copy_destination_path.isEmpty()) {
        return;
    }
    // Folders may lie in each other by the hundred, and each would be gone through once more.
    const QByteArray path = QFile::encodeName(folder);
    files_copied_count = bulk_attempts.below(path);
    if (files_copied_count > 0) {
        return;
    }
    files_copied_count = count_files_as_copied(path, [this] {
        if (copy_progress_timer.isValid() && !cancel_requested) {
            signal_copy_progress();
        }
        return cancel_requested.load();
    });
}

void apple_mail_extractor_macos::take_copied_file(const copied_file& file)
{
    const bool is_file = file.result != copied_file::outcome::unlisted && file.result != copied_file::outcome::unsynced;
    if (is_file) {
        bytes_copied_count += file.size;
        ++files_copied_count;
        ++files_attempted_in_run;
        bulk_attempts.take(file.source_path);
    }
    emit signal_copied_file_of_plugin_macos(file);
    if (is_file && !cancel_requested) {
        signal_copy_progress();
    }
}

/// Signals while the calling thread waits, so that a host can cancel in the middle of a long file, be it the first.
void apple_mail_extractor_macos::signal_copy_progress_of_long_file()
{
    if (!cancel_requested && (copy_progress_timer.isValid() || elapsed_timer.hasExpired(long_file_ms))) {
        signal_copy_progress();
    }
}
