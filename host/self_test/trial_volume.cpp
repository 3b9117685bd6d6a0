#include "host/self_test/trial_volume.h"

#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int few_messages = 4;
constexpr qsizetype long_name = 250;
constexpr qsizetype large_file = 3'000'000;

QByteArrayList odd_names()
{
    return {QByteArray(".hidden.emlx"),     QByteArray(".hidden folder/7.emlx"),
            QByteArray("empty.emlx"),       QByteArray(long_name, 'x') + ".emlx",
            QByteArray(" blanks .emlx "),   QByteArray("a\nline\tand a tab.emlx"),
            QByteArray("=1+1.emlx"),        QByteArray("%41.emlx"),
            QByteArray("quotes\"',;.emlx"), QByteArray("back\\slash.emlx"),
            QByteArray("u\u0308.emlx"),     QByteArray("marks \u202e turned.emlx"),
            QByteArray(link_target)};
}

QByteArray content_for(const QByteArray& name)
{
    return name.startsWith("empty") ? QByteArray() : name == link_target ? QByteArray(large_file, 'm') : name + "\n";
}

} // namespace

QString odd_folder()
{
    return QStringLiteral("Users/anna/Library/Mail/V10/IMAP-odd@example.org");
}

void write_trial_file(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(content) != content.size() || !file.flush()) {
        refuse(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    }
}

void make_trial_link(const QString& target, const QString& path)
{
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) != 0) {
        refuse(QStringLiteral("cannot make the link %1: %2").arg(path, qt_error_string()));
    }
}

trial_volume write_trial_volume(const QString& root)
{
    sample_options options;
    options.root = root;
    options.messages_per_account = few_messages;
    QString error;
    const auto written = write_sample_source(options, error);
    if (!written) {
        refuse(QStringLiteral("cannot write the volume %1: %2").arg(root, error));
    }
    trial_volume volume{root, *written, {}};
    const QString folder = root + QLatin1Char('/') + odd_folder() + QLatin1Char('/');
    for (const QByteArray& name : odd_names()) {
        write_trial_file(folder + QString::fromUtf8(name), content_for(name));
        volume.odd_files.append(odd_folder().toUtf8() + '/' + name);
    }
    if (::mkfifo(QFile::encodeName(folder + QStringLiteral("pipe")).constData(), S_IRUSR | S_IWUSR) != 0) {
        refuse(QStringLiteral("cannot make a pipe in %1: %2").arg(folder, qt_error_string()));
    }
    return volume;
}

void make_awkward(const trial_volume& volume, bool with_denied_directory)
{
    const QString top = volume.root + QLatin1Char('/');
    write_trial_file(top + QLatin1String(staying_link) + QStringLiteral(".txt"), "beside the link");
    make_trial_link(odd_folder().section(QLatin1Char('/'), -1).prepend(QLatin1String("../")) + QLatin1Char('/') +
                        QLatin1String(link_target),
                    top + QLatin1String(staying_link));
    write_trial_file(top + QLatin1String(damaged_store), QByteArray(5000, '?'));
    write_trial_file(top + QStringLiteral("Users/mallory/Library/Mail/V10/IMAP-mallory@example.org/1.emlx"), "1\nx");
    if (with_denied_directory) {
        const QString denied = top + QLatin1String(denied_directory);
        write_trial_file(denied + QStringLiteral("/1.emlx"), "1\nx");
        if (::chmod(QFile::encodeName(denied).constData(), 0) != 0) {
            refuse(QStringLiteral("cannot close %1: %2").arg(denied, qt_error_string()));
        }
    }
}
