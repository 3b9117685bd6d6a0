#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

class QWidget;

/// Working copies of evidence files, and the kind of a file by its extension; one object a plug-in object.
///
/// The suite's plug-ins share this class: the file kinds and the copy of a single file are there for others.
class plugin_helper_functions
{
public:
    /// Fills the extension lists; the argument is not used.
    explicit plugin_helper_functions(QWidget* parent);

    /// Clears the cancel flag and nothing else.
    void set_essentials();
    /// Sets or clears the cancel flag that the checks poll.
    void set_cancel_extraction(bool cancel);
    /// Takes the scratch directory for working copies, which must end with "/".
    void set_adhoc_parent_path(QString path);

    /// Copies a database with its "-shm" and "-wal" companions into the scratch directory and returns the copy's path;
    /// empty for a blank argument and while no scratch directory is known, since a bare file name could then be the
    /// evidence itself. The copies are not checked: opening the result tells.
    QString get_adhoc_path_for_database(QString database_path);
    /// Copies a single file into the scratch directory and returns the copy's path; empty as above.
    QString get_adhoc_path_for_regular_file(QString file_path);

    /// True for the extension of an image; false when cancelled.
    bool check_is_image_by_extn(QString file_name);
    /// True for the extension of an audio file; false when cancelled.
    bool check_is_audio_by_extn(QString file_name);
    /// True for the extension of a video or an audio file; false when cancelled.
    bool check_is_video_by_extn(QString file_name);

    /// The buckets of one list: "0" to "9", then "a" to "z", by the first character after the dot.
    using extension_buckets = std::array<QStringList, 36>;

    /// The image extensions, lower case with a leading dot.
    const extension_buckets& image_extensions() const { return image_extension_buckets; }
    /// The audio extensions, lower case with a leading dot.
    const extension_buckets& audio_extensions() const { return audio_extension_buckets; }
    /// The video extensions, lower case with a leading dot.
    const extension_buckets& video_extensions() const { return video_extension_buckets; }

private:
    void initialize_image_extension_list();
    void initialize_audio_extension_list();
    void initialize_video_extension_list();

    bool cancel_requested = false;
    extension_buckets image_extension_buckets;
    extension_buckets audio_extension_buckets;
    extension_buckets video_extension_buckets;
    QString adhoc_parent_path;
};
