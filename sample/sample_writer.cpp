#include "sample/sample_writer.h"

#include <QDir>
#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

// Qt sets times of open files only, in milliseconds; directories and nanoseconds need the POSIX calls.
bool set_directory_time(const QString& path, sample_time time)
{
    const timespec both[2] = {{static_cast<time_t>(time.seconds), time.nanoseconds},
                              {static_cast<time_t>(time.seconds), time.nanoseconds}};
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), both, 0) == 0;
}

bool set_open_file_time(int handle, sample_time time)
{
    const timespec both[2] = {{static_cast<time_t>(time.seconds), time.nanoseconds},
                              {static_cast<time_t>(time.seconds), time.nanoseconds}};
    return ::futimens(handle, both) == 0;
}

QString failure(const QString& what, const QString& path, const QString& reason)
{
    return QStringLiteral("%1 %2: %3").arg(what, path, reason);
}

} // namespace

sample_writer::sample_writer(const QString& root_path, quint32 seed_value) : root(root_path), random_seed(seed_value) {}

void sample_writer::write_file(const QString& path, const QByteArray& content, std::optional<sample_time> modified)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash > 0) {
        make_directory(path.left(slash));
    }
    if (!first_error.isEmpty()) {
        return;
    }
    QFile file(root + u'/' + path);
    // Unbuffered, so that nothing is written after the time has been set.
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered) ||
        file.write(content) != content.size() ||
        !set_open_file_time(file.handle(), modified ? *modified : drawn_time(path))) {
        first_error = failure(QStringLiteral("cannot write"), file.fileName(), file.errorString());
        return;
    }
    ++file_count;
    byte_count += content.size();
}

void sample_writer::write_link(const QString& path, const QString& target)
{
    make_directory(path.left(path.lastIndexOf(u'/')));
    const QString absolute = root + u'/' + path;
    if (first_error.isEmpty() && !QFile::link(target, absolute)) {
        first_error = failure(QStringLiteral("cannot make link"), absolute, qt_error_string(errno));
    }
}

void sample_writer::make_directory(const QString& path)
{
    if (!first_error.isEmpty() || known_directories.contains(path)) {
        return;
    }
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash > 0) {
        make_directory(path.left(slash));
    }
    if (!first_error.isEmpty()) {
        return;
    }
    const QString absolute = root + u'/' + path;
    if (!QDir().mkdir(absolute)) {
        first_error = failure(QStringLiteral("cannot make directory"), absolute, qt_error_string(errno));
        return;
    }
    known_directories.insert(path);
    created.append(path);
}

void sample_writer::set_directory_times()
{
    for (const QString& path : std::as_const(created)) {
        if (!first_error.isEmpty()) {
            return;
        }
        const QString absolute = root + u'/' + path;
        if (!set_directory_time(absolute, drawn_time(path))) {
            first_error = failure(QStringLiteral("cannot set the time of"), absolute, qt_error_string(errno));
        }
    }
}

sample_time sample_writer::drawn_time(const QString& path) const
{
    return sample_random(random_seed, QStringLiteral("time/") + path).time_between(2016, 2023);
}
